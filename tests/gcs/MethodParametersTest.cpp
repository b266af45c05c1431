// What each projection method reads, how that shapes comparison, and which of several equal
// predefined systems a search answers.
#include <gtest/gtest.h>

#include "gcs/KnownLists.h"
#include "gcs/MethodParameters.h"

namespace {

using gcs::EllipsoidDef;
using gcs::GCSKnownSystemsList;
using gcs::ProjectionDef;
using gcs::ProjectionMethod;
using gcs::ProjectionParameters;
using ID = gcs::ProjectionParameterID;
namespace Option = gcs::ProjectionOption;

constexpr ID kNumericIds[] = {ID::LinearScale, ID::XOrg,  ID::YOrg,      ID::Lon0,  ID::Lon1,
                              ID::Lon2,        ID::Lat0,  ID::Lat1,      ID::Lat2,  ID::ScaleFactor,
                              ID::Azimuth,     ID::South, ID::GridAngle, ID::Height};

// A value EPSG gives that the method's table leaves out would be ignored by comparisons.
TEST(MethodParameters, EveryValueTheListHoldsIsOneItsMethodReads) {
    const ProjectionParameters defaults;
    int checked = 0;
    for (int i = GCSKnownSystemsList.First(); i <= GCSKnownSystemsList.Last(); ++i) {
        const ProjectionParameters &p =
            GCSKnownSystemsList.GetSystem(i)->GetProjection()->GetParameters();
        for (ID id : kNumericIds) {
            // A geographic system's LinearScale is its axis unit, held but not compared.
            if (p.method == ProjectionMethod::Geographic && id == ID::LinearScale)
                continue;
            if (!gcs::MethodUsesParameter(p.method, p.option, id)) {
                EXPECT_EQ(p.Get(id), defaults.Get(id)) << "EPSG:" << GCSKnownSystemsList.EnumPOSC(i)
                                                       << " parameter " << static_cast<int>(id);
            }
        }
        EXPECT_EQ(p.option & ~gcs::MethodOptionBits(p.method), 0)
            << "EPSG:" << GCSKnownSystemsList.EnumPOSC(i);
        ++checked;
    }
    EXPECT_GT(checked, 6000);
}

TEST(MethodParameters, ComparisonSkipsWhatTheMethodDoesNotRead) {
    struct Case {
        const char *what;
        ProjectionMethod method;
        int32_t option;
        void (*change)(ProjectionParameters &);
        bool equal;
    };
    using M = ProjectionMethod;
    const Case cases[] = {
        {"LAEA Lat1", M::LambertAzimuthalEqualArea, 0, [](ProjectionParameters &p) { p.lat1 = 52; },
         true},
        {"LAEA Lat0", M::LambertAzimuthalEqualArea, 0, [](ProjectionParameters &p) { p.lat0 = 52; },
         false},
        {"Hotine Lon1", M::HotineObliqueMercator, Option::NaturalOrigin,
         [](ProjectionParameters &p) { p.lon1 = 7.4; }, true},
        {"Hotine grid angle", M::HotineObliqueMercator, Option::NaturalOrigin,
         [](ProjectionParameters &p) { p.gridAngle = 90; }, false},
        {"Hotine origin form", M::HotineObliqueMercator, Option::NaturalOrigin,
         [](ProjectionParameters &p) { p.option = 0; }, false},
        {"two-point Lon2", M::HotineObliqueMercatorTwoPoint, 0,
         [](ProjectionParameters &p) { p.lon2 = 10; }, false},
        {"oblique stereographic Lat1", M::Stereographic, 0,
         [](ProjectionParameters &p) { p.lat1 = 70; }, true},
        {"oblique stereographic scale", M::Stereographic, 0,
         [](ProjectionParameters &p) { p.scaleFactor = 0.9999; }, false},
        {"polar B Lat1", M::Stereographic, Option::PolarVariantB,
         [](ProjectionParameters &p) { p.lat1 = 70; }, false},
        {"polar B scale", M::Stereographic, Option::PolarVariantB,
         [](ProjectionParameters &p) { p.scaleFactor = 0.9999; }, true},
        {"UTM south", M::UTM, 0, [](ProjectionParameters &p) { p.south = 1; }, false},
        {"TM south", M::TransverseMercator, 0, [](ProjectionParameters &p) { p.south = 1; }, true},
        {"TM spherical bit", M::TransverseMercator, 0,
         [](ProjectionParameters &p) { p.option = Option::Spherical; }, true},
        {"Mercator spherical bit", M::Mercator, 0,
         [](ProjectionParameters &p) { p.option = Option::Spherical; }, false},
        {"Mercator Lat1", M::Mercator, 0, [](ProjectionParameters &p) { p.lat1 = 41; }, false},
        {"Robinson Lat0", M::Robinson, 0, [](ProjectionParameters &p) { p.lat0 = 10; }, true},
        {"Colombia height", M::ColombiaUrban, 0, [](ProjectionParameters &p) { p.height = 2550; },
         false},
        {"TM ellipsoid", M::TransverseMercator, 0,
         [](ProjectionParameters &p) { p.ellipsoid = EllipsoidDef(); }, false},
        {"TM feet", M::TransverseMercator, 0,
         [](ProjectionParameters &p) { p.linearScale = 3.280839895013123; }, false},
        {"geographic ellipsoid", M::Geographic, 0,
         [](ProjectionParameters &p) { p.ellipsoid = EllipsoidDef(); }, true},
        {"geographic grads", M::Geographic, 0,
         [](ProjectionParameters &p) { p.linearScale = 400.0 / 360.0; }, true},
        {"planar ellipsoid", M::Planar, 0,
         [](ProjectionParameters &p) { p.ellipsoid = EllipsoidDef(); }, true},
        {"planar false easting", M::Planar, 0, [](ProjectionParameters &p) { p.xOrg = 1; }, false},
        {"unknown Lon2", M::Unknown, 0, [](ProjectionParameters &p) { p.lon2 = 1; }, false},
    };
    for (const Case &c : cases) {
        ProjectionParameters p;
        p.method = c.method;
        p.option = c.option;
        p.ellipsoid = EllipsoidDef::FromFlattening(6378137.0, 1 / 298.257223563);
        const ProjectionDef base(p);
        c.change(p);
        const ProjectionDef changed(p);
        EXPECT_EQ(base.CompareParameters(changed, true), c.equal) << c.what;
        EXPECT_EQ(changed.CompareParameters(base, false), c.equal) << c.what << " (reversed)";
    }
}

// Pairs of predefined systems with equal definitions: the code a definition was built from
// is the answer, not the first equal entry.
TEST(MethodParameters, FindSystemPrefersTheCodeItWasBuiltFrom) {
    struct Case {
        int32_t code;
        int32_t lowerEqual; // an equal entry earlier in the list
    };
    const Case cases[] = {
        {25832, 3044},  // ETRS89 / UTM zone 32N, and the same with north-east axes
        {32635, 4037},  // WGS 84 / UTM zone 35N, and WGS 84 / TMzn35N
        {32115, 32111}, // NAD83 / New York East, and New Jersey
        {4326, 4326},   // WGS 84 itself
    };
    const gcs::CSList &list = GCSKnownSystemsList;
    for (const Case &c : cases) {
        gcs::GCSDef definition = *list.GetSystem(list.FindByPOSCNumber(c.code));
        definition.SetPOSC(0);
        const int wanted = list.FindByPOSCNumber(c.code);
        EXPECT_EQ(list.FindSystem(definition, true, false, c.code), wanted) << c.code;
        EXPECT_EQ(list.EnumPOSC(list.FindSystem(definition, true, false)), c.lowerEqual)
            << c.code << " without a preference";
        // A preferred code whose entry differs does not win.
        EXPECT_EQ(list.EnumPOSC(list.FindSystem(definition, true, false, 27700)), c.lowerEqual)
            << c.code << " preferring another system";
    }
}

} // namespace
