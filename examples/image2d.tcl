# Cleans an image in the frequency domain: transform, filter, transform back.
#
#   tclsh examples/image2d.tcl ?picture.png?
#
# The script makes a picture of a disc and a square, lays stripes and noise over
# it, removes both with a two-dimensional transform, and prints how far each
# stage is from the clean picture. With a file name the three pictures are drawn
# (needs gnuplot).

source [file join [file dirname [file normalize [info script]]] support packages.tcl]
package require morvel ;# makes and reads lists of numbers
package require zavo   ;# computes with them

set rows 96    ;# lengths made of 2, 3 and 5 transform fast
set columns 120
set stripes 20 ;# waves across the width

# The clean picture, brightness 0 to 1, and the spoilt one. Noise from a small
# generator, so that every run prints the same.
set clean {}
set spoilt {}
set state 1
for {set r 0} {$r < $rows} {incr r} {
    example::progress $r [expr {2 * $rows}] image2d.tcl
    for {set c 0} {$c < $columns} {incr c} {
        set disc [expr {hypot($r - 40, $c - 38) < 22}]
        set square [expr {abs($r - 58) < 18 && abs($c - 86) < 18}]
        set value [expr {0.2 + 0.6 * $disc + 0.4 * $square}]
        set state [expr {($state * 16807) % 2147483647}]
        set noise [expr {$state / 2147483647.0 - 0.5}]
        set wave [expr {0.25 * cos(6.283185307179586 * $stripes * $c / $columns)}]
        lappend clean $value
        lappend spoilt [expr {$value + $wave + 0.2 * $noise}]
    }
}

# A DynList of complex values: real and imaginary part alternate, row by row.
set pairs {}
foreach value $spoilt {
    lappend pairs $value 0
}
set spectrum [dynlist take [zavo_fft_2d_complex [dynlist create float $pairs] $rows $columns]]

# Frequencies above half the length stand for negative ones. Keep the low ones
# with a smooth edge, and cut out the stripes.
set filtered {}
set i 0
foreach {re im} $spectrum {
    set r [expr {$i / $columns}]
    set c [expr {$i % $columns}]
    example::progress [expr {$rows + $r}] [expr {2 * $rows}] image2d.tcl
    set fr [expr {min($r, $rows - $r) / double($rows)}]
    set fc [expr {min($c, $columns - $c)}]
    set distance [expr {hypot($fr, $fc / double($columns))}]
    set gain [expr {exp(-1.0 * ($distance / 0.17)**2)}]
    if {abs($fc - $stripes) <= 1 && $fr < 0.02} {
        set gain 0.0
    }
    # the inverse is unscaled: divide by the number of values
    set gain [expr {$gain / ($rows * $columns)}]
    lappend filtered [expr {$re * $gain}] [expr {$im * $gain}]
    incr i
}
set restored {}
foreach {re im} [dynlist take [zavo_fft_2d_complex [dynlist create float $filtered] $rows $columns BACKWARD]] {
    lappend restored $re
}

# Root mean square distance from the clean picture.
proc distance_from {clean picture} {
    set sum 0.0
    foreach a $clean b $picture {
        set sum [expr {$sum + ($a - $b)**2}]
    }
    return [expr {sqrt($sum / [llength $clean])}]
}
puts [format "Spoilt picture:   %.3f from the clean one" [distance_from $clean $spoilt]]
puts [format "Restored picture: %.3f from the clean one" [distance_from $clean $restored]]

if {$argc > 0} {
    set picture [lindex $argv 0]
    set plot [open "| gnuplot" w]
    puts $plot "set terminal png size 1200,360"
    puts $plot "set output '$picture'"
    puts $plot "set multiplot layout 1,3"
    puts $plot "set palette gray"
    puts $plot "set cbrange \[0:1\]"
    puts $plot "unset colorbox; unset tics; set size ratio -1; set yrange \[* : *\] reverse"
    foreach {title values} [list clean $clean spoilt $spoilt restored $restored] {
        puts $plot "set title '$title'"
        puts $plot "plot '-' matrix with image notitle"
        for {set r 0} {$r < $rows} {incr r} {
            puts $plot [lrange $values [expr {$r * $columns}] [expr {($r + 1) * $columns - 1}]]
        }
        puts $plot "e"
    }
    close $plot
    puts "Pictures drawn to $picture"
}
