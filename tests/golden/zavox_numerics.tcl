# Deviates, transforms, spectra, convolutions, conversions and minima of zavox: the
# bytes of vectors as digests, what scripts see of the rest.
package require zavox

proc bits {vector} {
    binary scan [zavox::vector bytes $vector] H* digits
    return $digits
}
# The FNV-1a hash of the bytes.
proc digest {vector} {
    set hash 2166136261
    binary scan [zavox::vector bytes $vector] c* bytes
    foreach byte $bytes {
        set hash [expr {(($hash ^ ($byte & 255))*16777619) & 0xffffffff}]
    }
    format "%d %08x" [zavox::vector length $vector] $hash
}
proc start {generator seed} {
    zavox::random generator $generator
    zavox::random seed $seed
}
start 1 20261122
set noise [zavox::random uniform 3000]

foreach g {1 2 3 4 5 6} {
    golden random-$g text "start $g 4711; list \[digest \[zavox::random uniform 500\]\] \
        \[digest \[zavox::random normal 500 3 0.7\]\] \[digest \[zavox::random exponential 500 2.5\]\] \
        \[zavox::random seed\]"
}
foreach g {1 3 5} {
    golden jump-$g text "start $g 7; zavox::random jump 1234567890123; zavox::random seed"
}
golden state text {start 2 5; zavox::random uniform 10; lrange [zavox::random state] 0 3}
golden quantiles text {bits [zavox::random quantile {1e-30 1e-7 0.01 0.2 0.5 0.9 0.999999}]}
zavox::random generator 1

foreach n {1 2 17 30 97 101 1009 1024 1331 2197 2999} {
    golden real-$n text "set s \[zavox::fft real \[zavox::vector range \$noise 0 [expr {$n - 1}]\]\]
        list \[digest \[lindex \$s 0\]\] \[digest \[lindex \$s 1\]\] \[digest \[zavox::fft inverse \$s $n\]\]"
    golden complex-$n text "set x \[zavox::vector range \$noise 0 [expr {$n - 1}]\]
        set s \[zavox::fft complex \[list \$x \[zavox::vector reverse \$x\]\]\]
        list \[digest \[lindex \$s 0\]\] \[digest \[lindex \[zavox::fft complex \$s -inverse\] 1\]\]"
}
foreach {rows columns} {8 12 7 17 31 5} {
    golden plane-$rows-$columns text "set x \[zavox::vector range \$noise 0 [expr {$rows*$columns - 1}]\]
        set s \[zavox::fft plane \[list \$x \$x\] $rows $columns\]
        list \[digest \[lindex \$s 0\]\] \[digest \[lindex \[zavox::fft plane \$s $rows $columns -inverse\] 0\]\]"
}
foreach window {rectangle hann blackman flattop} {
    foreach detrend {none mean linear} {
        golden spectrum-$window-$detrend text "set s \[zavox::spectrum \$noise -step 0.01 -window $window \
            -detrend $detrend -segment 500\]
            list \[digest \[dict get \$s frequency\]\] \[digest \[dict get \$s amplitude\]\] \[digest \[dict get \$s power\]\]"
    }
}
golden spectrum-prime text {digest [dict get [zavox::spectrum $noise -segment 1009] power]}
foreach count {1 5 64 65 700 2999} {
    foreach mode {full same valid circular} {
        golden convolve-$count-$mode text "list \
            \[digest \[zavox::convolve \$noise \[zavox::vector range \$noise 0 [expr {$count - 1}]\] -mode $mode\]\] \
            \[digest \[zavox::correlate \[zavox::vector range \$noise 0 [expr {$count - 1}]\] \$noise -mode $mode\]\]"
    }
}

golden convert text {list [zavox::convert 1 foot m] [zavox::convert 3.7 mile/hour m/s] [bits [zavox::convert {1 2 1e30} km^3 foot^3]]}
golden constants text {set v {}; foreach name [zavox::constant] {lappend v [zavox::constant $name]}; bits $v}
golden dates text {zavox::date {-2147483648 -693598 -115861 -115860 0 46345 2147483647}}

# No function of the C library in these, for its last bits are its own.
proc banana {x} {lassign $x a b; expr {100*($b - $a*$a)*($b - $a*$a) + (1 - $a)*(1 - $a)}}
proc rational {x} {
    lassign $x a b c
    set sum 0.0
    foreach t {0.5 1 1.5 2 3 4 6} y {0.31 0.55 0.7 0.84 1.02 1.13 1.27} {
        set r [expr {$a*$t/($b + $t) + $c - $y}]
        set sum [expr {$sum + $r*$r}]
    }
    return $sum
}
proc outcome {args} {
    set out [zavox::minimize {*}$args]
    set text [list [bits [dict get $out x]] [dict get $out status] [dict get $out code] [dict get $out evaluations] \
        [dict get $out gradients] [dict get $out iterations]]
    if {[dict exists $out active]} {
        lappend text [dict get $out active] [bits [dict get $out multipliers]]
    }
    return $text
}
golden banana text {outcome banana {-1.2 1}}
golden banana-forward text {outcome banana {-1.2 1} -differences forward}
golden banana-bounded text {outcome banana {-1.2 1} -upper {0.5 Inf}}
golden banana-rows text {outcome banana {-1.2 1} -equal {{{1 1}} 1} -atmost {{{1 0}} 0.4}}
golden rational text {outcome rational {1 1 0}}
golden rational-bounded text {outcome rational {1 1 0} -lower {0 0 0} -upper {5 5 0.01}}
