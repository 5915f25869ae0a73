# ./zavo bench [PIECE ...]: speed beside other libraries, in one run a piece.
# shellcheck source=scripts/common.sh
source scripts/common.sh

mapfile -t known < <(printf '%s\n' bench/bench_*.cpp | sed 's|.*/bench_||; s|\.cpp$||')
for piece in "$@"; do
    demand benchmark "$piece" "${known[@]}"
done
need_packages "${build_packages[@]}" libbenchmark-dev libfftw3-dev libgsl-dev libkissfft-dev libudunits2-dev tcllib
configure_and_build bench
install_tree bench

[[ $# -gt 0 ]] || set -- "${known[@]}"
for piece in "$@"; do
    say "bench $piece"
    TCLLIBPATH="$PWD/build/bench/dist/lib" "build/bench/bench/bench_$piece"
done
