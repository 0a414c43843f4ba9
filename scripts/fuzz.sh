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
# One harness per core: two at a time.
fuzz_one() {
  local target=$1 corpus=$build/corpus/$1 log=$build/findings/$1.log
  local seeds=() options=()
  mkdir -p "$corpus"
  case $target in
    logfile) seeds=("$build/fuzz/logfile_seeds") ;;
    query) options=(-dict="$root/fuzz/query.dict") ;;
    store) options=(-dict="$root/fuzz/store.dict") ;;
  esac
  if "$build/fuzz/${target}_fuzz" "${options[@]}" -max_total_time="$seconds" -print_final_stats=1 \
       -artifact_prefix="$build/findings/$target-" "$corpus" "${seeds[@]}" >"$log" 2>&1; then
    local runs
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    echo "fuzz: ${target}_fuzz ${runs:-?} executions in ${seconds} s, no finding"
  else
    echo "fuzz: ${target}_fuzz FAILED (log and input in $build/findings/)" >&2
    tail -n 40 "$log" >&2
    return 1
  fi
}
status=0
for pair in "decode logfile" "query store"; do
  pids=()
  for target in $pair; do
    fuzz_one "$target" &
    pids+=($!)
  done
  for pid in "${pids[@]}"; do
    wait "$pid" || status=1
  done
done
exit $status
