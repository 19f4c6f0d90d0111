# Readings of a running process for the CPU scripts (sourced).

# utime + stime of a process, in clock ticks.
cpu_ticks() { awk '{ print $14 + $15 }' "/proc/$1/stat"; }
# Time on a CPU of all live threads of a process, in nanoseconds: finer than the ticks above
# for programs that wake briefly once a second.
cpu_ns() { cat /proc/"$1"/task/*/schedstat 2>/dev/null | awk '{ n += $1 } END { print n + 0 }'; }
# Voluntary and involuntary context switches over all threads of a process.
switches() {
    cat /proc/"$1"/task/*/status 2>/dev/null |
        awk '/^(non)?voluntary_ctxt_switches/ { n += $2 } END { print n + 0 }'
}
# Resident memory of a process, in MB.
rss_mb() { awk '/^VmRSS/ { printf "%.1f", $2 / 1024 }' "/proc/$1/status"; }
median() { sort -g | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
