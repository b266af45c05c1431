// Overviews stored as SubIFDs of the full image (written here by libtiff; GDAL writes none) are
// the image's resolution levels: each is read as stored, not averaged from the full image.
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

TEST(SubIfdLevels, EachStoredLevelIsReadAsStored) {
    constexpr uint32_t kWidth = 1024, kHeight = 768;
    const std::vector<Level> levels = {
        MakeLevel(1, kWidth, kHeight,
                  [](uint32_t x, uint32_t y) { return uint8_t(x * 7 + y * 3); }),
        MakeLevel(2, kWidth, kHeight,
                  [](uint32_t x, uint32_t y) { return uint8_t(200 + (x ^ y) % 50); }),
        MakeLevel(8, kWidth, kHeight, [](uint32_t x, uint32_t y) { return uint8_t(x + y); }),
    };
    // The full image tiled, its overviews in strips, compressed with LZW and Deflate in turn.
    std::vector<WriteLayout> layouts(levels.size());
    std::vector<Raster> images(levels.size());
    for (size_t i = 0; i < levels.size(); ++i) {
        layouts[i].compression = i % 2 ? COMPRESSION_ADOBE_DEFLATE : COMPRESSION_LZW;
        layouts[i].tiled = i == 0;
        layouts[i].chunkWidth = layouts[i].chunkHeight = i == 0 ? 64 : 5;
        layouts[i].reduced = i > 0;
        images[i].Allocate(levels[i].width, levels[i].height);
        images[i].bytes = levels[i].pixels;
    }
    layouts[0].subIfds = static_cast<uint16_t>(levels.size() - 1);
    const std::string path = ScratchPath("levels_in_subifds.tif");
    std::string error;
    ASSERT_TRUE(LibtiffWrite(path, "w", layouts, images, error)) << error;
    for (const Level &level : levels) {
        const Raster got = ReadOurs(path, level.factor, nullptr, 3);
        ASSERT_EQ(got.error, "");
        EXPECT_EQ(got.width, level.width);
        EXPECT_EQ(got.height, level.height);
        EXPECT_EQ(got.bytes, level.pixels) << "scale " << level.factor;
    }
    // The coarsest SubIFD level sets the largest reduction offered.
    EXPECT_EQ(ReadOurs(path, 16, nullptr, 3).width, kWidth / 8);
}

} // namespace
