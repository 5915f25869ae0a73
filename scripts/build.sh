# ./zavo build [linux|windows]: compile and install.
# shellcheck source=scripts/common.sh
source scripts/common.sh

[[ $# -lt 2 ]] || die "build takes one system, not '$*'"
demand system "${1:-linux}" linux windows
case "${1:-linux}" in
linux)
    build_linux -DZAVO_BUILD_TESTS=OFF
    say "installed into dist/; try: TCLLIBPATH=dist/lib tclsh8.6"
    ;;
windows)
    exec bash scripts/windows.sh build
    ;;
esac
