# ./zavo docs [test]: manual pages and HTML into dist/share, checked; `test` builds
# them into build/docs and also runs the pages' transcripts.
# shellcheck source=scripts/common.sh
source scripts/common.sh

demand "way to make docs" "${1:-build}" build test
need_packages tcl8.6 tcllib groff-base tidy

# build_docs PREFIX
build_docs() {
    local prefix=$1
    local man=$prefix/share/man html=$prefix/share/doc/zavo
    rm -rf "$man/mann" "$html"
    mkdir -p "$man/mann" "$html"
    tclsh8.6 tools/build_docs.tcl docs "$man/mann" "$html" || die "docs/*.man: see above"
    check_manual_pages "$man"
    check_html "$html"
    say "$(find "$man/mann" -name '*.n' | wc -l) manual pages in $man, contents in $html/index.html"
}

# Every page must format without a word from groff. (.so lines count from share/man.)
check_manual_pages() {
    local page words
    for page in "$1"/mann/*.n; do
        words=$(cd "$1" && groff -man -ww -z -Tutf8 -s "mann/${page##*/}" 2>&1) ||
            die "${page##*/}: groff fails: $words"
        [[ -z $words ]] || die "${page##*/}: $words"
    done
}

check_html() {
    local page words
    for page in "$1"/*.html; do
        words=$(tidy -q -e "$page" 2>&1) || die "${page##*/}: $words"
    done
}

case "${1:-build}" in
build)
    build_docs dist
    ;;
test)
    build_docs build/docs
    build_linux
    say "transcripts of the pages"
    TCLLIBPATH="$PWD/dist/lib" tclsh8.6 tools/doc_examples.tcl docs/*.man || die "pages and reality differ, see above"
    ;;
esac
