#!/usr/bin/env bash
# Pictures of the user interface for people: Halvoren on a simulated Mac in a virtual display
# (Xvfb) with a real tray (tint2) across the top like a menu bar, in the light and the dark
# appearance. Writes PNGs to docs/screenshots/. Needs the packages of scripts/setup.sh and a
# dev build (made when missing); HALVOREN_BINARY picks another program.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/lib/virtual_desktop.sh
bin=${HALVOREN_BINARY:-build/bin/halvoren}
[ -x "$bin" ] || cmake --workflow --preset dev >/dev/null
out=docs/screenshots
mkdir -p "$out"
work=$(mktemp -d)
cleanup() {
  for pid in "${desktop_pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

width=1440
height=900
start_display "$width" "$height"
export XDG_DATA_HOME=$work/data XDG_RUNTIME_DIR=$work/runtime
mkdir -p "$XDG_DATA_HOME" "$XDG_RUNTIME_DIR" && chmod 700 "$XDG_RUNTIME_DIR"

# The menu bar: a translucent strip with the tray and a clock on the right.
bar() { # background text
  cat >"$work/tint2rc" <<RC
rounded = 0
border_width = 0
background_color = $1 94
border_color = #000000 0
rounded = 0
border_width = 0
background_color = #000000 0
border_color = #000000 0
panel_items = FSC
panel_size = 100% 30
panel_padding = 12 0 12
panel_background_id = 1
panel_position = top center horizontal
panel_layer = top
wm_menu = 0
strut_policy = follow_size
systray_padding = 8 3 10
systray_background_id = 2
systray_icon_size = 22
systray_icon_asb = 100 0 0
time1_format = %a %d %b  %H:%M
time1_font = Inter Medium 10
clock_font_color = $2 100
clock_padding = 8 0
clock_background_id = 0
RC
  start_tray "$work/tint2rc" "$work/tint2.log"
}

# Halvoren with these arguments and settings lines, until its tray item is in the bar.
start() { # settings-lines args...
  printf '[General]\n%b' "$1" >"$work/settings.ini"
  shift
  "$bin" --simulate --settings "$work/settings.ini" "$@" >"$work/app.log" 2>&1 &
  app=$!
  for _ in $(seq 50); do
    tray_icon_centre >/dev/null && break
    sleep 0.2
  done
  sleep "${SETTLE:-5}"
}
stop() {
  kill "$app" 2>/dev/null || true
  wait "$app" 2>/dev/null || true
}

shot() { # name x y w h
  import -window root -crop "$4x$5+$2+$3" +repage "$out/$1.png"
}

# Two custom modes, the first engaged.
modes='com.halvoren.customModes="@ByteArray([{\\"id\\":\\"6f1c2a4e-8a51-4c3e-9d0b-1a2b3c4d5e6f\\",\\"name\\":\\"Gaming\\",\\"symbolName\\":\\"gamecontroller.fill\\",\\"speed\\":{\\"fixed\\":{\\"percentage\\":0.7}},\\"controlSensor\\":{\\"source\\":{\\"_0\\":\\"hottest\\"}},\\"drivesMainReadout\\":false},{\\"id\\":\\"0b7e9d12-3c45-4f67-8a90-b1c2d3e4f5a6\\",\\"name\\":\\"Night render\\",\\"symbolName\\":\\"moon.fill\\",\\"speed\\":{\\"floor\\":{\\"percentage\\":0.25}},\\"controlSensor\\":{\\"source\\":{\\"_0\\":\\"gpuAverage\\"}},\\"drivesMainReadout\\":false}])"\ncom.halvoren.activeCustomModeID=6f1c2a4e-8a51-4c3e-9d0b-1a2b3c4d5e6f\n'

for appearance in light dark; do
  if [ "$appearance" = light ]; then bar '#F2F2F5' '#1D1D1F'; else bar '#1E1E22' '#F2F2F5'; fi
  args=(--appearance="$appearance")
  hide='com.halvoren.showDockIcon=false\n'

  start "$hide" --load idle "${args[@]}"
  shot "tray-rest-$appearance" $((width - 260)) 0 260 30
  stop
  start "$hide" --load sustained --preset max "${args[@]}"
  shot "tray-turning-$appearance" $((width - 260)) 0 260 30
  stop

  # The panel, opened from the tray item as a user would.
  panel() { # name args...
    local name=$1
    shift
    start "$hide" "$@" "${args[@]}"
    read -r x y < <(tray_icon_centre)
    xdotool mousemove "$x" "$y" click 1
    sleep 2
    shot "panel-$name-$appearance" $((width - 460)) 0 460 520
    stop
  }
  panel idle --load burst --preset auto
  panel turbo --load sustained --turbo
  panel manual --load idle --manual 3200
  panel no-helper --load idle --no-helper

  # The main window: the Dashboard with the weather card's two pages, then the other sections,
  # then the first-run wizard on its first two steps.
  window() { # name settings-lines args...
    local name=$1 lines=$2
    shift 2
    start "$lines" --load burst "$@" "${args[@]}"
    import -window root -crop 1100x800+170+50 +repage "$out/window-$name-$appearance.png"
  }
  done='com.halvoren.hasCompletedFirstRunSetup=true\n'
  for page in forecast radar; do
    window "$page" "${done}com.halvoren.weatherPage=$page\n" --preset auto
    stop
  done
  for section in sensors power settings; do
    window "$section" "${done}selectedSection=$section\n" --preset auto
    stop
  done
  # Without a preset, so that the stored mode stays engaged.
  window modes "${done}selectedSection=modes\n$modes"
  stop
  window wizard-welcome '' --preset auto
  xdotool key Return
  sleep 1
  import -window root -crop 1100x800+170+50 +repage "$out/window-wizard-helper-$appearance.png"
  stop
  kill "$tray_pid" 2>/dev/null || true
  wait "$tray_pid" 2>/dev/null || true
done
echo "screenshots: $(ls "$out" | wc -l) pictures in $out"
