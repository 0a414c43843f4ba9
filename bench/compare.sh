#!/usr/bin/env bash
# Side-by-side figures of this library and journalctl over the same 1,000,000 records.
#
#   bench/compare.sh [-r RUNS] [-d DATA_DIR] [-b BUILD_DIR] [-n RECORDS] [-w REGEX]
#
# The records (see bench/compare_gen.cc) are generated once into DATA_DIR (default
# /tmp/zelk-compare): as log files through the writer and, through
# systemd-journal-remote, as journal files of the same records.  A later run with the same
# DATA_DIR and RECORDS reuses them.  Every row runs RUNS times (default 3) as a pair -
# this library, then the reference - each command pinned to core 1 (taskset -c 1) with its
# output thrown away; the table shows the medians of the CPU times (user + system: on a
# shared machine the wall time mostly measures the other processes), their ratio, and the
# peak resident size of each side.  Rows against journalctl time whole processes; rows
# against our own plain fetch and rows of ours alone take the driver's figure for the
# workload (without process start).  -w keeps only the rows whose label matches REGEX
# (bash =~), for example -w 'formatted|message'.
#
# Needs a configured build directory (default: build) with the benchmarks enabled; the
# two programs are built by this script.  Installs systemd-journal-remote (and python3,
# which measures) with apt-get when they are missing.
set -euo pipefail

runs=3
data=/tmp/zelk-compare
records=1000000
root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build
only=

while getopts "r:d:b:n:w:h" option; do
    case $option in
    r) runs=$OPTARG ;;
    d) data=$OPTARG ;;
    b) build=$OPTARG ;;
    n) records=$OPTARG ;;
    w) only=$OPTARG ;;
    *)
        sed -n '2,20p' "$0"
        exit 2
        ;;
    esac
done

remote=/usr/lib/systemd/systemd-journal-remote
missing=()
[ -x "$remote" ] || missing+=(systemd-journal-remote)
command -v python3 > /dev/null || missing+=(python3)
command -v taskset > /dev/null || missing+=(util-linux)
if [ ${#missing[@]} -gt 0 ]; then
    echo "installing ${missing[*]}" >&2
    DEBIAN_FRONTEND=noninteractive apt-get install -y "${missing[@]}" > /dev/null
fi

# ZELK_COMPARE_NO_BUILD=1 measures the programs as they are (for example older ones, with
# LD_LIBRARY_PATH naming the libraries to load).
[ -n "${ZELK_COMPARE_NO_BUILD:-}" ] || cmake --build "$build" --target compare_gen compare_driver > /dev/null
gen=$build/bench/compare_gen
driver=$build/bench/compare_driver

# --- data -------------------------------------------------------------------
marker=$data/.complete-$records
if [ ! -f "$marker" ]; then
    echo "generating $records records into $data" >&2
    rm -rf "$data"
    mkdir -p "$data/journal"
    "$gen" "$data" "$records"
    for stream in "$data"/export/*.export; do
        name=$(basename "$stream" .export)
        "$remote" --split-mode=none --output="$data/journal/$name.journal" "$stream" 2> /dev/null
    done
    entries=$(journalctl --directory="$data/journal" -o cat | wc -l)
    if [ "$entries" -ne "$records" ]; then
        echo "the journal holds $entries entries, not $records" >&2
        exit 1
    fi
    rm -rf "$data/export"
    touch "$marker"
fi
export ZELKLOG_CONFIG=$data/zelklog.conf
journal=$data/journal
il=$data/interleaved16
catalog=$data/catalog
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

# --- measuring --------------------------------------------------------------
# measure CMD...: runs CMD pinned to core 1, output discarded; sets cpu (user + system
# seconds of the process, from wait4), wall (seconds), rss (peak resident KiB, from
# wait4 as /usr/bin/time -f %M reports it), own (the driver's own "seconds=" figure,
# its CPU time over the workload alone, or cpu) and code (the driver's last code).
measure() {
    if ! taskset -c 1 python3 -c '
import os, sys, time
start = time.monotonic()
pid = os.fork()
if pid == 0:
    os.execvp(sys.argv[2], sys.argv[2:])
_, status, usage = os.wait4(pid, 0)
with open(sys.argv[1], "w") as out:
    out.write("%.6f %.6f %d\n" % (usage.ru_utime + usage.ru_stime, time.monotonic() - start, usage.ru_maxrss))
sys.exit(0 if os.waitstatus_to_exitcode(status) == 0 else 1)
' "$tmp/usage" "$@" > /dev/null 2> "$tmp/err"; then
        echo "failed: $*" >&2
        cat "$tmp/err" >&2
    fi
    read -r cpu wall rss < "$tmp/usage"
    own=$(sed -n 's/.*seconds=\([0-9.]*\).*/\1/p' "$tmp/err" | tail -n 1)
    [ -n "$own" ] || own=$cpu
    code=$(sed -n 's/.*code=\([0-9]*\).*/\1/p' "$tmp/err" | tail -n 1)
}

median() { tr ' ' '\n' | grep . | sort -g | awk '{ v[NR] = $1 } END { if (NR % 2) print v[(NR + 1) / 2]; else printf "%.4f\n", (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
mib() { awk -v k="$1" 'BEGIN { printf "%.1f MiB", k / 1024 }'; }
secs() { awk -v s="$1" 'BEGIN { if (s < 0.1) printf "%.1f ms", s * 1000; else printf "%.3f s", s }'; }
rate() { awk -v s="$1" -v n="$records" 'BEGIN { printf "%.2f M rec/s", n / s / 1e6 }'; }

# row LABEL MODE FIELD -- OURS... [-- REFERENCE...]
#   MODE "journal": ratio = reference time / our time (how many times faster we are);
#   MODE "self": the reference is our plain fetch; ratio = plain time / our time
#   (our speed as a share of the plain fetch's); MODE "alone": no reference.
#   FIELD "cpu" (the whole process) or "own" (the driver's figure): which of our times.
row() {
    local label=$1 mode=$2 field=$3
    if [ -n "$only" ] && ! [[ $label =~ $only ]]; then
        return
    fi
    shift 4
    local ours=() reference=()
    while [ $# -gt 0 ] && [ "$1" != "--" ]; do
        ours+=("$1")
        shift
    done
    [ $# -gt 0 ] && shift
    reference=("$@")
    local ourTimes="" ourRss="" refTimes="" refRss="" ourCode=""
    for ((i = 0; i < runs; ++i)); do
        measure "${ours[@]}"
        if [ "$field" = own ]; then ourTimes+="$own "; else ourTimes+="$cpu "; fi
        ourRss+="$rss "
        ourCode=$code
        if [ ${#reference[@]} -gt 0 ]; then
            measure "${reference[@]}"
            if [ "$mode" = self ] && [ "$field" = own ]; then refTimes+="$own "; else refTimes+="$cpu "; fi
            refRss+="$rss "
        fi
    done
    local ot or rt rr ratio=- refText=- refRssText=-
    ot=$(echo "$ourTimes" | median)
    or=$(echo "$ourRss" | median)
    local ourText
    ourText="$(secs "$ot")"
    [ "$mode" = alone ] || ourText+=" ($(rate "$ot"))"
    [ -n "$ourCode" ] && [ "$ourCode" != 0 ] && [ "$ourCode" != 9 ] && ourText+=" (code $ourCode)"
    if [ ${#reference[@]} -gt 0 ]; then
        rt=$(echo "$refTimes" | median)
        rr=$(echo "$refRss" | median)
        refText=$(secs "$rt")
        [ "$mode" = self ] && refText="plain $refText ($(rate "$rt"))"
        refRssText=$(mib "$rr")
        if [ "$mode" = self ]; then
            ratio=$(awk -v a="$rt" -v b="$ot" 'BEGIN { printf "%.2f× plain", a / b }')
        else
            ratio=$(awk -v a="$rt" -v b="$ot" 'BEGIN { if (a >= b) printf "%.2f× faster", a / b; else printf "%.2f× slower", b / a }')
        fi
    fi
    printf '| %s | %s | %s | %s | %s | %s |\n' "$label" "$ourText" "$refText" "$ratio" "$(mib "$or")" "$refRssText"
}

jc=(journalctl --directory="$journal" --no-pager)
all="PID > 0"
echo "$records records, $runs paired runs, medians of CPU times; $(date -u +%Y-%m-%dT%H:%MZ), $(git -C "$root" rev-parse --short HEAD 2> /dev/null || echo '?')"
echo
echo "| work | this library | reference | ratio | peak RSS (library) | peak RSS (reference) |"
echo "|---|---|---|---|---|---|"
row "merged fetch, 16 interleaved files, every record matching" self own -- \
    "$driver" merged "$il" "$all" -- "$driver" plain "$il" "$all"
row "merged fetch, 1000 rotated files" self own -- \
    "$driver" merged "$data/rotated1000" "$all" -- "$driver" plain "$data/rotated1000" "$all"
row "merged fetch, 4000 rotated files" self own -- \
    "$driver" merged "$data/rotated4000" "$all" -- "$driver" plain "$data/rotated4000" "$all"
row "merged fetch vs journalctl -o export, 16 interleaved files" journal cpu -- \
    "$driver" merged "$il" "$all" -- "${jc[@]}" -o export
row "formatted default line vs journalctl -o short" journal cpu -- \
    "$driver" formatted "$il" "$all" 0 "$catalog" -- "${jc[@]}" -o short
row "message text only vs journalctl -o cat" journal cpu -- \
    "$driver" formatted "$il" "$all" 0x800 "$catalog" -- "${jc[@]}" -o cat
row "selective filter \`SEV >= ERR && PID = 1234\`, plain fetch, vs journalctl -p err _PID=1234" journal cpu -- \
    "$driver" plain "$il" "SEV >= ERR && PID = 1234" -- "${jc[@]}" -p err _PID=1234
row "substring \`WHO = 'user5 '\`, plain fetch, vs journalctl -g 'user5 '" journal cpu -- \
    "$driver" plain "$il" "WHO = 'user5 '" -- "${jc[@]}" -g "user5 "
row "query creation over 1000 files" alone own -- "$driver" create "$data/rotated1000" 1
row "query creation over 4000 files" alone own -- "$driver" create "$data/rotated4000" 1
row "a 1 MB filter (one long WHO text)" alone own -- "$driver" filter "$il" 1048576 string
row "a 1 MB date text (STDATE)" alone own -- "$driver" filter "$il" 1048576 date
