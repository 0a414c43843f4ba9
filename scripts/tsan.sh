#!/usr/bin/env bash
# ThreadSanitizer over the tests that run threads (or processes) at once: a build of its
# own in build-tsan/ with -fsanitize=thread, only those test programs, run directly.  Any
# report fails the script.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build-tsan
tests=(threads_test query_parse_test config_removal_test config_settings_test property_store_test logfile_test)
flags="-fsanitize=thread -fno-omit-frame-pointer"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DZELK_BUILD_BENCH=OFF \
  -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" \
  -DCMAKE_EXE_LINKER_FLAGS=-fsanitize=thread -DCMAKE_SHARED_LINKER_FLAGS=-fsanitize=thread >/dev/null
cmake --build "$build" -j2 --target "${tests[@]}"
export TSAN_OPTIONS=${TSAN_OPTIONS:-halt_on_error=1:second_deadlock_stack=1}
export ZELK_TEST_TIME_LIMIT=${ZELK_TEST_TIME_LIMIT:-300}  # thread-sanitized code runs slower
for test in "${tests[@]}"; do
  echo "tsan: $test"
  "$build/tests/$test" --gtest_brief=1
done
