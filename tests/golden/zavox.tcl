# zavox: the bits of calc's functions and of the statistics, the text of vectors.
package require zavox

namespace eval golden_zavox {
    # Floats of all exponents, the same everywhere: a congruence's digits.
    proc floats {n low high} {
        set state 20260101
        set patterns {}
        for {set i 0} {$i < $n} {incr i} {
            set state [expr {$state * 48271 % 2147483647}]
            set exponent [expr {$low + ($state >> 8) % ($high - $low + 1)}]
            set state [expr {$state * 48271 % 2147483647}]
            lappend patterns [expr {($state & 0x7FFFFF) | $exponent << 23 | ($state >> 30 & 1) << 31}]
        }
        return [zavox::vector frombytes [binary format n* $patterns]]
    }
    # All bits of a vector in one number.
    proc digest {vector} {
        binary scan [zavox::vector bytes $vector] n* patterns
        set sum 0
        foreach pattern $patterns {
            set sum [expr {($sum * 31 + ($pattern & 0xFFFFFFFF)) & 0xFFFFFFFFFFFF}]
        }
        return [format %012lx $sum]
    }
    proc bits {vector} {
        binary scan [zavox::vector bytes $vector] n* patterns
        set result {}
        foreach pattern $patterns {
            lappend result [format %08x [expr {$pattern & 0xFFFFFFFF}]]
        }
        return $result
    }
    set x [floats 2000 1 254]
    set y [zavox::vector reverse $x]
    set u [floats 2000 117 130]
    set special {0.0 -0.0 1 -1 0.5 -0.5 2 Inf -Inf NaN 3.4028235e38 1e-45 1.1754944e-38 0.1 1048576 16777217}
    foreach f {abs acos asin atan ceil cos cosh exp floor isfinite isnan log log10 round sin sinh sqrt tan tanh trunc ! -} {
        golden zavox-$f text [list namespace eval ::golden_zavox \
            "list \[digest \[zavox::calc {${f}(\$x)}]] \[digest \[zavox::calc {${f}(\$u)}]] \[bits \[zavox::calc {${f}(\$special)}]]"]
    }
    foreach f {atan2 fmod hypot pow max min} {
        golden zavox-$f text [list namespace eval ::golden_zavox \
            "list \[digest \[zavox::calc {${f}(\$x, \$y)}]] \[digest \[zavox::calc {${f}(\$u, \[zavox::vector reverse \$u])}]]
                \[bits \[zavox::calc {${f}(\$special, \[zavox::vector reverse \$special])}]]"]
    }
    foreach op {+ - * / % ** < <= > >= == != && ||} {
        golden zavox-operator-$op text [list namespace eval ::golden_zavox \
            "list \[digest \[zavox::calc {\$u $op \[zavox::vector reverse \$u]}]] \[bits \[zavox::calc {\$special $op 1.5}]]"]
    }
    golden zavox-expression text {namespace eval ::golden_zavox {digest [zavox::calc {2*sin($u)+exp(-$u*$u)/($u > 0 ? $u : 1)}]}}
    golden zavox-statistics text {namespace eval ::golden_zavox {
        list [zavox::vector sum $x] [zavox::vector mean $u] [zavox::vector variance $u] [zavox::vector sd $u] \
            [zavox::vector dot $u $u] [zavox::vector norm $u] [zavox::vector quantile $u 0.1 0.5 0.9] \
            [digest [zavox::vector cumsum $u]] [digest [zavox::vector sort $x]] [zavox::vector histogram $u -range {-2 2}]
    }}
    golden zavox-linspace text {namespace eval ::golden_zavox {bits [zavox::vector linspace -0.3 7.7 11]}}
    golden zavox-text text {namespace eval ::golden_zavox {zavox::vector range $x 0 59}}
}
