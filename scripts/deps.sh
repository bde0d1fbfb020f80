#!/usr/bin/env bash
# Installs what Folivo needs to build, run and test on Debian 12, skipping what is already there.
set -euo pipefail
packages=(cmake ninja-build g++ ccache qt6-base-dev qt6-base-dev-tools libqt6sql6-sqlite libsqlite3-dev
          libgl1-mesa-dev xvfb xauth poppler-utils fonts-dejavu-core sqlite3
          qt6-translations-l10n libicu-dev)
missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
    sudo=""
    [ "$(id -u)" -ne 0 ] && sudo="sudo"
    $sudo apt-get update
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y --no-install-recommends "${missing[@]}"
fi
