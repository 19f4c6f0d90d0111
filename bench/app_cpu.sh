#!/usr/bin/env bash
# Measures the application with its menu-bar item on the simulated Mac, in a virtual display
# with a real tray (Xvfb and tint2), beside the headless program doing the same work: CPU
# share, wake-ups per second (context switches of all its threads) and resident memory.
#
#   bench/app_cpu.sh [WINDOW_SECONDS]     (default 30 s per case)
#
# Cases: the fans turning under a sustained load on the Balanced curve (headless, then the
# application with its panel closed, then with the panel open), and an idle machine with the
# firmware in control and the fans still (headless, then the application). Needs a dev build
# (build/bin/halvoren), or HALVOREN_BINARY naming another build.
set -euo pipefail

window=${1:-30}
warmup=6
here=$(cd "$(dirname "$0")/.." && pwd)
binary="${HALVOREN_BINARY:-$here/build/bin/halvoren}"
[[ -x "$binary" ]] || { echo "no $binary: build the dev preset first" >&2; exit 1; }
source "$here/bench/lib/process_stats.sh"
ticks=$(getconf CLK_TCK)
scratch=$(mktemp -d)
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    wait 2>/dev/null || true
    rm -rf "$scratch"
}
trap cleanup EXIT

for n in $(seq 150 199); do
    [[ -e /tmp/.X11-unix/X$n || -e /tmp/.X$n-lock ]] || { display=":$n"; break; }
done
Xvfb "$display" -screen 0 1440x900x24 -nolisten tcp >/dev/null 2>&1 &
pids+=($!)
export DISPLAY=$display XDG_DATA_HOME=$scratch/data
printf 'panel_items = FS\npanel_size = 100%% 30\npanel_position = top center horizontal\nsystray_icon_size = 22\n' \
    >"$scratch/tint2rc"
tint2 -c "$scratch/tint2rc" >"$scratch/tint2.log" 2>&1 &
pids+=($!)
for _ in $(seq 200); do
    grep -q "systray started" "$scratch/tint2.log" && break
    sleep 0.2
done

# The tray item's centre: the 22-pixel child of tint2's window.
icon_centre() {
    xwininfo -root -tree | awk '/"tint2"/ { bar = 1; next }
        bar && /22x22\+/ { split($0, a, "22x22"); split(a[2], p, "+"); print p[2] + 11, p[3] + 11; found = 1; exit }
        END { exit !found }'
}

measure() { # label, "panel" or "-", arguments...
    local label=$1 panel=$2
    shift 2
    printf '[General]\ncom.halvoren.showDockIcon=false\n' >"$scratch/settings.ini"
    "$binary" --simulate --settings "$scratch/settings.ini" "$@" >/dev/null 2>&1 &
    local pid=$!
    sleep "$warmup"
    if [[ $panel == panel ]]; then
        local x y
        read -r x y < <(icon_centre)
        xdotool mousemove "$x" "$y" click 1
        sleep 2
    fi
    local c0 s0
    c0=$(cpu_ticks "$pid")
    s0=$(switches "$pid")
    sleep "$window"
    local c1 s1 rss
    c1=$(cpu_ticks "$pid")
    s1=$(switches "$pid")
    rss=$(rss_mb "$pid")
    kill -TERM "$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
    awk -v l="$label" -v c=$((c1 - c0)) -v s=$((s1 - s0)) -v w="$window" -v t="$ticks" -v r="$rss" \
        'BEGIN { printf "%-34s cpu %.3f%%  wakeups %.1f/s  rss %s MB\n", l, 100 * c / t / w, s / w, r }'
}

turning=(--load sustained --preset auto)
still=(--load idle)
measure "headless, fans turning" - --headless "${turning[@]}"
measure "application, panel closed, turning" - "${turning[@]}"
measure "application, panel open, turning" panel "${turning[@]}"
measure "headless, idle, fans still" - --headless "${still[@]}"
measure "application, idle, fans still" - "${still[@]}"
