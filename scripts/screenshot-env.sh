# Sourced by the screenshot scripts: installs what they need, builds the given targets (in
# build-shots, or in TIDYFOLD_BUILD_DIR when that names an existing build), and points HOME and the
# XDG folders at a scratch folder, so that the real home is never read or written.
# Sets: build, out (from $1 of the caller, passed as the first argument), scratch.
screenshot_setup() {
    local out_arg=$1
    shift
    scripts/setup.sh --screenshots
    build=${TIDYFOLD_BUILD_DIR:-build-shots}
    if [[ -z ${TIDYFOLD_BUILD_DIR:-} ]]; then
        cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
    fi
    cmake --build "$build" --target "$@"
    out=$(realpath -m "${out_arg:-$build/pictures}")
    mkdir -p "$out"

    scratch=$(mktemp -d)
    trap 'rm -rf "$scratch"' EXIT
    export HOME="$scratch" XDG_CONFIG_HOME="$scratch/.config" XDG_DATA_HOME="$scratch/.local/share"
    export XDG_CACHE_HOME="$scratch/.cache" XDG_RUNTIME_DIR="$scratch/run"
    mkdir -p "$XDG_RUNTIME_DIR" && chmod 700 "$XDG_RUNTIME_DIR"
    unset QT_QPA_PLATFORM
    export TIDYFOLD_HELP_SITE=http://127.0.0.1:9
    # A sanitizer build would end each program with a report of libdbus's own leak; not ours.
    export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=0}
}
