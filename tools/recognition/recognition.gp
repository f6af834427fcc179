# Draws how the chart recognition saw a scan, from what it reports to its callbacks.
#
#     build/release/tools/recognition/recognition trace 4 > scan.txt
#     gnuplot -e "scan='scan.txt'; image='scan.png'" tools/recognition/recognition.gp
#
# Above: the difference between each reading and the next (grey) against the edge level (red); what lies above the level
# is an edge. Below: L* of the readings (grey) and of the patches found, each in its own colour at its position.

set terminal pngcairo size 1800,1000 font "Sans,12"
set output image
set multiplot layout 2,1 margins 0.05,0.985,0.07,0.96 spacing 0.06

f(t) = t > 6 / 29.0 ? t ** 3 : (t - 4 / 29.0) * 108 / 841.0
x(l, a) = 0.9642 * f((l + 16) / 116.0 + a / 500.0)
y(l) = f((l + 16) / 116.0)
z(l, b) = 0.8251 * f((l + 16) / 116.0 - b / 200.0)
encoded(v) = v <= 0 ? 0 : v >= 1 ? 255 : int(255 * (v <= 0.0031308 ? 12.92 * v : 1.055 * v ** (1 / 2.4) - 0.055))
# XYZ under D50 to sRGB (IEC 61966-2-1), adapted by the method of Bradford: the matrix that B. Lindbloom publishes.
red(l, a, b) = encoded(3.1338561 * x(l, a) - 1.6168667 * y(l) - 0.4906146 * z(l, b))
green(l, a, b) = encoded(-0.9787684 * x(l, a) + 1.9161415 * y(l) + 0.0334540 * z(l, b))
blue(l, a, b) = encoded(0.0719453 * x(l, a) - 0.2289914 * y(l) + 1.4052427 * z(l, b))
rgb(l, a, b) = 65536 * red(l, a, b) + 256 * green(l, a, b) + blue(l, a, b)

stats scan index 0 using 1 name "reading" nooutput
set xrange [0:reading_max]
set key top right opaque
set grid ytics

set ylabel "{/Symbol D}E 2000" offset 2
set yrange [0.05:100]
set logscale y
plot scan index 0 using 1:5 with impulses linecolor rgb "#909090" title "difference to the next reading", \
     scan index 0 using 1:6 with lines linewidth 2 linecolor rgb "#d02020" title "edge level", \
     scan index 1 using 2:(0.06) with points pointtype 9 pointsize 1.5 linecolor rgb "#2040c0" title "patch found"

unset logscale y
set key bottom right
set ylabel "L*" offset 2
set xlabel "reading"
set yrange [0:105]
plot scan index 0 using 1:2 with lines linecolor rgb "#909090" title "reading", \
     scan index 1 using 2:3:(rgb($3, $4, $5)) with points pointtype 7 pointsize 2.5 linecolor rgb variable title "patch"
unset multiplot
