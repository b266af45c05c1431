// SidInterface over the synthetic engine: scale and region rules, strips, row conversion to
// the five output formats, pipeline choices and failure texts.
#include "SidInterface.h"

#include "TestEngine.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace LizardTech;
using sidtest::TestEngineScope;
using sidtest::TestImage;

namespace {

std::wstring AnyFile() { return sidtest::Wide(sidtest::WriteScratch("engine_input.bin", "TEST")); }

std::vector<uint8_t> ReadRow(SidInterface &reader, uint32_t row) {
    std::vector<uint8_t> out(size_t{reader.GetWidth()} * 4 + 8, 0);
    EXPECT_TRUE(reader.ReadScanline(row, out.data()));
    return out;
}

// The first `n` bytes of row 0 as the reader delivers `image` in `format`; empty when it does
// not open.
std::vector<uint8_t> FirstBytes(const TestImage &image, int format, size_t n) {
    TestEngineScope engine(image);
    SidInterface reader;
    reader.SetFormat(format);
    if (!reader.Open(AnyFile()))
        return {};
    const auto row = ReadRow(reader, 0);
    return std::vector<uint8_t>(row.begin(), row.begin() + n);
}

TestImage Constant(uint16_t bands, LTIColorSpace cs, std::vector<double> values) {
    TestImage im;
    im.width = 16;
    im.height = 4;
    im.bands = bands;
    im.colorSpace = cs;
    im.sample = [values](uint16_t b, uint32_t, uint32_t) { return values[b % values.size()]; };
    return im;
}

TEST(SidInterfaceState, FormatsAndBitsPerPixel) {
    SidInterface reader;
    EXPECT_EQ(reader.GetBitsPerPixel(), 24); // format 4 until set
    std::vector<uint8_t> row(64);
    EXPECT_FALSE(reader.ReadScanline(0, row.data())); // nothing open
    const std::pair<int, int> table[] = {{1, 1}, {2, 4}, {3, 8}, {4, 24}, {5, 32}};
    for (auto [format, bits] : table) {
        EXPECT_TRUE(reader.SetFormat(format));
        EXPECT_EQ(reader.GetBitsPerPixel(), bits);
    }
    EXPECT_FALSE(reader.SetFormat(6));
    EXPECT_FALSE(reader.SetFormat(0));
    EXPECT_EQ(reader.GetFormat(), 5);
}

TEST(SidInterfaceState, ScaleBeforeOpenIsStoredAsZeroAndOpenResetsIt) {
    TestEngineScope engine(TestImage{});
    SidInterface reader;
    EXPECT_TRUE(reader.SetScale(4));
    EXPECT_EQ(reader.GetScale(), 0u);
    EXPECT_EQ(reader.GetWidth(), 0u);
    ASSERT_TRUE(reader.Open(AnyFile()));
    EXPECT_EQ(reader.GetScale(), 1u);
    EXPECT_EQ(reader.GetWidth(), 100u);
    EXPECT_EQ(reader.GetHeight(), 600u);
}

TEST(SidInterfaceState, ScaleRules) {
    TestEngineScope engine(TestImage{}); // minimum magnification 1/64
    SidInterface reader;
    ASSERT_TRUE(reader.Open(AnyFile()));
    EXPECT_EQ(reader.GetMaxScale(), 64u);
    EXPECT_TRUE(reader.SetScale(2));
    EXPECT_FALSE(reader.SetScale(3));
    EXPECT_EQ(reader.GetScale(), 2u);
    EXPECT_FALSE(reader.SetScale(0));
    EXPECT_TRUE(reader.SetScale(1024));
    EXPECT_EQ(reader.GetScale(), 64u);
    EXPECT_EQ(reader.GetWidth(), 1u); // 100 / 64
}

TEST(SidInterfaceState, MaxScaleFromMinimumMagnification) {
    const std::pair<double, uint32_t> table[] = {
        {1.0, 1}, {0.5, 2}, {1.0 / 16384, 16384}, {1.0 / 32768, 16834}, {0.3, 1}};
    for (auto [minMag, expected] : table) {
        TestImage im;
        im.minMag = minMag;
        TestEngineScope engine(im);
        SidInterface reader;
        ASSERT_TRUE(reader.Open(AnyFile()));
        EXPECT_EQ(reader.GetMaxScale(), expected) << minMag;
    }
    TestImage im;
    im.minMag = 1.0 / 32768;
    TestEngineScope engine(im);
    SidInterface reader;
    ASSERT_TRUE(reader.Open(AnyFile()));
    EXPECT_FALSE(reader.SetScale(20000)); // clamped to 16834, not a power of two
    EXPECT_EQ(reader.GetScale(), 1u);
}

TEST(SidInterfaceState, RegionIsClampedAndSizedAtTheScale) {
    TestImage im;
    im.width = 1000;
    im.height = 800;
    TestEngineScope engine(im);
    SidInterface reader;
    ASSERT_TRUE(reader.Open(AnyFile()));
    reader.SetRegion(10, 10, 99999, 99999);
    EXPECT_EQ(reader.GetWidth(), 990u);
    ASSERT_TRUE(reader.SetScale(4));
    EXPECT_EQ(reader.GetWidth(), 247u);
    EXPECT_EQ(reader.GetHeight(), 197u);
    reader.SetRegion(20, 0, 22, 799); // 3 columns at scale 4
    EXPECT_EQ(reader.GetWidth(), 0u);
    reader.SetRegion(99, 50, 0, 10); // corners given the other way round
    EXPECT_EQ(reader.GetWidth(), 25u);
    EXPECT_EQ(reader.GetHeight(), 10u);
}

TEST(SidInterfaceState, CloseKeepsFormatAndScaleAndEmptiesTheRest) {
    TestEngineScope engine(TestImage{});
    SidInterface reader;
    reader.SetFormat(3);
    ASSERT_TRUE(reader.Open(AnyFile()));
    reader.SetScale(8);
    reader.Close();
    EXPECT_EQ(reader.GetFormat(), 3);
    EXPECT_EQ(reader.GetScale(), 8u);
    EXPECT_EQ(reader.GetWidth(), 0u);
    EXPECT_EQ(reader.GetMaxScale(), 0u);
}

TEST(SidInterfaceStrips, AscendingReadsDecodeEachStripOnce) {
    TestEngineScope engine(TestImage{}); // 100 x 600, RGB: 512-row strips
    SidInterface reader;
    ASSERT_TRUE(reader.Open(AnyFile()));
    for (uint32_t row = 0; row < 600; ++row)
        ReadRow(reader, row);
    const auto &scenes = engine.log().scenes;
    ASSERT_EQ(scenes.size(), 2u);
    EXPECT_EQ(scenes[0].y, 0);
    EXPECT_EQ(scenes[0].height, 512);
    EXPECT_EQ(scenes[1].y, 512);
    EXPECT_EQ(scenes[1].height, 88);
    EXPECT_EQ(scenes[1].width, 100);
}

TEST(SidInterfaceStrips, DescendingReadsDecodeAStripPerRow) {
    TestEngineScope engine(TestImage{});
    SidInterface reader;
    ASSERT_TRUE(reader.Open(AnyFile()));
    for (uint32_t row = 599; row >= 590; --row)
        ReadRow(reader, row);
    EXPECT_EQ(engine.log().scenes.size(), 10u);
    EXPECT_EQ(engine.log().scenes.back().y, 590);
    EXPECT_EQ(engine.log().scenes.back().height, 10); // up to the last output row
}

TEST(SidInterfaceStrips, StripRowsFollowTheSixteenMebibyteRule) {
    struct Case {
        uint32_t width;
        uint16_t bands;
        double expectedRows;
    };
    const Case cases[] = {
        {10923, 3, 512}, // 256 rows of 32769 bytes stay within 16 MiB
        {21846, 3, 256}, // 256 rows of 65538 bytes do
        {5592406, 3, 1}, // one row is already above 16 MiB
        {5592405, 3, 2}, // one row is just below: at least two
    };
    for (const Case &c : cases) {
        TestImage im;
        im.width = c.width;
        im.height = 600;
        im.bands = c.bands;
        im.sample = [](uint16_t, uint32_t, uint32_t) { return 7.0; };
        TestEngineScope engine(im);
        SidInterface reader;
        ASSERT_TRUE(reader.Open(AnyFile()));
        ReadRow(reader, 0);
        ASSERT_EQ(engine.log().scenes.size(), 1u);
        EXPECT_EQ(engine.log().scenes[0].height, c.expectedRows) << c.width;
    }
}

TEST(SidInterfaceStrips, SceneFollowsRegionAndScale) {
    TestImage im;
    im.width = 1000;
    im.height = 800;
    TestEngineScope engine(im);
    SidInterface reader;
    ASSERT_TRUE(reader.Open(AnyFile()));
    ASSERT_TRUE(reader.SetScale(4));
    reader.SetRegion(101, 37, 600, 500);
    ReadRow(reader, 3);
    const auto &s = engine.log().scenes.at(0);
    EXPECT_EQ(s.x, 25);      // 101 / 4
    EXPECT_EQ(s.y, 3 + 9);   // first row + 37 / 4
    EXPECT_EQ(s.width, 125); // 500 / 4
    EXPECT_EQ(s.height, 116 - 3);
    EXPECT_DOUBLE_EQ(s.mag, 0.25);
}

TEST(SidInterfaceStrips, ChangingScaleOrRegionDiscardsTheStrip) {
    TestEngineScope engine(TestImage{});
    SidInterface reader;
    ASSERT_TRUE(reader.Open(AnyFile()));
    ReadRow(reader, 0);
    reader.SetRegion(0, 0, 99, 599);
    ReadRow(reader, 1);
    reader.SetScale(1);
    ReadRow(reader, 2);
    EXPECT_EQ(engine.log().scenes.size(), 3u);
}

struct ConversionCase {
    const char *name;
    uint16_t bands;
    LTIColorSpace colorSpace;
    std::vector<double> samples; // per band, the same at every pixel
    int format;
    std::vector<uint8_t> firstBytes; // of the row (16 pixels)
};

TEST(SidInterfaceConversion, FormatsFollowTheConversionRules) {
    const ConversionCase cases[] = {
        {"rgb to bgr", 3, LTI_COLORSPACE_RGB, {10, 20, 30}, 4, {30, 20, 10, 30, 20, 10}},
        {"grey replicated", 1, LTI_COLORSPACE_GRAYSCALE, {77}, 4, {77, 77, 77, 77}},
        {"rgba to bgra", 4, LTI_COLORSPACE_RGBA, {1, 2, 3, 4}, 5, {3, 2, 1, 4, 3, 2, 1, 4}},
        {"rgb gets opaque alpha", 3, LTI_COLORSPACE_RGB, {1, 2, 3}, 5, {3, 2, 1, 255}},
        {"grey to grey copies", 1, LTI_COLORSPACE_GRAYSCALE, {200}, 3, {200, 200}},
        {"rgb averages down", 3, LTI_COLORSPACE_RGB, {255, 255, 254}, 3, {254, 254}},
        {"16 levels white", 3, LTI_COLORSPACE_RGB, {255, 255, 255}, 2, {0xFF, 0xFF}},
        {"16 levels 17", 3, LTI_COLORSPACE_RGB, {17, 17, 17}, 2, {0x11, 0x11}},
        {"bilevel 384 white", 3, LTI_COLORSPACE_RGB, {128, 128, 128}, 1, {0xFF, 0xFF}},
        {"bilevel 383 black", 3, LTI_COLORSPACE_RGB, {128, 128, 127}, 1, {0x00, 0x00}},
        {"grey with alpha", 2, LTI_COLORSPACE_GRAYSCALEA, {90, 40}, 5, {90, 90, 90, 40}},
        {"cmyk to rgb", 4, LTI_COLORSPACE_CMYK, {255, 0, 0, 0}, 4, {255, 255, 0}},
        {"multispectral bands 0-2",
         5,
         LTI_COLORSPACE_MULTISPECTRAL,
         {5, 6, 7, 8, 9},
         5,
         {7, 6, 5, 255}},
    };
    for (const auto &c : cases)
        EXPECT_EQ(FirstBytes(Constant(c.bands, c.colorSpace, c.samples), c.format,
                             c.firstBytes.size()),
                  c.firstBytes)
            << c.name;
}

TEST(SidInterfaceConversion, PackedFormatsPlacePixelsMostSignificantFirst) {
    TestImage im = Constant(1, LTI_COLORSPACE_GRAYSCALE, {0});
    im.width = 10;
    im.sample = [](uint16_t, uint32_t x, uint32_t) { return x % 3 == 0 ? 255.0 : 17.0; };
    TestEngineScope engine(im);
    SidInterface reader;
    reader.SetFormat(2);
    ASSERT_TRUE(reader.Open(AnyFile()));
    auto row = ReadRow(reader, 0);
    EXPECT_EQ((std::vector<uint8_t>{row.begin(), row.begin() + 5}),
              (std::vector<uint8_t>{0xF1, 0x1F, 0x11, 0xF1, 0x1F}));
    reader.SetFormat(1);
    std::vector<uint8_t> bits(8, 0xAA);
    ASSERT_TRUE(reader.ReadScanline(0, bits.data()));
    EXPECT_EQ(bits[0], 0x92); // pixels 0, 3, 6 white
    EXPECT_EQ(bits[1], 0x6A); // pixel 9 white, pixel 8 black; the last six bits kept (0xAA)
}

TEST(SidInterfaceConversion, DynamicRangeStretchesToEightBits) {
    struct Case {
        const char *name;
        LTIDataType type;
        bool hasRange;
        double lo, hi, sample;
        uint8_t expected;
    };
    const Case cases[] = {
        {"uint16 top", LTI_DATATYPE_UINT16, false, 0, 0, 65535, 255},
        {"uint16 middle", LTI_DATATYPE_UINT16, false, 0, 0, 32768, 128},
        {"12-bit declared", LTI_DATATYPE_UINT16, true, 0, 4095, 4095, 255},
        {"declared clamps", LTI_DATATYPE_UINT16, true, 100, 200, 50, 0},
        {"float default 0..1", LTI_DATATYPE_FLOAT32, false, 0, 0, 0.5, 128},
        {"float declared", LTI_DATATYPE_FLOAT64, true, -10, 10, 0, 128},
        {"sint16 lowest", LTI_DATATYPE_SINT16, false, 0, 0, -32768, 0},
    };
    for (const auto &c : cases) {
        TestImage im = Constant(1, LTI_COLORSPACE_GRAYSCALE, {c.sample});
        im.dataType = c.type;
        im.hasRange = c.hasRange;
        im.rangeMin = c.lo;
        im.rangeMax = c.hi;
        TestEngineScope engine(im);
        SidInterface reader;
        reader.SetFormat(3);
        ASSERT_TRUE(reader.Open(AnyFile())) << c.name;
        EXPECT_EQ(ReadRow(reader, 0)[0], c.expected) << c.name;
    }
}

TEST(SidInterfaceConversion, EachBandStretchesItsOwnRange) {
    using Ranges = std::vector<std::pair<double, double>>;
    struct Case {
        const char *name;
        LTIColorSpace colorSpace;
        Ranges ranges;
        std::vector<double> samples;
        int format;
        std::vector<uint8_t> firstBytes; // blue first
    };
    const Case cases[] = {
        {"rgb", LTI_COLORSPACE_RGB, {{0, 4095}, {1000, 2000}, {0, 100}}, {0, 2000, 25}, 4,
         {64, 255, 0}},
        {"grey spread over three", LTI_COLORSPACE_GRAYSCALE, {{100, 200}}, {150}, 4,
         {128, 128, 128}},
        {"alpha keeps its range", LTI_COLORSPACE_GRAYSCALEA, {{100, 200}, {0, 65535}},
         {200, 32768}, 5, {255, 255, 255, 128}},
        {"made alpha is opaque", LTI_COLORSPACE_RGB, {{0, 10}, {0, 10}, {0, 10}}, {5, 5, 5}, 5,
         {128, 128, 128, 255}},
        {"cmyk inks of 0..1000", LTI_COLORSPACE_CMYK, {{0, 1000}, {0, 900}, {0, 1000}, {0, 10}},
         {0, 1000, 500, 0}, 4, {128, 0, 255}},
    };
    for (const auto &c : cases) {
        TestImage im = Constant(static_cast<uint16_t>(c.ranges.size()), c.colorSpace, c.samples);
        im.dataType = LTI_DATATYPE_UINT16;
        im.bandRanges = c.ranges;
        EXPECT_EQ(FirstBytes(im, c.format, c.firstBytes.size()), c.firstBytes) << c.name;
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

TEST(SidInterfaceFailures, InitializeFailureNamesThePath) {
    TestImage im;
    im.failInitialize = true;
    TestEngineScope engine(im);
    SidInterface reader;
    const std::wstring path = AnyFile();
    EXPECT_FALSE(reader.Open(path));
    EXPECT_EQ(reader.GetErrorText(), L"Failed opening MrSID file:  " + path +
                                         L"\nThe MrSID reader reported an error:  the image is "
                                         L"corrupt: test engine failure");
    EXPECT_EQ(reader.GetMaxScale(), 0u);
}

TEST(SidInterfaceFailures, RowsOutsideTheOutputFail) {
    TestEngineScope engine(TestImage{});
    SidInterface reader;
    ASSERT_TRUE(reader.Open(AnyFile()));
    std::vector<uint8_t> row(400);
    EXPECT_FALSE(reader.ReadScanline(600, row.data()));
    EXPECT_FALSE(reader.ReadScanline(0, nullptr));
}

} // namespace
