# The call itself: commands of short work, whose time is that of the interpreter,
# the lists and the way through the library. Shortest of many runs, lists freed
# between them; microseconds a call.
package require Tcl 8.5-
package require zavo
package require morvel

# label, script, goal in microseconds (0 promises nothing)
set calls {
    {fft of 64 values}      {zavo_fft_real $p}            0.7
    {fft of 1024 values}    {zavo_fft_real $q}            0
    {1 uniform deviate}     {zavo_random_uniform 1}       0.3
    {64 normal deviates}    {catch {zavo_random_normal 64}} 0
    {convolution of 64}     {zavo_convolution $p $p}      0
    {machine constant}      {zavo_f_machine 4}            0
}

set p [dynlist create float [lrepeat 64 1.5]]
set q [dynlist create float [lrepeat 1024 1.5]]
set kept [dynlist names]

proc shortest {script} {
    set least Inf
    for {set run 0} {$run < 400} {incr run} {
        set time [lindex [uplevel #0 [list time $script 500]] 0]
        if {$time < $least} {
            set least $time
        }
        foreach name [dynlist names] {
            if {[lsearch -exact $::kept $name] < 0} {
                dynlist free $name
            }
        }
    }
    return $least
}

puts "microseconds a call, shortest of all runs"
foreach {label script goal} $calls {
    set time [shortest $script]
    puts [format "  %-32s %8.3f%s" $label $time [expr {$goal ? "  (goal $goal)" : ""}]]
    if {$goal && [info exists ::env(ZAVO_BENCH_GOALS)]} {
        set file [open $::env(ZAVO_BENCH_GOALS) a]
        puts $file [format "%s\t%.3f\t%.3f" "command, us: $label" $time $goal]
        close $file
    }
}
