#!/usr/bin/env bash
# Whole-process decoding benchmark (not a test): `iosid tiff-decode IMAGE -o out.raw` against
# `tiffcp -c none IMAGE out.tif`, as a user runs them, on 4096 x 4096 RGB images written by
# GDAL from a texture, LZW in strips of 1, 16 and 256 rows and in 256 x 256 tiles, PackBits in
# strips of 1 row, and Deflate in strips of 1 and 16 rows and in tiles. Prints median wall times of alternating runs, their ratio and
# both peak resident set sizes. Usage: process_bench.sh IOSID DATA_DIR [RUNS]
set -euo pipefail
iosid=${1:?path to the iosid program}
data=${2:?directory for the generated images and outputs}
runs=${3:-7}
here="$(cd "$(dirname "$0")" && pwd)"
source "$here/../measure.sh"
mkdir -p "$data"
[ -s "$data/texture.raw" ] || python3 "$here/../sid/make_texture.py" "$data/texture.raw" 2048
source_image="$data/texture.raw"

printf "%-14s %9s %9s %7s %12s %12s\n" layout ours_s tiffcp_s ratio ours_rss_MiB tiffcp_rss_MiB
for layout in lzw-strip1:"-co COMPRESS=LZW -co BLOCKYSIZE=1" \
    lzw-strip16:"-co COMPRESS=LZW -co BLOCKYSIZE=16" \
    lzw-strip256:"-co COMPRESS=LZW -co BLOCKYSIZE=256" \
    lzw-tile256:"-co COMPRESS=LZW -co TILED=YES" \
    packbits-strip1:"-co COMPRESS=PACKBITS -co BLOCKYSIZE=1" \
    deflate-strip1:"-co COMPRESS=DEFLATE -co BLOCKYSIZE=1" \
    deflate-strip16:"-co COMPRESS=DEFLATE -co BLOCKYSIZE=16" \
    deflate-tile256:"-co COMPRESS=DEFLATE -co TILED=YES"; do
    name=${layout%%:*}
    image="$data/$name.tif"
    # shellcheck disable=SC2086 # the options are words
    [ -s "$image" ] || gdal_translate -q -of GTiff ${layout#*:} -outsize 4096 4096 -r bilinear \
        "$source_image" "$image"
    read -r ours_s peer_s ours_kib peer_kib < <(compare "$runs" "$data/time.log" \
        -- "$iosid" tiff-decode "$image" -o "$data/ours.raw" \
        -- tiffcp -c none "$image" "$data/tiffcp.tif")
    awk -v n="$name" -v a="$ours_s" -v b="$peer_s" -v ra="$ours_kib" -v rb="$peer_kib" \
        'BEGIN { printf "%-14s %9.3f %9.3f %7.2f %12.1f %12.1f\n", n, a, b, a / b, ra / 1024, rb / 1024 }'
done
rm -f "$data/ours.raw" "$data/tiffcp.tif"
