// The generated EPSG lists: the searches over them, and what each method reads. Their contents
// are compared with PROJ by the peer tests.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "gcs/KnownLists.h"
#include "gcs/MethodParameters.h"

namespace {

using gcs::GCSDef;
using gcs::GCSKnownDatumsList;
using gcs::GCSKnownEllipsoidsList;
using gcs::GCSKnownLinearUnitsList;
using gcs::GCSKnownSystemsList;
using gcs::ProjectionMethod;
using gcs::ProjectionParameters;
using ID = gcs::ProjectionParameterID;

TEST(KnownLists, UnknownCodesAreNotFound) {
    for (int32_t code : {0, -1, 1, 4325, 32600, 99999, 2147483647}) {
        EXPECT_EQ(GCSKnownSystemsList.FindByPOSCNumber(code), 0) << code;
        EXPECT_EQ(GCSKnownDatumsList.FindByPOSCNumber(code), -1) << code;
        EXPECT_EQ(GCSKnownEllipsoidsList.FindByPOSCNumber(code), -1) << code;
        EXPECT_EQ(GCSKnownLinearUnitsList.FindByPOSCNumber(code), -1) << code;
    }
    EXPECT_EQ(GCSKnownSystemsList.GetSystem(GCSKnownSystemsList.Last() + 1), nullptr);
    EXPECT_EQ(GCSKnownDatumsList.GetDatum(GCSKnownDatumsList.Last() + 1), nullptr);
}

TEST(KnownLists, EllipsoidsByDimensions) {
    const struct {
        double major, flattening;
        int32_t expected; // 0: not found
    } cases[] = {
        {6378137.0, 1 / 298.257223563, 7030},     // WGS 84, not GEM 10C (same figures)
        {6378137.0, 1 / 298.257222101, 7019},     // GRS 1980, not CGCS2000 (same figures)
        {6378206.4, 0.0033900753039287634, 7008}, // Clarke 1866 from its radii
        {6378206.4004, 0.0033900753039287634, 7008},
        {6378206.41, 0.0033900753039287634, 0}, // 1 cm off
        {6370997.0, 0.0, 7052},                 // the current of two equal spheres
        {6000000.0, 0.0, 0},
        {NAN, 0.0, 0},
    };
    for (const auto &c : cases) {
        const int index = GCSKnownEllipsoidsList.FindByDimensions(c.major, c.flattening);
        EXPECT_EQ(index < 0 ? 0 : GCSKnownEllipsoidsList.EnumPOSC(index), c.expected)
            << c.major << " " << c.flattening;
    }
}

// A value EPSG gives that the method's table leaves out would be ignored by comparisons.
TEST(MethodParameters, EveryValueTheListHoldsIsOneItsMethodReads) {
    const ProjectionParameters defaults;
    for (int i = GCSKnownSystemsList.First(); i <= GCSKnownSystemsList.Last(); ++i) {
        const ProjectionParameters &p =
            GCSKnownSystemsList.GetSystem(i)->GetProjection()->GetParameters();
        SCOPED_TRACE("EPSG:" + std::to_string(GCSKnownSystemsList.EnumPOSC(i)));
        for (ID id : {ID::LinearScale, ID::XOrg, ID::YOrg, ID::Lon0, ID::Lon1, ID::Lon2, ID::Lat0,
                      ID::Lat1, ID::Lat2, ID::ScaleFactor, ID::Azimuth, ID::South, ID::GridAngle,
                      ID::Height}) {
            // A geographic system's LinearScale is its axis unit, held but not compared.
            if (p.method == ProjectionMethod::Geographic && id == ID::LinearScale)
                continue;
            if (!gcs::MethodUsesParameter(p.method, p.option, id)) {
                EXPECT_EQ(p.Get(id), defaults.Get(id)) << "parameter " << static_cast<int>(id);
            }
        }
        EXPECT_EQ(p.option & ~gcs::MethodOptionBits(p.method), 0);
    }
}

// The search by value: units and tolerance matter, and of several equal entries the code a
// definition was built from is the answer, not the first equal one.
TEST(KnownLists, FindSystem) {
    const gcs::CSList &list = GCSKnownSystemsList;
    const struct {
        int32_t code;
        int32_t lowerEqual; // an equal entry earlier in the list
    } cases[] = {
        {25832, 3044},  // ETRS89 / UTM zone 32N, and the same with north-east axes
        {32635, 4037},  // WGS 84 / UTM zone 35N, and WGS 84 / TMzn35N
        {32115, 32111}, // NAD83 / New York East, and New Jersey
        {4326, 4326},   // WGS 84 itself
    };
    for (const auto &c : cases) {
        const int wanted = list.FindByPOSCNumber(c.code);
        EXPECT_EQ(list.FindSystem(*list.GetSystem(wanted), false, false), wanted) << c.code;
        GCSDef definition = *list.GetSystem(wanted);
        definition.SetPOSC(0);
        EXPECT_EQ(list.FindSystem(definition, true, false, c.code), wanted) << c.code;
        EXPECT_EQ(list.EnumPOSC(list.FindSystem(definition, true, false)), c.lowerEqual)
            << c.code << " without a preference";
        // A preferred code whose entry differs does not win.
        EXPECT_EQ(list.EnumPOSC(list.FindSystem(definition, true, false, 27700)), c.lowerEqual)
            << c.code << " preferring another system";
    }

    // The same projection in feet is another system, unless units are ignored.
    GCSDef metres = *list.GetSystem(list.FindByPOSCNumber(2227));
    metres.SetPOSC(0);
    gcs::ProjectionDef inMetres = *metres.GetProjection();
    inMetres.SetParameter(ID::LinearScale, 1.0);
    metres.SetProjection(&inMetres);
    EXPECT_EQ(list.EnumPOSC(list.FindSystem(metres, true, false)), 26943);
    EXPECT_EQ(list.EnumPOSC(list.FindSystem(metres, true, true)), 2227); // the lowest code

    // A value within tolerance is found only approximately; a real change is not found.
    gcs::ProjectionDef nudged = inMetres;
    nudged.SetParameter(ID::XOrg, inMetres.GetParameters().xOrg + 1e-4);
    metres.SetProjection(&nudged);
    EXPECT_EQ(list.FindSystem(metres, false, false), 0);
    EXPECT_NE(list.FindSystem(metres, true, false), 0);
    nudged.SetParameter(ID::Lat0, 36.6);
    metres.SetProjection(&nudged);
    EXPECT_EQ(list.FindSystem(metres, true, false), 0);
    EXPECT_EQ(list.FindSystem(GCSDef(), true, true), 0);
}

} // namespace
