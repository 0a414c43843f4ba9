#!/usr/bin/env bash
# Mutation run: applies each single-point fault of scripts/mutants.txt, one at a time, to a
# scratch copy of the tree, rebuilds incrementally and runs the whole test suite.  A mutant
# is killed when a test fails (or times out), survives when every test passes, and counts
# as not compiled when the build refuses it.  Prints the score per component and the
# survivors.  Slow (see docs/testing.md); not part of .ci/run.
#
# The scratch build uses AddressSanitizer with leak detection, as the sanitizer build of
# .ci/run does: a leak or an overrun kills a mutant as it would fail CI.  (It is built with
# -O1 and without UndefinedBehaviorSanitizer, to keep a mutant's rebuild and run short.)
#
#   nice scripts/mutate.sh [-c] [-k] [-r REV] [-m MUTANTS] [-o REGEX] [-w WORKDIR]
#     -c          only check that every mutant applies (its snippet occurs exactly once)
#     -k          reuse the scratch copy and its build from an earlier run (copies only
#                 the files that changed since)
#     -r REV      score the tree of commit REV (e.g. an older one) instead of the working tree
#     -R          take the mutants round-robin across components (a run cut short still
#                 covers every component)
#     -B DIR      also score the test programs in DIR (for example those of an earlier suite,
#                 copied from a scratch build's tests/ directory) against every mutant
#     -m FILE     mutant list (default scripts/mutants.txt)
#     -o REGEX    only the mutants whose "id component file" matches REGEX
#     -w DIR      scratch directory (default /tmp/zelk-mutate)
#
# Mutant list: one mutant per line, four fields separated by " @@ ":
#     component @@ file @@ original snippet @@ replacement
# "\n" in a snippet stands for a line break; the replacement "<drop>" for nothing.  The
# original snippet must occur exactly once in the file.  Blank lines and lines that start
# with "#" are ignored.  A mutant's id is its position among the mutants (M001...).
#
# The suite runs as its test programs (every GoogleTest program once, with all its cases,
# and the other CTest tests as CTest knows them), two at a time, each with a time limit;
# the first failing program ends a mutant's run.
set -euo pipefail
# The whole script is one block, read before it runs: editing the file mid-run is safe.
{

root=$(cd "$(dirname "$0")/.." && pwd)
mutants="$root/scripts/mutants.txt"
only=""
work=/tmp/zelk-mutate
keep=0
check=0
revision=""
compare=""
roundrobin=0
while getopts "B:Rckm:o:r:w:" opt; do
    case "$opt" in
    c) check=1 ;;
    k) keep=1 ;;
    R) roundrobin=1 ;;
    r) revision="$OPTARG" ;;
    B) compare=$(cd "$OPTARG" && pwd) ;;
    m) mutants=$(cd "$(dirname "$OPTARG")" && pwd)/$(basename "$OPTARG") ;;
    o) only="$OPTARG" ;;
    w) work="$OPTARG" ;;
    *) sed -n '7,34p' "$0"; exit 2 ;;
    esac
done

tree="$work/tree"
build="$work/build"
results="$work/results.txt"
program_timeout=${ZELK_MUTATE_TIMEOUT:-120}
jobs=${ZELK_MUTATE_JOBS:-2}
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}

# Replaces the one occurrence of ORIG by REPL in file $1; fails (3) unless ORIG occurs
# exactly once.  With CHECK_ONLY=1 the file is left as it is.
apply_mutant() {
    perl -0777 -e '
        my ($o, $r) = ($ENV{ORIG}, $ENV{REPL});
        s/\\n/\n/g for ($o, $r);
        $r = "" if $r eq "<drop>";
        local $/; open(my $in, "<", $ARGV[0]) or die "$ARGV[0]: $!\n"; my $text = <$in>; close $in;
        my $n = () = $text =~ /\Q$o\E/g;
        if ($n != 1) { print STDERR "snippet occurs $n times\n"; exit 3 }
        exit 0 if $ENV{CHECK_ONLY};
        substr($text, index($text, $o), length $o) = $r;
        open(my $out, ">", $ARGV[0]) or die "$ARGV[0]: $!\n"; print $out $text; close $out;' "$1"
}

# Reads the list into parallel arrays: one entry per mutant.
ids=() components=() files=() originals=() replacements=()
n=0
while IFS= read -r line || [ -n "$line" ]; do
    case "$line" in "" | \#*) continue ;; esac
    n=$((n + 1))
    IFS=$'\x1f' read -r c f o r <<<"${line// @@ /$'\x1f'}"
    ids+=("$(printf 'M%03d' "$n")") components+=("$c") files+=("$f") originals+=("$o") replacements+=("$r")
done <"$mutants"

selected() {  # $1: index
    [ -z "$only" ] || printf '%s %s %s\n' "${ids[$1]}" "${components[$1]}" "${files[$1]}" | grep -Eq -- "$only"
}

if [ "$check" = 1 ]; then
    bad=0
    for i in "${!ids[@]}"; do
        selected "$i" || continue
        if [ -z "${replacements[$i]}" ] ||
            ! ORIG="${originals[$i]}" REPL="${replacements[$i]}" CHECK_ONLY=1 apply_mutant "$root/${files[$i]}"; then
            echo "${ids[$i]} ${components[$i]} ${files[$i]}: does not apply: ${originals[$i]}" >&2
            bad=1
        fi
    done
    echo "${#ids[@]} mutants listed; components: $(printf '%s\n' "${components[@]}" | sort | uniq -c | tr -s ' \n' ' ')"
    exit "$bad"
fi

# The file being mutated and its saved original; restored on every way out.
current=""
backup="$work/original.saved"
restore() {
    if [ -n "$current" ]; then
        cp "$backup" "$tree/$current"  # a new mtime: the next build recompiles it
        current=""
    fi
}
trap 'restore' EXIT
trap 'restore; echo "interrupted" >&2; exit 130' INT TERM

# Copies the project's files into the scratch tree, only those that differ, so that the
# scratch build stays incremental.
sync_tree() {
    local source="$root"
    mkdir -p "$tree"
    if [ -n "$revision" ]; then
        source="$work/snapshot"
        rm -rf "$source" && mkdir -p "$source"
        git -C "$root" archive "$revision" | tar -x -C "$source"
    fi
    (cd "$source" && if [ -n "$revision" ]; then find . -type f -printf '%P\0'; else
        git ls-files -co --exclude-standard -z; fi) | perl -0 -MFile::Compare -MFile::Copy -MFile::Path=make_path -e '
        my ($from, $to) = @ARGV[0, 1];
        while (my $f = <STDIN>) {
            chomp $f;
            next unless -f "$from/$f";
            next if -f "$to/$f" && compare("$from/$f", "$to/$f") == 0;
            (my $dir = "$to/$f") =~ s{/[^/]*$}{};
            make_path($dir);
            copy("$from/$f", "$to/$f") or die "$f: $!\n";
            chmod((stat "$from/$f")[2] & 07777, "$to/$f");
        }' "$source" "$tree"
}

# The suite's programs, one command a line (fields separated by \x1f), with the
# environment CTest would give them.
list_programs() {
    ctest --test-dir "$build" --show-only=json-v1 | perl -MJSON::PP -0777 -ne '
        my %seen;
        for my $test (@{decode_json($_)->{tests}}) {
            # A plain C program cannot load the sanitizer-built library (the sanitizer
            # build of CI leaves this test out too).
            next if $test->{name} eq "install_consumers";
            my @command = @{$test->{command} // []};
            next unless @command;
            @command = ($command[0]) if grep { /^--gtest_filter=/ } @command;
            for my $property (@{$test->{properties} // []}) {
                next unless $property->{name} eq "ENVIRONMENT";
                my $value = $property->{value};
                unshift @command, "env", (ref $value ? @$value : ($value));
            }
            my $line = join("\x1f", @command);
            print "$line\n" unless $seen{$line}++;
        }'
}

# Runs every program of the suite (with $2 = compare: the programs of the -B directory);
# 0 when all pass.  Logs and the failed programs' names go to directory $1.
run_suite() {
    rm -rf "$1" && mkdir -p "$1"
    if [ "${2:-}" = compare ]; then
        find "$compare" -maxdepth 1 -type f -perm -u+x | sort >"$1/programs"
    else
        list_programs >"$1/programs"
    fi
    (cd "$build/tests" && tr '\n' '\0' <"$1/programs" |
        xargs -0 -P "$jobs" -I{} "$work/run-program.sh" "$1" "$program_timeout" {}) >/dev/null 2>&1 || true
    [ ! -s "$1/failed" ]
}

[ "$keep" = 1 ] || rm -rf "$work"
mkdir -p "$work"
cat >"$work/run-program.sh" <<'PROGRAM'
#!/usr/bin/env bash
# $1: log directory, $2: time limit in seconds, $3: the command (fields separated by \x1f)
IFS=$'\x1f' read -r -a command <<<"$3"
name=env
for word in "${command[@]}"; do  # the program's name, past "env VAR=value..."
    [ "$word" = env ] || [[ $word == *=* ]] || { name=$(basename "$word"); break; }
done
timeout -k 5 "$2" nice "${command[@]}" >"$1/$name.log" 2>&1 && exit 0
echo "$name (exit $?)" >>"$1/failed"
exit 255  # ends xargs: the first failure decides
PROGRAM
chmod +x "$work/run-program.sh"
start=$(date +%s)
sync_tree
# Test programs are not relinked when only a shared library changed: a mutant rebuilds
# one object and one library.
asan="-fsanitize=address -fno-omit-frame-pointer"
nice cmake -S "$tree" -B "$build" -G Ninja -DZELK_BUILD_BENCH=OFF -DCMAKE_BUILD_TYPE=None \
    -DCMAKE_C_FLAGS="-O1 $asan" -DCMAKE_CXX_FLAGS="-O1 $asan" -DCMAKE_EXE_LINKER_FLAGS="$asan" \
    -DCMAKE_SHARED_LINKER_FLAGS="$asan" -DCMAKE_LINK_DEPENDS_NO_SHARED=ON >"$work/configure.log" 2>&1 ||
    { echo "configure failed: $work/configure.log" >&2; exit 1; }
nice ninja -C "$build" -j "$jobs" >"$work/build.log" 2>&1 || { echo "build failed: $work/build.log" >&2; exit 1; }
if ! run_suite "$work/baseline"; then
    echo "the unmutated suite fails: $(cat "$work/baseline/failed"); logs in $work/baseline" >&2
    exit 1
fi
if [ -n "$compare" ] && ! run_suite "$work/baseline-compare" compare; then
    echo "the -B programs fail unmutated: $(cat "$work/baseline-compare/failed")" >&2
    exit 1
fi
echo "baseline built and green after $(($(date +%s) - start)) s"

: >"$results"
order=("${!ids[@]}")
if [ "$roundrobin" = 1 ]; then
    mapfile -t order < <(for i in "${!ids[@]}"; do echo "${components[$i]} $i"; done |
        awk '{ print (seen[$1]++) * 1000 + $2, $2 }' | sort -n | cut -d' ' -f2)
fi
for i in "${order[@]}"; do
    selected "$i" || continue
    name=${ids[$i]} component=${components[$i]} file=${files[$i]}
    cp "$tree/$file" "$backup"
    current="$file"
    if [ -z "${replacements[$i]}" ] ||
        ! ORIG="${originals[$i]}" REPL="${replacements[$i]}" apply_mutant "$tree/$file" 2>"$work/apply.err"; then
        restore
        printf '%s\t%s\t%s\tbad-mutant\t%s\n' "$name" "$component" "$file" "$(cat "$work/apply.err")" | tee -a "$results"
        continue
    fi
    t0=$(date +%s)
    detail=""
    other=""
    if ! nice ninja -C "$build" -j "$jobs" >"$work/mutant-build.log" 2>&1; then
        outcome=not-compiled
    elif run_suite "$work/mutant"; then
        outcome=survived
    else
        outcome=killed
        detail=$(head -n 1 "$work/mutant/failed")
    fi
    if [ -n "$compare" ] && [ "$outcome" != not-compiled ]; then
        run_suite "$work/mutant-compare" compare && other=survived || other=killed
    fi
    restore
    printf '%s\t%s\t%s\t%s\t%s\t%ss\t%s -> %s\t%s\n' "$name" "$component" "$file" "$outcome" "$detail" \
        "$(($(date +%s) - t0))" "${originals[$i]}" "${replacements[$i]}" "$other" | tee -a "$results"
done

# Leaves the scratch build matching the tree again.
nice ninja -C "$build" -j "$jobs" >/dev/null 2>&1 || true

echo
echo "Score per component (killed / compiled mutants):"
awk -F'\t' '
    { c = $2; seen[c] = 1; if ($4 == "killed") k[c]++; if ($4 == "killed" || $4 == "survived") n[c]++
      if ($4 == "not-compiled" || $4 == "bad-mutant") other[c]++ }
    END {
        for (c in seen) {
            printf "  %-9s %3d / %3d", c, k[c], n[c]
            if (n[c] > 0) printf "  %5.1f %%", 100 * k[c] / n[c]
            if (other[c] > 0) printf "  (%d not compiled or not applied)", other[c]
            printf "\n"; K += k[c]; N += n[c]
        }
        if (N > 0) printf "  %-9s %3d / %3d  %5.1f %%\n", "~all", K, N, 100 * K / N
    }' "$results" | sort
if [ -n "$compare" ]; then
    echo
    echo "Score of the -B programs (killed / compiled mutants):"
    awk -F'\t' '$8 != "" { c = $2; seen[c] = 1; n[c]++; if ($8 == "killed") k[c]++ }
        END { for (c in seen) { printf "  %-9s %3d / %3d  %5.1f %%\n", c, k[c], n[c], 100 * k[c] / n[c]
                                K += k[c]; N += n[c] }
              if (N > 0) printf "  %-9s %3d / %3d  %5.1f %%\n", "~all", K, N, 100 * K / N }' "$results" | sort
fi
echo
echo "Survivors:"
awk -F'\t' '$4 == "survived" { printf "  %s %s %s: %s\n", $1, $2, $3, $7 }' "$results"
echo
echo "Run time: $(($(date +%s) - start)) s; results in $results"
exit 0
}
