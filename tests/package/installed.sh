# Runs inside a minimal Debian with the packages in /root/debs: install an older
# version, upgrade, use, remove.
set -eu
export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8

installed() {
    dpkg-query -W -f='${Package} ${Version} ${db:Status-Abbrev}\n' 'libzavo*' tcl-zavo zavo-doc | grep -c " $1 ii"
}
complain() {
    echo "installed packages: $*" >&2
    exit 1
}
use() {
    tclsh /root/from_script.tcl "" || complain "the script does not run"
    zavomsg dump /usr/lib/tcltk/*/zavo1.0/zavoerr.bin | grep '^order' >/dev/null || complain "zavomsg does not run"
    ldconfig -p | grep -q 'libzavo\.so\.1 ' || complain "the loader does not know libzavo.so.1"
    (cd / && tclsh /usr/share/doc/zavo/examples/sunspots.tcl) | grep 'Strongest between 5 and 20 years: 11' >/dev/null ||
        complain "the example does not run"
}

dpkg -i /root/debs/old_*.deb >/root/log 2>&1 || { cat /root/log >&2; complain "the older version does not install"; }
[ "$(installed '1.0~0')" = 4 ] || complain "four packages should be there"
[ -f /usr/share/zavo-old/tcl-zavo ] || complain "the older version is not the older version"
use
dpkg -i /root/debs/new_*.deb >/root/log 2>&1 || { cat /root/log >&2; complain "no upgrade"; }
[ "$(installed '1.0')" = 4 ] || complain "four packages should have been upgraded"
[ ! -e /usr/share/zavo-old ] || complain "the upgrade left files of the older version"
use
dpkg --verify libzavo1 libzavo-dev tcl-zavo zavo-doc | grep . && complain "files differ from the packages"
dpkg -P zavo-doc tcl-zavo libzavo-dev libzavo1 >/root/log 2>&1 || { cat /root/log >&2; complain "no removal"; }
left=$(find / -xdev -path /proc -prune -o -path /root -prune -o \( -name '*zavo*' -o -name '*morvel*' \) -print)
[ -z "$left" ] || complain "removed, but still there: $left"
ldconfig -p | grep -q libzavo && complain "the loader still knows libzavo"
echo "== the .deb install, upgrade and go"
