#!/usr/bin/env bash
# The main job on a bundled sample: build the native host and read a sample image with it.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build/native -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build/native -j"$(nproc)" --target iosid
mkdir -p out
build/native/apps/iosid/iosid tiff-dump testdata/geotiff/byte.tif
build/native/apps/iosid/iosid tiff-decode testdata/geotiff/byte.tif -o out/byte.raw
# The reader on a georeferenced pyramid generated from a bundled sample: read it at a quarter
# of its size into a PNG and print its size, scale and four-corner warp.
sample=out/sample_utm11.tif
if [ ! -s "$sample" ]; then
    gdal_translate -q -outsize 2512 2416 -r cubic -co TILED=YES -co COMPRESS=LZW \
        -a_srs EPSG:32611 -a_ullr 440000 3752000 442512 3749584 \
        testdata/tiff/rgb-3c-8b.tiff "$sample"
    gdaladdo -q -r average "$sample" 2 4 8
fi
build/native/apps/iosid/iosid read "$sample" --scale 4 -o out/sample_utm11_quarter.png
