# ./zavo shell [SCRIPT ARGUMENT ...]: a tclsh with the packages loaded (apps/zavo-shell).
# shellcheck source=scripts/common.sh
source scripts/common.sh

build_linux -DZAVO_BUILD_TESTS=OFF >/dev/null
need_packages tcl-tclreadline
exec tclsh8.6 apps/zavo-shell "$@"
