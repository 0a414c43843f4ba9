#!/usr/bin/env bash
# The test command: installs the packages, configures, builds and runs the whole suite.
#   scripts/test.sh             normal build in build/
#   scripts/test.sh --sanitize  AddressSanitizer + UndefinedBehaviorSanitizer in build-asan/
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=build
extra=()
if [ "${1:-}" = "--sanitize" ]; then
  build=build-asan
  extra=(-DZELK_SANITIZE=ON -DZELK_BUILD_BENCH=OFF -DCMAKE_BUILD_TYPE=Debug)
fi
if [ "${ZELK_SKIP_INSTALL:-0}" != 1 ]; then
  "$root/scripts/install-deps.sh"
fi
cmake -S "$root" -B "$root/$build" -G Ninja "${extra[@]}"
cmake --build "$root/$build" -j2
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
ctest --test-dir "$root/$build" --output-on-failure -j2 --timeout 300
