# check_walk.tcl: runs the commands of the README's first five minutes and compares
# what they print. "..." stands for any text within a line, or for any lines.
#
#   tclsh tools/docs/check_walk.tcl README.md
package require Tcl 8.5-

set root [file dirname [file dirname [file dirname [file normalize [info script]]]]]
source [file join $root tools doc_examples.tcl]

set text [contents [lindex $argv 0]]
if {![regexp {\n## The first five minutes\n(.*?)\n## } $text -> section]} {
    puts stderr "there are no first five minutes"
    exit 1
}
set steps {}
set command ""
foreach line [split $section \n] {
    if {[regexp {^    \$ (.*)$} $line -> next]} {
        if {$command ne ""} {
            lappend steps $command $expected
        }
        set command $next
        set expected {}
    } elseif {[regexp {^    (.*)$} $line -> words]} {
        lappend expected [string trimright $words]
    }
}
lappend steps $command $expected

cd $root
set status 0
foreach {command expected} $steps {
    set actual {}
    set failed [catch {exec bash -c $command 2>@1} output]
    foreach line [split $output \n] {
        lappend actual [string trimright $line]
    }
    if {$failed || ![doc_examples::matches $expected $actual]} {
        puts stderr "\$ $command\n  README: [join $expected "\n          "]\n  actual: [join $actual "\n          "]"
        set status 1
    }
}
puts "[expr {[llength $steps] / 2}] commands of the README"
exit $status
