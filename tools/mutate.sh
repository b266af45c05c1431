#!/usr/bin/env bash
# Mutation check: do the tests notice small faults? Mutates a seeded random sample of source
# lines of one folder (one mutant at a time), rebuilds that component's test programs, runs
# them, and counts killed and surviving mutants. Slow; not part of CI.
#
#   tools/mutate.sh FOLDER [COUNT] [SEED]     e.g. tools/mutate.sh Subsystems/TiffImage 20 1
#
# FOLDER is one of Subsystems/TiffImage, georef, platform/gcs, Subsystems/Plio/ioSid. Lines
# are drawn from the folder's own .cpp files (not subfolders such as generators); comments,
# blank lines, includes, preprocessor lines and lines of braces alone are never drawn. Each
# drawn line gets one mutation, chosen by the seed: a comparison or logical operator flipped,
# an arithmetic operator swapped, an integer constant moved by one, or the statement deleted.
# The same seed on the same sources draws the same mutants, so runs before and after a test
# change compare like with like. A mutant that does not compile is reported and not counted.
# The file is always restored, also on Ctrl-C. Results go to build/mutate/<folder>.txt.
#
# Environment: IOSID_MUTATE_BUILD (build folder, default build/mutate); IOSID_MUTATE_TIMEOUT
# (seconds per test program; default three times the unmutated run plus a minute, so a mutant
# that loops forever counts as killed without stalling the run); IOSID_MUTATE_LIST=1 prints
# the drawn mutants and stops.
set -uo pipefail
cd "$(dirname "$0")/.."

folder=${1:?usage: tools/mutate.sh FOLDER [COUNT] [SEED]}
folder=${folder%/}
count=${2:-20}
seed=${3:-1}
build=${IOSID_MUTATE_BUILD:-build/mutate}
timeout=${IOSID_MUTATE_TIMEOUT:-}

# The test programs (ctest names, which are also target names) that cover each folder.
case "$folder" in
Subsystems/TiffImage) tests_regex='^tiff_' ;;
georef) tests_regex='^georef_' ;;
platform/gcs) tests_regex='^gcs_' ;;
Subsystems/Plio/ioSid) tests_regex='^(sid_|plugin_|dialog_tests)' ;;
*)
    echo "mutate: no tests known for folder '$folder'" >&2
    exit 2
    ;;
esac

# Draws the sample: prints "file<TAB>line<TAB>kind<TAB>mutated line" per mutant.
draw_mutants() {
    python3 - "$folder" "$count" "$seed" <<'PY'
import pathlib, random, re, sys

folder, count, seed = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
rng = random.Random(seed)

# Operators written with spaces on both sides, as clang-format leaves binary operators; this
# keeps template brackets, stream operators and pointers out of the way.
SWAPS = [
    ("compare", " == ", " != "), ("compare", " != ", " == "),
    ("compare", " < ", " <= "), ("compare", " <= ", " < "),
    ("compare", " > ", " >= "), ("compare", " >= ", " > "),
    ("logic", " && ", " || "), ("logic", " || ", " && "),
    ("arith", " + ", " - "), ("arith", " - ", " + "),
    ("arith", " * ", " / "), ("arith", " / ", " * "),
    ("arith", " += ", " -= "), ("arith", " -= ", " += "),
    ("arith", "++", "--"), ("arith", "--", "++"),
]
CONSTANT = re.compile(r"(?<![\w.])(\d+)(?![\w.'])")

def code_part(line):
    # Strings and trailing comments are not code to mutate.
    line = re.sub(r'"(?:[^"\\]|\\.)*"', lambda m: "\0" * len(m.group()), line)
    cut = line.find("//")
    return line if cut < 0 else line[:cut]

def mutations(line, statement_start):
    code = code_part(line)
    found = []
    for kind, old, new in SWAPS:
        for m in re.finditer(re.escape(old), code):
            if kind == "compare" and old.strip() in "<>" and ("<<" in code or ">>" in code):
                continue
            found.append((kind, line[:m.start()] + new + line[m.end():]))
    for m in CONSTANT.finditer(code):
        value = int(m.group(1))
        found.append(("constant", line[:m.start()] + str(value + 1) + line[m.end():]))
    if statement_start and deletable(code.strip()):
        indent = line[:len(line) - len(line.lstrip())]
        found.append(("delete", indent + ";"))
    return found

def deletable(statement):
    # A whole call or assignment on one line; declarations and returns would not compile.
    return (statement.endswith(";") and "(" in statement
            and statement.count("(") == statement.count(")")
            and not statement.startswith(("return", "case", "default", "}"))
            and not re.match(r"^(const |static |constexpr |auto |using |[\w:<>]+ [\w]+ = )",
                             statement))

candidates = []
in_block_comment = False
# The Win32 layer (files that include windows.h) is not built natively, so no test here sees it.
native = [p for p in sorted(pathlib.Path(folder).glob("*.cpp")) if "<windows.h>" not in p.read_text()]
for path in native:
    statement_start = True
    for number, line in enumerate(path.read_text().split("\n"), 1):
        text = line.strip()
        if in_block_comment:
            in_block_comment = "*/" not in text
            continue
        if text.startswith("/*"):
            in_block_comment = "*/" not in text
            continue
        if not text or text.startswith(("//", "#")) or set(text) <= set("{}();, "):
            continue
        options = mutations(line, statement_start)
        if options:
            candidates.append((str(path), number, options))
        code = code_part(line).rstrip()
        statement_start = code.endswith((";", "{", "}", ")")) or code.strip() == "else"

for path, number, options in rng.sample(candidates, min(count, len(candidates))):
    kind, mutated = rng.choice(options)
    print(f"{path}\t{number}\t{kind}\t{mutated}")
PY
}

if [ "${IOSID_MUTATE_LIST:-}" = 1 ]; then
    draw_mutants
    exit 0
fi

# Other developers share the cores: lowest priority for everything below.
renice -n 19 $$ >/dev/null 2>&1 || true
export CCACHE_BASEDIR=$PWD

cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DIOSID_BENCH=OFF \
    -DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache >/dev/null || exit 2
mapfile -t test_names < <(ctest --test-dir "$build" -N -R "$tests_regex" |
    sed -n 's/^ *Test *#[0-9]*: *//p')
mapfile -t all_targets < <(cmake --build "$build" --target help | sed -n 's/^\.\.\. \([^ ]*\).*/\1/p')
targets=()
for t in "${test_names[@]}" iosid; do
    if printf '%s\n' "${all_targets[@]}" | grep -qx "$t"; then targets+=("$t"); fi
done
if [ ${#test_names[@]} -eq 0 ] || [ ${#targets[@]} -eq 0 ]; then
    echo "mutate: no test programs match $tests_regex in $build" >&2
    exit 2
fi

build_and_test() {
    cmake --build "$build" -j2 --target "${targets[@]}" >/dev/null 2>&1 || return 2
    ctest --test-dir "$build" -R "$tests_regex" --timeout "$timeout" -j1 >/dev/null 2>&1 || return 1
    return 0
}

echo "mutate: unmutated build and tests of $folder (${test_names[*]})"
cmake --build "$build" -j2 --target "${targets[@]}" >/dev/null 2>&1 || {
    echo "mutate: the unmutated tree does not build" >&2
    exit 2
}
started=$(date +%s)
build_and_test
status=$?
[ -n "$timeout" ] || timeout=$((3 * ($(date +%s) - started) + 60))
case $status in
0) ;;
2) echo "mutate: the unmutated tree does not build" >&2; exit 2 ;;
*) echo "mutate: the tests fail without any mutant; fix them first" >&2; exit 2 ;;
esac

mkdir -p "$build"
report="$build/$(echo "$folder" | tr / _).txt"
current_file=""
backup="$build/mutate.orig"
restore() {
    if [ -n "$current_file" ]; then
        cp "$backup" "$current_file"
        touch "$current_file"
        current_file=""
    fi
}
trap 'restore; echo "mutate: interrupted; sources restored" >&2; exit 130' INT TERM
trap restore EXIT

killed=0 survived=0 broken=0
: >"$report"
while IFS=$'\t' read -r file line kind mutated; do
    cp "$file" "$backup"
    current_file=$file
    python3 - "$file" "$line" "$mutated" <<'PY'
import sys
path, number, text = sys.argv[1], int(sys.argv[2]), sys.argv[3]
lines = open(path).read().split("\n")
lines[number - 1] = text
open(path, "w").write("\n".join(lines))
PY
    build_and_test
    case $? in
    0) verdict=SURVIVED; survived=$((survived + 1)) ;;
    1) verdict=killed; killed=$((killed + 1)) ;;
    *) verdict=no-build; broken=$((broken + 1)) ;;
    esac
    restore
    printf '%-8s %s:%s [%s] %s\n' "$verdict" "$file" "$line" "$kind" "$(echo "$mutated" | sed 's/^ *//')" |
        tee -a "$report"
done < <(draw_mutants)

# Leave the build matching the restored sources.
cmake --build "$build" -j2 --target "${targets[@]}" >/dev/null 2>&1
counted=$((killed + survived))
rate=0
[ $counted -gt 0 ] && rate=$((100 * killed / counted))
summary="$folder seed $seed: killed $killed of $counted ($rate%), $broken did not build"
echo "$summary" | tee -a "$report"
