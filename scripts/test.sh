#!/bin/sh
# Checks the folder layers, installs what is missing, builds, and runs every
# test (unit, fuzz smoke, end-to-end).
set -eu
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/check-layers
scripts/build.sh
cd build
ctest --output-on-failure -j"$(nproc)" --timeout 900
