# build_docs.tcl: manual pages, HTML, table of contents and keyword index from
# docs/*.man. Every complaint is printed; the status is 1 when there was one.
#
#   tclsh tools/build_docs.tcl pages_folder nroff_folder html_folder
package require Tcl 8.5-
package require doctools

namespace eval build_docs {
    # Sections in their order; `optional` ones may be absent. See docs/README.md.
    variable order {ARGUMENTS RESULT ERRORS {COMPILED USE} EXAMPLES}
    variable optional {ARGUMENTS {COMPILED USE}}
    variable complaints {}
    variable pages {}
}

proc build_docs::complain {page text} {
    variable complaints
    lappend complaints "[file tail $page]: $text"
}

proc build_docs::read_file {name} {
    set channel [open $name]
    fconfigure $channel -encoding utf-8
    set text [read $channel]
    close $channel
    return $text
}

proc build_docs::write_file {name text} {
    set channel [open $name w]
    fconfigure $channel -encoding utf-8 -translation lf
    puts -nonewline $channel $text
    close $channel
}

# All arguments of a markup command in the source, braces taken off.
proc build_docs::arguments_of {command text} {
    set result {}
    foreach {- words} [regexp -all -inline "\\\[$command\\s+((?:\\{\[^\}\]*\\}|\[^\\\[\\\]\])*)\\\]" $text] {
        lappend result $words
    }
    return $result
}

# What the contents and the checks need to know of a page.
proc build_docs::describe {page} {
    set text [read_file $page]
    set title [lindex [lindex [arguments_of manpage_begin $text] 0] 0]
    set commands {}
    foreach {- words} [regexp -all -inline {\[call\s+\[cmd\s+(\{[^\}]*\}|[^\]]*)\]} $text] {
        set command [lindex [lindex $words 0] 0]
        if {$command ni $commands} {
            lappend commands $command
        }
    }
    set sections {}
    foreach words [arguments_of section $text] {
        lappend sections [lindex $words 0]
    }
    set see_also {}
    foreach words [arguments_of see_also $text] {
        lappend see_also {*}$words
    }
    set keywords {}
    foreach words [arguments_of keywords $text] {
        lappend keywords {*}$words
    }
    return [dict create path $page title $title commands $commands sections $sections \
        purpose [lindex [lindex [arguments_of titledesc $text] 0] 0] see_also $see_also keywords $keywords \
        is_reference [expr {[llength $commands] > 0}]]
}

# Reference pages have the sections of docs/README.md; introductions are free.
proc build_docs::check_sections {page info} {
    variable order
    variable optional
    if {![dict get $info is_reference]} {
        return
    }
    set known {}
    foreach section [dict get $info sections] {
        if {$section in $order} {
            lappend known $section
        }
    }
    set expected {}
    foreach section $order {
        if {$section in $known} {
            lappend expected $section
        } elseif {$section ni $optional} {
            complain $page "section $section is missing"
        }
    }
    if {$known ne $expected} {
        complain $page "sections stand as [join $known {, }] instead of [join $expected {, }]"
    }
}

proc build_docs::check_references {pages} {
    set known {}
    foreach info $pages {
        lappend known [dict get $info title] {*}[dict get $info commands]
    }
    foreach info $pages {
        set page [dict get $info path]
        if {![llength [dict get $info keywords]]} {
            complain $page "has no keywords"
        }
        foreach name [dict get $info see_also] {
            if {$name ni $known} {
                complain $page "refers to $name, which no page describes"
            }
        }
    }
}

# One page in one format; its warnings are complaints.
proc build_docs::convert {page format} {
    doctools::new converter -format $format -file $page -module zavo
    if {[catch {converter format [read_file $page]} result]} {
        complain $page [string map [list \n " "] $result]
        set result ""
    } elseif {$format eq "nroff"} {
        foreach warning [converter warnings] {
            complain $page [string map [list \n " "] $warning]
        }
    }
    converter destroy
    return $result
}

# The library's own look, and a way back to the contents.
proc build_docs::dress {html} {
    set head {<link rel="stylesheet" href="zavo.css" type="text/css"></head>}
    regsub -all {<style type="text/css">.*?</style>} $html "" html
    regsub -all {(<h[23]>)<a name="[^"]*">([^<]*)</a>} $html {\1\2} html ;# its section has the same id
    set html [string map [list </head> $head] $html]
    set bar {<body><p class="bar"><a href="index.html">Contents</a> | <a href="keywords.html">Keywords</a></p>}
    return [regsub {<body[^>]*>} $html $bar]
}

proc build_docs::escape {text} {
    return [string map {& &amp; < &lt; > &gt; \" &quot;} $text]
}

proc build_docs::link {info {text ""}} {
    if {$text eq ""} {
        set text [dict get $info title]
    }
    return "<a href=\"[file rootname [file tail [dict get $info path]]].html\">[escape $text]</a>"
}

# A whole page around the body; `dress` adds the rest. (The tables that doctools
# makes of its own are not valid HTML.)
proc build_docs::sheet {title body} {
    set title [escape $title]
    return "<!DOCTYPE html><html lang=\"en\"><head>\n<title>$title</title>\n</head>\n<body>\n<h1>$title</h1>\n$body</body></html>\n"
}

proc build_docs::contents {pages} {
    set body ""
    foreach reference {0 1} heading {Introduction Commands} {
        set rows ""
        foreach info $pages {
            if {[dict get $info is_reference] == $reference} {
                append rows "<tr><td>[link $info]</td><td>[escape [dict get $info purpose]]</td>"
                append rows "<td>[escape [join [dict get $info commands] {, }]]</td></tr>\n"
            }
        }
        if {$rows ne ""} {
            append body "<h2>$heading</h2>\n<table>\n$rows</table>\n"
        }
    }
    return [sheet "zavo 1.0" $body]
}

proc build_docs::keyword_index {pages} {
    set words {}
    foreach info $pages {
        foreach word [dict get $info keywords] {
            dict lappend words $word [link $info]
        }
        # A command stands under its own name, too.
        foreach word [dict get $info commands] {
            dict lappend words $word [link $info]
        }
    }
    set body "<table>\n"
    foreach word [lsort -dictionary [dict keys $words]] {
        append body "<tr><td>[escape $word]</td><td>[join [lsort -unique [dict get $words $word]] {, }]</td></tr>\n"
    }
    return [sheet Keywords "$body</table>\n"]
}

set build_docs::style {
body { font-family: sans-serif; max-width: 60em; margin: 1em auto; padding: 0 1em; line-height: 1.4; }
pre { background: #f4f4f0; border-left: 3px solid #99a; padding: .6em 1em; overflow-x: auto; }
code, pre, .cmd, .syntax { font-family: monospace; }
.bar { border-bottom: 1px solid #ccc; padding-bottom: .4em; }
h1 { font-size: 1.5em; } h2 { font-size: 1.2em; }
dt { margin-top: .6em; } td { padding: .2em .8em .2em 0; vertical-align: top; }
}

proc build_docs::main {folder nroff_folder html_folder} {
    variable complaints
    variable style
    file mkdir $nroff_folder $html_folder
    set pages {}
    foreach page [lsort [glob -directory $folder *.man]] {
        set info [describe $page]
        lappend pages $info
        check_sections $page $info
        set title [dict get $info title]
        write_file [file join $nroff_folder $title.n] [convert $page nroff]
        # `man n command` finds the page of the command's family.
        foreach command [dict get $info commands] {
            if {$command ne $title} {
                write_file [file join $nroff_folder $command.n] ".so mann/$title.n\n"
            }
        }
        set name [file rootname [file tail $page]]
        write_file [file join $html_folder $name.html] [dress [convert $page html]]
    }
    check_references $pages
    write_file [file join $html_folder index.html] [dress [contents $pages]]
    write_file [file join $html_folder keywords.html] [dress [keyword_index $pages]]
    write_file [file join $html_folder zavo.css] $style
    foreach line $complaints {
        puts stderr $line
    }
    return [expr {[llength $complaints] > 0}]
}

exit [build_docs::main {*}$argv]
