# ./zavo package [linux|windows]: release archives of the installed trees, the same
# to the byte for the same commit. Without a name: Linux, and Windows when there is
# a dist-win32. `test` unpacks the Linux archive elsewhere and uses it.
# shellcheck source=scripts/common.sh
source scripts/common.sh

release=zavo-1.0
out=build/package

# Time of the last commit, in seconds; what every file in the archives carries.
release_time() {
    if [[ -n ${SOURCE_DATE_EPOCH:-} ]]; then
        echo "$SOURCE_DATE_EPOCH"
    else
        git log -1 --format=%ct || die "no commit to take the time from; set SOURCE_DATE_EPOCH"
    fi
}

# stage PREFIX: the tree as it is unpacked, in $out/stage/zavo-1.0.
stage() {
    local stage=$out/stage/$release
    rm -rf "$out/stage"
    mkdir -p "$stage"
    cp -R "$1/." "$stage/"
    cp README.md CHANGELOG.md "$stage/"
    if [[ ! -d $stage/share/doc/zavo ]]; then
        mkdir -p "$stage/share"
        cp -R dist/share/doc "$stage/share/"
    fi
    find "$stage" -type d -exec chmod 755 {} +
    find "$stage" -type f -exec chmod 644 {} +
    find "$stage" -name '*.so' -exec chmod 755 {} +
    find "$stage" -exec touch -h -d "@$(release_time)" {} +
}

package_linux() {
    build_linux
    bash scripts/docs.sh build
    stage dist
    local archive=$out/$release-linux-x86_64.tar.gz
    tar -C "$out/stage" --sort=name --owner=0 --group=0 --numeric-owner --format=gnu \
        -cf - "$release" | gzip -n -9 >"$archive"
    report "$archive"
}

package_windows() {
    need_packages zip
    [[ -d dist-win32 && ${1:-} != build ]] || bash scripts/build.sh windows
    [[ -d dist/share/doc/zavo ]] || bash scripts/docs.sh build
    stage dist-win32
    local archive=$PWD/$out/$release-win32.zip
    rm -f "$archive"
    (cd "$out/stage" && find "$release" | LC_ALL=C sort | TZ=UTC zip -q -X -@ "$archive")
    report "$archive"
}

report() {
    say "$(realpath --relative-to=. "$1") $(stat -c %s "$1") bytes, sha256 $(sha256sum "$1" | cut -c1-16)..."
}

# A user's machine: the archive unpacked in another place, pkg-config, a compiler,
# an interpreter.
test_package() {
    local first second there
    package_linux
    first=$(sha256sum <"$out/$release-linux-x86_64.tar.gz")
    touch "$out/stage/$release/README.md"
    package_linux
    second=$(sha256sum <"$out/$release-linux-x86_64.tar.gz")
    [[ $first == "$second" ]] || die "two archives of the same tree differ"

    there=$(mktemp -d)
    # shellcheck disable=SC2064 # the folder is known now
    trap "rm -rf '$there'" EXIT
    tar -C "$there" -xzf "$out/$release-linux-x86_64.tar.gz"
    local root=$there/$release flags libraries
    export PKG_CONFIG_PATH=$root/lib/pkgconfig
    [[ $(pkg-config --modversion zavo) == 1.0 ]] || die "pkg-config does not find zavo 1.0"
    flags=$(pkg-config --cflags zavo)
    libraries=$(pkg-config --libs zavo)
    # shellcheck disable=SC2086 # these are words
    gcc -std=c99 -Wall -Wextra -Werror -pedantic $flags tests/package/from_c.c -o "$there/from_c" $libraries -lm
    # shellcheck disable=SC2086
    g++ -std=c++11 -Wall -Wextra -Werror -pedantic $flags tests/package/from_cpp.cpp -o "$there/from_cpp" $libraries
    ZAVOERRPATH=$root/lib/zavo1.0 "$there/from_c"
    ZAVOERRPATH=$root/lib/zavo1.0 "$there/from_cpp"
    env -u ZAVOERRPATH TCLLIBPATH="$root/lib" tclsh8.6 tests/package/from_script.tcl "$root"
    local exported
    exported=$(nm -D --defined-only "$root/lib/zavo1.0/tcl_zavomath.so" | awk '{print $3}')
    [[ $exported == Zavo_Init ]] || die "the module exports: $exported"
    [[ -f $root/share/man/mann/zavo_fft_real.n || ! -f docs/fft_real.man ]] || die "a manual page is missing"
    say "the package works from $root"
}

mkdir -p "$out"
case "${1:-}" in
"")
    package_linux
    [[ ! -d dist-win32 ]] || package_windows
    ;;
linux) package_linux ;;
windows) package_windows build ;;
test) test_package ;;
*) die "package knows linux, windows and test, not '$1'" ;;
esac
