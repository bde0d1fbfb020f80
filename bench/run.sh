#!/usr/bin/env bash
# Builds Folivo in Release mode (build-release/), makes the demo library once (bench/cache/),
# runs every benchmark and prints the table; the figures also go to bench/results/latest.json (the
# figures of the run before to previous.json, and both runs' ratios are compared).
#   bench/run.sh [--runs N] [--only GROUPS]
set -euo pipefail
cd "$(dirname "$0")/.."
runs=5
only=()
while [[ $# -gt 0 ]]; do
    case "$1" in
        --runs) runs="$2"; shift 2 ;;
        --only) only=(--only "$2"); shift 2 ;;   # a comma-separated list of groups
        *) echo "usage: bench/run.sh [--runs N] [--only GROUPS]" >&2; exit 2 ;;
    esac
done
build="${FOLIVO_BENCH_BUILD_DIR:-build-release}"
jobs="${FOLIVO_BENCH_JOBS:-2}"

if ! command -v cmake >/dev/null || ! command -v ninja >/dev/null; then
    scripts/deps.sh
fi
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DFOLIVO_BENCH=ON >/dev/null
ninja -C "$build" -j"$jobs" folivo-cli folivo-bench

# The demo library depends only on the generator and today's date, which is fixed here.
export FOLIVO_TODAY=2026-03-15
cache=bench/cache/demo-100000
if [[ ! -f "$cache/Folivo.db" ]]; then
    rm -rf "$cache.tmp"
    echo "making the demo library (100,000 books, 20,000 clients) in $cache ..."
    "$build/src/folivo-cli" demo --data-dir "$cache.tmp" --books 100000 --clients 20000
    mv "$cache.tmp" "$cache"
fi

mkdir -p bench/results
# The figures of the run before stay beside the new ones, for comparing two runs in a row.
if [[ ${#only[@]} -eq 0 && -f bench/results/latest.json ]]; then
    cp bench/results/latest.json bench/results/previous.json
fi
work="$(mktemp -d "${TMPDIR:-/tmp}/folivo-bench.XXXXXX")"
trap 'rm -rf "$work"' EXIT
status=0
"$build/bench/folivo-bench" --library "$cache/Folivo.db" --work "$work" --runs "$runs" "${only[@]}" \
    --json bench/results/latest.json || status=$?

# The README's table is made from latest.json, between its two markers.
if [[ ${#only[@]} -eq 0 && -f bench/results/latest.json ]]; then
    # (folivo-bench removes its work directory when it ends)
    table="$(mktemp)"
    readme="$(mktemp)"
    "$build/bench/folivo-bench" --table bench/results/latest.json >"$table"
    awk -v table="$table" '
        /<!-- bench-table -->/ { print; while ((getline line < table) > 0) print line; skip = 1; next }
        /<!-- \/bench-table -->/ { skip = 0 }
        !skip { print }' README.md >"$readme" && cp "$readme" README.md
    rm -f "$table" "$readme"
    if [[ -f bench/results/previous.json ]]; then
        echo
        echo "ratios of the run before and of this one:"
        "$build/bench/folivo-bench" --compare bench/results/previous.json bench/results/latest.json || true
    fi
fi
exit "$status"
