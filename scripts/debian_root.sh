# Packages of another Debian, or of another architecture, as a folder: fetched by
# apt with lists and states of its own, unpacked, and run through the folder's own
# dynamic loader. Nothing of it is installed in this system. Sourced by the scripts
# of the targets that need one.
# shellcheck shell=bash

# debian_root FOLDER SUITE ARCHITECTURE PACKAGE ...: the packages, with what they
# depend on, unpacked into FOLDER; a name that ends in "!" comes alone. Done once:
# FOLDER/.complete holds the request. Returns 1 when they cannot be had.
debian_root() {
    local folder=$1 suite=$2 architecture=$3
    shift 3
    [[ -f $folder/.complete && $(<"$folder/.complete") == "$suite $architecture $*" ]] && return 0
    command -v apt-get >/dev/null || return 1
    say "fetching $suite ($architecture): ${*%!}"
    local work=$folder.apt name with_dependencies=() alone=()
    for name in "$@"; do
        if [[ $name == *! ]]; then alone+=("${name%!}"); else with_dependencies+=("$name"); fi
    done
    rm -rf "$folder" "$work"
    mkdir -p "$folder" "$work"/{lists/partial,archives/partial}
    : >"$work/status"
    printf 'deb %s%s %s main\n' "$(debian_keyring)" "$(debian_mirror)" "$suite" >"$work/sources.list"
    cat >"$work/apt.conf" <<END
Dir::State "$work";
Dir::State::status "$work/status";
Dir::State::lists "$work/lists";
Dir::Cache "$work";
Dir::Cache::archives "$work/archives";
Dir::Etc::SourceList "$work/sources.list";
Dir::Etc::SourceParts "/dev/null";
Dir::Etc::Preferences "/dev/null";
Dir::Etc::PreferencesParts "/dev/null";
APT::Architecture "$architecture";
APT::Architectures { "$architecture"; };
APT::Install-Recommends "false";
APT::Sandbox::User "$(id -un)";
Acquire::Languages "none";
END
    if ! (
        export APT_CONFIG=$work/apt.conf
        cd "$work/archives" && apt-get -q update &&
            { [[ ${#with_dependencies[@]} -eq 0 ]] ||
                apt-get -q -y --download-only install "${with_dependencies[@]}"; } &&
            { [[ ${#alone[@]} -eq 0 ]] || apt-get -q download "${alone[@]}"; }
    ) >"$work/log" 2>&1; then
        tail -n 5 "$work/log" >&2
        return 1
    fi
    local archive
    for archive in "$work"/archives/*.deb; do
        dpkg -x "$archive" "$folder" || return 1
    done
    rm -rf "$work"
    printf '%s' "$suite $architecture ${*:-}" >"$folder/.complete"
}

# The mirror that this system's apt uses, else Debian's own.
debian_mirror() {
    local uri
    uri=$(apt-get indextargets --format "\$(REPO_URI)" 'Created-By: Packages' 2>/dev/null |
        grep '/debian/*$' | head -n 1) || true
    printf '%s' "${uri:-http://deb.debian.org/debian}"
}

debian_keyring() {
    local keyring=/usr/share/keyrings/debian-archive-keyring.gpg
    [[ ! -f $keyring ]] || printf '[signed-by=%s] ' "$keyring"
}

# run_by SCRIPT COMMAND ...: an executable SCRIPT that runs the command with the
# script's own path as its name, so that a program which starts itself anew (a
# test suite's files run in interpreters of their own) comes through it again.
# "@self@" among the words stands for that path.
run_by() {
    local script=$1 word
    shift
    {
        printf '#!/bin/sh\nexec'
        for word in "$@"; do
            if [[ $word == @self@ ]]; then printf ' "$0"'; else printf " '%s'" "$word"; fi
        done
        printf ' "$@"\n'
    } >"$script"
    chmod 755 "$script"
}
