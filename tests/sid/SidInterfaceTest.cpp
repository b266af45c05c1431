// SidInterface over the synthetic engine: scale and region rules, strips, the conversions no
// real file reaches, and recovery after a failed read. Conversions of real files are checked
// in GeoTiffEngineTest and against GDAL in the peer tests.
#include "SidInterface.h"

#include "TestEngine.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

using namespace LizardTech;
using sidtest::TestEngineScope;
using sidtest::TestImage;

namespace {

std::wstring AnyFile() { return sidtest::Wide(sidtest::WriteScratch("engine_input.bin", "TEST")); }

std::vector<uint8_t> ReadRow(SidInterface &reader, uint32_t row) {
    std::vector<uint8_t> out(size_t{reader.GetWidth()} * 4 + 8, 0xAA);
    EXPECT_TRUE(reader.ReadScanline(row, out.data())) << row;
    return out;
}

TestImage Sized(uint32_t width, uint32_t height, double minMag = 1.0 / 64) {
    TestImage im;
    im.width = width;
    im.height = height;
    im.minMag = minMag;
    return im;
}

TEST(SidInterfaceState, FormatScaleAndSizeBeforeOpenAfterOpenAndAfterClose) {
    TestEngineScope engine(TestImage{}); // 100 x 600, minimum magnification 1/64
    SidInterface reader;
    EXPECT_EQ(reader.GetBitsPerPixel(), 24); // format 4 until set
    uint8_t row[8];
    EXPECT_FALSE(reader.ReadScanline(0, row)); // nothing open: refused, not a crash
    EXPECT_FALSE(reader.SetFormat(6));
    EXPECT_TRUE(reader.SetFormat(3));
    EXPECT_EQ(reader.GetBitsPerPixel(), 8);
    EXPECT_TRUE(reader.SetScale(4)); // before opening: stored as 0
    EXPECT_EQ(reader.GetScale(), 0u);
    ASSERT_TRUE(reader.Open(AnyFile()));
    EXPECT_EQ(reader.GetScale(), 1u);
    // Scales not a power of two, and the clamp to the largest: ImportFilterTest.
    EXPECT_TRUE(reader.SetScale(8));
    reader.Close();
    EXPECT_EQ(reader.GetFormat(), 3);
    EXPECT_EQ(reader.GetScale(), 8u);
    EXPECT_EQ(reader.GetWidth(), 0u);
    EXPECT_EQ(reader.GetMaxScale(), 0u);
}

TEST(SidInterfaceState, MaxScaleFromMinimumMagnification) {
    const std::pair<double, uint32_t> table[] = {
        {1.0, 1}, {0.5, 2}, {1.0 / 16384, 16384}, {1.0 / 32768, 16834}, {0.3, 1}};
    for (auto [minMag, expected] : table) {
        TestEngineScope engine(Sized(100, 600, minMag));
        SidInterface reader;
        ASSERT_TRUE(reader.Open(AnyFile()));
        EXPECT_EQ(reader.GetMaxScale(), expected) << minMag;
        if (expected == 16834) {
            EXPECT_FALSE(reader.SetScale(20000)); // clamped to 16834, not a power of two
        }
    }
}

TEST(SidInterfaceStrips, RegionAndScaleSizeTheOutputAndTheScene) {
    TestEngineScope engine(Sized(1000, 800));
    SidInterface reader;
    ASSERT_TRUE(reader.Open(AnyFile()));
    reader.SetRegion(10, 10, 99999, 99999);
    EXPECT_EQ(reader.GetWidth(), 990u);
    ASSERT_TRUE(reader.SetScale(4));
    EXPECT_EQ(reader.GetWidth(), 247u);
    EXPECT_EQ(reader.GetHeight(), 197u);
    reader.SetRegion(20, 0, 22, 799); // 3 columns at scale 4
    EXPECT_EQ(reader.GetWidth(), 0u);
    reader.SetRegion(600, 500, 101, 37); // corners given the other way round
    EXPECT_EQ(reader.GetWidth(), 125u);
    ReadRow(reader, 3);
    const auto &s = engine.log().scenes.at(0);
    EXPECT_EQ(s.x, 25);    // 101 / 4
    EXPECT_EQ(s.y, 3 + 9); // first row + 37 / 4
    EXPECT_EQ(s.width, 125);
    EXPECT_EQ(s.height, 116 - 3);
    EXPECT_DOUBLE_EQ(s.mag, 0.25);
}

TEST(SidInterfaceStrips, DescendingReadsDecodeAStripPerRowAscendingOncePerStrip) {
    TestEngineScope engine(TestImage{}); // 100 x 600, RGB: 512-row strips
    SidInterface reader;
    ASSERT_TRUE(reader.Open(AnyFile()));
    auto &scenes = engine.log().scenes;
    ReadRow(reader, 599);
    ReadRow(reader, 598);
    ASSERT_EQ(scenes.size(), 2u);
    EXPECT_EQ(scenes.back().y, 598);
    EXPECT_EQ(scenes.back().height, 2); // up to the last output row
    scenes.clear();
    for (uint32_t row = 0; row < 600; ++row)
        ReadRow(reader, row);
    ASSERT_EQ(scenes.size(), 2u);
    EXPECT_EQ(scenes[0].height, 512);
    EXPECT_EQ(scenes[1].y, 512);
    EXPECT_EQ(scenes[1].height, 88);
    reader.SetRegion(0, 0, 99, 599); // changing region or scale discards the strip
    ReadRow(reader, 597);
    reader.SetScale(1);
    ReadRow(reader, 597);
    EXPECT_EQ(scenes.size(), 4u);
}

TEST(SidInterfaceStrips, StripRowsFollowTheSixteenMebibyteRule) {
    const std::pair<uint32_t, double> cases[] = {
        {10923, 512},  // 256 rows of 32769 bytes stay within 16 MiB
        {5592406, 1},  // one row is already above 16 MiB
        {5592405, 2}}; // one row is just below: at least two
    for (auto [width, rows] : cases) {
        TestImage im = Sized(width, 600);
        im.sample = [](uint16_t, uint32_t, uint32_t) { return 7.0; };
        TestEngineScope engine(im);
        SidInterface reader;
        ASSERT_TRUE(reader.Open(AnyFile()));
        ReadRow(reader, 0);
        ASSERT_EQ(engine.log().scenes.size(), 1u);
        EXPECT_EQ(engine.log().scenes[0].height, rows) << width;
    }
}

// Colour spaces and ranges no open engine produces, and the packed formats' spare bits.
TEST(SidInterfaceConversion, SyntheticOnlyLayouts) {
    using Ranges = std::vector<std::pair<double, double>>;
    // clang-format off
    const struct {
        const char *name;
        LTIColorSpace colorSpace;
        std::vector<double> samples; // per band, the same at every pixel
        Ranges ranges;               // 16-bit samples when given
        int format;
        std::vector<uint8_t> firstBytes; // blue first
    } cases[] = {
        {"rgb gets opaque alpha", LTI_COLORSPACE_RGB, {1, 2, 3}, {}, 5, {3, 2, 1, 255}},
        {"alpha keeps its range", LTI_COLORSPACE_GRAYSCALEA, {200, 32768},
         {{100, 200}, {0, 65535}}, 5, {255, 255, 255, 128}},
        {"made alpha is opaque", LTI_COLORSPACE_RGB, {5, 5, 5}, {{0, 10}, {0, 10}, {0, 10}}, 5,
         {128, 128, 128, 255}},
        {"cmyk inks of 0..1000", LTI_COLORSPACE_CMYK, {0, 1000, 500, 0},
         {{0, 1000}, {0, 900}, {0, 1000}, {0, 10}}, 4, {128, 0, 255}},
        // 10 pixels: 0, 3, 6 and 9 white; the last six bits of the second byte are kept.
        {"bilevel spare bits", LTI_COLORSPACE_GRAYSCALE, {}, {}, 1, {0x92, 0x6A, 0xAA}},
    };
    // clang-format on
    for (const auto &c : cases) {
        TestImage im = Sized(c.samples.empty() ? 10 : 16, 4);
        im.colorSpace = c.colorSpace;
        im.bands = static_cast<uint16_t>(std::max<size_t>(1, c.samples.size()));
        const auto samples = c.samples;
        im.sample = [samples](uint16_t b, uint32_t x, uint32_t) {
            return samples.empty() ? (x % 3 == 0 ? 255.0 : 17.0) : samples[b];
        };
        if (!c.ranges.empty()) {
            im.dataType = LTI_DATATYPE_UINT16;
            im.bandRanges = c.ranges;
        }
        TestEngineScope engine(im);
        SidInterface reader;
        reader.SetFormat(c.format);
        ASSERT_TRUE(reader.Open(AnyFile())) << c.name;
        const auto row = ReadRow(reader, 0);
        EXPECT_EQ(std::vector<uint8_t>(row.begin(), row.begin() + c.firstBytes.size()),
                  c.firstBytes)
            << c.name;
    }
}

TEST(SidInterfaceFailures, ReadFailureMidwayThenCloseAndOpenAgain) {
    TestImage im;
    im.failOnRead = 1;
    TestEngineScope engine(im);
    SidInterface reader;
    ASSERT_TRUE(reader.Open(AnyFile()));
    std::vector<uint8_t> row(400);
    EXPECT_TRUE(reader.ReadScanline(0, row.data()));
    EXPECT_FALSE(reader.ReadScanline(512, row.data()));
    EXPECT_EQ(reader.GetErrorText(),
              L"Failed reading or decoding scanline data from MrSID file.\nThe MrSID reader "
              L"reported an error:  decoding the image data failed: test engine failure");
    EXPECT_TRUE(reader.ReadScanline(1, row.data())) << "the first strip is gone";
    reader.Close();
    engine.image().failOnRead = -1;
    ASSERT_TRUE(reader.Open(AnyFile()));
    EXPECT_TRUE(reader.ReadScanline(599, row.data()));
    EXPECT_EQ(row[0], (2 * 50 + 599) % 256); // blue comes from band 2
}

} // namespace
