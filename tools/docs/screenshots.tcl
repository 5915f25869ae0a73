# screenshots.tcl: the explorer's windows, for the manual.
#
#   xvfb-run wish tools/docs/screenshots.tcl pictures_folder
package require Tcl 8.6-
package require img::window

set pictures [file normalize [lindex $argv 0]]
set root [file dirname [file dirname [file dirname [file normalize [info script]]]]]
set argv {}
set argc 0
source [file join $root apps zavo-explore]

proc photograph {name} {
    update
    raise .
    after 200
    update
    set image [image create photo -format window -data .]
    $image write [file join $::pictures explorer_$name.png] -format png
    image delete $image
}

wm geometry . +20+20
explore::open_file [file join $root examples data sunspot_year.csv]
photograph record
foreach view {spectrum autocorrelation histogram} {
    .side.view_$view invoke
    photograph $view
}
explore::open_file [file join $root examples data co2.csv]
set explore::ui(time) "row number"
set explore::ui(step) 0.083333333
explore::act explore::load
set explore::ui(model) parabola
.side.view_fit invoke
photograph fit
exit
