// Georeferencing through SidInterface against gdalinfo: the four-corner warp lands on the
// centres of the region's corner pixels under GDAL's geotransform, and files carrying
// ProjectedCSType get that predefined system.
#include "PeerTools.h"
#include "SidInterface.h"

#include "gcs/GCSDef.h"
#include "georef/GeoTiffCodes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>

using namespace sidpeer;

namespace {

bool GeoTransform(const std::string &path, double (&gt)[6]) {
    const std::string json = Capture("gdalinfo -json " + path);
    const size_t at = json.find("\"geoTransform\"");
    if (at == std::string::npos)
        return false;
    const size_t open = json.find('[', at);
    return std::sscanf(json.c_str() + open, "[ %lf , %lf , %lf , %lf , %lf , %lf", &gt[0], &gt[1],
                       &gt[2], &gt[3], &gt[4], &gt[5]) == 6;
}

shr::Vec2d Centre(const double (&gt)[6], double x, double y) {
    return {gt[0] + (x + 0.5) * gt[1] + (y + 0.5) * gt[2],
            gt[3] + (x + 0.5) * gt[4] + (y + 0.5) * gt[5]};
}

void ExpectNear(const shr::Vec2d &a, const shr::Vec2d &b, const std::string &what) {
    const double tolerance = 1e-9 * (1.0 + std::fabs(b.x) + std::fabs(b.y));
    EXPECT_NEAR(a.x, b.x, tolerance) << what;
    EXPECT_NEAR(a.y, b.y, tolerance) << what;
}

// The code in a fixture name such as ProjectedCSTypeGeoKey_3083_albers_equal_area.tif.
int32_t CodeFromName(const std::string &name) {
    const std::string prefix = "ProjectedCSTypeGeoKey_";
    return name.rfind(prefix, 0) == 0 ? std::atoi(name.c_str() + prefix.size()) : 0;
}

// Checks the warp of a region of `path` against its GDAL geotransform; false when the file
// has no geotransform or is too small to have an extent.
bool CheckWarp(const std::string &path) {
    double gt[6];
    if (!GeoTransform(path, gt))
        return false;
    SidInterface reader;
    EXPECT_TRUE(reader.Open(std::wstring(path.begin(), path.end()))) << path;
    const uint32_t w = reader.GetWidth(), h = reader.GetHeight();
    if (w < 4 || h < 4)
        return false; // a one-pixel image has no extent to warp
    const uint32_t l = 1, t = 2, r = w - 2, b = h - 1;
    reader.SetRegion(l, t, r, b);
    gcs::GCSDef gcsDef;
    EXPECT_TRUE(reader.Georeference(gcsDef));
    const gcs::WarpDef *warp = gcsDef.GetWarp();
    EXPECT_NE(warp, nullptr) << path;
    if (warp == nullptr || warp->GetSourcePointCount() != 4)
        return ADD_FAILURE() << path, true;
    EXPECT_EQ(static_cast<int>(warp->GetMethod()), 3);
    const double corners[4][2] = {{double(l), double(t)},
                                  {double(r), double(b)},
                                  {double(l), double(b)},
                                  {double(r), double(t)}};
    for (int i = 0; i < 4; ++i)
        ExpectNear(warp->GetDestinationPoint(i), Centre(gt, corners[i][0], corners[i][1]),
                   path + " corner " + std::to_string(i));
    ExpectNear(warp->GetSourcePoint(1), {double(r - l), double(b - t)}, path);
    return true;
}

TEST(GdalGeoreference, WarpMatchesGdalGeotransformOfTheFixtures) {
    int checked = 0;
    for (const auto &entry :
         std::filesystem::directory_iterator(std::string(IOSID_TESTDATA) + "/geotiff"))
        if (entry.path().extension() == ".tif" && CheckWarp(entry.path().string()))
            ++checked;
    EXPECT_GE(checked, 2); // most fixtures are single pixels
}

TEST(GdalGeoreference, WarpMatchesGdalForAreaPointAndMatrixFiles) {
    const std::string source = MakeSource("geo_kinds", 300, 200, 1, "Byte");
    // Pixel-is-area tie point and scale; pixel-is-point; a rotated transformation matrix.
    const std::string area = MakeGeoTiff("geo_area", source, "", "");
    const std::string point = MakeGeoTiff("geo_point", source, "-mo AREA_OR_POINT=Point", "");
    const std::string vrt = BuildPath("geo_rotated.vrt");
    std::FILE *f = std::fopen(vrt.c_str(), "w");
    ASSERT_NE(f, nullptr);
    std::fprintf(f,
                 "<VRTDataset rasterXSize=\"300\" rasterYSize=\"200\">\n"
                 "<GeoTransform>1000.5, 2.0, 0.75, 5000.25, 0.5, -3.0</GeoTransform>\n"
                 "<VRTRasterBand dataType=\"Byte\" band=\"1\"><SimpleSource>"
                 "<SourceFilename relativeToVRT=\"0\">%s</SourceFilename>"
                 "<SourceBand>1</SourceBand></SimpleSource></VRTRasterBand></VRTDataset>\n",
                 source.c_str());
    std::fclose(f);
    const std::string rotated = BuildPath("geo_rotated.tif");
    ASSERT_EQ(RunQuiet("gdal_translate -q " + vrt + " " + rotated), 0);
    for (const std::string &path : {area, point, rotated}) {
        ASSERT_FALSE(path.empty());
        EXPECT_TRUE(CheckWarp(path)) << path;
    }
    EXPECT_NE(Capture("listgeo " + point).find("PixelIsPoint"), std::string::npos);
    EXPECT_NE(Capture("tiffinfo " + rotated + " 2>/dev/null").find("34264"), std::string::npos);
}

TEST(GdalGeoreference, ProjectedCSTypeGivesThePredefinedSystem) {
    int checked = 0;
    for (const auto &entry :
         std::filesystem::directory_iterator(std::string(IOSID_TESTDATA) + "/geotiff")) {
        const int32_t code = CodeFromName(entry.path().filename().string());
        gcs::GCSDef known;
        if (code == 0 || !georef::GeoTIFFCoordSysCodeToProjectionAndDatum(code, known))
            continue;
        const std::string path = entry.path().string();
        SidInterface reader;
        ASSERT_TRUE(reader.Open(std::wstring(path.begin(), path.end())));
        gcs::GCSDef gcsDef;
        reader.Georeference(gcsDef);
        EXPECT_EQ(gcsDef.GetPOSC(), code) << path;
        EXPECT_TRUE(gcsDef.HasProjection(false, false)) << path;
        ++checked;
    }
    EXPECT_GE(checked, 5);
}

TEST(GdalGeoreference, ScaledRegionSourcePoints) {
    const std::string source = MakeSource("geo_scaled", 1100, 600, 1, "Byte");
    const std::string tiff = MakeGeoTiff("geo_scaled", source, "-co TILED=YES", "2 4");
    ASSERT_FALSE(tiff.empty());
    double gt[6];
    ASSERT_TRUE(GeoTransform(tiff, gt));
    SidInterface reader;
    ASSERT_TRUE(reader.Open(std::wstring(tiff.begin(), tiff.end())));
    ASSERT_TRUE(reader.SetScale(2));
    reader.SetRegion(0, 0, 1001, 501);
    gcs::GCSDef gcsDef;
    reader.Georeference(gcsDef);
    ASSERT_NE(gcsDef.GetWarp(), nullptr);
    const shr::Vec2d expected[4] = {{0, 0}, {500, 250}, {0, 250}, {500, 0}};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(gcsDef.GetWarp()->GetSourcePoint(i), expected[i]) << i;
    ExpectNear(gcsDef.GetWarp()->GetDestinationPoint(1), Centre(gt, 1001, 501), "corner 1");
    EXPECT_EQ(gcsDef.GetPOSC(), 32611);
}

} // namespace
