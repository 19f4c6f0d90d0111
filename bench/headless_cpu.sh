#!/usr/bin/env bash
# Measures the headless program on the simulated Mac: its CPU share and its wake-ups per
# second over a window, with the firmware in control (the loop's 1 s rhythm) and under the
# Balanced curve (the 0.1 s rhythm). Wake-ups are context switches of all its threads.
#
#   bench/headless_cpu.sh [WINDOW_SECONDS] [RUNS]     (defaults: 60 s, 3 runs each)
#
# Needs a dev build (build/bin/halvoren), or HALVOREN_BINARY naming another build. Prints one line per run and the median of each case.
set -euo pipefail

window=${1:-60}
runs=${2:-3}
warmup=5
here=$(cd "$(dirname "$0")/.." && pwd)
binary="${HALVOREN_BINARY:-$here/build/bin/halvoren}"
[[ -x "$binary" ]] || { echo "no $binary: build the dev preset first" >&2; exit 1; }
ticks=$(getconf CLK_TCK)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

source "$here/bench/lib/process_stats.sh"

measure() { # label, extra arguments...
    local label=$1
    shift
    local settings="$scratch/settings-$RANDOM.ini"
    "$binary" --headless --simulate --load idle --settings "$settings" \
        --duration $((window + warmup + 5)) "$@" >/dev/null 2>&1 &
    local pid=$!
    sleep "$warmup"
    local helper
    helper=$(pgrep -P "$pid" halvoren-helper || true)
    local c0 s0 h0=0
    c0=$(cpu_ticks "$pid")
    s0=$(switches "$pid")
    [[ -n "$helper" ]] && h0=$(cpu_ticks "$helper")
    sleep "$window"
    local c1 s1 h1=0
    c1=$(cpu_ticks "$pid")
    s1=$(switches "$pid")
    [[ -n "$helper" ]] && h1=$(cpu_ticks "$helper")
    kill -TERM "$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
    awk -v l="$label" -v c=$((c1 - c0)) -v h=$((h1 - h0)) -v s=$((s1 - s0)) -v w="$window" -v t="$ticks" \
        'BEGIN { printf "%-8s cpu %.3f%%  wakeups %.1f/s  helper cpu %.3f%%\n", l, 100 * c / t / w, s / w, 100 * h / t / w }'
}


for case in firmware curve; do
    results="$scratch/$case"
    for ((i = 1; i <= runs; i++)); do
        if [[ $case == firmware ]]; then
            measure "$case" | tee -a "$results"
        else
            measure "$case" --preset auto | tee -a "$results"
        fi
    done
    printf '%-8s median cpu %s%%  wakeups %s/s  helper cpu %s%%\n' "$case" \
        "$(awk '{ sub("%", "", $3); print $3 }' "$results" | median)" \
        "$(awk '{ sub("/s", "", $5); print $5 }' "$results" | median)" \
        "$(awk '{ sub("%", "", $8); print $8 }' "$results" | median)"
done
