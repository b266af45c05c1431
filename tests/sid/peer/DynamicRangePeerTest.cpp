// Images wider than 8 bits through `iosid read` against gdal_translate stretching each band's
// range onto bytes: the range is the statistics the file carries, or else the extent GDAL
// finds in the coarsest level (nodata and NaN left out).
#include "OurReader.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <limits>
#include <optional>
#include <string>
#include <vector>

using namespace peer;

namespace {

struct RangeCase {
    const char *name;
    const char *type;
    uint32_t width, height;
    int bands;
    const char *options;   // creation options; "-a_nodata V" declares the holes nodata
    const char *overviews; // the range then comes from the coarsest one
    std::optional<double> hole;
    bool statistics; // the file carries statistics narrower than its samples
};

const double kNaN = std::numeric_limits<double>::quiet_NaN();

const RangeCase kCases[] = {
    {"u16_overviews", "UInt16", 1024, 768, 1, "-co TILED=YES", "2 4", {}, false},
    {"i16_rgb_stats", "Int16", 300, 200, 3, "-co PHOTOMETRIC=RGB", "", {}, true},
    {"u32_nodata", "UInt32", 300, 200, 1, "-a_nodata 4294967295", "", 4294967295.0, false},
    {"f32_nan", "Float32", 300, 200, 1, "", "", kNaN, false},
    {"f64_nodata_stats", "Float64", 300, 200, 3, "-a_nodata -9999", "", -9999.0, true},
};

// A copy of `tiff` carrying statistics a quarter inside each band's extent.
std::string WithStatistics(const RangeCase &c, const std::string &tiff) {
    std::ofstream aux(tiff + ".aux.xml");
    aux << "<PAMDataset>\n";
    int band = 1;
    for (const BandRange &r : GdalRanges(tiff, -1))
        aux << "<PAMRasterBand band=\"" << band++ << "\"><Metadata><MDI key=\"STATISTICS_MINIMUM\">"
            << r.lo + (r.hi - r.lo) / 4 << "</MDI><MDI key=\"STATISTICS_MAXIMUM\">"
            << r.hi - (r.hi - r.lo) / 4 << "</MDI></Metadata></PAMRasterBand>\n";
    aux << "</PAMDataset>\n";
    aux.close();
    const std::string out = MakeGeoTiff(std::string(c.name) + "_stats", tiff, c.options, "");
    std::remove((tiff + ".aux.xml").c_str());
    return out;
}

class DynamicRangePeer : public ::testing::TestWithParam<RangeCase> {};

TEST_P(DynamicRangePeer, ReadMatchesGdalScalingEachBandsRange) {
    const RangeCase &c = GetParam();
    const std::string source = MakeEnviSource(c.name, c.width, c.height, c.bands, c.type, c.hole);
    std::string tiff = MakeGeoTiff(c.name, source, c.options, c.overviews);
    ASSERT_FALSE(tiff.empty()) << "gdal could not make " << c.name;
    if (c.statistics)
        tiff = WithStatistics(c, tiff);
    ASSERT_FALSE(tiff.empty());
    const int levels = std::string(c.overviews).empty() ? 0 : 2;
    const std::vector<BandRange> ranges = GdalRanges(tiff, levels - 1);
    ASSERT_EQ(ranges.size(), size_t(c.bands));
    for (const BandRange &r : ranges)
        EXPECT_LT(r.lo, r.hi) << c.name;
    const std::string png = ScratchPath(std::string(c.name) + "_range.png");
    ASSERT_EQ(RunQuiet(std::string(IOSID_PROGRAM) + " read " + tiff + " -o " + png +
                       (c.bands == 1 ? " --format 8" : " --format 24")),
              0);
    const Raster ours = GdalRead(png, "");
    const Raster peer = GdalRead(tiff, StretchArgs(ranges));
    ASSERT_TRUE(ours.error.empty() && peer.error.empty()) << c.name;
    ASSERT_EQ(ours.bytes.size(), peer.bytes.size()) << c.name;
    // GDAL leaves nodata pixels unscaled; they are compared nowhere.
    const Raster mask = GdalRead(tiff, "-b mask");
    int worst = 0, compared = 0;
    for (size_t i = 0; i < ours.bytes.size(); ++i) {
        if (mask.bytes.size() * c.bands == ours.bytes.size() && mask.bytes[i / c.bands] == 0)
            continue;
        worst = std::max(worst, std::abs(int{ours.bytes[i]} - int{peer.bytes[i]}));
        ++compared;
    }
    EXPECT_LE(worst, 1) << c.name;
    EXPECT_GT(compared, int(ours.bytes.size() * 3 / 4)) << c.name;
}

INSTANTIATE_TEST_SUITE_P(Types, DynamicRangePeer, ::testing::ValuesIn(kCases),
                         [](const auto &info) { return std::string(info.param.name); });

} // namespace
