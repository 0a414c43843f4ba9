#!/usr/bin/env bash
# Speed of the zelklog tool over 1,000,000 records in 16 rotated log files:
#  - `zelklog query -o text` into a pipe against the library's formatted fetch alone
#    (build/bench/tool_baseline);
#  - `zelklog query -o json` against `journalctl -o json` over the same records, put
#    into a journal file by systemd-journal-remote from `zelklog query -o export`.
# Figures are CPU seconds (user + system), best of three runs.
# Usage: bench/zelklog_bench.sh [BUILD_DIRECTORY]   (default: build)
set -euo pipefail
BUILD=$(cd "${1:-build}" && pwd)
TOOL=$BUILD/tools/zelklog
BASELINE=$BUILD/bench/tool_baseline
# ZELKLOG_BENCH_DATA=DIR keeps the generated records in DIR and reuses them next time.
if [ -n "${ZELKLOG_BENCH_DATA:-}" ]; then
  DATA=$ZELKLOG_BENCH_DATA
  mkdir -p "$DATA"
else
  DATA=$(mktemp -d /tmp/zelklog_bench.XXXXXX)
  trap 'rm -rf "$DATA"' EXIT
fi
rm -rf "$DATA/journal"
mkdir -p "$DATA/logs" "$DATA/journal"
printf '[7]\nNames = bench\nLogDirectory = %s/logs\nConfigPath = %s/product.conf\n' "$DATA" "$DATA" > "$DATA/zelklog.conf"
printf '[Default]\nNames = main\n' > "$DATA/product.conf"
export ZELKLOG_CONFIG=$DATA/zelklog.conf

[ -f "$DATA/logs/part-15.log" ] || echo "writing 1,000,000 records into 16 files ..." >&2
for f in $(seq 0 15); do
  [ -f "$DATA/logs/part-$(printf %02d "$f").log" ] && continue
  awk -v f="$f" 'BEGIN {
    srand(20261123 + f);
    for (i = 0; i < 62500; i++) {
      t = 1700000000000 + f * 62500 + i; k = rand();
      sev = int(rand() * 5); pid = (rand() < 0.5) ? 1234 : 2000 + int(rand() * 50);
      if (k < 0.6)
        printf "{\"time_ms\":%d,\"kind\":\"APP\",\"product_id\":7,\"originator_id\":112,\"pid\":%d,\"tid\":%d,\"severity\":%d,\"who\":\"batch-runner\",\"context_token\":\"job-42\",\"msg_id\":%d,\"args\":[{\"type\":\"int\",\"size\":8,\"value\":%d},{\"type\":\"string\",\"value\":\"disk0\"}]}\n", t, pid, i, sev, 1000 + int(rand() * 40), int(rand() * 100000);
      else if (k < 0.85)
        printf "{\"time_ms\":%d,\"kind\":\"DIAG\",\"product_id\":7,\"originator_id\":112,\"pid\":%d,\"tid\":%d,\"level\":%d,\"who\":\"scheduler\",\"msg_id\":%d,\"args\":[{\"type\":\"int\",\"size\":8,\"value\":%d},{\"type\":\"string\",\"value\":\"disk0\"}]}\n", t, pid, i, int(rand() * 10), 1000 + int(rand() * 40), int(rand() * 100000);
      else
        printf "{\"time_ms\":%d,\"kind\":\"AUDIT\",\"product_id\":7,\"originator_id\":112,\"pid\":%d,\"tid\":%d,\"subject\":\"configuration changed\",\"return_value\":%d,\"msg_id\":%d,\"args\":[{\"type\":\"int\",\"size\":8,\"value\":%d},{\"type\":\"string\",\"value\":\"disk0\"}]}\n", t, pid, i, int(rand() * 3), 1000 + int(rand() * 40), int(rand() * 100000);
    }
  }' | "$TOOL" write --create --format 0x10006 --header "bench host" "$DATA/logs/part-$(printf %02d "$f").log"
  touch -d "@$((1000 + f))" "$DATA/logs/part-$(printf %02d "$f").log"
done

# cpu COMMAND...: the best user+system seconds of three runs
cpu() {
  local best=""
  for _ in 1 2 3; do
    local t
    t=$( { /usr/bin/time -f '%U %S' bash -c "$1" > /dev/null; } 2>&1 | tail -1 | awk '{ print $1 + $2 }')
    if [ -z "$best" ] || awk -v a="$t" -v b="$best" 'BEGIN { exit !(a < b) }'; then best=$t; fi
  done
  echo "$best"
}

base=$(cpu "'$BASELINE' '$DATA/logs' | cat > /dev/null")
text=$(cpu "'$TOOL' query -o text | cat > /dev/null")
json=$(cpu "'$TOOL' query -o json | cat > /dev/null")
echo "formatted fetch alone (tool_baseline): ${base} s"
echo "zelklog query -o text | cat:           ${text} s  ($(awk -v a="$text" -v b="$base" 'BEGIN { printf "%+.1f %%", (a / b - 1) * 100 }'))"
echo "zelklog query -o json | cat:           ${json} s"

REMOTE=/lib/systemd/systemd-journal-remote
if [ -x "$REMOTE" ] && command -v journalctl > /dev/null; then
  # journal-remote starts a new file when one is full: read them all.
  "$TOOL" query -o export | "$REMOTE" --output="$DATA/journal/bench.journal" - 2> /dev/null
  jn=$(journalctl --file "$DATA/journal/*.journal" -o json | wc -l)
  jc=$(cpu "journalctl --file '$DATA/journal/*.journal' -o json | cat > /dev/null")
  echo "journalctl -o json | cat ($jn records): ${jc} s  (zelklog is $(awk -v a="$jc" -v b="$json" 'BEGIN { printf "%.1f", a / b }')x faster)"
else
  echo "systemd-journal-remote or journalctl missing: no journalctl comparison"
fi
