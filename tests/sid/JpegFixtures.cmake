# JPEG-compressed GeoTIFFs made with GDAL on the build host, with GDAL's own decoding of each as
# the reference, for the Windows build's JPEG tests under Wine (which has no GDAL). Writes
# DIR/jpeg_fixtures.txt, one "name scale format tolerance" line a file (format 3 grey, 4 RGB,
# 5 RGBA), and DIR/grey16x8.jpg for the decoder's refusal tests.
# Run with -DGDAL_TRANSLATE= -DGDALADDO= -DSOURCE= (an RGB image) -DDIR=.
# Tolerance: blocks of grey, RGB or RGBA samples decode byte for byte; YCbCr with subsampled
# chroma may differ by a few levels, as codecs upsample chroma and round the colour conversion
# differently (Wine's codec against GDAL's libjpeg-turbo: at most 4 on the full image, 6 on
# its overview, whose chroma is sharper; about one sample in ten differs at all).
cmake_minimum_required(VERSION 3.20)
set(cases
    # name|source|GDAL creation options|overviews|scale|GDAL's bands|format|tolerance
    "ycbcr_tiled_mask|rgbm|-b 1 -b 2 -b 3 -co COMPRESS=JPEG -co PHOTOMETRIC=YCBCR -co TILED=YES --config GDAL_TIFF_INTERNAL_MASK YES -mask 4|2|2|-b 1 -b 2 -b 3 -b mask|5|6"
    "ycbcr_strips|rgb|-co COMPRESS=JPEG -co PHOTOMETRIC=YCBCR -co BLOCKYSIZE=48||1||4|4"
    "rgb_strips|rgb|-co COMPRESS=JPEG -co BLOCKYSIZE=64||1||4|0"
    "grey_tiled|rgb|-b 1 -co COMPRESS=JPEG -co TILED=YES|2 4|4||3|0"
    "rgba_cog|rgbm|-of COG -co COMPRESS=JPEG -co BLOCKSIZE=256||1||5|0")

function(gdal)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc ERROR_VARIABLE err)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "${ARGN}: ${rc} ${err}")
    endif()
endfunction()

file(MAKE_DIRECTORY ${DIR})
set(rgb ${SOURCE})
# A fourth band thresholded from the first, so that masks and alpha have holes.
set(rgbm ${DIR}/source_rgbm.tif)
gdal(${GDAL_TRANSLATE} -q -b 1 -b 2 -b 3 -b 1 -scale_4 100 101 0 255 ${SOURCE} ${rgbm})
gdal(${GDAL_TRANSLATE} -q -of JPEG -b 1 -outsize 16 8 ${SOURCE} ${DIR}/grey16x8.jpg)
set(manifest "")
foreach(c IN LISTS cases)
    string(REPLACE "|" ";" f "${c}")
    list(GET f 0 name)
    list(GET f 1 source)
    list(GET f 2 options)
    list(GET f 3 overviews)
    list(GET f 4 scale)
    list(GET f 5 bands)
    list(GET f 6 format)
    list(GET f 7 tolerance)
    separate_arguments(options UNIX_COMMAND "${options}")
    separate_arguments(overviews UNIX_COMMAND "${overviews}")
    separate_arguments(bands UNIX_COMMAND "${bands}")
    set(tif ${DIR}/${name}.tif)
    file(REMOVE ${tif})
    gdal(${GDAL_TRANSLATE} -q ${options} ${${source}} ${tif})
    if(overviews)
        gdal(${GDALADDO} -q ${tif} ${overviews})
    endif()
    # The whole image at 1/scale, which GDAL reads from the matching overview.
    math(EXPR percent "100 / ${scale}")
    gdal(${GDAL_TRANSLATE} -q -of ENVI -co INTERLEAVE=BIP ${bands} -outsize ${percent}%
         ${percent}% ${tif} ${DIR}/${name}.ref)
    string(APPEND manifest "${name} ${scale} ${format} ${tolerance}\n")
endforeach()
file(WRITE ${DIR}/jpeg_fixtures.txt "${manifest}")
