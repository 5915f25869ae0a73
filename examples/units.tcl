# Converts between units of measure.
#
#   tclsh examples/units.tcl 60 mile/hour km/hour     one conversion
#   tclsh examples/units.tcl 60 mph in km/h           the same
#   tclsh examples/units.tcl                          a prompt; ? there tells more
#
# Or, in a script: source it and call  units::convert 60 mph km/h
#
# zavo_constant knows units but converts constants only. A pure number is the way
# round: pi comes back divided by the size of the unit that it is asked for in, so
#
#   zavo_constant pi km/hour/(mile/hour), divided by pi, is 1.609344
#
# The library reads units in its own way: case does not matter, two letters are a
# prefix and a unit (ft is a femto-tesla), and some rows are surprising (SEC has no
# dimension). The names below are put right before it sees them. Results are single
# precision: six digits are good.

source [file join [file dirname [file normalize [info script]]] support packages.tcl]
package require zavo

namespace eval units {
    variable pi [zavo_constant pi]

    # name {number unit}: the library lacks these, or takes them for something else.
    variable meaning
    array set meaning {
        inch     {1 in}          inches   {1 in}          ft     {1 foot}        yd      {1 yard}
        mi       {1 mile}        nmi      {1852 m}        micron {1 micrometer}  ly      {9.4607305e15 m}
        h        {1 hour}        hr       {1 hour}        d      {1 day}         sec     {1 second}
        week     {7 day}         wk       {7 day}         yr     {1 year}        angstroem {1 angstrom}
        l        {1 liter}       gal      {231 in^3}      gallon {231 in^3}      pint    {28.875 in^3}
        ha       {10000 m^2}     hectare  {10000 m^2}     cc     {1 cm^3}        are     {100 m^2}
        lbs      {1 lb}          t        {1000 kg}       tonne  {1000 kg}       stone   {14 lb}
        mph      {1 mile/hour}   kph      {1 km/hour}     knot   {1852 m/hour}   kt      {1852 m/hour}
        Pa       {1 pascal}      pa       {1 pascal}      psi    {4.4482216 N/in^2}  torr {133.32237 pascal}
        mmHg     {133.32239 pascal}  lbf  {4.4482216 N}   kgf    {9.80665 N}     dyn     {1 dyne}
        cal      {4.184 J}       Wh       {1 W*hour}      eV     {1.6021774e-19 J}   hp  {745.69987 W}
        C        {1 coulomb}     F        {1 farad}       H      {1 henry}       G       {1e-4 tesla}
        gauss    {1e-4 tesla}    Hz       {1 hertz}       Wb     {1 weber}       mol     {1 mole}
        rpm      {1 1/minute}    %        {0.01 1}        minutes {1 minute}
    }
    # Read from the library itself.
    set meaning(au) [list [zavo_constant au] m]
    set meaning(amu) [list [zavo_constant amu] kg]

    # Prefix letters, with their case; the library would read M as milli.
    variable power_of_prefix
    array set power_of_prefix {a -18 f -15 p -12 n -9 u -6 µ -6 m -3 c -2 d -1 da 1 h 2 k 3 M 6 G 9 T 12}

    # Temperatures with a zero of their own: kelvins a degree, and kelvins at 0.
    variable thermometer
    array set thermometer {
        celsius {1 273.15} degc {1 273.15} °c {1 273.15}
        fahrenheit {0.5555555555555556 255.3722222222222} degf {0.5555555555555556 255.3722222222222}
        °f {0.5555555555555556 255.3722222222222} kelvin {1 0} degk {1 0} k {1 0}
    }
}

# True when the library has the unit: a unit of the wrong dimension is refused by
# l_cunit, an unknown one already by l_c3nit.
proc units::is_known {name} {
    return [expr {![catch {zavo_constant pi 1*$name} message] || ![string match l_c3nit:* $message]}]
}

# {number expression} of one name.
proc units::resolve {name} {
    variable meaning
    variable power_of_prefix
    foreach spelling [list $name [string tolower $name]] {
        if {[info exists meaning($spelling)]} {
            return $meaning($spelling)
        }
    }
    # A prefix letter before a name of our own, or before one letter: M counts as mega.
    if {[regexp {^(da|[afpnuµmcdhkMGT])(.+)$} $name -> prefix rest]} {
        set ours [info exists meaning($rest)]
        if {$ours || ([string length $rest] == 1 || ![is_known $name]) && [is_known $rest]} {
            lassign [expr {$ours ? $meaning($rest) : [list 1 $rest]}] number expression
            return [list [expr {$number * 10.0 ** $power_of_prefix($prefix)}] $expression]
        }
    }
    if {[is_known $name]} {
        return [list 1 $name]
    }
    if {[regexp {^(.{3,})s$} $name -> singular]} {
        return [resolve $singular]
    }
    return -code error "there is no unit \"$name\""
}

# Multiplies the product in the caller's variables by an expression to a power:
# `number`, and the powers of the library's units in the array `powers`.
proc units::multiply {numberVar powersVar expression power} {
    upvar 1 $numberVar number $powersVar powers
    set sign 1
    foreach {- operator factor} [regexp -all -inline {([*/]?)([^*/]+)} $expression] {
        set sign [expr {$operator eq "/" ? -1 : 1}]
        if {![regexp {^\s*([^^\s]+)\s*(?:\^\s*([-+]?\d{1,3})\s*)?$} $factor -> name exponent]} {
            return -code error "cannot read \"[string trim $factor]\""
        }
        set exponent [expr {$power * $sign * ($exponent eq "" ? 1 : [scan $exponent %d])}]
        if {[string is double -strict $name] && $name != 1} {
            set number [expr {$number * double($name) ** $exponent}]
            continue
        }
        lassign [resolve $name] size inner
        set number [expr {$number * double($size) ** $exponent}]
        if {$inner eq $name || ![regexp {[*/^]} $inner]} {
            incr powers([string tolower $inner]) $exponent
        } else {
            multiply number powers $inner $exponent
        }
    }
}

# The units of the array to `times` their powers, as an expression.
proc units::product {powersVar times} {
    upvar 1 $powersVar powers
    set factors {}
    foreach name [lsort [array names powers]] {
        if {$powers($name) != 0} {
            lappend factors $name^[expr {$times * $powers($name)}]
        }
    }
    return [join $factors *]
}

# The value in the other unit. The variable named by noteVar says when standard
# gravity stood in between.
proc units::convert {value from to {noteVar {}}} {
    variable pi
    variable thermometer
    if {$noteVar ne ""} {
        upvar 1 $noteVar note
    }
    set note ""
    if {![string is double -strict $value]} {
        return -code error "\"$value\" is not a number"
    }
    set scales [list [string tolower $from] [string tolower $to]]
    if {[info exists thermometer([lindex $scales 0])] && [info exists thermometer([lindex $scales 1])]} {
        lassign [concat $thermometer([lindex $scales 0]) $thermometer([lindex $scales 1])] a a0 b b0
        return [expr {($value * $a + $a0 - $b0) / $b}]
    }
    set number 1.0
    array set powers {}
    multiply number powers $from -1
    multiply number powers $to 1
    set expression [product powers 1]
    if {$expression eq ""} {
        return [expr {$value / $number}]
    }
    if {[catch {zavo_constant pi $expression} scaled]} {
        return -code error "$from and $to measure different things"
    }
    # The squares of two units still agree, unless gravity bridged a difference.
    if {[catch {zavo_constant pi [product powers 2]}]} {
        set note "weight at standard gravity, 9.80665 m/s^2"
    }
    set result [expr {$value / $number * ($scaled / $pi)}]
    if {abs($result) == Inf || ($scaled == 0 && $value != 0)} {
        return -code error "the units are too far apart for single precision"
    }
    return $result
}

# A request as words: ?value? from ?in|to? to. Gives the line to print.
proc units::answer {words} {
    set value 1
    if {[regexp {^([-+]?(?:\d+\.?\d*|\.\d+)(?:[eE][-+]?\d+)?)(.*)$} [lindex $words 0] -> value rest]} {
        set words [concat $rest [lrange $words 1 end]]
    }
    if {[llength $words] == 3 && [string tolower [lindex $words 1]] in {in to as -> =}} {
        set words [lreplace $words 1 1]
    }
    if {[llength $words] != 2} {
        return -code error "say, for example: 60 mile/hour in km/hour"
    }
    lassign $words from to
    set result [convert $value $from $to note]
    # Some systems print three digits in an exponent.
    set shown [regsub {e([-+])0(\d\d)$} [format %.6g $result] {e\1\2}]
    return "$value $from = $shown $to[expr {$note eq "" ? "" : "  ($note)"}]"
}

proc units::help {} {
    return {60 mile/hour in km/hour      a conversion; the value may be left out
constant planck erg*s        a constant, in a unit or as it is
quit
Units: m, foot, in, yard, mile, au, parsec; g, lb, oz, tonne; s, min, hour, day, year;
N, dyne, lbf; Pa, bar, atm, psi; J, erg, cal, btu, eV; W, hp; liter, gal; V, ohm, farad ...
Prefixes: letters (km, MW) or words (kilometer). Joined by * and /, powers as m^2.}
}

proc units::prompt {} {
    puts "Units. For example: 60 mile/hour in km/hour. ? for help, quit to leave."
    while {[puts -nonewline "> "; flush stdout; gets stdin line] >= 0} {
        set words [regexp -all -inline {\S+} $line]
        switch -- [lindex $words 0] {
            "" continue
            quit - exit - q break
            ? - help {puts [help]}
            constant {catch {zavo_constant {*}[lrange $words 1 2]} result; puts $result}
            default {catch {answer $words} result; puts $result}
        }
    }
}

# Run as a program, and not read by another script.
if {[info exists argv0] && [file normalize $argv0] eq [file normalize [info script]]} {
    if {$argc == 0} {
        units::prompt
    } elseif {[catch {units::answer [regexp -all -inline {\S+} [join $argv]]} result]} {
        puts stderr "units: $result"
        exit 1
    } else {
        puts $result
    }
}
