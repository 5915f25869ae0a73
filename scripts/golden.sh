# ./zavo test golden all: the golden results of every target as one table.
#
# A row is the commands in an interpreter, or the routines, by one of the paths that this
# processor has. A target that cannot be had is a line that says so.
# shellcheck source=scripts/common.sh
source scripts/common.sh

rows=$(mktemp)
log=$(mktemp)
# shellcheck disable=SC2064 # the names are known now
trap "rm -f '$rows' '$log'" EXIT
failed=()

# table_of TARGET COMMAND ...: its rows; what else it says appears when it fails.
table_of() {
    local target=$1 status=0
    shift
    say "golden: $target"
    "$@" >"$log" 2>&1 || status=$?
    if grep -q "^$target " "$log"; then
        grep "^$target " "$log" >>"$rows"
    elif grep -q 'skipped' "$log"; then
        printf '%-14s %s\n' "$target" "skipped: $(grep skipped "$log" | sed 's/.*: //')" >>"$rows"
    fi
    if [[ $status -ne 0 ]]; then
        tail -n 20 "$log" >&2
        failed+=("$target")
    fi
}

linux_table() {
    build_linux -DZAVO_BUILD_TESTS=OFF
    cmake --build --preset release --target golden
    golden_compare release tclsh8.6 -table linux-x86_64 -library build/release/tests/golden/zavo_golden
}

table_of linux-x86_64 linux_table
table_of linux-x86_64 bash scripts/tcl9.sh test table
table_of linux-arm64 bash scripts/cross_linux.sh arm64 test table
table_of linux-i386 bash scripts/cross_linux.sh i386 test table
table_of windows-x86 bash scripts/windows.sh 32 test table
table_of windows-x86_64 bash scripts/windows.sh 64 test table
printf '%-14s %-8s %-12s %8s %9s\n' target path interpreter compared differing
cat "$rows"
[[ ${#failed[@]} -eq 0 ]] || die "golden: failed: ${failed[*]}"
