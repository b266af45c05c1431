#!/usr/bin/env bash
# Reader benchmark: `iosid read` against gdal_translate on a large tiled, pyramidal, LZW RGB
# GeoTIFF generated here, whole and by region at scales 1, 2, 4 and 8, to the same raw output.
# Prints wall-time ratios (ours / GDAL) and both peak resident set sizes.
# Usage: sid_bench.sh IOSID DATA_DIR [SIZE]   (SIZE defaults to 16384)
set -euo pipefail
iosid=${1:?path to the iosid program}
data=${2:?directory for the generated image and outputs}
size=${3:-16384}
here="$(cd "$(dirname "$0")" && pwd)"
mkdir -p "$data"
image="$data/bench_rgb_${size}.tif"

"$here/make_pyramid.sh" "$image" "$size"

# Runs a command under /usr/bin/time; prints "seconds peak_kib".
measure() {
    local log="$data/time.log"
    /usr/bin/time -v "$@" >/dev/null 2>"$log" || { cat "$log" >&2; return 1; }
    local wall rss
    wall=$(awk -F': ' '/Elapsed \(wall clock\)/ {print $2}' "$log" |
        awk -F: '{ if (NF == 3) print $1*3600 + $2*60 + $3; else print $1*60 + $2 }')
    rss=$(awk -F': ' '/Maximum resident set size/ {print $2}' "$log")
    echo "$wall $rss"
}

half=$((size / 4))
region_size=$((size / 2))
printf "%-7s %-6s %9s %9s %7s %12s %12s\n" case scale ours_s gdal_s ratio ours_rss_MiB gdal_rss_MiB
for scale in 1 2 4 8; do
    for kind in whole region; do
        out_w=$((size / scale))
        if [ "$kind" = whole ]; then
            ours=(--scale "$scale")
            gdal=(-outsize "$out_w" "$out_w")
        else
            last=$((half + region_size - 1))
            out_w=$((region_size / scale))
            ours=(--scale "$scale" --region "$half,$half,$last,$last")
            gdal=(-srcwin "$half" "$half" "$region_size" "$region_size" -outsize "$out_w" "$out_w")
        fi
        read -r ours_s ours_kib < <(measure "$iosid" read "$image" -o "$data/ours.raw" "${ours[@]}")
        read -r gdal_s gdal_kib < <(measure gdal_translate -q -of ENVI -co INTERLEAVE=BIP \
            "${gdal[@]}" "$image" "$data/gdal.raw")
        # Same bytes apart from the channel order (ours blue first): compare sizes only here;
        # the pixel tests compare contents.
        [ "$(stat -c %s "$data/ours.raw")" = "$(stat -c %s "$data/gdal.raw")" ] ||
            echo "warning: output sizes differ for $kind at scale $scale" >&2
        awk -v k="$kind" -v s="$scale" -v a="$ours_s" -v b="$gdal_s" -v ra="$ours_kib" -v rb="$gdal_kib" \
            'BEGIN { printf "%-7s %-6s %9.2f %9.2f %7.2f %12.1f %12.1f\n", k, s, a, b, a / b, ra / 1024, rb / 1024 }'
    done
done
rm -f "$data/ours.raw" "$data/gdal.raw" "$data/gdal.hdr"
