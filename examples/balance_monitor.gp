# gnuplot balance_monitor.gp: draws balance.csv as balance_monitor.svg.
set terminal svg size 900,620 font "Helvetica,13" background "white"
set output "balance_monitor.svg"
set datafile separator ","
set multiplot layout 2,1
set key outside top center horizontal
set ylabel "y (m)"
set xlabel "x (m)"
set yrange [-0.12:0.12]
plot "balance.csv" using 8:9 skip 1 with lines lc "#909090" title "capture point", \
     "" using 4:5 skip 1 with lines lc "#c03020" title "zero-moment point", \
     "" using 2:3 skip 1 with lines lc "#2060a0" title "centre of mass"
set ylabel "margin (m)"
set xlabel "time (s)"
set yrange [0:*]
plot "balance.csv" using 1:10 skip 1 with lines lc "#c03020" title "of the zero-moment point"
