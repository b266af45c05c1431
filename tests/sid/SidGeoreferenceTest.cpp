// SidInterface::Georeference: which metadata records count, their order, the unit scale and
// when a warp is made (over the synthetic engine); the control points of a rotated file.
#include "SidInterface.h"

#include "StripTiff.h"
#include "TestEngine.h"
#include "TestFiles.h"

#include "gcs/GCSDef.h"
#include "georef/GeoTiffCodes.h"

#include <gtest/gtest.h>

using namespace LizardTech;
using sidtest::TestEngineScope;
using sidtest::TestImage;

namespace {

constexpr int32_t kUtm11 = 32611;

// A one-value key record: ProjectedCSType (3072) or ProjLinearUnits (3076) under `name`.
LTIMetadataRecord Key(int32_t value, const std::string &name = "GEOTIFF_NUM::3072::",
                      LTIMetadataDataType type = LTI_METADATA_DATATYPE_UINT16) {
    const uint16_t v = static_cast<uint16_t>(value);
    const uint32_t wide = static_cast<uint32_t>(value);
    return type == LTI_METADATA_DATATYPE_UINT16 ? LTIMetadataRecord(name, type, &v, 1)
                                                : LTIMetadataRecord(name, type, &wide, 1);
}

LTIMetadataRecord Unit(int32_t value) { return Key(value, "GEOTIFF_NUM::3076::"); }

gcs::GCSDef Georeference(TestImage image) {
    image.width = 2000;
    image.height = 1000;
    TestEngineScope engine(std::move(image));
    SidInterface reader;
    gcs::GCSDef gcsDef;
    EXPECT_TRUE(reader.Open(sidtest::Wide(sidtest::WriteScratch("georef.bin", "GEO!"))));
    EXPECT_TRUE(reader.Georeference(gcsDef));
    return gcsDef;
}

double UnitScale(const gcs::GCSDef &gcsDef) {
    return gcsDef.GetProjection()
               ? gcsDef.GetProjection()->GetParameter(gcs::ProjectionParameterID::LinearScale)
               : -1.0;
}

double PredefinedUnitScale(int32_t code) {
    gcs::GCSDef known;
    EXPECT_TRUE(georef::GeoTIFFCoordSysCodeToProjectionAndDatum(code, known));
    return UnitScale(known);
}

TEST(SidGeoreference, MetadataKeysByNameTypeAndOrder) {
    const double feet = 3.280839895013123, utm = PredefinedUnitScale(kUtm11);
    const struct {
        const char *name;
        std::vector<LTIMetadataRecord> records;
        int32_t posc;
        double unitScale; // -1: no projection
    } cases[] = {
        {"vendor name", {Key(kUtm11, "GEOTIFF_NUM::3072::ProjectedCSTypeGeoKey")}, kUtm11, utm},
        {"lower case, more after the prefix", {Key(kUtm11, "geotiff_num::3072:xyz")}, kUtm11, utm},
        {"only sixteen characters of the prefix", {Key(kUtm11, "GEOTIFF_NUM::307")}, 0, -1},
        {"32-bit type", {Key(kUtm11, "GEOTIFF_NUM::3072::", LTI_METADATA_DATATYPE_UINT32)}, 0, -1},
        {"negative code widened with its sign", {Key(-1)}, 0, -1},
        {"unit after system", {Key(kUtm11), Unit(9002)}, kUtm11, feet},
        {"unit before system does nothing", {Unit(9002), Key(kUtm11)}, kUtm11, utm},
        {"unknown unit gives zero", {Key(kUtm11), Unit(1)}, kUtm11, 0.0},
    };
    for (const auto &c : cases) {
        TestImage image;
        image.records = c.records;
        const gcs::GCSDef gcsDef = Georeference(image);
        EXPECT_EQ(gcsDef.GetPOSC(), c.posc) << c.name;
        EXPECT_DOUBLE_EQ(UnitScale(gcsDef), c.unitScale) << c.name;
        EXPECT_EQ(gcsDef.GetWarp(), nullptr) << c.name << ": pixel space gets no warp";
    }
}

TEST(SidGeoreference, WarpOnlyForRealGeoreferencing) {
    const struct {
        const char *name;
        LTIGeoCoord geo;
        bool warped;
    } cases[] = {
        {"pixel space", LTIGeoCoord(), false},
        {"offset on x only: both x corners nonzero", LTIGeoCoord(5, 0, 1, 1, 0, 0), true},
        {"north up metres", LTIGeoCoord(440750, 3751290, 60, -60, 0, 0), true},
        {"degenerate x extent", LTIGeoCoord(100, 100, 0, -2, 0, 0), false},
        {"pixel space flipped", LTIGeoCoord(0, 0, 1, -1, 0, 0), false},
        {"extent one pixel larger than the image", LTIGeoCoord(0, 0, 1.0004, 1, 0, 0), false},
        {"extent two pixels larger", LTIGeoCoord(0, 0, 1.0011, 1, 0, 0), true},
    };
    for (const auto &c : cases) {
        TestImage image;
        image.geo = c.geo;
        const gcs::GCSDef gcsDef = Georeference(image);
        EXPECT_EQ(gcsDef.GetWarp() != nullptr, c.warped) << c.name;
    }
}

// A rotated ModelTransformation read by the GeoTIFF engine: the warp of a scaled region ties
// its output corners to the centres of the region's corner pixels.
TEST(SidGeoreference, FourCornerWarpOfAScaledRegionOfARotatedFile) {
    sidtest::StripTiff tiff(1002, 502, 1, 8, 1, 502);
    // Pixel (0, 0) centred on (1000, 2000); x = 2 per column + 0.5 per row, y = 0.25 - 3.
    tiff.Double(34264, {2, 0.5, 0, 998.75, 0.25, -3, 0, 2001.375, 0, 0, 0, 0, 0, 0, 0, 1});
    SidInterface reader;
    ASSERT_TRUE(reader.Open(
        sidtest::ScratchFile("rotated.tif", tiff.Strip(sidtest::Bytes(1002 * 502)).Build())));
    ASSERT_TRUE(reader.SetScale(2));
    reader.SetRegion(0, 0, 1001, 501);
    gcs::GCSDef gcsDef;
    ASSERT_TRUE(reader.Georeference(gcsDef));
    const gcs::WarpDef *warp = gcsDef.GetWarp();
    ASSERT_NE(warp, nullptr);
    EXPECT_EQ(warp->GetMethod(), gcs::WarpMethod::Affine);
    const shr::Vec2d sources[4] = {{0, 0}, {500, 250}, {0, 250}, {500, 0}};
    const double pixels[4][2] = {{0, 0}, {1001, 501}, {0, 501}, {1001, 0}};
    ASSERT_EQ(warp->GetSourcePointCount(), 4u);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(warp->GetSourcePoint(i), sources[i]) << i;
        const double x = pixels[i][0], y = pixels[i][1];
        EXPECT_EQ(warp->GetDestinationPoint(i),
                  shr::Vec2d(1000 + 2 * x + 0.5 * y, 2000 + 0.25 * x - 3 * y))
            << i;
    }
}

} // namespace
