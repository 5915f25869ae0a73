# Runs every .test file of this folder in one interpreter each and fails when a
# test fails, a file cannot be loaded or a test name stands twice.
package require Tcl 8.5-
package require tcltest 2.2

namespace eval ::run {
    variable folder [file dirname [file normalize [info script]]]
    variable total; array set total {Total 0 Passed 0 Skipped 0 Failed 0}
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

proc ::run::one_file {file arguments} {
    variable total
    variable broken
    set output ""
    set status [catch {exec [info nameofexecutable] $file {*}$arguments 2>@1} output]
    puts $output
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

set only [lindex $argv 0]
set files [lsort [glob -directory $::run::folder *.test]]
::run::check_names $files
foreach file $files {
    if {$only eq "" || [string match $only [file rootname [file tail $file]]]} {
        puts "-- [file tail $file]"
        ::run::one_file $file [lrange $argv 1 end]
    }
}
puts "script tests: $::run::total(Passed) passed, $::run::total(Failed) failed, $::run::total(Skipped) skipped"
foreach line $::run::broken {
    puts "broken: $line"
}
exit [expr {$::run::total(Failed) > 0 || [llength $::run::broken] > 0 || $::run::total(Passed) == 0}]
