# Shared by the scripts of the driver; sourced from the project's root.
# shellcheck shell=bash
set -euo pipefail

say() { printf '== %s\n' "$*"; }
die() {
    printf 'zavo: %s\n' "$*" >&2
    exit 1
}

# skip SUITE REASON PART ...: says that parts of a suite do not run here; ./zavo test
# counts them when it is done.
skip() {
    local suite=$1 reason=$2
    shift 2
    say "$suite: $# skipped ($*): $reason"
    [[ -z ${ZAVO_SKIPPED:-} ]] || printf '%s\n' "${@/#/$suite }" >>"$ZAVO_SKIPPED"
}

# is_one_of WORD NAME ...
is_one_of() {
    local word=$1 name
    shift
    for name in "$@"; do
        [[ $name != "$word" ]] || return 0
    done
    return 1
}

# demand WHAT WORD NAME ...: ends with a list of the names when the word is none of them.
demand() {
    local what=$1 word=$2
    shift 2
    is_one_of "$word" "$@" || die "there is no $what '$word'; there are: $*"
}

# as_root COMMAND ...: runs it with the rights that installing needs.
as_root() {
    if [[ $(id -u) -eq 0 ]]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        die "needs root or sudo for: $*"
    fi
}

apt_quietly() {
    local log
    log=$(mktemp)
    if ! as_root env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=300 "$@" >"$log" 2>&1; then
        tail -n 20 "$log" >&2
        rm -f "$log"
        return 1
    fi
    rm -f "$log"
}

# Whether the kernel runs 32-bit programs: one that only ends, of a header of 52 bytes,
# one of 32 for its only segment, and exit(0).
runs_32_bits() {
    local program status=0
    program=$(mktemp)
    {
        printf '\177ELF\1\1\1\0\0\0\0\0\0\0\0\0\2\0\3\0\1\0\0\0\124\200\4\10\64\0\0\0'
        printf '\0\0\0\0\0\0\0\0\64\0\40\0\1\0\0\0\0\0\0\0'
        printf '\1\0\0\0\0\0\0\0\0\200\4\10\0\200\4\10\133\0\0\0\133\0\0\0\5\0\0\0\0\20\0\0'
        printf '\61\300\100\61\333\315\200'
    } >"$program"
    chmod 755 "$program"
    "$program" 2>/dev/null || status=1
    rm -f "$program"
    return "$status"
}

package_installed() {
    [[ $(dpkg-query -W -f='${Status}' "$1" 2>/dev/null) == "install ok installed" ]]
}

# consent WHAT UNDO: says what is about to be added to the system beyond packages of its
# own architecture and archive. A person at a terminal is asked, unless ./zavo got --yes
# or CI is set.
consent() {
    local answer=
    say "this adds to your system: $1"
    say "to undo it later: $2"
    [[ ${ZAVO_YES:-no} == yes || -n ${CI:-} || ! -t 0 ]] && return 0
    read -r -p "Go on? [y/N] " answer || true
    [[ $answer == [yY]* ]] || die "nothing was added"
}

# need_packages NAME ...: installs the Debian packages that are missing.
need_packages() {
    local name missing=()
    for name in "$@"; do
        package_installed "$name" || missing+=("$name")
    done
    [[ ${#missing[@]} -eq 0 ]] && return 0
    command -v apt-get >/dev/null || die "needs these Debian packages: ${missing[*]}"
    say "installing ${missing[*]}"
    apt_quietly update || say "apt-get update had trouble; going on with the lists at hand"
    apt_quietly install -y --no-install-recommends "${missing[@]}" ||
        die "cannot install ${missing[*]}"
}

# tcl85_library LIBRARY TARGET: a copy of a Tcl 8.6's script library that gives every
# interpreter the script level of 8.5 (tests/support/tcl85_level.tcl). A process
# whose TCL_LIBRARY names it has the level, and so have its children.
tcl85_library() {
    rm -rf "$2"
    mkdir -p "$2"
    cp -rs "$(realpath "$1")"/. "$2"
    rm "$2/init.tcl"
    {
        cat "$1/init.tcl"
        printf 'source [file join $::tcl_library tcl85_level.tcl]\n'
    } >"$2/init.tcl"
    cp tests/support/tcl85_level.tcl "$2"
}

build_packages=(g++ cmake ninja-build pkg-config tcl8.6 tcl8.6-dev libfast-float-dev)
# shellcheck disable=SC2034 # for the scripts that source this one
test_packages=(libgtest-dev)

# configure PRESET [CMAKE ARGUMENT ...]
configure() {
    local preset=$1
    shift
    say "building ($preset)"
    cmake --preset "$preset" "$@" >"build-$preset.log" 2>&1 || {
        cat "build-$preset.log" >&2
        rm -f "build-$preset.log"
        die "configuring $preset failed"
    }
    rm -f "build-$preset.log"
}

# configure_and_build PRESET [CMAKE ARGUMENT ...]
configure_and_build() {
    configure "$@"
    cmake --build --preset "$1" -j "$(nproc)"
}

# golden_compare PRESET INTERPRETER WORD ...: tests/golden/compare.tcl for the installed
# tree and what the preset's target `golden` has built.
golden_compare() {
    local preset=$1 interpreter=$2
    shift 2
    local log status=0
    log=$(mktemp)
    TCLLIBPATH=${TCLLIBPATH:-$(sed -n 's/^CMAKE_INSTALL_PREFIX:[A-Z]*=//p' "build/$preset/CMakeCache.txt")/lib} \
        LOCPATH=$PWD/build/$preset/tests/golden/locale \
        "$interpreter" tests/golden/compare.tcl -host "build/$preset/tests/golden/host" "$@" | tee "$log" || status=$?
    ! grep -q 'skipped (decimal-comma)' "$log" || skip "golden $preset" "no locale has one" "decimal comma"
    rm -f "$log"
    return "$status"
}

# install_tree PRESET: into the prefix that the preset names.
install_tree() {
    cmake --install "build/$1" >/dev/null
}

# build_linux [CMAKE ARGUMENT ...]: dist/ is up to date afterwards.
build_linux() {
    need_packages "${build_packages[@]}"
    configure_and_build release "$@"
    install_tree release
}
