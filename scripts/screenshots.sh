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

# Each run is one session of the display, under openbox.
wm=$(realpath scripts/with-window-manager.sh)

for size in 1366x768 1920x1080; do
    # A fresh sample store for each run, as a new user gets it.
    rm -f "$scratch/sample.tidystore"
    "$mkstore" --out "$scratch/sample.tidystore" --items 600 >/dev/null
    cp "$scratch/big.tidystore" "$scratch/big-run.tidystore"
    xvfb-run -a -s "-screen 0 ${size}x24" \
        "$wm" "$tour" --store "$scratch/sample.tidystore" --out "$out" --prefix "sample-$size-"
    xvfb-run -a -s "-screen 0 ${size}x24" \
        "$wm" "$tour" --store "$scratch/big-run.tidystore" --out "$out" --prefix "big-$size-"
done
echo "Pictures in $out:"
ls "$out"
