#!/usr/bin/env bash
# Runs the zelklog tool as a user would, over log sets that `zelklog write` makes in a
# temporary directory.  Usage: zelklog_test.sh TOOL CASE (one ctest test per case).
set -uo pipefail
TOOL=$1
CASE=$2
WORK=$(mktemp -d /tmp/zelklog_test.XXXXXX)
trap 'kill $(jobs -p) 2>/dev/null; rm -rf "$WORK"' EXIT
cd "$WORK"
FAILED=0

fail() { echo "FAIL [$CASE]: $*" >&2; FAILED=1; }
# expect_rc WANT CMD...: the command's exit code
expect_rc() {
  local want=$1; shift
  "$@" > out.txt 2> err.txt
  local rc=$?
  [ "$rc" = "$want" ] || fail "'$*' exited $rc, not $want: $(head -c 300 err.txt)"
}
expect_in() { grep -q -- "$2" "$1" || fail "$1 lacks '$2': $(head -c 400 "$1")"; }
expect_lines() { local n; n=$(wc -l < "$1"); [ "$n" = "$2" ] || fail "$1 has $n lines, not $2"; }

mkdir -p logs
cat > zelklog.conf <<CONF
[7]
Names = billing
LogDirectory = $WORK/logs
ConfigPath = $WORK/billing.conf
CONF
printf '[Default]\nNames = main\n[5]\nNames = worker\nFileId = 9\nFileNames = jobs\n' > billing.conf
export ZELKLOG_CONFIG=$WORK/zelklog.conf
unset NO_COLOR PAGER

# rec TIME_S SEVERITY MSGID [PID]: one application record as a JSON line
rec() {
  printf '{"time_ms":%s000,"kind":"APP","product_id":7,"originator_id":112,"pid":%s,"tid":1,"severity":"%s","who":"joe","msg_id":%s,"args":[{"type":"string","value":"m%s"}]}\n' \
    "$1" "${4:-100}" "$2" "$3" "$3"
}
write_set() {
  { rec 1700000000 INFO 1; rec 1700000002 ERR 3 200; rec 1700000004 WARNING 5; } | "$TOOL" write logs/a.log || fail "write a.log"
  { rec 1700000001 CRIT 2; rec 1700000003 INFO 4 200; } | "$TOOL" write --create --format 0x10005 --header "host b" logs/b.log ||
    fail "write b.log"
}
# The message texts of the records printed, one per line.
messages() { "$TOOL" query -o cat --no-pager "$@"; }

case $CASE in
basic)
  write_set
  expect_rc 0 "$TOOL" query
  expect_lines out.txt 5
  expect_in out.txt '| ERR | prod 7 orig 112 | pid 200 tid 1 |'
  expect_rc 0 messages
  [ "$(tr '\n' ' ' < out.txt)" = "#1 (m1) #2 (m2) #3 (m3) #4 (m4) #5 (m5) " ] || fail "time order: $(cat out.txt)"
  expect_rc 0 messages --file-order
  [ "$(tr '\n' ' ' < out.txt)" = "#1 (m1) #3 (m3) #5 (m5) #2 (m2) #4 (m4) " ] || fail "file order: $(cat out.txt)"
  expect_rc 0 messages 'SEV >= ERR && PID = 200'
  [ "$(cat out.txt)" = "#3 (m3)" ] || fail "filter: $(cat out.txt)"
  expect_rc 0 "$TOOL" query -n 2 --flags 0x002
  [ "$(tr '\n' ' ' < out.txt)" = "INFO CRIT " ] || fail "--flags/-n: $(cat out.txt)"
  expect_rc 0 "$TOOL" query -o raw -n 1
  expect_lines out.txt 1
  # Bad usage is 2; a library error is 1 and names the code, its meaning and where.
  expect_rc 1 "$TOOL" query 'PIDD = 3'
  expect_in err.txt "filter: code 11 (a word that is not a keyword) at 'PIDD'"
  expect_rc 1 "$TOOL" query "PRODID = 'nosuch'"
  expect_in err.txt "code 26 (a name that the configuration does not hold) at 'nosuch'"
  expect_rc 2 "$TOOL" query --no-such-option
  expect_rc 2 "$TOOL" no-such-command
  expect_rc 2 "$TOOL" query --since 'not a time'
  expect_rc 0 "$TOOL" query --help
  expect_rc 0 "$TOOL" --version
  ZELKLOG_CONFIG=$WORK/missing.conf expect_rc 1 "$TOOL" query
  expect_in err.txt "$WORK/missing.conf"
  ;;
json)
  write_set
  printf '%s\n' \
    '{"time_ms":1700000005000,"kind":"AUDIT","product_id":7,"originator_id":5,"file_id":9,"pid":1,"tid":2,"aux_number":3,"aux_text":"aux","subject":"s","return_value":-4,"msg_id":8,"args":[{"type":"double","value":1.5},{"type":"double","value":"NaN"},{"type":"wstring","value":"wïde"},{"type":"wchar","value":"é"},{"type":"list","msg_id":9,"value":[{"type":"uint64","value":18446744073709551615},{"type":"list","msg_id":0,"value":[{"type":"int64","value":-9223372036854775808}]}]},{"type":"xstring","value":"x\ny\"z"},{"type":"dint","size":2,"value":-7},{"type":"uint","size":4,"value":12},{"type":"int","size":1,"value":-1}]}' \
    '{"time_ms":1700000006000,"kind":"CONTEXT","product_id":7,"originator_id":112,"pid":1,"tid":2,"context_token":"c1","context_text":"Nightly"}' \
    '{"time_ms":1700000007000,"kind":"DIAG","product_id":7,"originator_id":112,"pid":1,"tid":2,"level":4,"who":"w","context_token":"c1","msg_id":0}' |
    "$TOOL" write --format 0x10005 logs/c.log || fail "write c.log"
  expect_rc 0 "$TOOL" query -o json
  expect_lines out.txt 8
  mkdir copy
  "$TOOL" query -o json | "$TOOL" write copy/all.log || fail "write the copy"
  expect_rc 0 "$TOOL" query -o json --log-dir "$WORK/copy"
  # Every field survives, except which file a record came from.
  diff <("$TOOL" query -o json | sed -E 's/,"(file|format|header)":"[^"]*"//g') \
       <(sed -E 's/,"(file|format|header)":"[^"]*"//g' out.txt) > /dev/null || fail "JSON round trip differs"
  expect_rc 0 "$TOOL" query -o json --message 'MSGTYPE = DIAG'
  expect_in out.txt '"message":'
  # A bad line: its number, nothing of it, the lines before it kept.
  { rec 1700000100 INFO 100; echo '{"time_ms": 5, "kind": "NOPE"}'; rec 1700000101 INFO 101; } > bad.jsonl
  expect_rc 1 "$TOOL" write --input bad.jsonl logs/d.log
  expect_in err.txt 'line 2'
  expect_rc 0 messages --log-dir "$WORK/logs" 'PID = 100 && STDATE >= 1700000100'
  [ "$(cat out.txt)" = "#100 (m100)" ] || fail "after a bad line: $(cat out.txt)"
  echo 'not json' | "$TOOL" write logs/d.log 2> err.txt && fail "a line that is not JSON was accepted"
  expect_in err.txt 'line 1'
  expect_rc 1 "$TOOL" write --create logs/d.log < /dev/null
  ;;
export)
  write_set
  expect_rc 0 "$TOOL" query -o export -n 2
  expect_in out.txt '^__REALTIME_TIMESTAMP=1700000000000000$'
  expect_in out.txt '^PRIORITY=2$'
  expect_in out.txt '^MESSAGE=#2 (m2)$'
  expect_in out.txt '^SYSLOG_IDENTIFIER=billing$'
  [ "$(grep -c '^$' out.txt)" = 2 ] || fail "export entries are not ended by blank lines"
  ;;
since_grep)
  write_set
  expect_rc 0 messages --since @1700000001 --until @1700000003
  [ "$(tr '\n' ' ' < out.txt)" = "#2 (m2) #3 (m3) #4 (m4) " ] || fail "--since/--until: $(cat out.txt)"
  expect_rc 0 messages --since 2h
  expect_lines out.txt 0
  expect_rc 0 messages --since yesterday --until now
  expect_rc 0 messages 'PID = 200' --since @1700000003
  [ "$(cat out.txt)" = "#4 (m4)" ] || fail "filter AND --since: $(cat out.txt)"
  expect_rc 0 messages -g 'M[24]\)' -i
  [ "$(tr '\n' ' ' < out.txt)" = "#2 (m2) #4 (m4) " ] || fail "--grep -i: $(cat out.txt)"
  expect_rc 0 "$TOOL" query -o json -g 'm5'
  expect_lines out.txt 1
  expect_rc 2 "$TOOL" query -g '('
  ;;
follow)
  write_set
  "$TOOL" query -o cat -f > follow.txt 2> follow.err &
  pid=$!
  wait_for() { for _ in $(seq 100); do grep -q -- "$1" follow.txt && return 0; sleep 0.1; done; fail "follow never printed $1"; }
  wait_for '#5 (m5)'
  rec 1700000010 INFO 10 | "$TOOL" write logs/a.log
  wait_for '#10 (m10)'
  rec 1700000011 INFO 11 | "$TOOL" write --create logs/new.log
  wait_for '#11 (m11)'
  kill -INT $pid
  wait $pid
  [ $? = 0 ] || fail "an interrupted --follow does not exit 0"
  expect_lines follow.txt 7
  ;;
cursor)
  write_set
  expect_rc 0 messages --cursor-file cur -n 3
  expect_lines out.txt 3
  rec 1700000010 INFO 10 | "$TOOL" write logs/a.log
  rec 1700000009 INFO 9 | "$TOOL" write --create logs/new.log
  expect_rc 0 messages --cursor-file cur
  [ "$(tr '\n' ' ' < out.txt)" = "#4 (m4) #5 (m5) #9 (m9) #10 (m10) " ] || fail "resume: $(cat out.txt)"
  expect_rc 0 messages --cursor-file cur
  expect_lines out.txt 0
  # A cursor that cannot be replaced stays whole.
  cp cur cur.saved
  chmod 500 "$WORK" && rec 1700000012 INFO 12 | "$TOOL" write logs/a.log
  if [ "$(id -u)" != 0 ]; then
    expect_rc 1 messages --cursor-file cur
    cmp -s cur cur.saved || fail "a failed cursor update changed the cursor"
  fi
  chmod 700 "$WORK"
  echo garbage > bad.cur
  expect_rc 1 messages --cursor-file bad.cur
  expect_in err.txt 'bad.cur'
  ;;
pipe)
  for i in $(seq 1 3000); do rec $((1700000000 + i)) INFO $i; done | "$TOOL" write logs/big.log
  "$TOOL" query 2> err.txt | head -1 > out.txt
  [ "${PIPESTATUS[0]}" = 0 ] || fail "a closed pipe does not exit 0"
  [ -s err.txt ] && fail "a closed pipe writes to stderr: $(cat err.txt)"
  expect_lines out.txt 1
  ;;
terminal)
  write_set
  # Only on a terminal: the pager and colours.  Off it: neither.
  PAGER='sed s/^/PAGED:/' script -qec "$TOOL query 'SEV >= ERR'" /dev/null > tty.txt
  grep -q 'PAGED:' tty.txt || fail "no pager on a terminal"
  grep -q $'\e\[1;31m' tty.txt || fail "no colour for ERR on a terminal"
  PAGER='sed s/^/PAGED:/' NO_COLOR=1 script -qec "$TOOL query --no-pager 'SEV >= ERR'" /dev/null > tty.txt
  grep -q 'PAGED:\|'$'\e''\[' tty.txt && fail "pager or colour despite --no-pager and NO_COLOR"
  PAGER='sed s/^/PAGED:/' "$TOOL" query > out.txt
  grep -q 'PAGED:\|'$'\e''\[' out.txt && fail "pager or colour in a pipe"
  ;;
catalogue)
  write_set
  expect_rc 0 "$TOOL" products
  expect_in out.txt $'^7\tbilling$'
  expect_rc 0 "$TOOL" products -o json
  expect_in out.txt '{"id":7,"names":"billing"}'
  expect_rc 0 "$TOOL" originators billing
  expect_in out.txt $'^112\tDefault$'
  expect_in out.txt $'^5\t5$'
  expect_rc 0 "$TOOL" id worker --originator
  [ "$(cat out.txt)" = 5 ] || fail "id worker: $(cat out.txt)"
  expect_rc 0 "$TOOL" id jobs --file
  [ "$(cat out.txt)" = 9 ] || fail "id jobs: $(cat out.txt)"
  expect_rc 1 "$TOOL" id nosuch --product
  expect_rc 2 "$TOOL" id billing
  expect_rc 0 "$TOOL" config set jvm-path /opt/java
  expect_rc 0 "$TOOL" config get jvm-path
  [ "$(cat out.txt)" = /opt/java ] || fail "jvm-path: $(cat out.txt)"
  expect_rc 0 "$TOOL" config set setting billing Retention 30
  expect_in billing.conf 'Retention = 30'
  expect_rc 2 "$TOOL" config remove originator billing worker < /dev/null
  expect_in billing.conf '\[5\]'
  expect_rc 0 "$TOOL" config remove originator billing worker --yes < /dev/null
  grep -q '\[5\]' billing.conf && fail "originator not removed"
  expect_rc 0 "$TOOL" verify
  expect_in out.txt '2 log files, 0 corrupt records'
  # A damaged record: reported by verify (exit 1), warned once by query, which reads on.
  printf '\xf5R\x05\x00\x00\x00\x00\x00hello' >> logs/a.log
  rec 1700000009 INFO 9 | "$TOOL" write logs/a.log
  expect_rc 1 "$TOOL" verify
  expect_in out.txt '1 corrupt record'
  expect_rc 0 messages
  expect_in out.txt '#9 (m9)'
  ;;
date)
  expect_rc 0 "$TOOL" date @1700000000 --locale en_US --time-style none --date-style medium
  expect_in out.txt '2023'
  text=$("$TOOL" date @1700000000 --locale de_DE)
  expect_rc 0 "$TOOL" date --parse "$text" --locale de_DE
  [ $(( $(cat out.txt) - 1700000000 )) -lt 60 ] || fail "date --parse '$text': $(cat out.txt)"
  expect_rc 1 "$TOOL" date --parse 'no date'
  expect_rc 0 "$TOOL" date --zone +05:30
  [ "$(cat out.txt)" = "GMT+5:30" ] || fail "date --zone: $(cat out.txt)"
  ;;
*)
  fail "unknown case"
  ;;
esac
exit $FAILED
