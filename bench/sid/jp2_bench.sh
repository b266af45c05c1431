#!/usr/bin/env bash
# JPEG 2000 benchmark: `iosid read` against gdal_translate on a large tiled, lossless JPEG 2000
# RGB image generated here (GDAL's JP2OpenJPEG driver), whole and by region at scales 1, 4 and
# 16, to the same raw output. Prints wall times, their ratio (ours / GDAL) and both peak
# resident set sizes.
# Usage: jp2_bench.sh IOSID DATA_DIR [SIZE]   (SIZE defaults to 16384)
set -euo pipefail
iosid=${1:?path to the iosid program}
data=${2:?directory for the generated image and outputs}
size=${3:-16384}
here="$(cd "$(dirname "$0")" && pwd)"
mkdir -p "$data"
image="$data/bench_rgb_${size}.jp2"

if [ ! -s "$image" ]; then
    tile=2048
    echo "generating ${size}x${size} tiled lossless JPEG 2000 RGB in $data ..." >&2
    [ -s "$data/texture.raw" ] || python3 "$here/make_texture.py" "$data/texture.raw" "$tile"
    n=$((size / tile))
    {
        echo "<VRTDataset rasterXSize=\"$size\" rasterYSize=\"$size\">"
        for band in 1 2 3; do
            echo "<VRTRasterBand dataType=\"Byte\" band=\"$band\">"
            for ((j = 0; j < n; j++)); do
                for ((i = 0; i < n; i++)); do
                    echo "<SimpleSource><SourceFilename relativeToVRT=\"0\">$data/texture.raw</SourceFilename>"
                    echo "<SourceBand>$band</SourceBand><SrcRect xOff=\"0\" yOff=\"0\" xSize=\"$tile\" ySize=\"$tile\"/>"
                    echo "<DstRect xOff=\"$((i * tile))\" yOff=\"$((j * tile))\" xSize=\"$tile\" ySize=\"$tile\"/></SimpleSource>"
                done
            done
            echo "</VRTRasterBand>"
        done
        echo "</VRTDataset>"
    } >"$data/mosaic_jp2.vrt"
    gdal_translate -q -of JP2OpenJPEG -co REVERSIBLE=YES -co QUALITY=100 -co RESOLUTIONS=7 \
        -co BLOCKXSIZE=1024 -co BLOCKYSIZE=1024 -a_srs EPSG:32611 \
        -a_ullr 500000 4200000 516384 4183616 "$data/mosaic_jp2.vrt" "$image"
fi

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
for scale in 1 4 16; do
    for kind in whole region; do
        if [ "$kind" = whole ]; then
            out_w=$((size / scale))
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
        # Same bytes apart from the channel order (ours blue first); the peer tests compare
        # contents, here only sizes.
        [ "$(stat -c %s "$data/ours.raw")" = "$(stat -c %s "$data/gdal.raw")" ] ||
            echo "warning: output sizes differ for $kind at scale $scale" >&2
        awk -v k="$kind" -v s="$scale" -v a="$ours_s" -v b="$gdal_s" -v ra="$ours_kib" -v rb="$gdal_kib" \
            'BEGIN { printf "%-7s %-6s %9.2f %9.2f %7.2f %12.1f %12.1f\n", k, s, a, b, a / b, ra / 1024, rb / 1024 }'
    done
done
rm -f "$data/ours.raw" "$data/gdal.raw" "$data/gdal.hdr"
