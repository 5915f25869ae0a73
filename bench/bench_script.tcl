# Whole jobs from a script beside Python with NumPy and SciPy (Debian's packages),
# in one run: first within a process that has everything loaded, then as processes
# of their own, start to end. Rounds of both sides alternate and the shortest time
# of each counts. Both sides' results are compared.

set folder [file join [file dirname [file normalize [info script]]] script]
set python /usr/bin/python3
set rounds 3

# Goals: time over that of the peer, within a process and as processes.
array set goal {calc 1.0 statistics 1.0 normals 0.5 spectrum 0.5 convolution 0.3 text 1.0 rosenbrock 0.05}
set process_goal 0.5

proc note_goal {label figure goal} {
    if {[info exists ::env(ZAVO_BENCH_GOALS)]} {
        set channel [open $::env(ZAVO_BENCH_GOALS) a]
        puts $channel [format "%s\t%.3f\t%.3f" $label $figure $goal]
        close $channel
    }
}

proc shorten {variable side name microseconds} {
    upvar 1 $variable times
    if {![info exists times($side,$name)] || $microseconds < $times($side,$name)} {
        set times($side,$name) $microseconds
    }
}

proc compare {name a b} {
    if {abs($a - $b) > 1e-4 * max(abs($a), abs($b))} {
        puts stderr "bench_script: $name gives $a and $b"
        exit 1
    }
}

set sides [list zavox [list [info nameofexecutable] [file join $folder jobs.tcl]] \
    numpy [list $python [file join $folder jobs.py]]]

for {set round 0} {$round < $rounds} {incr round} {
    foreach {side command} $sides {
        foreach line [split [exec {*}$command] \n] {
            lassign $line name microseconds result
            shorten inside $side $name $microseconds
            set check($side,$name) $result
        }
    }
}
set names {}
foreach name {calc exp log tan power statistics normals spectrum convolution text rosenbrock start} {
    if {[info exists check(zavox,$name)]} {
        lappend names $name
        compare $name $check(zavox,$name) $check(numpy,$name)
    }
}
# As a process the text would have to be made first, which is most of the time. The
# single functions have no goals.
set processes {}
foreach name $names {
    if {$name eq "start" || ($name ne "text" && [info exists goal($name)])} {
        lappend processes $name
    }
}
for {set round 0} {$round < 2 * $rounds} {incr round} {
    foreach name $processes {
        foreach {side command} $sides {
            set start [clock microseconds]
            exec {*}$command $name
            shorten whole $side $name [expr {[clock microseconds] - $start}]
        }
    }
}

puts [format "%-14s %12s %12s %8s %6s" "within a process" "zavox us" "peer us" ratio goal]
foreach name $names {
    if {$name eq "start"} {
        continue
    }
    set ratio [expr {double($inside(zavox,$name)) / $inside(numpy,$name)}]
    set row [format "%-16s %12.1f %12.1f %8.3f" $name $inside(zavox,$name) $inside(numpy,$name) $ratio]
    if {[info exists goal($name)]} {
        append row [format " %6.2f" $goal($name)]
        note_goal "script: $name over NumPy or SciPy" $ratio $goal($name)
    }
    puts $row
}
# A million numbers of 17 digits: nanoseconds a number.
note_goal "script: numbers from text, ns" [expr {$inside(zavox,text) / 1000.0}] 150
puts [format "%-14s %12s %12s %8s %6s" "whole processes" "zavox us" "peer us" ratio goal]
foreach name $processes {
    set ratio [expr {double($whole(zavox,$name)) / $whole(numpy,$name)}]
    puts [format "%-16s %12.1f %12.1f %8.3f %6.2f" $name $whole(zavox,$name) $whole(numpy,$name) $ratio $process_goal]
    note_goal "script: $name, whole processes" $ratio $process_goal
}
