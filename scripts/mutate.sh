#!/usr/bin/env bash
# Mutation testing: applies each fault of a fixed list to src/, one at a time, rebuilds, runs the tests
# that can see it, and reports whether the suite noticed.
#
#   scripts/mutate.sh [--tree DIR] [--list FILE] [--only M001,M007] [--jobs N] [--regenerate]
#
# --tree       the checkout to mutate (default: the one holding this script). Point it at an exported copy
#              (git archive HEAD | tar -x -C DIR) to measure one commit while working on another.
# --list       the mutants (default scripts/mutants.txt, written by `scripts/mutants.py generate`); the same
#              list gives comparable scores before and after a change to the tests.
# --regenerate choose the list afresh from the tree's src/ (deterministic: fixed seed and quotas).
#
# The build is the tree's `test` preset (Debug, AddressSanitizer + UndefinedBehaviorSanitizer): -O0 compiles
# one file in seconds where the optimised `dev` preset takes several times longer, the sanitizers turn an
# off-by-one into a certain failure instead of silent corruption, and objects are shared through ccache with
# everyone else's test builds, so a restored file costs a cache hit. Each mutant recompiles its one object
# and relinks only the test programs of its layer and the layers above it. Those programs run directly
# (not through ctest, which starts one process per case) with --gtest_fail_fast, the mutated layer's own
# suite first, so a killed mutant usually costs one program's run.
#
# Output: one line per mutant (killed / survived / build-failed / stale), then the score
# killed / (killed + survived). Results are also written to BUILD/mutate/results.tsv.
set -uo pipefail

here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
tree="$(dirname "$here")"
list=""
only=""
jobs=1
regenerate=0
while (($#)); do
    case "$1" in
    --tree) tree="$(cd "$2" && pwd)"; shift 2 ;;
    --list) list="$(realpath "$2")"; shift 2 ;;
    --only) only=",$2,"; shift 2 ;;
    --jobs) jobs="$2"; shift 2 ;;
    --regenerate) regenerate=1; shift ;;
    *) sed -n '2,20p' "${BASH_SOURCE[0]}"; exit 2 ;;
    esac
done
list="${list:-$here/mutants.txt}"
helper="$here/mutants.py"
build="$tree/build/test"
state="$build/mutate"
mkdir -p "$state"

# --- Restoring the source: the one piece that must never fail -------------------------------------
backup="$state/original"
record="$state/mutated-path" # names the file under mutation while a mutant is in the tree
child=""

restore() {
    if [[ -f "$record" ]]; then
        local path
        path="$(cat "$record")"
        cp "$backup" "$path" && rm -f "$record" "$backup"
    fi
}
on_signal() {
    [[ -n "$child" ]] && kill -TERM -- "-$child" 2>/dev/null
    restore
    echo "interrupted; source restored" >&3
    exit 130
}
exec 3>&2 # the caller's stderr, for messages from a trap that fires inside a redirected command
trap restore EXIT
trap on_signal INT TERM HUP
restore # a run killed outright (SIGKILL) left its mutant behind: put the original back first

# Runs a command in its own process group so an interrupt can stop it and all it started.
run() {
    set -m
    "$@" </dev/null &
    child=$!
    set +m
    wait "$child"
    local status=$?
    child=""
    return "$status"
}

if [[ -d "$tree/.git" || -f "$tree/.git" ]] && ! git -C "$tree" diff --quiet -- src; then
    echo "src/ has uncommitted changes in $tree; a mutant's base must be clean" >&2
    exit 2
fi

if ((regenerate)); then
    python3 "$helper" generate "$tree" >"$list" || exit 2
fi

# --- Which tests see which layer ---------------------------------------------------------------------
declare -A suites=(
    [core]="core engine smc helper sim platform probe app"
    [platform]="platform engine helper sim probe app"
    [smc]="smc engine helper sim probe app"
    [sim]="sim helper probe app"
    [helper]="helper sim app"
    [engine]="engine app"
    [app]="app"
    [ui]="ui app"
    [probe]="probe"
)
declare -A budget # seconds a clean run of each suite may take before a mutant run counts as hung

# Leak checking is off: a whole suite in one process reports coroutine frames that one test leaves pending
# and the next never resumes, which ctest (one process per case) never sees.
export ASAN_OPTIONS="detect_leaks=0:abort_on_error=1" UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export QT_QPA_PLATFORM=offscreen

build_suites() { # suite names...
    local targets=()
    for s in "$@"; do targets+=("halvoren_${s}_tests"); done
    run cmake --build "$build" -j "$jobs" --target "${targets[@]}" >"$state/build.log" 2>&1
}

run_suite() { # suite -> 0 passed, 1 failed, 2 hung
    local limit="${budget[$1]:-600}"
    # From the directory ctest uses for these programs.
    run env -C "$build/tests" timeout -k 5 "$limit" "$build/bin/halvoren_${1}_tests" --gtest_fail_fast \
        --gtest_brief=1 >"$state/test-$1.log" 2>&1
    local status=$?
    ((status == 0)) && return 0
    ((status == 124 || status == 137)) && return 2
    return 1
}

source /work/ccache.env 2>/dev/null || true
if [[ ! -f "$build/build.ninja" ]]; then
    run env -C "$tree" cmake --preset test >"$state/configure.log" 2>&1 || {
        echo "configure failed, see $state/configure.log" >&2
        exit 2
    }
fi

all_suites=(core engine smc helper sim platform probe app ui)
echo "building the unmutated tree in $build"
build_suites "${all_suites[@]}" || { echo "build failed, see $state/build.log" >&2; exit 2; }
for s in "${all_suites[@]}"; do
    start=$SECONDS
    run_suite "$s" || { echo "the unmutated $s suite fails, see $state/test-$s.log" >&2; exit 2; }
    budget[$s]=$((3 * (SECONDS - start) + 30))
    echo "  $s suite: $((SECONDS - start)) s clean"
done

# --- The mutants -----------------------------------------------------------------------------------
results="$state/results.tsv"
printf 'id\tlayer\tsite\tkind\toutcome\tby\tseconds\tchange\n' >"$results"
killed=0 survived=0 failed=0 stale=0
survivors=()
run_start=$SECONDS

while IFS=$'\t' read -r id layer site kind change; do
    [[ -n "$only" && "$only" != *",$id,"* ]] && continue
    start=$SECONDS
    path="$tree/${site%:*}"
    cp -p "$path" "$backup"
    echo "$path" >"$record"
    if ! python3 "$helper" apply "$list" "$id" "$tree" >/dev/null; then
        restore
        outcome=stale by="-"
        stale=$((stale + 1))
    else
        read -r -a layer_suites <<<"${suites[$layer]}"
        if ! build_suites "${layer_suites[@]}"; then
            outcome=build-failed by="-"
            failed=$((failed + 1))
        else
            outcome=survived by="-"
            for s in "${layer_suites[@]}"; do
                run_suite "$s"
                case $? in
                1) outcome=killed by="$s" ;;
                2) outcome=killed by="$s(hung)" ;;
                esac
                [[ "$outcome" == killed ]] && break
            done
            if [[ "$outcome" == killed ]]; then
                killed=$((killed + 1))
            else
                survived=$((survived + 1))
                survivors+=("$id $site $kind $change")
            fi
        fi
        restore
    fi
    seconds=$((SECONDS - start))
    printf '%s\t%s\t%s\t%s\t%s\t%s\t%s\t%s\n' "$id" "$layer" "$site" "$kind" "$outcome" "$by" "$seconds" \
        "$change" >>"$results"
    printf '%-5s %-12s %-8s %-44s %4ss  %s\n' "$id" "$outcome" "$by" "$site" "$seconds" "$change"
done < <(python3 "$helper" show "$list")

# Leave the build matching the restored source.
build_suites "${all_suites[@]}" || echo "warning: the final rebuild failed, see $state/build.log" >&2

scored=$((killed + survived))
echo
echo "killed $killed, survived $survived, build failed $failed, stale $stale, in $(((SECONDS - run_start) / 60)) min"
if ((scored > 0)); then
    echo "score $killed/$scored = $(awk -v k="$killed" -v n="$scored" 'BEGIN { printf "%.1f%%", 100 * k / n }')"
fi
if ((${#survivors[@]})); then
    echo "survivors:"
    printf '  %s\n' "${survivors[@]}"
fi
