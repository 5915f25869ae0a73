# ./zavo build windows[64], ./zavo test windows[64]: the Windows modules, built
# with the cross-compilers and run under Wine.
#
#   scripts/windows.sh 32|64 build|test [PART ...]
#
# PART is unit, golden, imports, faults, script or desktop; without one, all of them
# for 32 bits, and for 64 those that may differ from both 32 bits and Linux.
# What is built once (Tcl from Debian's source package, GoogleTest, Wine's
# settings) stays in .cache/win32 or .cache/win64 until the packages change.
# shellcheck source=scripts/common.sh
source scripts/common.sh
# shellcheck source=scripts/debian_root.sh
source scripts/debian_root.sh
# shellcheck source=scripts/machine.sh
source scripts/machine.sh

bits=${1:-}
case "$bits" in
32)
    triple=i686-w64-mingw32 mingw=i686 wine=wine wine_package=wine32:i386 suite=windows
    table_name=windows-x86
    gtest_flags="-msse2 -mfpmath=sse -mstackrealign -O1" tcl_options=()
    ;;
64)
    # Where the 32-bit Wine is installed, `wine` is that.
    triple=x86_64-w64-mingw32 mingw=x86-64 wine=/usr/lib/wine/wine64 wine_package=wine64 suite=windows64
    table_name=windows-x86_64
    gtest_flags=-O1 tcl_options=(--enable-64bit)
    ;;
*)
    die "usage: scripts/windows.sh 32|64 build|test [PART ...]"
    ;;
esac
shift
preset=win$bits
cache=$PWD/.cache/$preset
tcl_prefix=$cache/tcl
gtest_prefix=$cache/gtest
dist=$PWD/dist-$preset
all_parts=(unit golden imports faults script desktop)
ordinary_parts=("${all_parts[@]}")
programs=(faulty)
[[ $bits == 32 ]] || programs+=(call_convention)
[[ $bits == 32 ]] || ordinary_parts=(golden imports faults script)

export WINEPREFIX=$cache/wine WINEARCH=$preset WINEDEBUG=-all
# No add-ons that Wine would offer to download.
export WINEDLLOVERRIDES="mscoree,mshtml="

# ---- Packages ---------------------------------------------------------------

need_wine() {
    package_installed "$wine_package" && package_installed wine && return 0
    command -v apt-get >/dev/null || die "needs the Debian packages wine and $wine_package"
    local codename
    codename=$(. /etc/os-release && printf '%s' "${VERSION_CODENAME:-}")
    if [[ $wine_package == *:i386 ]] && ! dpkg --print-foreign-architectures | grep -qx i386; then
        consent "the foreign architecture i386 (dpkg), for 32-bit Wine" "dpkg --remove-architecture i386"
        as_root dpkg --add-architecture i386
    fi
    say "installing $wine_package"
    # An index that another mirror lacks for i386 is no reason to stop.
    apt_quietly update || say "apt-get update had trouble; going on with the lists at hand"
    # Libraries of both architectures must have the same version, which may be
    # older than an update that only one of them got.
    apt_quietly install -y --no-install-recommends --allow-downgrades \
        ${codename:+-t "$codename"} "$wine_package" wine || die "cannot install $wine_package"
}

# need_source PACKAGE: apt-get source will find it.
need_source() {
    apt-get source --print-uris "$1" >/dev/null 2>&1 && return 0
    command -v apt-get >/dev/null || die "needs Debian's source package of $1"
    local uri codename
    read -r uri codename < <(apt-get indextargets --format "\$(REPO_URI) \$(CODENAME)" 'Created-By: Packages' |
        grep -v -e -security -e -updates | head -n 1) || die "apt knows no Debian archive"
    local list=/etc/apt/sources.list.d/zavo-source.list
    local keyring=/usr/share/keyrings/debian-archive-keyring.gpg options=
    [[ -f $keyring ]] && options="[signed-by=$keyring] "
    consent "the list $list, for the source packages of $uri" "rm $list"
    printf 'deb-src %s%s %s main\n' "$options" "$uri" "$codename" | as_root tee "$list" >/dev/null
    apt_quietly update || say "apt-get update had trouble; going on with the lists at hand"
    apt-get source --print-uris "$1" >/dev/null 2>&1 || die "cannot get the source package of $1"
}

compile_packages=("${build_packages[@]}" "g++-mingw-w64-$mingw-posix" make dpkg-dev googletest)

# ---- What is cached ----------------------------------------------------------

# Raise it when the way something cached is built changes.
cache_version=1

package_version() { dpkg-query -W -f='${Version}\n' "$1" 2>/dev/null || echo none; }

# is_cached NAME: NAME in the cache was built from the packages at hand.
cache_key() {
    { "$triple-gcc-posix" --version 2>/dev/null || echo none; } | head -n 1
    package_version googletest
    package_version "mingw-w64-$mingw-dev"
    if [[ $1 == wine ]]; then package_version "$wine_package"; fi
    printf '%s\n' "$cache_version"
}
is_cached() { [[ -f $cache/$1.key ]] && [[ $(<"$cache/$1.key") == "$(cache_key "$1")" ]]; }
mark_cached() { cache_key "$1" >"$cache/$1.key"; }

# logged NAME COMMAND ...: its output appears only when it fails.
logged() {
    local log=$cache/$1.log
    shift
    "$@" >"$log" 2>&1 || {
        tail -n 40 "$log" >&2
        die "failed: $*"
    }
}

build_tcl() {
    is_cached tcl && return 0
    need_source tcl8.6
    say "building Tcl 8.6 for $bits-bit Windows"
    rm -rf "$cache/tcl-source" "$tcl_prefix"
    mkdir -p "$cache/tcl-source/build" "$tcl_prefix"/{bin,lib/tcl8/8.5,include}
    (
        cd "$cache/tcl-source"
        logged tcl-fetch apt-get source --download-only tcl8.6
        tar xf tcl8.6_*.orig.tar.*
        mv tcl8.6.* source
        cd build
        export CC=$triple-gcc-posix
        logged tcl-configure sh ../source/win/configure --host="$triple" --enable-threads \
            ${tcl_options[@]+"${tcl_options[@]}"} --prefix="$tcl_prefix"
        logged tcl-make make -j "$(nproc)" CFLAGS_OPTIMIZE=-O1 tclsh86.exe libtclstub86.a zlib1.dll
        cp tclsh86.exe tcl86.dll zlib1.dll "$tcl_prefix/bin"
        cp libtclstub86.a tclConfig.sh "$tcl_prefix/lib"
        cp ../source/generic/tcl*.h "$tcl_prefix/include"
        cp -r ../source/library "$tcl_prefix/lib/tcl8.6"
        rm -rf "$tcl_prefix/lib/tcl8.6/tzdata"
        version=$(sed -n "s/^ *variable Version \([0-9.]*\)$/\1/p" \
            ../source/library/tcltest/tcltest.tcl | head -n 1)
        cp ../source/library/tcltest/tcltest.tcl "$tcl_prefix/lib/tcl8/8.5/tcltest-$version.tm"
    )
    rm -rf "$cache/tcl-source"
    mark_cached tcl
}

build_gtest() {
    is_cached gtest && return 0
    say "building GoogleTest for $bits-bit Windows"
    rm -rf "$cache/gtest-build" "$gtest_prefix"
    logged gtest-configure cmake -S /usr/src/googletest -B "$cache/gtest-build" -G Ninja -DBUILD_GMOCK=OFF \
        -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$gtest_prefix" \
        -DCMAKE_CXX_FLAGS="$gtest_flags" -DCMAKE_CXX_FLAGS_RELEASE=-DNDEBUG \
        -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchain-$preset.cmake"
    logged gtest-build cmake --build "$cache/gtest-build" --target install -j "$(nproc)"
    rm -rf "$cache/gtest-build"
    mark_cached gtest
}

start_wine() {
    if ! is_cached wine; then
        say "setting up Wine ($bits bits)"
        rm -rf "$WINEPREFIX"
        DISPLAY='' logged wineboot "$wine" wineboot -i
        mark_cached wine
    fi
    # One server for all programs of this run; it ends with the last of them.
    wineserver -p20 || true
}

# ---- Building ---------------------------------------------------------------

build_windows() {
    mkdir -p "$cache"
    build_tcl
    [[ $1 == ON ]] && build_gtest
    configure_and_build "$preset" -DZAVO_BUILD_TESTS="$1" -DZAVO_TCL_CONFIG="$tcl_prefix/lib/tclConfig.sh" \
        -DCMAKE_PREFIX_PATH="$gtest_prefix"
    install_tree "$preset"
}

# ---- Testing ----------------------------------------------------------------

# A path as Windows programs see it.
windows_path() { printf 'Z:%s' "${1//\//\\}"; }

# tclsh_wine ARGUMENT ...: the cross-built interpreter with the module installed.
tclsh_wine() {
    TCL_LIBRARY=${TCL_LIBRARY:-$(windows_path "$tcl_prefix/lib/tcl8.6")} TCLLIBPATH="Z:$dist/lib" \
        "$wine" "$tcl_prefix/bin/tclsh86.exe" "$@"
}

part_unit() {
    ctest --test-dir build/$preset --output-on-failure -LE 'long|desktop' -j "$(nproc)"
}

part_golden() {
    golden_compare "$preset" tclsh_wine -library "$(windows_path "$PWD/build/$preset/tests/golden/zavo_golden.exe")"
}

part_table() {
    golden_compare "$preset" tclsh_wine -table "$table_name" \
        -library "$(windows_path "$PWD/build/$preset/tests/golden/zavo_golden.exe")"
}

part_imports() {
    tclsh8.6 tests/windows/check_imports.tcl "$triple-objdump" "$dist"/lib/zavo1.0/*.dll
}

# The fault trap within an interpreter, as the module meets it.
part_faults() {
    [[ $bits == 32 ]] || "$wine" "build/$preset/tests/windows/call_convention.exe"
    tclsh_wine tests/windows/faults.tcl build/$preset/tests/windows/faulty.dll
}

# As it is, and with the script level of Tcl 8.5.
part_script() {
    tclsh_wine tests/script/all.tcl
    local level=$PWD/build/$preset/tests/tcl85
    tcl85_library "$tcl_prefix/lib/tcl8.6" "$level/tcl8.6"
    cp -rs "$(realpath "$tcl_prefix/lib/tcl8")" "$level/tcl8"
    TCL_LIBRARY=$(windows_path "$level/tcl8.6") tclsh_wine tests/script/all.tcl
}

# Windows that open: a virtual display for them. A Wine that has begun without a
# display stays without one, so it begins anew (only the one of our settings).
part_desktop() {
    need_packages xvfb xauth
    wineserver -k || true
    wineserver -w
    xvfb-run -a ctest --test-dir build/$preset --output-on-failure -L desktop
}

test_windows() {
    local parts=("$@")
    [[ ${#parts[@]} -gt 0 ]] || parts=("${ordinary_parts[@]}")
    # Only packages that cannot be had excuse a run, and a kernel that runs no 32-bit
    # programs, such as that of some virtual machines; and it says so.
    local emulated=no
    if [[ $bits == 32 ]] && ! runs_32_bits; then
        if [[ -z ${ZAVO_EMULATE:-} ]]; then
            skip "$suite" "this kernel runs no 32-bit programs" "${parts[@]}"
            exit 0
        fi
        emulated=yes
    fi
    if ! (need_packages "${compile_packages[@]}" &&
        if [[ $emulated == yes ]]; then need_machine; else need_wine; fi &&
        { is_cached tcl || need_source tcl8.6; }); then
        skip "$suite" "the Debian packages cannot be had" "${parts[@]}"
        exit 0
    fi
    # The unit tests and their framework only where they are asked for.
    if [[ " ${parts[*]} " =~ \ (unit|desktop)\  ]]; then
        build_windows ON
        cmake --build --preset "$preset" --target golden -j "$(nproc)"
    else
        build_windows OFF
        cmake --build --preset "$preset" --target golden "${programs[@]}" -j "$(nproc)"
    fi
    if [[ $emulated == yes ]]; then
        run_in_machine "${parts[@]}"
    else
        run_parts "${parts[@]}"
    fi
    say "$suite: ${#parts[@]} suites passed (${parts[*]})"
}

run_parts() {
    local part
    start_wine
    for part in "$@"; do
        is_one_of "$part" "${all_parts[@]}" table || die "$suite tests have no part '$part'"
        say "$suite: $part"
        "part_$part"
    done
}

# What looks at files alone, here; windows, nowhere.
run_in_machine() {
    local part inside=()
    for part in "$@"; do
        case $part in
        imports) part_imports ;;
        desktop) skip "$suite" "the emulated machine has no display" desktop ;;
        *) inside+=("$part") ;;
        esac
    done
    [[ ${#inside[@]} -eq 0 ]] ||
        in_machine "catalogue constants core docs examples ext fft minimize morvel quillet random scripts tests tools \
            zavox dist-$preset build/$preset .cache/$preset/tcl" \
            bash scripts/windows.sh "$bits" run "${inside[@]}"
}

case "${1:-}" in
build)
    need_packages "${compile_packages[@]}"
    build_windows OFF
    say "installed into dist-$preset/"
    ;;
test)
    test_windows "${@:2}"
    ;;
run) # within the emulated machine
    mkdir -p "$cache"
    run_parts "${@:2}"
    ;;
*)
    die "usage: scripts/windows.sh 32|64 build|test [PART ...]"
    ;;
esac
