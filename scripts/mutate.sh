#!/usr/bin/env bash
# Plants typical faults into a copy of the tree one at a time, rebuilds, runs the tests and
# prints how many of the faults the tests caught. It works on the last commit (HEAD), never on the
# working tree: the copy lives in $FOLIVO_MUTATE_DIR (default /tmp/folivo-mutate-USER) with its own
# build directory.
#
#   scripts/mutate.sh                 # every fault, the whole suite but the crash test
#   FOLIVO_MUTATE_ONLY='3 16' scripts/mutate.sh   # only these faults
#   FOLIVO_MUTATE_EXCLUDE='' scripts/mutate.sh   # also run test_crash (slow)
set -euo pipefail
cd "$(dirname "$0")/.."
src="$PWD"
work="${FOLIVO_MUTATE_DIR:-/tmp/folivo-mutate-$(id -un)}"
exclude="${FOLIVO_MUTATE_EXCLUDE-test_crash}"
only="${FOLIVO_MUTATE_ONLY:-}"

# One fault a line: name | file | perl substitution applied once to the whole file.
faults=$(cat <<'LIST'
check order swapped (lend: due date before acquisition)|src/circulation/pagevypujcky.cpp|s/showMessage\(dueTooEarly \? 83 : 85\)/showMessage(acquiredLater ? 85 : 83)/
off-by-one in the overdue report date|src/data/statements.h|s/(ReportOverdue =.*?DATUM_MAX) < %d/$1 <= %d/s
off-by-one in the days a return came late|src/catalogue/bookcore.cpp|s/!\(due < returnedOn\)/!(due <= returnedOn)/
missing rollback|src/data/database.cpp|s/(if \(m_open\)\n\s*)Database::connection\(\)\.rollback\(\);/$1m_open = false;/
wrong counter for a loan number|src/circulation/circulationcore.cpp|s/allocateId\(Counter::Vypujcky\)/allocateId(Counter::Vraceni)/
counter raised by two|src/data/recordsets.cpp|s/\*field = id \+ 1;/*field = id + 2;/
case-sensitive compare of codes and names|src/data/database.cpp|s/return "NOCASE";/return "BINARY";/
lost keyword separator|src/data/checks.cpp|s/out \+= QLatin1Char\('~'\) \+ k \+ QLatin1Char\('~'\);/out += QLatin1Char('~') + k;/
return keeps the holder|src/circulation/circulationcore.cpp|s/book\.m_ID_LIDE_KNIHY = -1;\n//
an unlimited loan written as limited|src/circulation/circulationcore.cpp|s/row\.m_OMEZOVAT = b\.due != NoDate;/row.m_OMEZOVAT = true;/
discard dated a day early|src/circulation/circulationcore.cpp|s/book\.m_DATUM_VYRAZENI = discardDate;/book.m_DATUM_VYRAZENI = discardDate - 1;/
forbidden apostrophe let through|src/data/checks.cpp|s/case '\\'':\n//
accession maximum lowered|src/data/recordsets.cpp|s/WHERE PRIRUSTEK_MAX < \?/WHERE PRIRUSTEK_MAX <> ?/
a lent book accepted for a discard|src/circulation/pagevyrazeni.cpp|s/if \(book->lent\) \{/if (false) {/
off-by-one in the client's overdue report date|src/data/statements.h|s/(ReportClientOverdue =.*?DATUM_MAX) < %d/$1 <= %d/s
search price range without its upper end|src/search/searchcore.cpp|s/AND CENA <= %f /AND CENA < %f /
search keyword found inside a longer one|src/search/searchcore.cpp|s/LIKE '\*~%s~\*'/LIKE '*%s*'/
search discard dates without their first day|src/search/searchcore.cpp|s/AND DATUM_VYRAZENI >= %d /AND DATUM_VYRAZENI > %d /
LIST
)

echo "copying the tree to $work"
# A fresh copy each run: the archive gives files their commit's time, so a copy left from a newer
# commit would keep stale generated files in its build.
rm -rf "$work/tree"
mkdir -p "$work/tree"
git archive --format=tar HEAD | tar -xf - -C "$work/tree"
cd "$work/tree"
export CCACHE_BASEDIR="$work" CCACHE_NOHASHDIR=1
build() { cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Debug >/dev/null && cmake --build build >"$work/build.log" 2>&1; }
runtests() { (cd build && ctest --stop-on-failure ${exclude:+-E "$exclude"} >"$work/test.log" 2>&1); }

build || { echo "the unchanged tree does not build (see $work/build.log)"; exit 2; }
runtests || { echo "the unchanged tree fails its tests (see $work/test.log)"; exit 2; }

caught=0; survived=0; planted=0; n=0
while IFS='|' read -r name file expr; do
    [ -n "$name" ] || continue
    n=$((n + 1))
    if [ -n "$only" ] && [[ " $only " != *" $n "* ]]; then continue; fi
    cp "$file" "$work/original"
    perl -0pi -e "$expr" "$file"
    if cmp -s "$file" "$work/original"; then
        printf '%2d  NOT PLANTED  %s (the pattern no longer matches %s)\n' "$n" "$name" "$file"
        continue
    fi
    planted=$((planted + 1))
    if ! build; then
        result="caught (does not build)"; caught=$((caught + 1))
    elif ! runtests; then
        failed=$(grep -oE '[0-9]+ - test_[a-z]+' "$work/test.log" | head -1 | sed 's/^[0-9]* - //')
        result="caught by ${failed:-a test}"; caught=$((caught + 1))
    else
        result="SURVIVED"; survived=$((survived + 1))
    fi
    cp "$work/original" "$file"
    printf '%2d  %-28s %s\n' "$n" "$result" "$name"
done <<<"$faults"
build >/dev/null 2>&1 || true
echo "caught $caught of $planted planted faults ($survived survived)"
