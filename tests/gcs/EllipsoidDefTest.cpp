// EllipsoidDef: construction from dimensions, validity and comparison.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "gcs/EllipsoidDef.h"

namespace {

using gcs::EllipsoidDef;

TEST(EllipsoidDef, ComputesTheMissingDimension) {
    // Clarke 1866 is published by its radii, WGS 84 by its inverse flattening.
    const EllipsoidDef clarke = EllipsoidDef::FromMinorRadius(6378206.4, 6356583.8);
    EXPECT_NEAR(clarke.GetInverseFlattening(), 294.978698213898, 1e-9);
    const EllipsoidDef wgs84 = EllipsoidDef::FromFlattening(6378137.0, 1.0 / 298.257223563);
    EXPECT_NEAR(wgs84.GetMinorRadius(), 6356752.314245179, 1e-6);
    EXPECT_TRUE(wgs84.IsCustom());
    EXPECT_TRUE(wgs84.IsValid());
    const EllipsoidDef sphere = EllipsoidDef::Sphere(6370997.0);
    EXPECT_TRUE(sphere.IsSphere());
    EXPECT_EQ(sphere.GetMinorRadius(), 6370997.0);
    EXPECT_EQ(sphere.GetInverseFlattening(), 0.0);
}

TEST(EllipsoidDef, ValidityNamesTheProblem) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct Case {
        EllipsoidDef ellipsoid;
        bool valid;
    };
    const Case cases[] = {
        {EllipsoidDef::FromFlattening(6378137.0, 0.0), true},
        {EllipsoidDef::FromFlattening(-6378137.0, 0.0), false},
        {EllipsoidDef::FromFlattening(6378137.0, -0.01), false},
        {EllipsoidDef::FromFlattening(6378137.0, 1.0), false},
        {EllipsoidDef::FromFlattening(nan, 0.003), false},
        {EllipsoidDef::FromMinorRadius(6378137.0, 0.0), false},
        {EllipsoidDef::FromDimensions(6378137.0, 6356752.0, 0.0), false}, // disagree
        {EllipsoidDef::FromDimensions(6378137.0, 6356752.3142, 1 / 298.257223563), true},
    };
    for (const Case &c : cases) {
        std::wstring why;
        EXPECT_EQ(c.ellipsoid.IsValid(&why), c.valid) << c.ellipsoid.GetMajorRadius();
        EXPECT_EQ(why.empty(), c.valid);
    }
}

TEST(EllipsoidDef, ComparesDimensionsNotNames) {
    EllipsoidDef a = EllipsoidDef::FromFlattening(6378137.0, 1 / 298.257223563);
    EllipsoidDef b = EllipsoidDef::FromFlattening(6378137.0, 1 / 298.2572236);
    a.SetName(L"WGS 84");
    a.SetPOSC(7030);
    EXPECT_TRUE(a.CompareParameters(b, true));
    EXPECT_FALSE(a.CompareParameters(b, false));
    EXPECT_TRUE(a.CompareParameters(a, false));
    const EllipsoidDef grs80 = EllipsoidDef::FromFlattening(6378137.0, 1 / 298.257222101);
    // GRS 1980 and WGS 84 differ by 0.1 mm in the minor radius: equal within tolerance only.
    EXPECT_TRUE(a.CompareParameters(grs80, true));
    EXPECT_FALSE(a.CompareParameters(grs80, false));
    const EllipsoidDef moved = EllipsoidDef::FromFlattening(6378137.002, 1 / 298.257223563);
    EXPECT_FALSE(a.CompareParameters(moved, true));
    EXPECT_TRUE(EllipsoidDef().CompareParameters(EllipsoidDef(), false));
    EXPECT_FALSE(EllipsoidDef().CompareParameters(a, true));
}

} // namespace
