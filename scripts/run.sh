#!/usr/bin/env bash
# Installs what is missing, builds Tidyfold and opens it. Arguments go to the program, so
#   scripts/run.sh --store ~/mail/archive.tidystore
# opens another store instead of the default one.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTIDYFOLD_TESTS=OFF >/dev/null
cmake --build build --parallel

if [[ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}${QT_QPA_PLATFORM:-}" ]]; then
    cat >&2 <<'TEXT'
Tidyfold is built, but this session has no display to open its window on (DISPLAY is not set).
Open it from a desktop session, or on a virtual display:
    xvfb-run -a build/app/widgets/tidyfold
(xvfb-run comes with the Debian package xvfb.)
TEXT
    exit 2
fi
exec build/app/widgets/tidyfold "$@"
