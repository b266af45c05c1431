#!/usr/bin/env bash
# Import benchmark (not a test): `iosid import … -o out.tif --compress none` through the plug-in
# against `gdal_translate -outsize` to an uncompressed GeoTIFF, on the same large pyramidal
# GeoTIFF, whole image at scales 1, 2, 4 and 8. Prints wall-time ratios (ours / GDAL, medians
# of IOSID_BENCH_RUNS alternating runs, default 5) and both peak resident set sizes.
# Usage: import_bench.sh IOSID DATA_DIR [SIZE]   (SIZE: 16384)
set -euo pipefail
iosid=${1:?path to the iosid program}
data=${2:?directory for the generated image and outputs}
size=${3:-16384}
runs=${IOSID_BENCH_RUNS:-5}
here="$(cd "$(dirname "$0")" && pwd)"
image="$data/bench_rgb_${size}.tif"
source "$here/../measure.sh"
"$here/../sid/make_image.sh" "$image" "$size"

printf "%-6s %11s %9s %9s %7s %12s %12s\n" scale output ours_s gdal_s ratio ours_rss_MiB gdal_rss_MiB
for scale in 1 2 4 8; do
    out_w=$((size / scale))
    rm -f "$data/ours.tif" "$data/gdal.tif"
    read -r ours_s gdal_s ours_kib gdal_kib < <(compare "$runs" "$data/time.log" \
        -- "$iosid" import "$image" -o "$data/ours.tif" --quiet --compress none --defaults \
        --forget --scale "$scale" --settings "$data/settings.json" \
        -- gdal_translate -q -of GTiff -co TILED=YES -co COMPRESS=NONE -srcwin 0 0 "$size" "$size" \
        -outsize "$out_w" "$out_w" "$image" "$data/gdal.tif")
    awk -v s="$scale" -v w="${out_w}x${out_w}" -v a="$ours_s" -v b="$gdal_s" -v ra="$ours_kib" \
        -v rb="$gdal_kib" 'BEGIN { printf "%-6s %11s %9.2f %9.2f %7.2f %12.1f %12.1f\n",
        s, w, a, b, a / b, ra / 1024, rb / 1024 }'
done
rm -f "$data/ours.tif" "$data/gdal.tif"
