#!/usr/bin/env bash
# Feeds `zelklog query -o export` over the sample log set into systemd-journal-remote
# (standard input, no listener) and reads the journal back with journalctl: every entry
# must come back with the same fields and times.
#   journal_remote_test.sh ZELKLOG_BINARY      (ZELKLOG_CONFIG names the sample set)
set -euo pipefail
zelklog=$1
remote=/lib/systemd/systemd-journal-remote
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

"$zelklog" query --no-pager -o export >"$tmp/sent.export"
"$remote" -o "$tmp/fleet.journal" - <"$tmp/sent.export" 2>"$tmp/remote.err"
journalctl --file "$tmp/fleet.journal" --no-pager -o export >"$tmp/back.export"

# Entries as sorted field lists (the journal may store fields in another order); the
# journal's own bookkeeping fields are dropped.
normalize() {
  grep -av -e '^__CURSOR=' -e '^__MONOTONIC_TIMESTAMP=' -e '^_BOOT_ID=' -e '^__SEQNUM' "$1" |
    awk '{ print n "\t" $0 } /^$/ { n++ }' | LC_ALL=C sort -t "$(printf '\t')" -k1,1n -k2 | cut -f2-
}
sent=$(grep -c '^__REALTIME_TIMESTAMP=' "$tmp/sent.export")
[ "$sent" -gt 10 ] || { echo "only $sent records exported" >&2; exit 1; }
if ! diff <(normalize "$tmp/sent.export") <(normalize "$tmp/back.export"); then
  cat "$tmp/remote.err" >&2
  exit 1
fi

# Times as journalctl shows them: the first sample record is 2026-11-20 08:00:00.000 UTC.
first=$(TZ=UTC journalctl --file "$tmp/fleet.journal" --no-pager -o short-iso-precise | head -1)
case $first in
2026-11-20T08:00:00.000000+0000*) ;;
*) echo "first entry: $first" >&2; exit 1 ;;
esac
# Field matches through journalctl find the same records as the filter language.
billing=$(journalctl --file "$tmp/fleet.journal" --no-pager -o cat ZELKLOG_PRODUCT_ID=7 ZELKLOG_KIND=APP | wc -l)
expected=$("$zelklog" query --no-pager -o cat "PRODID = 'billing' && MSGTYPE = APP" | wc -l)
[ "$billing" -eq "$expected" ] && [ "$billing" -gt 0 ] || {
  echo "product 7: journal $billing, zelklog $expected" >&2; exit 1; }
# Times the journal cannot hold (before 1970, after 2^55 us) must not end the stream: such
# records are held at the ends of the journal's range and keep their time in ZELKLOG_TIME_MS.
mkdir "$tmp/odd"
printf '{"time_ms":%s,"kind":"AUDIT","pid":1,"subject":"s","return_value":-1}\n' \
  -5000 40000000000000 1795161600000 |
  "$zelklog" write --create --format 0x10006 "$tmp/odd/odd.log"
"$zelklog" query --no-pager -o export --log-dir "$tmp/odd" |
  "$remote" -o "$tmp/odd.journal" - 2>"$tmp/remote.err"
odd=$(journalctl --file "$tmp/odd.journal" --no-pager -o export |
  grep -a -e '^ZELKLOG_TIME_MS=' -e '^ZELKLOG_RETURN_VALUE=' | sort | tr '\n' ' ')
[ "$odd" = "ZELKLOG_RETURN_VALUE=-1 ZELKLOG_RETURN_VALUE=-1 ZELKLOG_RETURN_VALUE=-1 \
ZELKLOG_TIME_MS=-5000 ZELKLOG_TIME_MS=1795161600000 ZELKLOG_TIME_MS=40000000000000 " ] || {
  echo "odd times: $odd" >&2; cat "$tmp/remote.err" >&2; exit 1; }
echo "$sent records through systemd-journal-remote intact"
