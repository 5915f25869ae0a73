# Blends petrol at the least cost: 100 tonnes from four components, within limits
# on octane number, vapour pressure and sulphur, and on what is in stock.
#
#   tclsh examples/blend.tcl
#
#     component     price/t   octane   vapour kPa   sulphur ppm   stock t
#     reformate       840       98         22            2           55
#     naphtha         610       71         75            9           60
#     alkylate        900       94         32            1           30
#     cracked         700       91         51           24           50
#
# The bill is the sum of the prices plus a surcharge of the last two suppliers that
# grows with the square of what is bought, so the least cost is no corner of the
# feasible region, as it is in linear programming.
#
# How to scale a problem for zavo_min_con_gen_lin
# ------------------------------------------------
# * The procedure gets its variables with six decimals and is probed in steps of
#   about 0.0003, or 0.0003 times a variable greater than 1. Variables are shares
#   of the blend here, between 0 and 1; amounts in grams or in kilotonnes would be
#   probed too finely to notice or too coarsely to be right.
# * The value should be about 1, its changes of interest 0.001 or more: cost is in
#   units of 1000 a tonne. The run ends when the gradient along the constraints is
#   below 0.00035, so a cost in units of a million would end it at once.
# * A row of constraints may be multiplied by any positive number without changing
#   the problem. Divide so that its elements are about 1; the rows below are
#   divided by the octane number, pressure and sulphur content allowed.
# * Rows are "<=": a lower limit is multiplied by -1. The equalities stand first.

source [file join [file dirname [file normalize [info script]]] support packages.tcl]
package require morvel
package require zavo

namespace eval blend {
    variable names   {reformate naphtha alkylate cracked}
    variable prices  {840 610 900 700}
    variable octane  {98 71 94 91}
    variable vapour  {22 75 32 51}
    variable sulphur {2 9 1 24}
    variable stock   {55 60 30 50}
    variable least_octane 92.0
    variable most_vapour 45.0
    variable most_sulphur 10.0
    variable tonnes 100.0
}

# Sum of products.
proc blend::mixed {property shares} {
    set sum 0.0
    foreach each $property share $shares {
        set sum [expr {$sum + $each * $share}]
    }
    return $sum
}

# Cost of a tonne, in thousands.
proc blend::cost {a b c d} {
    variable prices
    set surcharge [expr {400.0 * ($c * $c + $d * $d)}]
    return [expr {([mixed $prices [list $a $b $c $d]] + $surcharge) / 1000.0}]
}

proc blend::scaled {property factor} {
    set row {}
    foreach each $property {
        lappend row [expr {$each * $factor}]
    }
    return $row
}

# Shares of the components.
proc blend::solve {} {
    variable octane
    variable vapour
    variable sulphur
    variable stock
    variable least_octane
    variable most_vapour
    variable most_sulphur
    variable tonnes
    set rows {1 1 1 1}                                             ;# shares add up to 1
    lappend rows {*}[scaled $octane [expr {-1 / $least_octane}]]   ;# octane >= least
    lappend rows {*}[scaled $vapour [expr {1 / $most_vapour}]]     ;# pressure <= most
    lappend rows {*}[scaled $sulphur [expr {1 / $most_sulphur}]]   ;# sulphur <= most
    return [dynlist scope {
        zavo_min_con_gen_lin blend::cost \
            [dynlist create float {0.25 0.25 0.25 0.25}] \
            [dynlist create float {0 0 0 0}] \
            [dynlist create float [scaled $stock [expr {1 / $tonnes}]]] \
            4 1 [dynlist create float $rows] [dynlist create float {1 -1 1 1}]
    }]
}

set shares [blend::solve]
foreach name $blend::names share $shares {
    puts [format "%-10s %7.2f t" $name [expr {$share * $blend::tonnes}]]
}
puts [format "octane %.2f, vapour pressure %.2f kPa, sulphur %.2f ppm" [blend::mixed $blend::octane $shares] \
    [blend::mixed $blend::vapour $shares] [blend::mixed $blend::sulphur $shares]]
puts [format "%.2f a tonne" [expr {1000 * [blend::cost {*}$shares]}]]
