# JPEG-compressed GeoTIFFs made with GDAL on the build host, with GDAL's own decoding of each as
# the reference, for the Windows build's JPEG tests under Wine (which has no GDAL). Writes
# DIR/jpeg_fixtures.txt, one "name scale format tolerance" line a file (format 3 grey, 4 RGB,
# 5 RGBA).
# Run with -DGDAL_TRANSLATE= -DGDALADDO= -DSOURCE= (an RGB image) -DDIR=.
# Tolerance: blocks of grey, RGB or RGBA samples decode byte for byte; YCbCr with subsampled
# chroma may differ by a few levels, as codecs upsample chroma and round the colour conversion
# differently (Wine's codec against GDAL's libjpeg-turbo: at most 4 on the full image, 6 on
# its overview, whose chroma is sharper; about one sample in ten differs at all).
cmake_minimum_required(VERSION 3.20)
set(cases
    # name|GDAL's creation options|overviews|scale read|GDAL's bands|format|tolerance
    "ycbcr_tiled_mask|-b 1 -b 2 -b 3 -co COMPRESS=JPEG -co PHOTOMETRIC=YCBCR -co TILED=YES --config GDAL_TIFF_INTERNAL_MASK YES -mask 4|2|2|-b 1 -b 2 -b 3 -b mask|5|6"
    "ycbcr_strips|-b 1 -b 2 -b 3 -co COMPRESS=JPEG -co PHOTOMETRIC=YCBCR -co BLOCKYSIZE=48||1|-b 1 -b 2 -b 3|4|4"
    "rgb_strips|-b 1 -b 2 -b 3 -co COMPRESS=JPEG -co BLOCKYSIZE=64||1|-b 1 -b 2 -b 3|4|0"
    "grey_tiled|-b 1 -co COMPRESS=JPEG -co TILED=YES|2 4|4|-b 1|3|0"
    "rgba_cog|-of COG -co COMPRESS=JPEG -co BLOCKSIZE=256||1|-b 1 -b 2 -b 3 -b 4|5|0")

function(gdal)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc ERROR_VARIABLE err)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "${ARGN}: ${rc} ${err}")
    endif()
endfunction()

file(MAKE_DIRECTORY ${DIR})
# The source with a fourth band thresholded from the first, so that masks and alpha have holes.
set(source ${DIR}/source_rgbm.tif)
gdal(${GDAL_TRANSLATE} -q -b 1 -b 2 -b 3 -b 1 -scale_4 100 101 0 255 ${SOURCE} ${source})
set(manifest "")
foreach(c IN LISTS cases)
    string(REPLACE "|" ";" f "${c}")
    list(GET f 0 name)
    list(GET f 3 scale)
    list(GET f 5 format)
    list(GET f 6 tolerance)
    list(GET f 1 options)
    list(GET f 2 overviews)
    list(GET f 4 bands)
    separate_arguments(options UNIX_COMMAND "${options}")
    separate_arguments(overviews UNIX_COMMAND "${overviews}")
    separate_arguments(bands UNIX_COMMAND "${bands}")
    file(REMOVE ${DIR}/${name}.tif)
    gdal(${GDAL_TRANSLATE} -q ${options} ${source} ${DIR}/${name}.tif)
    if(overviews)
        gdal(${GDALADDO} -q ${DIR}/${name}.tif ${overviews})
    endif()
    # The whole image at 1/scale, which GDAL reads from the matching overview.
    math(EXPR percent "100 / ${scale}")
    gdal(${GDAL_TRANSLATE} -q -of ENVI -co INTERLEAVE=BIP ${bands} -outsize ${percent}%
         ${percent}% ${DIR}/${name}.tif ${DIR}/${name}.ref)
    string(APPEND manifest "${name} ${scale} ${format} ${tolerance}\n")
endforeach()
file(WRITE ${DIR}/jpeg_fixtures.txt "${manifest}")
