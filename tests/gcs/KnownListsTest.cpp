// The generated EPSG lists: findable, and the searches over them. Their contents are compared
// with PROJ by the peer tests.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "gcs/KnownLists.h"

namespace {

using gcs::GCSDef;
using gcs::GCSKnownDatumsList;
using gcs::GCSKnownEllipsoidsList;
using gcs::GCSKnownLinearUnitsList;
using gcs::GCSKnownSystemsList;

const GCSDef &System(int32_t code) {
    const int index = GCSKnownSystemsList.FindByPOSCNumber(code);
    EXPECT_NE(index, 0) << "EPSG:" << code << " is not in the list";
    return *GCSKnownSystemsList.GetSystem(index);
}

TEST(KnownLists, EverySystemIsCompleteAndFindableByItsCode) {
    ASSERT_EQ(GCSKnownSystemsList.First(), 1);
    EXPECT_EQ(GCSKnownSystemsList.GetType(0), gcs::CSType::Unknown);
    EXPECT_EQ(GCSKnownSystemsList.GetSystem(GCSKnownSystemsList.Last() + 1), nullptr);
    EXPECT_EQ(GCSKnownSystemsList.GetSystem(-1), nullptr);
    for (int i = GCSKnownSystemsList.First(); i <= GCSKnownSystemsList.Last(); ++i) {
        const GCSDef &system = *GCSKnownSystemsList.GetSystem(i);
        const int32_t code = system.GetPOSC();
        SCOPED_TRACE("EPSG:" + std::to_string(code));
        ASSERT_EQ(GCSKnownSystemsList.GetType(i), gcs::CSType::Georeferenced);
        ASSERT_EQ(GCSKnownSystemsList.EnumPOSC(i), code);
        ASSERT_EQ(GCSKnownSystemsList.FindByPOSCNumber(code), i);
        ASSERT_TRUE(system.HasProjection(true, false));
        ASSERT_TRUE(system.HasDatum(true));
        ASSERT_TRUE(system.GetProjection()->Validate());
        ASSERT_EQ(system.GetProjection()->GetEllipsoid(), system.GetDatum()->GetEllipsoid());
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

// Searches by name and token; the values themselves are compared with PROJ by the peer tests.
TEST(KnownLists, DatumsAndEllipsoidsByNameAndToken) {
    EXPECT_EQ(GCSKnownDatumsList.FindByName(L"North American Datum 1983"),
              GCSKnownDatumsList.FindByPOSCNumber(6269));
    EXPECT_TRUE(GCSKnownDatumsList.GetDatum(0)->IsUnknown());
    EXPECT_TRUE(GCSKnownDatumsList.GetDatum(1)->IsUserDefined());

    const int clarke = GCSKnownEllipsoidsList.FindByToken("ELLIPSOID_CLARKE_1866");
    ASSERT_GE(clarke, GCSKnownEllipsoidsList.First());
    EXPECT_EQ(GCSKnownEllipsoidsList.EnumPOSC(clarke), 7008);
    EXPECT_EQ(GCSKnownEllipsoidsList.FindByToken(L"ellipsoid_clarke_1866"), clarke);
    EXPECT_EQ(GCSKnownEllipsoidsList.FindByToken("ELLIPSOID_CLARKE"), -1);
    // Two EPSG ellipsoids share a name; the current one keeps the plain token.
    EXPECT_EQ(GCSKnownEllipsoidsList.EnumPOSC(
                  GCSKnownEllipsoidsList.FindByToken("ELLIPSOID_GRS_1980_AUTHALIC_SPHERE")),
              7048);
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
