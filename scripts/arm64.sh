# ./zavo build arm64, ./zavo test arm64: the module for 64-bit ARM Linux, built with
# the cross-compiler and run under qemu's user emulation.
#
#   scripts/arm64.sh build|test [PART ...]
#
# PART is fusion, golden, unit, script or table; without one, the first two, which are
# what may differ from other processors. Debian's Tcl for ARM is fetched into
# .cache/arm64; GoogleTest is built there.
# shellcheck source=scripts/common.sh
source scripts/common.sh
# shellcheck source=scripts/debian_root.sh
source scripts/debian_root.sh

triple=aarch64-linux-gnu
cache=$PWD/.cache/arm64
gtest_prefix=$PWD/.cache/arm64-gtest
dist=$PWD/dist-arm64
tclsh=$cache/tclsh8.6
all_parts=(fusion golden unit script)
ordinary_parts=(fusion golden)

compile_packages=("${build_packages[@]}" g++-aarch64-linux-gnu)
run_packages=(qemu-user-static)
emulator=(qemu-aarch64-static -L "$cache")
# Runs a program PROGRAM of the tests through the script PROGRAM.launch beside it
# (part_unit), so that a death test which starts its own program anew comes through
# that again.
launcher=$cache/launch

find_tcl() {
    debian_root "$cache" "$(. /etc/os-release && printf '%s' "${VERSION_CODENAME:-bookworm}")" arm64 \
        tcl8.6 libtcl8.6 libstdc++6 tcl8.6-dev! || return 1
    run_by "$tclsh" "${emulator[@]}" -0 @self@ "$cache/usr/bin/tclsh8.6"
    printf '#!/bin/sh\nprogram=$1\nshift\nexec "$program.launch" "$@"\n' >"$launcher"
    chmod 755 "$launcher"
}

build_gtest() {
    [[ -f $gtest_prefix/.complete ]] && return 0
    need_packages googletest
    say "building GoogleTest for ARM"
    local build=$gtest_prefix.build
    rm -rf "$gtest_prefix" "$build"
    cmake -S /usr/src/googletest -B "$build" -G Ninja -DBUILD_GMOCK=OFF -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_CXX_FLAGS_RELEASE="-O1 -DNDEBUG" -DCMAKE_INSTALL_PREFIX="$gtest_prefix" \
        -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchain-arm64.cmake" >/dev/null &&
        cmake --build "$build" --target install -j "$(nproc)" >/dev/null || die "building GoogleTest failed"
    rm -rf "$build"
    : >"$gtest_prefix/.complete"
}

# build_arm64 TESTS
build_arm64() {
    [[ $1 == OFF ]] || build_gtest
    configure arm64 -DZAVO_BUILD_TESTS="$1" -DCMAKE_PREFIX_PATH="$gtest_prefix" \
        -DZAVO_TCL_CONFIG="$cache/usr/lib/$triple/tcl8.6/tclConfig.sh" \
        -DCMAKE_CROSSCOMPILING_EMULATOR="$launcher" \
        -DCMAKE_EXE_LINKER_FLAGS="-Wl,-rpath-link,$cache/lib/$triple:$cache/usr/lib/$triple"
    cmake --build --preset arm64 -j "$(nproc)" ${2:+--target "$2"}
}

# Multiplications and additions are never fused: not one such instruction stands in
# what is shipped, and a trial shows that the search would see it.
part_fusion() {
    local fused='\b(fn?m(add|sub)|fml[as]l?2?|fcmla)\b' trial file found=0
    trial=$(mktemp -d)
    printf 'float f(float a, float b, float c) { return a * b + c; }\n' >"$trial/t.c"
    "$triple-gcc" -O2 -ffp-contract=fast -c "$trial/t.c" -o "$trial/t.o"
    "$triple-objdump" -d "$trial/t.o" | grep -qE "$fused" || die "the search for fused instructions sees none where one is"
    rm -rf "$trial"
    for file in "$dist"/lib/zavo1.0/*.so "$dist"/lib/libzavo.a; do
        found=$("$triple-objdump" -d "$file" | grep -cE "$fused" || true)
        [[ $found -eq 0 ]] || die "${file##*/} has $found fused multiply-adds"
    done
    say "arm64: no fused multiply-add"
}

part_unit() {
    local program
    for program in build/arm64/tests/{unit,fuzz}_*; do
        [[ ! -x $program || ! -f $program || $program == *.launch ]] ||
            run_by "$program.launch" "${emulator[@]}" -0 @self@ "$PWD/$program"
    done
    ctest --test-dir build/arm64 --output-on-failure -LE long -j "$(nproc)"
}

part_script() {
    TCLLIBPATH="$dist/lib" "$tclsh" tests/script/all.tcl
}

# The program runs through a script as the interpreter does.
golden_program() {
    run_by build/arm64/zavo_golden "${emulator[@]}" "$PWD/build/arm64/tests/golden/zavo_golden"
    printf '%s' "$PWD/build/arm64/zavo_golden"
}

part_golden() {
    golden_compare arm64 "$tclsh" -library "$(golden_program)"
}

part_table() {
    golden_compare arm64 "$tclsh" -table linux-arm64 -library "$(golden_program)"
}

test_arm64() {
    local part parts=("$@")
    [[ ${#parts[@]} -gt 0 ]] || parts=("${ordinary_parts[@]}")
    if ! (need_packages "${compile_packages[@]}" "${run_packages[@]}" && find_tcl); then
        skip arm64 "the Debian packages cannot be had" "${parts[@]}"
        exit 0
    fi
    if [[ " ${parts[*]} " == *" unit "* ]]; then
        build_arm64 ON
        cmake --build --preset arm64 --target golden
    else
        # Of the tests only the program of golden results: no GoogleTest is needed.
        build_arm64 OFF
        cmake --build --preset arm64 --target golden
    fi
    install_tree arm64
    for part in "${parts[@]}"; do
        is_one_of "$part" "${all_parts[@]}" table || die "arm64 tests have no part '$part'"
        say "arm64: $part"
        "part_$part"
    done
    say "arm64: ${#parts[@]} suites passed (${parts[*]})"
}

case "${1:-}" in
build)
    need_packages "${compile_packages[@]}"
    find_tcl || die "Debian's Tcl for ARM cannot be had"
    build_arm64 OFF
    install_tree arm64
    say "installed into dist-arm64/"
    ;;
test)
    test_arm64 "${@:2}"
    ;;
*)
    die "usage: scripts/arm64.sh build|test [PART ...]"
    ;;
esac
