#!/usr/bin/env bash
# Test code against production code, in lines. The rule: every line of C++ sources and headers
# (.cpp, .h, .inc), CMakeLists.txt and Python files; tests are everything under tests/,
# production is platform/, Subsystems/, georef/, engines/ and apps/. Fixtures, generated files,
# fuzz targets, benchmarks and tools count as neither.
set -euo pipefail
cd "$(dirname "$0")/.."

count() {
    local dirs=()
    for d in "$@"; do [ -d "$d" ] && dirs+=("$d"); done
    [ ${#dirs[@]} -gt 0 ] || { echo 0; return; }
    find "${dirs[@]}" -type f \( -name '*.cpp' -o -name '*.h' -o -name '*.inc' -o -name '*.py' \
        -o -name CMakeLists.txt \) -print0 | xargs -0 cat | wc -l
}

production=$(count platform Subsystems georef engines apps)
tests=$(count tests)
echo "production $production"
for d in tests/*/; do
    printf '  %-16s %6s\n' "${d%/}" "$(count "$d")"
done
echo "tests $tests ($((100 * tests / production))% of production)"
