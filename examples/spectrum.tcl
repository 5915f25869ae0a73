# Periodograms of two monthly records: the sun's spots and the air's carbon
# dioxide.
#
#   tclsh examples/spectrum.tcl ?picture.png?
#
# Each record is freed of its trend, tapered, padded with zeros to a length that
# transforms fast, and transformed. The strongest periods are printed; with a
# file name both periodograms are drawn (needs gnuplot).

source [file join [file dirname [file normalize [info script]]] support packages.tcl]
package require morvel ;# makes and reads lists of numbers
package require zavo   ;# computes with them

# The last column of a table with a header line.
proc read_record {file} {
    set channel [open [file join [file dirname [info script]] data $file]]
    set rows [lrange [split [string trim [read $channel]] \n] 1 end]
    close $channel
    set numbers {}
    foreach row $rows {
        lappend numbers [lindex [split $row ,] end]
    }
    return $numbers
}

# The values minus the straight line that fits them best.
proc without_trend {values} {
    set n [llength $values]
    set middle [expr {($n - 1) / 2.0}]
    set mean [expr {[tcl::mathop::+ {*}$values] / double($n)}]
    set slope_sum 0.0
    set square_sum 0.0
    set t 0
    foreach value $values {
        set slope_sum [expr {$slope_sum + ($t - $middle) * $value}]
        set square_sum [expr {$square_sum + ($t - $middle) ** 2}]
        incr t
    }
    set slope [expr {$slope_sum / $square_sum}]
    set t 0
    set rest {}
    foreach value $values {
        lappend rest [expr {$value - $mean - $slope * ($t - $middle)}]
        incr t
    }
    return $rest
}

# A cosine bell, so that the ends of the record do not smear into its spectrum.
proc tapered {values} {
    set n [llength $values]
    set t 0.5
    set result {}
    foreach value $values {
        lappend result [expr {$value * (1 - cos(6.283185307179586 * $t / $n)) * 0.5}]
        set t [expr {$t + 1}]
    }
    return $result
}

# Period in years and power of each frequency of a monthly record.
proc periodogram {values length} {
    while {[llength $values] < $length} {
        lappend values 0
    }
    dynlist scope {
        set spectrum [dynlist get [zavo_fft_real [dynlist create float $values]]]
    }
    # packed: r0, then real and imaginary part of coefficient 1, 2, ...
    set power {}
    set k 0
    foreach {re im} [lrange $spectrum 1 end-1] {
        incr k
        lappend power [list [expr {$length / 12.0 / $k}] [expr {($re**2 + $im**2) / [llength $values]}]]
    }
    return $power
}

# The strongest local maximum among periods within bounds.
proc peak {power low high} {
    set best {0 0}
    foreach before [lrange $power 0 end-2] here [lrange $power 1 end-1] after [lrange $power 2 end] {
        lassign $here period strength
        if {$period > $low && $period < $high && $strength > [lindex $best 1] &&
            $strength > [lindex $before 1] && $strength > [lindex $after 1]} {
            set best $here
        }
    }
    return $best
}

# Lengths made of 2, 3 and 5 only: 8640 = 2^6 3^3 5, 1920 = 2^7 3 5.
set sun [periodogram [tapered [without_trend [read_record sunspots_monthly.csv]]] 8640]
set air [periodogram [tapered [without_trend [read_record co2.csv]]] 1920]

puts [format "Sunspots:       strongest period %.2f years" [lindex [peak $sun 2 30] 0]]
puts [format "Carbon dioxide: strongest period %.2f years" [lindex [peak $air 0.2 5] 0]]
puts [format "                the next below   %.2f years" [lindex [peak $air 0.2 0.9] 0]]

if {$argc > 0} {
    set picture [lindex $argv 0]
    set plot [open "| gnuplot" w]
    puts $plot "set terminal png size 900,700"
    puts $plot "set output '$picture'"
    puts $plot "set multiplot layout 2,1"
    puts $plot "set logscale y"
    puts $plot "set format y '%.0e'"
    puts $plot "set ylabel 'power'"
    foreach {title power range} [list "Sunspots" $sun 2:30 "Carbon dioxide at Mauna Loa" $air 0.2:5] {
        puts $plot "set title '$title'"
        puts $plot "set xlabel 'period in years'"
        puts $plot "set xrange \[$range\]"
        puts $plot "plot '-' with lines notitle"
        foreach point $power {
            puts $plot $point
        }
        puts $plot e
    }
    close $plot
    puts "Periodograms drawn to $picture"
}
