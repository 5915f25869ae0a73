# ./zavo package [linux|windows|test]: release packages by cpack in build/package: a
# tar and .deb for Linux, a tar for each other Linux target, a zip for each Windows
# target. Without a name: Linux, and every other target that has been built. `test`
# installs and uses them.
# shellcheck source=scripts/common.sh
source scripts/common.sh
# shellcheck source=scripts/debian_root.sh
source scripts/debian_root.sh

demand "kind of package" "${1:-linux}" linux windows test

release=zavo-1.0
out=$PWD/build/package
debs=(libzavo1 libzavo-dev tcl-zavo zavo-doc)

# Time of the last commit, in seconds; what every file in the packages carries.
release_time() {
    if [[ -n ${SOURCE_DATE_EPOCH:-} ]]; then
        echo "$SOURCE_DATE_EPOCH"
    else
        git log -1 --format=%ct || die "no commit to take the time from; set SOURCE_DATE_EPOCH"
    fi
}

# run_cpack BUILD GENERATOR: the packages of a build folder whose tree is installed.
run_cpack() {
    local log=$out/cpack.log
    mkdir -p "$out"
    (cd "build/$1" && cpack -G "$2") >"$log" 2>&1 || {
        tail -n 20 "$log" >&2
        die "cpack failed"
    }
    sed -n 's/^CPack: - package: \(.*\) generated\.$/\1/p' "$log" | while read -r file; do
        say "$(realpath --relative-to=. "$file") $(stat -c %s "$file") bytes, sha256 $(sha256sum "$file" | cut -c1-16)..."
    done
}

package_linux() {
    need_packages dpkg-dev file zip tcl
    # Nothing of an earlier build; the libraries for Tcl 9 where they have been built.
    rm -rf dist
    bash scripts/docs.sh build
    [[ ! -f build/tcl9/cmake_install.cmake ]] || cmake --install build/tcl9 >/dev/null
    run_cpack release TGZ
    run_cpack release DEB
}

# other_builds: the build folders of cross-built targets that are installed.
other_builds() {
    local config prefix
    for config in build/*/CPackConfig.cmake; do
        config=${config%/CPackConfig.cmake}
        prefix=$(sed -n 's/^CMAKE_INSTALL_PREFIX:[A-Z]*=//p' "$config/CMakeCache.txt")
        [[ $prefix != "$PWD"/dist-* || ! -d $prefix/lib ]] || echo "${config#build/}"
    done
}

# package_other BUILD: what the target's own build installed, with the manual.
package_other() {
    need_packages zip
    [[ -f build/docs/key ]] || bash scripts/docs.sh build
    cmake --install "build/$1" >/dev/null
    case "$1" in
    win*) run_cpack "$1" ZIP ;;
    *) run_cpack "$1" TGZ ;;
    esac
}

# ---- Tests ------------------------------------------------------------------------

# An archive, unpacked where neither its name nor its path is plain.
test_archive() {
    local archive first root flags libraries exported
    archive=$out/$release-linux-$(uname -m).tar.gz
    first=$(sha256sum <"$archive")
    find "$PWD/dist" -exec touch -h {} +
    run_cpack release TGZ
    [[ $first == $(sha256sum <"$archive") ]] || die "two archives of the same tree differ"

    mkdir -p "$there/Zahlen für alle"
    tar -C "$there/Zahlen für alle" -xzf "$archive"
    root="$there/Zahlen für alle/$release"
    for file in LICENSE README.txt share/doc/zavo/index.html share/doc/zavo/examples/sunspots.tcl \
        lib/zavo1.0/zavoerr.bin lib/zavo1.0/de/zavoerr.bin share/man/mann/zavo.n share/man/man3/zavo_f_fft_real.3; do
        [[ -f $root/$file ]] || die "the archive lacks $file"
    done

    # The library, by pkg-config and by CMake.
    export PKG_CONFIG_PATH=$root/lib/pkgconfig
    [[ $(pkg-config --modversion zavo) == 1.0 ]] || die "pkg-config does not find zavo 1.0"
    flags=$(pkg-config --cflags zavo)
    libraries=$(pkg-config --libs --static zavo)
    # pkg-config protects the blanks by backslashes.
    catalogue=$(pkg-config --variable=cataloguedir zavo | tr -d '\\')
    eval "gcc -std=c99 -Wall -Wextra -Werror -pedantic $flags '-DCATALOGUE_FOLDER=\"$catalogue\"' tests/package/from_c.c -o '$there/from_c' $libraries -lm"
    eval "g++ -std=c++11 -Wall -Wextra -Werror -pedantic $flags tests/package/from_cpp.cpp -o '$there/from_cpp' $libraries"
    cmake -S tests/package -B "$there/cmake" -DCMAKE_PREFIX_PATH="$root" >"$there/log" 2>&1 &&
        cmake --build "$there/cmake" >>"$there/log" 2>&1 || {
        cat "$there/log" >&2
        die "find_package(zavo) does not work"
    }
    for program in "$there"/from_c "$there"/from_cpp "$there"/cmake/from_c "$there"/cmake/from_cpp; do
        ZAVOERRPATH=$root/lib/zavo1.0 "$program"
    done
    readelf -d "$there/cmake/from_c" | grep -q 'NEEDED.*libzavo\.so\.1' || die "the C program is not linked to libzavo.so.1"
    test_names "$root"

    # The packages, the programs and the examples.
    env -u ZAVOERRPATH TCLLIBPATH="{$root/lib}" tclsh8.6 tests/package/from_script.tcl "$root"
    exported=$(nm -D --defined-only "$root/lib/zavo1.0/tcl_zavomath.so" | awk '{print $3}')
    [[ $exported == Zavo_Init ]] || die "the module exports: $exported"
    "$root/bin/zavomsg" dump "$root/lib/zavo1.0/de/zavoerr.bin" >"$there/text" && grep -q '^order' "$there/text" ||
        die "zavomsg does not run"
    [[ $(echo 'zavo_i_machine 5' | env -u TCLLIBPATH "$root/bin/zavo-shell") == 2147483647 ]] || die "zavo-shell does not run"
    need_packages tk8.6 tklib tcllib libtk-img xvfb xauth
    env -u TCLLIBPATH ZAVO_EXPLORER="$root/bin/zavo-explore" xvfb-run -a -s "-screen 0 1280x900x24" \
        tclsh8.6 tests/explore/explore.test -match 'explore.opens*' || die "zavo-explore does not run"
    (cd / && env -u TCLLIBPATH -u ZAVOERRPATH tclsh8.6 "$PWD_PROJECT/tools/docs/run_examples.tcl" \
        "$root/share/doc/zavo/examples" "$there/pictures") || die "an example does not run, see above"
    say "the archive works from $root: $(find "$there/pictures" -name '*.txt' | wc -l) examples"
}

# libzavo.so shows what zavo.h declares, no more and no less.
test_names() {
    local declared shown
    declared=$(grep -v '^ \*\|^/\*\|^typedef' "$1/include/zavo.h" |
        sed -n 's/^[a-z].*[ *]\(zavo_[a-z0-9_]*\)(.*/\1/p' | sort)
    shown=$(nm -D --defined-only "$1/lib/libzavo.so" | sed -n 's/.* T \(.*\)@@ZAVO_.*/\1/p' | sort)
    [[ -n $declared && $declared == "$shown" ]] ||
        die "zavo.h and libzavo.so (ext/libzavo.map) differ: $(diff <(echo "$declared") <(echo "$shown"))"
}

# The .deb in a Debian 12 of their own: an older version first, then this one, then
# gone without a trace.
test_debs() {
    local words
    need_packages lintian
    say "lintian"
    words=$(lintian --fail-on none "$out"/*.deb 2>/dev/null) || die "lintian: $words"
    [[ -z $words ]] || die "lintian: $words"
    if ! make_debian; then
        skip package "a Debian 12 cannot be had" "installing the .deb"
        return 0
    fi
    say "installing, upgrading and removing the .deb"
    local package old
    as_root mkdir -p "$there/debian"
    as_root tar -C "$there/debian" -xf .cache/debian12.tar
    mkdir -p "$there/debs"
    for package in "${debs[@]}"; do
        old=$there/old/$package
        mkdir -p "$there/old"
        dpkg-deb -R "$out/${package}"_1.0_*.deb "$old"
        sed -i 's/^Version: .*/Version: 1.0~0/; s/(= 1\.0)/(= 1.0~0)/' "$old/DEBIAN/control"
        mkdir -p "$old/usr/share/zavo-old"
        echo old >"$old/usr/share/zavo-old/$package"
        dpkg-deb --root-owner-group -b "$old" "$there/debs/old_$package.deb" >/dev/null
        cp "$out/${package}"_1.0_*.deb "$there/debs/new_$package.deb"
    done
    as_root cp -r "$there/debs" tests/package/installed.sh tests/package/from_script.tcl "$there/debian/root/"
    as_root chroot "$there/debian" sh /root/installed.sh || die "the .deb: see above"
}

# .cache/debian12.tar: a minimal Debian 12 with Tcl.
make_debian() {
    [[ ! -f .cache/debian12.tar ]] || return 0
    [[ $(id -u) -eq 0 ]] || command -v sudo >/dev/null || return 1
    need_packages debootstrap
    say "setting up a minimal Debian 12"
    local folder
    folder=$(mktemp -d)
    if ! as_root debootstrap --variant=minbase --include=tcl,libstdc++6 bookworm "$folder/root" "$(debian_mirror)" \
        >"$folder/log" 2>&1; then
        tail -n 5 "$folder/log" >&2
        as_root rm -rf "$folder"
        return 1
    fi
    mkdir -p .cache
    as_root tar -C "$folder/root" --exclude=./var/cache --exclude=./var/lib/apt/lists --one-file-system -cf .cache/debian12.part .
    mv .cache/debian12.part .cache/debian12.tar
    as_root rm -rf "$folder"
}

# A zip under Wine, where there are one for its target and a Tcl.
test_zip() {
    local target=$1 cache=$PWD/.cache/$1 root tclsh
    root="$there/Zahlen für alle/$target/$release"
    tclsh=$(find "$cache/tcl/bin" -name 'tclsh8*.exe' 2>/dev/null | head -n 1) || true
    mkdir -p "${root%/*}"
    (cd "${root%/*}" && unzip -q "$out/$release-$target.zip")
    grep -q $'\r$' "$root/README.txt" || die "the README of $target has no Windows line ends"
    # Where the 32-bit Wine is installed, `wine` is that.
    local wine=wine
    [[ $target != win64 ]] || wine=/usr/lib/wine/wine64
    if [[ -z $tclsh || ! -d $cache/wine ]] || ! command -v "$wine" >/dev/null; then
        skip package "no Wine or no Tcl for it" "$target"
        return 0
    fi
    say "the zip of $target under Wine"
    # A locale whose letters Wine takes for those of the file names.
    local run=(env -u ZAVOERRPATH LC_ALL=C.UTF-8 WINEPREFIX="$cache/wine" WINEARCH="$target" WINEDEBUG=-all
        TCL_LIBRARY="Z:${cache//\//\\}\\tcl\\lib\\tcl8.6" "$wine" "$tclsh")
    (cd "$root/share/doc/zavo/examples" &&
        "${run[@]}" "$PWD_PROJECT/tools/docs/run_examples.tcl" -nopictures . "$there/$target-output") </dev/null ||
        die "an example does not run on $target, see above"
    (cd "$root" && "${run[@]}" bin/zavomsg dump lib/zavo1.0/de/zavoerr.bin) </dev/null | grep '^order' >/dev/null ||
        die "zavomsg does not run on $target"
    say "the zip of $target works: $(find "$there/$target-output" -name '*.txt' | wc -l) examples"
}

# The archive of another Linux target by that target's Tcl, where there is one.
test_other_archive() {
    local target=$1 tclsh=$PWD/.cache/$1/tclsh8.6 archive root
    archive=$(sed -n 's/^set(CPACK_PACKAGE_FILE_NAME "\(.*\)")$/\1/p' "build/$target/CPackConfig.cmake")
    root="$there/Zahlen für alle/$target/$release"
    mkdir -p "${root%/*}"
    tar -C "${root%/*}" -xzf "$out/$archive.tar.gz"
    if [[ ! -x $tclsh ]] || ! "$tclsh" </dev/null >/dev/null 2>&1; then
        skip package "no Tcl for it" "$target"
        return 0
    fi
    say "the archive of $target"
    local run=(env -u ZAVOERRPATH "TCLLIBPATH={$root/lib}" "$tclsh")
    "${run[@]}" tests/package/from_script.tcl "$root" || die "the packages do not load on $target"
    (cd / && "${run[@]}" "$root/share/doc/zavo/examples/sunspots.tcl" >"$there/$target-output") ||
        die "an example does not run on $target"
    "${run[@]}" "$root/bin/zavomsg" dump "$root/lib/zavo1.0/de/zavoerr.bin" | grep '^order' >/dev/null ||
        die "zavomsg does not run on $target"
    say "the archive of $target works"
}

test_package() {
    local build
    package_linux
    there=$(mktemp -d)
    PWD_PROJECT=$PWD
    # shellcheck disable=SC2064 # the folder is known now
    trap "as_root rm -rf '$there'" EXIT
    test_archive
    test_debs
    for build in $(other_builds); do
        package_other "$build"
        if [[ $build == win* ]]; then test_zip "$build"; else test_other_archive "$build"; fi
    done
}

SOURCE_DATE_EPOCH=$(release_time)
export SOURCE_DATE_EPOCH
case "${1:-}" in
"")
    package_linux
    for build in $(other_builds); do
        package_other "$build"
    done
    ;;
linux) package_linux ;;
windows)
    [[ -d dist-win32 ]] || bash scripts/build.sh windows
    for build in $(other_builds); do
        [[ $build != win* ]] || package_other "$build"
    done
    ;;
test) test_package ;;
esac
