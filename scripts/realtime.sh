#!/usr/bin/env bash
# Sets up this machine, builds the plug-in as it is shipped and runs ten million cycles, or as many as
# are named, in each of three settings: writes docs/realtime.md and its picture. Minutes; times mean
# something on an idle machine only. As root, for priority and locked memory.
#
#   scripts/realtime.sh [CYCLES]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/packages.sh

need_packages "${build_packages[@]}" gnuplot-nox libbenchmark-dev strace
cycles=${1:-10000000}
build=build/realtime
cmake --preset release -B "$build" -DORVEK23_BENCHMARKS=ON
cmake --build "$build" --target orvek23_realtime orvek23
program=$build/bin/orvek23_realtime plugin=$build/lib/liborvek23.so

# A larger number of cycles must not make one call more.
calls() {
  strace --summary-only --output="$build/strace.txt" "$program" --cycles "$1" "$plugin" > "$build/row.txt"
  awk '$NF == "total" { print $4 }' "$build/strace.txt"
}
load=$(cut -d' ' -f1 /proc/loadavg)
few=$(calls 1000) many=$(calls 100000)
{
  cat << EOT
# Real time

What a control cycle takes, and what it asks of the system: setters of a random pose, rates and 23
wrenches, kinematics, mass matrix, a centre-of-mass Jacobian and inverse dynamics, read back. A state
drawn anew for each cycle, outside the time; memory locked. \`scripts/realtime.sh\` runs it and writes
this page (not edited by hand); the test \`realtime\` runs 200,000 cycles and fails if one of them
allocates, faults a page or makes a system call.

Machine: $(sed -n 's/^model name.*: //p' /proc/cpuinfo | head -1), $(nproc) CPUs, Linux $(uname -r), $(date -u +%F); load average before
the run $load (other work on the machine shows in all but the last row). The load is a process that writes
through 64 MiB without pause.

| | cycles | median, us | 99.9 % | 99.999 % | largest | allocations | page faults | context switches, own + forced | system calls |
|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|
EOT
  "$program" --cycles "$cycles" --check --histogram "$build/alone.txt" "$plugin"
  "$program" --cycles "$cycles" --check --load --histogram "$build/load.txt" "$plugin"
  "$program" --cycles "$cycles" --check --load --fifo --histogram "$build/fifo.txt" "$plugin"
  cat << EOT

[<img src="realtime.svg" width="640" alt="How many cycles took how long, for the three rows">](realtime.svg)

Counted after the first cycle. A system call would be caught by the kernel's dispatch to user space;
\`strace -c\` counts $few for 1,000 cycles and $many for 100,000, start and end of the program included.
The longest times are the kernel's: interrupts, where switches are forced other processes, and with
\`SCHED_FIFO\` the part of each second that it keeps from such threads while others wait: 50 ms, unless
\`kernel.sched_rt_runtime_us\` is -1. What a host does against them: [hosting](hosting.md#real-time).
EOT
} > "$build/realtime.md"
gnuplot << END
set terminal svg size 720,360 font "sans,12" background "white"
set output "docs/realtime.svg"
set logscale xy
set xlabel "time of a cycle, us"
set ylabel "cycles, in steps of 5 %"
set format y "10^{%T}"
set xrange [1:200000]
set yrange [0.5:]
set key top right noenhanced
# On a logarithmic grid, or the picture would be megabytes.
bins(file) = sprintf("< awk '{ k = int(20 * log(\$1)); n[k] += \$2 } END { for (k in n) print exp((k + 0.5) / 20) / 1000, n[k] }' %s | sort -g", file)
plot bins("$build/alone.txt") with points pt 7 ps 0.4 title "alone", \
     bins("$build/load.txt") with points pt 7 ps 0.4 title "beside a load", \
     bins("$build/fifo.txt") with points pt 7 ps 0.4 title "beside a load, SCHED_FIFO"
END
mv "$build/realtime.md" docs/realtime.md
cat docs/realtime.md
[[ $few == "$many" ]] || { echo "realtime.sh: system calls in cycles: $few, then $many" >&2; exit 1; }
