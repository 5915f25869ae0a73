# tclsh check_arrows.tcl ARROWS ROOT FILE ...
#   Holds every #include of the sources FILE (paths below ROOT) against the table
#   ARROWS. Names each include that the table does not allow; exits with 1 when
#   there is one.
package require Tcl 8.5-

source [file join [file dirname [info script]] contents.tcl]

# The rows as a dictionary: folder -> list of what it may include.
proc read_arrows {path} {
    set arrows [dict create]
    foreach line [split [contents $path] \n] {
        if {[string trim $line] eq "" || [string match "#*" $line]} {
            continue
        }
        dict set arrows [lindex $line 0] [lrange $line 1 end]
    }
    return $arrows
}

proc is_below {path folder} {
    expr {$path eq $folder || [string match $folder/* $path]}
}

# The row that a file belongs to, or "" where the table does not speak of it.
proc row_of {arrows file} {
    if {[string match *_commands [file rootname $file]] && [dict exists $arrows *_commands]} {
        return *_commands
    }
    set best ""
    foreach row [dict keys $arrows] {
        if {[is_below $file $row] && [string length $row] > [string length $best]} {
            set best $row
        }
    }
    return $best
}

# What a file of this row in this folder may include.
proc allowed {arrows row folder} {
    set own [expr {$row eq "*_commands" ? $folder : $row}]
    return [concat [list $own] [dict get $arrows $row]]
}

# The included paths of a source, as [list line path]; <name.h> of our own
# libraries and of Tcl count like paths.
proc includes_of {root file} {
    set result {}
    set line_no 0
    foreach line [split [contents [file join $root $file]] \n] {
        incr line_no
        if {![regexp {^\s*#\s*include\s*(["<])([^">]+)[">]} $line -> kind path]} {
            continue
        }
        if {$path in {tcl.h tclDecls.h tclInt.h tk.h}} {
            set path tcl
        } elseif {$path in {quillet.h morvel.h}} {
            set path [file rootname $path]/$path
        } elseif {$path eq "zavo.h"} {
            set path core/zavo.h
        } elseif {$kind eq "<"} {
            continue
        } elseif {[file exists [file join $root [file dirname $file] $path]]} {
            set path [string trimleft [file join [file dirname $file] $path] ./]
        }
        lappend result $line_no $path
    }
    return $result
}

proc forbidden_includes {arrows root file} {
    set row [row_of $arrows $file]
    if {$row eq ""} {
        return {}
    }
    set folder [lindex [file split $file] 0]
    set found {}
    foreach {line_no path} [includes_of $root $file] {
        set fine 0
        foreach target [allowed $arrows $row $folder] {
            if {[is_below $path $target]} {
                set fine 1
            }
        }
        # A family's folder does not open its command files to anyone else.
        if {!$fine || ($row ne "*_commands" && [string match *_commands.hpp $path])} {
            lappend found "$file:$line_no: $row may not include $path (tools/arrows.txt)"
        }
    }
    return $found
}

set files [lassign $argv table root]
set arrows [read_arrows $table]
set bad 0
foreach file $files {
    foreach complaint [forbidden_includes $arrows $root $file] {
        puts $complaint
        set bad 1
    }
}
exit $bad
