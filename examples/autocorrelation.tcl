# How alike is a record to itself some time later? The autocorrelation of the
# monthly sunspot numbers.
#
#   tclsh examples/autocorrelation.tcl ?picture.png?
#
# zavo_correlation is circular: it takes what comes after the end to be the
# beginning. As many zeros as there are values keep the two apart.

source [file join [file dirname [file normalize [info script]]] support packages.tcl]
package require morvel ;# makes and reads lists of numbers
package require zavo   ;# computes with them

set channel [open [file join [file dirname [info script]] data sunspots_monthly.csv]]
set numbers {}
foreach row [lrange [split [string trim [read $channel]] \n] 1 end] {
    lappend numbers [lindex [split $row ,] 2]
}
close $channel
set n [llength $numbers]
set mean [expr {[tcl::mathop::+ {*}$numbers] / double($n)}]
set values {}
foreach number $numbers {
    lappend values [expr {$number - $mean}]
}

# z[k] is the sum of x[j + k] x[j]: the first n values, divided by the zeroth,
# are the autocorrelation at lags of 0, 1, 2 ... months.
dynlist scope {
    set x [dynlist create float [concat $values [lrepeat $n 0]]]
    set z [dynlist get [zavo_correlation $x $x]]
}
set correlation {}
foreach value [lrange $z 0 [expr {$n / 4}]] {
    lappend correlation [expr {$value / [lindex $z 0]}]
}

# The same for one lag from the definition, to see that nothing was lost.
set lag 132
set sum 0.0
foreach a [lrange $values $lag end] b [lrange $values 0 end-$lag] {
    set sum [expr {$sum + $a * $b}]
}
set direct [expr {$sum / [lindex $z 0]}]

# The first maximum beyond five years.
set best 60
for {set k 60} {$k < 240} {incr k} {
    if {[lindex $correlation $k] > [lindex $correlation $best]} {
        set best $k
    }
}
puts [format "%d months; correlation with the next month %.2f" $n [lindex $correlation 1]]
puts [format "Most like itself again after %d months, %.1f years: %.2f" $best [expr {$best / 12.0}] \
    [lindex $correlation $best]]
puts [format "Lag of %d months: %.6f, from the definition %.6f" $lag [lindex $correlation $lag] $direct]

if {$argc > 0} {
    set picture [lindex $argv 0]
    set plot [open "| gnuplot" w]
    puts $plot "set terminal png size 900,500"
    puts $plot "set output '$picture'"
    puts $plot "set title 'Autocorrelation of the monthly sunspot numbers'"
    puts $plot "set xlabel 'lag in years'"
    puts $plot "set xzeroaxis"
    puts $plot "plot '-' using (\$0/12):1 with lines notitle"
    foreach value $correlation {
        puts $plot $value
    }
    puts $plot e
    close $plot
    puts "Autocorrelation drawn to $picture"
}
