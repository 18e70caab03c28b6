#!/usr/bin/env bash
# Installs what is missing, builds the test build (AddressSanitizer and UndefinedBehaviorSanitizer
# on) and runs every test.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh --tests
cmake -S . -B build-test -G Ninja -DCMAKE_BUILD_TYPE=Debug -DTIDYFOLD_SANITIZE=ON >/dev/null
cmake --build build-test --parallel

# Tests never see the real home directory or a real display.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export HOME="$scratch" XDG_CONFIG_HOME="$scratch/.config" XDG_DATA_HOME="$scratch/.local/share"
export XDG_CACHE_HOME="$scratch/.cache" XDG_RUNTIME_DIR="$scratch/run"
mkdir -p "$XDG_RUNTIME_DIR" && chmod 700 "$XDG_RUNTIME_DIR"
export QT_QPA_PLATFORM=offscreen
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

ctest --test-dir build-test --output-on-failure --parallel 2 "$@"
