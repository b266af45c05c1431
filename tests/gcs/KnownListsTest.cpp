// The generated EPSG lists: their shape, well-known entries, and the searches over them.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "gcs/KnownLists.h"

namespace {

using gcs::GCSDef;
using gcs::GCSKnownDatumsList;
using gcs::GCSKnownEllipsoidsList;
using gcs::GCSKnownLinearUnitsList;
using gcs::GCSKnownSystemsList;
using gcs::ProjectionMethod;
namespace Option = gcs::ProjectionOption;

const GCSDef &System(int32_t code) {
    const int index = GCSKnownSystemsList.FindByPOSCNumber(code);
    EXPECT_NE(index, 0) << "EPSG:" << code << " is not in the list";
    return *GCSKnownSystemsList.GetSystem(index);
}

const gcs::ProjectionParameters &Params(int32_t code) {
    return System(code).GetProjection()->GetParameters();
}

// Counts from the generator's report ("systems<TAB>6103<TAB>...").
std::map<std::string, int> ReportCounts() {
    std::ifstream report(IOSID_EPSG_REPORT);
    std::map<std::string, int> counts;
    std::string line;
    while (std::getline(report, line) && counts.size() < 5) {
        std::istringstream fields(line);
        std::string name;
        int count = 0;
        if (std::getline(fields, name, '\t') && fields >> count)
            counts[name] = count;
    }
    return counts;
}

TEST(KnownLists, SizesAgreeWithTheGeneratorsReport) {
    std::map<std::string, int> counts = ReportCounts();
    ASSERT_EQ(counts.size(), 5u) << "cannot read " << IOSID_EPSG_REPORT;
    EXPECT_EQ(GCSKnownSystemsList.Last(), counts["systems"]);
    EXPECT_EQ(GCSKnownDatumsList.Last() - 1, counts["datums"]);
    EXPECT_EQ(GCSKnownEllipsoidsList.Last() - 1, counts["ellipsoids"]);
    EXPECT_EQ(GCSKnownLinearUnitsList.Last() + 1, counts["linear units"]);
    // Every EPSG system, not a handful.
    EXPECT_GT(counts["systems"], 6000);
    EXPECT_GT(counts["datums"], 600);
}

TEST(KnownLists, EverySystemIsCompleteAndFindableByItsCode) {
    ASSERT_EQ(GCSKnownSystemsList.First(), 1);
    EXPECT_EQ(GCSKnownSystemsList.GetType(0), gcs::CSType::Unknown);
    EXPECT_EQ(GCSKnownSystemsList.GetSystem(GCSKnownSystemsList.Last() + 1), nullptr);
    EXPECT_EQ(GCSKnownSystemsList.GetSystem(-1), nullptr);
    int32_t previous = 0;
    for (int i = GCSKnownSystemsList.First(); i <= GCSKnownSystemsList.Last(); ++i) {
        const GCSDef &system = *GCSKnownSystemsList.GetSystem(i);
        const int32_t code = system.GetPOSC();
        SCOPED_TRACE("EPSG:" + std::to_string(code));
        ASSERT_EQ(GCSKnownSystemsList.GetType(i), gcs::CSType::Georeferenced);
        ASSERT_GT(code, previous);
        previous = code;
        ASSERT_EQ(GCSKnownSystemsList.EnumPOSC(i), code);
        ASSERT_EQ(GCSKnownSystemsList.FindByPOSCNumber(code), i);
        ASSERT_TRUE(system.HasProjection(true, false));
        ASSERT_TRUE(system.HasDatum(true));
        ASSERT_FALSE(system.GetName().empty());
        ASSERT_TRUE(system.GetProjection()->Validate());
        ASSERT_EQ(system.GetProjection()->GetEllipsoid(), system.GetDatum()->GetEllipsoid());
        ASSERT_GT(system.GetProjection()->GetParameters().linearScale, 0.0);
    }
}

TEST(KnownLists, UnknownCodesAreNotFound) {
    for (int32_t code : {0, -1, 1, 4325, 32600, 99999, 2147483647}) {
        EXPECT_EQ(GCSKnownSystemsList.FindByPOSCNumber(code), 0) << code;
        EXPECT_EQ(GCSKnownDatumsList.FindByPOSCNumber(code), -1) << code;
        EXPECT_EQ(GCSKnownEllipsoidsList.FindByPOSCNumber(code), -1) << code;
        EXPECT_EQ(GCSKnownLinearUnitsList.FindByPOSCNumber(code), -1) << code;
    }
    EXPECT_EQ(GCSKnownLinearUnitsList.EnumDivider(-1), 0.0);
    EXPECT_EQ(GCSKnownLinearUnitsList.EnumPOSC(GCSKnownLinearUnitsList.Last() + 1), 0);
    EXPECT_EQ(GCSKnownDatumsList.GetDatum(GCSKnownDatumsList.Last() + 1), nullptr);
    EXPECT_EQ(GCSKnownEllipsoidsList.EnumToken(1), "");
}

// Values as EPSG publishes them (in their units), converted here by hand.
TEST(KnownLists, WellKnownProjectedSystems) {
    const auto &utm = Params(32610);
    EXPECT_EQ(utm.method, ProjectionMethod::UTM);
    EXPECT_EQ(utm.lon0, -123.0);
    EXPECT_EQ(utm.scaleFactor, 0.9996);
    EXPECT_EQ(utm.xOrg, 500000.0);
    EXPECT_EQ(utm.south, 0);
    const auto &south = Params(32733);
    EXPECT_EQ(south.method, ProjectionMethod::UTM);
    EXPECT_EQ(south.south, 1);
    EXPECT_EQ(south.lon0, 15.0);
    EXPECT_EQ(south.yOrg, 10000000.0);

    const auto &california = Params(2227); // NAD83 / California zone 3 (ftUS)
    EXPECT_EQ(california.method, ProjectionMethod::LambertConformalConic2SP);
    EXPECT_NEAR(california.lat1, 38.0 + 26.0 / 60.0, 1e-12);
    EXPECT_NEAR(california.lat2, 37.0 + 4.0 / 60.0, 1e-12);
    EXPECT_EQ(california.lat0, 36.5);
    EXPECT_EQ(california.lon0, -120.5);
    EXPECT_NEAR(california.xOrg, 2000000.0, 1e-3);
    EXPECT_NEAR(california.yOrg, 500000.0, 1e-3);
    EXPECT_NEAR(california.linearScale, 3937.0 / 1200.0, 1e-12);
    EXPECT_EQ(System(2227).GetDatum()->GetPOSC(), 6269);

    const auto &bng = Params(27700);
    EXPECT_EQ(bng.method, ProjectionMethod::TransverseMercator);
    EXPECT_EQ(bng.scaleFactor, 0.9996012717);
    EXPECT_EQ(bng.yOrg, -100000.0);
    EXPECT_EQ(bng.ellipsoid.GetPOSC(), 7001);

    const auto &lambertII = Params(27572); // grads, Paris meridian
    EXPECT_EQ(lambertII.method, ProjectionMethod::LambertConformalConic1SP);
    EXPECT_NEAR(lambertII.lat0, 46.8, 1e-12);
    EXPECT_EQ(lambertII.lon0, 0.0);
    EXPECT_NEAR(System(27572).GetDatum()->GetParameter(gcs::DatumParameterID::PrimeMeridian),
                2.33722917, 1e-12);
}

TEST(KnownLists, MethodsBeyondTheConicsAndTransverseMercators) {
    struct Case {
        int32_t code;
        ProjectionMethod method;
        int32_t option;
    };
    const Case cases[] = {
        {3857, ProjectionMethod::PseudoMercator, 0},
        {3395, ProjectionMethod::Mercator, 0},
        {3031, ProjectionMethod::Stereographic, Option::PolarVariantB},
        {5514, ProjectionMethod::Krovak, Option::NorthOrientated},
        {5515, ProjectionMethod::Krovak, Option::Modified},
        {2056, ProjectionMethod::HotineObliqueMercator, 0},
        {3035, ProjectionMethod::LambertAzimuthalEqualArea, 0},
        {27200, ProjectionMethod::NewZealandMapGrid, 0},
        {8857, ProjectionMethod::EqualEarth, 0},
        {6933, ProjectionMethod::CylindricalEqualArea, 0},
        {2048, ProjectionMethod::TransverseMercatorSouth, 0},
        {4326, ProjectionMethod::Geographic, 0},
    };
    for (const Case &c : cases) {
        const auto &p = Params(c.code);
        EXPECT_EQ(p.method, c.method) << c.code;
        EXPECT_EQ(p.option, c.option) << c.code;
    }
    EXPECT_EQ(Params(3031).lat0, -90.0); // the pole the variant B projection is centred on
    EXPECT_EQ(Params(3031).lat1, -71.0);
    EXPECT_NEAR(Params(2056).lat0, 46.0 + 57.0 / 60 + 8.66 / 3600, 1e-12);
    EXPECT_EQ(Params(2056).gridAngle, 90.0);
    EXPECT_NEAR(Params(5514).azimuth, 30.0 + 17.0 / 60 + 17.30311 / 3600, 1e-9);
    EXPECT_FALSE(System(4326).HasProjection(false, true));
}

TEST(KnownLists, DatumsEllipsoidsAndUnits) {
    const gcs::DatumDef &wgs84 =
        *GCSKnownDatumsList.GetDatum(GCSKnownDatumsList.FindByPOSCNumber(6326));
    EXPECT_EQ(wgs84.GetMethod(), gcs::DatumMethod::ThreeParameter);
    EXPECT_EQ(wgs84.GetEllipsoid().GetPOSC(), 7030);
    EXPECT_EQ(wgs84.GetParameter(gcs::DatumParameterID::ShiftX), 0.0);
    EXPECT_EQ(GCSKnownDatumsList.FindByName(L"North American Datum 1983"),
              GCSKnownDatumsList.FindByPOSCNumber(6269));
    EXPECT_TRUE(GCSKnownDatumsList.GetDatum(0)->IsUnknown());
    EXPECT_TRUE(GCSKnownDatumsList.GetDatum(1)->IsUserDefined());

    const int clarke = GCSKnownEllipsoidsList.FindByToken("ELLIPSOID_CLARKE_1866");
    ASSERT_GE(clarke, GCSKnownEllipsoidsList.First());
    EXPECT_EQ(GCSKnownEllipsoidsList.EnumPOSC(clarke), 7008);
    EXPECT_EQ(GCSKnownEllipsoidsList.GetEllipsoid(clarke)->GetMinorRadius(), 6356583.8);
    EXPECT_EQ(GCSKnownEllipsoidsList.FindByToken(L"ellipsoid_clarke_1866"), clarke);
    EXPECT_EQ(GCSKnownEllipsoidsList.FindByToken("ELLIPSOID_CLARKE"), -1);
    // Two EPSG ellipsoids share a name; the current one keeps the plain token.
    EXPECT_EQ(GCSKnownEllipsoidsList.EnumPOSC(
                  GCSKnownEllipsoidsList.FindByToken("ELLIPSOID_GRS_1980_AUTHALIC_SPHERE")),
              7048);

    const int foot = GCSKnownLinearUnitsList.FindByPOSCNumber(9002);
    EXPECT_EQ(GCSKnownLinearUnitsList.EnumDivider(foot), 3.280839895013123);
    EXPECT_EQ(GCSKnownLinearUnitsList.EnumName(foot), L"foot");
    EXPECT_EQ(GCSKnownLinearUnitsList.EnumDivider(GCSKnownLinearUnitsList.FindByPOSCNumber(9036)),
              0.001);
}

TEST(KnownLists, EllipsoidsByDimensions) {
    struct Case {
        double major, flattening;
        int32_t expected; // 0: not found
    };
    const Case cases[] = {
        {6378137.0, 1 / 298.257223563, 7030},     // WGS 84, not GEM 10C (same figures)
        {6378137.0, 1 / 298.257222101, 7019},     // GRS 1980, not CGCS2000 (same figures)
        {6378206.4, 0.0033900753039287634, 7008}, // Clarke 1866 from its radii
        {6378206.4004, 0.0033900753039287634, 7008},
        {6378206.41, 0.0033900753039287634, 0}, // 1 cm off
        {6370997.0, 0.0, 7052},                 // the current of two equal spheres
        {6378388.0, 1 / 297.0, 7022},
        {6000000.0, 0.0, 0},
        {NAN, 0.0, 0},
    };
    for (const Case &c : cases) {
        const int index = GCSKnownEllipsoidsList.FindByDimensions(c.major, c.flattening);
        EXPECT_EQ(index < 0 ? 0 : GCSKnownEllipsoidsList.EnumPOSC(index), c.expected)
            << c.major << " " << c.flattening;
    }
}

TEST(KnownLists, LinearUnitsByDivider) {
    struct Case {
        double divider, tolerance;
        int32_t expected; // 0: not found
    };
    const Case cases[] = {
        {1.0, 0.0001, 9001},
        {3.2808399, 0.0001, 9002}, // nearer the foot than the US survey foot
        {3.2808333, 0.0001, 9003},
        {1 / 1.0000135965, 1e-9, 9031}, // German legal metre, near but not the metre
        {3.29, 0.0001, 0},
        {-1.0, 0.0001, 0},
        {1.0, -1.0, 0},
        {INFINITY, 1.0, 0},
    };
    for (const Case &c : cases) {
        const int index = GCSKnownLinearUnitsList.FindByDivider(c.divider, c.tolerance);
        EXPECT_EQ(index < 0 ? 0 : GCSKnownLinearUnitsList.EnumPOSC(index), c.expected) << c.divider;
    }
}

TEST(KnownLists, FindSystemByValue) {
    // By its own code first.
    const int bng = GCSKnownSystemsList.FindByPOSCNumber(27700);
    EXPECT_EQ(GCSKnownSystemsList.FindSystem(System(27700), false, false), bng);

    // Without code: a value search, and the same projection in feet is another system.
    GCSDef feet = System(2227);
    feet.SetPOSC(0);
    EXPECT_EQ(GCSKnownSystemsList.EnumPOSC(GCSKnownSystemsList.FindSystem(feet, true, false)),
              2227);
    GCSDef metres = feet;
    gcs::ProjectionDef inMetres = *metres.GetProjection();
    inMetres.SetParameter(gcs::ProjectionParameterID::LinearScale, 1.0);
    metres.SetProjection(&inMetres);
    EXPECT_EQ(GCSKnownSystemsList.EnumPOSC(GCSKnownSystemsList.FindSystem(metres, true, false)),
              26943);
    EXPECT_EQ(GCSKnownSystemsList.EnumPOSC(GCSKnownSystemsList.FindSystem(metres, true, true)),
              2227); // units ignored: the lowest current code

    // A value within tolerance is found only approximately; a real change is not found.
    gcs::ProjectionDef nudged = inMetres;
    nudged.SetParameter(gcs::ProjectionParameterID::XOrg, inMetres.GetParameters().xOrg + 1e-4);
    metres.SetProjection(&nudged);
    EXPECT_EQ(GCSKnownSystemsList.FindSystem(metres, false, false), 0);
    EXPECT_NE(GCSKnownSystemsList.FindSystem(metres, true, false), 0);
    nudged.SetParameter(gcs::ProjectionParameterID::Lat0, 36.6);
    metres.SetProjection(&nudged);
    EXPECT_EQ(GCSKnownSystemsList.FindSystem(metres, true, false), 0);
    EXPECT_EQ(GCSKnownSystemsList.FindSystem(GCSDef(), true, true), 0);
}

} // namespace
