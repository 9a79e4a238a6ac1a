# SPDX-FileCopyrightText: 2026 libvel contributors
#
# SPDX-License-Identifier: MPL-2.0

# The scale benchmark's plot: last-client latency, CPU time and resident
# memory per client against the number of clients, library and baseline.
#   gnuplot -e "data='build/bench/scale.dat'; out='build/bench/scale.png'" bench/scale.gnuplot
# Columns of the data file (written by vel-bench): see its first line.

set terminal pngcairo size 1400,1000 font ",11"
set output out
set multiplot layout 2,2 title "libvel against the GDBus baseline (proxy + acknowledgement), N clients on one bus"
set logscale x 2
set xtics (1, 2, 4, 8, 16, 32)
set xlabel "clients (processes)"
set grid
set key top left
set style line 1 lc rgb "#1f77b4" lw 2 pt 7
set style line 2 lc rgb "#d62728" lw 2 pt 5
set style line 3 lc rgb "#1f77b4" lw 2 pt 6 dt 2
set style line 4 lc rgb "#d62728" lw 2 pt 4 dt 2

set title "known-list notice: emission to the last client's callback"
set ylabel "ms"
plot data using 1:($2/1000) with linespoints ls 1 title "library p50", \
     data using 1:($3/1000) with linespoints ls 2 title "baseline p50", \
     data using 1:($4/1000) with linespoints ls 3 title "library p99", \
     data using 1:($5/1000) with linespoints ls 4 title "baseline p99"

set title "completion flood: emission to the last client's callback"
set ylabel "ms"
plot data using 1:($6/1000) with linespoints ls 1 title "library p50", \
     data using 1:($7/1000) with linespoints ls 2 title "baseline p50", \
     data using 1:($8/1000) with linespoints ls 3 title "library p99", \
     data using 1:($9/1000) with linespoints ls 4 title "baseline p99"

set title "resident memory per client after ready (VmRSS)"
set ylabel "MiB"
set yrange [0:*]
set key bottom right
plot data using 1:($10/1024) with linespoints ls 1 title "library", \
     data using 1:($11/1024) with linespoints ls 2 title "baseline"

set title "CPU time per client over a pass"
set ylabel "ms"
plot data using 1:($12/1000) with linespoints ls 1 title "library, /proc/<pid>/stat", \
     data using 1:($13/1000) with linespoints ls 2 title "baseline, /proc/<pid>/stat", \
     data using 1:($14/1000) with linespoints ls 3 title "library, own CPU clock", \
     data using 1:($15/1000) with linespoints ls 4 title "baseline, own CPU clock"

unset multiplot
