#!/usr/bin/env bash
# Generates (once) the benchmarks' large tiled, pyramidal, LZW RGB GeoTIFF: a texture mosaic in
# UTM 11N with overviews 2 to 64. Usage: make_pyramid.sh IMAGE SIZE (a multiple of 2048).
set -euo pipefail
image=${1:?output GeoTIFF}
size=${2:?width and height}
here="$(cd "$(dirname "$0")" && pwd)"
data="$(dirname "$image")"
[ -s "$image" ] && exit 0
mkdir -p "$data"
tile=2048
echo "generating ${size}x${size} tiled pyramidal LZW RGB GeoTIFF in $data ..." >&2
python3 "$here/make_texture.py" "$data/texture.raw" "$tile"
# Mosaic the texture with a virtual raster, then write it tiled, compressed and georeferenced.
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
} >"$data/mosaic.vrt"
gdal_translate -q -of GTiff -co TILED=YES -co COMPRESS=LZW -co PHOTOMETRIC=RGB \
    -co BIGTIFF=IF_SAFER -a_srs EPSG:32611 -a_ullr 500000 4200000 516384 4183616 \
    "$data/mosaic.vrt" "$image"
gdaladdo -q -r average "$image" 2 4 8 16 32 64
