#!/usr/bin/env bash
# Installs what Folivo needs to build, run and test on Debian 12, skipping what is already there.
set -euo pipefail
packages=(cmake ninja-build g++ ccache qt6-base-dev qt6-base-dev-tools libqt6sql6-sqlite libsqlite3-dev
          libgl1-mesa-dev xvfb xauth poppler-utils fonts-dejavu-core sqlite3
          qt6-translations-l10n postgresql-15 libqt6sql6-psql libpq-dev libicu-dev)
missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
    sudo=""
    [ "$(id -u)" -ne 0 ] && sudo="sudo"
    # The tests start a PostgreSQL server of their own (scripts/pg-cluster.sh); the package's
    # default cluster and system service are not wanted, so none is made on installation.
    if [[ " ${missing[*]} " == *" postgresql-15 "* ]] && [ ! -e /etc/postgresql-common/createcluster.conf ]; then
        $sudo mkdir -p /etc/postgresql-common
        echo "create_main_cluster = false" | $sudo tee /etc/postgresql-common/createcluster.conf >/dev/null
    fi
    $sudo apt-get update
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y --no-install-recommends \
        -o Dpkg::Options::=--force-confold "${missing[@]}"
fi
