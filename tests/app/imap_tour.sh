#!/bin/sh
# Runs tidyfold-imap-tour on a virtual display (with openbox when installed), in a scratch home,
# so that the window's run against a private Dovecot is checked with every test run.
#   imap_tour.sh TOUR PROGRAM
# Exits 77 (skipped) when there is no xvfb-run.
command -v xvfb-run >/dev/null 2>&1 || exit 77
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export HOME="$scratch" XDG_CONFIG_HOME="$scratch/.config" XDG_DATA_HOME="$scratch/.local/share"
export XDG_CACHE_HOME="$scratch/.cache" XDG_RUNTIME_DIR="$scratch/run"
mkdir -p "$XDG_RUNTIME_DIR" && chmod 700 "$XDG_RUNTIME_DIR"
unset QT_QPA_PLATFORM
wm=$(cd "$(dirname "$0")/../../scripts" && pwd)/with-window-manager.sh
# libdbus's own leak at exit is not ours.
export ASAN_OPTIONS=detect_leaks=0:abort_on_error=1
xvfb-run -a -s "-screen 0 1366x768x24" "$wm" "$1" --program "$2" \
    --out "$scratch/pictures"
