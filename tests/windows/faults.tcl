# faults.tcl dll: loads the DLL of fault_module.cpp, twice, into interpreters of
# one process. Its initialisation fails when a fault is not trapped.
set dll [file normalize [lindex $argv 0]]
foreach round {1 2} {
    set child [interp create]
    $child eval [list load $dll Faulty]
    interp delete $child
}
puts "faults: all trapped in [file tail [info nameofexecutable]]"
