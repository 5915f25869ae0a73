# The cycle of the sun, found with a Fourier transform.
#
#   tclsh examples/sunspots.tcl ?picture.png?
#
# Reads three centuries of yearly sunspot numbers, prints the strongest periods,
# transforms back and shows how little was lost on the way. With a file name it
# also draws the periodogram (needs gnuplot).

source [file join [file dirname [file normalize [info script]]] support packages.tcl]
package require morvel ;# makes and reads lists of numbers
package require zavo   ;# computes with them

# Read the record: a header line, then "year,sunspots".
set channel [open [file join [file dirname [info script]] data sunspot_year.csv]]
set numbers {}
foreach row [lrange [split [string trim [read $channel]] \n] 1 end] {
    lappend numbers [lindex [split $row ,] 1]
}
close $channel
set n [llength $numbers]

# Take the mean off, so that frequency zero does not drown the rest.
set mean [expr {[tcl::mathop::+ {*}$numbers] / double($n)}]
set values {}
foreach number $numbers {
    lappend values [expr {$number - $mean}]
}

# A DynList carries the numbers to the transform, whose result is a new one.
set record [dynlist create float $values]
set spectrum [zavo_fft_real $record]

# Packed spectrum: r0, then real and imaginary part of coefficient 1, 2, ...
# Coefficient k belongs to the period n/k; its power is re^2 + im^2.
set power {}
set k 0
foreach {re im} [lrange [dynlist get $spectrum] 1 end] {
    incr k
    lappend power [list [expr {double($n) / $k}] [expr {($re**2 + $im**2) / $n}]]
}
set strongest [lsort -real -decreasing -index 1 $power]

puts "$n years, mean [format %.1f $mean] sunspots. The strongest periods:"
puts [format "  %12s %12s" "years" "power"]
foreach row [lrange $strongest 0 4] {
    puts [format "  %12.2f %12.0f" {*}$row]
}
foreach row $strongest {
    if {[lindex $row 0] >= 5 && [lindex $row 0] <= 20} {
        puts "Strongest between 5 and 20 years: [format %.2f [lindex $row 0]] years"
        break
    }
}

# Forward and backward together multiply by n.
set back [zavo_fft_real $spectrum BACKWARD]
set worst 0
foreach before $values after [dynlist get $back] {
    set worst [expr {max($worst, abs($after / $n - $before))}]
}
puts "Largest error after transforming back: [format %.1e $worst] sunspots"

# What a mistake looks like: nothing can be transformed here.
set empty [dynlist create float {}]
if {[catch {zavo_fft_real $empty} message]} {
    puts "A bad call answers: $message"
}
dynlist free $record $spectrum $back $empty

if {$argc > 0} {
    set picture [lindex $argv 0]
    set plot [open "| gnuplot" w]
    puts $plot "set terminal png size 900,500"
    puts $plot "set output '$picture'"
    puts $plot "set title 'Sunspots 1700-1988'"
    puts $plot "set xlabel 'period in years'"
    puts $plot "set ylabel 'power'"
    puts $plot "set xrange \[2:40\]"
    puts $plot "plot '-' using 1:2 with impulses linewidth 2 notitle"
    foreach row $power {
        puts $plot [join $row " "]
    }
    puts $plot e
    close $plot
    puts "Periodogram drawn to $picture"
}
