#!/usr/bin/env bash
# A mailbox on a server cleaned in the real window, on a virtual display with a window manager
# (openbox): a private Dovecot with TLS, tidyfold --store imaps://... pictured before and after,
# the window marking the old messages of two folders and running, and a separate IMAP session
# that checks that exactly those lie in Deleted Items afterwards. Fails when it does not agree.
#   scripts/screenshots-imap.sh [OUT_DIR]   (default: a new temporary folder)
# TIDYFOLD_BUILD_DIR names an existing build to use instead of building build-shots.
set -euo pipefail
cd "$(dirname "$0")/.."

. scripts/screenshot-env.sh
wm=$(realpath scripts/with-window-manager.sh)
screenshot_setup "${1:-$(mktemp -d -t tidyfold-imap-pictures.XXXXXX)}" tidyfold tidyfold-imap-tour
program=$(realpath "$build/app/widgets/tidyfold")
tour=$(realpath "$build/tests/app/tidyfold-imap-tour")


size=1366x768
rc=0
xvfb-run -a -s "-screen 0 ${size}x24" \
    "$wm" "$tour" --program "$program" --out "$out" || rc=$?
echo "Pictures in $out:"
ls "$out" | grep '^imap-' || true
exit $rc
