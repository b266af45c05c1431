// The decode engine's pixel-to-map and the GeoTIFF module's warp read the same tags the same
// way: on every fixture and on built files, the engine's map of a pixel centre is the module's
// affine map half a pixel into the pixel (at the pixel itself with PixelIsPoint).
#include "SidIO.h"
#include "TestFiles.h"
#include "TiffBuilder.h"

#include "Subsystems/TiffImage/TiffTags.h"
#include "gcs/WarpDef.h"
#include "georef/GeoKeyBundle.h"
#include "georef/GeoTiffKeys.h"
#include "georef/GeoTiffParams.h"
#include "georef/GeoTiffWarp.h"
#include "lti/MrSIDImageReader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <functional>
#include <limits>

using namespace LizardTech;
using sidtest::TiffBuilder;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

bool IsPixelIsPoint(const std::string &path) {
    georef::GeoKeyBundle keys;
    georef::GeoTiffParams params;
    georef::GeoTiffExtractKeys(sidtest::Wide(path), 1, keys);
    georef::GeoTiffBundleToParams(keys, params);
    return params.GTRasterType == 2;
}

struct EngineGeo {
    bool opened = false;
    LTIGeoCoord geo;
};

EngineGeo OpenEngine(const std::string &path) {
    SidIO stream(sidtest::Wide(path), true);
    MrSIDImageReader *reader = MrSIDImageReader::create();
    EngineGeo result;
    result.opened = reader->initialize(&stream, nullptr, MRSID_MEMORY_USAGE_DEFAULT,
                                       MRSID_STREAM_USAGE_CREATE) == LT_STS_Success;
    result.geo = reader->getGeoCoord();
    reader->release();
    return result;
}

bool IsPixelSpace(const LTIGeoCoord &g) {
    return g.getX() == 0 && g.getY() == 0 && g.getXRes() == 1 && g.getYRes() == 1 &&
           g.getXRot() == 0 && g.getYRot() == 0;
}

// Checks the engine against the module on `path`; returns whether the module gave an affine.
bool ExpectAgreement(const std::string &path) {
    const EngineGeo engine = OpenEngine(path);
    EXPECT_TRUE(engine.opened) << path;
    gcs::WarpDef warp;
    EXPECT_TRUE(georef::GetGeorefInfoFromGeoTIFF(sidtest::Wide(path), 1, warp)) << path;
    if (!warp.HasCoefficients()) {
        EXPECT_TRUE(IsPixelSpace(engine.geo)) << path << ": the engine has a map, the module none";
        return false;
    }
    const gcs::AffineCoefficients &m = warp.GetCoefficients();
    const double half = IsPixelIsPoint(path) ? 0.0 : 0.5;
    for (const auto &[i, j] : {std::pair{0.0, 0.0}, {3.0, 0.0}, {0.0, 1.0}, {7.0, 5.0}}) {
        double x = 0, y = 0;
        engine.geo.pixelToGeo(i, j, 1.0, x, y);
        const double u = i + half, v = j + half;
        const double tolerance = 1e-9 * (1 + std::fabs(x) + std::fabs(y));
        EXPECT_NEAR(x, m.a * u + m.b * v + m.c, tolerance) << path << " pixel " << i << "," << j;
        EXPECT_NEAR(y, m.d * u + m.e * v + m.f, tolerance) << path << " pixel " << i << "," << j;
    }
    return true;
}

TEST(GeorefAgreement, EveryGeoTiffFixture) {
    int withAffine = 0;
    for (const auto &entry :
         std::filesystem::directory_iterator(std::string(IOSID_TESTDATA) + "/geotiff"))
        if (entry.path().extension() == ".tif" && ExpectAgreement(entry.path().string()))
            ++withAffine;
    EXPECT_GE(withAffine, 20);
}

struct BuiltCase {
    const char *name;
    std::function<void(TiffBuilder &)> tags;
    bool hasMap;
    double centreX, centreY; // the engine's map of pixel (0, 0)
};

void Keys(TiffBuilder &b, uint16_t rasterType) {
    b.Short(tiff::kTagGeoKeyDirectory, {1, 1, 0, 1, 1025, 0, 1, rasterType});
}

const std::vector<double> kMatrix = {2, 0, 0, 100, 0, -2, 0, 200, 0, 0, 1, 0, 0, 0, 0, 1};

const BuiltCase kBuilt[] = {
    {"tie point and scale, area",
     [](TiffBuilder &b) {
         Keys(b, 1);
         b.Double(tiff::kTagModelTiepoint, {0, 0, 0, 500000, 4000000, 0});
         b.Double(tiff::kTagModelPixelScale, {30, 30, 0});
     },
     true, 500015, 3999985},
    {"tie point and scale, point",
     [](TiffBuilder &b) {
         Keys(b, 2);
         b.Double(tiff::kTagModelTiepoint, {1, 2, 0, 500000, 4000000, 0});
         b.Double(tiff::kTagModelPixelScale, {30, 30, 0});
     },
     true, 499970, 4000060},
    {"transformation matrix",
     [](TiffBuilder &b) { b.Double(tiff::kTagModelTransformation, kMatrix); }, true, 101, 199},
    // GDAL and libgeotiff ignore IntergraphMatrixTag (gdalinfo reports no geotransform for
    // this file); we read it with m5's sign flipped, in the module's warp and in the engine.
    {"Intergraph matrix", [](TiffBuilder &b) { b.Double(tiff::kTagIntergraphMatrix, kMatrix); },
     true, 101, 201},
    {"matrix over tie point and scale",
     [](TiffBuilder &b) {
         b.Double(tiff::kTagModelTiepoint, {0, 0, 0, 500000, 4000000, 0});
         b.Double(tiff::kTagModelPixelScale, {30, 30, 0});
         b.Double(tiff::kTagModelTransformation, kMatrix);
     },
     true, 101, 199},
    {"two tie points fit a warp, not a map",
     [](TiffBuilder &b) {
         b.Double(tiff::kTagModelTiepoint, {0, 0, 0, 10, 20, 0, 100, 50, 0, 110, 70, 0});
         b.Double(tiff::kTagModelPixelScale, {1, 1, 0});
     },
     false, 0, 0},
    {"tie point without a scale",
     [](TiffBuilder &b) {
         b.Double(tiff::kTagModelTiepoint, {0, 0, 0, 10, 20, 0});
     },
     false, 0, 0},
    {"scale of two values",
     [](TiffBuilder &b) {
         b.Double(tiff::kTagModelTiepoint, {0, 0, 0, 10, 20, 0});
         b.Double(tiff::kTagModelPixelScale, {1, 1});
     },
     false, 0, 0},
    {"NaN in the scale",
     [](TiffBuilder &b) {
         b.Double(tiff::kTagModelTiepoint, {0, 0, 0, 10, 20, 0});
         b.Double(tiff::kTagModelPixelScale, {kNaN, 1, 0});
     },
     false, 0, 0},
    {"NaN in the matrix",
     [](TiffBuilder &b) {
         std::vector<double> m = kMatrix;
         m[5] = kNaN;
         b.Double(tiff::kTagModelTransformation, m);
     },
     false, 0, 0},
};

TEST(GeorefAgreement, BuiltFiles) {
    for (const BuiltCase &c : kBuilt) {
        TiffBuilder b;
        b.Image(8, 6, 1, 8, 1, 6).Strip(std::string(48, '\x20'));
        c.tags(b);
        const std::string path = sidtest::WriteScratch("agreement.tif", b.Build());
        EXPECT_EQ(ExpectAgreement(path), c.hasMap) << c.name;
        double x = 0, y = 0;
        OpenEngine(path).geo.pixelToGeo(0, 0, 1.0, x, y);
        if (c.hasMap) {
            EXPECT_DOUBLE_EQ(x, c.centreX) << c.name;
            EXPECT_DOUBLE_EQ(y, c.centreY) << c.name;
        }
    }
}

} // namespace
