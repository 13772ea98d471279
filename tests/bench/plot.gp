# Draws the figures that bench_relay wrote as columns into `folder`: one picture
# on standard output.
set terminal pngcairo size 1200,1250 font "sans,11"
set datafile separator "\t"
set key autotitle columnhead left bottom
set grid ytics
set yrange [0:*]
set style data linespoints
set multiplot layout 3,1 title "What a relayed notification costs"

set title "CPU time by receivers, 8 bindings"
set xlabel "receivers"
set ylabel "µs"
set xtics 1
plot for [i = 2:4] folder."/receivers.tsv" using 1:i lw 2 pt 7

set title "CPU time by bindings, 1 receiver"
set xlabel "bindings"
set xtics 4
plot for [i = 2:4] folder."/bindings.tsv" using 1:i lw 2 pt 7

set title "From the notification's write to the trap's arrival, 1 receiver"
set xlabel ""
set ylabel "µs, logarithmic"
set logscale y
set yrange [10:*]
set xtics auto rotate by -12 nomirror
set key left top
set style data histogram
set style histogram clustered gap 1
set style fill solid 0.7 border -1
plot for [i = 2:4] folder."/latency.tsv" using i:xtic(1)
