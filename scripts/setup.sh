#!/usr/bin/env bash
# Installs the Debian packages Tidyfold needs that are not installed yet.
#   scripts/setup.sh          what building and running needs
#   scripts/setup.sh --tests  that, plus what the tests need
#   scripts/setup.sh --screenshots  that, plus what scripts/screenshots.sh needs
set -euo pipefail

packages=(
    cmake ninja-build g++ pkg-config
    qt6-base-dev qt6-qpa-plugins libgl-dev libxkbcommon-dev
    qt6-tools-dev qt6-tools-dev-tools qt6-documentation-tools libqt6help6 libqt6svg6
    libsqlite3-dev
    libgmime-3.0-dev
    libgnutls28-dev qtkeychain-qt6-dev libetpan-dev
)
if [[ "${1:-}" == "--tests" || "${1:-}" == "--screenshots" ]]; then
    # appstream and desktop-file-utils check the installed desktop files.
    packages+=(googletest libgtest-dev xvfb xauth appstream desktop-file-utils
        dovecot-imapd isync python3)
    # A private Secret Service for the keyring test.
    packages+=(gnome-keyring libsecret-1-0 dbus-daemon)
    # tidyfold-bench imap measures imapfilter doing the same clean.
    packages+=(imapfilter)
fi
if [[ "${1:-}" == "--screenshots" ]]; then
    # A real window manager draws the frames; sample senders have Chinese and Japanese names.
    packages+=(openbox fonts-noto-cjk)
fi

missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "ok installed"; then
        missing+=("$package")
    fi
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
if [[ $(id -u) -ne 0 ]]; then
    sudo="sudo"
fi
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
