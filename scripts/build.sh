# ./zavo build [linux|windows|windows64|tcl9|arm64|i386]: compile and install.
# shellcheck source=scripts/common.sh
source scripts/common.sh

[[ $# -lt 2 ]] || die "build takes one system, not '$*'"
demand system "${1:-linux}" linux windows windows64 tcl9 arm64 i386
case "${1:-linux}" in
linux)
    build_linux -DZAVO_BUILD_TESTS=OFF
    say "installed into dist/; try: TCLLIBPATH=dist/lib tclsh8.6"
    ;;
windows)
    exec bash scripts/windows.sh 32 build
    ;;
windows64)
    exec bash scripts/windows.sh 64 build
    ;;
tcl9)
    exec bash scripts/tcl9.sh build
    ;;
arm64 | i386)
    exec bash scripts/cross_linux.sh "$1" build
    ;;
esac
