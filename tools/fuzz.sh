#!/usr/bin/env bash
# Runs every fuzz target in BUILD_DIR/fuzz (or those matching PATTERN) for SECONDS, seeded with
# the shared fixtures.
set -euo pipefail
n=0
build=${1:?build dir}
seconds=${2:-30}
root="$(cd "$(dirname "$0")/.." && pwd)"
seeds="$root/testdata"
shopt -s nullglob
for target in "$build"/fuzz/${3:-fuzz_*}; do
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
    if [[ $name == fuzz_jpeg_block ]] && [ -z "$(ls -A "$corpus")" ]; then
        # Whole JPEG streams behind the target's header: layout, width - 1, rows - 1 (16 bits
        # each, little-endian), then 0 for no separate tables.
        gdal_translate -q -of JPEG -outsize 64 48 "$seeds/geotiff/byte.tif" "$corpus/grey.jpg" \
            2>/dev/null && { printf '\x00\x3f\x00\x2f\x00\x00'; cat "$corpus/grey.jpg"; } \
            >"$corpus/seed_grey" || true
        gdal_translate -q -of JPEG -outsize 40 24 "$seeds/tiff/rgb-3c-8b.tiff" "$corpus/rgb.jpg" \
            2>/dev/null && { printf '\x01\x27\x00\x17\x00\x00'; cat "$corpus/rgb.jpg"; } \
            >"$corpus/seed_ycbcr" || true
        rm -f "$corpus"/*.jpg "$corpus"/*.aux.xml
    fi
    # Inputs earlier campaigns stopped on, run first every time.
    regressions=()
    [ -d "$root/fuzz/regressions/$name" ] && regressions=("$root/fuzz/regressions/$name")
    echo "--- $name"
    # A smaller quarantine than ASan's 256 MiB, so that the RSS limit measures our memory more
    # than the sanitizer's.
    ASAN_OPTIONS=${ASAN_OPTIONS:-quarantine_size_mb=32} \
    "$target" -max_total_time="$seconds" -max_len=262144 -rss_limit_mb=1024 -malloc_limit_mb=256 -timeout=10 \
        -print_final_stats=1 "$corpus" "${regressions[@]}" "$seeds/tiff" "$seeds/geotiff" 2>&1 |
        tail -n 12
done
