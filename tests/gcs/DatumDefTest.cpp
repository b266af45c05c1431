// DatumDef: method changes, parameters by id, validation and comparison.
#include <gtest/gtest.h>

#include <cmath>

#include "gcs/DatumDef.h"

namespace {

using gcs::DatumDef;
using gcs::DatumMethod;
using gcs::DatumParameterID;
using gcs::EllipsoidDef;
using ID = DatumParameterID;

const EllipsoidDef kClarke1866 = EllipsoidDef::FromMinorRadius(6378206.4, 6356583.8);

DatumDef SevenParameters() {
    DatumDef datum;
    datum.SetMethod(DatumMethod::SevenParameter, false);
    datum.SetParameter(ID::UserDefined, 1);
    datum.SetEllipsoid(kClarke1866);
    const double values[] = {-8.0, 160.0, 176.0, 0.1, -0.2, 0.3, 1.5};
    for (int i = 0; i < 7; ++i)
        EXPECT_TRUE(
            datum.SetParameter(static_cast<ID>(static_cast<int>(ID::ShiftX) + i), values[i]));
    return datum;
}

TEST(DatumDef, RefusesIdsOfTheWrongKind) {
    DatumDef datum;
    EXPECT_FALSE(datum.SetParameter(ID::Method, 2.0)); // through SetMethod only
    EXPECT_FALSE(datum.SetParameter(ID::Ellipsoid, 1.0));
    EXPECT_FALSE(datum.SetParameter(ID::UserDefined, 0.5));
    EXPECT_FALSE(datum.SetParameter(static_cast<ID>(12), 1.0));
    EXPECT_FALSE(datum.SetParameter(ID::ShiftX, kClarke1866));
    EXPECT_EQ(datum, DatumDef());
    EXPECT_TRUE(datum.SetParameter(ID::Ellipsoid, kClarke1866));
    EXPECT_EQ(datum.GetEllipsoid(), kClarke1866);
}

TEST(DatumDef, SetMethodKeepsOrClears) {
    DatumDef datum = SevenParameters();
    datum.SetPOSC(6267);
    datum.SetMethod(DatumMethod::ThreeParameter, false);
    EXPECT_EQ(datum.GetParameter(ID::ShiftX), -8.0);
    EXPECT_EQ(datum.GetPOSC(), 6267);
    datum.SetMethod(DatumMethod::EllipsoidOnly, true);
    EXPECT_EQ(datum, DatumDef(DatumMethod::EllipsoidOnly));
}

TEST(DatumDef, ValidateRefusesWhatCannotBeADatum) {
    struct Case {
        const char *what;
        void (*change)(DatumDef &);
        bool valid;
    };
    const Case cases[] = {
        {"complete", [](DatumDef &) {}, true},
        {"Paris", [](DatumDef &d) { d.SetParameter(ID::PrimeMeridian, 2.33722917); }, true},
        {"method 4", [](DatumDef &d) { d.SetMethod(DatumMethod(4), false); }, false},
        {"meridian 181", [](DatumDef &d) { d.SetParameter(ID::PrimeMeridian, 181.0); }, false},
        {"NaN shift", [](DatumDef &d) { d.SetParameter(ID::ShiftZ, NAN); }, false},
        {"infinite scale", [](DatumDef &d) { d.SetParameter(ID::Scale, INFINITY); }, false},
        {"bad ellipsoid", [](DatumDef &d) { d.SetEllipsoid(EllipsoidDef::Sphere(-1.0)); }, false},
    };
    for (const Case &c : cases) {
        DatumDef datum = SevenParameters();
        c.change(datum);
        std::wstring why;
        EXPECT_EQ(datum.Validate(&why), c.valid) << c.what;
        EXPECT_EQ(why.empty(), c.valid) << c.what;
    }
}

TEST(DatumDef, CodesDecideWhenBothHaveOne) {
    DatumDef a = SevenParameters();
    DatumDef b = SevenParameters();
    a.SetPOSC(6152);
    b.SetPOSC(6269);
    EXPECT_FALSE(a.CompareParameters(b, true)); // same values, different datums
    b.SetPOSC(6152);
    b.SetParameter(ID::ShiftX, 99.0);
    EXPECT_TRUE(a.CompareParameters(b, false)); // the code says it is the same datum
}

TEST(DatumDef, ValuesDecideOtherwise) {
    struct Case {
        const char *what;
        void (*change)(DatumDef &);
        bool approximate;
        bool exact;
    };
    const Case cases[] = {
        {"same", [](DatumDef &) {}, true, true},
        {"name and flag",
         [](DatumDef &d) {
             d.SetName(L"x");
             d.SetParameter(ID::UserDefined, 0);
         },
         true, true},
        {"half a millimetre", [](DatumDef &d) { d.SetParameter(ID::ShiftX, -7.9995); }, true,
         false},
        {"a metre", [](DatumDef &d) { d.SetParameter(ID::ShiftX, -7.0); }, false, false},
        {"rotation", [](DatumDef &d) { d.SetParameter(ID::RotationY, 0.2); }, false, false},
        {"scale", [](DatumDef &d) { d.SetParameter(ID::Scale, 1.0); }, false, false},
        {"method", [](DatumDef &d) { d.SetMethod(DatumMethod::ThreeParameter, false); }, false,
         false},
        {"ellipsoid", [](DatumDef &d) { d.SetEllipsoid(EllipsoidDef::Sphere(6371000.0)); }, false,
         false},
        {"meridian", [](DatumDef &d) { d.SetParameter(ID::PrimeMeridian, 2.0); }, false, false},
        {"one code only", [](DatumDef &d) { d.SetPOSC(6267); }, true, true},
    };
    const DatumDef base = SevenParameters();
    for (const Case &c : cases) {
        DatumDef other = SevenParameters();
        c.change(other);
        std::wstring difference;
        EXPECT_EQ(base.CompareParameters(other, true, &difference), c.approximate) << c.what;
        EXPECT_EQ(base.CompareParameters(other, false), c.exact) << c.what;
        EXPECT_EQ(difference.empty(), c.approximate) << c.what;
    }
    // A three-parameter datum ignores the rotations it does not use.
    DatumDef three = base;
    three.SetMethod(DatumMethod::ThreeParameter, false);
    DatumDef rotated = three;
    rotated.SetParameter(ID::RotationX, 5.0);
    EXPECT_TRUE(three.CompareParameters(rotated, false));
}

} // namespace
