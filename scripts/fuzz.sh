#!/usr/bin/env bash
# Builds the libFuzzer harnesses (clang, AddressSanitizer + UndefinedBehaviorSanitizer,
# assertions on) in build-fuzz/ and runs each for ZELK_FUZZ_SECONDS (default 60).  The
# log-file harness starts from the corpus the build writes through the writer; the
# filter and store harnesses use their dictionaries.  Any finding fails the script and
# leaves the crashing input in build-fuzz/findings/.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build-fuzz
seconds=${ZELK_FUZZ_SECONDS:-60}
CC=clang CXX=clang++ cmake -S "$root" -B "$build" -G Ninja -DZELK_FUZZ=ON \
  -DZELK_BUILD_TESTS=OFF -DZELK_BUILD_BENCH=OFF >/dev/null
cmake --build "$build" -j2
mkdir -p "$build/findings"
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}
# The log-file and store harnesses write a file per run: keep it in memory when possible.
if [ -d /dev/shm ] && [ -w /dev/shm ]; then
  export TMPDIR=/dev/shm
fi
status=0
for target in decode logfile query store; do
  corpus=$build/corpus/$target
  mkdir -p "$corpus"
  seeds=()
  options=()
  case $target in
    logfile) seeds=("$build/fuzz/logfile_seeds") ;;
    query) options=(-dict="$root/fuzz/query.dict") ;;
    store) options=(-dict="$root/fuzz/store.dict") ;;
  esac
  log=$build/findings/$target.log
  if "$build/fuzz/${target}_fuzz" "${options[@]}" -max_total_time="$seconds" -print_final_stats=1 \
       -artifact_prefix="$build/findings/$target-" "$corpus" "${seeds[@]}" >"$log" 2>&1; then
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    echo "fuzz: ${target}_fuzz ${runs:-?} executions in ${seconds} s, no finding"
  else
    echo "fuzz: ${target}_fuzz FAILED (log and input in $build/findings/)" >&2
    tail -n 40 "$log" >&2
    status=1
  fi
done
exit $status
