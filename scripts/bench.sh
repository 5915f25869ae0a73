# ./zavo bench [PIECE ...]: speed beside other libraries, in one run a piece. The
# last table has every goal with its figure; the exit status is 1 when one is
# missed by more than a twentieth, which on a busy machine may mean nothing.
# shellcheck source=scripts/common.sh
source scripts/common.sh

# A piece is a program of ours, bench_<piece>.cpp, or a script.
mapfile -t known < <(printf '%s\n' bench/bench_*.cpp bench/bench_*.tcl | sed 's|.*/bench_||; s|\.[a-z]*$||')
# Another processor, of which only instructions can be counted.
if [[ $* == arm64 ]]; then
    exec bash scripts/cross_linux.sh arm64 bench
fi
for piece in "$@"; do
    demand benchmark "$piece" "${known[@]}" arm64
done
need_packages "${build_packages[@]}" libbenchmark-dev libfftw3-dev libgsl-dev libkissfft-dev libudunits2-dev tcllib
configure_and_build bench
install_tree bench

[[ $# -gt 0 ]] || set -- "${known[@]}"
[[ " $* " != *" script "* ]] || need_packages python3-numpy python3-scipy
export ZAVO_BENCH_GOALS=$PWD/build/bench/goals
: >"$ZAVO_BENCH_GOALS"
for piece in "$@"; do
    say "bench $piece"
    command=("build/bench/bench/bench_$piece")
    [[ ! -f bench/bench_$piece.tcl ]] || command=(tclsh8.6 "bench/bench_$piece.tcl")
    TCLLIBPATH="$PWD/build/bench/dist/lib" "${command[@]}"
done

say "goals"
awk -F '\t' '
    BEGIN { printf "  %-56s %9s %9s\n", "", "figure", "goal" }
    {
        verdict = $2 <= $3 ? "met" : $2 <= 1.05 * $3 ? "missed by at most 5 %" : "MISSED"
        printf "  %-56s %9.3f %9.3f  %s\n", $1, $2, $3, verdict
        met += $2 <= $3
        far += $2 > 1.05 * $3
    }
    END {
        printf "  %d goals: %d met, %d missed, %d of them by more than 5 %%\n", NR, met, NR - met, far
        exit far > 0
    }' "$ZAVO_BENCH_GOALS"
