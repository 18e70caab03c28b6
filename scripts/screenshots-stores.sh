#!/usr/bin/env bash
# Pictures a new user's way to their own mail, on a virtual display with a window manager
# (openbox): Tidyfold started as its desktop entry starts it, the Open Store window in each kind,
# a Maildir opened and one of its folders cleaned, Quit; then Tidyfold started again the same
# way, with the Maildir open.
#   scripts/screenshots-stores.sh [OUT_DIR]   (default: build-shots/pictures)
# TIDYFOLD_BUILD_DIR names an existing build to use instead of building build-shots.
set -euo pipefail
cd "$(dirname "$0")/.."

. scripts/screenshot-env.sh
wm=$(realpath scripts/with-window-manager.sh)
# Settings, the sample store and the Maildir live in the scratch folder, which both starts
# share, as a person's home is shared by two days' work.
screenshot_setup "${1:-}" tidyfold tidyfold-store-tour tidyfold_manual

# The command the desktop entry runs, with no arguments of its own.
exec_line=$(sed -n 's/^Exec=//p' dist/io.github.tidyfold.Tidyfold.desktop)
if [[ "$exec_line" != "tidyfold" ]]; then
    echo "The desktop entry runs '$exec_line'; this script expects plain 'tidyfold'." >&2
    exit 1
fi
program=$(realpath "$build/app/widgets/tidyfold")
tour=$(realpath "$build/tests/app/tidyfold-store-tour")


size=1366x768
xvfb-run -a -s "-screen 0 ${size}x24" \
    "$wm" "$tour" --maildir "$scratch/Mail" --out "$out"
echo "Remembered stores:"
sed -n '/Stores/p' "$scratch/.config/Tidyfold/HKEY_LOCAL_MACHINE.ini"
# The second start: the program itself, as the desktop entry starts it; the picture is its
# window once loaded.
xvfb-run -a -s "-screen 0 ${size}x24" \
    "$wm" "$program" --screenshot "$out/stores-8-started-again.png"
# And once more with the window manager's frame, to show the title.
xvfb-run -a -s "-screen 0 ${size}x24" \
    "$wm" "$tour" --again --maildir "$scratch/Mail" --out "$out"
echo "Pictures in $out:"
ls "$out" | grep '^stores-'
