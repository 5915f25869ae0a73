# ./zavo bench [PIECE ...]: speed beside other libraries, in one run a piece.
# shellcheck source=scripts/common.sh
source scripts/common.sh

need_packages "${build_packages[@]}" libbenchmark-dev libfftw3-dev libgsl-dev libkissfft-dev libudunits2-dev tcllib
configure_and_build bench
install_tree bench

pieces=("$@")
if [[ ${#pieces[@]} -eq 0 ]]; then
    for source in bench/bench_*.cpp; do
        name=${source#bench/bench_}
        pieces+=("${name%.cpp}")
    done
fi
for piece in "${pieces[@]}"; do
    program=build/bench/bench/bench_$piece
    [[ -x $program ]] || die "there is no benchmark '$piece'"
    say "bench $piece"
    TCLLIBPATH="$PWD/build/bench/dist/lib" "$program"
done
