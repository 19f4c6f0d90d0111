#!/usr/bin/env bash
# Measures the application with its menu-bar item on the simulated Mac, in a virtual display
# with a real tray (Xvfb and tint2), beside the headless program doing the same work: CPU
# share, wake-ups per second (context switches of all its threads) and resident memory.
#
#   bench/app_cpu.sh [WINDOW_SECONDS]     (default 30 s per case)
#
# Cases: the fans turning under a sustained load on the Balanced curve (headless, then the
# application with its panel closed, then with the panel open, then with the main window open on
# its Dashboard), and an idle machine with the firmware in control and the fans still (headless,
# then the application, then with the window open on the Dashboard). Needs a dev build
# (build/bin/halvoren), or HALVOREN_BINARY naming another build.
set -euo pipefail

window=${1:-30}
warmup=6
here=$(cd "$(dirname "$0")/.." && pwd)
binary="${HALVOREN_BINARY:-$here/build/bin/halvoren}"
[[ -x "$binary" ]] || { echo "no $binary: build the dev preset first" >&2; exit 1; }
source "$here/bench/lib/process_stats.sh"
source "$here/scripts/lib/virtual_desktop.sh"
ticks=$(getconf CLK_TCK)
scratch=$(mktemp -d)
cleanup() {
    for pid in "${desktop_pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    wait 2>/dev/null || true
    rm -rf "$scratch"
}
trap cleanup EXIT

start_display 1440 900
export XDG_DATA_HOME=$scratch/data
printf 'panel_items = FS\npanel_size = 100%% 30\npanel_position = top center horizontal\nsystray_icon_size = 22\n' \
    >"$scratch/tint2rc"
start_tray "$scratch/tint2rc" "$scratch/tint2.log"

measure() { # label, "panel", "window" or "-", arguments...
    local label=$1 panel=$2 window_open=false
    shift 2
    [[ $panel == window ]] && window_open=true
    # The main window opens at launch when the program shows in the Dock, on its Dashboard.
    printf '[General]\ncom.halvoren.showDockIcon=%s\nselectedSection=dashboard\n' \
        "$window_open" >"$scratch/settings.ini"
    "$binary" --simulate --settings "$scratch/settings.ini" "$@" >/dev/null 2>&1 &
    local pid=$!
    sleep "$warmup"
    if [[ $panel == panel ]]; then
        local x y
        read -r x y < <(tray_icon_centre)
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
measure "application, window open, turning" window "${turning[@]}"
measure "headless, idle, fans still" - --headless "${still[@]}"
measure "application, idle, fans still" - "${still[@]}"
measure "application, Dashboard open, idle" window "${still[@]}"
