#!/bin/sh
# Builds the two programs the demo runs, then runs it against zerkaserver on
# loopback with the demo library (invented albums and composed music):
#
#   scripts/demo.sh [DEMO_DIR]      (default: this repository's folder)
#
# The demo's folders go in DEMO_DIR: demo-root/ (the master server's root),
# demo-local/ (the local server with a virtual CD drive, and the program's
# root) and demo-disc/ (the demo CD); see scripts/demo-run.sh. The program runs
# in local mode with demo-local/ as its root, so the CD can be taken in, its
# off-line tracks brought back on line, and played through local audio.
set -eu
cd "$(dirname "$0")/.."
dir=${1:-$PWD}
# A demo already running there is said at once, before anything is built.
scripts/demo-run.sh --check "$dir"
scripts/install-deps.sh
# Only what the demo runs is built (the tests and benchmarks are left for
# scripts/test.sh, which builds them into the same folder later).
echo "Building zerka and zerkaserver into build/ (a few minutes the first time)..."
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZERKA_WERROR=ON >/dev/null
cmake --build build -j"$(nproc)" --target zerka zerkaserver
exec scripts/demo-run.sh build "$dir"
