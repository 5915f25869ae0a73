# Runs every .test file of this folder in an interpreter of its own, as many at a time as
# there are processors, and fails when a test fails, a file cannot be loaded or a test
# name stands twice.
#   tclsh all.tcl ?name ...? ?-option value ...?
# Names (patterns too) choose files, without .test; options are tcltest's.
package require Tcl 8.5-
package require tcltest 2.2
source [file join [file dirname [info script]] ../../tools/start_again.tcl]

namespace eval ::run {
    variable folder [file dirname [file normalize [info script]]]
    variable total; array set total {Total 0 Passed 0 Skipped 0 Failed 0}
    variable waiting {}
    variable running; array set running {}
    variable ended 0
    variable broken {}
}

# Test names of all files; a name that stands twice would hide a failure.
proc ::run::check_names {files} {
    variable broken
    foreach file $files {
        set channel [open $file]
        set text [read $channel]
        close $channel
        foreach {- name} [regexp -all -inline -line {^\s*(?:::tcltest::)?test\s+([^\s{}]+)} $text] {
            # A family, a dot, and what must hold: small letters, one style.
            if {![regexp {^[a-z][a-z0-9_]*(\.[^-.\s]([^\s]*[^-.\s])?)+$} [regsub -all {\([^)]*\)|\$\{?\w+\}?|\[.*\]} $name x]]} {
                lappend broken "[file tail $file]: the name $name is not of the form family.what_must_hold"
            }
            if {[string match {*$*} $name]} {
                continue ;# made in a loop
            }
            if {[info exists seen($name)]} {
                lappend broken "$name stands twice: $seen($name), [file tail $file]"
            }
            set seen($name) [file tail $file]
        }
    }
}

# How many files run at a time.
proc ::run::processors {} {
    if {[info exists ::env(NUMBER_OF_PROCESSORS)]} {
        return $::env(NUMBER_OF_PROCESSORS)
    }
    if {[catch {exec nproc} count]} {
        return 1
    }
    return $count
}

# Starts the next file, if one is left.
proc ::run::start_next {arguments} {
    variable waiting
    variable running
    variable broken
    if {[llength $waiting] == 0} {
        return
    }
    set file [lindex $waiting 0]
    set waiting [lrange $waiting 1 end]
    if {[catch {open |[list [info nameofexecutable] $file {*}$arguments 2>@1]} pipe]} {
        lappend broken "[file tail $file]: $pipe"
        return [start_next $arguments]
    }
    set running($pipe) ""
    fconfigure $pipe -blocking 0
    fileevent $pipe readable [list ::run::collect $pipe $file $arguments]
}

# Keeps what a file prints until it ends; then the next one starts.
proc ::run::collect {pipe file arguments} {
    variable running
    variable ended
    append running($pipe) [read $pipe]
    if {[eof $pipe]} {
        fconfigure $pipe -blocking 1
        set status [catch {close $pipe}]
        set output $running($pipe)
        unset running($pipe)
        finished $file $status $output
        start_next $arguments
        incr ended
    }
}

proc ::run::finished {file status output} {
    variable total
    variable broken
    puts "-- [file tail $file]"
    puts [string trimright $output \n]
    if {![regexp {Total\s+(\d+)\s+Passed\s+(\d+)\s+Skipped\s+(\d+)\s+Failed\s+(\d+)} $output -> t p s f]} {
        lappend broken "[file tail $file] did not finish"
        return
    }
    if {$status && $f == 0} {
        lappend broken "[file tail $file] ended with an error"
    }
    foreach {key count} [list Total $t Passed $p Skipped $s Failed $f] {
        incr total($key) $count
    }
    if {$t == 0} {
        lappend broken "[file tail $file] holds no test"
    }
}

# Whether one of the names, if there are any, fits the file.
proc ::run::is_chosen {file names} {
    foreach name $names {
        if {[string match $name [file rootname [file tail $file]]]} {
            return 1
        }
    }
    return [expr {[llength $names] == 0}]
}

set options $argv
set only {}
while {[llength $options] > 0 && ![string match -* [lindex $options 0]]} {
    lappend only [lindex $options 0]
    set options [lrange $options 1 end]
}
set files [lsort [glob -directory $::run::folder *.test]]
::run::check_names $files
foreach file $files {
    if {[::run::is_chosen $file $only]} {
        lappend ::run::waiting $file
    }
}
for {set job [::run::processors]} {$job > 0} {incr job -1} {
    ::run::start_next $options
}
while {[array size ::run::running] > 0} {
    vwait ::run::ended
}
puts "script tests: $::run::total(Passed) passed, $::run::total(Failed) failed, $::run::total(Skipped) skipped"
foreach line $::run::broken {
    puts "broken: $line"
}
exit [expr {$::run::total(Failed) > 0 || [llength $::run::broken] > 0 || $::run::total(Passed) == 0}]
