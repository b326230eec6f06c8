# Draws what kv_growth printed: gnuplot -e "data='growth.txt'; picture='growth.svg'" growth.gp
set terminal svg size 900,560 font "sans-serif,13" background "white" noenhanced
set output picture
set title "Cost of an operation by size"
set logscale xy
set format x "2^%L"
set logscale x 2
set xlabel "elements or characters"
set ylabel "nanoseconds"
set key left top
set grid
plot for [block=0:*] data index block using 1:2 with linespoints title columnheader(1)
