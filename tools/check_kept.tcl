# tclsh check_kept.tcl UNIT_TESTS SCRIPT_TESTS FILE ...
#   Each comment "Kept:" of the sources FILE, about an oddity that stays as it is, has
#   to name the test that pins it. UNIT_TESTS holds lines of layer, group and test, as
#   tools/unit_tests.awk prints them; SCRIPT_TESTS is the folder of the *.test files.
#   Exits with 1 when a note names no test, or one that there is not.
package require Tcl 8.5-

source [file join [file dirname [info script]] contents.tcl]

# name -> 1
proc read_tests {unit_tests folder} {
    set tests [dict create]
    foreach line [split [contents $unit_tests] \n] {
        if {[llength $line] >= 3} {
            dict set tests [lindex $line 1].[lindex $line 2] 1
        }
    }
    foreach path [glob -directory $folder *.test] {
        foreach {- name} [regexp -all -inline -line {^\s*test\s+([a-z0-9_.]+)} [contents $path]] {
            dict set tests $name 1
        }
    }
    return $tests
}

# The notes of a source, as [list line text]; a note goes to the end of its comment or to
# the next note.
proc notes_of {path} {
    set notes {}
    set note {}
    set line_no 0
    foreach line [split [contents $path] \n] {
        incr line_no
        if {![regexp {^\s*//(.*)$} $line -> text]} {
            lappend notes {*}$note
            set note {}
        } elseif {[regexp {\mKept:(.*)$} $text -> text]} {
            lappend notes {*}$note
            set note [list $line_no $text]
        } elseif {$note ne ""} {
            lset note 1 "[lindex $note 1] $text"
        }
    }
    return [concat $notes $note]
}

set files [lassign $argv unit_tests folder]
set tests [read_tests $unit_tests $folder]
set bad 0
foreach file $files {
    foreach {line_no text} [notes_of $file] {
        set names [regexp -all -inline {\m[a-z][a-z0-9_]*\.[a-z0-9_.]*[a-z0-9_]} $text]
        if {$names eq ""} {
            puts "$file:$line_no: no test that pins it is named"
            set bad 1
        }
        foreach name $names {
            if {![dict exists $tests $name]} {
                puts "$file:$line_no: there is no test $name"
                set bad 1
            }
        }
    }
}
exit $bad
