# Sourced by every .test file: the packages and a few helpers.
package require Tcl 8.5-
package require tcltest 2.2
namespace import ::tcltest::test ::tcltest::cleanupTests ::tcltest::testConstraint
if {[info exists ::env(ZAVO_TCL85_INTERFACE)]} {
    load $::env(ZAVO_TCL85_INTERFACE) Tclinterface
}
package require morvel
package require zavo
source [file join [file dirname [info script]] ../../tools/start_again.tcl]

testConstraint unix [expr {$::tcl_platform(platform) eq "unix"}]
testConstraint windows [expr {$::tcl_platform(platform) eq "windows"}]
# Where the two generations of Tcl differ: a test for one of them, or the result
# that each of them gives. docs/zavo.man lists the differences.
testConstraint tcl8 [expr {![package vsatisfies $::tcl_version 9-]}]
testConstraint tcl9 [package vsatisfies $::tcl_version 9-]
proc by_tcl {with_8 with_9} {
    return [expr {[testConstraint tcl9] ? $with_9 : $with_8}]
}
# With a sanitizer loaded ahead of everything, gnuplot too would be searched for
# leaks, of which it has some.
testConstraint gnuplot [expr {[auto_execok gnuplot] ne "" && ![info exists ::env(LD_PRELOAD)]}]

namespace eval ::support {
    variable root [file dirname [file dirname [file dirname [file normalize [info script]]]]]
}

# The results of the body for each of the values, as the lmap of Tcl 8.6 has them.
proc map_each {name values body} {
    upvar 1 $name value
    set results {}
    foreach value $values {
        lappend results [uplevel 1 $body]
    }
    return $results
}

# Values of a result list, which is freed.
proc values_of {name} {
    return [dynlist take $name]
}

# Runs the body and fails the test when it leaves more or fewer lists behind.
proc without_new_lists {body} {
    set before [dynlist names]
    set status [catch {uplevel 1 $body} result options]
    if {[dynlist names] ne $before} {
        return -code error "lists left behind: [dynlist names] instead of $before"
    }
    return -options $options $result
}
