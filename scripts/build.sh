#!/usr/bin/env bash
# Configures and builds Folivo with Ninja into build/ (or $FOLIVO_BUILD_DIR).
set -euo pipefail
cd "$(dirname "$0")/.."
build="${FOLIVO_BUILD_DIR:-build}"
type="${FOLIVO_BUILD_TYPE:-Debug}"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE="$type" "$@"
cmake --build "$build"
