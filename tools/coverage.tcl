# tclsh coverage.tcl JSON UNREACHED
#   Prints lines and branches by folder from what gcovr has counted (--json), and
#   holds the branches that no test reaches against the list UNREACHED, in which each
#   has its reason. A line of the list is
#       file | the source line without the blanks around it | reason
#   so that it stays true when lines move. Exits with 1 when a branch is unreached
#   that the list does not have, or the list has one that is reached or gone.
package require Tcl 8.5-
package require json

lassign $argv counted unreached

proc contents {path} {
    set channel [open $path]
    fconfigure $channel -encoding utf-8
    set text [read $channel]
    close $channel
    return $text
}

# file -> lines of source
proc source_line {file number} {
    global sources
    if {![info exists sources($file)]} {
        set sources($file) [split [contents $file] \n]
    }
    return [string trim [lindex $sources($file) [expr {$number - 1}]]]
}

proc percent {part whole} {
    return [expr {$whole == 0 ? "-" : [format %.1f [expr {100.0 * $part / $whole}]]}]
}

set reasons [dict create]
foreach line [split [contents $unreached] \n] {
    if {[regexp {^\s*(#|$)} $line]} {
        continue
    }
    if {![regexp {^(\S+) \| (.*) \| ([^|]+)$} $line -> file text reason]} {
        puts "$unreached: not a line of the list: $line"
        exit 1
    }
    dict set reasons [list $file [string trim $text]] $reason
}

set new {}
set used [dict create]
foreach file [dict get [json::json2dict [contents $counted]] files] {
    set name [dict get $file file]
    set folder [lindex [file split $name] 0]
    if {$folder in {quillet morvel core random fft constants minimize ext zavox}} {
        # A line of a template counts once for each of its instances.
        set lines [dict create]
        set branches [dict create]
        foreach line [dict get $file lines] {
            set number [dict get $line line_number]
            if {[dict exists $line gcovr/noncode] && [dict get $line gcovr/noncode]} {
                continue
            }
            if {![dict exists $lines $number]} {
                dict set lines $number 0
            }
            dict incr lines $number [expr {[dict get $line count] > 0}]
            set i 0
            foreach branch [dict get $line branches] {
                set key [list $number $i]
                if {![dict exists $branches $key]} {
                    dict set branches $key 0
                }
                dict incr branches $key [expr {[dict get $branch count] > 0}]
                incr i
            }
        }
        foreach name_of {lines branches} {
            foreach value [dict values [set $name_of]] {
                incr all($folder,$name_of)
                incr hit($folder,$name_of) [expr {$value > 0}]
            }
        }
        dict for {key value} $branches {
            if {$value > 0} {
                continue
            }
            set where [list $name [source_line $name [lindex $key 0]]]
            if {[dict exists $reasons $where]} {
                dict set used $where 1
                incr excused($folder)
            } elseif {[lsearch -exact -index 0 $new "$name:[lindex $key 0]"] < 0} {
                lappend new [list $name:[lindex $key 0] [lindex $where 1]]
            }
        }
    }
}

puts [format "%-10s %8s %8s %10s %8s %10s" folder lines "%" branches "%" "with reason"]
foreach folder {quillet morvel core random fft constants minimize ext zavox} {
    foreach name {lines branches} {
        if {![info exists all($folder,$name)]} {
            set all($folder,$name) 0
            set hit($folder,$name) 0
        }
    }
    puts [format "%-10s %8d %8s %10d %8s %10d" $folder \
        $all($folder,lines) [percent $hit($folder,lines) $all($folder,lines)] \
        $all($folder,branches) [percent $hit($folder,branches) $all($folder,branches)] \
        [expr {[info exists excused($folder)] ? $excused($folder) : 0}]]
}
foreach line [lsort -dictionary $new] {
    puts "unreached: [lindex $line 0]: [lindex $line 1]"
}
set stale {}
foreach where [dict keys $reasons] {
    if {![dict exists $used $where]} {
        lappend stale $where
        puts "in the list, but reached or gone: [lindex $where 0]: [lindex $where 1]"
    }
}
puts "[llength $new] lines with branches that no test reaches and no reason excuses"
exit [expr {[llength $stale] > 0}]
