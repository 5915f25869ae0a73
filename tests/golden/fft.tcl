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

foreach n {1 2 3 4 5 6 7 8 9 11 12 15 16 20 25 30 32 36 45 48 49 60 64 77 100 121} {
    golden real-$n list "dynlist scope {zavo_fft_real \[dynlist create float \[numbers $n\]\]}"
    golden real-back-$n list "dynlist scope {zavo_fft_real \[dynlist create float \[numbers $n\]\] BACKWARD}"
}
foreach n {128 210 243 256 480 625 1000 1009 1024 2310 4096 5000 10007 12000 65536 100000} {
    golden real-$n digest "zavo_fft_real \[dynlist create float \[numbers $n\]\]"
    golden real-back-$n digest "zavo_fft_real \[dynlist create float \[numbers $n\]\] BACKWARD"
}
golden real-nested list {
    set inner [dynlist create list [list [dynlist create float [numbers 5]]]]
    zavo_fft_real [dynlist create list [list $inner [dynlist create float [numbers 3]] [dynlist create float 7]]]
}
foreach {m n} {1 1 1 6 6 1 2 3 4 4 5 7 8 10} {
    golden matrix-$m-$n list "zavo_fft_2d_complex \[dynlist create float \[numbers [expr {2 * $m * $n}]\]\] $m $n"
    golden matrix-back-$m-$n list \
        "zavo_fft_2d_complex \[dynlist create float \[numbers [expr {2 * $m * $n}]\]\] $m $n BACKWARD"
}
foreach {m n} {16 17 33 64 60 100 101 48 128 128} {
    golden matrix-$m-$n digest "zavo_fft_2d_complex \[dynlist create float \[numbers [expr {2 * $m * $n}]\]\] $m $n"
    golden matrix-back-$m-$n digest \
        "zavo_fft_2d_complex \[dynlist create float \[numbers [expr {2 * $m * $n}]\]\] $m $n BACKWARD"
}
foreach {nx ny} {1 1 3 5 4 4 8 3 13 13 30 20} {
    foreach command {convolution correlation} {
        golden $command-$nx-$ny list \
            "zavo_$command \[dynlist create float \[numbers $nx\]\] \[dynlist create float \[numbers $ny 7\]\]"
    }
}
golden autocorrelation list {
    set x [dynlist create float [numbers 24]]
    zavo_correlation $x $x
}
golden convolution-1000 digest {
    zavo_convolution [dynlist create float [numbers 1000]] [dynlist create float [numbers 900 7]]
}
golden empty text {zavo_fft_real [dynlist create float {}]}
golden empty-matrix text {zavo_fft_2d_complex [dynlist create float {}] 0 3}
golden empty-convolution text {zavo_convolution [dynlist create float {}] [dynlist create float 1]}
golden bad-datatype text {zavo_correlation [dynlist create int 1] [dynlist create float 1]}
