#!/usr/bin/env bash
# staged_install_test.sh <build folder>
#
# An install staged away from the system, as a packager or a user without root does it: once with
# DESTDIR and once with --prefix. In both, usr/bin/velmora must lead to the staged launcher, not to
# one that may or may not be installed in /opt, and the menu entry and man page must be there.
set -euo pipefail

build=$(cd "$1" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "staged install: $*" >&2
    exit 1
}

check() {
    local root=$1 how=$2 link=$1/usr/bin/velmora
    local launcher=$root/opt/velmora/Velmora.app/Contents/MacOS/launcher
    [[ -L $link ]] || fail "$how: usr/bin/velmora is not a symbolic link"
    [[ $(readlink "$link") != /* ]] || fail "$how: usr/bin/velmora points to $(readlink "$link"), outside the staged tree"
    [[ $(readlink -f "$link") == "$(readlink -f "$launcher")" ]] ||
        fail "$how: usr/bin/velmora resolves to $(readlink -f "$link"), not to $launcher"
    [[ -f $launcher && -x $launcher ]] || fail "$how: the staged launcher $launcher is missing or not executable"
    for file in usr/share/applications/velmora.desktop usr/share/man/man1/velmora.1.gz; do
        [[ -f $root/$file ]] || fail "$how: $file is missing"
    done
    echo "$how: usr/bin/velmora -> $(readlink "$link") resolves to the staged launcher"
}

DESTDIR=$work/destdir cmake --install "$build" >"$work/destdir.log" || { cat "$work/destdir.log"; fail "DESTDIR install failed"; }
check "$work/destdir" DESTDIR
cmake --install "$build" --prefix "$work/prefix" >"$work/prefix.log" || { cat "$work/prefix.log"; fail "--prefix install failed"; }
check "$work/prefix" --prefix
