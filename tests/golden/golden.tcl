# Prints result bits of commands; the format stands in README.md beside this
# file. Sourced into the interpreter of each family.

namespace eval golden {
    variable channel stdout
    variable names
    array set names {}
}

proc golden {name kind script} {
    if {[info exists golden::names($name)]} {
        error "golden name \"$name\" is used twice"
    }
    set golden::names($name) 1
    if {[catch {uplevel #0 $script} result]} {
        puts $golden::channel "$name error [list $result]"
        return
    }
    puts $golden::channel "$name $kind [golden::print_$kind $result]"
}

proc golden::print_int {value} {
    return [format %d $value]
}

proc golden::print_text {value} {
    return [list $value]
}

proc golden::print_double {value} {
    binary scan [binary format Q $value] H* bits
    return $bits
}

proc golden::print_list {name} {
    set type [dynlist type $name]
    if {$type eq "list"} {
        set text [nested [dynlist get $name] "  "]
    } else {
        # From the bytes, so that the bits of a NaN are told too.
        binary scan [dynlist tobytes $name] i* words
        if {$type eq "float"} {
            set words [hexadecimal $words]
        }
        set text "$type [llength $words][lines $words {  }]"
    }
    dynlist free $name
    return $text
}

# A nested Tcl list; its innermost lists hold numbers, floats with a point.
proc golden::nested {values indent} {
    foreach value $values {
        if {[llength $value] != 1} {
            set text "list [llength $values]"
            foreach child $values {
                append text "\n$indent[nested $child "$indent  "]"
            }
            return $text
        }
    }
    set words {}
    foreach value $values {
        if {[string is integer -strict $value]} {
            lappend words $value
        } elseif {[catch {binary format r $value} bytes]} {
            lappend words [string tolower $value]
        } else {
            binary scan $bytes i word
            lappend words [hexadecimal $word]
        }
    }
    return "values [llength $words][lines $words $indent]"
}

proc golden::hexadecimal {words} {
    set result {}
    foreach word $words {
        lappend result [format %08x [expr {$word & 0xffffffff}]]
    }
    return $result
}

# Eight words a line, each line indented.
proc golden::lines {words indent} {
    set text ""
    for {set i 0} {$i < [llength $words]} {incr i 8} {
        append text "\n$indent[join [lrange $words $i [expr {$i + 7}]]]"
    }
    return $text
}

# FNV-1a, 32 bits, over the elements' bytes.
proc golden::print_digest {name} {
    set type [dynlist type $name]
    set count [dynlist length $name]
    set hash 2166136261
    binary scan [dynlist tobytes $name] cu* bytes
    foreach byte $bytes {
        set hash [expr {(($hash ^ $byte) * 16777619) & 0xffffffff}]
    }
    dynlist free $name
    return "$type $count digest [format %08x $hash]"
}
