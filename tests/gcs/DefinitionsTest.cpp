// The definitions a coordinate system is built from: what each refuses, and how comparison
// weighs values, tolerances, codes and the parameters a method does not read. Then the searches
// over the generated EPSG lists (their contents are compared with PROJ by the peer tests).
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "gcs/GCSDef.h"
#include "gcs/KnownLists.h"
#include "gcs/MethodParameters.h"
#include "gcs/UCSDef.h"

namespace {

using gcs::DatumDef;
using gcs::DatumMethod;
using gcs::DefinitionError;
using gcs::EllipsoidDef;
using gcs::GCSDef;
using gcs::GCSKnownDatumsList;
using gcs::GCSKnownEllipsoidsList;
using gcs::GCSKnownLinearUnitsList;
using gcs::GCSKnownSystemsList;
using gcs::ProjectionDef;
using gcs::ProjectionMethod;
using gcs::ProjectionParameters;
using gcs::WarpDef;
using gcs::WarpMethod;
using DID = gcs::DatumParameterID;
using ID = gcs::ProjectionParameterID;
using M = ProjectionMethod;
using PP = ProjectionParameters;
namespace Option = gcs::ProjectionOption;

const EllipsoidDef kWgs84 = EllipsoidDef::FromFlattening(6378137.0, 1 / 298.257223563);
const EllipsoidDef kClarke1866 = EllipsoidDef::FromMinorRadius(6378206.4, 6356583.8);
// GRS 1980 differs from WGS 84 by 0.1 mm in the minor radius; kMoved by 2 mm in the major.
const EllipsoidDef kGrs80 = EllipsoidDef::FromFlattening(6378137.0, 1 / 298.257222101);
const EllipsoidDef kMoved = EllipsoidDef::FromFlattening(6378137.002, 1 / 298.257223563);

// A complete transverse Mercator (or the given method on the same values).
PP UtmLike(M method = M::TransverseMercator, int32_t option = 0) {
    PP p;
    p.method = method;
    p.option = option;
    p.lon0 = -123.0;
    p.scaleFactor = 0.9996;
    p.xOrg = 500000.0;
    p.ellipsoid = kWgs84;
    return p;
}

DatumDef SevenParameters() {
    DatumDef datum;
    datum.SetMethod(DatumMethod::SevenParameter, false);
    datum.SetParameter(DID::UserDefined, 1);
    datum.SetEllipsoid(kClarke1866);
    const double values[] = {-8.0, 160.0, 176.0, 0.1, -0.2, 0.3, 1.5};
    for (int i = 0; i < 7; ++i)
        datum.SetParameter(static_cast<DID>(static_cast<int>(DID::ShiftX) + i), values[i]);
    return datum;
}

WarpDef FourCorners() {
    WarpDef warp;
    warp.SetMethod(WarpMethod::Affine);
    const shr::Vec2d pixels[] = {{0, 0}, {100, 50}, {0, 50}, {100, 0}};
    for (const shr::Vec2d &p : pixels)
        warp.AddControlPoint(p, {500000.0 + p.x * 2.0, 4000000.0 - p.y * 2.0});
    return warp;
}

TEST(ProjectionDef, ValidateRefusesWhatCannotBeAProjection) {
    const struct {
        const char *what;
        void (*change)(PP &);
        bool valid;
    } cases[] = {
        {"complete", [](PP &) {}, true},
        {"metres not given", [](PP &p) { p.linearScale = 0.0; }, true},
        {"pole", [](PP &p) { p.lat0 = -90.0; }, true},
        {"no ellipsoid", [](PP &p) { p.ellipsoid = EllipsoidDef(); }, true},
        {"method 32", [](PP &p) { p.method = M(32); }, false},
        {"method 99", [](PP &p) { p.method = M(99); }, false},
        {"infinite easting", [](PP &p) { p.xOrg = INFINITY; }, false},
        {"NaN azimuth", [](PP &p) { p.azimuth = NAN; }, false},
        {"negative unit", [](PP &p) { p.linearScale = -1.0; }, false},
        {"zero scale", [](PP &p) { p.scaleFactor = 0.0; }, false},
        {"Lat1 beyond pole", [](PP &p) { p.lat1 = 90.5; }, false},
        {"Lat2 beyond pole", [](PP &p) { p.lat2 = -91.0; }, false},
        {"unknown option bit", [](PP &p) { p.option = 0x8; }, false},
        {"south 2", [](PP &p) { p.south = 2; }, false},
        {"bad ellipsoid", [](PP &p) { p.ellipsoid = EllipsoidDef::FromFlattening(1.0, 2.0); },
         false},
    };
    for (const auto &c : cases) {
        PP p = UtmLike();
        c.change(p);
        std::wstring why;
        EXPECT_EQ(ProjectionDef(p).Validate(&why), c.valid) << c.what;
        EXPECT_EQ(why.empty(), c.valid) << c.what;
    }
}

// Both directions, with and without tolerance; a method's unread parameters never count.
TEST(ProjectionDef, CompareParameters) {
    constexpr M TM = M::TransverseMercator;
    constexpr int32_t Natural = Option::NaturalOrigin, PolarB = Option::PolarVariantB;
    const struct {
        const char *what;
        M method;
        int32_t option;
        void (*change)(PP &);
        bool approximate, exact;
        const wchar_t *named; // in the difference text
    } cases[] = {
        // clang-format off
        {"same", TM, 0, [](PP &) {}, true, true, L""},
        {"unit 0 is metres", TM, 0, [](PP &p) { p.linearScale = 0.0; }, true, true, L""},
        {"half a millimetre", TM, 0, [](PP &p) { p.xOrg += 0.0005; }, true, false, L""},
        {"two millimetres", TM, 0, [](PP &p) { p.yOrg += 0.002; }, false, false, L"northing"},
        {"across the seam", TM, 0, [](PP &p) { p.lon0 += 360.0; }, true, false, L""},
        {"Lat0", TM, 0, [](PP &p) { p.lat0 = 1e-8; }, false, false, L"Lat0"},
        {"feet", TM, 0, [](PP &p) { p.linearScale = 3.280839895013123; },
         false, false, L"linear scale"},
        {"method", TM, 0, [](PP &p) { p.method = M::UTM; }, false, false, L"method"},
        {"option bit it ignores", TM, 0, [](PP &p) { p.option = 0x200; }, true, true, L""},
        {"names only", TM, 0, [](PP &p) { p.ellipsoid.SetName(L"named"); }, true, true, L""},
        {"no ellipsoid", TM, 0, [](PP &p) { p.ellipsoid = EllipsoidDef(); },
         false, false, L"ellipsoid"},
        {"GRS 1980", TM, 0, [](PP &p) { p.ellipsoid = kGrs80; }, true, false, L""},
        {"2 mm on the major axis", TM, 0, [](PP &p) { p.ellipsoid = kMoved; },
         false, false, L"ellipsoid"},
        {"TM south", TM, 0, [](PP &p) { p.south = 1; }, true, true, L""},
        {"TM spherical bit", TM, 0, [](PP &p) { p.option = Option::Spherical; }, true, true, L""},
        {"UTM south", M::UTM, 0, [](PP &p) { p.south = 1; }, false, false, L""},
        {"LAEA Lat1", M::LambertAzimuthalEqualArea, 0, [](PP &p) { p.lat1 = 52; }, true, true, L""},
        {"LAEA Lat0", M::LambertAzimuthalEqualArea, 0, [](PP &p) { p.lat0 = 52; },
         false, false, L""},
        {"Hotine Lon1", M::HotineObliqueMercator, Natural, [](PP &p) { p.lon1 = 7.4; },
         true, true, L""},
        {"Hotine grid angle", M::HotineObliqueMercator, Natural, [](PP &p) { p.gridAngle = 90; },
         false, false, L""},
        {"Hotine origin form", M::HotineObliqueMercator, Natural, [](PP &p) { p.option = 0; },
         false, false, L""},
        {"two-point Lon2", M::HotineObliqueMercatorTwoPoint, 0, [](PP &p) { p.lon2 = 10; },
         false, false, L""},
        {"oblique stereographic Lat1", M::Stereographic, 0, [](PP &p) { p.lat1 = 70; },
         true, true, L""},
        {"oblique stereographic scale", M::Stereographic, 0, [](PP &p) { p.scaleFactor = 0.9999; },
         false, false, L""},
        {"polar B Lat1", M::Stereographic, PolarB, [](PP &p) { p.lat1 = 70; }, false, false, L""},
        {"polar B scale", M::Stereographic, PolarB, [](PP &p) { p.scaleFactor = 0.9999; }, true,
         true, L""},
        {"Mercator spherical bit", M::Mercator, 0, [](PP &p) { p.option = Option::Spherical; },
         false, false, L""},
        {"Mercator Lat1", M::Mercator, 0, [](PP &p) { p.lat1 = 41; }, false, false, L""},
        {"Robinson Lat0", M::Robinson, 0, [](PP &p) { p.lat0 = 10; }, true, true, L""},
        {"Colombia height", M::ColombiaUrban, 0, [](PP &p) { p.height = 2550; }, false, false, L""},
        {"geographic ellipsoid", M::Geographic, 0, [](PP &p) { p.ellipsoid = EllipsoidDef(); },
         true, true, L""},
        {"geographic grads", M::Geographic, 0, [](PP &p) { p.linearScale = 400.0 / 360.0; },
         true, true, L""},
        {"planar ellipsoid", M::Planar, 0, [](PP &p) { p.ellipsoid = EllipsoidDef(); },
         true, true, L""},
        {"planar false easting", M::Planar, 0, [](PP &p) { p.xOrg = 1; }, false, false, L""},
        {"unknown Lon2", M::Unknown, 0, [](PP &p) { p.lon2 = 1; }, false, false, L""},
        // clang-format on
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        PP p = UtmLike(c.method, c.option);
        const ProjectionDef base(p);
        c.change(p);
        const ProjectionDef other(p);
        std::wstring difference;
        EXPECT_EQ(base.CompareParameters(other, true, &difference), c.approximate);
        EXPECT_EQ(base.CompareParameters(other, false), c.exact);
        EXPECT_EQ(other.CompareParameters(base, true), c.approximate) << "reversed";
        EXPECT_EQ(other.CompareParameters(base, false), c.exact) << "reversed";
        EXPECT_EQ(difference.empty(), c.approximate);
        if (!c.approximate) {
            EXPECT_NE(difference.find(c.named), std::wstring::npos);
        }
    }
}

TEST(DatumDef, ValidateRefusesWhatCannotBeADatum) {
    const struct {
        const char *what;
        void (*change)(DatumDef &);
        bool valid;
    } cases[] = {
        {"complete", [](DatumDef &) {}, true},
        {"Paris", [](DatumDef &d) { d.SetParameter(DID::PrimeMeridian, 2.33722917); }, true},
        {"method 4", [](DatumDef &d) { d.SetMethod(DatumMethod(4), false); }, false},
        {"meridian 181", [](DatumDef &d) { d.SetParameter(DID::PrimeMeridian, 181.0); }, false},
        {"NaN shift", [](DatumDef &d) { d.SetParameter(DID::ShiftZ, NAN); }, false},
        {"infinite scale", [](DatumDef &d) { d.SetParameter(DID::Scale, INFINITY); }, false},
        {"bad ellipsoid", [](DatumDef &d) { d.SetEllipsoid(EllipsoidDef::Sphere(-1.0)); }, false},
    };
    for (const auto &c : cases) {
        DatumDef datum = SevenParameters();
        c.change(datum);
        std::wstring why;
        EXPECT_EQ(datum.Validate(&why), c.valid) << c.what;
        EXPECT_EQ(why.empty(), c.valid) << c.what;
    }
}

// Codes decide when both have one; values otherwise.
TEST(DatumDef, CompareParameters) {
    const struct {
        const char *what;
        void (*change)(DatumDef &);
        bool approximate, exact;
    } cases[] = {
        {"same", [](DatumDef &) {}, true, true},
        {"name and flag",
         [](DatumDef &d) {
             d.SetName(L"x");
             d.SetParameter(DID::UserDefined, 0);
         },
         true, true},
        {"half a millimetre", [](DatumDef &d) { d.SetParameter(DID::ShiftX, -7.9995); }, true,
         false},
        {"a metre", [](DatumDef &d) { d.SetParameter(DID::ShiftX, -7.0); }, false, false},
        {"rotation", [](DatumDef &d) { d.SetParameter(DID::RotationY, 0.2); }, false, false},
        {"scale", [](DatumDef &d) { d.SetParameter(DID::Scale, 1.0); }, false, false},
        {"method", [](DatumDef &d) { d.SetMethod(DatumMethod::ThreeParameter, false); }, false,
         false},
        {"ellipsoid", [](DatumDef &d) { d.SetEllipsoid(EllipsoidDef::Sphere(6371000.0)); }, false,
         false},
        {"meridian", [](DatumDef &d) { d.SetParameter(DID::PrimeMeridian, 2.0); }, false, false},
        {"one code only", [](DatumDef &d) { d.SetPOSC(6267); }, true, true},
    };
    const DatumDef base = SevenParameters();
    for (const auto &c : cases) {
        DatumDef other = SevenParameters();
        c.change(other);
        std::wstring difference;
        EXPECT_EQ(base.CompareParameters(other, true, &difference), c.approximate) << c.what;
        EXPECT_EQ(base.CompareParameters(other, false), c.exact) << c.what;
        EXPECT_EQ(difference.empty(), c.approximate) << c.what;
    }
    DatumDef a = SevenParameters(), b = SevenParameters();
    a.SetPOSC(6152);
    b.SetPOSC(6269);
    EXPECT_FALSE(a.CompareParameters(b, true)); // same values, different datums
    b.SetPOSC(6152);
    b.SetParameter(DID::ShiftX, 99.0);
    EXPECT_TRUE(a.CompareParameters(b, false)); // the code says it is the same datum
    // A three-parameter datum ignores the rotations it does not use; changing the method
    // without clearing keeps the shifts.
    DatumDef three = base;
    three.SetMethod(DatumMethod::ThreeParameter, false);
    EXPECT_EQ(three.GetParameter(DID::ShiftX), -8.0);
    DatumDef rotated = three;
    rotated.SetParameter(DID::RotationX, 5.0);
    EXPECT_TRUE(three.CompareParameters(rotated, false));
}

TEST(GCSDef, PresenceFollowsWhatIsKnown) {
    const struct {
        const char *what;
        M method;
        bool ellipsoid;
        bool any, complete, map; // HasProjection(false,false), (true,false), (false,true)
    } cases[] = {
        {"none", M::Unknown, false, false, false, false},
        {"UTM", M::UTM, true, true, true, true},
        {"UTM without ellipsoid", M::UTM, false, true, false, true},
        {"geographic", M::Geographic, true, true, true, false},
        {"planar", M::Planar, false, true, true, true},
    };
    for (const auto &c : cases) {
        GCSDef system;
        ProjectionDef projection(c.method);
        if (c.ellipsoid)
            projection.SetEllipsoid(kWgs84);
        system.SetProjection(&projection);
        EXPECT_EQ(system.HasProjection(false, false), c.any) << c.what;
        EXPECT_EQ(system.HasProjection(true, false), c.complete) << c.what;
        EXPECT_EQ(system.HasProjection(false, true), c.map) << c.what;
    }
    GCSDef system;
    const DatumDef bare(DatumMethod::ThreeParameter);
    system.SetDatum(&bare);
    EXPECT_TRUE(system.HasDatum(false));
    EXPECT_FALSE(system.HasDatum(true));
}

TEST(GCSDef, RefusedPiecesLeaveTheDefinitionAsItWas) {
    GCSDef system;
    const ProjectionDef good(UtmLike(M::Mercator));
    DatumDef goodDatum(DatumMethod::EllipsoidOnly);
    goodDatum.SetEllipsoid(kWgs84);
    system.SetProjection(&good);
    system.SetDatum(&goodDatum);
    const GCSDef before = system;

    ProjectionDef bad = good;
    bad.SetParameter(gcs::ProjectionParameterID::Lat0, 95.0);
    EXPECT_THROW(system.SetProjection(&bad), DefinitionError);
    DatumDef badDatum = goodDatum;
    badDatum.SetParameter(DID::ShiftX, NAN);
    try {
        system.SetDatum(&badDatum);
        FAIL() << "a datum with a NaN shift was taken";
    } catch (const DefinitionError &error) {
        EXPECT_NE(error.Message().find(L"not finite"), std::wstring::npos);
        EXPECT_NE(std::string(error.what()).find("datum refused"), std::string::npos);
    }
    const struct {
        const char *what;
        void (*change)(WarpDef &);
    } badWarps[] = {
        {"too few for polynomial", [](WarpDef &w) { w.SetMethod(WarpMethod::Polynomial2); }},
        {"unpaired point",
         [](WarpDef &w) {
             w.AddSourcePoint({1, 1});
         }},
        {"NaN point",
         [](WarpDef &w) {
             w.AddControlPoint({1, 2}, {NAN, 0});
         }},
        {"method 1", [](WarpDef &w) { w.SetMethod(static_cast<WarpMethod>(1)); }},
        {"coefficients missing", [](WarpDef &w) { w.SetMethod(WarpMethod::Coefficients); }},
    };
    for (const auto &c : badWarps) {
        WarpDef warp = FourCorners();
        c.change(warp);
        std::wstring why;
        EXPECT_FALSE(gcs::CSDef::ValidateWarp(warp, &why)) << c.what;
        EXPECT_FALSE(why.empty()) << c.what;
        EXPECT_THROW(system.SetWarp(&warp), DefinitionError) << c.what;
        EXPECT_FALSE(system.HasWarp()) << c.what;
    }
    EXPECT_EQ(*system.GetProjection(), *before.GetProjection());
    EXPECT_EQ(*system.GetDatum(), *before.GetDatum());
    WarpDef warp = FourCorners();
    warp.SetMethod(WarpMethod::Projective); // four points are enough
    system.SetWarp(&warp);
    EXPECT_EQ(*system.GetWarp(), warp);
    const WarpDef none;
    system.SetWarp(&none); // method None removes
    EXPECT_EQ(system.GetWarp(), nullptr);
}

TEST(GCSDef, CompareLooksAtTheDefinitionNotTheIdentity) {
    GCSDef a;
    const ProjectionDef projection(UtmLike(M::LambertConformalConic2SP));
    DatumDef datum(DatumMethod::EllipsoidOnly);
    datum.SetEllipsoid(kWgs84);
    a.SetProjection(&projection);
    a.SetDatum(&datum);
    GCSDef b = a;
    b.SetPOSC(26943);
    b.SetName(L"NAD83 / California zone 3");
    const WarpDef warp = FourCorners();
    b.SetWarp(&warp);
    std::wstring difference;
    EXPECT_TRUE(a.Compare(b, false, &difference)) << difference.c_str();

    GCSDef withoutDatum = b;
    withoutDatum.SetDatum(nullptr);
    EXPECT_FALSE(a.Compare(withoutDatum, true, &difference));
    EXPECT_NE(difference.find(L"datum method"), std::wstring::npos);

    // An absent projection equals a set but unknown one.
    GCSDef unknown;
    const ProjectionDef nothing;
    unknown.SetProjection(&nothing);
    EXPECT_TRUE(GCSDef().Compare(unknown, false, nullptr));

    // Clones are whole and independent.
    std::unique_ptr<gcs::CSDef> clone = b.Clone();
    ASSERT_EQ(clone->GetType(), gcs::CSType::Georeferenced);
    const auto &copy = dynamic_cast<const GCSDef &>(*clone);
    EXPECT_EQ(copy.GetPOSC(), 26943);
    EXPECT_EQ(copy.GetName(), b.GetName());
    b.SetWarp(nullptr);
    EXPECT_EQ(*copy.GetWarp(), warp);
    gcs::UCSDef unreferenced;
    unreferenced.SetWarp(copy.GetWarp());
    EXPECT_EQ(unreferenced.Clone()->GetType(), gcs::CSType::Unreferenced);
    EXPECT_EQ(*unreferenced.Clone()->GetWarp(), warp);
}

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
        for (ID id :
             {ID::LinearScale, ID::XOrg, ID::YOrg, ID::Lon0, ID::Lon1, ID::Lon2, ID::Lat0, ID::Lat1,
              ID::Lat2, ID::ScaleFactor, ID::Azimuth, ID::South, ID::GridAngle, ID::Height}) {
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
