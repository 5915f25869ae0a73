# For test tools that start programs: Wine, on a busy machine, now and then cannot
# start a program that is there (CreateProcess ends with an internal error, which Tcl
# reports as "invalid argument"). That is no failure of what is tested, so the start
# is tried again, and said.
if {$::tcl_platform(platform) eq "windows" && [llength [info commands ::exec_once]] == 0} {
    foreach start {exec open} {
        rename ::$start ::${start}_once
        proc ::$start {args} [string map [list @ $start] {
            for {set tries 1} {$tries < 4} {incr tries} {
                set status [catch {uplevel 1 [linsert $args 0 ::@_once]} result options]
                if {$status == 0 || ![string match {couldn't execute*: invalid argument} $result]} {
                    break
                }
                puts stderr "@: attempt $tries: $result"
                after 1000
            }
            return -options $options $result
        }]
    }
    unset start
}
