# A script against an unpacked archive, whose root is the argument, or against
# installed packages (no argument): both packages load, messages are found,
# and an error reads as a user should see it.
package require zavo 1.0
package require morvel 1.0
set wave [dynlist create float {1 0 -1 0}]
set back [dynlist take [zavo_fft_real [zavo_fft_real $wave] BACKWARD]]
if {$back ne {4.0 0.0 -4.0 0.0}} {
    error "transform gives $back"
}
if {[lindex $argv 0] ne "" && [file normalize $env(ZAVOERRPATH)] ne [file normalize [lindex $argv 0]/lib/zavo1.0]} {
    error "messages are looked for in $env(ZAVOERRPATH)"
}
if {![catch {zavo_date_to_days 1 13 2000} message]} {
    error "month 13 was taken"
}
if {[string match "*Error code*" $message]} {
    error "the catalogue was not found: $message"
}
puts "Tcl script: good ($message)"
