// The GeoTIFF engine on small built files: sample types, byte orders and colour
// interpretations to output rows; GeoKeys as metadata records; resolution levels; scene checks.
#include "SidIO.h"
#include "SidInterface.h"

#include "TestFiles.h"
#include "TiffBuilder.h"

#include "lti/MrSIDImageReader.h"
#include "shr/Strings.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

using namespace LizardTech;
using sidtest::TiffBuilder;

namespace {

enum Tag : uint16_t {
    kSubfileType = 254,
    kCompression = 259,
    kPlanar = 284,
    kColorMap = 320,
    kInkSet = 332,
    kExtraSamples = 338,
    kSampleFormat = 339,
    kSMin = 340,
    kSMax = 341,
    kGeoKeys = 34735,
    kGeoDoubles = 34736,
    kGeoAscii = 34737,
};

std::string Bytes(std::initializer_list<int> values) {
    std::string s;
    for (int v : values)
        s.push_back(static_cast<char>(v));
    return s;
}

struct LayoutCase {
    const char *name;
    std::function<std::string()> file; // a 4 x 1 image
    int format;
    std::string expected; // the output row
};

std::string Grey16(bool big) {
    TiffBuilder b(big);
    b.Image(4, 1, 1, 16, 1, 1);
    std::string strip;
    for (uint16_t v : {0, 65535, 32768, 257})
        b.Put(strip, v, 2);
    return b.Strip(strip).Build();
}

const LayoutCase kLayouts[] = {
    {"grey 16 little-endian", [] { return Grey16(false); }, 3, Bytes({0, 255, 128, 1})},
    {"grey 16 big-endian", [] { return Grey16(true); }, 3, Bytes({0, 255, 128, 1})},
    {"white is zero",
     [] {
         return TiffBuilder().Image(4, 1, 1, 8, 0, 1).Strip(Bytes({0, 255, 10, 200})).Build();
     },
     3, Bytes({255, 0, 245, 55})},
    {"one bit white is zero",
     [] { return TiffBuilder().Image(4, 1, 1, 1, 0, 1).Strip(Bytes({0xA0})).Build(); }, 3,
     Bytes({0, 255, 0, 255})},
    {"palette four bits",
     [] {
         std::vector<uint16_t> map(48, 0);
         map[1] = 65535;      // red of entry 1
         map[16 + 2] = 65535; // green of entry 2
         map[32 + 3] = 32896; // blue of entry 3
         return TiffBuilder()
             .Image(4, 1, 1, 4, 3, 1)
             .Short(kColorMap, map)
             .Strip(Bytes({0x01, 0x23}))
             .Build();
     },
     4, Bytes({0, 0, 0, 0, 0, 255, 0, 255, 0, 128, 0, 0})},
    {"planar rgb",
     [] {
         return TiffBuilder()
             .Image(4, 1, 3, 8, 2, 1)
             .Short(kPlanar, {2})
             .Strip(Bytes({1, 2, 3, 4}))
             .Strip(Bytes({5, 6, 7, 8}))
             .Strip(Bytes({9, 10, 11, 12}))
             .Build();
     },
     4, Bytes({9, 5, 1, 10, 6, 2, 11, 7, 3, 12, 8, 4})},
    {"rgba",
     [] {
         return TiffBuilder()
             .Image(4, 1, 4, 8, 2, 1)
             .Short(kExtraSamples, {2})
             .Strip(Bytes({1, 2, 3, 40, 4, 5, 6, 50, 7, 8, 9, 60, 10, 11, 12, 70}))
             .Build();
     },
     5, Bytes({3, 2, 1, 40, 6, 5, 4, 50, 9, 8, 7, 60, 12, 11, 10, 70})},
    {"grey with alpha",
     [] {
         return TiffBuilder()
             .Image(4, 1, 2, 8, 1, 1)
             .Short(kExtraSamples, {1})
             .Strip(Bytes({10, 1, 20, 2, 30, 3, 40, 4}))
             .Build();
     },
     5, Bytes({10, 10, 10, 1, 20, 20, 20, 2, 30, 30, 30, 3, 40, 40, 40, 4})},
    {"cmyk",
     [] {
         return TiffBuilder()
             .Image(4, 1, 4, 8, 5, 1)
             .Short(kInkSet, {1})
             .Strip(Bytes({0, 0, 0, 0, 255, 0, 0, 0, 0, 0, 0, 255, 0, 255, 255, 0}))
             .Build();
     },
     4, Bytes({255, 255, 255, 255, 255, 0, 0, 0, 0, 0, 0, 255})},
    {"float with declared range",
     [] {
         TiffBuilder b;
         b.Image(4, 1, 1, 32, 1, 1)
             .Short(kSampleFormat, {3})
             .Double(kSMin, {0})
             .Double(kSMax, {100});
         std::string strip;
         for (float f : {0.0f, 50.0f, 100.0f, 250.0f}) {
             uint32_t bits;
             std::memcpy(&bits, &f, 4);
             b.Put(strip, bits, 4);
         }
         return b.Strip(strip).Build();
     },
     3, Bytes({0, 128, 255, 255})},
    {"signed 16",
     [] {
         TiffBuilder b;
         b.Image(4, 1, 1, 16, 1, 1).Short(kSampleFormat, {2});
         std::string strip;
         for (int v : {-32768, 32767, 0, -1})
             b.Put(strip, static_cast<uint16_t>(v), 2);
         return b.Strip(strip).Build();
     },
     3, Bytes({0, 255, 128, 127})},
};

TEST(GeoTiffEngine, SampleTypesAndColourSpacesToOutputRows) {
    for (const auto &c : kLayouts) {
        const std::string path = sidtest::WriteScratch("layout.tif", c.file());
        SidInterface reader;
        reader.SetFormat(c.format);
        ASSERT_TRUE(reader.Open(sidtest::Wide(path)))
            << c.name << ": " << shr::WtoA(reader.GetErrorText());
        std::string row(c.expected.size() + 4, '\0');
        ASSERT_TRUE(reader.ReadScanline(0, reinterpret_cast<uint8_t *>(row.data()))) << c.name;
        EXPECT_EQ(row.substr(0, c.expected.size()), c.expected) << c.name;
    }
}

// The reader stage of a pipeline on a file, for metadata and scene checks.
struct OpenImage {
    explicit OpenImage(const std::string &bytes)
        : stream(sidtest::Wide(sidtest::WriteScratch("engine.tif", bytes)), true),
          reader(MrSIDImageReader::create()) {
        status = reader->initialize(&stream, nullptr, MRSID_MEMORY_USAGE_DEFAULT,
                                    MRSID_STREAM_USAGE_CREATE);
    }
    ~OpenImage() { reader->release(); }
    SidIO stream;
    MrSIDImageReader *reader;
    LT_STATUS status;
};

TEST(GeoTiffEngine, GeoKeysBecomeNamedRecords) {
    TiffBuilder b;
    b.Image(4, 1, 1, 8, 1, 1).Strip(Bytes({1, 2, 3, 4}));
    b.Short(kGeoKeys, {1,    1,           0, 6,     // version 1.1.0, six keys
                       1024, 0,           1, 1,     // GTModelType: projected
                       1026, kGeoAscii,   4, 0,     // GTCitation: "UTM"
                       2057, kGeoDoubles, 1, 1,     // GeogSemiMajorAxis: second double
                       3072, 0,           1, 32611, // ProjectedCSType
                       3076, 0,           1, 9001,  // ProjLinearUnits
                       3078, kGeoDoubles, 1, 7});   // past the doubles: skipped
    b.Double(kGeoDoubles, {1.5, 6378137.0}).Ascii(kGeoAscii, "UTM|");
    OpenImage image(b.Build());
    ASSERT_EQ(image.status, LT_STS_Success);
    const LTIMetadataDatabase &md = image.reader->getMetadata();
    ASSERT_EQ(md.getIndexCount(), 5u);
    const LTIMetadataRecord *r = nullptr;
    ASSERT_EQ(md.getDataByIndex(3, r), LT_STS_Success);
    EXPECT_STREQ(r->getTagName(), "GEOTIFF_NUM::3072::ProjectedCSTypeGeoKey");
    EXPECT_EQ(r->getDataType(), 3);
    EXPECT_TRUE(r->isScalar());
    EXPECT_EQ(*static_cast<const uint16_t *>(r->getScalarData()), 32611);
    ASSERT_NE(md.find("GEOTIFF_NUM::1026::GTCitationGeoKey"), nullptr);
    EXPECT_STREQ(
        static_cast<const char *>(md.find("GEOTIFF_NUM::1026::GTCitationGeoKey")->getArrayData()),
        "UTM");
    const LTIMetadataRecord *axis = md.find("GEOTIFF_NUM::2057::GeogSemiMajorAxisGeoKey");
    ASSERT_NE(axis, nullptr);
    EXPECT_EQ(axis->getDataType(), LTI_METADATA_DATATYPE_FLOAT64);
    EXPECT_EQ(*static_cast<const double *>(axis->getScalarData()), 6378137.0);
    EXPECT_EQ(md.getDataByIndex(5, r), LTI_STS_MetadataIndexOutOfRange);
}

struct LevelCase {
    const char *name;
    uint32_t width, height;
    uint32_t maxScale;
};

// Without overviews the reductions go on until the longer side fits 512 pixels (overview
// levels are compared with GDAL-made pyramids in the peer tests).
TEST(GeoTiffEngine, MaximumScaleFromTheFitRule) {
    const LevelCase cases[] = {
        {"small image", 300, 200, 1},       {"exactly 512", 512, 512, 1}, {"513 wide", 513, 10, 2},
        {"longer side 2000", 2000, 100, 4}, {"tall image", 10, 4097, 16},
    };
    for (const auto &c : cases) {
        TiffBuilder b;
        b.Image(c.width, c.height, 1, 8, 1, c.height)
            .Strip(std::string(size_t{c.width} * c.height, '\x11'));
        SidInterface reader;
        ASSERT_TRUE(reader.Open(sidtest::Wide(sidtest::WriteScratch("levels.tif", b.Build()))))
            << c.name;
        EXPECT_EQ(reader.GetMaxScale(), c.maxScale) << c.name;
    }
}

TEST(GeoTiffEngine, AveragesWhenNoLevelMatches) {
    // 1024 x 2: one reduction of 2 is offered, computed from the full image.
    std::string pixels(2048, '\0');
    for (int x = 0; x < 1024; ++x) {
        pixels[x] = static_cast<char>(x % 256);
        pixels[1024 + x] = static_cast<char>((x % 256) / 2);
    }
    TiffBuilder b;
    b.Image(1024, 2, 1, 8, 1, 1).Strip(pixels.substr(0, 1024)).Strip(pixels.substr(1024));
    SidInterface reader;
    reader.SetFormat(3);
    ASSERT_TRUE(reader.Open(sidtest::Wide(sidtest::WriteScratch("average.tif", b.Build()))));
    ASSERT_EQ(reader.GetMaxScale(), 2u);
    ASSERT_TRUE(reader.SetScale(2));
    ASSERT_EQ(reader.GetWidth(), 512u);
    ASSERT_EQ(reader.GetHeight(), 1u);
    std::vector<uint8_t> row(2048);
    ASSERT_TRUE(reader.ReadScanline(0, row.data()));
    // Pixel 10 covers columns 20, 21 of rows 0 (20, 21) and 1 (10, 10): mean 15.25.
    EXPECT_EQ(row[10], 15);
    // Pixel 127: columns 254, 255 and 127, 127: mean 190.75 rounds up.
    EXPECT_EQ(row[127], 191);
}

TEST(GeoTiffEngine, ScenesOutsideTheImageOrAtOddMagnificationsAreRefused) {
    TiffBuilder b;
    b.Image(1024, 4, 1, 8, 1, 4).Strip(std::string(4096, '\x22'));
    OpenImage image(b.Build());
    ASSERT_EQ(image.status, LT_STS_Success);
    const LTIPixel pixel = image.reader->getPixelProps();
    struct Case {
        LTIScene scene;
        LT_STATUS status;
    };
    const Case cases[] = {
        {LTIScene(0, 0, 1024, 4, 1.0), LT_STS_Success},
        {LTIScene(0, 0, 512, 2, 0.5), LT_STS_Success},
        {LTIScene(1, 0, 1024, 4, 1.0), LTI_STS_BadScene},
        {LTIScene(0, 0, 10, 2, 1.0 / 3), LTI_STS_BadScene},
        {LTIScene(0, 0, 10, 1, 0.25), LTI_STS_BadScene}, // below the minimum magnification
        {LTIScene(0.5, 0, 10, 2, 1.0), LTI_STS_BadScene},
        {LTIScene(0, 0, 10, 2, 2.0), LTI_STS_BadScene},
    };
    for (const auto &c : cases) {
        LTISceneBuffer buffer(pixel, 1024, 4);
        EXPECT_EQ(image.reader->read(c.scene, buffer), c.status) << c.scene.getMag();
    }
    LTISceneBuffer small(pixel, 10, 1);
    EXPECT_EQ(image.reader->read(LTIScene(0, 0, 20, 2, 1.0), small), LTI_STS_BadSceneBuffer);
}

} // namespace
