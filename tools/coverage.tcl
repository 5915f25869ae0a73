# tclsh coverage.tcl JSON UNREACHED
#   Prints lines and branches by folder from what gcovr has counted (--json), and
#   holds the branches that no test reaches against the list UNREACHED, in which each
#   has its reason. A line of the list is
#       file | function | the source line without the blanks around it | reason
#   so that it stays true when lines move. Exits with 1 when the list has a branch that
#   is reached or gone, or when there is an unreached one that the list does not have.
package require Tcl 8.5-
package require json

lassign $argv counted unreached

source [file join [file dirname [info script]] contents.tcl]

# file -> lines of source
proc source_line {file number} {
    global sources
    if {![info exists sources($file)]} {
        set sources($file) [split [contents $file] \n]
    }
    return [string trim [lindex $sources($file) [expr {$number - 1}]]]
}

# The bare name of a function that the linker knows as `name`; a lambda belongs to the
# function that it stands in.
proc bare_name {name} {
    # A name that gcov could not translate: parts, each behind its length.
    if {[regsub {^_ZN?L?} $name {} rest]} {
        set part $name
        while {[regexp {^L?(\d+)(.*)$} $rest -> length rest]} {
            set part [string range $rest 0 [expr {$length - 1}]]
            set rest [string range $rest $length end]
        }
        return $part
    }
    set name [string map {{(anonymous namespace)} {} {operator()} operator_call} $name]
    # Arguments and template arguments, the inner ones first.
    while {[regsub -all {<[^<>]*>} $name {} name]} {}
    while {[regsub -all {\([^()]*\)} $name {} name]} {}
    regsub {::\{lambda.*} $name {} name
    regsub {( const)?( &+)?( \[.*)?$} $name {} name
    return [lindex [split [lindex [split $name " "] end] :] end]
}

# The function that line `number` stands in: the last that begins before it. `heads`
# are pairs of line and name in the order of the lines.
proc function_at {heads number} {
    set found -
    foreach head $heads {
        if {[lindex $head 0] > $number} {
            break
        }
        set found [lindex $head 1]
    }
    return $found
}

proc percent {part whole} {
    return [expr {$whole == 0 ? "-" : [format %.1f [expr {100.0 * $part / $whole}]]}]
}

set reasons [dict create]
foreach line [split [contents $unreached] \n] {
    if {[regexp {^\s*(#|$)} $line]} {
        continue
    }
    if {![regexp {^(\S+) \| (\S+) \| (.*) \| ([^|]+)$} $line -> file function text reason]} {
        puts "$unreached: not a line of the list: $line"
        exit 1
    }
    dict set reasons [list $file $function [string trim $text]] $reason
}

set folders {quillet morvel core random fft constants minimize ext zavox}
foreach folder $folders {
    foreach counter {lines lines_hit branches branches_hit excused} {
        set total($folder,$counter) 0
    }
}
set new [dict create]
set used [dict create]
foreach file [dict get [json::json2dict [contents $counted]] files] {
    set name [dict get $file file]
    set folder [lindex [file split $name] 0]
    if {$folder ni $folders} {
        continue
    }
    set heads {}
    foreach function [dict get $file functions] {
        lappend heads [list [dict get $function lineno] [bare_name [dict get $function name]]]
    }
    set heads [lsort -integer -index 0 $heads]
    foreach line [dict get $file lines] {
        if {[dict get $line gcovr/noncode]} {
            continue
        }
        set number [dict get $line line_number]
        incr total($folder,lines)
        incr total($folder,lines_hit) [expr {[dict get $line count] > 0}]
        set missing 0
        foreach branch [dict get $line branches] {
            incr total($folder,branches)
            incr total($folder,branches_hit) [expr {[dict get $branch count] > 0}]
            incr missing [expr {[dict get $branch count] == 0}]
        }
        if {$missing == 0} {
            continue
        }
        set where [list $name [function_at $heads $number] [source_line $name $number]]
        if {[dict exists $reasons $where]} {
            dict set used $where 1
            incr total($folder,excused) $missing
        } else {
            dict set new $name:$number $where
        }
    }
}

puts [format "%-10s %8s %8s %10s %8s %12s %14s" folder lines "%" branches "%" "with reason" "without reason"]
foreach folder $folders {
    set missing [expr {$total($folder,branches) - $total($folder,branches_hit) - $total($folder,excused)}]
    puts [format "%-10s %8d %8s %10d %8s %12d %14d" $folder \
        $total($folder,lines) [percent $total($folder,lines_hit) $total($folder,lines)] \
        $total($folder,branches) [percent $total($folder,branches_hit) $total($folder,branches)] \
        $total($folder,excused) $missing]
}
foreach place [lsort -dictionary [dict keys $new]] {
    puts "unreached: $place: [join [lrange [dict get $new $place] 1 2] { | }]"
}
set stale 0
foreach where [dict keys $reasons] {
    if {![dict exists $used $where]} {
        incr stale
        puts "in the list, but reached or gone: [join $where { | }]"
    }
}
puts "[dict size $new] lines with branches that no test reaches and no reason excuses"
exit [expr {$stale > 0 || [dict size $new] > 0}]
