# ./zavo build tcl9, ./zavo test tcl9: the module for Tcl 9 beside that for Tcl 8,
# in the same package folder, and its suites under a Tcl 9.0.
#
#   scripts/tcl9.sh build|test [PART ...]
#
# PART is unit, script, golden, docs or table; without one, the first four. Where this
# system has no Tcl 9, that of Debian 13 is fetched into .cache/tcl9 and run from
# there, with the C library that it needs.
# shellcheck source=scripts/common.sh
source scripts/common.sh
# shellcheck source=scripts/debian_root.sh
source scripts/debian_root.sh

root=$PWD/.cache/tcl9
all_parts=(unit script golden docs)

# Sets `tclsh`, `config` (a tclConfig.sh) and `run` (words before a program that
# embeds Tcl 9); 1 when there is no Tcl 9.
find_tcl9() {
    local architecture libraries
    architecture=$(gcc -print-multiarch 2>/dev/null || dpkg-architecture -qDEB_HOST_MULTIARCH)
    config=/usr/lib/$architecture/tcl9.0/tclConfig.sh
    if [[ -f $config ]] && command -v tclsh9.0 >/dev/null; then
        tclsh=tclsh9.0 run=()
        return 0
    fi
    debian_root "$root" trixie "$(dpkg --print-architecture)" tcl9.0 libtcl9.0 libstdc++6 tcl9.0-dev! || return 1
    libraries=$root/usr/lib/$architecture
    config=$libraries/tcl9.0/tclConfig.sh
    tclsh=$root/tclsh9.0
    local -a loader=("$libraries"/ld-linux*.so.*)
    run=("${loader[0]}" --library-path "$libraries:$root/lib/$architecture")
    export TCL9_0_TM_PATH=$root/usr/lib/tcl9.0/tcl9
    run_by "$tclsh" env "TCL_LIBRARY=$root/usr/lib/tcl9.0" "${run[@]}" --argv0 @self@ "$root/usr/bin/tclsh9.0"
    run=(env "TCL_LIBRARY=$root/usr/lib/tcl9.0" "${run[@]}")
}

# What embeds an interpreter. The program's own C library is older than that of
# Tcl, so it is linked without a look at what the latter needs, and runs through a
# script, which a death test that starts its own program anew comes through again.
part_unit() {
    local program=$PWD/build/release/tests/tcl9unit_morvel
    cmake --build --preset release --target tcl9unit_morvel -j "$(nproc)"
    if [[ ${#run[@]} -gt 0 ]]; then
        run_by "$program.launch" "${run[@]}" --argv0 @self@ "$program"
        program+=.launch
    fi
    "$program"
}

part_script() {
    need_packages gnuplot-nox
    TCLLIBPATH="$PWD/dist/lib" "$tclsh" tests/script/all.tcl
}

part_golden() {
    golden_compare release "$tclsh" -library build/release/tests/golden/zavo_golden
}

part_docs() {
    TCLLIBPATH="$PWD/dist/lib" "$tclsh" tools/doc_examples.tcl docs/*.man || die "pages and reality differ, see above"
}

# Rows of the table of golden results.
part_table() {
    golden_compare release "$tclsh" -table linux-x86_64
}

test_tcl9() {
    local part parts=("$@")
    [[ ${#parts[@]} -gt 0 ]] || parts=("${all_parts[@]}")
    need_packages "${build_packages[@]}" "${test_packages[@]}"
    if ! find_tcl9; then
        skip tcl9 "Tcl 9 cannot be had" "${parts[@]}"
        exit 0
    fi
    # The unit tests and their framework only where they are asked for.
    local tests=OFF
    ! is_one_of unit "${parts[@]}" || tests=ON
    build_linux -DZAVO_BUILD_TESTS=$tests -DZAVO_TCL9_CONFIG="$config"
    cmake --build --preset release --target golden
    for part in "${parts[@]}"; do
        is_one_of "$part" "${all_parts[@]}" table || die "tcl9 tests have no part '$part'"
        say "tcl9: $part"
        "part_$part"
    done
    say "tcl9: ${#parts[@]} suites passed (${parts[*]})"
}

case "${1:-}" in
build)
    need_packages "${build_packages[@]}"
    find_tcl9 || die "Tcl 9 cannot be had"
    build_linux -DZAVO_TCL9_CONFIG="$config"
    say "installed into dist/ for Tcl 8 and Tcl 9; try: TCLLIBPATH=dist/lib $tclsh"
    ;;
test)
    test_tcl9 "${@:2}"
    ;;
*)
    die "usage: scripts/tcl9.sh build|test [PART ...]"
    ;;
esac
