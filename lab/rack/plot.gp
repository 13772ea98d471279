# SPDX-License-Identifier: Apache-2.0
# Draws a rack's bad day from the samples of lab-rack: what was said, received and
# dropped, and the bytes that waited. Variables: samples, a file; hosts, a number.
set terminal pngcairo size 1100,900 font "sans,11" noenhanced
set multiplot layout 3,1 title "A rack of ".hosts." hosts: the BMCs restart, a power feed fails, one host floods"
set grid
set key outside right
set lmargin 11
set rmargin 26
set xlabel "seconds"
stats samples using 1 nooutput
set xrange [0:STATS_max]

# A line where each phase begins.
phases = system("awk -F'\t' '/^# phase/ { print $2 }' '".samples."'")
do for [i=1:words(phases)] {
  x = real(word(phases, i))
  set arrow i from first x, graph 0 to first x, graph 1 nohead dashtype 2 linecolor rgb "gray50"
}

set ylabel "notifications"
plot samples using 1:3 with lines lw 2 title "the BMCs said", \
     samples using 1:5 with lines lw 2 title "192.0.2.7 received", \
     samples using 1:8 with lines lw 1 title "198.51.100.9 received"
set ylabel "dropped at the socket"
set yrange [0:*]
plot samples using 1:6 with lines lw 2 title "192.0.2.7", \
     samples using 1:9 with lines lw 2 title "198.51.100.9"
set ylabel "KiB waiting in the socket"
plot samples using 1:($7/1024) with lines lw 2 title "192.0.2.7", \
     samples using 1:($10/1024) with lines lw 2 title "198.51.100.9"
unset multiplot
