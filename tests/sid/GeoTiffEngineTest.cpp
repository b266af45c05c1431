// The GeoTIFF engine on small built files: sample types and colour interpretations to output
// rows; GeoKeys as metadata records; resolution levels. Layouts GDAL writes (palettes, planar,
// alpha, 16-bit, big-endian) and the ranges of wide samples are compared with GDAL in the peer
// tests.
#include "SidInterface.h"

#include "StripTiff.h"

#include "shr/Strings.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

using namespace LizardTech;
using sidtest::Bytes;
using sidtest::StripTiff;

namespace {

enum Tag : uint16_t {
    kInkSet = 332,
    kExtraSamples = 338,
    kSampleFormat = 339,
    kSMin = 340,
    kSMax = 341,
    kGeoKeys = 34735,
    kGeoDoubles = 34736,
    kGeoAscii = 34737,
};

// A 4 x 1 image of `bits`-bit samples holding `values`.
StripTiff Samples(uint16_t bits, uint16_t photometric, const std::vector<uint64_t> &values) {
    StripTiff b(4, 1, 1, bits, photometric, 1);
    Bytes strip;
    for (uint64_t v : values)
        b.Put(strip, v, bits / 8);
    return b.Strip(strip);
}

constexpr float kInf = std::numeric_limits<float>::infinity();

uint32_t FloatBits(float f) {
    uint32_t bits;
    std::memcpy(&bits, &f, 4);
    return bits;
}

TEST(GeoTiffEngine, SampleTypesAndColourSpacesToOutputRows) {
    const struct {
        const char *name;
        StripTiff file; // a 4 x 1 image
        int format;
        Bytes expected; // the output row
    } cases[] = {
        {"white is zero", Samples(8, 0, {0, 255, 10, 200}), 3, {255, 0, 245, 55}},
        {"one bit white is zero", StripTiff(4, 1, 1, 1, 0, 1).Strip({0xA0}), 3, {0, 255, 0, 255}},
        {"grey with alpha",
         StripTiff(4, 1, 2, 8, 1, 1).Short(kExtraSamples, {1}).Strip({10, 1, 20, 2, 30, 3, 40, 4}),
         5,
         {10, 10, 10, 1, 20, 20, 20, 2, 30, 30, 30, 3, 40, 40, 40, 4}},
        {"cmyk",
         StripTiff(4, 1, 4, 8, 5, 1)
             .Short(kInkSet, {1})
             .Strip({0, 0, 0, 0, 255, 0, 0, 0, 0, 0, 0, 255, 0, 255, 255, 0}),
         4,
         {255, 255, 255, 255, 255, 0, 0, 0, 0, 0, 0, 255}},
        {"float with declared range",
         Samples(32, 1, {FloatBits(0), FloatBits(50), FloatBits(100), FloatBits(250)})
             .Short(kSampleFormat, {3})
             .Double(kSMin, {0})
             .Double(kSMax, {100}),
         3,
         {0, 128, 255, 255}},
        {"float extent without infinities",
         Samples(32, 1, {FloatBits(0), FloatBits(kInf), FloatBits(100), FloatBits(-kInf)})
             .Short(kSampleFormat, {3}),
         3,
         {0, 255, 255, 0}},
        {"signed 16",
         Samples(16, 1, {0x8000, 0x7FFF, 0, 0xFFFF}).Short(kSampleFormat, {2}),
         3,
         {0, 255, 128, 127}},
    };
    for (const auto &c : cases) {
        SidInterface reader;
        reader.SetFormat(c.format);
        ASSERT_TRUE(reader.Open(sidtest::ScratchFile("layout.tif", c.file.Build())))
            << c.name << ": " << shr::WtoA(reader.GetErrorText());
        Bytes row(c.expected.size() + 4);
        ASSERT_TRUE(reader.ReadScanline(0, row.data())) << c.name;
        EXPECT_EQ(Bytes(row.begin(), row.begin() + c.expected.size()), c.expected) << c.name;
    }
}

TEST(GeoTiffEngine, GeoKeysBecomeNamedRecords) {
    StripTiff b(4, 1, 1, 8, 1, 1);
    b.Strip({1, 2, 3, 4});
    b.Short(kGeoKeys, {1,    1,           0, 6,     // version 1.1.0, six keys
                       1024, 0,           1, 1,     // GTModelType: projected
                       1026, kGeoAscii,   4, 0,     // GTCitation: "UTM"
                       2057, kGeoDoubles, 1, 1,     // GeogSemiMajorAxis: second double
                       3072, 0,           1, 32611, // ProjectedCSType
                       3076, 0,           1, 9001,  // ProjLinearUnits
                       3078, kGeoDoubles, 1, 7});   // past the doubles: skipped
    b.Double(kGeoDoubles, {1.5, 6378137.0}).Ascii(kGeoAscii, "UTM|");
    const sidtest::OpenReader image(sidtest::ScratchFile("engine.tif", b.Build()));
    ASSERT_EQ(image.status, LT_STS_Success);
    const LTIMetadataDatabase &md = image.reader->getMetadata();
    ASSERT_EQ(md.getIndexCount(), 5u);
    const LTIMetadataRecord *r = nullptr;
    ASSERT_EQ(md.getDataByIndex(3, r), LT_STS_Success);
    EXPECT_STREQ(r->getTagName(), "GEOTIFF_NUM::3072::ProjectedCSTypeGeoKey");
    EXPECT_EQ(*static_cast<const uint16_t *>(r->getScalarData()), 32611);
    ASSERT_NE(r = md.find("GEOTIFF_NUM::1026::GTCitationGeoKey"), nullptr);
    EXPECT_STREQ(static_cast<const char *>(r->getArrayData()), "UTM");
    ASSERT_NE(r = md.find("GEOTIFF_NUM::2057::GeogSemiMajorAxisGeoKey"), nullptr);
    EXPECT_EQ(r->getDataType(), LTI_METADATA_DATATYPE_FLOAT64);
    EXPECT_EQ(*static_cast<const double *>(r->getScalarData()), 6378137.0);
}

// Without overviews the reductions go on until the longer side fits 512 pixels (overview
// levels are compared with GDAL-made pyramids in the peer tests).
TEST(GeoTiffEngine, MaximumScaleFromTheFitRule) {
    const struct {
        const char *name;
        uint32_t width, height, maxScale;
    } cases[] = {
        {"exactly 512", 512, 512, 1}, {"513 wide", 513, 10, 2}, {"tall image", 10, 4097, 16}};
    for (const auto &c : cases) {
        StripTiff b(c.width, c.height, 1, 8, 1, c.height);
        b.Strip(Bytes(size_t{c.width} * c.height, 0x11));
        SidInterface reader;
        ASSERT_TRUE(reader.Open(sidtest::ScratchFile("levels.tif", b.Build()))) << c.name;
        EXPECT_EQ(reader.GetMaxScale(), c.maxScale) << c.name;
    }
}

} // namespace
