# Fits a model to measurements: the velocity of an enzyme reaction,
#
#     v = vmax c / (K + c),
#
# against the concentration c of its substrate (Michaelis and Menten), by least
# squares, for cells treated with Puromycin and for untreated ones.
#
#   tclsh examples/fit.tcl ?picture.png?
#
# With a file name the measurements and both curves are drawn (needs gnuplot).
#
# How to scale a problem for zavo_min_uncon_multivar
# ---------------------------------------------------
# The procedure gets its variables with six decimals, whatever their size, and
# the minimiser feels its way with steps of about 0.0003 times a variable, or
# 0.0003 where the variable is smaller than 1. So:
#
# * Let every variable be about 1 at the solution. Here K is some 0.06 ppm: a
#   variable of that size would be known to one part in 60,000 at best and probed
#   with steps of half a percent. vmax is some 200: its steps would be 0.07. The
#   variables below are K in units of 0.1 ppm and vmax in units of 200.
# * Let the value be about 1 near the solution, too: the run ends when the
#   gradient is small compared to the value, or to 1 when the value is smaller.
#   The sum of squared errors is divided by the sum of squared velocities, and
#   taken in thousandths.
# * Values are kept to seven digits. A sum of squares with a large constant in it
#   hides what the variables do to it.

source [file join [file dirname [file normalize [info script]]] support packages.tcl]
package require morvel
package require zavo

namespace eval fit {
    variable folder [file join [file dirname [file normalize [info script]]] data]
    variable units {200.0 0.1} ;# of vmax and K
    variable points {}         ;# c v c v ... of the fit that runs
    variable calls 0
}

# Pairs c v of one state of the cells.
proc fit::measurements {state} {
    variable folder
    set channel [open [file join $folder puromycin.csv]]
    set rows [lrange [split [string trim [read $channel]] \n] 1 end]
    close $channel
    set points {}
    foreach row $rows {
        lassign [split $row ,] c v which
        if {$which eq $state} {
            lappend points $c $v
        }
    }
    return $points
}

proc fit::velocity {c vmax K} {
    return [expr {$vmax * $c / ($K + $c)}]
}

proc fit::squared_error {vmax K} {
    variable points
    set sum 0.0
    foreach {c v} $points {
        set sum [expr {$sum + ($v - [velocity $c $vmax $K]) ** 2}]
    }
    return $sum
}

proc fit::squared_velocities {} {
    variable points
    set sum 0.0
    foreach {- v} $points {
        set sum [expr {$sum + $v * $v}]
    }
    return $sum
}

# What is minimised, in scaled variables. A pole at c = -K is kept away by
# mirroring negative K.
proc fit::objective {a b} {
    variable units
    variable calls
    variable size
    incr calls
    lassign $units unit_v unit_K
    return [expr {1000.0 * [squared_error [expr {$a * $unit_v}] [expr {abs($b) * $unit_K}]] / $size}]
}

# Returns vmax, K, the standard error and the number of calls.
proc fit::run {state} {
    variable points [measurements $state]
    variable size [squared_velocities]
    variable units
    variable calls 0
    set scaled [dynlist scope {
        zavo_min_uncon_multivar fit::objective [dynlist create float {1 1}]
    }]
    lassign $scaled a b
    lassign $units unit_v unit_K
    set vmax [expr {$a * $unit_v}]
    set K [expr {abs($b) * $unit_K}]
    set freedom [expr {[llength $points] / 2 - 2}]
    return [list $vmax $K [expr {sqrt([squared_error $vmax $K] / $freedom)}] $calls]
}

# Measurements as points, the models as curves.
proc fit::draw {fits picture} {
    set plot [open "| gnuplot" w]
    puts $plot "set terminal png size 900,500"
    puts $plot "set output '$picture'"
    puts $plot "set title 'Reaction velocity, and the fits of vmax c / (K + c)'"
    puts $plot "set xlabel 'concentration in ppm'"
    puts $plot "set ylabel 'counts/min/min'"
    puts $plot "set key right bottom"
    puts $plot "set xrange \[0:1.2\]; set yrange \[0:230\]"
    set curves {}
    foreach {state vmax K} $fits {
        lappend curves "'-' with points pointtype 7 title '$state'" "$vmax*x/($K+x) linewidth 2 notitle"
    }
    puts $plot "plot [join $curves {, }]"
    foreach {state - -} $fits {
        foreach {c v} [measurements $state] {
            puts $plot "$c $v"
        }
        puts $plot e
    }
    close $plot
}

puts "state       vmax (counts/min/min)   K (ppm)   standard error   calls"
set fits {}
foreach state {treated untreated} {
    lassign [fit::run $state] vmax K error calls
    puts [format "%-10s  %21.2f  %8.5f  %15.3f  %6d" $state $vmax $K $error $calls]
    lappend fits $state $vmax $K
}
if {$argc > 0} {
    fit::draw $fits [lindex $argv 0]
    puts "Fits drawn to [lindex $argv 0]"
}
