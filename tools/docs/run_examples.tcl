# run_examples.tcl: runs every example as the first command line of its head says,
# with a picture where it can draw one, for the manual's gallery and pages.
#
#   tclsh tools/docs/run_examples.tcl ?-nopictures? examples pictures_folder
#
# That line is "tclsh examples/NAME.tcl words ?picture.png?   what it does", or one that
# begins with another program of the system, which is run where it is to be had.
#
# pictures_folder gets NAME.png, and NAME.txt with the command line and what it
# prints. The status is 1 when an example failed.
package require Tcl 8.5-
source [file join [file dirname [info script]] ../start_again.tcl]

namespace eval run_examples {
    variable pictures 1
}

# The first command line at the head of an example.
proc run_examples::usage {file} {
    set channel [open $file]
    fconfigure $channel -encoding utf-8
    set text [read $channel]
    close $channel
    set name [file tail $file]
    if {![regexp -line "^# +(\\S.*)?(tclsh examples/$name.*)$" $text -> before line]} {
        error "no line \"tclsh examples/$name ...\" at its head"
    }
    return [list $before $line]
}

proc run_examples::one {file folder} {
    variable pictures
    set name [file rootname [file tail $file]]
    lassign [usage $file] before line
    if {$before ne ""} {
        return [one_by_shell $file $folder $before$line]
    }
    regsub {\s{2,}\S.*$} [string trimright $line] {} line ;# what stands behind it explains it
    set draws [regsub {\?picture\.png\?} $line {} line]
    set draws [expr {$draws && $pictures}]
    set arguments [lrange [regexp -all -inline {\S+} $line] 2 end]
    set picture [file join $folder $name.png]
    set command [concat $arguments [expr {$draws ? [list $picture] : {}}]]
    set output [exec -ignorestderr [info nameofexecutable] $file {*}$command]
    if {$draws && ![file exists $picture]} {
        error "$name drew no picture"
    }
    # What a user's line shows is the file name, not our folder.
    write_output $name $folder [concat [list tclsh examples/$name.tcl] $arguments [expr {$draws ? "$name.png" : {}}]] \
        [string map [list $picture $name.png] $output]
}

proc run_examples::one_by_shell {file folder line} {
    if {$::tcl_platform(platform) ne "unix" || [auto_execok [lindex $line 0]] eq ""} {
        return
    }
    set here [pwd]
    cd [file dirname [file dirname [file normalize $file]]]
    set failed [catch {exec -ignorestderr sh -c [string map [list "tclsh " "[info nameofexecutable] "] $line]} output]
    cd $here
    if {$failed} {
        error $output
    }
    write_output [file rootname [file tail $file]] $folder $line $output
}

proc run_examples::write_output {name folder line output} {
    set channel [open [file join $folder $name.txt] w]
    fconfigure $channel -encoding utf-8
    puts $channel "\$ $line\n$output"
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
