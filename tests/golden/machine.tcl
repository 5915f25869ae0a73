# Machine constants: every value, and the texts of errors.
for {set i 0} {$i <= 12} {incr i} {
    golden integer-$i int [list zavo_i_machine $i]
}
foreach i {1 2 3 4 5 7 8} {
    golden float-$i double [list zavo_f_machine $i]
}
golden float-6-class text {string match NaN* [zavo_f_machine 6]}
foreach {name script} {
    usage {zavo_i_machine}
    word {zavo_f_machine x}
    above {zavo_i_machine 13}
    below {zavo_f_machine 0}
} {
    golden $name text $script
}
