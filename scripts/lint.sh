#!/usr/bin/env bash
# Runs clang-tidy with the checks in .clang-tidy over the sources of the program and its tests,
# as the compile database of the build directory compiles them (scripts/build.sh writes it), and
# exits non-zero on any finding. On two cores the whole tree takes a while; give paths to check
# only some of it.
#
#   scripts/lint.sh                       # src/ and tests/
#   scripts/lint.sh src/circulation tests/circulation/test_circulationcore.cpp
set -euo pipefail
cd "$(dirname "$0")/.."
build="${FOLIVO_BUILD_DIR:-build}"
if [ ! -f "$build/compile_commands.json" ]; then
    echo "no $build/compile_commands.json: run scripts/build.sh first" >&2
    exit 2
fi
tidy=$(command -v clang-tidy-14 || command -v clang-tidy)
runner=$(command -v run-clang-tidy-14 || command -v run-clang-tidy)
[ $# -gt 0 ] || set -- src tests
patterns=()
for p in "$@"; do
    case "$p" in
    *.cpp) patterns+=("^$PWD/$p\$") ;;
    *) patterns+=("^$PWD/${p%/}/.*\\.cpp\$") ;;
    esac
done
# Headers count where they are the project's own (not the generated ones in the build directory).
# Clang's -Wconversion also warns of every signed index into a std container; the build's
# compiler (GCC, whose -Wconversion leaves signedness to -Wsign-conversion) is the judge of
# conversions, so clang's sign warnings are off here.
"$runner" -clang-tidy-binary "$tidy" -p "$build" -j "${FOLIVO_LINT_JOBS:-2}" -quiet \
    -extra-arg=-Wno-sign-conversion -header-filter "^$PWD/(src|tests)/" "${patterns[@]}"
