# How much the corner of a low-pass filter varies with its parts: two resistors in
# series of 1 %, two capacitors side by side of 5 %, each normal about its nominal
# value with the tolerance as three standard deviations.
#
#   tclsh examples/tolerance.tcl 20261122 ?picture.png?
#
# The first word is the seed, 20261122 when it is left out, too. The same seed gives the
# same report to the last digit, on every system.
source [file join [file dirname [file normalize [info script]]] support packages.tcl]
package require zavox
namespace import zavox::*

set seed [expr {$argc > 0 ? [lindex $argv 0] : 20261122}]
set n 200000
random generator 3
random seed $seed
proc component {nominal tolerance} {
    random normal $::n $nominal [expr {$nominal * $tolerance / 3.0}]
}
set r1 [component 4.7e3 0.01]
set r2 [component 1.0e3 0.01]
set c1 [component 10e-9 0.05]
set c2 [component 2.2e-9 0.05]
set hertz [calc {1 / (2*3.14159265358979 * ($r1 + $r2) * ($c1 + $c2))}]
set good [vector sum [calc {$hertz > 2200 && $hertz < 2380}]]

lassign [vector quantile $hertz 0.001 0.5 0.999] low middle high
puts [format "Seed %d, %d filters" $seed $n]
puts [format "Corner: %.1f Hz, 998 of 1000 between %.1f and %.1f Hz" $middle $low $high]
puts [format "Standard deviation %.2f Hz, within 2200 to 2380 Hz: %.3f %%" [vector sd $hertz] [expr {100.0 * $good / $n}]]
if {$argc > 1} {
    set h [vector histogram $hertz -bins 60]
    set plot [open "| gnuplot" w]
    puts $plot "set terminal png size 900,400; set output '[lindex $argv 1]'; set xlabel 'corner in Hz'"
    puts $plot "plot '-' with boxes title 'filters'"
    foreach edge [lrange [dict get $h edges] 0 end-1] count [dict get $h counts] {puts $plot "$edge $count"}
    close $plot
}
