# Day numbers both ways: around the reform, around year 0, at both ends of the
# range, and a walk over all of it.
foreach n {
    -2147483648 -2147483647 -694692 -693963 -693962 -693598 -693597 -647941 -116138 -116137 -115861 -115860
    -115783 -115782 -46751 -1 0 58 59 36524 36583 73049 146097 2147483646 2147483647
} {
    golden date-$n text [list zavo_days_to_date $n]
    golden days-$n int "zavo_date_to_days {*}\[zavo_days_to_date $n\]"
}
for {set n -2147000000} {$n < 2147000000} {incr n 42949673} {
    golden walk-$n text [list zavo_days_to_date $n]
    golden back-$n int "zavo_date_to_days {*}\[zavo_days_to_date $n\]"
}
foreach {name date} {
    month {1 13 2000}  day {0 1 2000}  zero {1 1 0}  skipped {10 10 1582}  beyond {30 2 2001}
    early {1 13 -100}  late {1 1 5881511}  word {x 1 1}  words {1 1}
} {
    golden bad-$name int [list zavo_date_to_days {*}$date]
}
