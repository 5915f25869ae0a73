# ./zavo demo: build the module and run the main job on a real record.
# shellcheck source=scripts/common.sh
source scripts/common.sh

[[ $# -eq 0 ]] || die "demo takes no arguments, not even '$1'"
build_linux -DZAVO_BUILD_TESTS=OFF
need_packages gnuplot-nox
say "running examples/sunspots.tcl"
mkdir -p build/demo
TCLLIBPATH="$PWD/dist/lib" tclsh8.6 examples/sunspots.tcl build/demo/sunspots.png
