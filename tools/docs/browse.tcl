# browse.tcl: goes through the built manual in headless Chromium: every page opens
# without a message in the console and fits a phone, every link leads somewhere, and
# the search finds what it should.
#
#   tclsh tools/docs/browse.tcl html_folder ?screenshot_folder?
#
# Speaks to Debian's chromedriver (package chromium-driver) over HTTP.
package require Tcl 8.6-
package require http
package require json
package require json::write
package require base64

namespace eval browse {
    variable session ""
    variable port 0
    variable complaints {}
    # What is typed, and the page that must be among the first three found.
    variable searches {
        fft                     zavo_fft_real.html
        spectrum                zavo_fft_real.html
        "day number"            calendar.html
        seed                    random.html
        planck                  zavo_constant.html
        convolution             convolution.html
        "bounds constraints"    minimization.html
        "dynlist scope"         dynlist.html
        zavo_f_min_con_gen_lin  c/group__libzavo__minimisation.html
        traps                   traps.html
        octal                   tutorial_3_units.html
        sunspots                gallery.html
    }
}

proc browse::complain {text} {
    variable complaints
    lappend complaints $text
}

proc browse::request {method path {body ""}} {
    variable port
    set options [list -method $method -timeout 60000]
    if {$method eq "POST"} {
        lappend options -type "application/json" -query [encoding convertto utf-8 [expr {$body eq "" ? "{}" : $body}]]
    }
    set token [http::geturl http://127.0.0.1:$port$path {*}$options]
    set answer [json::json2dict [encoding convertfrom utf-8 [http::data $token]]]
    set code [http::ncode $token]
    http::cleanup $token
    if {$code != 200} {
        error "browser: [dict get $answer value message]"
    }
    return [dict get $answer value]
}

proc browse::start {} {
    variable session
    variable port
    variable driver
    set server [socket -server {} -myaddr 127.0.0.1 0]
    set port [lindex [fconfigure $server -sockname] 2]
    close $server
    set driver [open "|chromedriver --port=$port --silent 2>@1" r]
    fconfigure $driver -blocking 0
    set wish {{"capabilities": {"alwaysMatch": {"browserName": "chrome",
        "goog:loggingPrefs": {"browser": "ALL"},
        "goog:chromeOptions": {"args": ["--headless=new", "--no-sandbox", "--disable-gpu",
            "--disable-dev-shm-usage", "--hide-scrollbars"],
            "mobileEmulation": {"deviceMetrics": {"width": 360, "height": 740, "pixelRatio": 2.0}}}}}}}
    for {set try 0} {1} {incr try} {
        if {![catch {request POST /session $wish} answer]} {
            break
        }
        if {$try == 40} {
            error "no browser: $answer"
        }
        after 250
    }
    set session /session/[dict get $answer sessionId]
}

proc browse::stop {} {
    variable session
    variable driver
    catch {request DELETE $session}
    foreach id [pid $driver] {
        catch {exec kill $id}
    }
    catch {close $driver}
}

proc browse::run {script} {
    variable session
    return [request POST $session/execute/sync [json::write object script [json::write string $script] args "\[\]"]]
}

proc browse::open_page {url} {
    variable session
    request POST $session/url [json::write object url [json::write string $url]]
    foreach entry [request POST $session/se/log {{"type": "browser"}}] {
        complain "$url: console: [dict get $entry message]"
    }
}

proc browse::picture {file} {
    variable session
    set channel [open $file wb]
    puts -nonewline $channel [base64::decode [request GET $session/screenshot]]
    close $channel
}

# Opens a page, looks at its width, and gives the addresses of its links.
proc browse::look_at {url} {
    open_page $url
    lassign [run {
        return [document.documentElement.scrollWidth, screen.width, document.title,
            document.querySelectorAll("img").length,
            Array.from(document.images).filter(function (i) { return !i.complete || i.naturalWidth === 0; }).length,
            document.querySelectorAll(".steps a").length]
    }] width window title images broken steps
    if {$width > $window} {
        complain "$url: $width wide on a phone of $window"
    }
    if {$title eq "" || $broken > 0 || $steps == 0} {
        complain "$url: title \"$title\", $broken of $images pictures missing, $steps steps"
    }
    return [run {
        return Array.from(document.links).map(function (a) { return a.href; });
    }]
}

proc browse::search {root words page} {
    run "var box = document.getElementById('search'); box.value = [json::write string $words];
        box.dispatchEvent(new Event('input'));"
    set found {}
    foreach address [run {return Array.from(document.querySelectorAll("#found a")).map(function (a) { return a.href; });}] {
        lappend found [string map [list $root/ ""] [lindex [split $address #] 0]]
    }
    if {$page ni [lrange $found 0 2]} {
        complain "search for \"$words\": $page is not among [lrange $found 0 2]"
    }
}

proc browse::main {folder {pictures ""}} {
    variable complaints
    variable searches
    set root file://[file normalize $folder]
    start
    set waiting [list $root/index.html]
    set anchors {}
    set n_links 0
    while {[llength $waiting]} {
        set waiting [lassign $waiting url]
        if {[info exists seen($url)]} {
            continue
        }
        set seen($url) 1
        foreach address [look_at $url] {
            incr n_links
            lassign [split $address #] page anchor
            if {[string match $root/*.html $page]} {
                lappend waiting $page
                if {$anchor ne ""} {
                    dict set anchors $page $anchor 1
                }
            } elseif {![string match http* $page]} {
                complain "$url: leads to $address"
            }
        }
    }
    # Every file is reached, and every place within one exists.
    foreach file [concat [glob -directory $folder *.html] [glob -nocomplain -directory $folder c/*.html]] {
        if {![info exists seen(file://[file normalize $file])]} {
            complain "[file tail $file] is not reached by any link"
        }
    }
    foreach page [dict keys $anchors] {
        open_page $page
        set names {}
        foreach anchor [dict keys [dict get $anchors $page]] {
            lappend names [json::write string $anchor]
        }
        foreach anchor [run "return \[[join $names ,]\].filter(function (n) { return !document.getElementById(n); });"] {
            complain "$page has no place $anchor"
        }
    }
    open_page $root/index.html
    foreach {words page} $searches {
        search $root $words $page
    }
    if {$pictures ne ""} {
        file mkdir $pictures
        foreach page {index zavo_fft_real gallery tutorial_2_spectra c/group__libzavo__fourier} {
            open_page $root/$page.html
            picture [file join $pictures [file tail $page].png]
        }
    }
    puts "[array size seen] pages, $n_links links, [expr {[llength $searches] / 2}] searches"
    foreach line $complaints {
        puts stderr $line
    }
    return [expr {[llength $complaints] > 0}]
}

try {
    set status [browse::main {*}$argv]
} finally {
    browse::stop
}
exit $status
