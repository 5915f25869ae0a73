# Questions about dates.
#
#   tclsh examples/calendar.tcl weekday 20 7 1969          Sunday 20 July 1969
#   tclsh examples/calendar.tcl between 1 1 2000 29 2 2024 8825 days
#   tclsh examples/calendar.tcl add 29 2 2024 1000         a date so many days later
#   tclsh examples/calendar.tcl yearday 31 12 2024         day of the year, and the week
#   tclsh examples/calendar.tcl easter 2025                the Sunday
#   tclsh examples/calendar.tcl month 10 1582              a page of the calendar
#   tclsh examples/calendar.tcl                            the present month
#
# Dates are day, month and year: Gregorian from 15 October 1582 on, Julian before.
# There is no year 0; -1 is the year before 1. In a script: source this file and
# call calendar::weekday, calendar::easter and so on, which return plain values.

source [file join [file dirname [file normalize [info script]]] support packages.tcl]
package require zavo

namespace eval calendar {
    variable weekdays {Monday Tuesday Wednesday Thursday Friday Saturday Sunday}
    variable months {"" January February March April May June July August September October
        November December}
}

# 0 is Monday. Day number 0, 1 January 1900, was one.
proc calendar::weekday_index {days} {
    return [expr {$days % 7}]
}

proc calendar::weekday {day month year} {
    variable weekdays
    return [lindex $weekdays [weekday_index [zavo_date_to_days $day $month $year]]]
}

# Days from the first date to the second.
proc calendar::between {day1 month1 year1 day2 month2 year2} {
    return [expr {[zavo_date_to_days $day2 $month2 $year2] - [zavo_date_to_days $day1 $month1 $year1]}]
}

proc calendar::add {day month year days} {
    return [zavo_days_to_date [expr {[zavo_date_to_days $day $month $year] + $days}]]
}

# 1 is 1 January; 15 October 1582 is day 278.
proc calendar::yearday {day month year} {
    return [expr {[between 1 1 $year $day $month $year] + 1}]
}

# Year and number of the week by ISO 8601: weeks begin on Monday, and week 1 is the
# one with the year's first Thursday in it.
proc calendar::week {day month year} {
    set days [zavo_date_to_days $day $month $year]
    set thursday [zavo_days_to_date [expr {$days - [weekday_index $days] + 3}]]
    return [list [lindex $thursday 2] [expr {([yearday {*}$thursday] - 1) / 7 + 1}]]
}

# The Sunday after the first full moon of spring, as the church reckons moons.
# Golden number g: place in the 19-year cycle. Moon: days from 21 March to the full
# moon. The Julian table of moons was corrected for the Gregorian calendar (s: leap
# days left out, l: drift of the 19-year cycle), and two places of it are special.
proc calendar::easter {year} {
    if {$year < 1} {
        return -code error "there was no Easter in the year $year"
    }
    set g [expr {$year % 19}]
    if {$year <= 1582} {
        set moon [expr {(19 * $g + 15) % 30}]
    } else {
        set century [expr {$year / 100}]
        set s [expr {$century - $century / 4}]
        set l [expr {(8 * $century + 13) / 25}]
        set moon [expr {(19 * $g + 15 + $s - $l) % 30}]
        if {$moon == 29 || ($moon == 28 && $g > 10)} {
            incr moon -1
        }
    }
    set full_moon [expr {[zavo_date_to_days 21 3 $year] + $moon}]
    return [zavo_days_to_date [expr {$full_moon + 7 - ($full_moon + 1) % 7}]]
}

# A page of the calendar, Monday first; October 1582 has its gap.
proc calendar::month {month year} {
    variable months
    set first [zavo_date_to_days 1 $month $year]
    set days {}
    for {set n $first} {[lindex [set date [zavo_days_to_date $n]] 1] == $month} {incr n} {
        lappend days [lindex $date 0]
    }
    set title "[lindex $months $month] $year"
    set rows [list [format %*s [expr {(20 + [string length $title]) / 2}] $title] "Mo Tu We Th Fr Sa Su"]
    set row [lrange {"  " "  " "  " "  " "  " "  "} 1 [weekday_index $first]]
    foreach day $days {
        lappend row [format %2d $day]
        if {[llength $row] == 7} {
            lappend rows [join $row]
            set row {}
        }
    }
    if {[llength $row]} {
        lappend rows [join $row]
    }
    return [join $rows \n]
}

proc calendar::spelled {day month year} {
    variable months
    return "[weekday $day $month $year] $day [lindex $months $month] $year"
}

# The line that answers a command line.
proc calendar::answer {words} {
    set numbers [lrange $words 1 end]
    switch -- [lindex $words 0],[llength $numbers] {
        weekday,3 {return [spelled {*}$numbers]}
        between,6 {return "[between {*}$numbers] days"}
        add,4     {return [spelled {*}[add {*}$numbers]]}
        yearday,3 {
            lassign [week {*}$numbers] year week
            return "day [yearday {*}$numbers] of [lindex $numbers 2], week $week of $year"
        }
        easter,1  {return [spelled {*}[easter {*}$numbers]]}
        month,2   {return [month {*}$numbers]}
        ,0        {return [month {*}[scan [clock format [clock seconds] -format {%m %Y}] {%d %d}]]}
    }
    return -code error "say: weekday D M Y, between D M Y D M Y, add D M Y DAYS,\
        yearday D M Y, easter Y or month M Y"
}

# Run as a program, and not read by another script.
if {[info exists argv0] && [file normalize $argv0] eq [file normalize [info script]]} {
    if {[catch {calendar::answer $argv} result]} {
        puts stderr "calendar: $result"
        exit 1
    }
    puts $result
}
