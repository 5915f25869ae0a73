# awk -f unit_tests.awk FILE ...: the tests of the C++ sources below tests/, a line
# each: layer, group, test and file. A macro may be wrapped behind its first comma.
FNR == 1 {
    count = split(FILENAME, parts, "/")
    layer = parts[count - 1]
    if (layer == "fault") {
        layer = parts[count]
        sub(/_.*/, "", layer)
    }
    open = ""
}
/^(TYPED_)?TEST(_F|_P)?\(/ { open = $0 }
open != "" {
    if ($0 != open)
        open = open $0
    if (open ~ /\)/) {
        match(open, /\(.*\)/)
        split(substr(open, RSTART + 1, RLENGTH - 2), names, /, */)
        print layer, names[1], names[2], FILENAME
        open = ""
    }
}
