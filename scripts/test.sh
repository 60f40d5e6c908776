#!/bin/sh
# Checks the folder layers, installs what is missing, builds, and runs every test:
# - build/ (GCC): the unit tests and the fuzz smoke tests;
# - build-asan/ (clang, AddressSanitizer and UndefinedBehaviorSanitizer): the
#   unit tests again, all the end-to-end tests against the sanitized programs,
#   and every fuzz target for a few seconds under libFuzzer from its corpus.
# (The end-to-end tests run once, under the sanitizers: twice would not fit
# the half hour CI has on two cores.) Any sanitizer report fails the run: the
# programs stop at the first one, and every report is also kept in
# build-asan/sanitizer-logs/ and checked at the end.
set -eu
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/check-layers
scripts/build.sh
(cd build && ctest --output-on-failure -j"$(nproc)" --timeout 900 -E '^e2e[.]')
scripts/build.sh --sanitize
logs="$PWD/build-asan/sanitizer-logs"
rm -rf "$logs"
mkdir -p "$logs"
export ASAN_OPTIONS="halt_on_error=1:abort_on_error=1:detect_leaks=1:detect_stack_use_after_return=1:log_path=$logs/asan"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1:log_path=$logs/ubsan"
status=0
(cd build-asan && ctest --output-on-failure -j"$(nproc)" --timeout 900) || status=1
if [ -n "$(ls -A "$logs")" ]; then
  echo "Sanitizer reports:" >&2
  cat "$logs"/* >&2
  status=1
fi
exit $status
