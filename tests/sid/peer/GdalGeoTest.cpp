// Georeferencing through SidInterface against gdalinfo: the four-corner warp lands on the
// centres of the region's corner pixels under GDAL's geotransform, for pixel-is-area,
// pixel-is-point and rotated files. (Every fixture's warp is checked against the GeoTIFF module
// through `iosid read`, and the warp of a scaled region in the unit tests.)
#include "OurReader.h"
#include "SidInterface.h"

#include "gcs/GCSDef.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>

using namespace peer;

namespace {

shr::Vec2d Centre(const double (&gt)[6], double x, double y) {
    return {gt[0] + (x + 0.5) * gt[1] + (y + 0.5) * gt[2],
            gt[3] + (x + 0.5) * gt[4] + (y + 0.5) * gt[5]};
}

void ExpectNear(const shr::Vec2d &a, const shr::Vec2d &b, const std::string &what) {
    const double tolerance = 1e-9 * (1.0 + std::fabs(b.x) + std::fabs(b.y));
    EXPECT_NEAR(a.x, b.x, tolerance) << what;
    EXPECT_NEAR(a.y, b.y, tolerance) << what;
}

// Checks the warp of a region of `path` against its GDAL geotransform; false when the file
// has no geotransform.
bool CheckWarp(const std::string &path) {
    GdalInfo info;
    std::string error;
    if (!ReadGdalInfo(path, info, error) || !info.hasGeoTransform)
        return false;
    const double(&gt)[6] = info.geoTransform;
    SidInterface reader;
    EXPECT_TRUE(reader.Open(std::wstring(path.begin(), path.end()))) << path;
    const uint32_t w = reader.GetWidth(), h = reader.GetHeight();
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

TEST(GdalGeoreference, WarpMatchesGdalForAreaPointAndMatrixFiles) {
    const std::string source = MakeEnviSource("geo_kinds", 300, 200, 1, "Byte");
    // Pixel-is-area tie point and scale; pixel-is-point; a rotated transformation matrix.
    const std::string area = MakeGeoTiff("geo_area", source, "", "");
    const std::string point = MakeGeoTiff("geo_point", source, "-mo AREA_OR_POINT=Point", "");
    const std::string vrt = ScratchPath("geo_rotated.vrt");
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
    const std::string rotated = ScratchPath("geo_rotated.tif");
    ASSERT_EQ(RunQuiet("gdal_translate -q " + vrt + " " + rotated), 0);
    for (const std::string &path : {area, point, rotated}) {
        ASSERT_FALSE(path.empty());
        EXPECT_TRUE(CheckWarp(path)) << path;
    }
    EXPECT_NE(RunCommand("listgeo " + point).find("PixelIsPoint"), std::string::npos);
    EXPECT_NE(RunCommand("tiffinfo " + rotated + " 2>/dev/null").find("34264"), std::string::npos);
}

} // namespace
