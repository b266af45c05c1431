#!/usr/bin/env bash
# Reader benchmark (not a test): `iosid read` against gdal_translate on a large generated RGB
# image, whole and by region, to the same raw output. Prints wall times (medians of
# IOSID_BENCH_RUNS alternating runs, default 5), their ratio (ours / GDAL) and both peak
# resident set sizes.
# Usage: read_bench.sh IOSID DATA_DIR tif|jp2|cog [SIZE]   (SIZE defaults to 16384)
#   tif: tiled LZW pyramid, scales 1, 2, 4 and 8;  jp2: lossless JPEG 2000, scales 1, 4 and 16;
#   cog: JPEG Cloud Optimized GeoTIFF, scales 1, 4 and 16
set -euo pipefail
iosid=${1:?path to the iosid program}
data=${2:?directory for the generated image and outputs}
kind=${3:?tif, jp2 or cog}
size=${4:-16384}
runs=${IOSID_BENCH_RUNS:-5}
here="$(cd "$(dirname "$0")" && pwd)"
source "$here/../measure.sh"
case "$kind" in
tif | jp2) image="$data/bench_rgb_${size}.$kind" scales=(1 2 4 8) ;;
cog) image="$data/bench_rgb_${size}_cog.tif" ;;
*) echo "read_bench: unknown kind '$kind' (tif, jp2 or cog)" >&2 && exit 64 ;;
esac
[ "$kind" = tif ] || scales=(1 4 16)
"$here/make_image.sh" "$image" "$size"

half=$((size / 4))
region_size=$((size / 2))
printf "%-7s %-6s %9s %9s %7s %12s %12s\n" case scale ours_s gdal_s ratio ours_rss_MiB gdal_rss_MiB
for scale in "${scales[@]}"; do
    for part in whole region; do
        if [ "$part" = whole ]; then
            out_w=$((size / scale))
            ours=(--scale "$scale")
            gdal=(-outsize "$out_w" "$out_w")
        else
            last=$((half + region_size - 1))
            out_w=$((region_size / scale))
            ours=(--scale "$scale" --region "$half,$half,$last,$last")
            gdal=(-srcwin "$half" "$half" "$region_size" "$region_size" -outsize "$out_w" "$out_w")
        fi
        read -r ours_s gdal_s ours_kib gdal_kib < <(compare "$runs" "$data/time.log" \
            -- "$iosid" read "$image" -o "$data/ours.raw" "${ours[@]}" \
            -- gdal_translate -q -of ENVI -co INTERLEAVE=BIP "${gdal[@]}" "$image" "$data/gdal.raw")
        # Same bytes apart from the channel order (ours blue first): compare sizes only here;
        # the pixel tests compare contents.
        [ "$(stat -c %s "$data/ours.raw")" = "$(stat -c %s "$data/gdal.raw")" ] ||
            echo "warning: output sizes differ for $part at scale $scale" >&2
        awk -v k="$part" -v s="$scale" -v a="$ours_s" -v b="$gdal_s" -v ra="$ours_kib" -v rb="$gdal_kib" \
            'BEGIN { printf "%-7s %-6s %9.2f %9.2f %7.2f %12.1f %12.1f\n", k, s, a, b, a / b, ra / 1024, rb / 1024 }'
    done
done
rm -f "$data/ours.raw" "$data/gdal.raw" "$data/gdal.hdr"
