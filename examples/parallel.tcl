# One Monte Carlo job as any number of processes, with the same result to the bit: the
# mean time until the last of five lamps fails, each with a mean life of 1000 hours
# (exactly 1000 (1 + 1/2 + 1/3 + 1/4 + 1/5)).
#
#   parallel -k tclsh examples/parallel.tcl part {} 7 ::: 0 1 2 3 4 5 6 | tclsh examples/parallel.tcl sum
#
# runs it as 7 processes under GNU parallel; with --sshlogin the same line serves several
# hosts. The job is 56 blocks, whatever the number of parts; each has its own stretch of
# the stream, to which `jump` leads, and part i of n does the blocks i, i + n, ...
source [file join [file dirname [file normalize [info script]]] support packages.tcl]
package require zavox
namespace import zavox::*

set blocks 56
set trials 20000 ;# of a block
set lamps 5

switch -- [lindex $argv 0] {
    part {
        lassign $argv - part parts
        for {set block $part} {$block < $blocks} {incr block $parts} {
            random generator 5
            random seed 20261122
            random jump [expr {wide($block) * $trials * $lamps}]
            set last [vector fill 0 $trials]
            for {set i 0} {$i < $lamps} {incr i} {
                set life [random exponential $trials 1000]
                set last [calc {max($last, $life)}]
            }
            puts "$block [vector sum $last]"
        }
    }
    sum { # in the order of the blocks, so that rounding does not depend on the parts
        set sums [lsort -integer -index 0 [split [string trim [read stdin]] \n]]
        set total 0.0
        foreach line $sums {set total [expr {$total + [lindex $line 1]}]}
        puts "[llength $sums] blocks: mean [format %.17g [expr {$total / ($blocks * $trials)}]] hours"
    }
    default {puts stderr "usage: parallel.tcl part I N | sum"; exit 1}
}
