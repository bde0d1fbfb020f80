#!/usr/bin/env bash
# Everything to run every test on a fresh Debian 12 machine: install, build, test.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
scripts/build.sh
cd "${FOLIVO_BUILD_DIR:-build}"
ctest --output-on-failure --timeout 600
