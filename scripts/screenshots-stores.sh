#!/usr/bin/env bash
# Pictures a new user's way to their own mail, on a virtual display with a window manager
# (openbox): Tidyfold started as its desktop entry starts it, the Open Store window in each kind,
# a Maildir opened and one of its folders cleaned, Quit; then Tidyfold started again the same
# way, with the Maildir open.
#   scripts/screenshots-stores.sh [OUT_DIR]   (default: build-shots/pictures)
# TIDYFOLD_BUILD_DIR names an existing build to use instead of building build-shots.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh --screenshots
build=${TIDYFOLD_BUILD_DIR:-build-shots}
if [[ -z ${TIDYFOLD_BUILD_DIR:-} ]]; then
    cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
fi
cmake --build "$build" --target tidyfold tidyfold-store-tour tidyfold_manual
out=$(realpath -m "${1:-$build/pictures}")
mkdir -p "$out"

# Never the real home: settings, the sample store and the Maildir live in a scratch folder,
# which both starts share, as a person's home is shared by two days' work.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export HOME="$scratch" XDG_CONFIG_HOME="$scratch/.config" XDG_DATA_HOME="$scratch/.local/share"
export XDG_CACHE_HOME="$scratch/.cache" XDG_RUNTIME_DIR="$scratch/run"
mkdir -p "$XDG_RUNTIME_DIR" && chmod 700 "$XDG_RUNTIME_DIR"
unset QT_QPA_PLATFORM
export TIDYFOLD_HELP_SITE=http://127.0.0.1:9
# A sanitizer build would end each program with a report of libdbus's own leak; not ours.
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=0}

# The command the desktop entry runs, with no arguments of its own.
exec_line=$(sed -n 's/^Exec=//p' dist/io.github.tidyfold.Tidyfold.desktop)
if [[ "$exec_line" != "tidyfold" ]]; then
    echo "The desktop entry runs '$exec_line'; this script expects plain 'tidyfold'." >&2
    exit 1
fi
program=$(realpath "$build/app/widgets/tidyfold")
tour=$(realpath "$build/tests/app/tidyfold-store-tour")

cat >"$scratch/session.sh" <<'SESSION'
#!/usr/bin/env bash
openbox --sm-disable >/dev/null 2>&1 &
wm=$!
sleep 1
rc=0
"$@" || rc=$?
kill "$wm" 2>/dev/null || true
wait "$wm" 2>/dev/null || true
exit $rc
SESSION
chmod +x "$scratch/session.sh"

size=1366x768
xvfb-run -a -s "-screen 0 ${size}x24" \
    "$scratch/session.sh" "$tour" --maildir "$scratch/Mail" --out "$out"
echo "Remembered stores:"
sed -n '/Stores/p' "$scratch/.config/Tidyfold/HKEY_LOCAL_MACHINE.ini"
# The second start: the program itself, as the desktop entry starts it; the picture is its
# window once loaded.
xvfb-run -a -s "-screen 0 ${size}x24" \
    "$scratch/session.sh" "$program" --screenshot "$out/stores-8-started-again.png"
# And once more with the window manager's frame, to show the title.
xvfb-run -a -s "-screen 0 ${size}x24" \
    "$scratch/session.sh" "$tour" --again --maildir "$scratch/Mail" --out "$out"
echo "Pictures in $out:"
ls "$out" | grep '^stores-'
