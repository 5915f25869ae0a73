# tclsh mutants.tcl COUNT ?SEED?
#   Changes one line of the product at a time, in a copy of the tree, and runs the
#   tests until one fails. Prints each mutant and what noticed it, and the share of
#   those that were noticed. The sample depends on the seed and the sources alone; a
#   folder is as likely as another. A mutant that does not compile, or compiles to the
#   same code, does not count.
#   Survivors are for a person to read: some change nothing that anyone could see.
package require Tcl 8.6-

lassign $argv count seed
if {$seed eq ""} {
    set seed 1
}
set root [pwd]
set copy $root/build/mutants

# ---- What can be changed -----------------------------------------------------------

# name, pattern of what is there, what stands there instead
set operators {
    relation   { < }                       { <= }
    relation   { <= }                      { < }
    relation   { > }                       { >= }
    relation   { >= }                      { > }
    equality   { == }                      { != }
    equality   { != }                      { == }
    logic      { && }                      { || }
    logic      { \|\| }                    { \&\& }
    sign       { \+ }                      { - }
    sign       { - }                       { + }
    product    { \* }                      { + }
    truth      {\mtrue\M}                  {false}
    truth      {\mfalse\M}                 {true}
    constant   {(?!\A)([( ])([0-9]+)([;,)])}     {\1(\2 + 1)\3}
    swap       {\(([a-z_.]+), ([a-z_.]+)([,)])}  {(\2, \1\3}
    removal    {^\s*[a-z_:.>-]+\([^=]*\);$}      {;}
    removal    {^\s*[a-z_.>-]+ [-+]?= .*;$}      {;}
}

proc random {below} {
    global seed
    set seed [expr {($seed * 1103515245 + 12345) % 2147483648}]
    return [expr {($seed >> 8) % $below}]
}

proc lines_of {file} {
    set channel [open $file]
    set text [read $channel]
    close $channel
    return [split $text \n]
}

# All mutants of a folder: file, number of the line, operator, the new line.
proc candidates {folder} {
    global operators
    set found {}
    foreach file [lsort [split [exec git ls-files $folder] \n]] {
        if {![regexp {\.(cpp|hpp)$} $file]} {
            continue
        }
        set number 0
        foreach line [lines_of $file] {
            incr number
            set code [regsub {//.*} $line {}]
            if {[regexp {^\s*(#|\*|/\*|template|using|static_assert|assert|return;|namespace|struct|class)} $code]
                || [string first \" $code] >= 0} {
                continue
            }
            foreach {name pattern instead} $operators {
                if {[regsub $pattern $code $instead changed]} {
                    lappend found [list $file $number $name $changed]
                }
            }
        }
    }
    return $found
}

# ---- Trying one ----------------------------------------------------------------------

# Runs a command of the copy; whether it ended well. What a mutant keeps busy for ever
# ends by the limit of processor time, which other work on the machine does not use up;
# what it makes wait for ever, by the other one.
proc good {args} {
    global copy
    return [expr {![catch {exec sh -c {ulimit -t 300 && exec timeout 3600 "$@"} sh {*}$args >& $copy/log < /dev/null}]}]
}

# Builds what is named, of the copy; whether it compiles.
proc built {args} {
    global copy
    return [good cmake --build $copy/build/release -j 2 --target {*}$args]
}

# The machine code of the libraries and of a folder's unit tests, in short.
proc code_of {folder} {
    global copy
    set files [concat $copy/build/release/tests/unit_$folder [lsort [glob $copy/dist/lib/*.so $copy/dist/lib/*/*.so]]]
    return [lindex [exec cat {*}$files | md5sum] 0]
}

# What notices the mutant of a folder in the copy: a suite, "compiler", or nothing;
# "same" when the code is that of the tree as it is (lines for another target). Most
# are noticed by the unit tests of their own folder or by the scripts, for which little
# has to be built; those of the other folders come last.
proc noticed_by {folder} {
    global copy root folders code
    set program unit_$folder
    if {![built $program]} {
        return compiler
    }
    if {![good ctest --test-dir $copy/build/release -R ^$program\$ --timeout 1800]} {
        return unit
    }
    if {![built {*}[lmap shipped [concat $folders catalogue] {string cat $shipped/all}] zavo_golden golden_host \
            failing_malloc] || ![good cmake --install $copy/build/release --prefix $copy/dist]} {
        return compiler
    }
    if {[info exists code($folder)] && [code_of $folder] eq $code($folder)} {
        return same
    }
    cd $copy
    set ::env(TCLLIBPATH) $copy/dist/lib
    set result ""
    set failing $copy/build/release/tests/libfailing_malloc.so
    if {![good tclsh8.6 tests/script/all.tcl]} {
        set result script
    } elseif {![good tclsh8.6 tests/golden/compare.tcl -library build/release/tests/golden/zavo_golden]} {
        set result golden
    } elseif {![built all]} {
        set result compiler
    } elseif {![good ctest --test-dir $copy/build/release -LE long -E ^$program\$ -j 2 --stop-on-failure \
            --timeout 1800]} {
        set result unit
    } elseif {![good env LD_PRELOAD=$failing tclsh8.6 tests/fault/commands_memory.tcl $failing]} {
        set result memory
    }
    cd $root
    return $result
}

set folders {quillet morvel core random fft constants minimize ext zavox}
file delete -force $copy
file mkdir $copy
exec sh -c "git ls-files -z | xargs -0 cp --parents -t [list $copy]" 2>@1
cd $copy
exec git init -q
cd $root
exec cmake -S $copy -B $copy/build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=$copy/dist 2>@1
set result [noticed_by core]
if {$result ne ""} {
    puts "the tree as it is fails: $result; see $copy/log"
    exit 1
}
foreach folder $folders {
    set code($folder) [code_of $folder]
    set all($folder) [candidates $folder]
    puts "$folder: [llength $all($folder)] mutants to choose from"
}
set tried 0
set killed 0
while {$tried < $count} {
    set folder [lindex $folders [random [llength $folders]]]
    lassign [lindex $all($folder) [random [llength $all($folder)]]] file number name changed
    set lines [lines_of $root/$file]
    set before [lindex $lines [expr {$number - 1}]]
    set channel [open $copy/$file w]
    puts -nonewline $channel [join [lreplace $lines [expr {$number - 1}] [expr {$number - 1}] $changed] \n]
    close $channel
    set result [noticed_by $folder]
    file copy -force $root/$file $copy/$file
    file mtime $copy/$file [clock seconds]
    if {$result in {compiler same}} {
        continue
    }
    incr tried
    incr killed [expr {$result ne ""}]
    puts [format "%3d %-8s %-9s %s:%d" $tried [expr {$result eq "" ? "ALIVE" : $result}] $name $file $number]
    if {$result eq ""} {
        puts "      - [string trim $before]\n      + [string trim $changed]"
    }
    flush stdout
}
puts "mutants: $killed of $tried noticed, [format %.1f [expr {100.0 * $killed / $tried}]] %"
