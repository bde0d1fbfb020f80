#!/usr/bin/env bash
# Everything to start Folivo on a fresh Debian 12 machine: install, build, install an empty
# library database into the data directory when it has none, start the desktop program.
# The data directory: --data-dir DIR, else $FOLIVO_HOME, else ~/.local/share/Folivo/Folivo.
# With --demo the program starts on a made-up library instead, in a data directory of its own
# (--data-dir DIR, else ~/.local/share/Folivo/Demo): made once by folivo-cli demo, then reused.
set -euo pipefail
cd "$(dirname "$0")/.."
data=""
demo=0
args=()
while [ $# -gt 0 ]; do
    case "$1" in
        --data-dir) data="$2"; shift 2 ;;
        --demo) demo=1; shift ;;
        *) args+=("$1"); shift ;;
    esac
done
if [ "$demo" = 1 ]; then
    [ -n "$data" ] || data="$HOME/.local/share/Folivo/Demo"
else
    [ -n "$data" ] || data="${FOLIVO_HOME:-$HOME/.local/share/Folivo/Folivo}"
fi
scripts/deps.sh
scripts/build.sh
build="${FOLIVO_BUILD_DIR:-build}"
if [ ! -f "$data/Folivo.db" ]; then
    if [ "$demo" = 1 ]; then
        # Made beside the data directory and moved in when complete, so that an interrupted
        # run leaves no half-made library to be reused.
        part="$data.part"
        rm -rf "$part"
        "$build/src/folivo-cli" demo --data-dir "$part"
        mkdir -p "$data"
        mv "$part"/* "$data"/
        rmdir "$part"
    else
        "$build/src/folivo-cli" init --data-dir "$data"
    fi
fi
exec "$build/src/folivo" --data-dir "$data" "${args[@]}"
