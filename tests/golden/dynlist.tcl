# Lists: the rounding of numbers that come in, the digits of those that go out.
golden float-rounding list {dynlist create float {0.1 -0.1 1e-3 16777217 16777219 1.00000006 3.4028235e38
    3.4028235677973362e38 1e-38 1.1754943508222875e-38 1e-45 7.0064923216240854e-46 7.0064923216240862e-46
    -0.0 Inf -Inf 0x10 123456789 2.2250738585072014e-308 8.5070591730234616e37}}
golden float-bits list {dynlist frombytes float [binary format i* {0x7f800001 0x7fc00000 0xffc00001 1 0x80000000}]}
golden int-range list {dynlist create int {0 -1 2147483647 -2147483648 0x7f}}
golden nested list {dynlist create list [list [dynlist create float {0.5 0.25}] [dynlist create float {0.1 0.2 0.3}]]}
golden digits text {dynlist take [dynlist create float {0.1 1e10 1e-10 16777216 3.4028235e38 1e-45 0.333333343}]}
golden index text {set l [dynlist create float {1 2 0.3}]; set v [dynlist get $l end]; dynlist free $l; set v}
golden names text {dynlist names}
foreach {name script} {
    unknown {dynlist get nosuch}
    float-range {dynlist create float 1e39}
    int-range-error {dynlist create int 2147483648}
    partial-bytes {dynlist frombytes int abc}
} {
    golden $name text $script
}
