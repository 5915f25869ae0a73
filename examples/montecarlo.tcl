# How often does a cable break? A Monte Carlo estimate with its error bar.
#
#   tclsh examples/montecarlo.tcl ?picture.png?
#
# The strength of a cable varies from one to the next (normal distribution), and
# so does the largest load of a year (exponential distribution). A trial draws
# one of each; the cable breaks when the load is above the strength. With a file
# name the margins between the two are drawn as a histogram (needs gnuplot).

source [file join [file dirname [file normalize [info script]]] support packages.tcl]
package require morvel ;# makes and reads lists of numbers
package require zavo   ;# draws them

set trials 200000
set mean_strength 10.0 ;# kN
set spread 1.2
set mean_load 2.0

# Draws n deviates as a Tcl list. One uniform deviate in 34 million is exactly 1,
# which has no normal deviate; a batch that meets it fails and is drawn again.
proc draw {command n} {
    for {set attempt 1} {[catch {$command $n} list]} {incr attempt} {
        if {$attempt == 5} {
            error $list
        }
    }
    return [dynlist take $list]
}

set broken 0
set margins {}
foreach z [draw zavo_random_normal $trials] e [draw zavo_random_exp $trials] {
    set margin [expr {$mean_strength + $spread * $z - $mean_load * $e}]
    incr broken [expr {$margin < 0}]
    lappend margins $margin
    if {[llength $margins] % 1000 == 0} {
        example::progress [llength $margins] $trials montecarlo.tcl
    }
}

# A count of rare events: the standard error of a frequency p in n trials is
# sqrt(p (1 - p) / n).
set p [expr {double($broken) / $trials}]
set error [expr {sqrt($p * (1 - $p) / $trials)}]

# What it should be: the load is above a given strength x with probability
# exp(-x / mean_load), and the mean of that over the strengths has a closed form.
set exact [expr {exp(-$mean_strength / $mean_load + ($spread / $mean_load)**2 / 2)}]

puts "$trials trials, $broken cables broken"
puts [format "Probability of breaking: %.3f %% +- %.3f %%" [expr {100 * $p}] [expr {100 * $error}]]
puts [format "Exact:                   %.3f %%, %.1f standard errors away" [expr {100 * $exact}] \
    [expr {abs($p - $exact) / $error}]]

# The error bar is honest when it shrinks with the square root of the trials: the
# same estimate from a hundredth of them, many times over, scatters ten times as
# far.
set part [expr {$trials / 100}]
set sum_of_squares 0.0
for {set start 0} {$start < $trials} {incr start $part} {
    set count 0
    foreach margin [lrange $margins $start [expr {$start + $part - 1}]] {
        incr count [expr {$margin < 0}]
    }
    set sum_of_squares [expr {$sum_of_squares + (double($count) / $part - $p)**2}]
}
set scatter [expr {sqrt($sum_of_squares / 99)}]
puts [format "100 parts of %d trials scatter by %.3f %%, %.1f times the error bar" $part \
    [expr {100 * $scatter}] [expr {$scatter / $error}]]

if {$argc > 0} {
    set picture [lindex $argv 0]
    set width 0.25
    foreach margin $margins {
        dict incr histogram [expr {int(floor($margin / $width))}]
    }
    set plot [open "| gnuplot" w]
    puts $plot "set terminal png size 900,500"
    puts $plot "set output '$picture'"
    puts $plot "set title '$trials cables: strength minus load'"
    puts $plot "set xlabel 'margin in kN (below 0 the cable breaks)'"
    puts $plot "set ylabel 'cables'"
    puts $plot "set xrange \[-10:16\]"
    puts $plot "set boxwidth $width"
    puts $plot "set style fill solid 0.6"
    puts $plot "set arrow from 0, graph 0 to 0, graph 1 nohead dashtype 2"
    puts $plot "plot '-' using 1:2 with boxes notitle"
    foreach bin [lsort -integer [dict keys $histogram]] {
        puts $plot "[expr {($bin + 0.5) * $width}] [dict get $histogram $bin]"
    }
    puts $plot e
    close $plot
    puts "Histogram drawn to $picture"
}
