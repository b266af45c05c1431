#!/usr/bin/env bash
# Generates (once) the benchmarks' large georeferenced RGB image (UTM 11N), a texture mosaic:
#   make_image.sh IMAGE.tif SIZE   tiled LZW GeoTIFF with average overviews 2 to 64
#   make_image.sh IMAGE.jp2 SIZE   tiled lossless JPEG 2000 with 7 resolutions
#   make_image.sh IMAGE_cog.tif SIZE   JPEG (YCbCr) Cloud Optimized GeoTIFF with its overviews
# SIZE is a multiple of 2048.
set -euo pipefail
image=${1:?output image (.tif or .jp2)}
size=${2:?width and height}
here="$(cd "$(dirname "$0")" && pwd)"
data="$(dirname "$image")"
[ -s "$image" ] && exit 0
mkdir -p "$data"
tile=2048
echo "generating ${size}x${size} image $image ..." >&2
[ -s "$data/texture.raw" ] || python3 "$here/make_texture.py" "$data/texture.raw" "$tile"
# Mosaic the texture with a virtual raster, then write it georeferenced.
n=$((size / tile))
vrt="$data/mosaic_${size}.vrt"
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
} >"$vrt"
georef=(-a_srs EPSG:32611 -a_ullr 500000 4200000 516384 4183616)
case "$image" in
*_cog.tif)
    gdal_translate -q -of COG -co COMPRESS=JPEG -co QUALITY=90 "${georef[@]}" "$vrt" "$image"
    ;;
*.jp2)
    gdal_translate -q -of JP2OpenJPEG -co REVERSIBLE=YES -co QUALITY=100 -co RESOLUTIONS=7 \
        -co BLOCKXSIZE=1024 -co BLOCKYSIZE=1024 "${georef[@]}" "$vrt" "$image"
    ;;
*)
    gdal_translate -q -of GTiff -co TILED=YES -co COMPRESS=LZW -co PHOTOMETRIC=RGB \
        -co BIGTIFF=IF_SAFER "${georef[@]}" "$vrt" "$image"
    gdaladdo -q -r average "$image" 2 4 8 16 32 64
    ;;
esac
