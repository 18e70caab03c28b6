#!/bin/sh
# Runs the keyring round trip of TEST_BINARY against a private Secret Service: a session bus of
# its own and a gnome-keyring daemon whose files lie in a temporary folder, so that the user's
# keyring is never touched. The daemon ends with its bus.
#   private_keyring.sh TEST_BINARY
set -eu
if ! command -v gnome-keyring-daemon >/dev/null || ! command -v dbus-run-session >/dev/null; then
    echo "gnome-keyring or dbus is not installed (scripts/setup.sh --tests)"
    exit 77
fi
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -m 700 "$scratch/run"
export HOME="$scratch" XDG_CONFIG_HOME="$scratch/config" XDG_DATA_HOME="$scratch/data"
export XDG_CACHE_HOME="$scratch/cache" XDG_RUNTIME_DIR="$scratch/run"
export TIDYFOLD_PRIVATE_SECRET_SERVICE=1
dbus-run-session -- sh -c '
    printf %s tidyfold-test | gnome-keyring-daemon --unlock --components=secrets >/dev/null
    exec "$0" --gtest_filter=SystemKeyringTest.RoundTripThroughAPrivateSecretService
' "$1"
