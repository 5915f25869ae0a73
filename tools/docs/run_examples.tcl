# run_examples.tcl: runs every example as the first command line of its head says,
# with a picture where it can draw one, for the manual's gallery and pages.
#
#   tclsh tools/docs/run_examples.tcl ?-nopictures? examples pictures_folder
#
# pictures_folder gets NAME.png, and NAME.txt with the command line and what it
# prints. The status is 1 when an example failed.
package require Tcl 8.5-

namespace eval run_examples {
    variable pictures 1
}

# The command line at the head of an example: {arguments draws}.
proc run_examples::usage {file} {
    set channel [open $file]
    fconfigure $channel -encoding utf-8
    set text [read $channel]
    close $channel
    set name [file tail $file]
    if {![regexp -line "^#\\s+tclsh examples/$name\(.*)$" $text -> words]} {
        error "$name: no line \"tclsh examples/$name ...\" at its head"
    }
    regsub {\s{2,}\S.*$} [string trimright $words] {} words ;# what stands behind it explains it
    set draws [regsub {\?picture\.png\?} $words {} words]
    return [list [regexp -all -inline {\S+} $words] $draws]
}

proc run_examples::one {file folder} {
    variable pictures
    set name [file rootname [file tail $file]]
    lassign [usage $file] arguments draws
    set draws [expr {$draws && $pictures}]
    set picture [file join $folder $name.png]
    set command [concat $arguments [expr {$draws ? [list $picture] : {}}]]
    # What a user's line shows is the file name, not our folder.
    set output [exec -ignorestderr [info nameofexecutable] $file {*}$command]
    if {$draws && ![file exists $picture]} {
        error "$name drew no picture"
    }
    set shown [concat [list tclsh examples/$name.tcl] $arguments [expr {$draws ? "$name.png" : {}}]]
    set channel [open [file join $folder $name.txt] w]
    fconfigure $channel -encoding utf-8
    puts $channel "\$ $shown\n[string map [list $picture $name.png] $output]"
    close $channel
}

proc run_examples::main {arguments} {
    variable pictures
    if {[lindex $arguments 0] eq "-nopictures"} {
        set pictures 0
        set arguments [lrange $arguments 1 end]
    }
    lassign $arguments examples folder
    file mkdir $folder
    set status 0
    foreach file [lsort [glob -directory $examples *.tcl]] {
        if {[catch {one $file $folder} message]} {
            puts stderr "[file tail $file]: $message"
            set status 1
        }
    }
    return $status
}

exit [run_examples::main $argv]
