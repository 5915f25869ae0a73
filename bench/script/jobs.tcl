# The jobs of ./zavo bench script on the side of zavox.
#   tclsh jobs.tcl                 what each job takes: name, microseconds, check
#   tclsh jobs.tcl NAME            the job once, as a process of its own; its check
# jobs.py does the same with NumPy and SciPy, in single precision where they can.
package require zavox

namespace eval jobs {
    variable n 1000000

    # Numbers that both sides make alike: x(i) = fractional part of i times a
    # constant, minus a half.
    proc sequence {n step} {
        set i [zavox::vector linspace 0 [expr {$n - 1}] $n]
        return [zavox::calc {fmod($i * $step, 1) - 0.5}]
    }

    # A text of n numbers of 17 digits: the last ones of i times a constant.
    proc digits {n} {
        set words {}
        for {set i 1} {$i <= $n} {incr i} {
            lappend words 0.[string range [expr {$i * 7046029254386353131 + 10**19}] end-16 end]
        }
        return [join $words]
    }
}

# name, set-up, body, check: set-up is not timed within the process.
set jobs::table {
    calc {
        set x [jobs::sequence $n 0.618034]
        set y [jobs::sequence $n 0.414214]
    } {set r [zavox::calc {2*sin($x)+$y*$y}]} {zavox::vector sum $r}
    exp {
        set x [jobs::sequence $n 0.618034]
    } {set r [zavox::calc {exp($x)}]} {zavox::vector sum $r}
    log {
        set x [zavox::calc {[jobs::sequence $n 0.618034] + 1}]
    } {set r [zavox::calc {log($x)}]} {zavox::vector sum $r}
    tan {
        set x [jobs::sequence $n 0.618034]
    } {set r [zavox::calc {tan($x)}]} {zavox::vector norm $r}
    power {
        set x [zavox::calc {[jobs::sequence $n 0.618034] + 1}]
    } {set r [zavox::calc {$x**1.5}]} {zavox::vector sum $r}
    statistics {
        set x [jobs::sequence $n 0.618034]
    } {set r [list [zavox::vector mean $x] [zavox::vector sd $x]]} {lindex $r 1}
    normals {
        zavox::random seed 1
    } {set r [zavox::random normal $n]} {expr {abs([zavox::vector mean $r]) < 0.01}}
    spectrum {
        set x [jobs::sequence 1048576 0.618034]
    } {set r [dict get [zavox::spectrum $x] power]} {zavox::vector sum $r}
    convolution {
        set x [jobs::sequence 100000 0.618034]
        set y [jobs::sequence 1000 0.414214]
    } {set r [zavox::convolve $x $y]} {zavox::vector norm $r}
    text {
        set text [jobs::digits $n]
    } {set r [dynlist create float $text]; dynlist free $r} {zavox::vector sum $text}
    rosenbrock {
        proc rosenbrock {point} {
            lassign $point a b
            expr {100 * ($b - $a*$a)**2 + (1 - $a)**2}
        }
    } {set r [zavox::minimize rosenbrock {-1.2 1}]} {expr {[dict get $r value] < 1e-6}}
    start {} {set r [zavox::calc {1 + 1}]} {expr {$r}}
}

proc jobs::run {name repetitions} {
    variable n
    variable table
    foreach {job setup body check} $table {
        if {$job ne $name} {
            continue
        }
        eval $setup
        set best Inf
        for {set i 0} {$i < $repetitions} {incr i} {
            set start [clock microseconds]
            eval $body
            set took [expr {[clock microseconds] - $start}]
            set best [expr {min($best, $took)}]
        }
        return [list $best [eval $check]]
    }
    error "there is no job \"$name\""
}

if {[llength $argv] == 1} {
    puts [lindex [jobs::run [lindex $argv 0] 1] 1]
    exit
}
foreach {name - - -} $jobs::table {
    if {$name eq "rosenbrock" && [info commands ::zavox::minimize] eq ""} {
        continue
    }
    puts "$name [jobs::run $name [expr {$name eq {rosenbrock} ? 100 : 15}]]"
}
