#!/usr/bin/env bash
# Takes the pictures to look at before a release: the real window under Xvfb with a window
# manager (openbox), at 1366x768 and at 1920x1080, on the sample store and on a generated store
# of 200,000 items. For each: the main window after "All Folders Loaded", a run in progress, the
# summary, the help viewer after following a link, an appointment's window, and the window at
# its least size.
#   scripts/screenshots.sh [OUT_DIR]        (default: build-shots/pictures)
# TIDYFOLD_BUILD_DIR names an existing build to use instead of building build-shots.
set -euo pipefail
cd "$(dirname "$0")/.."

. scripts/screenshot-env.sh
# Settings, caches and the stores live in the scratch folder.
screenshot_setup "${1:-}" tidyfold-screenshot-tour tidyfold-mkstore tidyfold_manual

mkstore="$build/tools/mkstore/tidyfold-mkstore"
tour="$build/tests/app/tidyfold-screenshot-tour"
"$mkstore" --out "$scratch/big.tidystore" --items 200000 >/dev/null

# One session of the display: openbox first, then the tour; openbox ends with it.
cat >"$scratch/session.sh" <<'SESSION'
#!/usr/bin/env bash
tour=$1 store=$2 out=$3 name=$4
openbox --sm-disable >/dev/null 2>&1 &
wm=$!
sleep 1
rc=0
"$tour" --store "$store" --out "$out" --prefix "$name" || rc=$?
kill "$wm" 2>/dev/null || true
wait "$wm" 2>/dev/null || true
exit $rc
SESSION
chmod +x "$scratch/session.sh"

for size in 1366x768 1920x1080; do
    # A fresh sample store for each run, as a new user gets it.
    rm -f "$scratch/sample.tidystore"
    "$mkstore" --out "$scratch/sample.tidystore" --items 600 >/dev/null
    cp "$scratch/big.tidystore" "$scratch/big-run.tidystore"
    xvfb-run -a -s "-screen 0 ${size}x24" \
        "$scratch/session.sh" "$tour" "$scratch/sample.tidystore" "$out" "sample-$size-"
    xvfb-run -a -s "-screen 0 ${size}x24" \
        "$scratch/session.sh" "$tour" "$scratch/big-run.tidystore" "$out" "big-$size-"
done
echo "Pictures in $out:"
ls "$out"
