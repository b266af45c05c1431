#!/usr/bin/env bash
# The main job on a bundled sample: build the native host and read a sample image with it.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build/native -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build/native -j"$(nproc)" --target iosid
mkdir -p out
build/native/apps/iosid/iosid tiff-dump testdata/geotiff/byte.tif
build/native/apps/iosid/iosid tiff-decode testdata/geotiff/byte.tif -o out/byte.raw
