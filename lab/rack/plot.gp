# SPDX-License-Identifier: Apache-2.0
# Draws a rack's bad day from the samples of lab-rack: what was said, received and
# dropped, and the bytes that waited. Variables: samples, a file; hosts, a number.
set terminal pngcairo size 1200,900 font "sans,11" noenhanced
set multiplot layout 3,1 title "A rack of ".hosts." hosts, each notification to two receivers"
set grid
set key outside right top Left reverse samplen 2 width 2
set lmargin 11
set rmargin 30
set xlabel "seconds"

# A line where each phase begins, and its words beside it in the first graph.
begins = system("awk -F'\t' '/^# phase/ { print $2 }' '".samples."'")
names = system("awk -F'\t' '/^# phase/ { print \"\\\"\" $3 \"\\\"\" }' '".samples."'")
stats samples using 1 nooutput
stats samples using ($6 > $9 ? $6 : $9) name "DROPPED" nooutput
stats samples using (($7 > $10 ? $7 : $10) / 1024) name "WAITING" nooutput
# How long the hosts take to start is this machine's affair.
first = words(begins) > 1 ? real(word(begins, 2)) : 0
set xrange [first - 0.5:STATS_max + 1]
do for [i=1:words(begins)] {
  x = real(word(begins, i))
  if (x >= first) {
    set arrow i from first x, graph 0 to first x, graph 1 nohead dashtype 2 linecolor rgb "gray50"
    set label i word(names, i) at first x, graph 0.96 right rotate by 90 offset -1.3,0 textcolor rgb "gray30"
  }
}

# Nothing at all is a range too.
top(highest) = highest > 0 ? 1.05 * highest : 1
set yrange [0:*]
set ylabel "notifications"
plot samples using 1:3 with lines lw 2 title "the BMCs said", \
     samples using 1:5 with lines lw 2 title "192.0.2.7 received", \
     samples using 1:8 with lines lw 1 title "198.51.100.9 received"
unset label
set yrange [0:top(DROPPED_max)]
set ylabel "dropped at the socket"
plot samples using 1:6 with lines lw 2 title "192.0.2.7", \
     samples using 1:9 with lines lw 2 title "198.51.100.9"
set yrange [0:top(WAITING_max)]
set ylabel "KiB waiting in the socket"
plot samples using 1:($7/1024) with lines lw 2 title "192.0.2.7", \
     samples using 1:($10/1024) with lines lw 2 title "198.51.100.9"
unset multiplot
