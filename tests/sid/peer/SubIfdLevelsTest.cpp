// Overviews stored as SubIFDs of the full image (written here by libtiff) are the image's
// resolution levels just as overviews in the main chain are: the same pixels, written both ways,
// read alike at every scale, each stored level is read rather than averaged, and GDAL reads the
// same pixels from the stored levels.
#include "OurReader.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <functional>
#include <string>
#include <vector>

using namespace peer;

namespace {

struct Level {
    uint32_t factor;
    uint32_t width, height;
    std::vector<uint8_t> pixels; // grey, one byte each
};

// Pixels of a level that no averaging of the full image would give.
Level MakeLevel(uint32_t factor, uint32_t width, uint32_t height,
                const std::function<uint8_t(uint32_t, uint32_t)> &pixel) {
    Level level{factor, width / factor, height / factor, {}};
    for (uint32_t y = 0; y < level.height; ++y)
        for (uint32_t x = 0; x < level.width; ++x)
            level.pixels.push_back(pixel(x, y));
    return level;
}

bool WriteLevel(TIFF *tif, const Level &level, bool tiled, uint16_t compression) {
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, level.width);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, level.height);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, compression);
    if (level.factor > 1)
        TIFFSetField(tif, TIFFTAG_SUBFILETYPE, FILETYPE_REDUCEDIMAGE);
    if (tiled) {
        constexpr uint32_t kTile = 64;
        TIFFSetField(tif, TIFFTAG_TILEWIDTH, kTile);
        TIFFSetField(tif, TIFFTAG_TILELENGTH, kTile);
        std::vector<uint8_t> tile(kTile * kTile);
        for (uint32_t ty = 0; ty < level.height; ty += kTile)
            for (uint32_t tx = 0; tx < level.width; tx += kTile) {
                std::fill(tile.begin(), tile.end(), 0);
                for (uint32_t y = ty; y < std::min(ty + kTile, level.height); ++y)
                    for (uint32_t x = tx; x < std::min(tx + kTile, level.width); ++x)
                        tile[(y - ty) * kTile + (x - tx)] = level.pixels[y * level.width + x];
                if (TIFFWriteTile(tif, tile.data(), tx, ty, 0, 0) < 0)
                    return false;
            }
    } else {
        TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, 5);
        for (uint32_t y = 0; y < level.height; ++y)
            if (TIFFWriteScanline(tif, const_cast<uint8_t *>(&level.pixels[y * level.width]), y) <
                0)
                return false;
    }
    return TIFFWriteDirectory(tif) != 0;
}

// The full image, then its overviews in the main chain or as SubIFDs of the full image.
std::string WritePyramid(const std::string &name, const std::vector<Level> &levels,
                         bool asSubIfds) {
    const std::string path = ScratchPath(name);
    TIFF *tif = TIFFOpen(path.c_str(), "w");
    if (tif == nullptr)
        return "";
    bool ok = true;
    for (size_t i = 0; ok && i < levels.size(); ++i) {
        if (i == 0 && asSubIfds) {
            std::vector<toff_t> placeholders(levels.size() - 1, 0);
            TIFFSetField(tif, TIFFTAG_SUBIFD, static_cast<uint16_t>(placeholders.size()),
                         placeholders.data());
        }
        ok =
            WriteLevel(tif, levels[i], i == 0, i % 2 ? COMPRESSION_ADOBE_DEFLATE : COMPRESSION_LZW);
    }
    TIFFClose(tif);
    return ok ? path : "";
}

TEST(SubIfdLevels, ReadAsTheMainChainsOverviewsAre) {
    constexpr uint32_t kWidth = 1024, kHeight = 768;
    const std::vector<Level> levels = {
        MakeLevel(1, kWidth, kHeight,
                  [](uint32_t x, uint32_t y) { return uint8_t(x * 7 + y * 3); }),
        MakeLevel(2, kWidth, kHeight,
                  [](uint32_t x, uint32_t y) { return uint8_t(200 + (x ^ y) % 50); }),
        MakeLevel(8, kWidth, kHeight, [](uint32_t x, uint32_t y) { return uint8_t(x + y); }),
    };
    const std::string chain = WritePyramid("levels_in_chain.tif", levels, false);
    const std::string subIfds = WritePyramid("levels_in_subifds.tif", levels, true);
    ASSERT_FALSE(chain.empty());
    ASSERT_FALSE(subIfds.empty());

    for (uint32_t scale : {1u, 2u, 4u, 8u}) {
        SCOPED_TRACE("scale " + std::to_string(scale));
        const Raster want = ReadOurs(chain, scale, nullptr, 3);
        const Raster got = ReadOurs(subIfds, scale, nullptr, 3);
        ASSERT_EQ(got.error, "");
        ASSERT_EQ(want.error, "");
        EXPECT_EQ(got.width, kWidth / scale);
        EXPECT_EQ(got.height, kHeight / scale);
        EXPECT_EQ(got.bytes, want.bytes);
        for (const Level &level : levels) {
            if (level.factor != scale)
                continue;
            EXPECT_EQ(got.bytes, level.pixels) << "the stored level was not read";
            // GDAL reads SubIFD overviews too.
            const Raster gdal = GdalRead(subIfds, "-outsize " + std::to_string(level.width) + " " +
                                                      std::to_string(level.height));
            EXPECT_EQ(MaxDifference(got, gdal), 0);
        }
    }
    // The coarsest SubIFD level sets the largest reduction offered.
    const Raster clamped = ReadOurs(subIfds, 16, nullptr, 3);
    EXPECT_EQ(clamped.width, kWidth / 8);
}

} // namespace
