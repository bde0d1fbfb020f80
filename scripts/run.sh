#!/usr/bin/env bash
# Everything to start Folivo on a fresh Debian 12 machine: install, build, install an empty
# library database into the data directory when it has none, start the desktop program.
# The data directory: --data-dir DIR, else $FOLIVO_HOME, else ~/.local/share/Folivo/Folivo.
set -euo pipefail
cd "$(dirname "$0")/.."
data=""
args=()
while [ $# -gt 0 ]; do
    case "$1" in
        --data-dir) data="$2"; shift 2 ;;
        *) args+=("$1"); shift ;;
    esac
done
[ -n "$data" ] || data="${FOLIVO_HOME:-$HOME/.local/share/Folivo/Folivo}"
scripts/deps.sh
scripts/build.sh
build="${FOLIVO_BUILD_DIR:-build}"
if [ ! -f "$data/Folivo.db" ]; then
    "$build/src/folivo-cli" init --data-dir "$data"
fi
exec "$build/src/folivo" --data-dir "$data" "${args[@]}"
