#!/usr/bin/env bash
# The library on a PostgreSQL server: builds in Release mode (build-release/), starts a throwaway
# server of its own (scripts/pg-cluster.sh: a temporary directory, a Unix socket, no TCP), puts the
# 100,000-book demo library of bench/run.sh on it with folivo-cli copy, and runs folivo-bench-server:
# a loan and a return of ten books against libpq, four desks at once against one.
#   bench/server.sh [--runs N] [--desk-ops N]
set -euo pipefail
cd "$(dirname "$0")/.."
runs=5
deskops=200
while [[ $# -gt 0 ]]; do
    case "$1" in
        --runs) runs="$2"; shift 2 ;;
        --desk-ops) deskops="$2"; shift 2 ;;
        *) echo "usage: bench/server.sh [--runs N] [--desk-ops N]" >&2; exit 2 ;;
    esac
done
build="${FOLIVO_BENCH_BUILD_DIR:-build-release}"
scripts/deps.sh
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DFOLIVO_BENCH=ON >/dev/null
ninja -C "$build" -j"${FOLIVO_BENCH_JOBS:-2}" folivo-cli folivo-bench-server

export FOLIVO_TODAY=2026-03-15
cache=bench/cache/demo-100000
if [[ ! -f "$cache/Folivo.db" ]]; then
    rm -rf "$cache.tmp"
    "$build/src/folivo-cli" demo --data-dir "$cache.tmp" --books 100000 --clients 20000
    mv "$cache.tmp" "$cache"
fi

work="$(mktemp -d "${TMPDIR:-/tmp}/folivo-bench-server.XXXXXX")"
pgdir="$(mktemp -d "${TMPDIR:-/tmp}/folivo-pg-XXXXXX")" # its own: the server's user must reach it
trap 'scripts/pg-cluster.sh stop "$pgdir"; rm -rf "$work"' EXIT
FOLIVO_PG_FSYNC=on scripts/pg-cluster.sh start "$pgdir" >/dev/null
psql -q -h "$pgdir" -U folivo -d postgres -c "CREATE DATABASE bench" >/dev/null
url="postgresql://folivo@/bench?host=$pgdir"
"$build/src/folivo-cli" init --database "$url" --data-dir "$work/init" >/dev/null
"$build/src/folivo-cli" copy --from "$cache" --to "$url"
# A server that has settled after the bulk copy, as a library's server has between loans: the
# planner's statistics gathered and the copied pages on the disk. Without it a checkpoint may
# fall inside the measured loans and make the first writer of every page pay for it.
psql -q -h "$pgdir" -U folivo -d bench -c "VACUUM ANALYZE" -c "CHECKPOINT" >/dev/null
mkdir -p bench/results "$work/desk"
"$build/bench/folivo-bench-server" --database "$url" --data-dir "$work/desk" --cli "$build/src/folivo-cli" \
    --runs "$runs" --desk-ops "$deskops" --json bench/results/server.json
