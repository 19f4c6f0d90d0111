#!/usr/bin/env bash
# What one pass of the control loop costs on a Mac running Linux, beside the lightest fan daemons.
#
#   bench/loop_cost.sh [WINDOW_SECONDS [CASE...]]   (default 30 s, every case; RUNS=3 runs of each
#                                                   case, the median shown)
#
# Each case gets a fresh fake applesmc tree (bench/lib/fake_applesmc.sh) with its firmware loop,
# whose own CPU is not counted. Halvoren runs as `halvoren-helper --sysfs-root TREE --socket S` and
# `halvoren --headless --sysfs-root TREE --helper-socket S` under the Balanced curve (10 passes a
# second) and with the firmware in control (1 pass a second). The peers from Debian, installed if
# missing: mbpfan, which only looks under /sys/devices/platform and reads /etc/mbpfan.conf, runs in a
# private mount namespace with the tree and its own config bound there; thinkfan is pointed at the
# tree's files by path, at its default interval (5 s) and at 1 s. Beside them the floor
# (halvoren-bench-floor, when built): a bare loop making only the reads that a pass must make,
# at 10 and at 1 pass a second.
#
# A third into the window the tree's CPU temperature takes a load step. Per program: passes a
# second, CPU per pass (µs), CPU share (% of a core) and wake-ups a second (context switches of
# all threads); CPU time is the threads' schedstat time, with utime+stime ticks beside it as a
# check. Halvoren's cost is measured without --status-json, whose line a second costs on its
# own; the curve case runs again with it (halvoren-curve+json) for Halvoren's view of the step.
# Then how each program's fan target followed the step, from the firmware's log (0.5 s steps),
# and from the status lines (1 s).
#
# Needs a dev build (build/bin/halvoren and halvoren-helper), or HALVOREN_BIN naming another
# directory, and root for the peers (they write the tree, mbpfan needs a mount namespace).
set -euo pipefail

window=${1:-30}
shift $(($# > 0 ? 1 : 0))
only=("$@") # case labels to run; none: all
runs=${RUNS:-3}
warmup=${WARMUP:-8}
here=$(cd "$(dirname "$0")/.." && pwd)
bin="${HALVOREN_BIN:-$here/build/bin}"
for program in halvoren halvoren-helper; do
    [[ -x "$bin/$program" ]] || { echo "no $bin/$program: build the dev preset first" >&2; exit 1; }
done
source "$here/bench/lib/process_stats.sh"
source "$here/bench/lib/fake_applesmc.sh"
ticks=$(getconf CLK_TCK)
# On a memory file system, as sysfs is: on a disk one, writing a fan's attribute (truncate, write,
# close) starts block I/O that no real attribute costs, and it swamped the helper's figures.
if [[ -d /dev/shm && -w /dev/shm ]]; then scratch=$(mktemp -d -p /dev/shm); else scratch=$(mktemp -d); fi
started=() # every process this script started, stopped on the way out
cleanup() {
    local pid
    for pid in "${started[@]}"; do kill -TERM "$pid" 2>/dev/null || true; done
    for pid in "${started[@]}"; do wait "$pid" 2>/dev/null || true; done
    find "$scratch" -maxdepth 2 -name hwmon0 -printf '%h/stop\n' | xargs -r touch
    sleep 0.6
    rm -rf "$scratch"
}
trap cleanup EXIT

# The peers, from Debian when missing; their services, should the package start them, are
# stopped at once, since they would drive this machine's real fans.
for peer in thinkfan mbpfan; do
    if ! command -v "$peer" >/dev/null; then
        echo "installing $peer from Debian (apt-get install --no-install-recommends $peer)"
        if apt-get install -y --no-install-recommends "$peer" >"$scratch/apt-$peer.log" 2>&1; then
            systemctl stop "$peer" >/dev/null 2>&1 || true
        else
            echo "  could not install $peer: see apt-get; it is left out" >&2
        fi
    fi
done

now() { echo "$EPOCHREALTIME"; }

# One measurement: case label, rate (passes a second), then `name=command...` is not enough for
# process pairs, so each case is a function that starts its processes, records their pids in
# `measured` (name:pid) and their status lines, if any, in $dir/status.jsonl.
measure() { # case, rate, starter function, its arguments...
    local label=$1 rate=$2 starter=$3
    shift 3
    local dir="$scratch/$label-$run"
    mkdir -p "$dir"
    fake_applesmc_tree "$dir/tree"
    fake_applesmc_firmware "$dir/tree" &
    local firmware=$!
    measured=()
    "$starter" "$dir" "$@"
    sleep "$warmup"
    local entry code dead=""
    for entry in "${measured[@]}"; do
        if ! kill -0 "${entry#*:}" 2>/dev/null; then
            code=0
            wait "${entry#*:}" 2>/dev/null || code=$?
            dead+="${entry%%:*} exited with code $code at start; "
        fi
    done
    if [[ -n $dead ]]; then
        echo "$label: $dead$(peer_reason "$dir" "${measured[0]%%:*}")not measured" >>"$scratch/notes"
        stop_case "$firmware" "$dir"
        return
    fi
    local -A c0 n0 s0
    local t0 tstep t1
    t0=$(now)
    for entry in "${measured[@]}"; do
        c0[$entry]=$(cpu_ticks "${entry#*:}")
        n0[$entry]=$(cpu_ns "${entry#*:}")
        s0[$entry]=$(switches "${entry#*:}")
    done
    sleep "$(awk -v w="$window" 'BEGIN { print w / 3 }')"
    tstep=$(now)
    echo 1 >"$dir/tree/load"
    sleep "$(awk -v w="$window" 'BEGIN { print w * 2 / 3 }')"
    t1=$(now)
    local c=0 ns=0 s=0 name
    for entry in "${measured[@]}"; do
        name=${entry%%:*}
        local dc dn ds
        dc=$(($(cpu_ticks "${entry#*:}") - c0[$entry]))
        dn=$(($(cpu_ns "${entry#*:}") - n0[$entry]))
        ds=$(($(switches "${entry#*:}") - s0[$entry]))
        c=$((c + dc)) ns=$((ns + dn)) s=$((s + ds))
        ((${#measured[@]} > 1)) && row "$label" "$name" "$rate" "$dc" "$dn" "$ds" "$t0" "$t1"
    done
    row "$label" "total" "$rate" "$c" "$ns" "$s" "$t0" "$t1"
    stop_case "$firmware" "$dir"
    control "$label" "$dir" "$t0" "$tstep" "$t1" >>"$scratch/control-$label"
}

# case process rate ticks ns switches t0 t1 -> a line of figures in $scratch/rows
row() {
    awk -v l="$1" -v p="$2" -v r="$3" -v c="$4" -v n="$5" -v s="$6" -v t0="$7" -v t1="$8" -v hz="$ticks" \
        'BEGIN { w = t1 - t0; passes = r * w
                 printf "%s %s %.1f %.1f %.3f %.1f %.1f\n", l, p, r, n / 1000 / passes, 100 * n / 1e9 / w,
                        s / w, 100 * c / hz / w }' >>"$scratch/rows"
}

stop_case() { # firmware pid, dir
    local entry
    for entry in "${measured[@]}"; do kill -TERM "${entry#*:}" 2>/dev/null || true; done
    for entry in "${measured[@]}"; do wait "${entry#*:}" 2>/dev/null || true; done
    touch "$2/tree/stop"
    wait "$1" 2>/dev/null || true
    started=()
}

# The step's effect from the firmware's log: the seconds from the step to the first change of
# fan 1's target, the target changes a minute over the window and the peak temperature; for
# Halvoren also from its status lines.
control() { # case dir t0 tstep t1
    awk -v t0="$3" -v ts="$4" -v t1="$5" '
        $1 < t0 || $1 > t1 { next }
        { if (seen && $3 != last) { changes++; if ($1 >= ts && reaction == "") reaction = $1 - ts }
          if ($1 < ts) stepTarget = $3
          last = $3; seen = 1; if ($2 > peak) peak = $2 }
        END { printf "firmware-log %s %.1f %.1f\n", reaction == "" ? "none" : sprintf("%.1f", reaction),
                     60 * changes / (t1 - t0), peak / 1000 }' "$2/tree/firmware.log"
    [[ -s "$2/status.jsonl" ]] || return 0
    # "time":"...THH:MM:SS.mmmZ" against the epoch seconds of the window: the same clock, UTC.
    local day
    day=$(date -u -d "$(date -u -d "@${3%.*}" +%F)" +%s)
    awk -v t0="$3" -v ts="$4" -v t1="$5" -v day="$day" '
        match($0, /"time":"[0-9-]+T[0-9:.]+/) {
            split(substr($0, RSTART + 19, RLENGTH - 19), hms, ":")
            t = day + hms[1] * 3600 + hms[2] * 60 + hms[3]
            if (t < t0 || t > t1) next
            targets = ""; rest = $0
            while (match(rest, /"target":[0-9.]+/)) { targets = targets substr(rest, RSTART + 9, RLENGTH - 9) ","
                                                      rest = substr(rest, RSTART + RLENGTH) }
            temperature = match($0, /"controlTemperature":[0-9.]+/) ? substr($0, RSTART + 21, RLENGTH - 21) : 0
            if (seen && targets != last) { changes++; if (t >= ts && reaction == "") reaction = t - ts }
            last = targets; seen = 1; if (temperature + 0 > peak) peak = temperature + 0
        }
        END { printf "status-json %s %.1f %.1f\n", reaction == "" ? "none" : sprintf("%.1f", reaction),
                     60 * changes / (t1 - t0), peak }' "$2/status.jsonl"
}

# Why a peer stopped: its own words, or for thinkfan, which then writes to the console only, what
# its system calls show: it opens pwmN_enable truncating it and reads the previous mode back through
# another descriptor, which a sysfs attribute survives and a plain file (or a pipe) does not.
peer_reason() { # dir, program
    if [[ -s "$1/peer.err" ]]; then
        echo "$(tr -s '\r\n' '  ' <"$1/peer.err" | cut -c1-200); "
    elif [[ $2 == thinkfan ]]; then
        echo "it truncates pwm1_enable and reads the old mode back, which only a sysfs attribute survives; "
    fi
}

halvoren() { # dir, extra arguments of the application
    local dir=$1
    shift
    "$bin/halvoren-helper" --sysfs-root "$dir/tree" --socket "$dir/helper.sock" >"$dir/helper.log" 2>&1 &
    local helper=$!
    started+=("$helper")
    for _ in $(seq 50); do [[ -S "$dir/helper.sock" ]] && break; sleep 0.1; done
    "$bin/halvoren" --headless --sysfs-root "$dir/tree" --helper-socket "$dir/helper.sock" \
        --settings "$dir/s.ini" "$@" >"$dir/status.jsonl" 2>"$dir/app.log" &
    started+=("$!")
    measured=("app:$!" "helper:$helper")
}

# The bare reads a pass must make, in a loop of its own (bench/floor): what the hardware costs.
floor_reads() { # dir, passes a second
    "$bin/halvoren-bench-floor" "$1/tree" "$2" >"$1/peer.log" 2>"$1/peer.err" &
    started+=("$!")
    measured=("floor:$!")
}

mbpfan_in_namespace() { # dir
    local dir=$1
    fake_applesmc_platform "$dir/tree" "$dir/platform"
    printf '[general]\nlow_temp = 63\nhigh_temp = 66\nmax_temp = 86\npolling_interval = 1\n' >"$dir/mbpfan.conf"
    # unshare without --fork execs, so the pid is mbpfan's own once the mounts are made.
    # shellcheck disable=SC2016 # expanded by the inner shell
    unshare -m sh -c 'mount --bind "$1" /sys/devices/platform && mount --bind "$2" /etc/mbpfan.conf &&
                      exec mbpfan -f' mbpfan "$dir/platform" "$dir/mbpfan.conf" >"$dir/peer.log" 2>"$dir/peer.err" &
    started+=("$!")
    measured=("mbpfan:$!")
}

thinkfan_on_tree() { # dir, seconds between passes
    local dir=$1
    printf 'sensors:\n  - hwmon: %s\n  - hwmon: %s\nfans:\n  - hwmon: %s\nlevels:\n' \
        "$dir/tree/hwmon0/temp1_input" "$dir/tree/hwmon0/temp4_input" "$dir/tree/hwmon0/pwm1" >"$dir/thinkfan.yaml"
    printf '  - [0, 0, 60]\n  - [96, 55, 70]\n  - [160, 65, 80]\n  - [255, 75, 127]\n' >>"$dir/thinkfan.yaml"
    # It logs to the console when it has no terminal; its exit code is what is left to see here.
    thinkfan -n -q -c "$dir/thinkfan.yaml" -s "$2" >"$dir/peer.log" 2>"$dir/peer.err" &
    started+=("$!")
    measured=("thinkfan:$!")
}

cases=("halvoren-curve 10 halvoren --preset auto" "halvoren-firmware 1 halvoren"
    "halvoren-curve+json 10 halvoren --preset auto --status-json")
[[ -x "$bin/halvoren-bench-floor" ]] && cases+=("floor-10hz 10 floor_reads 10" "floor-1hz 1 floor_reads 1")
command -v mbpfan >/dev/null && cases+=("mbpfan-1s 1 mbpfan_in_namespace")
command -v thinkfan >/dev/null && cases+=("thinkfan-5s 0.2 thinkfan_on_tree 5" "thinkfan-1s 1 thinkfan_on_tree 1")
echo "window ${window} s after ${warmup} s, ${runs} run(s) of each case, load step at ${window}/3 s"
for entry in "${cases[@]}"; do
    read -r -a words <<<"$entry"
    if ((${#only[@]})) && [[ " ${only[*]} " != *" ${words[0]} "* ]]; then
        continue
    fi
    for ((run = 1; run <= runs; run++)); do
        measure "${words[@]}"
    done
done

echo
printf '%-20s %-9s %8s %12s %10s %11s %11s\n' case process passes/s "cpu/pass µs" "cpu %core" "wakeups/s" "ticks %core"
if [[ -s "$scratch/rows" ]]; then
    while read -r label process; do
        figures=()
        for column in 3 4 5 6 7; do
            figures+=("$(awk -v l="$label" -v p="$process" -v c="$column" '$1 == l && $2 == p { print $c }' \
                "$scratch/rows" | median)")
        done
        printf '%-20s %-9s %8s %12.1f %10.3f %11.1f %11.3f\n' "$label" "$process" "${figures[@]}"
    done < <(awk '!seen[$1 " " $2]++ { print $1, $2 }' "$scratch/rows")
fi

echo
echo "Control over the window (median of runs): the first fan-1 target change after the load step,"
echo "target changes a minute, peak CPU temperature. firmware-log: the tree's view (0.5 s steps);"
echo "status-json: Halvoren's own lines (1 s)."
printf '%-20s %-13s %12s %16s %9s\n' case source "reaction s" "changes/minute" "peak °C"
for file in "$scratch"/control-*; do
    [[ -e "$file" ]] || continue
    label=${file##*/control-}
    for source in firmware-log status-json; do
        grep -q "^$source " "$file" || continue
        reaction=none
        if grep -q "^$source [0-9]" "$file"; then
            reaction=$(awk -v s="$source" '$1 == s && $2 != "none" { print $2 }' "$file" | median)
        fi
        printf '%-20s %-13s %12s %16s %9s\n' "$label" "$source" "$reaction" \
            "$(awk -v s="$source" '$1 == s { print $3 }' "$file" | median)" \
            "$(awk -v s="$source" '$1 == s { print $4 }' "$file" | median)"
    done
done
if [[ -s "$scratch/notes" ]]; then
    echo
    sort -u "$scratch/notes"
fi
