# build.tcl: the manual from docs/*.man, the examples and the C reference: manual
# pages, and HTML with a table of contents, a gallery, a keyword index and a search
# over everything. Every complaint is printed; the status is 1 when there was one.
#
#   tclsh tools/docs/build.tcl pages_folder examples_folder share_folder ?doxygen_html?
#
# share_folder/doc/zavo/pictures holds what tools/docs/run_examples.tcl and the
# explorer have drawn; docs/README.md tells how a page shows one of them.
package require Tcl 8.5-
package require doctools

source [file join [file dirname [file dirname [file normalize [info script]]]] contents.tcl]

namespace eval build_docs {
    # Sections in their order; `optional` ones may be absent. See docs/README.md.
    variable order {ARGUMENTS RESULT ERRORS {COMPILED USE} EXAMPLES}
    variable optional {ARGUMENTS {COMPILED USE}}
    variable here [file dirname [file normalize [info script]]]
    variable complaints {}
    variable html ""   ;# folder of the HTML
    variable index {}  ;# rows of the search: address page section words ?keywords?
}

proc build_docs::complain {page text} {
    variable complaints
    lappend complaints "[file tail $page]: $text"
}

proc build_docs::write_file {name text} {
    set channel [open $name w]
    fconfigure $channel -encoding utf-8 -translation lf
    puts -nonewline $channel $text
    close $channel
}

# ---- What the pages say about themselves --------------------------------------------

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
    set text [::contents $page]
    set head [lindex [arguments_of manpage_begin $text] 0]
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
    set requires {}
    foreach words [arguments_of require $text] {
        lappend requires [lindex $words 0]
    }
    set kind introduction
    if {[string match tutorial_* [file tail $page]]} {
        set kind tutorial
    } elseif {[llength $commands]} {
        set kind reference
    }
    return [dict create path $page title [lindex $head 0] volume [lindex $head 1] commands $commands \
        sections $sections purpose [lindex [lindex [arguments_of titledesc $text] 0] 0] see_also $see_also \
        keywords $keywords requires $requires kind $kind \
        file [file rootname [file tail $page]].html]
}

# ---- Checks of the sources ----------------------------------------------------------

# Reference pages have the sections of docs/README.md; introductions are free.
proc build_docs::check_sections {page info} {
    variable order
    variable optional
    if {[dict get $info kind] ne "reference"} {
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

# A reader who types the first lines of a page of commands can go on: zavo alone
# lacks dynlist. (zavox brings both.)
proc build_docs::check_requires {page info} {
    set requires [dict get $info requires]
    if {[dict get $info volume] ne "n" || "zavox" in $requires || ![llength $requires]} {
        return
    }
    foreach name {zavo morvel} {
        if {$name ni $requires} {
            complain $page "its first lines lack package require $name"
        }
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
            # Tcl's own commands have pages, too.
            if {$name ni $known && ![llength [info commands ::$name]]} {
                complain $page "refers to $name, which no page describes"
            }
        }
    }
}

# ---- HTML ---------------------------------------------------------------------------

proc build_docs::escape {text} {
    return [string map {& &amp; < &lt; > &gt; \" &quot;} $text]
}

proc build_docs::plain {html} {
    regsub -all {<[^>]*>} $html " " text
    set text [string map {&lt; < &gt; > &quot; \" &amp; & &nbsp; " " &#160; " " &#39; '} $text]
    return [string trim [regsub -all {\s+} $text " "]]
}

# One page in one format; its warnings are complaints.
proc build_docs::convert {page format} {
    set text [::contents $page]
    if {$format eq "html"} {
        # [comment {picture: FILE WORDS}] becomes a figure; see `figures`.
        regsub -all {\[comment \{picture: (\S+) ([^\}]*)\}\]} $text {[para] picture@\1@\2@} text
    }
    doctools::new converter -format $format -file $page -module zavo
    if {[catch {converter format $text} result]} {
        complain $page [string map [list \n " "] $result]
        set result ""
    } elseif {$format eq "nroff"} {
        foreach warning [converter warnings] {
            complain $page [string map [list \n " "] $warning]
        }
    }
    converter destroy
    if {[regexp {\[[lr]b\]} $result literal]} {
        complain $page "$literal comes out as it stands in $format: write \[const \"... \[lb\] ...\"\], with quotes"
    }
    return $result
}

proc build_docs::figure {file caption} {
    variable html
    if {![file exists [file join $html pictures $file]]} {
        complain $file "there is no such picture"
    }
    return "<figure><img src=\"pictures/$file\" alt=\"[escape [plain $caption]]\"><figcaption>$caption</figcaption></figure>"
}

# The marks that `convert` has left, and what doctools wraps around them.
proc build_docs::figures {html} {
    set pattern {(<p>)?\s*picture@([^@]+)@([^@]*)@\s*(</p>)?}
    while {[regexp -indices $pattern $html whole open file caption close]} {
        set made [figure [string range $html {*}$file] [regsub -all {\s+} [string range $html {*}$caption] " "]]
        # A paragraph that only begins or only ends with a picture stays one.
        if {[lindex $open 0] >= 0 && [lindex $close 0] < 0} {
            append made <p>
        } elseif {[lindex $open 0] < 0 && [lindex $close 0] >= 0} {
            set made </p>$made
        } elseif {[lindex $open 0] < 0} {
            set made </p>$made<p>
        }
        set html [string replace $html {*}$whole $made]
    }
    return $html
}

# The page's own part of what doctools makes, in our headings.
proc build_docs::body_of {html info links} {
    if {![regexp {<div class="doctools">(.*)</div>\s*</body>} $html -> body]} {
        return ""
    }
    regsub {<h1[^>]*?>.*?</h1>} $body "" body
    regsub {<div id="name" class="doctools_section">.*?</div>} $body "" body
    regsub {<div id="toc" class="doctools_section"><h2>.*?</h2>(.*?)</div>} $body \
        {<details class="toc"><summary>On this page</summary>\1</details>} body
    regsub {<li[^>]*><a href="#toc">[^<]*</a></li>} $body "" body
    # Section titles in capitals are for manual pages.
    foreach word {ARGUMENTS RESULT ERRORS {COMPILED USE} EXAMPLES} {
        set body [string map [list >$word< >[string totitle $word]<] $body]
    }
    while {[regexp {<(h2|a href="#[^"]*")>([A-Z][A-Z ,]+[A-Z])</} $body - tag title]} {
        set body [string map [list <$tag>$title</ <$tag>[string totitle $title]</] $body]
    }
    # Names of other pages are links.
    if {[regexp -indices {<div id="see-also".*?<p>(.*?)</p>} $body - place]} {
        set names {}
        foreach name [split [string range $body {*}$place] ,] {
            set name [string trim $name]
            lappend names [expr {[dict exists $links $name] ? "<a href=\"[dict get $links $name]\">$name</a>" : $name}]
        }
        set body [string replace $body {*}$place [join $names ", "]]
    }
    set body [figures $body]
    regsub -all {<p>\s*</p>} $body "" body
    if {[dict get $info kind] eq "tutorial"} {
        return "<h1>[escape [dict get $info purpose]]</h1>\n$body"
    }
    return "<h1>[escape [dict get $info title]]</h1>\n<p class=\"lead\">[escape [dict get $info purpose]]</p>\n$body"
}

# A whole page: bar with search, steps to the neighbours, the body. steps: addresses
# and titles of the previous, the upper and the next page, each may be empty.
proc build_docs::sheet {title body steps {root ""}} {
    set bar "<a class=\"home\" href=\"${root}index.html\">zavo 1.0</a>"
    foreach {address words} {
        index.html#tutorial Tutorial index.html#commands Commands index.html#c C gallery.html Gallery keywords.html Index
    } {
        append bar " <a href=\"$root$address\">$words</a>"
    }
    set cells ""
    foreach {address words} $steps before {"&larr; " "&uarr; " ""} after {"" "" " &rarr;"} {
        append cells [expr {$address eq "" ? "<span>&nbsp;</span>" :
            "<a href=\"$root$address\">$before[escape $words]$after</a>"}]
    }
    return [join [list "<!DOCTYPE html>" "<html lang=\"en\">" "<head>" "<meta charset=\"utf-8\">" \
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">" \
        "<title>[escape $title]</title>" "<link rel=\"icon\" href=\"data:,\">" \
        "<link rel=\"stylesheet\" href=\"${root}zavo.css\">" "</head>" "<body data-root=\"$root\">" \
        "<header class=\"top\">$bar <input type=\"search\" id=\"search\" placeholder=\"Search ( / )\" aria-label=\"Search the manual\"></header>" \
        "<div id=\"found\"></div>" "<nav class=\"steps\">$cells</nav>" "<main>" $body "</main>" \
        "<nav class=\"steps last\">$cells</nav>" "<script src=\"${root}search_index.js\"></script>" \
        "<script src=\"${root}search.js\"></script>" "</body>" "</html>"] \n]\n
}

# The page's sections go into the search.
proc build_docs::note_words {address title body} {
    variable index
    set from 0
    set section ""
    set anchor ""
    set pattern {<(?:div|h2|h3|a)[^>]* id="([^"]+)"[^>]*>(?:\s*</a>)?\s*(?:<h2[^>]*>)?(?:<a[^>]*></a>)?([^<]*)}
    while {[regexp -indices -start $from $pattern $body whole id words]} {
        note_row $address$anchor $title $section [string range $body $from [expr {[lindex $whole 0] - 1}]]
        set anchor "#[string range $body {*}$id]"
        set section [plain [string range $body {*}$words]]
        set from [expr {[lindex $whole 1] + 1}]
    }
    note_row $address$anchor $title $section [string range $body $from end]
}

proc build_docs::note_row {address title section html} {
    variable index
    set words [plain $html]
    if {$words ne ""} {
        lappend index [list $address $title $section $words]
    }
}

proc build_docs::json {text} {
    set result [string map {\\ \\\\ \" \\\" \n \\n \t \\t < \\u003c} $text]
    return "\"$result\""
}

proc build_docs::save_page {file title body steps {root ""}} {
    variable html
    note_words $file $title $body
    write_file [file join $html $file] [sheet $title $body $steps $root]
}

# ---- Contents, keywords, gallery ----------------------------------------------------

proc build_docs::link {info {text ""}} {
    if {$text eq ""} {
        set text [dict get $info title]
    }
    return "<a href=\"[dict get $info file]\">[escape $text]</a>"
}

proc build_docs::rows_of {pages kind} {
    set rows ""
    foreach info $pages {
        if {[dict get $info kind] eq $kind} {
            if {$kind eq "tutorial"} {
                append rows "<tr><td>[link $info [dict get $info purpose]]</td></tr>\n"
            } else {
                append rows "<tr><td>[link $info]</td><td>[escape [dict get $info purpose]]</td></tr>\n"
            }
        }
    }
    return $rows
}

proc build_docs::contents {pages c_pages} {
    set body "<h1>zavo 1.0</h1>\n<p class=\"lead\">A compact numerical library for Tcl, C and C++:\
        the same bits on every system, clear errors, a host that lives.</p>\n"
    append body "<p>New here? Begin with the first chapter of the tutorial, or with a script of the\
        <a href=\"gallery.html\">gallery</a> that does something like your job.</p>\n"
    foreach {kind anchor heading} {tutorial tutorial Tutorial introduction introduction Introduction reference commands Commands} {
        set rows [rows_of $pages $kind]
        if {$rows ne ""} {
            append body "<h2 id=\"$anchor\">$heading</h2>\n<div class=\"wide\"><table class=\"list\">\n$rows</table></div>\n"
        }
    }
    append body "<h2 id=\"c\">C and C++</h2>\n"
    if {[llength $c_pages]} {
        append body "<div class=\"wide\"><table class=\"list\">\n"
        foreach {file title} $c_pages {
            append body "<tr><td><a href=\"c/$file\">[escape $title]</a></td></tr>\n"
        }
        append body "</table></div>\n"
    } else {
        append body "<p>The comments of zavo.h are the reference.</p>\n"
    }
    return $body
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
    set body "<h1>Index</h1>\n<div class=\"wide\"><table class=\"list\">\n"
    foreach word [lsort -dictionary [dict keys $words]] {
        append body "<tr><td>[escape $word]</td><td>[join [lsort -unique [dict get $words $word]] {, }]</td></tr>\n"
    }
    return "$body</table></div>\n"
}

# The comment at a script's head, in paragraphs.
proc build_docs::head_of {script} {
    set paragraphs {}
    set current ""
    foreach line [split $script \n] {
        if {![regexp {^# ?(.*)$} $line -> words]} {
            break
        }
        if {$words eq "" || [string index $words 0] in {" " -}} {
            if {$current ne ""} {
                lappend paragraphs $current
            }
            set current ""
        } else {
            append current [expr {$current eq "" ? "" : " "}] $words
        }
    }
    if {$current ne ""} {
        lappend paragraphs $current
    }
    return $paragraphs
}

proc build_docs::gallery {examples} {
    variable html
    set body "<h1>Gallery</h1>\n<p class=\"lead\">The scripts of the folder <code>examples</code>, what they print and\
        what they draw.</p>\n<p>Each runs as it is: <code>tclsh examples/sunspots.tcl</code>, from the source tree\
        after <code>./zavo build</code>, and from an installed copy.</p>\n"
    foreach file [lsort [glob -directory $examples *.tcl]] {
        set name [file rootname [file tail $file]]
        set script [::contents $file]
        append body "<h2 id=\"$name\">$name.tcl</h2>\n"
        foreach paragraph [lrange [head_of $script] 0 1] {
            append body "<p>[escape $paragraph]</p>\n"
        }
        if {[file exists [file join $html pictures $name.png]]} {
            append body [figure $name.png "What $name.tcl draws"] \n
        }
        set printed [file join $html pictures $name.txt]
        if {[file exists $printed]} {
            append body "<pre>[escape [string trim [::contents $printed]]]</pre>\n"
        }
        append body "<details><summary>The script</summary><pre>[escape [string trim $script]]</pre></details>\n"
    }
    return $body
}

# ---- The C reference, made by Doxygen ------------------------------------------------

# {file title ...} in the order of the sections in zavo.h.
proc build_docs::c_pages {folder} {
    set pages {}
    if {$folder eq ""} {
        return {}
    }
    set order {}
    foreach {- file title} [regexp -all -inline {<a class="el" href="(group__[^"]+\.html)"[^>]*>([^<]+)</a>} \
            [::contents [file join $folder modules.html]]] {
        lappend order $file [plain $title]
    }
    return [concat $order {structf__complex.html f_complex}]
}

proc build_docs::build_c_pages {folder pages} {
    variable html
    file mkdir [file join $html c]
    set last index.html
    set last_title Contents
    for {set i 0} {$i < [llength $pages]} {incr i 2} {
        lassign [lrange $pages $i [expr {$i + 3}]] file title next next_title
        set text [::contents [file join $folder $file]]
        if {![regexp {<div class="contents">(.*)</div><!-- contents -->} $text -> body]} {
            complain $file "Doxygen's page has no body"
            continue
        }
        # (The first quantifier of an expression or alternative makes all of it short or long.)
        regsub -all {<span class="permalink">.*?</span>} $body "" body
        foreach class {separator heading} {
            regsub -all "<tr class=\"$class\[^\"\]*?\">.*?</tr>" $body "" body
        }
        regsub -all { align="[^"]*"| valign="[^"]*"| width="[^"]*"| cellpadding="[^"]*"| cellspacing="[^"]*"| colspan="2"} $body "" body
        regsub -all {<a name="([^"]*)" id="[^"]*"></a>} $body {<a id="\1"></a>} body
        regsub -all {<a id="([^"]*)" name="[^"]*"></a>} $body {<a id="\1"></a>} body
        # Only the pages that are kept are linked.
        foreach {- address} [regexp -all -inline {href="([^"#]+)} $body] {
            if {$address ni $pages} {
                regsub -all "<a class=\"\[^\"\]*?\" href=\"[string map {. \\.} $address]\[^\"\]*?\"\[^>\]*?>(.*?)</a>" $body {\1} body
            }
        }
        save_page c/$file "$title (C)" "<h1>[escape $title]</h1>\n<p class=\"lead\">From zavo.h</p>\n$body" \
            [list $last $last_title index.html#c Contents [expr {$next eq "" ? "" : "c/$next"}] $next_title] ../
        set last c/$file
        set last_title $title
    }
}

# ---- Checks of what came out ---------------------------------------------------------

proc build_docs::check_links {} {
    variable html
    set files [concat [glob -directory $html *.html] [glob -nocomplain -directory [file join $html c] *.html]]
    foreach file $files {
        set text [::contents $file]
        set ids($file) {}
        foreach {- id} [regexp -all -inline { id="([^"]+)"} $text] {
            lappend ids($file) $id
        }
    }
    foreach file $files {
        foreach {- address} [regexp -all -inline {(?:href|src)="([^"]+)"} [::contents $file]] {
            if {[regexp {^(https?|data|mailto):} $address]} {
                continue
            }
            lassign [split $address #] path anchor
            set target [expr {$path eq "" ? $file : [file normalize [file join [file dirname $file] $path]]}]
            if {$path ne "" && ![file exists $target]} {
                complain $file "links to $address, which is not there"
            } elseif {$anchor ne "" && $anchor ni $ids($target)} {
                complain $file "links to $address, and there is no such place"
            }
        }
    }
}

# ---- All of it ----------------------------------------------------------------------

# Introductions, tutorial, reference, each in the order of their titles; `zavo` first.
proc build_docs::in_order {pages} {
    set keyed {}
    foreach info $pages {
        set place [lsearch {introduction tutorial reference} [dict get $info kind]]
        set name [expr {[dict get $info kind] eq "tutorial" ? [dict get $info file] : [dict get $info title]}]
        lappend keyed [list $place$name $info]
    }
    set result {}
    foreach pair [lsort -index 0 $keyed] {
        lappend result [lindex $pair 1]
    }
    return $result
}

proc build_docs::main {folder examples share {doxygen ""}} {
    variable complaints
    variable html [file normalize [file join $share doc zavo]]
    variable index
    variable here
    file mkdir $html [file join $share man mann] [file join $share man man1]
    set pages {}
    set links {}
    foreach page [lsort [glob -directory $folder *.man]] {
        set info [describe $page]
        lappend pages $info
        check_sections $page $info
        check_requires $page $info
        dict set links [dict get $info title] [dict get $info file]
        foreach command [dict get $info commands] {
            dict set links $command [dict get $info file]
        }
    }
    check_references $pages
    set pages [in_order $pages]
    set c_pages [c_pages $doxygen]

    foreach info $pages {
        set title [dict get $info title]
        set volume [dict get $info volume]
        set man [file join $share man man$volume]
        write_file [file join $man $title.$volume] [convert [dict get $info path] nroff]
        # `man n command` finds the page of the command's family.
        foreach command [dict get $info commands] {
            set name [string map {:: _} $command]
            if {$name ne $title && ![string match "* *" $name]} {
                write_file [file join $man $name.$volume] ".so man$volume/$title.$volume\n"
            }
        }
    }
    set n [llength $pages]
    for {set i 0} {$i < $n} {incr i} {
        set info [lindex $pages $i]
        set steps {}
        foreach other [list [expr {$i - 1}] up [expr {$i + 1}]] {
            if {$other eq "up"} {
                lappend steps index.html Contents
            } elseif {$other < 0} {
                lappend steps "" ""
            } elseif {$other == $n} {
                lappend steps gallery.html Gallery
            } else {
                lappend steps [dict get [lindex $pages $other] file] [dict get [lindex $pages $other] title]
            }
        }
        set text [convert [dict get $info path] html]
        regsub -all {(<h[23]>)<a name="[^"]*">([^<]*)</a>} $text {\1\2} text ;# its section has the same id
        regsub -all {<a name="(\d+)">} $text {<a id="call\1">} text
        regsub -all {href="#(\d+)"} $text {href="#call\1"} text
        lappend index [list [dict get $info file] [dict get $info title] "" [dict get $info purpose] \
            [join [concat [dict get $info keywords] [dict get $info commands] [dict get $info purpose]]]]
        save_page [dict get $info file] "[dict get $info title]: [dict get $info purpose]" [body_of $text $info $links] $steps
    }
    set last [lindex $pages end]
    save_page gallery.html Gallery [gallery $examples] \
        [list [dict get $last file] [dict get $last title] index.html Contents keywords.html Index]
    save_page keywords.html Index [keyword_index $pages] [list gallery.html Gallery index.html Contents "" ""]
    build_c_pages $doxygen $c_pages
    set index_of_pages $index
    save_page index.html "zavo 1.0" [contents $pages $c_pages] {"" "" "" "" zavo.html zavo}
    set index [list]
    set rows {}
    foreach row $index_of_pages {
        set cells {}
        foreach cell $row {
            lappend cells [json $cell]
        }
        lappend rows "\[[join $cells ,]\]"
    }
    write_file [file join $html search_index.js] "window.zavo_index = \[\n[join $rows ,\n]\n\];\n"
    file copy -force [file join $here zavo.css] [file join $here search.js] $html
    check_links
    foreach line $complaints {
        puts stderr $line
    }
    return [expr {[llength $complaints] > 0}]
}

exit [build_docs::main {*}$argv]
