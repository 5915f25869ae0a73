# The text of a file, for the tools beside it.
package require Tcl 8.5-

proc contents {path} {
    set channel [open $path]
    fconfigure $channel -encoding utf-8
    set text [read $channel]
    close $channel
    return $text
}
