# shellcheck shell=bash
# A fake applesmc hwmon tree for the loop benchmarks (sourced).
#
#   fake_applesmc_tree DIR       DIR/hwmon0 is "applesmc" (two fans, 30 temperatures, pwm1/pwm2 for
#                                daemons that drive fans by PWM), DIR/hwmon1 is "coretemp"
#   fake_applesmc_firmware DIR & the controller's own loop, every 0.5 s, until DIR/stop exists; each
#                                step appends "EPOCH_SECONDS TEMPERATURE FAN1_TARGET" to DIR/firmware.log
#   fake_applesmc_platform DIR PLATFORM
#                                PLATFORM/applesmc.768 and PLATFORM/coretemp.0/hwmon/hwmon1 as links
#                                into the tree, for programs that look under /sys/devices/platform
#
# The firmware: a fan whose fanN_manual is 1 runs toward fanN_output, one whose pwmN_enable is 1
# toward its PWM value spread over min...max, any other toward the firmware's own target (its
# minimum below 70 °C, its maximum at 90 °C). Each step covers a third of the way. The CPU
# temperature runs toward 45 °C, plus 40 °C while DIR/load holds 1, less up to 15 °C as the fans
# speed up, with a time constant of about 4 s; the CPU sensors follow it, the others stay put.
# Values are integers, as sysfs gives them: millidegrees and RPM.

fake_applesmc_fan_min=1200
fake_applesmc_fan_max=6200

fake_applesmc_tree() {
    local dir=$1 smc=$1/hwmon0 core=$1/hwmon1 n=1 key
    mkdir -p "$smc" "$core"
    echo applesmc >"$smc/name"
    echo coretemp >"$core/name"
    for n in 1 2; do
        echo "$fake_applesmc_fan_min" >"$smc/fan${n}_input"
        echo "$fake_applesmc_fan_min" >"$smc/fan${n}_min"
        echo "$fake_applesmc_fan_max" >"$smc/fan${n}_max"
        echo "$fake_applesmc_fan_min" >"$smc/fan${n}_output"
        echo 0 >"$smc/fan${n}_manual"
        echo 0 >"$smc/pwm${n}"
        echo 2 >"$smc/pwm${n}_enable"
    done
    echo "Left side  " >"$smc/fan1_label"
    echo "Right side " >"$smc/fan2_label"
    # An Intel laptop's keys: CPU die and proximity first (they follow the load), then the rest.
    n=1
    for key in TC0D TC0E TC0F TC0P TC1C TC2C TC3C TC4C TCXC TCGC TCSA TG0D TG0P TG0T \
        TA0P TB0T TB1T TB2T TH0A TH0B TM0P TM0S TPCD TW0P Th1H Tm0P Ts0P Ts0S Ts1S TN0P; do
        echo "$key" >"$smc/temp${n}_label"
        echo $((30000 + n * 500)) >"$smc/temp${n}_input"
        n=$((n + 1))
    done
    echo "Package id 0" >"$core/temp1_label"
    for n in 2 3; do echo "Core $((n - 2))" >"$core/temp${n}_label"; done
    for n in 1 2 3; do echo 45000 >"$core/temp${n}_input"; done
    echo 0 >"$dir/load"
}

fake_applesmc_platform() {
    local dir=$1 platform=$2
    mkdir -p "$platform/coretemp.0/hwmon"
    ln -sfn "$dir/hwmon0" "$platform/applesmc.768"
    ln -sfn "$dir/hwmon1" "$platform/coretemp.0/hwmon/hwmon1"
}

# attribute VARIABLE FILE DEFAULT: the file's first line into the variable, without a subshell.
# Writers need not end it with a newline (read then fails but keeps what it read); an empty or
# unreadable file gives the default.
attribute() {
    local -n into=$1
    into=
    read -r into <"$2" 2>/dev/null || true
    [[ $into =~ ^-?[0-9]+$ ]] || into=$3
}

fake_applesmc_firmware() {
    local dir=$1 smc=$1/hwmon0 core=$1/hwmon1
    local min=$fake_applesmc_fan_min max=$fake_applesmc_fan_max
    local temperature=45000 load manual enable pwm output input target sum n first
    [[ -p $dir/tick ]] || mkfifo "$dir/tick"
    while [[ ! -e "$dir/stop" ]]; do
        attribute load "$dir/load" 0
        sum=0
        for n in 1 2; do
            attribute manual "$smc/fan${n}_manual" 0
            attribute enable "$smc/pwm${n}_enable" 2
            attribute input "$smc/fan${n}_input" "$min"
            if [[ $manual == 1 ]]; then
                attribute output "$smc/fan${n}_output" "$min"
                target=$output
            elif [[ $enable == 1 ]]; then
                attribute pwm "$smc/pwm${n}" 0
                target=$((min + pwm * (max - min) / 255))
            elif ((temperature < 70000)); then
                target=$min
            else
                target=$((min + (temperature - 70000) * (max - min) / 20000))
            fi
            ((target > max)) && target=$max
            ((target < 0)) && target=0
            [[ $n == 1 ]] && first=$target
            input=$((input + (target - input) / 3))
            echo "$input" >"$smc/fan${n}_input"
            sum=$((sum + input))
        done
        local speed=$((sum / 2 - min))
        ((speed < 0)) && speed=0
        local settle=$((45000 + load * 40000 - speed * 15000 / (max - min)))
        temperature=$((temperature + (settle - temperature) / 8))
        for n in 1 2 3 4 5 6 7 8 9; do
            echo $((temperature - n * 300)) >"$smc/temp${n}_input"
        done
        for n in 1 2 3; do echo "$temperature" >"$core/temp${n}_input"; done
        echo "$EPOCHREALTIME $temperature $first" >>"$dir/firmware.log"
        # A builtin wait on a pipe nobody writes: a sleep program would start a process every
        # step, and the programs measured watch the process table.
        read -rt 0.5 <>"$dir/tick" || true
    done
}
