#!/usr/bin/env bash
# The main job: build the host and the plug-in, import the bundled georeferenced sample through
# the plug-in at a quarter of its size into a GeoTIFF, and show what GDAL makes of the result.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build/native -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build/native -j"$(nproc)" --target iosid ioSid
mkdir -p out
iosid=build/native/apps/iosid/iosid
$iosid info testdata/sample/relief.tif
$iosid import testdata/sample/relief.tif -o out/relief_quarter.tif --scale 4 \
    --settings out/demo_settings.json
gdalinfo out/relief_quarter.tif
