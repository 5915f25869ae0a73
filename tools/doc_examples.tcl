# doc_examples.tcl: runs the transcripts of manual pages and compares them with
# what the pages say. docs/README.md tells the rules.
#
#   tclsh tools/doc_examples.tcl ?-print? page.man ...
#
# As a library (tests/script/doc_examples.test sources it):
#   doc_examples::check page   list of differences, empty when there is none
#   doc_examples::count page   number of commands in the page's transcripts

source [file join [file dirname [info script]] contents.tcl]

namespace eval doc_examples {
    variable root [file dirname [file dirname [file normalize [info script]]]]
}

# The example blocks of a page, as a flat list of line number and text.
proc doc_examples::blocks {page} {
    set text [contents $page]
    set blocks {}
    set from 0
    while {[regexp -indices -start $from {\[example_begin\]|\[example \{} $text opening]} {
        set first [expr {[lindex $opening 1] + 1}]
        set closing [expr {[string index $text [lindex $opening 1]] eq "\{" ? "\n\}\]" : "\[example_end\]"}]
        set end [string first $closing $text $first]
        if {$end < 0} {
            error "[file tail $page]: an example does not end"
        }
        set line_no [expr {1 + [regexp -all \n [string range $text 0 [expr {$first - 1}]]]}]
        lappend blocks $line_no [plain [string range $text $first [expr {$end - 1}]]]
        set from $end
    }
    return $blocks
}

# Doctools markup to the text that a reader sees.
proc doc_examples::plain {text} {
    regsub -all {\[(?:cmd|arg|opt|option|package|const|emph|strong|var|file|type|term)\
        (?:\{([^\}]*)\}|([^]\{\}]*))\]} $text {\1\2} text
    return [string map {[lb] \[ [rb] \]} $text]
}

# The commands of a block: a flat list of line number, command and expected
# lines. Empty when the block is no transcript.
proc doc_examples::commands {line_no text} {
    set commands {}
    set state outside
    foreach line [split $text \n] {
        set line [string trimright $line]
        if {$state eq "command"} {
            append command \n $line
        } elseif {[string match "% *" $line]} {
            if {$state eq "expected"} {
                lappend commands $at $command $expected
            }
            set at $line_no
            set command [string range $line 2 end]
            set expected {}
            set state command
        } elseif {$state eq "expected"} {
            lappend expected $line
        }
        if {$state eq "command" && [info complete $command]} {
            set state expected
        }
        incr line_no
    }
    if {$state ne "outside"} {
        while {[llength $expected] > 0 && [lindex $expected end] eq ""} {
            set expected [lrange $expected 0 end-1]
        }
        lappend commands $at $command $expected
    }
    return $commands
}

# An interpreter whose printed lines are collected.
proc doc_examples::new_interpreter {} {
    variable printed ""
    set interpreter [interp create]
    interp eval $interpreter [list set auto_path $::auto_path]
    # An interpreter made here does not see how this one found its packages.
    foreach {name version} {zavo 1.0 morvel 1.0} {
        set script [package ifneeded $name $version]
        if {$script ne ""} {
            interp eval $interpreter [list package ifneeded $name $version $script]
        }
    }
    interp hide $interpreter puts real_puts
    interp alias $interpreter puts {} [namespace current]::collect $interpreter
    return $interpreter
}

# What `puts` does in there: standard output is collected, the rest is real.
proc doc_examples::collect {interpreter args} {
    variable printed
    set words $args
    set end \n
    if {[lindex $words 0] eq "-nonewline"} {
        set end ""
        set words [lrange $words 1 end]
    }
    switch -- [llength $words] {
        1 {append printed [lindex $words 0] $end}
        2 {
            if {[lindex $words 0] eq "stdout"} {
                append printed [lindex $words 1] $end
            } else {
                interp invokehidden $interpreter real_puts {*}$args
            }
        }
        default {interp invokehidden $interpreter real_puts {*}$args}
    }
    return
}

# Runs one command; gives the lines that a user would see.
proc doc_examples::run {interpreter command} {
    variable printed ""
    catch {interp eval $interpreter $command} result
    if {$result ne ""} {
        if {$printed ne "" && [string index $printed end] ne "\n"} {
            append printed \n
        }
        append printed $result
    }
    set lines {}
    foreach line [split [string trimright $printed \n] \n] {
        lappend lines [string trimright $line]
    }
    return $lines
}

# Do the lines look as expected? "..." as told in docs/README.md.
proc doc_examples::matches {expected actual} {
    set pattern {^}
    foreach line $expected {
        if {$line eq "..."} {
            append pattern {(?:[^\n]*\n)*}
        } else {
            regsub -all {[][{}()*+?^$|\\]} $line {\\&} line
            regsub -all {\.{3,}} $line \1 line
            append pattern [string map [list . {\.} \1 {[^\n]*}] $line] {\n}
        }
    }
    append pattern {$}
    set text [join $actual \n]
    if {[llength $actual] > 0} {
        append text \n
    }
    return [regexp -- $pattern $text]
}

# Calls `visit line_no command expected actual` for every command of the page.
proc doc_examples::each_command {page visit} {
    variable root
    set page [file normalize $page]
    set folder [pwd]
    set interpreter [new_interpreter]
    cd $root
    foreach {line_no text} [blocks $page] {
        foreach {at command expected} [commands $line_no $text] {
            {*}$visit $at $command $expected [run $interpreter $command]
        }
    }
    cd $folder
    interp delete $interpreter
}

proc doc_examples::note_difference {page at command expected actual} {
    variable differences
    if {![matches $expected $actual]} {
        lappend differences "[file tail $page]:$at: % $command\n  page:   [join $expected "\n          "]\n \
            actual: [join $actual "\n          "]"
    }
}

proc doc_examples::check {page} {
    variable differences {}
    each_command $page [list [namespace current]::note_difference $page]
    return $differences
}

proc doc_examples::count {page} {
    set n 0
    foreach {line_no text} [blocks $page] {
        incr n [expr {[llength [commands $line_no $text]] / 3}]
    }
    return $n
}

proc doc_examples::show {at command expected actual} {
    puts "% $command"
    foreach line $actual {
        puts $line
    }
}

proc doc_examples::main {arguments} {
    set print [expr {[lindex $arguments 0] eq "-print"}]
    set differences 0
    foreach page [lrange $arguments $print end] {
        if {$print} {
            each_command $page [namespace current]::show
            continue
        }
        foreach difference [check $page] {
            puts $difference
            incr differences
        }
    }
    return [expr {$differences > 0}]
}

if {[info exists argv0] && [file normalize $argv0] eq [file normalize [info script]]} {
    exit [doc_examples::main $argv]
}
