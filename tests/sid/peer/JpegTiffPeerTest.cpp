// JPEG-compressed GeoTIFFs and COGs written by GDAL (YCbCr and grey, tiles and strips, with
// and without transparency masks) read by `iosid read` into raw rows and by gdal_translate,
// byte for byte at every reduction the file offers, whole and by region. Both decode with the
// same libjpeg-turbo, so no tolerance is allowed.
#include "PeerTools.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

using namespace sidpeer;

namespace {

struct JpegCase {
    const char *name;
    uint32_t width, height;
    int sourceBands;
    const char *options; // gdal_translate: driver, creation options, bands, mask
    const char *overviews;
    uint32_t maxScale;
    int bits;              // iosid read --format: 8 grey, 24 RGB, 32 RGBA
    const char *gdalBands; // GDAL's bands in the same order
};

#define JPEG_YCBCR "-co COMPRESS=JPEG -co PHOTOMETRIC=YCBCR "
#define MASK_4 "--config GDAL_TIFF_INTERNAL_MASK YES -b 1 -b 2 -b 3 -mask 4 "

const JpegCase kCases[] = {
    {"jpeg_ycbcr_tiled", 900, 700, 3, JPEG_YCBCR "-co TILED=YES", "2 4", 4, 24, ""},
    {"jpeg_ycbcr_mask", 1000, 760, 4, JPEG_YCBCR "-co TILED=YES -co BLOCKXSIZE=128 " MASK_4,
     "2 4", 4, 32, "-b 1 -b 2 -b 3 -b mask"},
    {"jpeg_rgb_deflate_overviews", 800, 600, 3, JPEG_YCBCR "-co TILED=YES",
     "--config COMPRESS_OVERVIEW DEFLATE --config PHOTOMETRIC_OVERVIEW RGB 2 4", 4, 24, ""},
    {"jpeg_ycbcr_strips", 1000, 600, 3, JPEG_YCBCR "-co BLOCKYSIZE=32", "2", 2, 24, ""},
    {"jpeg_grey", 800, 600, 1, "-co COMPRESS=JPEG -co TILED=YES", "2 4", 4, 8, ""},
    {"jpeg_grey_mask", 640, 480, 4,
     "-co COMPRESS=JPEG -co TILED=YES --config GDAL_TIFF_INTERNAL_MASK YES -b 1 -mask 4", "2", 2,
     32, "-b 1 -b 1 -b 1 -b mask"},
    {"cog_jpeg", 1200, 900, 3, "-of COG -co COMPRESS=JPEG -co BLOCKSIZE=256", "", 4, 24, ""},
    {"cog_jpeg_mask", 1200, 900, 4,
     "-of COG -co COMPRESS=JPEG -co BLOCKSIZE=256 -b 1 -b 2 -b 3 -mask 4", "", 4, 32,
     "-b 1 -b 2 -b 3 -b mask"},
    {"cog_jpeg_rgba", 700, 500, 4, "-of COG -co COMPRESS=JPEG -co BLOCKSIZE=256", "", 2, 32, ""},
};

// `iosid read` raw rows: blue first for colour, so red and blue are exchanged back.
Image ReadCommand(const std::string &path, uint32_t scale, const uint32_t *r, int bits) {
    Image image;
    const std::string raw = BuildPath("jpeg_ours.raw");
    const std::string region = std::to_string(r[0]) + "," + std::to_string(r[1]) + "," +
                               std::to_string(r[2]) + "," + std::to_string(r[3]);
    const peer::CommandResult run =
        peer::Run(std::string(IOSID_PROGRAM) + " read " + path + " -o " + raw + " --scale " +
                  std::to_string(scale) + " --region " + region + " --format " +
                  std::to_string(bits));
    if (run.status != 0) {
        image.error = run.err;
        return image;
    }
    image.channels = static_cast<uint32_t>(bits / 8);
    image.width = (r[2] - r[0] + 1) / scale;
    image.height = (r[3] - r[1] + 1) / scale;
    const std::string bytes = peer::ReadFile(raw);
    image.data.assign(bytes.begin(), bytes.end());
    if (image.channels >= 3)
        for (size_t i = 0; i + 2 < image.data.size(); i += image.channels)
            std::swap(image.data[i], image.data[i + 2]);
    return image;
}

class JpegTiff : public ::testing::TestWithParam<JpegCase> {};

TEST_P(JpegTiff, RawRowsEqualGdalAtEveryReduction) {
    const JpegCase &c = GetParam();
    const std::string source = MakeSource(c.name, c.width, c.height, c.sourceBands, "Byte");
    const std::string tiff = MakeGeoTiff(c.name, source, c.options, c.overviews);
    ASSERT_FALSE(tiff.empty()) << "gdal could not make " << c.name;
    const uint32_t whole[4] = {0, 0, c.width - 1, c.height - 1};
    // Aligned to every scale, crossing tile and strip boundaries.
    const uint32_t inner[4] = {200, 136, 200 + 384 - 1, 136 + 256 - 1};
    for (uint32_t scale = 1; scale <= c.maxScale; scale *= 2) {
        for (const uint32_t *r : {whole, inner}) {
            const Image ours = ReadCommand(tiff, scale, r, c.bits);
            ASSERT_TRUE(ours.error.empty()) << c.name << ": " << ours.error;
            const uint32_t w = r[2] - r[0] + 1, h = r[3] - r[1] + 1;
            const Image peer = ReadGdal(
                tiff,
                std::string(c.gdalBands) + " -srcwin " + std::to_string(r[0]) + " " +
                    std::to_string(r[1]) + " " + std::to_string(w) + " " + std::to_string(h) +
                    " -outsize " + std::to_string(w / scale) + " " + std::to_string(h / scale),
                ours.channels);
            ASSERT_TRUE(peer.error.empty()) << c.name;
            EXPECT_EQ(MaxDifference(ours, peer), 0)
                << c.name << " scale " << scale << " region " << r[0] << "," << r[1];
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Files, JpegTiff, ::testing::ValuesIn(kCases),
                         [](const auto &info) { return std::string(info.param.name); });

} // namespace
