#!/usr/bin/env bash
# Runs every fuzz target in BUILD_DIR/fuzz for SECONDS, seeded with the shared fixtures.
set -euo pipefail
n=0
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
    if [[ $name == fuzz_jpeg2000_* ]] && [ -z "$(ls -A "$corpus")" ]; then
        # JPEG 2000 seeds written by GDAL: tiled, one tile, bare codestream, palette, alpha.
        for args in "-co RESOLUTIONS=2 -co BLOCKXSIZE=16 -co BLOCKYSIZE=16" \
            "-co CODEC=J2K -co REVERSIBLE=YES" "-co QUALITY=30" "-co ALPHA=YES -b 1 -b 1 -b 1 -b 1"; do
            gdal_translate -q -of JP2OpenJPEG $args "$seeds/geotiff/byte.tif" \
                "$corpus/seed$((++n)).jp2" 2>/dev/null || true
        done
        gdal_translate -q -of JP2OpenJPEG "$seeds/tiff/palette-1c-8b.tiff" "$corpus/palette.jp2" \
            2>/dev/null || true
        rm -f "$corpus"/*.aux.xml
    fi
    echo "--- $name"
    "$target" -max_total_time="$seconds" -max_len=262144 -rss_limit_mb=1024 -malloc_limit_mb=256 -timeout=10 \
        -print_final_stats=1 "$corpus" "$seeds/tiff" "$seeds/geotiff" 2>&1 | tail -n 12
done
