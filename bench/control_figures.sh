#!/usr/bin/env bash
# How the Balanced curve follows load on the simulated Mac: the figures that a change to the loop's
# cost must leave as they were.
#
#   bench/control_figures.sh [SECONDS] [RUNS]     (defaults: 95 s, 3 runs; the medians shown)
#
# The headless program runs with --simulate --load burst (6 s of heavy load every 30 s, from the
# start of the simulated machine's clock, which starts with the program) and --preset auto, and
# prints a status line a second. From those lines: the fan targets' changes a minute (either
# fan's target differing from the line before), the reaction to each burst after the first (the
# seconds from the burst's start to the first line whose targets differ from the line before it;
# 1 s resolution) and the peak control temperature.
#
# Needs a dev build (build/bin/halvoren), or HALVOREN_BIN naming another build's bin directory,
# so that two builds can be compared on the same machine.
set -euo pipefail

seconds=${1:-95}
runs=${2:-3}
here=$(cd "$(dirname "$0")/.." && pwd)
binary="${HALVOREN_BIN:-$here/build/bin}/halvoren"
[[ -x "$binary" ]] || { echo "no $binary: build the dev preset first" >&2; exit 1; }
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
source "$here/bench/lib/process_stats.sh"

for ((run = 1; run <= runs; run++)); do
    started=$EPOCHREALTIME
    "$binary" --headless --simulate --load burst --preset auto --status-json --duration "$seconds" \
        --settings "$scratch/settings-$run.ini" >"$scratch/status-$run.jsonl" 2>/dev/null
    day=$(date -u -d "$(date -u -d "@${started%.*}" +%F)" +%s)
    # "time":"...THH:MM:SS.mmmZ" in UTC, against the epoch seconds of the start.
    awk -v start="$started" -v day="$day" '
        match($0, /"time":"[0-9-]+T[0-9:.]+/) {
            split(substr($0, RSTART + 19, RLENGTH - 19), hms, ":")
            t = day + hms[1] * 3600 + hms[2] * 60 + hms[3] - start
            targets = ""; rest = $0
            while (match(rest, /"target":[0-9.]+/)) { targets = targets substr(rest, RSTART + 9, RLENGTH - 9) ","
                                                      rest = substr(rest, RSTART + RLENGTH) }
            temperature = match($0, /"controlTemperature":[0-9.]+/) ? substr($0, RSTART + 21, RLENGTH - 21) : 0
            if (!seen) { first = t }
            if (seen && targets != last) {
                changes++
                burst = int(t / 30) * 30
                if (burst >= 30 && !(burst in reacted)) { reacted[burst] = t - burst; reactions += t - burst; bursts++ }
            }
            last = targets; seen = 1; lastT = t
            if (temperature + 0 > peak) peak = temperature + 0
        }
        END { printf "%.1f %.1f %.1f\n", 60 * changes / (lastT - first), bursts ? reactions / bursts : -1, peak }
    ' "$scratch/status-$run.jsonl" >>"$scratch/figures"
    echo "run $run: changes/minute, reaction s, peak °C: $(tail -1 "$scratch/figures")"
done
printf 'median: changes/minute %s, reaction %s s, peak %s °C\n' \
    "$(cut -d' ' -f1 "$scratch/figures" | median)" "$(cut -d' ' -f2 "$scratch/figures" | median)" \
    "$(cut -d' ' -f3 "$scratch/figures" | median)"
