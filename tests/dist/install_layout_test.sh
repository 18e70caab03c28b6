#!/usr/bin/env bash
# Installs the build into a temporary prefix and checks what a desktop expects to find there:
# the manual under share/tidyfold, a valid desktop entry and AppStream metainfo, a man page.
#   install_layout_test.sh BUILD_DIR
set -euo pipefail
build=$1
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null

fail=0
check() {
    if ! "$@"; then
        echo "FAILED: $*" >&2
        fail=1
    fi
}
check test -x "$prefix/bin/tidyfold"
check test -f "$prefix/share/tidyfold/tidyfold.qch"
check test ! -e "$prefix/bin/tidyfold.qch"
check test -f "$prefix/share/man/man1/tidyfold.1"
check grep -q '^\.TH TIDYFOLD 1' "$prefix/share/man/man1/tidyfold.1"

desktop="$prefix/share/applications/io.github.tidyfold.Tidyfold.desktop"
check test -f "$desktop"
# desktop-file-validate prints hints and warnings on stdout; any of them is a failure here.
if [[ -f $desktop ]]; then
    out=$(desktop-file-validate "$desktop" 2>&1 || true)
    if [[ -n $out ]]; then
        echo "desktop-file-validate: $out" >&2
        fail=1
    fi
fi
metainfo="$prefix/share/metainfo/io.github.tidyfold.Tidyfold.metainfo.xml"
check test -f "$metainfo"
if [[ -f $metainfo ]]; then
    check appstreamcli validate --no-net --pedantic "$metainfo"
fi
check test -f "$prefix/share/icons/hicolor/scalable/apps/tidyfold.svg"
check test -x "$prefix/bin/tidyfold-clean"
check test -f "$prefix/share/man/man1/tidyfold-clean.1"
check grep -q '^\.TH TIDYFOLD-CLEAN 1' "$prefix/share/man/man1/tidyfold-clean.1"
for unit in tidyfold-clean@.service tidyfold-clean@.timer; do
    check test -f "$prefix/lib/systemd/user/$unit"
done
# The units as systemd reads them, as an instance ("monthly") and with the command where this
# test installed it: no unknown keys, no missing sections, a command that is there.
if command -v systemd-analyze >/dev/null; then
    units=$(mktemp -d)
    sed "s|^ExecStart=[^ ]*|ExecStart=$prefix/bin/tidyfold-clean|" \
        "$prefix/lib/systemd/user/tidyfold-clean@.service" >"$units/tidyfold-clean@monthly.service"
    cp "$prefix/lib/systemd/user/tidyfold-clean@.timer" "$units/tidyfold-clean@monthly.timer"
    check systemd-analyze verify --man=no "$units/tidyfold-clean@monthly.timer" \
        "$units/tidyfold-clean@monthly.service"
    rm -rf "$units"
fi
exit $fail
