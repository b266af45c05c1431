// The per-band range a GeoTIFF of wide samples declares: GDAL's statistics when the file has
// them (malformed XML ignored), else the extent of the samples without nodata, NaN and
// infinities; 8-bit images and alpha keep their type's range. Statistics GDAL writes are read
// in DynamicRangePeerTest.
#include "StripTiff.h"

#include "Subsystems/TiffImage/TiffTags.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <vector>

using namespace LizardTech;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

std::string Item(const char *name, int sample, const char *value) {
    return std::string("<Item name=\"") + name + "\" sample=\"" + std::to_string(sample) + "\">" +
           value + "</Item>";
}

// A two-band float image of `values` (band 0, band 1 per pixel) read through the reader.
struct EngineCase {
    const char *name;
    uint16_t bits, sampleFormat, extraSamples; // extraSamples 2: band 1 is alpha
    std::vector<double> values;
    const char *nodata;   // GDAL_NODATA text, or null
    std::string metadata; // GDAL_METADATA, or empty
    double lo0, hi0, lo1, hi1;
};

TEST(GeoTiffBandRange, StatisticsElseSampleExtentWithoutNodataOrNaN) {
    const double u16 = 65535, inf = kInf;
    // clang-format off
    const EngineCase cases[] = {
        {"nodata, NaN and infinity left out", 32, 3, 0, {-9999, 7, kNaN, inf, 0.5, -inf, 0.25, 8},
         "-9999", "", 0.25, 0.5, 7, 8},
        {"no valid sample keeps the type's range", 64, 3, 0, {kNaN, 1, kNaN, 1}, nullptr, "",
         0, 1, 1, 1},
        {"statistics win for their band", 16, 1, 0, {10, 20, 30, 40},
         nullptr, "<GDALMetadata>" + Item("STATISTICS_MINIMUM", 1, "0") +
                      Item("STATISTICS_MAXIMUM", 1, "4095") + "</GDALMetadata>",
         10, 30, 0, 4095},
        {"malformed statistics ignored", 16, 1, 0, {10, 20, 30, 40}, nullptr,
         "<GDALMetadata>" + Item("STATISTICS_MINIMUM", 1, "0"), 10, 30, 20, 40},
        {"alpha keeps the type's range", 16, 1, 2, {100, 200, 300, 200}, nullptr, "",
         100, 300, 0, u16},
        {"8-bit keeps its values", 8, 1, 0, {10, 20, 30, 40}, nullptr, "", 0, 255, 0, 255},
    };
    // clang-format on
    for (const EngineCase &c : cases) {
        const auto pixels = static_cast<uint32_t>(c.values.size() / 2);
        sidtest::StripTiff tiff(pixels, 1, 2, c.bits, 1, 1);
        tiff.Short(339, {c.sampleFormat, c.sampleFormat}).Short(338, {c.extraSamples});
        if (c.nodata)
            tiff.Ascii(tiff::kTagGdalNoData, c.nodata);
        if (!c.metadata.empty())
            tiff.Ascii(tiff::kTagGdalMetadata, c.metadata);
        sidtest::Bytes strip;
        for (const double v : c.values) {
            uint64_t bits = 0;
            const float f = static_cast<float>(v);
            if (c.bits == 64)
                std::memcpy(&bits, &v, 8);
            else if (c.bits == 32)
                std::memcpy(&bits, &f, 4);
            else
                bits = static_cast<uint64_t>(v);
            tiff.Put(strip, bits, c.bits / 8);
        }
        tiff.Strip(strip);
        const sidtest::OpenReader image(sidtest::ScratchFile("range.tif", tiff.Build()));
        ASSERT_EQ(image.status, LT_STS_Success) << c.name;
        MrSIDImageReader *reader = image.reader;
        EXPECT_EQ(reader->getMinDynamicRange(0), c.lo0) << c.name;
        EXPECT_EQ(reader->getMaxDynamicRange(0), c.hi0) << c.name;
        EXPECT_EQ(reader->getMinDynamicRange(1), c.lo1) << c.name;
        EXPECT_EQ(reader->getMaxDynamicRange(1), c.hi1) << c.name;
    }
}

} // namespace
