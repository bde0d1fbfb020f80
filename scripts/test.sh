#!/usr/bin/env bash
# Everything to run every test on a fresh Debian 12 machine: install, build, test; then the same
# tests once more in a second build under AddressSanitizer and UndefinedBehaviorSanitizer, with
# leak detection on (FOLIVO_SKIP_SANITIZE=1 leaves that run out).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
scripts/build.sh
# One throwaway PostgreSQL server for the tests that run against both engines: its own cluster in a
# temporary directory, on a Unix socket there, stopped and removed however the run ends.
pgdir="$(mktemp -d "${TMPDIR:-/tmp}/folivo-pg-XXXXXX")"
trap 'scripts/pg-cluster.sh stop "$pgdir"' EXIT
scripts/pg-cluster.sh start "$pgdir" >/dev/null
export FOLIVO_TEST_PGHOST="$pgdir"
(cd "${FOLIVO_BUILD_DIR:-build}" && ctest --output-on-failure --timeout 600)
if [ "${FOLIVO_SKIP_SANITIZE:-0}" != 1 ]; then
    asan="${FOLIVO_ASAN_BUILD_DIR:-build-asan}"
    FOLIVO_BUILD_DIR="$asan" FOLIVO_BUILD_TYPE=Debug scripts/build.sh -DFOLIVO_SANITIZE=ON
    (cd "$asan" &&
        ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
            ctest --output-on-failure --timeout 600 --parallel 2)
fi
