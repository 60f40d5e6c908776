#!/bin/sh
# Configures and builds everything into build/ (the default compiler, GCC on
# Debian; warnings are errors). With --sanitize: into build-asan/ with clang,
# AddressSanitizer and UndefinedBehaviorSanitizer (a report ends the program),
# the fuzz targets as libFuzzer programs and the libraries instrumented for them.
set -eu
cd "$(dirname "$0")/.."
if [ "${1:-}" = "--sanitize" ]; then
  cmake -S . -B build-asan -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZERKA_WERROR=ON \
        -DZERKA_FUZZ=ON >/dev/null
  cmake --build build-asan -j"$(nproc)"
else
  cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZERKA_WERROR=ON >/dev/null
  cmake --build build -j"$(nproc)"
fi
