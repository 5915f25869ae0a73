# The window of the explorer: controls on the left, the picture on the right, a line for
# messages with a progress bar and Stop below.

package require Tk
package require Plotchart

namespace eval explore {
    variable info ""     ;# of the file, see look_at
    variable record ""   ;# as it is looked at, units converted
    variable result ""   ;# what the last picture shows: a dictionary
    variable here [file dirname [file normalize [info script]]]
    variable busy 0
    variable stopped 0
    variable begun 0
    variable ui          ;# what the controls hold
    array set ui {
        view record time "row number" value "" step 1 unit "" detrend mean window hann model line
        axis values from "" to "" message "Open a CSV file." progress 0
    }
    variable converted {} ;# axis -> from and to of the units that have been applied
    variable colours {line #0b5cad mark #c2410c soft #9ca3af}
}

# ---- The window ----------------------------------------------------------------------

proc explore::open_window {} {
    variable ui
    variable models
    if {[tk windowingsystem] eq "x11" && "clam" in [ttk::style theme names]} {
        ttk::style theme use clam
    }
    wm title . "zavo explorer"
    ttk::frame .side -padding 8
    ttk::frame .main
    ttk::frame .foot -padding {8 4}
    grid .side .main -sticky nsew
    grid .foot - -sticky ew
    grid columnconfigure . 1 -weight 1
    grid rowconfigure . 0 -weight 1

    ttk::button .side.open -text "Open..." -underline 0 -command explore::choose_file
    pack .side.open -fill x
    labelled time "Time" [ttk::combobox .side.time -state readonly -width 18 -textvariable explore::ui(time)]
    labelled step "Distance of rows" [ttk::entry .side.step -width 18 -textvariable explore::ui(step)]
    labelled value "Values" [ttk::combobox .side.value -state readonly -width 18 -textvariable explore::ui(value)]
    ttk::label .side.units_label -text "Units of an axis, from and to"
    ttk::combobox .side.axis -state readonly -values {values time} -textvariable explore::ui(axis)
    ttk::frame .side.units
    ttk::entry .side.units.from -width 8 -textvariable explore::ui(from)
    ttk::entry .side.units.to -width 8 -textvariable explore::ui(to)
    ttk::button .side.units.convert -text "Convert" -width 8 -command {explore::act explore::convert_units}
    pack .side.units.from .side.units.to .side.units.convert -side left -fill x -expand 1
    pack .side.units_label -fill x -pady {6 0}
    pack .side.axis .side.units -fill x
    ttk::separator .side.line1
    pack .side.line1 -fill x -pady 8
    foreach {view words} {record "Record" spectrum "Spectrum" autocorrelation "Autocorrelation"
        histogram "Histogram" fit "Fit"} {
        ttk::radiobutton .side.view_$view -text $words -value $view -variable explore::ui(view) \
            -command {explore::act explore::draw}
        pack .side.view_$view -anchor w
    }
    ttk::separator .side.line2
    pack .side.line2 -fill x -pady 8
    labelled detrend "Take off" [ttk::combobox .side.detrend -state readonly -width 18 -values {none mean linear} \
        -textvariable explore::ui(detrend)]
    labelled window "Window" [ttk::combobox .side.window -state readonly -width 18 \
        -values {rectangle hann blackman flattop} -textvariable explore::ui(window)]
    labelled model "Model" [ttk::combobox .side.model -state readonly -width 18 -values [dict keys $models] \
        -textvariable explore::ui(model)]
    ttk::separator .side.line3
    pack .side.line3 -fill x -pady 8
    ttk::button .side.picture -text "Save picture..." -command explore::choose_picture
    ttk::button .side.script -text "Save script..." -command explore::choose_script
    pack .side.picture .side.script -fill x

    canvas .main.plot -background white -highlightthickness 0
    pack .main.plot -fill both -expand 1
    ttk::label .foot.message -textvariable explore::ui(message) -anchor w
    ttk::progressbar .foot.bar -maximum 1.0 -length 140 -variable explore::ui(progress)
    ttk::button .foot.stop -text Stop -command {set explore::stopped 1} -state disabled
    pack .foot.stop .foot.bar -side right -padx {6 0}
    pack .foot.message -side left -fill x -expand 1

    foreach name {time value} {
        bind .side.$name <<ComboboxSelected>> {explore::act explore::load}
    }
    bind .side.step <Return> {explore::act explore::load}
    foreach name {detrend window model} {
        bind .side.$name <<ComboboxSelected>> {explore::act explore::draw}
    }
    foreach name {from to} {
        bind .side.units.$name <Return> {explore::act explore::convert_units}
    }
    bind . <Control-o> explore::choose_file
    bind .foot.message <Configure> {.foot.message configure -wraplength [expr {max(100, %w - 4)}]}
    bind .main.plot <Configure> explore::resized
    enable
    # All controls show, whatever the fonts are.
    update idletasks
    set height [winfo reqheight .side]
    incr height [winfo reqheight .foot]
    wm minsize . [expr {[winfo reqwidth .side] + 380}] $height
    wm geometry . [expr {[winfo reqwidth .side] + 740}]x$height
}

proc explore::labelled {name words widget} {
    ttk::label .side.label_$name -text $words
    pack .side.label_$name .side.$name -fill x
    pack configure .side.label_$name -pady {6 0}
}

# The controls that make sense now.
proc explore::enable {} {
    variable busy
    variable info
    variable ui
    set ready [expr {!$busy && $info ne ""}]
    set views {detrend {spectrum autocorrelation} window spectrum model fit}
    foreach name {open time value step picture script detrend window model} {
        set on [expr {$name eq "open" ? !$busy : $ready}]
        if {[dict exists $views $name] && $ui(view) ni [dict get $views $name]} {
            set on 0
        }
        if {$name eq "step" && $ui(time) ne "row number"} {
            set on 0
        }
        .side.$name state [expr {$on ? "!disabled" : "disabled"}]
    }
    foreach view {record spectrum autocorrelation histogram fit} {
        .side.view_$view state [expr {$ready ? "!disabled" : "disabled"}]
    }
    .side.axis state [expr {$ready ? "!disabled" : "disabled"}]
    foreach name {from to convert} {
        .side.units.$name state [expr {$ready ? "!disabled" : "disabled"}]
    }
    .foot.stop state [expr {$busy ? "!disabled" : "disabled"}]
}

# ---- Work, progress, Stop --------------------------------------------------------------

# Runs a command with the controls locked; what it refuses is a message in the window.
proc explore::act {command} {
    variable busy
    variable stopped
    variable begun
    variable ui
    if {$busy} {
        return
    }
    set busy 1
    set stopped 0
    set begun [clock milliseconds]
    enable
    set status [catch {uplevel #0 $command} message options]
    set busy 0
    set ui(progress) 0
    if {$status == 1} {
        switch -glob -- [dict get $options -errorcode] {
            {EXPLORE STOPPED} {set ui(message) "Stopped."}
            {EXPLORE REFUSED} {set ui(message) $message}
            default {set ui(message) "This did not work: [lindex [split $message \n] 0]"}
        }
    }
    enable
}

# Replaces the one that does nothing. A fraction below 0: some more has been done.
proc explore::tick {fraction} {
    variable begun
    variable stopped
    variable shown_at
    variable ui
    set now [clock milliseconds]
    if {$now - $begun < 300 || ([info exists shown_at] && $now - $shown_at < 50 && $shown_at >= $begun)} {
        return
    }
    set shown_at $now
    if {$fraction >= 0} {
        set ui(progress) $fraction
    } else {
        set ui(progress) [expr {fmod($ui(progress) + 0.02, 1.0)}]
    }
    if {$now - $begun > 500} {
        set ui(message) "Working..."
    }
    update
    if {$stopped} {
        return -code error -errorcode {EXPLORE STOPPED} "stopped"
    }
}

# ---- Files -----------------------------------------------------------------------------

proc explore::choose_file {} {
    set file [tk_getOpenFile -filetypes {{{Tables} {.csv .txt .tsv .dat}} {{All files} *}}]
    if {$file ne ""} {
        open_file $file
    }
}

proc explore::open_file {file} {
    act [list explore::take_file $file]
}

proc explore::take_file {file} {
    variable info
    variable record
    variable ui
    variable converted
    set info ""
    set record ""
    clear
    wm title . "zavo explorer"
    set found [look_at $file]
    # The first column that can be a time, and the last one of numbers.
    set times {"row number"}
    set values {}
    foreach name [dict get $found names] kind [dict get $found kinds] {
        if {$kind ne "words"} {
            lappend times $name
        }
        if {$kind eq "numbers"} {
            lappend values $name
        }
    }
    .side.time configure -values $times
    .side.value configure -values $values
    set ui(value) [lindex $values end]
    set ui(time) [lindex $times [expr {[llength $times] > 2 || "dates" in [dict get $found kinds]}]]
    set ui(from) ""
    set ui(to) ""
    set ui(view) record
    set converted {}
    set info $found
    wm title . "[file tail $file] - zavo explorer"
    # Years that repeat for each month are no times: count the rows then.
    if {[catch {load} message options]} {
        if {[string match "The times do not go up*" $message] || $ui(time) eq $ui(value)} {
            set ui(time) "row number"
            load
        } else {
            set info ""
            return -options $options $message
        }
    }
}

proc explore::column {name} {
    variable info
    return [lsearch -exact [dict get $info names] $name]
}

proc explore::load {} {
    variable info
    variable record
    variable converted
    variable ui
    set step $ui(step)
    if {![string is double -strict $step] || $step <= 0} {
        refuse "The distance of rows must be a number above 0, not \"$step\"."
    }
    set time [expr {$ui(time) eq "row number" ? -1 : [column $ui(time)]}]
    set record [read_record $info $time [column $ui(value)] $step]
    dict for {axis units} $converted {
        set record [converted $record $axis {*}$units]
    }
    draw
}

proc explore::convert_units {} {
    variable record
    variable converted
    variable ui
    if {$ui(from) eq "" || $ui(to) eq ""} {
        refuse "Say two units, such as mile/hour and m/s."
    }
    set record [converted $record $ui(axis) $ui(from) $ui(to)]
    # Twice is once with the first and the last unit.
    set first $ui(from)
    if {[dict exists $converted $ui(axis)]} {
        set first [lindex [dict get $converted $ui(axis)] 0]
    }
    dict set converted $ui(axis) [list $first $ui(to)]
    set ui(from) $ui(to)
    draw
}

# ---- Pictures --------------------------------------------------------------------------

proc explore::clear {} {
    variable result ""
    .main.plot delete all
}

proc explore::resized {} {
    variable record
    variable busy
    variable pending
    if {$record eq "" || $busy} {
        return
    }
    if {[info exists pending]} {
        after cancel $pending
    }
    set pending [after 200 {explore::act explore::draw}]
}

proc explore::number_text {value} {
    return [format %.5g $value]
}

# What the holes and the times had to be taken for, behind a message.
proc explore::remarks {} {
    variable record
    set text ""
    if {[dict get $record holes] > 0} {
        append text " [dict get $record holes] missing values were filled by straight lines."
    }
    if {![dict get $record even]} {
        append text " The times are not evenly spaced: the mean distance is used."
    }
    return $text
}

proc explore::draw {} {
    variable ui
    variable record
    variable result
    if {$record eq ""} {
        refuse "Open a CSV file first."
    }
    enable
    set made [draw_$ui(view)]
    set result $made
    set ui(message) "[dict get $made message][remarks]"
}

# A scale from low to high that Plotchart likes.
proc explore::scale {values} {
    set low [tcl::mathfunc::min {*}$values]
    set high [tcl::mathfunc::max {*}$values]
    if {$low == $high} {
        set low [expr {$low - 0.5}]
        set high [expr {$high + 0.5}]
    }
    return [::Plotchart::determineScale $low $high]
}

# Draws curves on new axes: series is a list of {name style xs ys}, style `line`, `mark`
# or `steps`. Returns the plot.
proc explore::plot_curves {title x_title y_title series {from_zero 0}} {
    variable colours
    set all_x {}
    set all_y [expr {$from_zero ? [list 0] : {}}]
    set thin {}
    foreach one $series {
        lassign $one name style xs ys
        lassign [thinned $xs $ys [expr {max(100, [winfo width .main.plot] - 140)}]] xs ys
        lappend thin [list $name $style $xs $ys]
        lappend all_x [tcl::mathfunc::min {*}$xs] [tcl::mathfunc::max {*}$xs]
        lappend all_y [tcl::mathfunc::min {*}$ys] [tcl::mathfunc::max {*}$ys]
    }
    .main.plot delete all
    set plot [::Plotchart::createXYPlot .main.plot [scale $all_x] [scale $all_y]]
    $plot title $title
    $plot xtext $x_title
    $plot ytext $y_title
    foreach one $thin {
        lassign $one name style xs ys
        $plot dataconfig $name -colour [dict get $colours [expr {$style eq "mark" ? "mark" : "line"}]] \
            -width [expr {$style eq "mark" ? 2 : 1}]
        if {$style eq "steps"} {
            $plot dataconfig $name -filled down -fillcolour #cfe0f3
        }
        foreach x $xs y $ys {
            $plot plot $name $x $y
        }
    }
    return $plot
}

proc explore::time_title {} {
    variable ui
    set title $ui(time)
    if {$ui(time) eq "row number" && $ui(step) != 1} {
        append title " times [number_text $ui(step)]"
    }
    return $title[unit_of time]
}

proc explore::unit_of {axis} {
    variable converted
    return [expr {[dict exists $converted $axis] ? " in [lindex [dict get $converted $axis] 1]" : ""}]
}

proc explore::value_title {} {
    variable ui
    return $ui(value)[unit_of values]
}

# A label at a place of the plot, kept within it.
proc explore::label_at {plot x y words} {
    variable colours
    # Plotchart knows a plot by the name of its command, less the kind.
    lassign [::Plotchart::coordsToPixel [string range $plot [string length xyplot_] end] $x $y] px py
    set colour [dict get $colours mark]
    .main.plot create oval [expr {$px - 3}] [expr {$py - 3}] [expr {$px + 3}] [expr {$py + 3}] \
        -outline $colour -fill $colour -tags peak
    set text [.main.plot create text [expr {$px + 6}] [expr {max(30, $py - 2)}] -text $words -anchor sw \
        -fill $colour -tags {peak peak_label}]
    # Not over another label.
    for {set tries 0} {$tries < 10} {incr tries} {
        set others 0
        foreach item [.main.plot find overlapping {*}[.main.plot bbox $text]] {
            incr others [expr {$item != $text && "peak_label" in [.main.plot gettags $item]}]
        }
        if {!$others} {
            break
        }
        .main.plot move $text 0 -8
    }
}

proc explore::draw_record {} {
    variable record
    variable ui
    tick -1
    plot_curves [value_title] [time_title] [value_title] \
        [list [list record line [dict get $record times] [dict get $record values]]]
    tick -1
    lassign [mean_sd [dict get $record values]] mean sd
    return [dict create view record mean $mean sd $sd message "[dict get $record count] values, mean\
        [number_text $mean], standard deviation [number_text $sd]."]
}

proc explore::draw_spectrum {} {
    variable record
    variable ui
    tick -1
    lassign [spectrum $record $ui(detrend) $ui(window)] xs ys
    tick -1
    set found [peaks $xs $ys]
    # Where next to nothing is left above some frequency, the picture ends there.
    set last [worth_drawing $ys]
    set title "frequency: waves in a unit of time"
    if {$last < [llength $xs] - 1} {
        append title "; drawn to [number_text [lindex $xs $last]] of [number_text [lindex $xs end]]"
    }
    set plot [plot_curves "Spectrum of [value_title]" $title amplitude \
        [list [list spectrum line [lrange $xs 0 $last] [lrange $ys 0 $last]]] 1]
    foreach {x y} $found {
        if {$x <= [lindex $xs $last]} {
            label_at $plot $x $y [number_text $x]
        }
    }
    set words {}
    foreach {x y} [lrange $found 0 5] {
        lappend words "[number_text $x] (period [number_text [expr {1.0 / $x}]])"
    }
    return [dict create view spectrum peaks $found message [expr {[llength $found] ?
        "Strongest: [join $words {, }]." : "No peak stands out."}]]
}

# The place in a spectrum up to which 80 % of the power lies, four times as far.
proc explore::worth_drawing {amplitudes} {
    set total 0.0
    foreach amplitude $amplitudes {
        set total [expr {$total + $amplitude * $amplitude}]
    }
    set sum 0.0
    set place 0
    foreach amplitude $amplitudes {
        set sum [expr {$sum + $amplitude * $amplitude}]
        if {$sum >= 0.8 * $total} {
            break
        }
        incr place
    }
    return [expr {min([llength $amplitudes] - 1, max(40, 4 * $place))}]
}

proc explore::draw_autocorrelation {} {
    variable record
    variable ui
    lassign [autocorrelation $record $ui(detrend)] xs ys
    # Behind the first zero: the next maximum is where the record is like itself again.
    set below 0
    while {$below < [llength $ys] && [lindex $ys $below] > 0} {
        incr below
    }
    set best [peaks [lrange $xs $below end] [lrange $ys $below end] 1]
    set plot [plot_curves "Autocorrelation of [value_title]" "lag in units of time" correlation \
        [list [list correlation line $xs $ys]]]
    set message "No period stands out."
    if {[llength $best]} {
        lassign $best x y
        label_at $plot $x $y [number_text $x]
        set message "Most like itself again after [number_text $x]: [number_text $y]."
    }
    return [dict create view autocorrelation peaks $best message $message]
}

proc explore::draw_histogram {} {
    variable record
    variable pi
    lassign [histogram $record] edges counts mean sd
    set xs [list [lindex $edges 0]]
    set ys [list 0]
    foreach left [lrange $edges 0 end-1] right [lrange $edges 1 end] count $counts {
        lappend xs $left $right
        lappend ys $count $count
    }
    lappend xs [lindex $edges end]
    lappend ys 0
    set curve_x {}
    set curve_y {}
    set width [expr {[lindex $edges 1] - [lindex $edges 0]}]
    set n [dict get $record count]
    for {set i 0} {$i <= 200} {incr i} {
        set x [expr {[lindex $edges 0] + $i / 200.0 * ([lindex $edges end] - [lindex $edges 0])}]
        lappend curve_x $x
        lappend curve_y [expr {$n * $width / ($sd * sqrt(2 * $pi)) * exp(-0.5 * (($x - $mean) / $sd)**2)}]
    }
    plot_curves "Histogram of [value_title]" [value_title] "values" \
        [list [list histogram steps $xs $ys] [list normal mark $curve_x $curve_y]] 1
    return [dict create view histogram edges $edges counts $counts message "[llength $counts] bins; the curve is the\
        normal distribution of mean [number_text $mean] and deviation [number_text $sd]."]
}

proc explore::draw_fit {} {
    variable record
    variable ui
    set fit [fit $record $ui(model)]
    lassign [dict get $fit curve] xs ys
    plot_curves "[value_title] and a [dict get $fit model]" [time_title] [value_title] \
        [list [list record line [dict get $record times] [dict get $record values]] [list fit mark $xs $ys]]
    set words {}
    foreach {name value} [dict get $fit results] {
        lappend words "$name [number_text $value]"
    }
    set message "[join $words {, }]; standard error [number_text [dict get $fit error]]; the fit ended: [dict get $fit status]."
    if {[dict get $fit every] > 1} {
        append message " Every [dict get $fit every]th value was used."
    }
    return [dict create view fit results [dict get $fit results] status [dict get $fit status] \
        error [dict get $fit error] message $message]
}

# ---- Saving ----------------------------------------------------------------------------

proc explore::choose_picture {} {
    set types {{{SVG picture} .svg} {{PostScript} .ps}}
    if {[can_photograph]} {
        lappend types {{PNG picture} .png}
    }
    set file [tk_getSaveFile -filetypes $types -defaultextension .svg]
    if {$file ne ""} {
        act [list explore::save_picture $file]
    }
}

# Img photographs windows; PNG is Tk's own from 8.6 on.
proc explore::can_photograph {} {
    return [expr {![catch {package require img::window}] &&
        ([package vsatisfies [package require Tk] 8.6-] || ![catch {package require img::png}])}]
}

proc explore::save_picture {file} {
    variable ui
    switch -- [string tolower [file extension $file]] {
        .ps - .eps {
            .main.plot postscript -file $file
        }
        .png {
            if {![can_photograph]} {
                refuse "PNG pictures need the Tcl package Img (Debian: libtk-img); .svg and .ps need nothing."
            }
            raise .
            update
            set image [image create photo -format window -data .main.plot]
            $image write $file -format png
            image delete $image
        }
        default {
            write_text $file [svg_of .main.plot]
        }
    }
    set ui(message) "Saved $file"
}

proc explore::write_text {file text} {
    if {[catch {
        set channel [open $file w]
        fconfigure $channel -encoding utf-8 -translation lf
        puts -nonewline $channel $text
        close $channel
    } message]} {
        refuse "The file cannot be written: $message"
    }
}

# A canvas as SVG: the kinds of items that Plotchart draws.
proc explore::svg_of {canvas} {
    set width [winfo width $canvas]
    set height [winfo height $canvas]
    set items {}
    foreach item [$canvas find all] {
        if {[$canvas itemcget $item -state] eq "hidden"} {
            continue
        }
        set points {}
        foreach {x y} [$canvas coords $item] {
            lappend points [format %.1f,%.1f $x $y]
        }
        set points [join $points " "]
        lassign [$canvas coords $item] x1 y1 x2 y2
        switch -- [$canvas type $item] {
            line {
                lappend items "<polyline points=\"$points\" fill=\"none\" stroke=\"[colour_of [$canvas itemcget $item -fill]]\"\
                    stroke-width=\"[$canvas itemcget $item -width]\"/>"
            }
            polygon {
                lappend items "<polygon points=\"$points\" fill=\"[colour_of [$canvas itemcget $item -fill]]\"\
                    stroke=\"[colour_of [$canvas itemcget $item -outline]]\"/>"
            }
            rectangle {
                lappend items "<rect x=\"$x1\" y=\"$y1\" width=\"[expr {$x2 - $x1}]\" height=\"[expr {$y2 - $y1}]\"\
                    fill=\"[colour_of [$canvas itemcget $item -fill]]\" stroke=\"[colour_of [$canvas itemcget $item -outline]]\"/>"
            }
            oval {
                lappend items "<ellipse cx=\"[expr {($x1 + $x2) / 2}]\" cy=\"[expr {($y1 + $y2) / 2}]\"\
                    rx=\"[expr {($x2 - $x1) / 2}]\" ry=\"[expr {($y2 - $y1) / 2}]\"\
                    fill=\"[colour_of [$canvas itemcget $item -fill]]\"/>"
            }
            text {
                lassign [$canvas bbox $item] left top right bottom
                set words [string map {& &amp; < &lt; > &gt;} [$canvas itemcget $item -text]]
                set turn [expr {[catch {$canvas itemcget $item -angle} angle] || $angle == 0 ? "" :
                    " transform=\"rotate(-$angle $x1 $y1)\""}]
                if {$words ne "" && $left ne ""} {
                    lappend items "<text x=\"[expr {($left + $right) / 2}]\" y=\"[expr {($top + $bottom) / 2 + 4}]\"\
                        text-anchor=\"middle\" font-family=\"sans-serif\" font-size=\"11\"\
                        fill=\"[colour_of [$canvas itemcget $item -fill]]\"$turn>$words</text>"
                }
            }
        }
    }
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"$width\" height=\"$height\"\
        viewBox=\"0 0 $width $height\">\n<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n[join $items \n]\n</svg>\n"
}

proc explore::colour_of {name} {
    if {$name eq ""} {
        return none
    }
    lassign [winfo rgb . $name] r g b
    return [format #%02x%02x%02x [expr {$r / 257}] [expr {$g / 257}] [expr {$b / 257}]]
}

proc explore::choose_script {} {
    set file [tk_getSaveFile -filetypes {{{Tcl script} .tcl}} -defaultextension .tcl]
    if {$file ne ""} {
        act [list explore::save_script $file]
    }
}

proc explore::save_script {file} {
    variable ui
    write_text $file [script]
    set ui(message) "Saved $file; run it with tclsh."
}

# The script that repeats what the picture shows: it reads the file again, prepares the
# record in the same way, and prints the numbers.
proc explore::script {} {
    variable info
    variable ui
    variable converted
    variable here
    set time [expr {$ui(time) eq "row number" ? -1 : [column $ui(time)]}]
    set lines [list "# Made by zavo-explore: the [string map {fit {fit of a model}} $ui(view)] of the column \"$ui(value)\"." \
        "lappend auto_path [package_folders]" "source [list [file join $here record.tcl]]" "" \
        "set info \[explore::look_at [list [dict get $info file]]\]" \
        "set record \[explore::read_record \$info $time [column $ui(value)] $ui(step)\]"]
    dict for {axis units} $converted {
        lappend lines "set record \[explore::converted \$record $axis $units\]"
    }
    lappend lines ""
    switch -- $ui(view) {
        record {
            lappend lines {foreach time [dict get $record times] value [dict get $record values] {puts "$time $value"}}
        }
        spectrum {
            lappend lines "lassign \[explore::spectrum \$record $ui(detrend) $ui(window)\] frequencies amplitudes" \
                {foreach {frequency amplitude} [explore::peaks $frequencies $amplitudes] {
    puts [format "frequency %.5g, period %.5g, amplitude %.5g" $frequency [expr {1.0 / $frequency}] $amplitude]
}}
        }
        autocorrelation {
            lappend lines "lassign \[explore::autocorrelation \$record $ui(detrend)\] lags correlations" \
                {foreach lag $lags correlation $correlations {puts "$lag $correlation"}}
        }
        histogram {
            lappend lines {lassign [explore::histogram $record] edges counts mean deviation} \
                {foreach left [lrange $edges 0 end-1] right [lrange $edges 1 end] count $counts {puts "$left $right $count"}} \
                {puts [format "mean %.5g, deviation %.5g" $mean $deviation]}
        }
        fit {
            lappend lines "set fit \[explore::fit \$record $ui(model)\]" \
                {foreach {name value} [dict get $fit results] {puts [format "%s %.5g" $name $value]}} \
                {puts [format "standard error %.5g, the fit ended: %s" [dict get $fit error] [dict get $fit status]]}
        }
    }
    return [join $lines \n]\n
}

# Where this interpreter found the packages.
proc explore::package_folders {} {
    set folders {}
    foreach folder [lsort -unique $::auto_path] {
        if {[file exists [file join $folder zavo1.0 pkgIndex.tcl]]} {
            lappend folders [file normalize $folder]
        }
    }
    return $folders
}
