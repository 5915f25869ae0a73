# ./zavo test [SUITE ...]: run test suites; without a name, all of them.
# shellcheck source=scripts/common.sh
source scripts/common.sh

test_unit() {
    need_packages "${build_packages[@]}" "${test_packages[@]}"
    build_linux -DZAVO_BUILD_TESTS=ON
    say "unit tests"
    ctest --preset release -LE long -j "$(nproc)"
}

# run_script_tests DIST [ENV=VALUE ...]: tcltest suites against an installed tree.
run_script_tests() {
    local dist=$1
    shift
    need_packages gnuplot-nox
    env TCLLIBPATH="$dist/lib" "$@" tclsh8.6 tests/script/all.tcl
}

test_script() {
    build_linux
    say "script tests"
    run_script_tests "$PWD/dist"
    say "script tests, with the C interface and the script level of Tcl 8.5"
    cmake --build --preset release --target tcl85_interface
    tcl85_library "$(echo 'puts [info library]' | tclsh8.6)" "$PWD/build/release/tests/tcl85"
    run_script_tests "$PWD/dist" TCL_LIBRARY="$PWD/build/release/tests/tcl85" \
        ZAVO_TCL85_INTERFACE="$PWD/build/release/tests/libtcl85_interface.so"
}

# Results to the bit, against the committed ones; the Windows suite compares
# with the same.
test_golden() {
    build_linux -DZAVO_BUILD_TESTS=ON
    say "golden results"
    TCLLIBPATH="$PWD/dist/lib" tclsh8.6 tests/golden/compare.tcl -library build/release/tests/golden/zavo_golden
}

# The same unit and script suites under the sanitizers. The interpreter itself
# is not instrumented, so the run-time library is loaded ahead of it.
test_sanitize() {
    need_packages "${build_packages[@]}" "${test_packages[@]}"
    configure_and_build sanitize
    install_tree sanitize
    say "unit tests under the sanitizers"
    ctest --preset sanitize -LE long -j "$(nproc)"
    say "script tests under the sanitizers"
    run_script_tests "$PWD/build/sanitize/dist" \
        LD_PRELOAD="$(gcc -print-file-name=libasan.so):$(gcc -print-file-name=libubsan.so)" \
        LSAN_OPTIONS="suppressions=$PWD/tests/support/leaks_of_tcl.supp:print_suppressions=0" \
        ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1
}

# Beyond the corpus: each fuzz target for a while, with inputs of its own. Not
# part of the whole run.
test_fuzz() {
    need_packages "${build_packages[@]}" "${test_packages[@]}" clang libclang-rt-dev
    configure_and_build fuzz
    local program piece
    for program in build/fuzz/tests/fuzz_*; do
        [[ -x $program && -f $program ]] || continue
        piece=${program##*/fuzz_}
        say "fuzzing $piece for ${ZAVO_FUZZ_SECONDS:-60} seconds"
        mkdir -p "build/fuzz/found/$piece"
        "$program" -max_total_time="${ZAVO_FUZZ_SECONDS:-60}" -max_len=4096 -verbosity=0 \
            -artifact_prefix="build/fuzz/found/" "build/fuzz/found/$piece" "tests/fuzz/corpus/$piece"
    done
}

run_suite() {
    case "$1" in
    unit) test_unit ;;
    script) test_script ;;
    golden) test_golden ;;
    sanitize) test_sanitize ;;
    fuzz) test_fuzz ;;
    windows) bash scripts/windows.sh test ;;
    package) bash scripts/package.sh test ;;
    docs) bash scripts/docs.sh test ;;
    lint) bash scripts/lint.sh ;;
    *) die "there is no test suite '$1'" ;;
    esac
}

# A suite whose script is not part of the tree is not offered.
suites=(unit script golden sanitize)
for optional in windows package docs lint; do
    [[ -f scripts/$optional.sh ]] && suites+=("$optional")
done

if [[ $# -gt 0 ]]; then
    suites=("$@")
fi
for suite in "${suites[@]}"; do
    run_suite "$suite"
done
say "all suites passed: ${suites[*]}"
