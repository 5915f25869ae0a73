# check_imports.tcl objdump dll ...
#
# Reads the import and export tables of the DLLs: the module exports Zavo_Init
# alone and zavox Zavox_Init, and all of them call nothing but the C runtime, the
# services of the system named here, and each other.

# Services of the system, each with its use.
set services {
    GetTickCount            {seed when the module is loaded}
    GetEnvironmentVariableA {search path of the catalogue}
    SearchPathA             {search of the catalogue}
    GetModuleFileNameA      {title of message boxes}
    MessageBoxA             {message-box mode}
    AllocConsole            {console mode}
    GetStdHandle            {console mode}
    WriteConsoleA           {console mode}
    FreeConsole             {console mode}
}
# What may be called of which library; * is everything.
set allowed [dict create \
    KERNEL32.dll [dict keys $services] \
    USER32.dll [dict keys $services] \
    msvcrt.dll * \
    quillet.dll * \
    morvel.dll *]
# Of the C runtime, not even these: they start threads, load libraries or end
# the host behind its back.
set refused {_beginthread _beginthreadex system _popen _spawnl _spawnv abort atexit _onexit __dllonexit}
set exported {tcl_zavomath.dll Zavo_Init zavox.dll Zavox_Init}

# library -> names imported, and the names exported under "".
proc read_tables {objdump dll} {
    set tables [dict create "" {}]
    set library ""
    set section ""
    foreach line [split [exec $objdump -p $dll] \n] {
        if {[regexp {^\s*DLL Name: (\S+)} $line -> library]} {
            dict set tables $library {}
            set section imports
        } elseif {[string match {*Ordinal/Name Pointer*} $line]} {
            set section exports
        } elseif {$section eq "imports" && [regexp {^\t[0-9a-f]+\t\s*\d+\s+(\S+)} $line -> name]} {
            dict lappend tables $library $name
        } elseif {$section eq "exports" && [regexp {^\s+\[\s*\d+\]\s+(\S+)} $line -> name]} {
            dict lappend tables "" $name
        } elseif {[string trim $line] eq "" && $section eq "exports"} {
            set section ""
        }
    }
    return $tables
}

set dlls [lassign $argv objdump]
set faults 0
proc fault {text} {
    incr ::faults
    puts $text
}

set imports 0
foreach dll $dlls {
    set name [file tail $dll]
    set tables [read_tables $objdump $dll]
    if {[dict exists $exported $name] && [dict get $tables ""] ne [dict get $exported $name]} {
        fault "$name exports [dict get $tables ""]; it must export [dict get $exported $name] alone"
    }
    dict unset tables ""
    if {[dict size $tables] == 0} {
        fault "$name: no import table read"
    }
    dict for {library names} $tables {
        if {![dict exists $allowed $library]} {
            fault "$name needs $library ([join $names {, }])"
            continue
        }
        foreach called $names {
            incr imports
            if {$called in $refused || ([dict get $allowed $library] ne "*"
                    && $called ni [dict get $allowed $library])} {
                fault "$name calls $called of $library"
            }
        }
    }
}
foreach {wanted exports} $exported {
    if {$wanted ni [lmap dll $dlls {file tail $dll}]} {
        fault "$wanted was not checked"
    }
}
puts "imports: [llength $dlls] DLLs, $imports imports, $faults faults"
exit [expr {$faults > 0}]
