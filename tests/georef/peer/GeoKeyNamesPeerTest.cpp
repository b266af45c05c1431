// GeoKey names against libgeotiff's: every key libgeotiff names, ours names alike (where both
// use the GeoTIFF 1.0 name), and no other id has a name.
#include "georef/GeoKeyNames.h"

#include <geotiff/geotiff.h>
#include <gtest/gtest.h>

#include <map>
#include <string>

TEST(GeoKeyNames, AgreeWithLibgeotiff) {
    // libgeotiff spells these after GeoTIFF 1.1 or its own aliases; 3096 and 5120 are 1.1
    // keys this module does not name.
    const std::map<uint32_t, std::string> kNewerSpelling = {
        {2062, "GeogTOWGS84GeoKey"},          {3078, "ProjStdParallel1GeoKey"},
        {3080, "ProjNatOriginLongGeoKey"},    {3081, "ProjNatOriginLatGeoKey"},
        {3092, "ProjScaleAtNatOriginGeoKey"}, {3096, "ProjRectifiedGridAngleGeoKey"},
        {5120, "CoordinateEpochGeoKey"}};
    int named = 0;
    for (uint32_t id = 0; id < 65536; ++id) {
        const std::string theirs = GTIFKeyName(static_cast<geokey_t>(id));
        const char *ours = georef::GeoKeyName(id);
        const auto newer = kNewerSpelling.find(id);
        if (theirs.rfind("Unknown-", 0) == 0 || newer != kNewerSpelling.end()) {
            EXPECT_EQ(ours != nullptr, newer != kNewerSpelling.end() && id != 3096 && id != 5120) << id;
            EXPECT_TRUE(newer == kNewerSpelling.end() || newer->second == theirs) << id;
            continue;
        }
        ++named;
        ASSERT_NE(ours, nullptr) << id << " " << theirs;
        EXPECT_EQ(std::string(ours) + "GeoKey", theirs) << id;
    }
    EXPECT_GT(named, 40);
}
