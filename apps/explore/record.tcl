# Records: a column of numbers from a CSV file, with the times that belong to it, and
# what is computed from them. No windows here.
#
# Work that may take long calls `explore::tick fraction` now and then; whoever shows
# progress replaces it, and may end the work by an error.

package require csv
package require zavo
package require morvel
package require zavox

namespace eval explore {
    variable missing {"" - . NA N/A NaN nan na null NULL ?}
    variable pi 3.141592653589793
}

proc explore::tick {fraction} {}

# An error that is meant for the user's eyes.
proc explore::refuse {text} {
    return -code error -errorcode {EXPLORE REFUSED} $text
}

# ---- Files ---------------------------------------------------------------------------

proc explore::open_text {file} {
    if {[catch {open $file} channel]} {
        refuse "The file cannot be opened: [string trim [lindex [split $channel :] end]]"
    }
    fconfigure $channel -encoding utf-8
    return $channel
}

# The cells of a line. Most lines have no quotes, and csv need not look at them.
proc explore::cells {line separator} {
    if {[string first \" $line] < 0} {
        return [split $line $separator]
    }
    return [::csv::split $line $separator]
}

# A number as the file spells it, in Tcl's spelling; "" when it is none.
proc explore::number {cell separator} {
    set cell [string trim $cell]
    if {$separator eq ";"} {
        set cell [string map {, .} $cell]
    }
    if {[string is double -strict $cell] && $cell == $cell && abs($cell) < 3e38} {
        return $cell
    }
    return ""
}

proc explore::is_date {cell} {
    return [regexp {^\s*[-+]?\d{4,}-\d\d-\d\d\s*$} $cell]
}

# What a file holds, from its first lines: a dictionary with file, separator, header
# (0 or 1 lines), names, and of each column `numbers`, `dates` or `words`.
proc explore::look_at {file} {
    set channel [open_text $file]
    set text [read $channel 65536]
    set whole [eof $channel]
    close $channel
    if {[string trim $text] eq ""} {
        refuse "[file tail $file] is empty."
    }
    if {[string first \0 $text] >= 0 || [regexp -all {[\x01-\x08\x0e-\x1f\ufffd]} $text] > 8} {
        refuse "[file tail $file] is not a text file, so no CSV either."
    }
    set lines {}
    foreach line [split $text \n] {
        set line [string trimright $line \r]
        if {[string trim $line] ne ""} {
            lappend lines $line
        }
    }
    if {!$whole} {
        set lines [lrange $lines 0 end-1] ;# the last one may be cut
    }
    set lines [lrange $lines 0 199]
    # Commas may be decimal ones, where semicolons or tabs stand between the cells.
    set separator ,
    foreach candidate {; \t} {
        set count [llength [cells [lindex $lines 0] $candidate]]
        if {$count > 1 && $count == [llength [cells [lindex $lines end] $candidate]]} {
            set separator $candidate
            break
        }
    }
    set best [llength [cells [lindex $lines end] $separator]]
    set first [cells [lindex $lines 0] $separator]
    set header 1
    foreach cell $first {
        if {[number $cell $separator] ne "" || [is_date $cell]} {
            set header 0
        }
    }
    set names {}
    set kinds {}
    for {set i 0} {$i < $best} {incr i} {
        set name [string trim [lindex $first $i]]
        lappend names [expr {$header && $name ne "" ? $name : "column [expr {$i + 1}]"}]
        lappend kinds [kind_of [lrange $lines $header end] $i $separator]
    }
    if {[lsearch $kinds numbers] < 0} {
        refuse "[file tail $file] has no column of numbers. A CSV file has lines such as 1988,100.2"
    }
    return [dict create file [file normalize $file] separator $separator header $header names $names kinds $kinds]
}

# More than half of what is there decides.
proc explore::kind_of {lines column separator} {
    variable missing
    set counts {numbers 0 dates 0 words 0}
    foreach line $lines {
        set cell [string trim [lindex [cells $line $separator] $column]]
        if {[number $cell $separator] ne ""} {
            dict incr counts numbers
        } elseif {[is_date $cell]} {
            dict incr counts dates
        } elseif {$cell ni $missing} {
            dict incr counts words
        }
    }
    foreach kind {numbers dates} {
        if {[dict get $counts $kind] > [dict get $counts words]} {
            return $kind
        }
    }
    return words
}

# ---- Records -------------------------------------------------------------------------

# The record of two columns, by number from 0; a time column of -1 counts the rows from
# 0 in units of `step`. A dictionary: times, values, count, step, holes, even.
proc explore::read_record {info time_column value_column {step 1.0}} {
    set separator [dict get $info separator]
    set dates [expr {$time_column >= 0 && [lindex [dict get $info kinds] $time_column] eq "dates"}]
    set size [expr {max(1, [file size [dict get $info file]])}]
    set channel [open_text [dict get $info file]]
    if {[dict get $info header]} {
        gets $channel
    }
    set times {}
    set values {}
    set holes 0
    set rest ""
    set failed [catch {
        while {![eof $channel]} {
            set block $rest[read $channel 400000]
            set rest ""
            if {![eof $channel]} {
                set end [string last \n $block]
                set rest [string range $block [expr {$end + 1}] end]
                set block [string range $block 0 [expr {$end - 1}]]
            }
            set block [string trim $block \n]
            if {$block eq ""} {
                continue
            }
            if {$dates || ![plain_rows $block $separator $time_column $value_column times values]} {
                incr holes [any_rows $block $separator $time_column $value_column $dates times values]
            }
            tick [expr {double([tell $channel]) / $size}]
        }
        if {$time_column < 0} {
            for {set row 0} {$row < [llength $values]} {incr row} {
                lappend times [expr {$row * $step}]
            }
        }
    } message options]
    close $channel
    if {$failed} {
        return -options $options $message
    }
    set count [llength $values]
    if {$count < 4} {
        refuse "There are $count values in the column; it takes four at least."
    }
    set values [filled $values]
    set record [dict create times $times values $values count $count holes $holes]
    if {$time_column < 0} {
        dict set record step $step
        dict set record even 1
    } else {
        lassign [spacing $times] spacing even
        dict set record step $spacing
        dict set record even $even
    }
    return $record
}

# Rows in which everything is a plain number, as in most files: read at once, and
# checked as a whole. Returns 0, and has read nothing, when something is not.
proc explore::plain_rows {block separator time_column value_column timesVar valuesVar} {
    upvar 1 $timesVar times $valuesVar values
    if {$separator eq ";" && [string first , $block] >= 0 || [regexp {[a-df-zA-DF-Z\"]} $block]} {
        return 0
    }
    set new_times {}
    set new_values {}
    if {$time_column >= 0} {
        foreach line [split $block \n] {
            set row [split $line $separator]
            lappend new_times [lindex $row $time_column]
            lappend new_values [lindex $row $value_column]
        }
    } else {
        foreach line [split $block \n] {
            lappend new_values [lindex [split $line $separator] $value_column]
        }
    }
    foreach list [list $new_times $new_values] {
        if {[catch {dynlist create float $list} name]} {
            return 0
        }
        dynlist free $name
    }
    lappend times {*}$new_times
    lappend values {*}$new_values
    return 1
}

# Rows of any kind: quoted cells, dates, decimal commas, holes. Returns the number of
# holes: values that are missing stand as empty, rows without a time are left out.
proc explore::any_rows {block separator time_column value_column dates timesVar valuesVar} {
    upvar 1 $timesVar times $valuesVar values
    set holes 0
    foreach line [split $block \n] {
        if {[string trim $line] eq ""} {
            continue
        }
        set row [cells $line $separator]
        if {$time_column >= 0} {
            set time [string trim [lindex $row $time_column]]
            if {$dates} {
                if {[catch {zavox::days $time} time]} {
                    set time ""
                }
            } else {
                set time [number $time $separator]
            }
            if {$time eq ""} {
                incr holes
                continue
            }
            lappend times $time
        }
        set value [number [lindex $row $value_column] $separator]
        incr holes [expr {$value eq ""}]
        lappend values $value
    }
    return $holes
}

# Straight lines over the holes; the ends keep the nearest value.
proc explore::filled {values} {
    if {[lsearch -exact $values ""] < 0} {
        return $values
    }
    set result {}
    set last ""
    set open 0
    foreach value $values {
        if {$value eq ""} {
            incr open
            continue
        }
        for {set i 1} {$i <= $open} {incr i} {
            lappend result [expr {$last eq "" ? $value : $last + ($value - $last) * double($i) / ($open + 1)}]
        }
        lappend result $value
        set last $value
        set open 0
    }
    if {$last eq ""} {
        refuse "The column holds no numbers."
    }
    for {} {$open > 0} {incr open -1} {
        lappend result $last
    }
    return $result
}

# Mean distance of the times, and whether all are near it: within ten percent, as months
# are.
proc explore::spacing {times} {
    set n [llength $times]
    set step [expr {(double([lindex $times end]) - [lindex $times 0]) / ($n - 1)}]
    if {$step <= 0} {
        refuse "The times do not go up: choose another column, or the row number."
    }
    set even 1
    set before ""
    foreach time $times {
        if {$before ne "" && abs(($time - $before) - $step) > 0.1 * $step} {
            set even 0
            break
        }
        set before $time
    }
    return [list $step $even]
}

# ---- What is computed ----------------------------------------------------------------

proc explore::mean_sd {values} {
    set n [llength $values]
    set mean [expr {[tcl::mathop::+ {*}$values] / double($n)}]
    set sum 0.0
    foreach value $values {
        set sum [expr {$sum + ($value - $mean) * ($value - $mean)}]
    }
    return [list $mean [expr {sqrt($sum / ($n - 1))}]]
}

# The values less their mean (`mean`) or their straight line (`linear`).
proc explore::detrended {values how} {
    if {$how eq "none"} {
        return $values
    }
    set n [llength $values]
    lassign [mean_sd $values] mean
    set slope 0.0
    set middle [expr {($n - 1) / 2.0}]
    if {$how eq "linear"} {
        set t [expr {-$middle}]
        set sum 0.0
        foreach value $values {
            set sum [expr {$sum + $t * $value}]
            set t [expr {$t + 1}]
        }
        set slope [expr {$sum / (double($n) * ($n * double($n) - 1) / 12)}]
    }
    set t [expr {-$middle}]
    set result {}
    foreach value $values {
        lappend result [expr {$value - $mean - $slope * $t}]
        set t [expr {$t + 1}]
    }
    return $result
}

# Frequencies and amplitudes: {frequency amplitude}, two lists.
proc explore::spectrum {record detrend window} {
    set result [zavox::spectrum [dict get $record values] -step [dict get $record step] \
        -detrend $detrend -window $window]
    return [list [dict get $result frequency] [dict get $result amplitude]]
}

# The strongest local maxima, strongest first: {x y ...}.
proc explore::peaks {xs ys {most 5}} {
    set found {}
    set least [expr {0.05 * [tcl::mathfunc::max {*}$ys]}]
    foreach before [lrange $ys 0 end-2] here [lrange $ys 1 end-1] after [lrange $ys 2 end] x [lrange $xs 1 end-1] {
        if {$here > $before && $here >= $after && $here > $least && $x > 0} {
            lappend found [list $x $here]
        }
    }
    set result {}
    foreach pair [lrange [lsort -real -decreasing -index 1 $found] 0 [expr {$most - 1}]] {
        lappend result {*}$pair
    }
    return $result
}

# Lags in units of time, and the correlation of the record with itself, 1 at lag 0; to a
# third of the record's length.
proc explore::autocorrelation {record detrend} {
    set values [detrended [dict get $record values] [expr {$detrend eq "none" ? "mean" : $detrend}]]
    set n [llength $values]
    # Of the full correlation, lag 0 stands at place n-1.
    tick -1
    set all [zavox::correlate $values $values]
    tick -1
    set zero [lindex $all [expr {$n - 1}]]
    if {$zero == 0} {
        refuse "All values are the same: there is nothing to correlate."
    }
    set lags {}
    set correlation {}
    for {set k 0} {$k <= $n / 3} {incr k} {
        if {$k % 50000 == 0} {
            tick -1
        }
        lappend lags [expr {$k * [dict get $record step]}]
        lappend correlation [expr {[lindex $all [expr {$n - 1 + $k}]] / $zero}]
    }
    return [list $lags $correlation]
}

# {edges counts mean sd}: equal bins from the least to the greatest value.
proc explore::histogram {record} {
    set values [dict get $record values]
    set low [tcl::mathfunc::min {*}$values]
    set high [tcl::mathfunc::max {*}$values]
    if {$low == $high} {
        refuse "All values are $low: there is no histogram."
    }
    set n [llength $values]
    set bins [expr {min(60, max(8, int(ceil(2 * pow($n, 1/3.0)))))}]
    set width [expr {(double($high) - $low) / $bins}]
    set done 0
    foreach value $values {
        incr in([expr {int(($value - $low) / $width)}])
        if {[incr done] % 50000 == 0} {
            tick [expr {double($done) / $n}]
        }
    }
    # The greatest value belongs into the last bin.
    set counts {}
    set edges [list $low]
    for {set i 0} {$i < $bins} {incr i} {
        lappend edges [expr {$low + ($i + 1) * $width}]
        lappend counts [expr {[info exists in($i)] ? $in($i) : 0}]
    }
    if {[info exists in($bins)]} {
        lset counts end [expr {[lindex $counts end] + $in($bins)}]
    }
    return [concat [list $edges $counts] [mean_sd $values]]
}

# ---- Models --------------------------------------------------------------------------
#
# In scaled variables: u from 0 to 1 over the record, y of mean 0 and deviation 1, so that
# parameters are about 1. Each row: words, parameters of y(u), y as an expression of u,
# a b c d, and what the parameters mean in the record's own units (t0, T: first time and
# length; m, s: mean and deviation).
namespace eval explore {
    variable models {
        line        {"straight line" {a b} {$a + $b*$u}
                     {"value at the start" {$m + $s*$a} "slope" {$s*$b/$T}}}
        parabola    {"parabola" {a b c} {$a + $b*$u + $c*$u*$u}
                     {"value at the start" {$m + $s*$a} "slope at the start" {$s*$b/$T} "bend" {2*$s*$c/($T*$T)}}}
        exponential {"exponential" {a b c} {$a + $b*exp(-$u/(abs($c) + 1e-3))}
                     {"final value" {$m + $s*$a} "height" {$s*$b} "time constant" {(abs($c) + 1e-3)*$T}}}
        sine        {"sine wave" {a b c d} {$a + $b*sin(6.283185307179586*$d*$u) + $c*cos(6.283185307179586*$d*$u)}
                     {"mean" {$m + $s*$a} "amplitude" {$s*hypot($b,$c)} "period" {$T/abs($d + $offset)}}}
    }
    variable fitted {} ;# u y u y ... while a fit runs
}

# Fits a model: a dictionary with names and values of the parameters, status and message
# of the run, the standard error, the curve as {times values}, points used.
proc explore::fit {record model} {
    variable models
    variable fitted
    variable pi
    lassign [dict get $models $model] words parameters expression meanings
    set times [dict get $record times]
    set values [dict get $record values]
    lassign [mean_sd $values] m s
    if {$s == 0} {
        refuse "All values are the same: there is nothing to fit."
    }
    set t0 [lindex $times 0]
    set T [expr {double([lindex $times end]) - $t0}]
    # Two thousand points tell a smooth curve.
    set every [expr {max(1, [llength $values] / 2000)}]
    set fitted {}
    for {set i 0} {$i < [llength $values]} {incr i $every} {
        lappend fitted [expr {([lindex $times $i] - $t0) / $T}] [expr {([lindex $values $i] - $m) / $s}]
    }
    set n [expr {[llength $fitted] / 2}]
    set start [dict get {line {0 0} parabola {0 0 0} exponential {0 1 0.3} sine {}} $model]
    # A wave fits only from near by: begin at the strongest line of the spectrum, with d
    # the distance from there in waves over the record, and the phase found there.
    set offset 0.0
    if {$model eq "sine"} {
        lassign [spectrum $record mean hann] frequencies amplitudes
        set strongest [lindex [peaks $frequencies $amplitudes 1] 0]
        set offset [expr {$strongest eq "" ? 1.0 : $strongest * $T}]
        set b 0.0
        set c 0.0
        foreach {u y} $fitted {
            set b [expr {$b + 2 * $y * sin(2 * $pi * $offset * $u) / $n}]
            set c [expr {$c + 2 * $y * cos(2 * $pi * $offset * $u) / $n}]
        }
        set start [list 0 $b $c 0]
        set expression [string map [list \$d (\$d+$offset)] $expression]
    }
    proc misfit $parameters [string map [list @ $expression %n $n] {
        variable fitted
        set sum 0.0
        foreach {u y} $fitted {
            set sum [expr {$sum + ((@) - $y)**2}]
        }
        tick -1
        return [expr {$sum / %n}]
    }]
    if {[llength [info commands ::zavox::minimize]]} {
        set outcome [zavox::minimize ::explore::misfit $start -spread]
        set solution [dict get $outcome x]
        set status [dict get $outcome status]
        set message [dict get $outcome message]
    } else {
        set solution [dynlist scope {zavo_min_uncon_multivar ::explore::misfit [dynlist create float $start]}]
        set again [dynlist scope {zavo_min_uncon_multivar ::explore::misfit [dynlist create float $solution]}]
        set gain [expr {[misfit {*}$solution] - [misfit {*}$again]}]
        set status [expr {$gain < 1e-4 ? "converged" : "uncertain"}]
        set message ""
        set solution $again
    }
    set misfit [misfit {*}$solution]
    foreach $parameters $solution {}
    set results {}
    foreach {name meaning} $meanings {
        lappend results $name [expr $meaning]
    }
    set curve_times {}
    set curve_values {}
    for {set i 0} {$i <= 1000} {incr i} {
        set u [expr {$i / 1000.0}]
        lappend curve_times [expr {$t0 + $u * $T}]
        lappend curve_values [expr {$m + $s * ([expr $expression])}]
    }
    set freedom [expr {max(1, $n - [llength $parameters])}]
    return [dict create model $words results $results status $status message $message points $n every $every \
        error [expr {$s * sqrt($misfit * $n / $freedom)}] curve [list $curve_times $curve_values]]
}

# ---- Units ---------------------------------------------------------------------------

# The record with its `values` or its `time` in another unit.
proc explore::converted {record axis from to} {
    if {[catch {zavox::convert 1 $from $to} factor]} {
        refuse "Cannot convert $from into $to: [lindex [split $factor \n] 0]"
    }
    set key [expr {$axis eq "time" ? "times" : "values"}]
    set scaled {}
    foreach value [dict get $record $key] {
        lappend scaled [expr {$value * $factor}]
    }
    dict set record $key $scaled
    if {$axis eq "time"} {
        dict set record step [expr {[dict get $record step] * $factor}]
    }
    return $record
}

# ---- Pictures ------------------------------------------------------------------------

# At most two points for each of `columns` places along x: the least and the greatest
# value there, in their order. A long record looks the same and is drawn at once.
proc explore::thinned {xs ys columns} {
    set n [llength $xs]
    if {$n <= 2 * $columns} {
        return [list $xs $ys]
    }
    set thin_x {}
    set thin_y {}
    for {set c 0} {$c < $columns} {incr c} {
        set first [expr {$c * $n / $columns}]
        set part [lrange $ys $first [expr {($c + 1) * $n / $columns - 1}]]
        set low [tcl::mathfunc::min {*}$part]
        set high [tcl::mathfunc::max {*}$part]
        set at_low [lsearch -real $part $low]
        set at_high [lsearch -real $part $high]
        foreach place [lsort -integer -unique [list $at_low $at_high]] {
            lappend thin_x [lindex $xs [expr {$first + $place}]]
            lappend thin_y [lindex $part $place]
        }
        if {$c % 100 == 0} {
            tick -1
        }
    }
    return [list $thin_x $thin_y]
}
