# A logger's CSV, its spectrum, and the tones that stand out of it.
#
#   tclsh examples/logger.tcl ?picture.png?
#
# With a file name the spectrum is drawn (needs gnuplot).
source [file join [file dirname [file normalize [info script]]] support packages.tcl]
package require zavox
namespace import zavox::*

set channel [open [file join [file dirname [info script]] data machine.csv]]
set rows [lrange [split [string trim [read $channel]] \n] 1 end]
close $channel
set seconds {}
set record {}
foreach row $rows {
    lassign [split $row ,] second acceleration
    lappend seconds $second
    lappend record $acceleration
}
set step [expr {([lindex $seconds end] - [lindex $seconds 0]) / ([llength $seconds] - 1)}]
set s [spectrum $record -step $step -detrend linear -segment 1000 -window hann]
set frequency [vector list [dict get $s frequency]]
set amplitude [vector list [dict get $s amplitude]]

# A tone is higher than both neighbours and five times the middle of all.
set threshold [expr {5 * [vector median $amplitude]}]
foreach before [lrange $amplitude 0 end-2] here [lrange $amplitude 1 end-1] after [lrange $amplitude 2 end] \
    hertz [lrange $frequency 1 end-1] {
    if {$here > $threshold && $here >= $before && $here > $after} {
        puts [format "%6.2f Hz  %.2f m/s^2" $hertz $here]
    }
}
if {$argc > 0} {
    set plot [open "| gnuplot" w]
    puts $plot "set terminal png size 900,400; set output '[lindex $argv 0]'; set xlabel 'Hz'"
    puts $plot "set ylabel 'm/s^2'; plot '-' with lines title 'amplitude', $threshold title 'threshold'"
    foreach hertz $frequency a $amplitude {puts $plot "$hertz $a"}
    close $plot
}
