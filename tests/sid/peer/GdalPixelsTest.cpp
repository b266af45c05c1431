// Pixels read through SidInterface and the GeoTIFF engine against gdal_translate reading the
// same image and overview: every scale up to the maximum, whole images and regions, over tiled
// and stripped, chunky and planar, compressed (JPEG and COGs included, with transparency masks),
// big-endian, BigTIFF and colour-mapped files. Reductions no overview provides are checked
// against the exact block means in GeoTiffAverageTest.
#include "OurReader.h"

#include <gtest/gtest.h>

#include <string>

using namespace peer;

namespace {

// GDAL stretches each band's extent onto bytes, as the reader does for wide samples.
constexpr const char *kStretch = "stretch";

std::string GdalArgs(const std::string &path, const char *args) {
    return args == std::string(kStretch) ? StretchArgs(GdalRanges(path)) : args;
}

struct PyramidCase {
    const char *name;
    uint32_t width, height;
    int bands;
    const char *type;
    const char *options;
    const char *overviews;
    uint32_t maxScale;
    int format;               // our output format; GDAL gives the same channels
    const char *gdalArgs;     // extra arguments for GDAL, or kStretch
    int tolerance;            // 0: byte for byte
    const char *fixture = ""; // the source, under the test data; "": a generated one
};

#define JPEG_YCBCR "-co COMPRESS=JPEG -co PHOTOMETRIC=YCBCR "
#define MASK "--config GDAL_TIFF_INTERNAL_MASK YES -mask 4 "
#define MASK_4 "-b 1 -b 2 -b 3 " MASK

const PyramidCase kPyramids[] = {
    {"rgb_tiled_lzw", 1536, 1024, 3, "Byte", "-co TILED=YES -co COMPRESS=LZW", "2 4 8", 8, 4, "",
     0},
    {"rgb_planar_packbits", 640, 384, 3, "Byte",
     "-co TILED=YES -co BLOCKXSIZE=128 -co BLOCKYSIZE=128 -co INTERLEAVE=BAND "
     "-co COMPRESS=PACKBITS",
     "2", 2, 4, "", 0},
    {"grey_strips_deflate", 1024, 512, 1, "Byte",
     "-co TILED=NO -co BLOCKYSIZE=7 -co COMPRESS=DEFLATE -co PREDICTOR=2", "2 4", 4, 3, "", 0},
    {"rgb_bigtiff_bigendian", 768, 512, 3, "Byte",
     "-co BIGTIFF=YES -co ENDIANNESS=BIG -co TILED=YES -co COMPRESS=LZW -co PREDICTOR=2", "2", 2, 4,
     "", 0},
    {"grey16_bigendian", 512, 256, 1, "UInt16",
     "-co ENDIANNESS=BIG -co TILED=YES -co COMPRESS=LZW -co PREDICTOR=2", "", 1, 3, kStretch, 1},
    {"rgba_alpha", 512, 512, 4, "Byte", "-co ALPHA=YES -co TILED=YES", "2", 2, 5, "", 0},
    // JPEG: GDAL decodes with the same libjpeg-turbo, so byte for byte; masks as alpha.
    {"jpeg_ycbcr", 900, 700, 3, "Byte", JPEG_YCBCR "-co TILED=YES", "2 4", 4, 4, "", 0},
    {"jpeg_rgb_deflate_overviews", 800, 600, 3, "Byte", JPEG_YCBCR "-co TILED=YES",
     "--config COMPRESS_OVERVIEW DEFLATE --config PHOTOMETRIC_OVERVIEW RGB 2 4", 4, 4, "", 0},
    {"jpeg_grey", 800, 600, 1, "Byte", "-co COMPRESS=JPEG -co TILED=YES", "2 4", 4, 3, "", 0},
    {"jpeg_grey_mask", 640, 480, 4, "Byte", "-co COMPRESS=JPEG -co TILED=YES -b 1 " MASK, "2", 2, 5,
     "-b 1 -b 1 -b 1 -b mask", 0},
    {"cog_jpeg_mask", 1200, 900, 4, "Byte", "-of COG -co COMPRESS=JPEG -co BLOCKSIZE=256 " MASK_4,
     "", 4, 5, "-b 1 -b 2 -b 3 -b mask", 0},
    // A colour map, enlarged (nearest) to hold the regions.
    {"palette", 640, 480, 1, "", "-outsize 640 480 -co TILED=YES", "2", 2, 4, "-expand rgb", 0,
     "tiff/palette-1c-8b.tiff"},
};

std::string SourceWindow(const uint32_t *r, uint32_t scale) {
    const uint32_t w = r[2] - r[0] + 1, h = r[3] - r[1] + 1;
    return "-srcwin " + std::to_string(r[0]) + " " + std::to_string(r[1]) + " " +
           std::to_string(w) + " " + std::to_string(h) + " -outsize " + std::to_string(w / scale) +
           " " + std::to_string(h / scale);
}

class GdalPyramid : public ::testing::TestWithParam<PyramidCase> {};

TEST_P(GdalPyramid, EveryScaleAndAlignedRegionsMatchGdal) {
    const PyramidCase &c = GetParam();
    const std::string source = *c.fixture
                                   ? std::string(IOSID_TESTDATA) + "/" + c.fixture
                                   : MakeEnviSource(c.name, c.width, c.height, c.bands, c.type);
    const std::string tiff = MakeGeoTiff(c.name, source, c.options, c.overviews);
    ASSERT_FALSE(tiff.empty()) << "gdal could not make " << c.name;
    EXPECT_TRUE(ReadOurs(tiff, c.maxScale * 2, nullptr, c.format).error.empty());
    for (uint32_t scale = 1; scale <= c.maxScale; scale *= 2) {
        const uint32_t whole[4] = {0, 0, c.width - 1, c.height - 1};
        // Aligned to the scale, crossing tile and strip boundaries.
        const uint32_t inner[4] = {64, 128, 64 + 256 - 1, 128 + 128 - 1};
        for (const uint32_t *region : {whole, inner}) {
            const Raster ours = ReadOurs(tiff, scale, region, c.format);
            ASSERT_TRUE(ours.error.empty()) << ours.error;
            const Raster peer =
                GdalRead(tiff, SourceWindow(region, scale) + " " + GdalArgs(tiff, c.gdalArgs));
            ASSERT_TRUE(peer.error.empty());
            const int difference = MaxDifference(ours, peer); // -1: the sizes differ
            EXPECT_TRUE(difference >= 0 && difference <= c.tolerance)
                << c.name << " scale " << scale << " region " << region[0] << "," << region[1]
                << " difference " << difference;
        }
    }
}

TEST_P(GdalPyramid, UnalignedRegionsStartAtTheReducedPixelBelow) {
    const PyramidCase &c = GetParam();
    if (c.maxScale < 2 || c.tolerance != 0)
        GTEST_SKIP() << "needs an overview read byte for byte";
    const std::string tiff = ScratchPath(std::string(c.name) + ".tif");
    const uint32_t region[4] = {37, 21, 37 + 301, 21 + 150};
    const Raster ours = ReadOurs(tiff, 2, region, c.format);
    ASSERT_TRUE(ours.error.empty()) << ours.error;
    // The scene starts at the reduced pixel holding (37, 21): full-resolution (36, 20).
    const Raster peer =
        GdalRead(tiff, "-srcwin 36 20 302 150 -outsize 151 75 " + std::string(c.gdalArgs));
    EXPECT_EQ(MaxDifference(ours, peer), 0) << c.name;
}

INSTANTIATE_TEST_SUITE_P(Files, GdalPyramid, ::testing::ValuesIn(kPyramids),
                         [](const auto &info) { return std::string(info.param.name); });

} // namespace
