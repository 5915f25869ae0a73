# Transforms, convolution and correlation. The inputs come from a generator of
# integers, exact in floats, so that they are the same everywhere.
proc numbers {n {seed 1}} {
    set values {}
    for {set i 0} {$i < $n} {incr i} {
        set seed [expr {($seed * 16807) % 2147483647}]
        lappend values [expr {($seed % 20001 - 10000) / 4096.0}]
    }
    return $values
}

# Calls a command with float lists of the given values and further words, frees
# the lists and returns the result.
proc call {lists command args} {
    set made {}
    foreach values $lists {
        lappend made [dynlist create float $values]
    }
    set status [catch {$command {*}$made {*}$args} result]
    dynlist free {*}$made
    return -code $status $result
}

foreach n {1 2 3 4 5 6 7 8 9 11 12 15 16 20 25 30 32 36 45 48 49 60 64 77 100 121} {
    golden real-$n list [list call [list [numbers $n]] zavo_fft_real]
    golden real-back-$n list [list call [list [numbers $n]] zavo_fft_real BACKWARD]
}
foreach n {128 210 243 256 480 625 1000 1009 1024 2310 4096 5000 10007 12000 65536 100000} {
    golden real-$n digest [list call [list [numbers $n]] zavo_fft_real]
    golden real-back-$n digest [list call [list [numbers $n]] zavo_fft_real BACKWARD]
}
set inner [dynlist create list [list [dynlist create float [numbers 5]]]]
set nested [dynlist create list [list $inner [dynlist create float [numbers 3]] [dynlist create float 7]]]
golden real-nested list {zavo_fft_real $nested}
dynlist free $nested
foreach {m n} {1 1 1 6 6 1 2 3 4 4 5 7 8 10} {
    set values [numbers [expr {2 * $m * $n}]]
    golden matrix-$m-$n list [list call [list $values] zavo_fft_2d_complex $m $n]
    golden matrix-back-$m-$n list [list call [list $values] zavo_fft_2d_complex $m $n BACKWARD]
}
foreach {m n} {16 17 33 64 60 100 101 48 128 128} {
    set values [numbers [expr {2 * $m * $n}]]
    golden matrix-$m-$n digest [list call [list $values] zavo_fft_2d_complex $m $n]
    golden matrix-back-$m-$n digest [list call [list $values] zavo_fft_2d_complex $m $n BACKWARD]
}
foreach {nx ny} {1 1 3 5 4 4 8 3 13 13 30 20} {
    foreach command {convolution correlation} {
        golden $command-$nx-$ny list [list call [list [numbers $nx] [numbers $ny 7]] zavo_$command]
    }
}
set x [dynlist create float [numbers 24]]
golden autocorrelation list {zavo_correlation $x $x}
dynlist free $x
golden convolution-1000 digest [list call [list [numbers 1000] [numbers 900 7]] zavo_convolution]
golden empty text {call {{}} zavo_fft_real}
golden empty-matrix text {call {{}} zavo_fft_2d_complex 0 3}
golden empty-convolution text {call {{} 1} zavo_convolution}
golden bad-datatype text {zavo_correlation [dynlist create int 1] [dynlist create float 1]}
