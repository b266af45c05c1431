#!/usr/bin/env bash
# Runs every fuzz target in BUILD_DIR/fuzz for SECONDS, seeded with the shared fixtures.
set -euo pipefail
build=${1:?build dir}
seconds=${2:-30}
root="$(cd "$(dirname "$0")/.." && pwd)"
seeds="$root/testdata"
shopt -s nullglob
for target in "$build"/fuzz/fuzz_*; do
    [ -x "$target" ] || continue
    name=$(basename "$target")
    corpus="$build/fuzz/corpus/$name"
    mkdir -p "$corpus"
    echo "--- $name"
    "$target" -max_total_time="$seconds" -max_len=262144 -rss_limit_mb=2048 -timeout=10 \
        -print_final_stats=1 "$corpus" "$seeds/tiff" "$seeds/geotiff" 2>&1 | tail -n 12
done
