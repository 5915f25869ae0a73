# Random deviates. The stream is seeded from the clock at loading, so a script
# sees shapes and errors; the deviates themselves are compared by the routines.
foreach command {zavo_random_uniform zavo_random_normal zavo_random_exp} {
    golden $command-type text "dynlist scope {dynlist type \[$command 5\]}"
    golden $command-nested text "dynlist scope {
        set r \[$command \[dynlist create int {2 3}\]\]
        list \[dynlist type \$r\] \[llength \[dynlist get \$r 0\]\] \[llength \[dynlist get \$r 1\]\]
    }"
    golden $command-zero text "$command 0"
    golden $command-list text "dynlist scope {$command \[dynlist create int {2 -1}\]}"
    golden $command-floats text "dynlist scope {$command \[dynlist create float 2\]}"
}
