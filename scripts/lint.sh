# ./zavo lint [--fix] [FILE ...]: formatting and static checks of the whole tree, or
# of the named files; --fix formats the sources first. clang-tidy looks at what is
# shipped, and skips what it has passed before (build/lint remembers).
# shellcheck source=scripts/common.sh
source scripts/common.sh

fix=no
if [[ ${1:-} == --fix ]]; then
    fix=yes
    shift
fi
for file in "$@"; do
    [[ $file != -* ]] || die "lint has no option '$file'; there is: --fix, before the files"
    [[ -f $file ]] || die "there is no file '$file'; there are those of: git ls-files"
done
need_packages "${build_packages[@]}" "${test_packages[@]}" clang-format-14 clang-tidy-14 shellcheck
if [[ $# -gt 0 ]]; then
    files=("$@")
else
    mapfile -t files < <(git ls-files --cached --others --exclude-standard)
fi

# select PATTERN: the files whose names match the extended regular expression.
select_files() {
    local file
    for file in "${files[@]}"; do
        [[ -f $file && $file =~ $1 ]] && printf '%s\n' "$file"
    done
    return 0
}

failed=()

check_blanks() {
    say "blanks and tabs"
    local text
    mapfile -t text < <(select_files '(\.(c|h|cpp|hpp|in|tcl|test|sh|md|man|cmake|json|txt|supp|map|rc|yml)|CMakeLists\.txt|^zavo|^\.[a-z-]+)$' |
        grep -v '^tests/golden/expected/\|/corpus/\|^examples/data/')
    [[ ${#text[@]} -eq 0 ]] && return 0
    if grep -nE ' +$|'$'\t' /dev/null "${text[@]}"; then
        failed+=("blanks at line ends or tabs")
    fi
    local file
    for file in "${text[@]}"; do
        if [[ -s $file && -n $(tail -c 1 "$file") ]]; then
            printf '%s: no line feed at the end\n' "$file"
            failed+=("$file does not end with a line feed")
        fi
    done
}

check_format() {
    say "clang-format"
    local sources
    mapfile -t sources < <(select_files '\.(c|h|cpp|hpp)$')
    [[ ${#sources[@]} -eq 0 ]] && return 0
    [[ $fix == no ]] || clang-format-14 -i "${sources[@]}"
    clang-format-14 --dry-run --Werror "${sources[@]}" || failed+=("clang-format: ./zavo lint --fix puts it right")
}

check_shell() {
    say "shellcheck"
    local scripts
    mapfile -t scripts < <(select_files '(\.sh|^zavo|^\.ci/run)$')
    [[ ${#scripts[@]} -eq 0 ]] && return 0
    shellcheck -x -S warning -s bash "${scripts[@]}" || failed+=("shellcheck")
}

# Every include against the table of arrows; that the check bites is shown first.
check_arrows() {
    say "includes (tools/arrows.txt)"
    local sources trial
    trial=$(mktemp -d)
    mkdir -p "$trial/core"
    printf '#include "fft/tables/factors.hpp"\n' >"$trial/core/trial.cpp"
    if tclsh8.6 tools/check_arrows.tcl tools/arrows.txt "$trial" core/trial.cpp >/dev/null; then
        failed+=("tools/check_arrows.tcl lets core include fft")
    fi
    rm -rf "$trial"
    mapfile -t sources < <(select_files '\.(c|h|cpp|hpp)$' | grep -v '^tests/\|^bench/')
    [[ ${#sources[@]} -eq 0 ]] && return 0
    tclsh8.6 tools/check_arrows.tcl tools/arrows.txt . "${sources[@]}" ||
        failed+=("includes that tools/arrows.txt does not allow")
}

# Debian has no checker for Tcl; braces and brackets at least must close.
check_tcl() {
    say "Tcl scripts are complete"
    local scripts
    mapfile -t scripts < <(select_files '(\.(tcl|test)|^catalogue/zavomsg)$')
    [[ ${#scripts[@]} -eq 0 ]] && return 0
    # What the tests with the script level of 8.5 cannot refuse.
    if grep -nE '\\U[0-9A-Fa-f]' /dev/null "${scripts[@]}"; then
        failed+=("\\U in a string came with Tcl 8.6; \\u is there in 8.5")
    fi
    tclsh8.6 /dev/stdin "${scripts[@]}" <<'SCRIPT' || failed+=("Tcl")
set bad 0
foreach name $argv {
    set channel [open $name]
    fconfigure $channel -encoding utf-8
    if {![info complete [read $channel]]} {
        puts "$name: a brace, bracket or quote is not closed"
        set bad 1
    }
    close $channel
}
exit $bad
SCRIPT
}

# Tests in C++ are named as those of the scripts, group and test: small letters, digits
# and underscores, and a name of at least two words says what must hold. gtest keeps
# names that stand twice out of a program.
misnamed_tests() {
    awk -f tools/unit_tests.awk "$@" | awk '
        $2 !~ /^[a-z][a-z0-9_]*$/ || $3 !~ /^[a-z0-9]+(_[a-z0-9]+)+$/ {
            print $4 ": the name " $2 "." $3 " is not of the form group.what_must_hold"
        }'
}
check_test_names() {
    say "names of tests in C++"
    local sources trial bad
    trial=$(mktemp -d)
    printf 'TEST(Vector, keeps_its_length)\nTEST(vector, length)\nTEST(vector, keeps_its_length)\n' >"$trial/trial_test.cpp"
    if [[ $(misnamed_tests "$trial/trial_test.cpp" | wc -l) -ne 2 ]]; then
        failed+=("the check of test names does not tell good from bad")
    fi
    rm -rf "$trial"
    mapfile -t sources < <(select_files '^tests/.*(_test|_long)\.cpp$')
    [[ ${#sources[@]} -eq 0 ]] && return 0
    bad=$(misnamed_tests "${sources[@]}")
    [[ -z $bad ]] || { printf '%s\n' "$bad"; failed+=("names of tests in C++"); }
}

# Each oddity that is kept names the test that pins it; that the check bites is shown first.
check_kept() {
    say "kept oddities and their tests (tools/check_kept.tcl)"
    local sources trial
    trial=$(mktemp -d)
    # shellcheck disable=SC2046 # names
    awk -f tools/unit_tests.awk $(git ls-files 'tests/*_test.cpp' 'tests/*_long.cpp') >"$trial/unit"
    printf '// Kept: odd (trial.no_such_test).\n// Kept: odder.\nint i;\n' >"$trial/trial.cpp"
    if [[ $(tclsh8.6 tools/check_kept.tcl "$trial/unit" tests/script "$trial/trial.cpp" | wc -l) -ne 2 ]]; then
        failed+=("tools/check_kept.tcl takes notes without a test")
    fi
    mapfile -t sources < <(select_files '\.(c|h|cpp|hpp)$' | grep -v '^tests/\|^bench/')
    if [[ ${#sources[@]} -gt 0 ]]; then
        tclsh8.6 tools/check_kept.tcl "$trial/unit" tests/script "${sources[@]}" ||
            failed+=("kept oddities without a test")
    fi
    rm -rf "$trial"
}

# What clang-tidy says about a file depends on the file, the headers and the
# settings; a stamp named after all of them says that it was clean.
tidy_one() {
    local stamp
    stamp=build/lint/$( (cat "$1" "$LINT_COMMON"; printf '%s' "$1") | sha256sum | cut -c1-32)
    [[ -f $stamp ]] && return 0
    if clang-tidy-14 -p build/tidy --quiet --extra-arg=-Wno-unknown-warning-option \
        --extra-arg=-Wno-ignored-optimization-argument "$1" 2>build/lint/words.$$; then
        : >"$stamp"
    else
        grep -v 'warnings generated\|warning generated' build/lint/words.$$ >&2
        rm -f build/lint/words.$$
        return 1
    fi
    rm -f build/lint/words.$$
}
export -f tidy_one

check_tidy() {
    say "clang-tidy"
    local sources known
    # Each source by itself, as clang-tidy reads it; nothing is built there.
    cmake --preset release -B build/tidy -DZAVO_COMPILE_TOGETHER=OFF >/dev/null || die "configuring failed"
    # clang refuses g++'s switches of single passes.
    sed -i 's/ -fno-ipa-cp-clone//' build/tidy/compile_commands.json
    known=$(sed -n 's|^  "file": "'"$PWD"'/\(.*\)".*|\1|p' build/tidy/compile_commands.json)
    mapfile -t sources < <(select_files '\.(c|cpp)$' | grep -v '^tests/\|^bench/' | grep -xF "$known")
    [[ ${#sources[@]} -eq 0 ]] && return 0
    mkdir -p build/lint
    export LINT_COMMON=build/lint/common
    git ls-files -z --cached --others --exclude-standard '*.h' '*.hpp' .clang-tidy cmake |
        sort -z | xargs -0 cat >"$LINT_COMMON"
    printf '%s\0' "${sources[@]}" | xargs -0 -P 2 -I{} bash -c 'tidy_one "$1"' _ {} ||
        failed+=("clang-tidy")
}

# The driver: every suite is named where people look, and misuse is answered before
# anything is built.
check_driver() {
    say "driver"
    local suite call
    while read -r suite; do
        # shellcheck disable=SC2016 # backquotes of Markdown
        grep -qF '`'"$suite"'`' README.md || failed+=("README.md does not name the test suite $suite")
    done < <(bash scripts/test.sh --list | sed -n 's/^  \([a-z0-9]*\) .*/\1/p')
    mkdir -p build
    for call in 'tset' 'test nosuch' 'test unit -v' 'test golden unit nosuch' 'bench nosuch' 'lint no_such.cpp' 'build nosuch'; do
        # shellcheck disable=SC2086 # words
        if timeout 20 ./zavo $call >build/lint-driver.log 2>&1 || ! grep -q "^zavo: .*: " build/lint-driver.log; then
            failed+=("./zavo $call is not answered with what there is")
        fi
    done
    rm -f build/lint-driver.log
    # What is added to the system is asked about at a terminal, and a no is a no.
    local yes
    for yes in no yes; do
        # "script" gives a terminal.
        printf 'n\n' | script -qec "env -u CI ZAVO_YES=$yes bash -c 'source scripts/common.sh; consent A B && echo added'" \
            /dev/null >build/lint-consent.log 2>&1 || true
        grep -q 'this adds to your system: A' build/lint-consent.log || failed+=("consent does not say what it adds")
        if grep -q '^added' build/lint-consent.log; then
            [[ $yes == yes ]] || failed+=("consent takes no for yes")
        else
            [[ $yes == no ]] || failed+=("consent asks in spite of --yes")
        fi
    done
    rm -f build/lint-consent.log
}

check_blanks
check_driver
check_format
check_shell
check_tcl
check_arrows
check_test_names
check_kept
check_tidy

if [[ ${#failed[@]} -gt 0 ]]; then
    printf '  %s\n' "${failed[@]}" >&2
    die "lint found something"
fi
say "lint is clean"
