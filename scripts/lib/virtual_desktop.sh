# A virtual display with a tray in a strip across the top, for the scripts that look at the
# application (sourced). The caller kills what `desktop_pids` lists when it is done.
desktop_pids=()

# WIDTH HEIGHT: starts Xvfb on a display number nobody uses and exports DISPLAY.
start_display() {
  local n
  for n in $(seq 90 199); do
    [[ -e /tmp/.X11-unix/X$n || -e /tmp/.X$n-lock ]] || { DISPLAY=":$n"; break; }
  done
  export DISPLAY
  Xvfb "$DISPLAY" -screen 0 "$1x$2x24" -nolisten tcp >/dev/null 2>&1 &
  desktop_pids+=($!)
  sleep 1
}

# CONFIG LOG: starts tint2 with that configuration and waits for its tray, which can take ten
# seconds; the tray must be there before Halvoren looks for one. Sets `tray_pid`.
start_tray() {
  tint2 -c "$1" >"$2" 2>&1 &
  tray_pid=$!
  desktop_pids+=("$tray_pid")
  for _ in $(seq 200); do
    grep -q "systray started" "$2" && break
    sleep 0.2
  done
  sleep 1
}

# Prints "x y", the centre of the first tray item (a 22-pixel child of tint2's window); fails
# while there is none.
tray_icon_centre() {
  xwininfo -root -tree | awk '/"tint2"/ { bar = 1; next }
      bar && /22x22\+/ { split($0, a, "22x22"); split(a[2], p, "+"); print p[2] + 11, p[3] + 11; found = 1; exit }
      END { exit !found }'
}
