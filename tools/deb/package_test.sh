#!/usr/bin/env bash
# package_test.sh <build folder>
#
# The Debian package as a user meets it: built by CPack from the build folder, clean under
# lintian (errors and warnings fail; what is accepted is overridden in lintian-overrides, with its
# reason), installed with dpkg, started from its menu entry's Exec by an unprivileged user under
# Xvfb with the desktop's own xdg-utils, then removed: nothing it installed may be left, and the
# user's ~/.Velmora must stay as it was.
#
# Needs root (dpkg -i, and switching to the test user); exits 77, which CTest counts as skipped,
# when it is not. Removes the package whatever happens once it is installed.
set -euo pipefail

build=$(cd "$1" && pwd)
user=${VELMORA_TEST_USER:-velmora-test}

if [[ $(id -u) -ne 0 ]]; then
    echo "package test skipped: installing a package with dpkg needs root"
    exit 77
fi
if ! getent passwd "$user" >/dev/null; then
    echo "package test: no account $user to run the launcher as; scripts/setup adds it" >&2
    exit 1
fi
if dpkg-query -W -f='${Status}' velmora 2>/dev/null | grep -q 'install ok installed'; then
    echo "package test: velmora is installed on this machine already; not touching it" >&2
    exit 1
fi

work=$(mktemp -d)
home=$work/home
installed=
xvfb_pid=
fail() {
    echo "package test: $*" >&2
    exit 1
}
client_pid() {
    local pid
    pid=$(sed -n 's/^pid=//p' "$home/.Velmora/ui.pid" 2>/dev/null)
    [[ -n $pid ]] && kill -0 "$pid" 2>/dev/null && [[ $(sed 's/.*) //' "/proc/$pid/stat" | cut -d' ' -f1) != Z ]] &&
        echo "$pid"
}
cleanup() {
    local pid
    pid=$(client_pid || true)
    [[ -n $pid ]] && kill -KILL "$pid" 2>/dev/null
    [[ -n $installed ]] && { dpkg -r velmora >/dev/null 2>&1 || echo "package test: dpkg -r velmora failed" >&2; }
    [[ -n $xvfb_pid ]] && kill "$xvfb_pid" 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT

echo "== building the package"
cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work/out" >"$work/cpack.log" 2>&1 ||
    { cat "$work/cpack.log"; fail "cpack failed"; }
debs=("$work"/out/velmora_*_amd64.deb)
[[ ${#debs[@]} -eq 1 && -f ${debs[0]} ]] || fail "expected one velmora_<version>_amd64.deb, got: ${debs[*]}"
deb=${debs[0]}
echo "   $(basename "$deb"), Depends: $(dpkg-deb -f "$deb" Depends)"
dpkg-deb -f "$deb" Depends | grep -q libqt5widgets5 || fail "Depends does not name the Qt libraries the launcher links"
dpkg-deb -f "$deb" Depends | grep -q libqt5waylandclient5 ||
    fail "Depends does not name the Qt Wayland library the bundle's wayland platform links"

echo "== lintian"
lint_rc=0
lintian --fail-on error,warning "$deb" >"$work/lintian.log" 2>&1 || lint_rc=$?
# lintian warns about running as root; that line is not about the package.
grep -v 'root privileges' "$work/lintian.log" || true
[[ $lint_rc -eq 0 ]] || fail "lintian reports errors or warnings that are not overridden (see above)"
echo "   clean; accepted by tools/deb/lintian-overrides: $(sed -n 's/^velmora: \([^ ]*\).*/\1/p' \
    "$(dirname "$0")/lintian-overrides" | tr '\n' ' ')"

echo "== dpkg -i"
installed=1
dpkg -i "$deb" >"$work/dpkg.log" 2>&1 || { cat "$work/dpkg.log"; fail "dpkg -i failed"; }
dpkg -L velmora | sort >"$work/files"
for f in /opt/velmora/Velmora.app/Contents/MacOS/launcher /opt/velmora/Velmora.app/Contents/Resources/package/velmora.hpk \
    /usr/share/applications/velmora.desktop /usr/share/icons/hicolor/scalable/apps/velmora.svg; do
    [[ -f $f ]] || fail "$f is not installed"
done
# Each size a desktop looks for, drawn at that size (a stretched 72-pixel one would be blurry).
for size in 16 24 32 48 64 128 256; do
    icon=/usr/share/icons/hicolor/${size}x$size/apps/velmora.png
    [[ -f $icon ]] || fail "$icon is not installed"
    [[ $(identify -format '%wx%h' "$icon") == "${size}x$size" ]] || fail "$icon is not $size pixels square"
done
echo "   icons: $(cd /usr/share/icons/hicolor && echo */apps/velmora.*)"
[[ $(readlink -f /usr/bin/velmora) == /opt/velmora/Velmora.app/Contents/MacOS/launcher ]] ||
    fail "/usr/bin/velmora does not lead to the bundle's launcher"
desktop-file-validate /usr/share/applications/velmora.desktop || fail "the desktop entry is not valid"

echo "== starting the menu entry's Exec as $user"
# The command line of the entry, without the field codes a desktop would fill in.
exec_line=$(sed -n 's/^Exec=//p' /usr/share/applications/velmora.desktop | sed 's/ *%[a-zA-Z]//g')
[[ -n $exec_line ]] || fail "the desktop entry has no Exec"
mkdir -p "$home" "$work/runtime"
chmod 755 "$work"
chmod 700 "$work/runtime"
chown "$user:" "$home" "$work/runtime"
Xvfb -displayfd 3 -nolisten tcp -screen 0 1024x768x24 3>"$work/display" 2>"$work/xvfb.log" &
xvfb_pid=$!
for _ in $(seq 100); do
    [[ -s $work/display ]] && break
    sleep 0.1
done
[[ -s $work/display ]] || fail "Xvfb did not start"
# What a desktop session hands its applications, and nothing of ours on PATH.
rc=0
# shellcheck disable=SC2086 # the Exec line is split into words as a desktop splits it
env -i PATH=/usr/local/bin:/usr/bin:/bin HOME="$home" USER="$user" LOGNAME="$user" DISPLAY=":$(cat "$work/display")" \
    XDG_RUNTIME_DIR="$work/runtime" LANG=C.UTF-8 \
    setpriv --reuid="$user" --regid="$user" --init-groups -- $exec_line >"$work/out.txt" 2>&1 || rc=$?
cat "$work/out.txt"
[[ $rc -eq 0 ]] || fail "the launcher exited with $rc"
grep -qx "lib path = '/opt/velmora/Velmora.app/Contents/Frameworks/plugins'" "$work/out.txt" ||
    fail "the launcher did not find the bundle's plugin folder through /usr/bin/velmora"
build_no=$(sed -n 's/^build_version=//p' /opt/velmora/Velmora.app/Contents/Resources/INFO)
[[ $(sed -n 's/^build_version=//p' "$home/.Velmora/Velmora.app/Contents/Resources/INFO") == "$build_no" ]] ||
    fail "the per-user copy of build $build_no was not installed"
for _ in $(seq 100); do
    client_pid >/dev/null && grep -q "started" "$home/.Velmora/cloud-ui.log" 2>/dev/null && break
    sleep 0.1
done
pid=$(client_pid) || fail "the client is not running; its log: $(cat "$home/.Velmora/cloud-ui.log" 2>&1)"
[[ $(stat -c %U "/proc/$pid") == "$user" ]] || fail "the client does not run as $user"
grep -q "(pid $pid) started" "$home/.Velmora/cloud-ui.log" || fail "the client's log does not show it started"
echo "   the client runs as $user, pid $pid: $(grep "(pid $pid) started" "$home/.Velmora/cloud-ui.log")"
kill -TERM "$pid"
for _ in $(seq 100); do
    client_pid >/dev/null || break
    sleep 0.1
done

echo "== dpkg -r"
before=$(cd "$home" && find .Velmora -printf '%p %s %m %U\n' | sort)
dpkg -r velmora >"$work/dpkg.log" 2>&1 || { cat "$work/dpkg.log"; fail "dpkg -r failed"; }
installed=
left=()
while read -r f; do
    # Folders such as /usr/share/applications belong to others as well and stay.
    [[ -e $f && ! -d $f ]] || [[ -L $f ]] && left+=("$f")
    [[ $f == /opt/velmora* && -e $f ]] && left+=("$f")
done <"$work/files"
[[ ${#left[@]} -eq 0 ]] || fail "dpkg -r left: ${left[*]}"
icons_left=$(compgen -G '/usr/share/icons/hicolor/*/apps/velmora.*' || true)
[[ -z $icons_left ]] || fail "dpkg -r left icons: $icons_left"
[[ $before == "$(cd "$home" && find .Velmora -printf '%p %s %m %U\n' | sort)" ]] ||
    fail "removing the package touched the user's ~/.Velmora"
echo "== the package installs, starts the client from its menu entry and removes cleanly"
