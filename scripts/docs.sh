# ./zavo docs [test|browser]: the manual: pages for man, HTML with pictures that the
# examples and the explorer draw, and the C reference from zavo.h. It is built in
# build/docs, checked, and installed with the rest. `test` also runs the pages'
# transcripts; `browser` goes through the HTML in headless Chromium.
# shellcheck source=scripts/common.sh
source scripts/common.sh

demand "way to make docs" "${1:-build}" build test browser

out=build/docs
share=$out/share
html=$share/doc/zavo

# What the manual is made of; it is built anew when that has changed.
docs_key() {
    find docs examples apps tools/docs tools/contents.tcl core/zavo.h scripts/docs.sh dist/lib/zavo1.0 -type f ! -name '*tcl9*' -print0 2>/dev/null |
        sort -z | { xargs -0 sha256sum || true; } | sha256sum
}

build_docs() {
    need_packages tcl8.6 tcllib groff-base tidy doxygen gnuplot-nox parallel tk8.6 tklib libtk-img xvfb xauth tcl-tclreadline
    build_linux
    if [[ -f $out/key && $(<"$out/key") == "$(docs_key)" ]]; then
        say "the manual is up to date"
    else
        rm -rf "$out"
        mkdir -p "$html/pictures" "$out/c"
        draw_pictures
        build_c_reference
        tclsh8.6 tools/docs/build.tcl docs examples "$share" "$out/c/html" || die "docs: see above"
        check_manual_pages
        check_html
        docs_key >"$out/key"
    fi
    rm -rf dist/share
    install_tree release
    say "$(find "$share/man" -name '*.[13n]' | wc -l) manual pages in dist/share/man, HTML in dist/share/doc/zavo/index.html"
}

# What the examples draw and print, and the explorer's windows.
draw_pictures() {
    say "pictures"
    TCLLIBPATH="$PWD/dist/lib" tclsh8.6 tools/docs/run_examples.tcl examples "$html/pictures" ||
        die "examples: see above"
    [[ ! -f tools/docs/screenshots.tcl ]] ||
        TCLLIBPATH="$PWD/dist/lib" xvfb-run -a -s "-screen 0 1280x900x24" \
            wish8.6 tools/docs/screenshots.tcl "$html/pictures" || die "screenshots: see above"
}

# Doxygen's pages: those of the sections and the routines go into section 3.
build_c_reference() {
    local page
    { cat tools/docs/Doxyfile; echo "OUTPUT_DIRECTORY = $out/c"; } | doxygen - || die "doxygen: see above"
    mkdir -p "$share/man/man3"
    for page in "$out"/c/man/man3/{lib,}zavo_*.3 "$out"/c/man/man3/f_complex.3; do
        # No date, and what the structure is.
        sed -e 's/^\(\.TH "[^"]*" 3\) "[^"]*"/\1 ""/' -e 's/^f_complex$/f_complex \\- a single-precision complex value/' "$page" >"$share/man/man3/${page##*/}"
    done
}

# Every page must format without a word from groff. (.so lines count from share/man.)
check_manual_pages() {
    local page words
    for page in "$share"/man/man[1n]/*; do
        words=$(cd "$share/man" && groff -man -ww -z -Tutf8 -s "${page#"$share/man/"}" 2>&1) ||
            die "${page##*/}: groff fails: $words"
        [[ -z $words ]] || die "${page##*/}: $words"
    done
}

check_html() {
    local page words
    for page in "$html"/*.html "$html"/c/*.html; do
        words=$(tidy -q -e "$page" 2>&1) || die "${page##*/}: $words"
    done
}

case "${1:-build}" in
build)
    build_docs
    ;;
test)
    build_docs
    say "transcripts of the pages"
    TCLLIBPATH="$PWD/dist/lib" tclsh8.6 tools/doc_examples.tcl docs/*.man || die "pages and reality differ, see above"
    say "the first five minutes of the README"
    tclsh8.6 tools/docs/check_walk.tcl README.md || die "README and reality differ, see above"
    ;;
browser)
    need_packages chromium chromium-driver tcllib
    build_docs
    say "the manual in Chromium"
    tclsh8.6 tools/docs/browse.tcl "$html" || die "the manual in a browser: see above"
    ;;
esac
