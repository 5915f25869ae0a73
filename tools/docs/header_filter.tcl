# header_filter.tcl: zavo.h with its comments in the form that Doxygen reads. The
# header itself stays plain C; ./zavo docs runs this as Doxygen's input filter, so
# that the C reference is the header's comments and cannot differ from them.
#
#   tclsh tools/docs/header_filter.tcl core/zavo.h
#
#   /* ---- Title ---- */      opens a section; a comment that follows is its introduction
#   /* ... */ declarations     the comment of each of them, up to a blank line
#   NAME = 1, /* [values] */   the comment of an enumerator
#   indented lines             "ZAVO_X  [type] words": an item of a list
#   Posts ...                  begins the paragraph on errors

namespace eval header_filter {
    variable section_open 0
}

proc header_filter::escape {text} {
    return [string map {\\ \\\\ @ \\@ < &lt; > &gt; % \\% # \\# & &amp;} $text]
}

# Words of a comment, leading stars taken off.
proc header_filter::words_of {comment} {
    set lines {}
    foreach line [split $comment \n] {
        regsub {^\s*\*? ?} $line {} line
        lappend lines [string trimright $line]
    }
    return [string trim [join $lines \n] \n]
}

# Options as a list, a paragraph for the errors, names of options in their face.
proc header_filter::marked_up {text} {
    set result {}
    set in_list 0
    foreach line [split $text \n] {
        if {[regexp {^  (ZAVO_\w+(?:, ZAVO_\w+)*,?)\s*(\[[^]]*\])?\s*(.*)$} $line -> name values rest]} {
            lappend result "- \\b $name [expr {$values eq "" ? "" : "<tt>[escape $values]</tt> "}][escape $rest]"
            set in_list 1
        } elseif {$in_list && [regexp {^   +(.*)$} $line -> rest]} {
            lappend result "  [escape $rest]"
        } elseif {!$in_list && [regexp {^    (\S.*)$} $line -> rest]} {
            lappend result "" "<tt>[escape $rest]</tt>" "" ;# a formula
        } else {
            if {$in_list} {
                lappend result ""
                set in_list 0
            }
            lappend result [escape $line]
        }
    }
    set text [join $result \n]
    regsub {(^|\.\s+|; else |; )(Posts|posts) (\d)} $text "\\1\n\n\\\\par Errors\n\\2 \\3" text
    regsub {(\n|\. )(Returns )} $text "\\1\n\n\\\\par Result\n\\2" text
    return $text
}

proc header_filter::slug {title} {
    regsub {\(.*\)} $title {} title
    set word [string tolower [lindex [split [string trim $title] " ,"] 0]]
    return libzavo_$word
}

proc header_filter::convert {text} {
    variable section_open
    set opening @\x7b
    set closing @\x7d
    set out {}
    set lines [split $text \n]
    set n [llength $lines]
    set comment ""     ;# of the declarations that follow
    set depth 0        ;# inside an enum or struct
    set fresh 1        ;# the next line begins a declaration
    for {set i 0} {$i < $n} {incr i} {
        set line [lindex $lines $i]
        if {$depth == 0 && [regexp {^/\* ---- (.*?) -+ \*/$} $line -> title]} {
            if {$section_open} {
                lappend out "/** $closing */"
            }
            # A comment right behind it introduces the section.
            set intro ""
            if {[string trim [lindex $lines [expr {$i + 1}]]] eq "/*"} {
                incr i
                while {![string match {*\*/*} [set line [lindex $lines [incr i]]]]} {
                    append intro $line \n
                }
            }
            lappend out "/** \\defgroup [slug $title] [escape $title]\n[marked_up [words_of $intro]]\n$opening */"
            set section_open 1
            set comment ""
        } elseif {$depth == 0 && [regexp {^/\*(.*)$} $line -> rest]} {
            set comment $rest
            while {![string match {*\*/*} $comment]} {
                append comment \n [lindex $lines [incr i]]
            }
            regsub {\*/.*$} $comment {} comment
            if {![llength $out]} {
                set comment [words_of $comment]
                regsub {^zavo\.h:\s*} $comment {} comment
                lappend out "/** \\file zavo.h\n\\brief The numerical library, callable from C and C++\n\n[marked_up $comment] */"
                set comment ""
            }
            set fresh 1
        } elseif {$line eq ""} {
            set comment ""
            set fresh 1
            lappend out ""
        } elseif {[string index $line 0] eq "#" || [string match extern* $line] || $line eq "\}"} {
            if {[regexp {^#define (ZAVO_VERSION\w*) (.*)$} $line]} {
                set doc [expr {$comment eq "" ? "Part of the version of the header." : [words_of $comment]}]
                lappend out "/** [marked_up $doc] */"
            }
            lappend out $line
            set depth 0
        } else {
            if {$fresh && $depth == 0} {
                set doc $comment
                if {$doc eq "" && [regexp {^(enum|typedef struct) (\w+)} $line -> - name]} {
                    set doc [expr {[string match *option* $name] ?
                        "Option codes, and the values that follow each in the list of arguments." : "The possible values."}]
                }
                if {$doc ne ""} {
                    lappend out "/** [marked_up [words_of $doc]] */"
                }
            }
            regsub {/\* (.*?) \*/\s*$} $line {/**< \1 */} line
            if {$depth > 0 && [regexp {^\s+/\* (.*) \*/$} $line -> words]} {
                set line "" ;# a heading among the enumerators
            }
            lappend out $line
            incr depth [expr {[regexp -all {\{} $line] - [regexp -all {\}} $line]}]
            set fresh [expr {$depth == 0 && [regexp {;\s*(/\*.*)?$} $line]}]
        }
    }
    if {$section_open} {
        lappend out "/** $closing */"
    }
    return [join $out \n]
}

set channel [open [lindex $argv 0]]
fconfigure $channel -encoding utf-8
fconfigure stdout -encoding utf-8 -translation lf
puts [header_filter::convert [read $channel]]
close $channel
