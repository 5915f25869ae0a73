# Calibrates a thermistor: the coefficients of Steinhart and Hart (1968),
#     1/T = a + b ln R + c (ln R)^3,    T in kelvin, R in ohm, none negative,
# from readings in a bath, by least squares of the temperatures.
#
#   tclsh examples/thermistor.tcl ?picture.png?
source [file join [file dirname [file normalize [info script]]] support packages.tcl]
package require zavox
namespace import zavox::*

set channel [open [file join [file dirname [info script]] data thermistor.csv]]
set rows [lrange [split [string trim [read $channel]] \n] 1 end]
close $channel
set celsius {}
set ohm {}
foreach row $rows {
    lassign [split $row ,] t r
    lappend celsius $t
    lappend ohm $r
}
set l [calc {log($ohm)}]
proc errors {x} {
    lassign $x a b c
    calc {1/($a + $b*$::l + $c*$::l**3) - 273.15 - $::celsius}
}
# The numbers come as doubles that equal floats; calc rounds its result to float.
proc squares {x} {vector dot [errors $x] [errors $x]}
set fit [minimize squares {1e-3 2e-4 1e-7} -lower {0 0 0} -scale {1e-3 2e-4 1e-7} -digits 7]
set error [errors [dict get $fit x]]
puts [format "a %.4e  b %.4e  c %.3e  (%s)" {*}[vector list [dict get $fit x]] [dict get $fit status]]
puts [format "Errors: %.2f K on average, %.2f K at worst" [expr {sqrt([dict get $fit value] / [llength $ohm])}] \
    [vector max [calc {abs($error)}]]]
if {$argc > 0} {
    set plot [open "| gnuplot" w]
    puts $plot "set terminal png size 900,400; set output '[lindex $argv 0]'; set xlabel 'degrees Celsius'"
    puts $plot "set ylabel 'error in K'; plot '-' with linespoints notitle, 0 notitle"
    foreach t $celsius e [vector list $error] {puts $plot "$t $e"}
    close $plot
}
