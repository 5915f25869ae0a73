# compare.tcl ?-update? ?-table target? ?-library program? ?-host folder? ?family ...?
#
# Prints the results of every family (or of those named) and compares them with
# expected/, byte for byte. Needs auto_path to lead to the packages (TCLLIBPATH)
# and -library, or the environment variable ZAVO_GOLDEN, to name the program
# zavo_golden; without one the routines of the library are not compared and the
# run says so. -update rewrites expected/ instead. -host names the folder of the
# module's test variant (host_module.cpp): with it the commands run in states that a
# host may have set, too, those of named families in each, and -table has them by every
# path.
# -table prints rows for a table of targets: the commands in this interpreter, and the
# routines, by the paths that the processor has.

set here [file dirname [file normalize [info script]]]
set expected [file join $here expected]
set update 0
set target ""
set program [expr {[info exists env(ZAVO_GOLDEN)] ? $env(ZAVO_GOLDEN) : ""}]
set host ""
set wanted {}
while {[llength $argv]} {
    set argv [lassign $argv word]
    switch -- $word {
        -update { set update 1 }
        -table { set argv [lassign $argv target] }
        -library { set argv [lassign $argv program] }
        -host { set argv [lassign $argv host] }
        default { lappend wanted $word }
    }
}

proc slurp {path} {
    set channel [open $path]
    fconfigure $channel -translation binary
    set bytes [read $channel]
    close $channel
    return $bytes
}

proc spill {path bytes} {
    set channel [open $path w]
    fconfigure $channel -translation binary
    puts -nonewline $channel $bytes
    close $channel
}

# The family's output, from an interpreter of its own; with words behind it through
# the test variant: "path NAME" or "mode NAME".
proc script_output {here family args} {
    set interp [interp create]
    interp eval $interp [list set auto_path $::auto_path]
    set scratch [file join [scratch_folder] zavo-golden-[pid].txt]
    set channel [open $scratch w]
    fconfigure $channel -translation lf -encoding utf-8
    interp transfer {} $channel $interp
    set failed [catch {
        if {[llength $args]} {
            load_variant $interp
            interp eval $interp [list golden_host {*}$args]
        }
        interp eval $interp {package require zavo; package require morvel}
        interp eval $interp [list source [file join $here golden.tcl]]
        interp eval $interp [list set golden::channel $channel]
        interp eval $interp [list source [file join $here $family.tcl]]
        interp eval $interp [list close $channel]
    } message]
    interp delete $interp
    set bytes [slurp $scratch]
    file delete $scratch
    if {$failed} {
        error "$family.tcl: $message"
    }
    return $bytes
}

# The variant of the module, which finds the lists and messages of the installed package;
# zavox is the installed one.
proc load_variant {interp} {
    interp eval $interp {package require morvel}
    foreach loaded [info loaded $interp] {
        if {[string match *morvel* [lindex $loaded 0]] && ![info exists ::env(ZAVOERRPATH)]} {
            set ::env(ZAVOERRPATH) [file nativename [file dirname [file normalize [lindex $loaded 0]]]]
        }
    }
    set twin [expr {[package vsatisfies [package provide Tcl] 9-] ? "tcl9" : ""}]
    interp eval $interp [list load [file nativename \
        [file join [file normalize $::host] ${twin}tcl_zavomath[info sharedlibextension]]] Zavo]
    interp eval $interp {package require zavox}
}

# What the variant answers.
proc host_list {what} {
    set interp [interp create]
    interp eval $interp [list set auto_path $::auto_path]
    load_variant $interp
    set names [interp eval $interp [list golden_host $what]]
    interp delete $interp
    return $names
}

proc library_output {program family args} {
    set scratch [file join [scratch_folder] zavo-golden-[pid].txt]
    exec $program $family [file nativename $scratch] {*}$args 2>@1
    set bytes [slurp $scratch]
    file delete $scratch
    return $bytes
}

proc scratch_folder {} {
    foreach name {TMPDIR TEMP TMP} {
        if {[info exists ::env($name)] && [file writable $::env($name)]} {
            return [file normalize $::env($name)]
        }
    }
    return [expr {[file writable /tmp] ? "/tmp" : [pwd]}]
}

# Number and text of the first line that differs.
proc first_difference {expected found} {
    set number 0
    foreach left [split $expected \n] right [split $found \n] {
        incr number
        if {$left ne $right} {
            return "line $number: expected \"$left\", found \"$right\""
        }
    }
}

set compared 0
set differing 0
proc judge {file bytes {circumstances ""}} {
    global update compared differing expected
    set path [file join $expected $file]
    incr compared
    if {$update} {
        spill $path $bytes
    } elseif {![file exists $path]} {
        incr differing
        puts "$file: not in expected/; write it with -update"
    } elseif {[slurp $path] ne $bytes} {
        incr differing
        puts "$file$circumstances: [first_difference [slurp $path] $bytes]"
    }
}

proc is_wanted {family} {
    return [expr {[llength $::wanted] == 0 || $family in $::wanted}]
}

# Every family of commands that is wanted, with the words that script_output takes.
proc judge_commands {args} {
    global here
    set circumstances [expr {[llength $args] ? " ([join $args])" : ""}]
    foreach path [lsort [glob -nocomplain -directory $here *.tcl]] {
        set family [file rootname [file tail $path]]
        if {$family ni {golden compare} && [is_wanted $family]} {
            judge $family.script.txt [script_output $here $family {*}$args] $circumstances
        }
    }
}
judge_commands
proc lines_of {args} {
    return [split [string map {\r ""} [exec {*}$args]] \n]
}

# One row, of what was compared since the last.
proc row {path interpreter} {
    global target compared differing rows
    lappend rows [list $target $path $interpreter [expr {$compared - [total 3]}] [expr {$differing - [total 4]}]]
    puts [format "%-14s %-8s %-12s %8d %9d" {*}[lindex $rows end]]
}
proc total {column} {
    set sum 0
    foreach row $::rows {
        incr sum [lindex $row $column]
    }
    return $sum
}
set rows {}

if {$target ne ""} {
    set paths [expr {$program eq "" ? "best" : [lines_of $program -paths]}]
    if {$host ne ""} {
        set paths [host_list paths]
    }
    row [lindex $paths end] "Tcl [info patchlevel]"
    if {$host ne ""} {
        foreach path [lrange $paths 0 end-1] {
            judge_commands path $path
            row $path "Tcl [info patchlevel]"
        }
    }
    if {$program ne ""} {
        foreach path $paths {
            foreach family [lsort [lines_of $program]] {
                judge $family.library.txt [library_output $program $family $path]
            }
            row $path "none"
        }
    }
    exit [expr {$differing > 0 || $compared == 0}]
}
if {$host ne "" && !$update} {
    # Those that join several, since every command runs in them under emulators, too;
    # the routines (family modes) are in each.
    set modes [host_list modes]
    foreach mode $modes {
        if {[llength $wanted] || $mode in {toward-zero upward-and-flush x87-24-and-upward decimal-comma}} {
            judge_commands mode $mode
        }
    }
    puts "golden: the host's modes: [join $modes {, }]"
    if {"decimal-comma" ni $modes} {
        puts "golden: 1 skipped (decimal-comma): no locale has one"
    }
}
if {$program eq ""} {
    puts "golden: no program named, routines of the library not compared"
} else {
    foreach family [lsort [lines_of $program]] {
        if {[is_wanted $family]} {
            judge $family.library.txt [library_output $program $family]
        }
    }
}
puts "golden: $compared compared, $differing differing"
exit [expr {$differing > 0 || $compared == 0}]
