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

// The full image (tiled), then its overviews (in strips) in the main chain or as SubIFDs of the
// full image, compressed with LZW and Deflate in turn.
std::string WritePyramid(const std::string &name, const std::vector<Level> &levels,
                         bool asSubIfds) {
    std::vector<WriteLayout> layouts;
    std::vector<Raster> images;
    for (size_t i = 0; i < levels.size(); ++i) {
        WriteLayout layout;
        layout.compression = i % 2 ? COMPRESSION_ADOBE_DEFLATE : COMPRESSION_LZW;
        layout.tiled = i == 0;
        layout.chunkWidth = layout.chunkHeight = i == 0 ? 64 : 5;
        layout.reduced = levels[i].factor > 1;
        layout.subIfds = i == 0 && asSubIfds ? static_cast<uint16_t>(levels.size() - 1) : 0;
        layouts.push_back(layout);
        images.emplace_back();
        images.back().Allocate(levels[i].width, levels[i].height);
        images.back().bytes = levels[i].pixels;
    }
    const std::string path = ScratchPath(name);
    std::string error;
    return LibtiffWrite(path, "w", layouts, images, error) ? path : "";
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
