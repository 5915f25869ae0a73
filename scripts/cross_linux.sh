# ./zavo build arm64|i386, ./zavo test arm64|i386, ./zavo bench arm64: the module for
# other Linux systems, built with a cross-compiler; 64-bit ARM runs under qemu's user
# emulation, 32-bit x86 by the processor itself unless the kernel runs no such programs.
#
#   scripts/cross_linux.sh arm64|i386 build|bench|test [PART ...]
#
# PART is golden, unit, script, table or, for ARM, fusion; without one, golden and
# fusion, which are what may differ from other processors. Debian's Tcl for the target
# is fetched into .cache/TARGET; GoogleTest is built there.
# shellcheck source=scripts/common.sh
source scripts/common.sh
# shellcheck source=scripts/debian_root.sh
source scripts/debian_root.sh

target=${1:-}
cache=$PWD/.cache/$target
gtest_prefix=$PWD/.cache/$target-gtest
dist=$PWD/dist-$target
tclsh=$cache/tclsh8.6
all_parts=(golden unit script)
ordinary_parts=(golden)
# runner: words before a program of the target; "@self@" stands for what it shall take
# for itself.
case "$target" in
arm64)
    triple=aarch64-linux-gnu libraries=aarch64-linux-gnu
    run_packages=(qemu-user-static)
    emulator=(qemu-aarch64-static -L "$cache")
    runner=("${emulator[@]}" -0 @self@)
    all_parts=(fusion "${all_parts[@]}")
    ordinary_parts=(fusion "${ordinary_parts[@]}")
    ;;
i386)
    triple=i686-linux-gnu libraries=i386-linux-gnu
    run_packages=()
    runner=(env "TCL_LIBRARY=$cache/usr/share/tcltk/tcl8.6" "$cache/lib/ld-linux.so.2" --argv0 @self@ --library-path
        "$cache/lib/$libraries:$cache/usr/lib/$libraries")
    if ! runs_32_bits; then
        run_packages=(qemu-user-static)
        # A gather whose indices are in the fourth register reads elsewhere (qemu 7.2).
        runner=(qemu-i386-static -cpu "max,avx2=off" -L "$cache" -0 @self@)
    fi
    ;;
*)
    die "usage: scripts/cross_linux.sh arm64|i386 build|bench|test [PART ...]"
    ;;
esac
shift
compile_packages=("${build_packages[@]}" "g++-$triple")
# Runs a program PROGRAM of the tests through the script PROGRAM.launch beside it
# (part_unit), so that a death test which starts its own program anew comes through
# that again.
launcher=$cache/launch

find_tcl() {
    debian_root "$cache" "$(. /etc/os-release && printf '%s' "${VERSION_CODENAME:-bookworm}")" "$target" \
        tcl8.6 libtcl8.6 libstdc++6 tcl8.6-dev! || return 1
    run_by "$tclsh" "${runner[@]}" "$cache/usr/bin/tclsh8.6"
    # shellcheck disable=SC2016 # for that script
    printf '#!/bin/sh\nprogram=$1\nshift\nexec "$program.launch" "$@"\n' >"$launcher"
    chmod 755 "$launcher"
}

build_gtest() {
    [[ -f $gtest_prefix/.complete ]] && return 0
    need_packages googletest
    say "building GoogleTest for $target"
    local build=$gtest_prefix.build
    rm -rf "$gtest_prefix" "$build"
    cmake -S /usr/src/googletest -B "$build" -G Ninja -DBUILD_GMOCK=OFF -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_CXX_FLAGS_RELEASE="-O1 -DNDEBUG" -DCMAKE_INSTALL_PREFIX="$gtest_prefix" \
        -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchain-$target.cmake" >/dev/null &&
        cmake --build "$build" --target install -j "$(nproc)" >/dev/null || die "building GoogleTest failed"
    rm -rf "$build"
    : >"$gtest_prefix/.complete"
}

# build_target TESTS [CMAKE TARGET ...]
build_target() {
    [[ $1 == OFF ]] || build_gtest
    configure "$target" -DZAVO_BUILD_TESTS="$1" -DCMAKE_PREFIX_PATH="$gtest_prefix" \
        -DZAVO_TCL_CONFIG="$cache/usr/lib/$libraries/tcl8.6/tclConfig.sh" \
        -DCMAKE_CROSSCOMPILING_EMULATOR="$launcher" \
        -DCMAKE_EXE_LINKER_FLAGS="-Wl,-rpath-link,$cache/lib/$libraries:$cache/usr/lib/$libraries"
    cmake --build --preset "$target" -j "$(nproc)" ${2:+--target "${@:2}"}
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
    say "$target: no fused multiply-add"
}

part_unit() {
    local program
    for program in build/"$target"/tests/{unit,fuzz}_*; do
        [[ ! -x $program || ! -f $program || $program == *.launch ]] ||
            run_by "$program.launch" "${runner[@]}" "$PWD/$program"
    done
    ctest --test-dir "build/$target" --output-on-failure -LE long -j "$(nproc)"
}

part_script() {
    TCLLIBPATH="$dist/lib" "$tclsh" tests/script/all.tcl
}

# The program runs through a script as the interpreter does.
golden_program() {
    run_by "build/$target/zavo_golden" "${runner[@]}" "$PWD/build/$target/tests/golden/zavo_golden"
    printf '%s' "$PWD/build/$target/zavo_golden"
}

part_golden() {
    golden_compare "$target" "$tclsh" -library "$(golden_program)"
}

part_table() {
    golden_compare "$target" "$tclsh" -table "linux-$target" -library "$(golden_program)"
}

# instructions_of PATH PIECE N: those that one round takes. With one instruction to a
# block, qemu's log has a line for each that it runs.
instructions_of() {
    local rounds count=()
    for rounds in 1 3; do
        count+=("$("${emulator[@]}" -singlestep -d exec,nochain -D /dev/stdout \
            "build/$target/bench/instructions/instructions" "$@" "$rounds" | wc -l)")
    done
    printf '%d' $(((count[1] - count[0]) / 2))
}

# What the processor's vectors save.
bench_target() {
    local each scalar neon
    build_target OFF instructions
    printf '%-20s %10s %10s %7s\n' "instructions of" scalar neon ratio
    for each in "uniform 4096" "normal 4096" "exponential 4096" "real 64" "real 256" "real 1000" "real 1024" \
        "real 4096" "complex 64" "complex 240" "complex 1000" "complex 1024" "complex 2187"; do
        # shellcheck disable=SC2086 # words
        scalar=$(instructions_of scalar $each) neon=$(instructions_of neon $each)
        printf '%-20s %10d %10d %7s\n' "$each" "$scalar" "$neon" "$(awk "BEGIN { printf \"%.2f\", $neon / $scalar }")"
    done
}

test_target() {
    local part parts=("$@")
    [[ ${#parts[@]} -gt 0 ]] || parts=("${ordinary_parts[@]}")
    if ! (need_packages "${compile_packages[@]}" "${run_packages[@]}" && find_tcl); then
        skip "$target" "the Debian packages cannot be had" "${parts[@]}"
        exit 0
    fi
    build_target OFF
    # Of the tests only the program of golden results, which needs no GoogleTest, unless
    # all are asked for.
    if is_one_of unit "${parts[@]}"; then
        build_target ON golden unit_programs
    else
        build_target OFF golden
    fi
    install_tree "$target"
    for part in "${parts[@]}"; do
        is_one_of "$part" "${all_parts[@]}" table || die "$target tests have no part '$part'"
        say "$target: $part"
        "part_$part"
    done
    say "$target: ${#parts[@]} suites passed (${parts[*]})"
}

case "${1:-}" in
build)
    need_packages "${compile_packages[@]}"
    find_tcl || die "Debian's Tcl for $target cannot be had"
    build_target OFF
    install_tree "$target"
    say "installed into dist-$target/"
    ;;
test)
    test_target "${@:2}"
    ;;
bench)
    [[ $target == arm64 ]] || die "instructions are counted where there is an emulator"
    need_packages "${compile_packages[@]}" "${run_packages[@]}"
    find_tcl || die "Debian's Tcl for $target cannot be had"
    bench_target
    ;;
*)
    die "usage: scripts/cross_linux.sh $target build|bench|test [PART ...]"
    ;;
esac
