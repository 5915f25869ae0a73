# The n-th allocation of every command fails, for n = 1, 2, ... until the command
# no longer asks for so many; once alone, and once with all that follow it. Each
# time the command gives the right result all the same or an error with words,
# and after an error no list has come, gone or changed and no block is left behind.
#
#   LD_PRELOAD=libfailing_malloc.so tclsh commands_memory.tcl libfailing_malloc.so ?name ...?
#
# Names (patterns) choose cases. A command without a case is a failure.
package require Tcl 8.5-
lassign $argv library
set chosen [lrange $argv 1 end]
load $library Failing
package require zavo
package require morvel
package require zavox

namespace eval memory {
    variable faults {} runs 0 words 0 cases 0 tried {}
}

# The value behind a result: the list's, when it names one, which goes.
proc memory::value_of {result} {
    if {[llength $result] == 1 && [dynlist exists $result]} {
        return [list list [dynlist take $result]]
    }
    return $result
}

proc memory::snapshot {} {
    set lists {}
    foreach name [dynlist names] {
        lappend lists $name [dynlist get $name]
    }
    return $lists
}

proc memory::fault {what} {
    variable faults
    lappend faults $what
    puts "  $what"
}

# One run with the nth allocation failing; whether any has failed.
proc memory::run_once {name call view n mode wanted} {
    variable runs
    variable words
    set before [snapshot]
    set blocks [failing::live]
    failing::next $n {*}$mode
    set status [catch {uplevel #0 $call} result]
    set failed [failing::next 0]
    set where "$name: allocation $n failing[expr {$mode eq "" ? "" : " and all after it"}]"
    incr runs [expr {$failed > 0}]
    if {$status == 1} {
        incr words
        if {$failed == 0} {
            fault "$where: fails without a failure: $result"
        }
        # A sentence, whose first word is not the punctuation behind a name that is missing.
        if {![regexp {^\w.*\w.*\w} $result]} {
            fault "$where: an error without words: '$result'"
        }
        if {[snapshot] ne $before} {
            fault "$where: the lists have changed"
        }
    } else {
        set got [uplevel #0 [list apply $view [value_of $result]]]
        if {$got ne $wanted} {
            fault "$where: a wrong result: [string range $got 0 200], not [string range $wanted 0 200]"
        }
        if {[snapshot] ne $before} {
            fault "$where: the lists have changed"
        }
    }
    # A good call brings the caches back to where they were. What is left may have been
    # kept for good, as the first error's message is; if it grows again, it is lost.
    value_of [uplevel #0 $call]
    if {[failing::live] != $blocks} {
        set blocks [failing::live]
        failing::next $n {*}$mode
        catch {value_of [uplevel #0 $call]}
        failing::next 0
        value_of [uplevel #0 $call]
        if {[failing::live] != $blocks} {
            fault "$where: [expr {[failing::live] - $blocks}] blocks left behind"
        }
    }
    return [expr {$failed > 0}]
}

# Kilobytes of the process that are in memory, shared libraries left out.
proc memory::resident {} {
    set channel [open /proc/self/status]
    set text [read $channel]
    close $channel
    regexp {RssAnon:\s+(\d+)} $text -> kilobytes
    return $kilobytes
}

# The interpreter keeps pools of its own, in which a value that nobody releases is no
# lost block. Many calls show it: the process grows with them.
proc memory::repeat {call seconds {least 0}} {
    set stop [expr {[clock milliseconds] + int(1000 * $seconds)}]
    for {set i 0} {$i < 20000 && ($i < $least || $i % 20 != 0 || [clock milliseconds] < $stop)} {incr i} {
        set status [catch {uplevel #0 $call} result]
        if {$status == 0 && [llength $result] == 1 && [dynlist exists $result]} {
            dynlist free $result
        }
    }
    return $i
}
# What lies free in those pools would serve many lost values, so it is used up first.
proc memory::drain {} {
    variable drained
    set before [resident]
    while {[resident] < $before + 256} {
        lappend drained [split [string repeat "ab,some fifteen bytes,[string repeat x 50]," 500] ,]
    }
}
proc memory::check_growth {name what call} {
    variable drained {}
    repeat $call 0.03
    drain
    set before [resident]
    set times [repeat $call 0.12]
    set growth [expr {1024 * ([resident] - $before)}]
    # Again and longer, since an allocator takes more in steps, of which one is less than so
    # many calls would lose. What is lost is lost each time.
    for {set look 0} {$look < 3 && $growth > 20000 && $growth > 10 * $times} {incr look} {
        set before [resident]
        set times [repeat $call 0.8 6000]
        set growth [expr {1024 * ([resident] - $before)}]
    }
    if {$look == 3 && $growth > 60000 && $growth > 20 * $times} {
        fault "$name: $what grows the process by [expr {$growth / $times}] bytes a call"
    }
}

# memory::check NAME SETUP CALL ?VIEW?: NAME begins with the command, or the
# ensemble and its subcommand with a dot between them. VIEW, a procedure of one
# argument, makes of the value what is compared.
proc memory::check {name setup call {view {value {set value}}}} {
    variable cases
    variable tried
    lappend tried [lindex [split $name :] 0]
    global chosen
    if {[llength $chosen] > 0 && ![llength [lsearch -all -inline -glob $chosen $name]]} {
        set fits 0
        foreach pattern $chosen {
            incr fits [string match $pattern $name]
        }
        if {!$fits} {
            return
        }
    }
    incr cases
    uplevel #0 $setup
    # Twice: caches are full from then on.
    foreach turn {1 2} {
        set wanted [uplevel #0 [list apply $view [value_of [uplevel #0 $call]]]]
    }
    foreach mode {{} rest} {
        for {set n 1} {[run_once $name $call $view $n $mode $wanted]} {incr n} {
            if {$n > 5000} {
                fault "$name: asks for more and more"
                break
            }
        }
    }
    check_growth $name "a good call" $call
    check_growth $name "a call that fails" "failing::next 1; set status \[catch {$call} result options\]
        failing::next 0; return -options \$options \$result"
    dynlist free {*}[dynlist names]
}

proc memory::floats {n} {
    set values {}
    for {set i 0} {$i < $n} {incr i} {
        lappend values [expr {($i * 7 % 11) - 4.5}]
    }
    return $values
}

# Every block of the libraries of the package is counted from here on.
if {[failing::watch [file join [lindex $::env(TCLLIBPATH) 0] zavo1.0]] < 4} {
    puts "the package is not loaded from TCLLIBPATH"
    exit 1
}

# ---- The cases -----------------------------------------------------------------

set length {value {list [llength [lindex $value 1]] [llength [lindex $value 1 0]]}}
set near {value {set out {}; foreach x [lindex $value 1] {lappend out [format %.3f $x]}; string map {-0.000 0.000} $out}}

foreach {word call} {
    zavo_constant {zavo_constant pi}                     zavo_constant:unit {zavo_constant gas erg/mole/K}
    zavo_constant:warning {zavo_constant protonmass N}   zavo_i_machine {zavo_i_machine 5}
    zavo_f_machine {zavo_f_machine 4}                    zavo_date_to_days {zavo_date_to_days 24 12 2026}
    zavo_date_to_days:note {zavo_date_to_days 1 1 -50}   zavo_days_to_date {zavo_days_to_date 46378}
} {
    memory::check $word {} $call
}

# ---- zavox: arithmetic and vectors ---------------------------------------------------

foreach {word call} {
    zavox_calc {zavox::calc {2 + 2}}                        zavox_calc:vector {zavox::calc {$v}}
    zavox_calc:kinds {zavox::calc {$v * 2 + $list / 2.0 - $text + $name}}
    zavox_calc:functions {zavox::calc {max($v, $v > 1 ? $list : 2, sin($v) && 1)}}
    zavox_calc:extremes {zavox::calc {max($v, $v, $v, $v, $v, $v, $v, $v, $v, $v, $v, $v, $v, $v, $v, $v, $v, $v, $v + 1)}}
    zavox_calc:long {zavox::calc {exp($long) * $long ** 2 - [zavox::vector mean $long]}}
    zavox_calc:refused {list [catch {zavox::calc {nothing($v)}}]}
    linspace {zavox::vector linspace 0 1 3}                  fill {zavox::vector fill 1 2}
    frombytes {zavox::vector frombytes [zavox::vector bytes {1 2}]}
    bytes {string length [zavox::vector bytes $long]}        length {zavox::vector length $list}
    index {zavox::vector index $name end}                    range {zavox::vector range $name 0 1}
    replace {zavox::vector replace $v 0 0 $list}             concat {zavox::vector concat $v $list $text $name}
    reverse {zavox::vector reverse $text}                    sort {zavox::vector sort $long -decreasing}
    sort:indices {zavox::vector sort $list -indices}         where {zavox::vector where $v}
    pick {zavox::vector pick $text {2 0}}                    list {zavox::vector list $long}
    sum {zavox::vector sum $text}                            mean {zavox::vector mean $text}
    variance {zavox::vector variance $text}                  sd {zavox::vector sd $text}
    norm {zavox::vector norm $name}                          dot {zavox::vector dot $list $text}
    min {zavox::vector min $list}                            max {zavox::vector max $text}
    argmin {zavox::vector argmin $v}                         argmax {zavox::vector argmax $name}
    median {zavox::vector median $name}                      quantile {zavox::vector quantile $name 0 0.3 1}
    histogram {zavox::vector histogram $v -bins 2 -range {0 4}}
    cumsum {zavox::vector cumsum $list}                      diff {zavox::vector diff $list}
    median:refused {list [catch {zavox::vector median {}}]}
} {
    memory::check [expr {[string match zavox_calc* $word] ? $word : "zavox_vector.$word"}] {
        set v [zavox::vector linspace 1 3 3]
        set list [list 4 5 6]
        set text "7 8 9"
        set name [dynlist create int {1 2 3}]
        set long [zavox::vector linspace 0 1 3000]
    } $call
}
# What fails anyway has words whatever else fails.
foreach {word call} {
    zavo_constant:refused {zavo_constant tau}            zavo_constant:unit_refused {zavo_constant pi furlong}
    zavo_i_machine:refused {zavo_i_machine 99}           zavo_f_machine:refused {zavo_f_machine 99}
    zavo_date_to_days:refused {zavo_date_to_days 30 2 2001}
    zavo_fft_real:refused {zavo_fft_real $empty}         zavo_fft_real:lookup {zavo_fft_real nosuch}
    zavo_random_uniform:refused {zavo_random_uniform 0}
} {
    memory::check $word {set empty [dynlist create float {}]} \
        "if {!\[catch {$call} text\]} {error {no error}}; regexp {^\\w.*\\w.*\\w} \$text"
}

foreach command {zavo_random_uniform zavo_random_normal zavo_random_exp} {
    memory::check $command {} "$command 5" $length
    memory::check $command:long {} "$command 3000" $length
    memory::check $command:lists {
        set counts [dynlist create list [list [dynlist create int {2 3}] [dynlist create int 4]]]
    } "$command \$counts" $length
    memory::check $command:ints {set counts [dynlist create int {2 3 1}]} "$command \$counts" $length
}

foreach n {1 2 7 8 60 97 1024 3001 20000} {
    foreach {name keyword} {forward {} backward BACKWARD} {
        memory::check zavo_fft_real:$name.$n "set x \[dynlist create float \[memory::floats $n\]\]" \
            "zavo_fft_real \$x $keyword"
    }
}
memory::check zavo_fft_real:lists {
    set x [dynlist create list [list [dynlist create float [memory::floats 12]] \
        [dynlist create list [list [dynlist create float [memory::floats 5]] [dynlist create float 1]]]]]
} {zavo_fft_real $x}

foreach {m n} {1 1 4 8 5 7 16 16 64 48} {
    foreach {name keyword} {forward {} backward BACKWARD} {
        memory::check zavo_fft_2d_complex:$name.${m}x$n \
            "set x \[dynlist create float \[memory::floats [expr {2 * $m * $n}]\]\]" "zavo_fft_2d_complex \$x $m $n $keyword"
    }
}
memory::check zavo_fft_2d_complex:short {set x [dynlist create float {1 2 3}]} {zavo_fft_2d_complex $x 2 2}
memory::check zavo_fft_2d_complex:lists {
    set x [dynlist create list [list [dynlist create float [memory::floats 24]] [dynlist create float [memory::floats 24]]]]
} {zavo_fft_2d_complex $x 3 4}

foreach command {zavo_convolution zavo_correlation} {
    foreach {nx ny} {1 1 5 3 3 5 64 64 900 37 37 900} {
        memory::check $command:$nx.$ny \
            "set x \[dynlist create float \[memory::floats $nx\]\]; set y \[dynlist create float \[memory::floats $ny\]\]" \
            "$command \$x \$y"
    }
    memory::check $command:lists {
        set y [dynlist create float [memory::floats 9]]
        set x [dynlist create list [list [dynlist create float [memory::floats 24]] [dynlist create float [memory::floats 3]]]]
    } "$command \$x \$y"
    memory::check $command:both_lists {
        set x [dynlist create list [list [dynlist create float [memory::floats 24]] [dynlist create float [memory::floats 3]]]]
        set y [dynlist create list [list [dynlist create float [memory::floats 4]] [dynlist create float [memory::floats 30]]]]
    } "$command \$x \$y"
}

proc bowl {x y} {expr {($x - 1) * ($x - 1) + 3 * ($y - 2) * ($y - 2)}}
proc rosenbrock {x y} {expr {100 * ($y - $x * $x) * ($y - $x * $x) + (1 - $x) * (1 - $x)}}
interp alias {} aliased {} bowl
memory::check zavo_min_uncon_multivar {} {zavo_min_uncon_multivar bowl} $near
memory::check zavo_min_uncon_multivar:start {set x [dynlist create float {3 4}]} \
    {zavo_min_uncon_multivar bowl $x} $near
memory::check zavo_min_uncon_multivar:many {
    proc many {a b c d e f g h i j k l m n o p q r s t} {
        set sum 0
        foreach x [list $a $b $c $d $e $f $g $h $i $j $k $l $m $n $o $p $q $r $s $t] {
            set sum [expr {$sum + ($x - 1) * ($x - 1)}]
        }
        return $sum
    }
    set x [dynlist create float [memory::floats 20]]
} {zavo_min_uncon_multivar many $x} $near
proc {a bowl} {x y} {bowl $x $y}
memory::check zavo_min_uncon_multivar:quoted {} {zavo_min_uncon_multivar {{a bowl}}} $near
memory::check zavo_min_uncon_multivar:alias {} {zavo_min_uncon_multivar ::bowl} $near
memory::check zavo_min_con_gen_lin {
    foreach {name values} {guess {3 3} low {0 0} high {9 1.5}} {set $name [dynlist create float $values]}
} {zavo_min_con_gen_lin bowl $guess $low $high} $near
memory::check zavo_min_con_gen_lin:constraints {
    foreach {name values} {guess {0 0} low {-9 -9} high {9 9} rows {1 1 1 0} right {1 -1}} {
        set $name [dynlist create float $values]
    }
} {zavo_min_con_gen_lin bowl $guess $low $high 2 1 $rows $right} $near

# ---- dynlist -------------------------------------------------------------------

memory::check dynlist.create:int {} {dynlist create int {1 2 3}}
memory::check dynlist.create:float {} {dynlist create float [memory::floats 5000]}
memory::check dynlist.create:list {} {
    dynlist scope -keep kept {
        set kept [dynlist create list [list [dynlist create int 1] [dynlist create float {2 3}]]]
    }
}
foreach {subcommand call} {
    get:offset {dynlist get $nested end-1 end-1}     get:long {dynlist get $outer}
    get {dynlist get $x}               get:deep {dynlist get $nested 0 1}      type {dynlist type $x}
    length {dynlist length $nested}    exists {dynlist exists $x}             names {dynlist names}
    names:pattern {dynlist names d*}   copy {dynlist copy $x}                 copy:lists {dynlist copy $nested}
    frombytes {dynlist frombytes float abcdefgh}    tobytes {dynlist tobytes $x}
    value {dynlist value $x}    take {dynlist take [dynlist copy $x]}           free {dynlist free [dynlist create int 1]}
    scope {dynlist scope {dynlist create float 1; set one 1}}
    scope:keep {dynlist scope -keep kept {set kept [dynlist create float 1]}}
} {
    memory::check dynlist.$subcommand {
        set x [dynlist create float [memory::floats 2000]]
        set nested [dynlist create list [list [dynlist create int {4 5}] [dynlist create float {1 2}]]]
        set outer [dynlist create list [list [dynlist create int 1] [dynlist create float [memory::floats 5000]]]]
    } $call [expr {[string match names* $subcommand] ? {value {llength $value}} : {value {set value}}}]
}

# ---- zavox: deviates, transforms, units, minima ----------------------------------

foreach {word call} {
    zavox_random.uniform {zavox::random seed 5; zavox::random uniform 100}
    zavox_random.normal {zavox::random seed 5; zavox::random normal 100 2 3}
    zavox_random.exponential {zavox::random seed 5; zavox::random exponential 100}
    zavox_random.state {zavox::random generator 2; zavox::random seed 5; zavox::random uniform 3; zavox::random state}
    zavox_random.state:restore {zavox::random state $state; zavox::random uniform 3}
    zavox_random.quantile {zavox::random generator 1; zavox::random quantile {0.1 0.5 0.9}}
    zavox_random.seed {zavox::random seed 5; zavox::random seed}
    zavox_random.generator {zavox::random generator 3; zavox::random generator}
    zavox_random.jump {zavox::random seed 5; zavox::random generator 1; zavox::random jump 1000; zavox::random seed}
    zavox_release {zavox::fft real $x; zavox::release}
    zavox_fft.size {zavox::fft size 1001}
    zavox_fft.real {zavox::release; zavox::fft real $x}
    zavox_fft.real:prime {zavox::release; zavox::fft real $prime}
    zavox_fft.inverse {zavox::release; zavox::fft inverse [zavox::fft real $prime] 101}
    zavox_fft.inverse:table {zavox::release; zavox::fft inverse {{6 -1.5 -1.5} {0 0.9 0.9}} 5}
    zavox_fft.inverse:prime {zavox::release; zavox::fft inverse {{6 1 2 3 4 5 6 7} {0 1 2 3 4 5 6 7}} 14}
    zavox_fft.inverse:long_prime {zavox::release; zavox::fft inverse [list [lrange $x 0 50] [lrange $x 0 50]] 101}
    zavox_fft.complex {zavox::release; zavox::fft complex [list $x $x] -inverse}
    zavox_fft.plane {zavox::release; zavox::fft plane [list $x $x] 10 12}
    zavox_fft.plane:primes {zavox::release; zavox::fft plane [list [lrange $x 0 118] [lrange $x 0 118]] 7 17}
    zavox_fft.frequencies {zavox::fft frequencies 10 0.1}
    zavox_spectrum {zavox::release; zavox::spectrum $x -segment 30 -window flattop -detrend linear}
    zavox_convolve {zavox::release; zavox::convolve $long $x}
    zavox_convolve:circular {zavox::release; zavox::convolve $long $x -mode circular}
    zavox_correlate {zavox::correlate $x {1 2 3} -mode same}
    zavox_constant {zavox::constant speedlight km/s}     zavox_constant:names {zavox::constant}
    zavox_units {zavox::units f*}                        zavox_convert {zavox::convert {1 2 3} foot m}
    zavox_days {zavox::days {2026-11-21 0000-12-31}}     zavox_date {zavox::date {46345 -693598}}
    zavox_minimize {zavox::minimize bowl_of_vector {3 4}}
    zavox_minimize:gradient {zavox::minimize bowl_of_vector {3 4} -gradient bowl_gradient}
    zavox_minimize:progress {zavox::minimize bowl_of_vector {3 4} -spread -progress list}
    zavox_minimize:constraints {
        zavox::minimize bowl_of_vector {3 4} -lower {0 0} -equal {{{1 1}} 2} -atmost {{{1 0}} 0.5} -scale {1 2}
    }
} {
    memory::check $word {
        set x [memory::floats 120]
        set prime [memory::floats 101]
        set long [memory::floats 700]
        zavox::random generator 4
        zavox::random seed 7
        zavox::random uniform 3
        set state [zavox::random state]
        proc bowl_of_vector {args} {
            lassign [concat {*}$args] a b
            expr {($a - 1) * ($a - 1) + 3 * ($b - 2) * ($b - 2)}
        }
        proc bowl_gradient {x} {
            lassign $x a b
            list [expr {2 * ($a - 1)}] [expr {6 * ($b - 2)}]
        }
    } $call
}
# What fails anyway has words whatever else fails.
foreach {word call} {
    zavox_random.state:refused {zavox::random state {a b c}}   zavox_fft.complex:refused {zavox::fft complex {{1 2} 3}}
    zavox_convert:refused {zavox::convert 1 s m}         zavox_days:refused {zavox::days 2001-02-30}
    zavox_minimize:refused {zavox::minimize list {1 2} -lower {3 3} -upper {1 1}}
    zavox_minimize:error {zavox::minimize {error {the function gives up}} {1 2}}
} {
    memory::check $word {} "if {!\[catch {$call} text\]} {error {no error}}; regexp {^\\w.*\\w.*\\w} \$text"
}

# ---- The end -------------------------------------------------------------------

# The subcommands that an ensemble names when it is given none of them.
proc memory::subcommands {ensemble} {
    if {![catch {uplevel #0 [list $ensemble no_such_subcommand]} text] || ![regsub {.*: must be } $text {} text]} {
        return {}
    }
    return [string map {, {} { or } { }} $text]
}

if {[llength $chosen] == 0} {
    set names [info commands zavo_*]
    foreach ensemble [concat dynlist [info commands ::zavox::*]] {
        set name [string map {::zavox:: zavox_} $ensemble]
        set subcommands [expr {$name in {dynlist zavox_fft zavox_random zavox_vector} ? [memory::subcommands $ensemble] : {}}]
        foreach subcommand $subcommands {
            lappend names $name.$subcommand
        }
        if {[llength $subcommands] == 0} {
            lappend names $name
        }
    }
    foreach name $names {
        if {$name ni $::memory::tried} {
            memory::fault "$name has no case"
        }
    }
}
puts "memory: $::memory::cases cases, $::memory::runs failing runs, $::memory::words of them ended with an error;\
    [llength $::memory::faults] faults"
exit [expr {[llength $::memory::faults] > 0 || $::memory::runs == 0}]
