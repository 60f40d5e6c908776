#!/bin/sh
# Configures and builds everything into build/ (warnings are errors).
set -eu
cd "$(dirname "$0")/.."
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZERKA_WERROR=ON >/dev/null
cmake --build build -j"$(nproc)"
