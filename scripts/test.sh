# ./zavo test [SUITE [NAME ...]] ...: run test suites; without a suite, all that
# belong to every change. Words that name no suite belong to the suite before them
# and choose from it: tests of unit and long, files of script, targets of fuzz. So do
# the parts of other targets' suites, some of which are called like a suite.
# shellcheck source=scripts/common.sh
source scripts/common.sh

# ---- What there is -------------------------------------------------------------

# A suite NAME is a function test_NAME; when it takes names, names_NAME prints them.
# Those of every change run in this order; one whose scripts/NAME.sh is named but not
# part of the tree is not offered.
#   name | when | script | what
table='
unit      | change |         | routines from C++; NAME: a folder, a group, a test or a pattern of them
script    | change |         | commands from Tcl, once more as Tcl 8.5 would have them; NAME: a file
golden    | change |         | results to the bit; NAME: all, for one table of all targets
memory    | change |         | every allocation of every command fails in turn; NAME: a command
sanitize  | change |         | unit and script under AddressSanitizer and UndefinedBehaviorSanitizer
windows   | change | windows | unit, golden, script and more as 32-bit Windows programs under Wine; NAME: a part
windows64 | change | windows | golden, imports, faults and script as 64-bit ones; NAME: a part, unit and desktop too
tcl9      | change | tcl9    | the module for Tcl 9: unit, script, golden, docs; NAME: a part
arm64     | change | cross_linux | 64-bit ARM under emulation: golden, and no fused arithmetic; NAME: a part, unit and script too
package   | change | package | archives unpacked and used, .deb installed, upgraded and removed
docs      | change | docs    | the manual built and checked, transcripts of its pages
explore   | change |         | the window of the explorer, by mouse and keyboard on a virtual display
lint      | change | lint    | formatting and static checks
coverage  | demand |         | lines and branches that the suites of a change reach, a folder
soak      | demand |         | mixed work and a million faults for ZAVO_SOAK_SECONDS (600), with the memory watched
valgrind  | demand |         | memcheck over the script tests; NAME: a file
i386      | demand | cross_linux | 32-bit x86 Linux: golden; NAME: a part, unit and script too
mutants   | demand |         | changes of one line that the tests must notice; NAME: how many (40), then the seed of the sample (1)
long      | demand |         | the tests of minutes; NAME as for unit
browser   | demand |         | the manual in headless Chromium: links, searches, a width like a telephone
tsan      | demand |         | the tests of threads under ThreadSanitizer
fuzz      | demand |         | each target with inputs of its own for ZAVO_FUZZ_SECONDS (60) or ZAVO_FUZZ_RUNS of them; NAME: a target
'
declare -A about=()
ordinary=()
on_demand=()
while IFS='|' read -r name when script what; do
    name=${name// /} when=${when// /} script=${script// /}
    [[ -n $name && (-z $script || -f scripts/$script.sh) ]] || continue
    about[$name]=${what# }
    if [[ $when == change ]]; then ordinary+=("$name"); else on_demand+=("$name"); fi
done <<<"$table"

list_suites() {
    local suite
    printf 'Suites of every change:\n'
    for suite in "${ordinary[@]}"; do
        printf '  %-10s %s\n' "$suite" "${about[$suite]}"
    done
    printf 'Suites on demand:\n'
    for suite in "${on_demand[@]}"; do
        printf '  %-10s %s\n' "$suite" "${about[$suite]}"
    done
}

# Tests in the sources, as lines of layer, group and test: fft real_fft backward_...
# unit_tests PATTERN, with the pattern of the files' names.
unit_tests() {
    # shellcheck disable=SC2046,SC2086 # patterns
    awk -f tools/unit_tests.awk tests/unit/*/$1 $(compgen -G "tests/fault/$1") | cut -d' ' -f1-3
}
names_unit() { unit_tests '*_test.cpp' | awk '{print $1; print $2}' | sort -u; }
names_long() { unit_tests '*_long.cpp' | awk '{print $1; print $2}' | sort -u; }
names_script() { printf '%s\n' tests/script/*.test | sed 's|.*/||; s|\.test$||'; }
names_windows() { printf '%s\n' unit golden imports faults script desktop; }
names_tcl9() { printf '%s\n' unit script golden docs; }
names_arm64() { printf '%s\n' fusion golden unit script; }
names_i386() { printf '%s\n' golden unit script; }
names_golden() { echo all; }
names_mutants() { echo 40; }
names_windows64() { names_windows; }
names_valgrind() { names_script; }
names_memory() { grep -oE '(zavox?_[a-z0-9_]+|dynlist\.[a-z]+)' tests/fault/commands_memory.tcl | sort -u; }
names_fuzz() { printf '%s\n' tests/fuzz/fuzz_*.cpp | sed 's|.*/fuzz_||; s|\.cpp$||'; }

# matching PATTERN_OF_FILES NAME ...: those of the unit tests that a name chooses.
matching() {
    local files=$1 name layer group test
    shift
    while read -r layer group test; do
        for name in "$@"; do
            # shellcheck disable=SC2053 # names are patterns
            if [[ $layer == $name || $group == $name || $group.$test == $name || $test == $name ]]; then
                printf '%s %s %s\n' "$layer" "$group" "$test"
                break
            fi
        done
    done < <(unit_tests "$files")
}

# check_names SUITE NAME ...: each must choose something.
check_names() {
    local suite=$1 name known
    shift
    [[ $# -gt 0 ]] || return 0
    declare -F "names_$suite" >/dev/null ||
        die "there is no test suite '$1'; there are: ${ordinary[*]}; on demand: ${on_demand[*]}"
    mapfile -t known < <("names_$suite")
    for name in "$@"; do
        case $suite in
        unit) [[ -n $(matching '*_test.cpp' "$name") ]] && continue ;;
        long) [[ -n $(matching '*_long.cpp' "$name") ]] && continue ;;
        mutants) [[ $name =~ ^[0-9]+$ ]] && continue ;;
        *) is_one_of "$name" "${known[@]}" && continue ;;
        esac
        die "the suite $suite has no '$name', and no suite has that name; $suite has: ${known[*]}"
    done
}

# ---- The suites ----------------------------------------------------------------

# run_units LABEL FILES [NAME ...]: the unit tests, or those that the names choose.
run_units() {
    local label=$1 files=$2 filter layers layer
    shift 2
    need_packages "${build_packages[@]}" "${test_packages[@]}"
    if [[ $# -eq 0 ]]; then
        build_linux -DZAVO_BUILD_TESTS=ON
        say "$label tests"
        if [[ $label == long ]]; then
            cmake --build --preset release --target long_programs -j "$(nproc)"
            ctest --preset release -L long -j "$(nproc)"
        else
            ctest --preset release -LE long -j "$(nproc)"
        fi
        return
    fi
    filter=$(matching "$files" "$@" | awk '{printf "%s%s.%s:%s/*.%s:*/%s.%s/*", colon, $2, $3, $2, $3, $2, $3; colon = ":"}')
    mapfile -t layers < <(matching "$files" "$@" | awk '{print $1}' | sort -u)
    configure release -DZAVO_BUILD_TESTS=ON
    for layer in "${layers[@]}"; do
        cmake --build --preset release --target "${label}_$layer" -j "$(nproc)"
        "build/release/tests/${label}_$layer" --gtest_filter="$filter"
    done
}

test_unit() { run_units unit '*_test.cpp' "$@"; }
# Synchronous faults are posted in their handler, by whatever that takes.
test_tsan() {
    need_packages "${build_packages[@]}" "${test_packages[@]}"
    configure_and_build threads
    say "threads under ThreadSanitizer"
    TSAN_OPTIONS=report_signal_unsafe=0 build/threads/tests/unit_threads
}

test_long() { run_units long '*_long.cpp' "$@"; }

# run_script_tests DIST NAMES [ENV=VALUE ...]: tcltest suites against an installed
# tree; NAMES are files with blanks between them, none for all.
run_script_tests() {
    local dist=$1 names=$2
    shift 2
    need_packages gnuplot-nox parallel tcl-thread
    # shellcheck disable=SC2086 # words
    env TCLLIBPATH="$dist/lib" "$@" tclsh8.6 tests/script/all.tcl $names
}

# script_tests PRESET DIST [NAME ...]: as they are, and once more as Tcl 8.5 would have them.
script_tests() {
    local preset=$1 dist=$2
    shift 2
    say "script tests"
    run_script_tests "$dist" "$*"
    say "script tests, with the C interface and the script level of Tcl 8.5"
    cmake --build --preset "$preset" --target tcl85_interface
    tcl85_library "$(echo 'puts [info library]' | tclsh8.6)" "$PWD/build/$preset/tests/tcl85"
    run_script_tests "$dist" "$*" TCL_LIBRARY="$PWD/build/$preset/tests/tcl85" \
        ZAVO_TCL85_INTERFACE="$PWD/build/$preset/tests/libtcl85_interface.so"
}

test_script() {
    build_linux
    script_tests release "$PWD/dist" "$@"
}

# Results to the bit, against the committed ones; the Windows suite compares
# with the same.
golden_tests() { # PRESET
    cmake --build --preset "$1" --target golden
    say "golden results"
    golden_compare "$1" tclsh8.6 -library "build/$1/tests/golden/zavo_golden"
}

test_golden() {
    if [[ $# -gt 0 ]]; then
        bash scripts/golden.sh
        return
    fi
    build_linux -DZAVO_BUILD_TESTS=ON
    golden_tests release
}

# memory_tests PRESET DIST [NAME ...]: allocations of the installed libraries fail,
# those of the interpreter do not.
memory_tests() {
    local preset=$1 dist=$2 library
    shift 2
    say "failing allocations"
    cmake --build --preset "$preset" --target failing_malloc
    library=$PWD/build/$preset/tests/libfailing_malloc.so
    LD_PRELOAD=$library TCLLIBPATH="$dist/lib" tclsh8.6 tests/fault/commands_memory.tcl "$library" "${@/%/*}"
}

test_memory() {
    build_linux
    memory_tests release "$PWD/dist" "$@"
    [[ $# -gt 0 ]] || soak 10
}

# soak SECONDS: mixed work, with an eye on the memory of the process.
soak() {
    say "mixed work for $1 seconds"
    TCLLIBPATH="$PWD/dist/lib" tclsh8.6 tests/support/soak.tcl "$1"
}

test_soak() {
    build_linux -DZAVO_BUILD_TESTS=ON
    cmake --build --preset release --target long_routines -j "$(nproc)"
    soak "${ZAVO_SOAK_SECONDS:-600}"
    build/release/tests/long_routines --gtest_filter='trapped_faults_long.*'
}

# What valgrind says of the interpreter is its own; a finding counts when one of our
# libraries is among its frames, which the log of each process tells.
test_valgrind() {
    build_linux
    need_packages valgrind gnuplot-nox
    local names=("$@") name logs=$PWD/build/valgrind findings
    [[ $# -gt 0 ]] || mapfile -t names < <(names_script)
    rm -rf "$logs"
    mkdir -p "$logs"
    for name in "${names[@]}"; do
        say "valgrind: $name"
        TCLLIBPATH="$PWD/dist/lib" valgrind --quiet --leak-check=full --show-leak-kinds=definite --num-callers=30 \
            --trace-children=yes --trace-children-skip='*gnuplot*' --log-file="$logs/$name.%p" \
            tclsh8.6 "tests/script/$name.test" | tail -n 1
    done
    findings=$(awk -v RS='==[0-9]+== \n' '/zavomath|libmorvel|libquillet|zavox\.so/' "$logs"/*)
    if [[ -n $findings ]]; then
        printf '%s\n' "$findings" | head -n 60
        die "valgrind has findings in our libraries, see build/valgrind"
    fi
    say "valgrind: ${#names[@]} files of script tests, no finding in our libraries"
}

# Lines and branches by folder that the suites of every change reach; what none of them
# does stands in tests/coverage/unreached.txt with the reason. Left out are branches
# that nobody wrote: of exceptions, of lines that are a brace, of asserts that hold, and
# of Tcl's macro for a reference less (docs/testing.md).
test_coverage() {
    need_packages "${build_packages[@]}" "${test_packages[@]}" gcovr tcllib
    configure_and_build coverage
    install_tree coverage
    find build/coverage -name '*.gcda' -delete
    local dist=$PWD/build/coverage/dist
    say "unit tests, counted"
    # What fails is counted all the same; the suites themselves say so.
    ctest --test-dir build/coverage -LE long -j "$(nproc)" --output-on-failure | tail -n 3 || true
    script_tests coverage "$dist" || true
    golden_tests coverage || true
    memory_tests coverage "$dist" || true
    say "coverage"
    gcovr --root . --object-directory build/coverage --exclude 'tests/.*' --exclude 'build/.*' --exclude 'bench/.*' \
        --exclude-throw-branches --exclude-unreachable-branches \
        --exclude-branches-by-pattern '^\s*(assert\(|Tcl_DecrRefCount\([\w\[\]]+\);$).*' \
        --gcov-ignore-parse-errors --json build/coverage/coverage.json build/coverage
    tclsh8.6 tools/coverage.tcl build/coverage/coverage.json tests/coverage/unreached.txt
}

# Each mutant is a clone of this tree with one line changed (tools/mutants.tcl).
test_mutants() {
    need_packages "${build_packages[@]}" "${test_packages[@]}"
    build_linux -DZAVO_BUILD_TESTS=ON
    tclsh8.6 tools/mutants.tcl "${@:-40}"
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
    run_script_tests "$PWD/build/sanitize/dist" "" \
        LD_PRELOAD="$(gcc -print-file-name=libasan.so):$(gcc -print-file-name=libubsan.so)" \
        LSAN_OPTIONS="suppressions=$PWD/tests/support/leaks_of_tcl.supp:print_suppressions=0" \
        ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1
}

# Beyond the corpus: each fuzz target for a while, with inputs of its own.
test_fuzz() {
    local targets=("$@") piece program
    [[ $# -gt 0 ]] || mapfile -t targets < <(names_fuzz)
    need_packages "${build_packages[@]}" "${test_packages[@]}" clang libclang-rt-dev
    configure_and_build fuzz
    for piece in "${targets[@]}"; do
        program=build/fuzz/tests/fuzz_$piece
        say "fuzzing $piece for ${ZAVO_FUZZ_SECONDS:-60} seconds${ZAVO_FUZZ_RUNS:+ or $ZAVO_FUZZ_RUNS inputs}"
        mkdir -p "build/fuzz/found/$piece" "tests/fuzz/corpus/$piece"
        "$program" -max_total_time="${ZAVO_FUZZ_SECONDS:-60}" -runs="${ZAVO_FUZZ_RUNS:--1}" -max_len=4096 \
            -verbosity=0 -print_final_stats=1 -artifact_prefix="build/fuzz/found/" \
            "build/fuzz/found/$piece" "tests/fuzz/corpus/$piece"
    done
}

test_windows() { bash scripts/windows.sh 32 test "$@"; }
test_tcl9() { bash scripts/tcl9.sh test "$@"; }
test_arm64() { bash scripts/cross_linux.sh arm64 test "$@"; }
test_i386() { bash scripts/cross_linux.sh i386 test "$@"; }
test_windows64() { bash scripts/windows.sh 64 test "$@"; }
test_package() { bash scripts/package.sh test; }
test_docs() { bash scripts/docs.sh test; }
test_browser() { bash scripts/docs.sh browser; }

test_explore() {
    need_packages tk8.6 tklib tcllib libtk-img xvfb xauth
    build_linux
    say "the explorer on a virtual display"
    TCLLIBPATH="$PWD/dist/lib" xvfb-run -a -s "-screen 0 1280x900x24" tclsh8.6 tests/explore/explore.test
}

test_lint() { bash scripts/lint.sh; }

# ---- The command line ------------------------------------------------------------

if [[ ${1:-} == --list ]]; then
    list_suites
    exit 0
fi

# is_part SUITE WORD: a part of another target's suite, which may be called like a suite.
is_part() {
    local parts
    is_one_of "$1" windows windows64 tcl9 arm64 i386 || return 1
    mapfile -t parts < <("names_$1")
    is_one_of "$2" "${parts[@]}"
}

# A run is a suite and its names, with line feeds between them.
runs=()
for word in "$@"; do
    if [[ ${#runs[@]} -gt 0 ]] && is_part "${runs[-1]%%$'\n'*}" "$word"; then
        runs[-1]+=$'\n'$word
    elif is_one_of "$word" "${ordinary[@]}" "${on_demand[@]}"; then
        runs+=("$word")
    elif [[ ${#runs[@]} -eq 0 ]]; then
        die "there is no test suite '$word'; there are: ${ordinary[*]}; on demand: ${on_demand[*]}"
    else
        runs[-1]+=$'\n'$word
    fi
done
[[ ${#runs[@]} -gt 0 ]] || runs=("${ordinary[@]}")
for run in "${runs[@]}"; do
    mapfile -t words <<<"$run"
    check_names "${words[@]}"
done
ZAVO_SKIPPED=$(mktemp)
export ZAVO_SKIPPED
# shellcheck disable=SC2064 # the name is known now
trap "rm -f '$ZAVO_SKIPPED'" EXIT
times=()
for run in "${runs[@]}"; do
    mapfile -t words <<<"$run"
    begin=$SECONDS
    "test_${words[0]}" "${words[@]:1}"
    times+=("${words[0]} $((SECONDS - begin))")
done
# Code paths that this processor cannot run, as the test programs name them.
sed -n 's/^.*paths not on this processor: //p' build/*/Testing/Temporary/LastTest.log 2>/dev/null |
    tr ' ' '\n' | sort -u | sed 's/^./path &/' >>"$ZAVO_SKIPPED" || true
mapfile -t skipped <"$ZAVO_SKIPPED"
say "all suites passed: ${runs[*]//$'\n'/ }"
say "seconds, with what was built and fetched for them: $(IFS=, && echo "${times[*]}")"
[[ ${#skipped[@]} -eq 0 ]] || say "not run here, ${#skipped[@]} parts: $(IFS=, && echo "${skipped[*]}")"
