# Gives an interpreter of Tcl 8.6 the script level of 8.5: what came with 8.6 is
# hidden (commands, subcommands) or refused (options, numbers of arguments), with
# the errors of 8.5 where it had some. scripts/common.sh makes a Tcl library whose
# init.tcl ends with this file, so that child interpreters and processes have the
# same level. tests/script/level.test shows that each refusal bites.
#
# Not refused, since no command does it: \Uxxxxxxxx in a string (./zavo lint looks
# for it), the white space beyond ASCII that `string trim` takes away, and the
# element -errorstack that `catch` adds to its options.

namespace eval ::tcl85_level {
    variable commands {coroutine lmap tailcall throw try yield yieldto zlib ::tcl::prefix}
    variable subcommands {
        ::binary {decode encode}
        ::chan   {pipe pop push}
        ::dict   map
        ::file   tempfile
        ::info   {class coroutine errorstack object}
        ::string cat
    }
    # What is looked at before it runs: the procedure watch_ and its name, or the word
    # behind the comma, gets the words and may refuse them.
    variable watched {
        ::lsort ::lsearch ::lrepeat ::lreplace ::lset ::format ::scan,format ::interp ::load ::fconfigure
        ::close ::glob ::return ::tcl::string::is ::tcl::dict::filter ::tcl::namespace::ensemble
    }
    # Commands whose last arguments became optional: words that 8.5 wants at least.
    variable least {
        ::global 2 ::variable 2 ::lassign 3 ::linsert 4 ::tcl::file::delete 2 ::tcl::file::mkdir 2
        ::tcl::namespace::upvar 4
    }
}

proc ::tcl85_level::refuse {message} {
    return -code error -level 2 $message
}

# Options end with the first word that is none; those named in `valued` have one.
proc ::tcl85_level::option_given {words option least valued} {
    for {set i 0} {$i < [llength $words]} {incr i} {
        set word [lindex $words $i]
        if {[string match -* $word] && [string length $word] >= $least && [string match $word* $option]} {
            return 1
        }
        if {$word in $valued} {
            incr i
        }
    }
    return 0
}

proc ::tcl85_level::watch_lsort {words operation} {
    if {[option_given [lrange $words 1 end-1] -stride 2 {-command -index}]} {
        refuse {bad option "-stride": must be -ascii, -command, -decreasing, -dictionary, -increasing,\
            -index, -indices, -integer, -nocase, -real, or -unique}
    }
}

proc ::tcl85_level::watch_lsearch {words operation} {
    if {[option_given [lrange $words 1 end-2] -bisect 2 {-index -start}]} {
        refuse {bad option "-bisect": must be -all, -ascii, -decreasing, -dictionary, -exact, -glob,\
            -increasing, -index, -inline, -integer, -nocase, -not, -real, -regexp, -sorted, -start, or -subindices}
    }
}

proc ::tcl85_level::watch_lrepeat {words operation} {
    if {[llength $words] == 2} {
        refuse {wrong # args: should be "lrepeat positiveCount value ?value ...?"}
    }
    if {[lindex $words 1] eq "0"} {
        refuse "must have a count of at least 1"
    }
}

proc ::tcl85_level::watch_lreplace {words operation} {
    set first [lindex $words 2]
    if {[string is integer -strict $first] && $first > 0 && $first >= [llength [lindex $words 1]]
        && [llength [lindex $words 1]] > 0} {
        refuse "list doesn't contain element $first"
    }
}

# An index just behind the end appends in 8.6.
proc ::tcl85_level::watch_lset {words operation} {
    if {[llength $words] < 4} {
        return
    }
    upvar 1 [lindex $words 1] variable
    set list $variable
    set path [lrange $words 2 end-1]
    if {[llength $path] == 1} {
        set path [lindex $path 0]
    }
    foreach index $path {
        set at [string map [list end [expr {[llength $list] - 1}]] $index]
        if {[regexp {^-?\d+([-+]\d+)?$} $at] && [expr $at] >= [llength $list]} {
            refuse "list index out of range"
        }
        set list [lindex $list $index]
    }
}

proc ::tcl85_level::watch_format {words operation} {
    set position [expr {[lindex $words 0] in {scan ::scan} ? 2 : 1}]
    foreach conversion [regexp -all -inline {%(?:%|[^a-zA-Z%]*(?:ll|[hlL])?[a-zA-Z])} [lindex $words $position]] {
        if {[string index $conversion end] eq "b"} {
            refuse {bad field specifier "b"}
        }
    }
}

proc ::tcl85_level::watch_interp {words operation} {
    if {[string match "ca*" [lindex $words 1]]} {
        refuse {bad option "cancel": must be alias, aliases, bgerror, create, delete, eval, exists, expose,\
            hide, hidden, issafe, invokehidden, limit, marktrusted, recursionlimit, slaves, share, target, or transfer}
    }
}

proc ::tcl85_level::watch_load {words operation} {
    if {[string match -* [lindex $words 1]]} {
        refuse "couldn't load file \"[lindex $words 1]\": no such file or directory"
    }
}

proc ::tcl85_level::watch_fconfigure {words operation} {
    if {"-connecting" in $words} {
        refuse {bad option "-connecting": should be one of -blocking, -buffering, -buffersize, -encoding,\
            -eofchar, or -translation}
    }
}

proc ::tcl85_level::watch_close {words operation} {
    if {[llength $words] != 2} {
        refuse {wrong # args: should be "close channelId"}
    }
}

proc ::tcl85_level::watch_glob {words operation} {
    for {set i 1} {$i < [llength $words] && [string match -?* [lindex $words $i]]} {incr i} {
        if {[lindex $words $i] in {-directory -path -types}} {
            incr i
        } elseif {[lindex $words $i] eq "--"} {
            incr i
            break
        }
    }
    if {$i >= [llength $words]} {
        refuse {wrong # args: should be "glob ?switches? name ?name ...?"}
    }
}

# 8.5 takes the option for one of the script's own.
proc ::tcl85_level::watch_return {words operation} {
    if {[option_given [lrange $words 1 end-1] -errorstack 8 {-code -errorcode -errorinfo -level -options}]} {
        refuse "return -errorstack came with Tcl 8.6"
    }
}

proc ::tcl85_level::watch_is {words operation} {
    if {[string match "en*" [lindex $words 1]]} {
        refuse {bad class "entier": must be alnum, alpha, ascii, boolean, control, digit, double, false, graph,\
            integer, list, lower, print, punct, space, true, upper, wideinteger, wordchar, or xdigit}
    }
}

proc ::tcl85_level::watch_filter {words operation} {
    if {[lindex $words 2] in {key value} && [llength $words] != 4} {
        refuse "wrong # args: should be \"dict filter dictionary [lindex $words 2] globPattern\""
    }
}

proc ::tcl85_level::watch_ensemble {words operation} {
    if {"-parameters" in $words} {
        refuse {bad option "-parameters": must be -command, -map, -prefixes, -subcommands, or -unknown}
    }
}

proc ::tcl85_level::count_words {least words operation} {
    if {[llength $words] < $least} {
        refuse "wrong # args: should be \"[lindex $words 0] ...\" with [expr {$least - 1}] arguments at least"
    }
}

namespace eval ::tcl85_level {
    # The library's own procedures keep what they use.
    ::tcl::tm::path list
    namespace eval kept {}
    rename ::try kept::try
    foreach name {::tcl::clock ::tcl::tm} {
        namespace eval $name {namespace path ::tcl85_level::kept}
    }
    auto_load tclPkgUnknown
    proc ::tclPkgUnknown [info args ::tclPkgUnknown] \
        [regsub -all -line {^(\s*)try } [info body ::tclPkgUnknown] {\1::tcl85_level::kept::try }]
    foreach name $commands {
        if {$name ne "try"} {
            rename $name {}
        }
    }
    namespace delete ::oo
    foreach package {TclOO tcl::oo zlib} {
        package forget $package
    }
    foreach {name gone} $subcommands {
        namespace ensemble configure $name -map [dict remove [namespace ensemble configure $name -map] {*}$gone]
    }
    foreach {name count} $least {
        trace add execution $name enter [list [namespace current]::count_words $count]
    }
    # Last: what watches uses what is watched.
    foreach entry $watched {
        lassign [split $entry ,] name check
        if {$check eq ""} {
            set check [namespace tail $name]
        }
        trace add execution $name enter [namespace current]::watch_$check
    }
    unset name gone count entry check package
}
unset -nocomplain ::tcl_platform(engine) ::tcl_platform(pathSeparator)
# The package Tcl keeps its version: with it goes the C interface.
set ::tcl_version 8.5
set ::tcl_patchLevel 8.5.19
