# Mixed work for a while: every command in two interpreters, objectives that fail,
# lists that come and go, errors, and then a watch on the process's memory.
#
#   tclsh soak.tcl SECONDS
#
# Fails when the memory of the process at the end is more than 1 % (and two steps of the heap) above what it was
# after half of the time, when lists are left, or when a result that has one right
# answer is another one.
package require Tcl 8.5-
package require zavo
package require morvel
package require zavox

namespace eval soak {
    variable seconds [lindex $argv 0]
    variable rounds 0 errors 0
}

# Kilobytes of the process that are in memory, shared libraries left out.
proc soak::memory {} {
    set channel [open /proc/self/status]
    set text [read $channel]
    close $channel
    regexp {RssAnon:\s+(\d+)} $text -> kilobytes
    return $kilobytes
}

set work {
    proc bowl {x y} {expr {($x - 1) * ($x - 1) + 3 * ($y + 2) * ($y + 2)}}
    proc fails {x y} {if {$x > 0.5} {error oh}; expr {($x - 1) * ($x - 1) + $y * $y}}
    proc text {x} {return none}
    proc frees {x y} {dynlist free {*}[dynlist names]; expr {$x * $x + $y * $y}}
    proc nests {x} {dynlist free [zavo_random_uniform 3]; expr {($x - 2) * ($x - 2)}}
    proc check {got wanted} {if {$got ne $wanted} {error "$got instead of $wanted" "" SOAK}}

    # One round of everything; n makes rounds differ.
    proc round {n} {
        set refused 0
        dynlist scope {
            set x [dynlist create float {1 2 3 4 5 6 7 8}]
            check [dynlist get [zavo_fft_real [zavo_fft_real $x] BACKWARD]] {8.0 16.0 24.0 32.0 40.0 48.0 56.0 64.0}
            set length [expr {1 + $n * 37 % 700}]
            # One uniform deviate in some thirty million rounds to 1, which is refused.
            while {[catch {zavo_random_normal $length} r]} {
                if {![string match "*The probability is 1;*" $r]} {
                    error $r
                }
            }
            zavo_fft_real $r
            zavo_convolution $r $x
            zavo_correlation $x $r
            zavo_fft_2d_complex $r [expr {1 + $n % 7}] [expr {1 + $n % 11}]
            zavo_fft_2d_complex $x 2 2 BACKWARD
            set nested [dynlist create list [list [zavo_random_exp 5] [zavo_random_uniform $length]]]
            zavo_fft_real $nested
            zavo_random_uniform [dynlist create int {3 4 5}]
            dynlist copy $nested
            dynlist frombytes float [dynlist tobytes $x]
            zavo_min_uncon_multivar bowl
            zavo_min_uncon_multivar nests
            zavo_min_con_gen_lin bowl [dynlist create float {3 3}] [dynlist create float {0 0}] \
                [dynlist create float {9 9}] 1 0 [dynlist create float {1 1}] [dynlist create float 2]
        }
        check [zavo_constant c km/s] 299792.4375
        check [zavo_i_machine 5] 2147483647
        check [zavo_days_to_date [zavo_date_to_days 24 12 [expr {1600 + $n % 900}]]] "24 12 [expr {1600 + $n % 900}]"
        for {set i 0} {$i < 100} {incr i} {
            zavo_date_to_days 1 1 [expr {1583 + $i}]
            zavo_constant gas erg/mole/K
        }
        foreach call {
            {zavo_constant nothing} {zavo_constant pi furlong} {zavo_date_to_days 30 2 2001} {zavo_i_machine 99}
            {zavo_fft_real nosuch} {zavo_random_uniform 0} {zavo_min_uncon_multivar nosuch} {dynlist get nosuch}
            {zavo_fft_real [dynlist create float {}]} {zavo_convolution nosuch nosuch} {zavo_f_machine x}
        } {
            if {![catch {dynlist scope $call} message] || ![string match {*[a-z]*} $message]} {
                error "$call did not fail in words" "" SOAK
            }
            incr refused
        }
        foreach procedure {fails text frees} {
            catch {dynlist scope [list zavo_min_uncon_multivar $procedure]}
        }
        check [dynlist names] {}
        return $refused
    }
}

# Two interpreters take turns, and one of them is made anew now and then.
proc soak::run {} {
    variable seconds
    variable rounds
    variable errors
    global work auto_path
    interp eval {} $work
    set child ""
    set start [clock milliseconds]
    set early 0
    while {[clock milliseconds] - $start < 1000 * $seconds} {
        if {$rounds % 50 == 0} {
            if {$child ne ""} {
                interp delete $child
            }
            set child [interp create]
            interp eval $child [list set auto_path $auto_path]
            interp eval $child {package require zavo; package require morvel}
            interp eval $child $work
        }
        incr errors [round $rounds]
        incr errors [interp eval $child [list round $rounds]]
        incr rounds
        if {$early == 0 && [clock milliseconds] - $start > 500 * $seconds} {
            set early [memory]
        }
    }
    set late [memory]
    puts "soak: $rounds rounds in two interpreters, $errors refused calls;\
        memory $early KB after half of the time, $late KB at the end"
    # The heap grows in steps of 132 KB, more than 1 % of so small a process.
    return [expr {$late > $early * 1.01 + 264}]
}

if {[catch {soak::run} result]} {
    puts "soak: $::errorInfo"
    exit 1
}
exit $result
