// Tests of the WKT 1 reader: the tree, ESRI and OGC definitions, units, method forms and
// malformed text.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "gcs/GcsFile.h"
#include "gcs/KnownLists.h"
#include "gcs/WktNode.h"
#include "shr/Strings.h"

using gcs::ProjectionMethod;

namespace {

std::string Geogcs(const std::string &unit = "UNIT[\"Degree\",0.0174532925199433]",
                   const std::string &datum = "DATUM[\"D_WGS_1984\",SPHEROID[\"WGS_1984\","
                                              "6378137.0,298.257223563]]") {
    return "GEOGCS[\"GCS\"," + datum + ",PRIMEM[\"Greenwich\",0.0]," + unit + "]";
}

std::string Projcs(const std::string &projection, const std::string &parameters,
                   const std::string &unit = "UNIT[\"Meter\",1.0]") {
    return "PROJCS[\"P\"," + Geogcs() + ",PROJECTION[\"" + projection + "\"]," + parameters +
           (parameters.empty() ? "" : ",") + unit + "]";
}

const std::string kUtm = Projcs("Transverse_Mercator", "PARAMETER[\"Scale_Factor\",0.9996]");

// A[A[A[...]]], depth levels deep.
std::string Nested(int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i)
        text += "A[";
    return text + std::string(static_cast<size_t>(depth), ']');
}

gcs::ProjectionParameters Params(const gcs::GCSDef &def) {
    return def.GetProjection()->GetParameters();
}

bool Convert(const std::string &wkt, gcs::GCSDef &def) {
    std::wstring message;
    const bool ok = gcsfile::ConvertWktToGCSDef(wkt, def, &message);
    EXPECT_TRUE(ok) << shr::WtoA(message) << "\n" << wkt;
    return ok;
}

} // namespace

// A prime meridian other than Paris is in the GEOGCS unit: 10 grads are 9 degrees. (Paris is
// written in degrees, as GDAL and ESRI do; the peer test reads EPSG's Paris systems.)
TEST(WktConvert, PrimeMeridianInTheAngularUnit) {
    gcs::GCSDef grads;
    ASSERT_TRUE(Convert("GEOGCS[\"g\",DATUM[\"d\",SPHEROID[\"s\",6378137,298.257223563]],"
                        "PRIMEM[\"Somewhere\",10],UNIT[\"grad\",0.0157079632679489]]",
                        grads));
    EXPECT_NEAR(grads.GetDatum()->GetParameter(gcs::DatumParameterID::PrimeMeridian), 9.0, 1e-12);
}

// Names and forms PROJ does not write for EPSG systems (the peer test reads those): values
// implied by the method, orientation given by axes, EPSG names with spaces.
TEST(WktConvert, MethodForms) {
    const struct {
        const char *name;
        std::string wkt;
        ProjectionMethod method;
        int32_t option;
        double lat0, lat1, gridAngle;
    } cases[] = {
        {"OGC Krovak south west",
         Projcs("Krovak", "PARAMETER[\"azimuth\",30.29]",
                "UNIT[\"metre\",1],AXIS[\"X\",SOUTH],AXIS[\"Y\",WEST]"),
         ProjectionMethod::Krovak, 0, 0, 0, 0},
        {"Bonne parallel", Projcs("Bonne", "PARAMETER[\"Standard_Parallel_1\",40]"),
         ProjectionMethod::Bonne, 0, 40, 0, 0},
        {"EPSG name with spaces",
         Projcs("Lambert Conic Conformal (West Orientated)",
                "PARAMETER[\"Latitude of natural origin\",70.5]"),
         ProjectionMethod::LambertConformalConicWest, 0, 70.5, 0, 0},
        {"ESRI Local",
         Projcs("Local", "PARAMETER[\"Scale_Factor\",1],PARAMETER[\"Azimuth\",0],"
                         "PARAMETER[\"Latitude_Of_Center\",30]"),
         ProjectionMethod::Orthographic, 0, 30, 0, 0},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        gcs::GCSDef def;
        if (!Convert(test.wkt, def))
            continue;
        const gcs::ProjectionParameters p = Params(def);
        EXPECT_EQ(p.method, test.method);
        EXPECT_EQ(p.option, test.option);
        EXPECT_EQ(p.lat0, test.lat0);
        EXPECT_EQ(p.lat1, test.lat1);
        EXPECT_EQ(p.gridAngle, test.gridAngle);
    }
}

TEST(WktConvert, CompoundLocalAndRadians) {
    gcs::GCSDef compound;
    ASSERT_TRUE(Convert("COMPD_CS[\"c\"," + kUtm +
                            ",VERT_CS[\"h\",VERT_DATUM[\"v\",2005],UNIT[\"metre\",1]]]",
                        compound));
    EXPECT_EQ(Params(compound).scaleFactor, 0.9996);

    gcs::GCSDef local;
    ASSERT_TRUE(Convert("LOCAL_CS[\"site grid\",LOCAL_DATUM[\"x\",0],UNIT[\"foot\",0.3048],"
                        "AXIS[\"X\",EAST],AXIS[\"Y\",NORTH]]",
                        local));
    EXPECT_EQ(Params(local).method, ProjectionMethod::Planar);
    EXPECT_EQ(Params(local).linearScale, 1.0 / 0.3048);
    EXPECT_EQ(local.GetDatum(), nullptr);

    gcs::GCSDef inRadians;
    const std::string wkt = "PROJCS[\"P\"," + Geogcs("UNIT[\"radian\",1]") +
                            ",PROJECTION[\"Transverse_Mercator\"],"
                            "PARAMETER[\"central_meridian\",0.1],UNIT[\"metre\",1]]";
    ASSERT_TRUE(Convert(wkt, inRadians));
    EXPECT_DOUBLE_EQ(Params(inRadians).lon0, 0.1 * 180.0 / 3.141592653589793);
}

// A definition read keeps the system's warp; a failed one changes nothing (the cases below
// check the name and projection of an untouched system).
TEST(WktConvert, KeepsTheWarp) {
    gcs::GCSDef def;
    gcs::WarpDef warp;
    warp.SetMethod(gcs::WarpMethod::Coefficients);
    warp.SetCoefficients(30, 0, 500000, 0, -30, 4000000);
    def.SetWarp(&warp);
    ASSERT_TRUE(Convert(kUtm, def));
    ASSERT_TRUE(def.HasWarp());
    EXPECT_EQ(*def.GetWarp(), warp);
    const gcs::GCSDef before = def;
    std::wstring message;
    EXPECT_FALSE(gcsfile::ConvertWktToGCSDef(std::string("PROJCS[\"broken\""), def, &message));
    EXPECT_TRUE(def.Compare(before, false, nullptr));
    EXPECT_TRUE(gcsfile::ConvertWktToGCSDef(shr::AtoW(kUtm), def, &message));
    EXPECT_TRUE(message.empty());
}

TEST(WktConvert, MalformedOrUnsupportedTextIsReported) {
    const std::string wgs = "SPHEROID[\"WGS_1984\",6378137.0,298.257223563]";
    const struct {
        const char *name;
        std::string wkt;
        const wchar_t *expectedWords;
    } cases[] = {
        {"unterminated text", "GEOGCS[\"g", L"unterminated quoted text"},
        {"bad number", Projcs("Mercator", "PARAMETER[\"x\",1.2.3]"), L"invalid number"},
        {"text after", Geogcs() + "]", L"unexpected text after"},
        {"too deep", Nested(40), L"nesting too deep"},
        {"too long", "GEOGCS[\"" + std::string(gcsfile::kMaxWktLength, 'x') + "\"]",
         L"characters long"},
        {"vertical", "VERT_CS[\"h\",VERT_DATUM[\"v\",2005]]", L"not a horizontal"},
        {"five TOWGS84 values",
         Geogcs("UNIT[\"Degree\",0.01745]", "DATUM[\"d\"," + wgs + ",TOWGS84[1,2,3,4,5]]"),
         L"3 or 7"},
        {"unknown projection", Projcs("Stereographic", ""), L"\"Stereographic\" is not supported"},
        {"unknown parameter", Projcs("Mercator", "PARAMETER[\"Zone width\",6]"),
         L"\"Zone width\" is not understood"},
        {"latitude beyond the pole", Projcs("Mercator", "PARAMETER[\"standard_parallel_1\",95]"),
         L"refused"},
        {"skewed ESRI LCC 1SP",
         Projcs("Lambert_Conformal_Conic", "PARAMETER[\"Standard_Parallel_1\",45],"
                                           "PARAMETER[\"Latitude_Of_Origin\",40]"),
         L"standard parallel away"},
        {"scaled axes", Projcs("Mercator", "PARAMETER[\"X_Scale\",2]"), L"X_Scale"},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        gcs::GCSDef def;
        def.SetName(L"untouched");
        std::wstring message;
        EXPECT_FALSE(gcsfile::ConvertWktToGCSDef(test.wkt, def, &message));
        EXPECT_NE(message.find(test.expectedWords), std::wstring::npos) << shr::WtoA(message);
        EXPECT_EQ(def.GetName(), L"untouched");
        EXPECT_EQ(def.GetProjection(), nullptr);
    }
}
