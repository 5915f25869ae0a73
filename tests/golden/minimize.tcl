# Minimisations from scripts. The objectives use + - * / alone, so that their
# values do not depend on the C library.
proc f_rosenbrock {x y} {
    set a [expr {$y - $x * $x}]
    set b [expr {1.0 - $x}]
    expr {100.0 * $a * $a + $b * $b}
}
proc f_singular {a b c d} {
    set p [expr {$a + 10.0 * $b}]
    set q [expr {$c - $d}]
    set r [expr {($b - 2.0 * $c) * ($b - 2.0 * $c)}]
    set s [expr {($a - $d) * ($a - $d)}]
    expr {$p * $p + 5.0 * $q * $q + $r * $r + 10.0 * $s * $s}
}
proc f_one {x} { expr {($x - 2.5) * ($x - 2.5) * ($x + 7.0)} }
proc f_hs76 {a b c d} {
    expr {$a * $a + 0.5 * $b * $b + $c * $c + 0.5 * $d * $d - $a * $c + $c * $d - $a - 3.0 * $b + $c - $d}
}
proc f_log {args} { lappend ::golden_heard {*}$args; return 1 }
proc f_error {x y} { error "[expr {$x * $x + ($y - 1.0) * ($y - 1.0)}] and a word" }

golden rosenbrock text { dynlist scope { zavo_min_uncon_multivar f_rosenbrock [dynlist create float {-1.2 1}] } }
golden singular text { dynlist scope { zavo_min_uncon_multivar f_singular [dynlist create float {3 -1 0 1}] } }
golden one text { zavo_min_uncon_multivar f_one }
golden by-script text { dynlist scope { zavo_min_uncon_multivar {{f_rosenbrock}} [dynlist create float {-1.2 1}] } }
golden error text { zavo_min_uncon_multivar f_error }
golden bounds text {
    dynlist scope {
        zavo_min_con_gen_lin f_rosenbrock [dynlist create float {-2 1}] [dynlist create float {-5 -1.5}] [dynlist create float {5 0.5}]
    }
}
golden hs76 text {
    dynlist scope {
        zavo_min_con_gen_lin f_hs76 [dynlist create float {0.5 0.5 0.5 0.5}] [dynlist create float {0 0 0 0}] \
            [dynlist create float {9 9 9 9}] 3 0 [dynlist create float {1 2 1 1 3 1 2 -1 0 -1 -4 0}] [dynlist create float {5 4 -1.5}]
    }
}
golden equality text {
    dynlist scope {
        zavo_min_con_gen_lin f_hs76 [dynlist create float {1 1 1 1}] [dynlist create float {-9 -9 -9 -9}] \
            [dynlist create float {9 9 9 9}] 2 1 [dynlist create float {1 1 1 1 1 0 0 -1}] [dynlist create float {1 2}]
    }
}
# What the procedure is called with: numbers of every size.
set ::golden_heard {}
golden heard text {
    dynlist scope {
        set values {3.4028234e38 -1e30 1e-7 0.0078125 0.0234375 123456.789 -0.0000004 1.5e9 16777217 Inf -Inf}
        proc f_wide {a b c d e f g h i j k} { lappend ::golden_heard $a $b $c $d $e $f $g $h $i $j $k; return 1 }
        zavo_min_uncon_multivar f_wide [dynlist create float $values]
    }
    lrange $::golden_heard 0 40
}
golden usage text { zavo_min_con_gen_lin }
golden not-a-procedure text { zavo_min_uncon_multivar no_such_procedure }
golden counts text {
    dynlist scope { zavo_min_con_gen_lin f_rosenbrock [dynlist create float {0 0}] [dynlist create float {0 0}] [dynlist create float {1 1}] 2 3 a b }
}
