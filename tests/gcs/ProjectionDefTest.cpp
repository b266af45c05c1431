// ProjectionDef and ProjectionParameters: access by id, completeness, validation, comparison.
#include <gtest/gtest.h>

#include <cmath>

#include "gcs/ProjectionDef.h"

namespace {

using gcs::EllipsoidDef;
using gcs::ProjectionDef;
using gcs::ProjectionMethod;
using gcs::ProjectionParameterID;
using gcs::ProjectionParameters;
using ID = ProjectionParameterID;

const EllipsoidDef kWgs84 = EllipsoidDef::FromFlattening(6378137.0, 1 / 298.257223563);

// A complete transverse Mercator: the base that the cases below change one value of.
ProjectionParameters UtmLike() {
    ProjectionParameters p;
    p.method = ProjectionMethod::TransverseMercator;
    p.lon0 = -123.0;
    p.scaleFactor = 0.9996;
    p.xOrg = 500000.0;
    p.ellipsoid = kWgs84;
    return p;
}

TEST(ProjectionParameters, WholeNumberIdsRefuseOtherValues) {
    struct Case {
        ID id;
        double value;
        bool accepted;
    };
    const Case cases[] = {
        {ID::Method, 26.0, true},         {ID::Method, 32.0, false},
        {ID::Method, 2.5, false},         {ID::Method, -1.0, false},
        {ID::Method, 43.0, false},        {ID::South, 1.0, true},
        {ID::South, 0.5, false},          {ID::Option, 257.0, true},
        {ID::Option, NAN, false},         {ID::Ellipsoid, 1.0, false},
        {static_cast<ID>(0), 1.0, false}, {static_cast<ID>(18), 1.0, false},
    };
    for (const Case &c : cases) {
        ProjectionParameters p;
        EXPECT_EQ(p.Set(c.id, c.value), c.accepted) << static_cast<int>(c.id) << " " << c.value;
        if (c.accepted)
            EXPECT_EQ(p.Get(c.id), c.value);
        else
            EXPECT_EQ(p, ProjectionParameters());
    }
    ProjectionParameters p;
    EXPECT_EQ(p.Get(ID::Ellipsoid), 0.0);
    EXPECT_EQ(p.Get(static_cast<ID>(99)), 0.0);
}

TEST(ProjectionDef, ValidateRefusesWhatCannotBeAProjection) {
    struct Case {
        const char *what;
        void (*change)(ProjectionParameters &);
        bool valid;
    };
    const Case cases[] = {
        {"complete", [](ProjectionParameters &) {}, true},
        {"metres not given", [](ProjectionParameters &p) { p.linearScale = 0.0; }, true},
        {"pole", [](ProjectionParameters &p) { p.lat0 = -90.0; }, true},
        {"method 32", [](ProjectionParameters &p) { p.method = ProjectionMethod(32); }, false},
        {"method 99", [](ProjectionParameters &p) { p.method = ProjectionMethod(99); }, false},
        {"infinite easting", [](ProjectionParameters &p) { p.xOrg = INFINITY; }, false},
        {"NaN azimuth", [](ProjectionParameters &p) { p.azimuth = NAN; }, false},
        {"negative unit", [](ProjectionParameters &p) { p.linearScale = -1.0; }, false},
        {"zero scale", [](ProjectionParameters &p) { p.scaleFactor = 0.0; }, false},
        {"Lat1 beyond pole", [](ProjectionParameters &p) { p.lat1 = 90.5; }, false},
        {"Lat2 beyond pole", [](ProjectionParameters &p) { p.lat2 = -91.0; }, false},
        {"unknown option bit", [](ProjectionParameters &p) { p.option = 0x8; }, false},
        {"south 2", [](ProjectionParameters &p) { p.south = 2; }, false},
        {"bad ellipsoid",
         [](ProjectionParameters &p) { p.ellipsoid = EllipsoidDef::FromFlattening(1.0, 2.0); },
         false},
        {"no ellipsoid", [](ProjectionParameters &p) { p.ellipsoid = EllipsoidDef(); }, true},
    };
    for (const Case &c : cases) {
        ProjectionParameters p = UtmLike();
        c.change(p);
        std::wstring why;
        EXPECT_EQ(ProjectionDef(p).Validate(&why), c.valid) << c.what;
        EXPECT_EQ(why.empty(), c.valid) << c.what;
    }
}

TEST(ProjectionDef, CompareParametersWithAndWithoutTolerance) {
    struct Case {
        const char *what;
        void (*change)(ProjectionParameters &);
        bool approximate; // equal when compared approximately
        bool exact;
        const wchar_t *named; // in the difference text
    };
    const Case cases[] = {
        {"same", [](ProjectionParameters &) {}, true, true, L""},
        {"unit 0 is metres", [](ProjectionParameters &p) { p.linearScale = 0.0; }, true, true, L""},
        {"half a millimetre", [](ProjectionParameters &p) { p.xOrg += 0.0005; }, true, false,
         L"easting"},
        {"two millimetres", [](ProjectionParameters &p) { p.yOrg += 0.002; }, false, false,
         L"northing"},
        {"across the seam", [](ProjectionParameters &p) { p.lon0 += 360.0; }, true, false, L"Lon0"},
        {"Lat0", [](ProjectionParameters &p) { p.lat0 = 1e-8; }, false, false, L"Lat0"},
        {"feet", [](ProjectionParameters &p) { p.linearScale = 3.280839895013123; }, false, false,
         L"linear scale"},
        {"method", [](ProjectionParameters &p) { p.method = ProjectionMethod::UTM; }, false, false,
         L"method"},
        {"option bit it ignores", [](ProjectionParameters &p) { p.option = 0x200; }, true, true,
         L""},
        {"ellipsoid",
         [](ProjectionParameters &p) { p.ellipsoid = EllipsoidDef::Sphere(6370997.0); }, false,
         false, L"ellipsoid"},
        {"names only", [](ProjectionParameters &p) { p.ellipsoid.SetName(L"named"); }, true, true,
         L""},
    };
    const ProjectionDef base(UtmLike());
    for (const Case &c : cases) {
        ProjectionParameters p = UtmLike();
        c.change(p);
        const ProjectionDef other(p);
        std::wstring difference;
        EXPECT_EQ(base.CompareParameters(other, true, &difference), c.approximate) << c.what;
        EXPECT_EQ(base.CompareParameters(other, false), c.exact) << c.what;
        EXPECT_EQ(other.CompareParameters(base, true), c.approximate) << c.what << " (reversed)";
        if (!c.approximate) {
            EXPECT_NE(difference.find(c.named), std::wstring::npos) << c.what;
        }
    }
}

} // namespace
