# Lets an example run with nothing but `tclsh examples/NAME.tcl`: when Tcl does not
# find the packages by itself, they are looked for where a built source tree and an
# installed copy have them. What the user has set up comes first.

namespace eval example {
    variable begun [clock milliseconds]
    variable shown 0
}

# Folders that may hold zavo1.0, seen from the folder of the examples.
proc example::candidates {} {
    global tcl_platform
    set examples [file dirname [file dirname [file normalize [info script]]]]
    set trees {}
    if {$tcl_platform(platform) eq "windows"} {
        lappend trees dist-win[expr {8 * $tcl_platform(pointerSize)}]
    } else {
        if {[string match aarch64* $tcl_platform(machine)]} {
            lappend trees dist-arm64
        }
        lappend trees dist
    }
    set folders [list [file join [file dirname [file dirname [file dirname [file dirname $examples]]]] lib]]
    foreach tree $trees {
        lappend folders [file join [file dirname $examples] $tree lib]
    }
    return $folders
}

foreach example::folder [example::candidates] {
    if {[file exists [file join $example::folder zavo1.0 pkgIndex.tcl]] && $example::folder ni $auto_path} {
        lappend auto_path $example::folder
    }
}

# example::progress done total what: a line on the error channel once a second, for
# work that takes longer than that.
proc example::progress {done total what} {
    variable begun
    variable shown
    set now [expr {([clock milliseconds] - $begun) / 1000}]
    if {$now > $shown && $done < $total} {
        set shown $now
        puts stderr [format "%s: %d %%" $what [expr {100 * $done / $total}]]
    }
}
