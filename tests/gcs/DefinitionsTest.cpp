// The definitions a coordinate system is built from: what each refuses, and how comparison
// weighs values, tolerances, codes and the parameters a method does not read. Then the searches
// over the generated EPSG lists (their contents are compared with PROJ by the peer tests).
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "gcs/GCSDef.h"
#include "gcs/KnownLists.h"
#include "gcs/MethodParameters.h"

namespace {

using namespace gcs;
using DD = DatumDef;
using DID = gcs::DatumParameterID;
using ID = gcs::ProjectionParameterID;
using M = ProjectionMethod;
using PP = ProjectionParameters;
namespace Option = ProjectionOption;

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

DatumDef Wgs84Datum() {
    DatumDef datum(DatumMethod::EllipsoidOnly);
    datum.SetEllipsoid(kWgs84);
    return datum;
}

// A system of `projection` on the WGS 84 datum.
GCSDef SystemOf(const ProjectionDef &projection) {
    GCSDef system;
    const DatumDef datum = Wgs84Datum();
    system.SetProjection(&projection);
    system.SetDatum(&datum);
    return system;
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
        {"NaN azimuth", [](PP &p) { p.azimuth = NAN; }, false},
        {"unknown option bit", [](PP &p) { p.option = 0x8; }, false},
        {"bad ellipsoid", [](PP &p) { p.ellipsoid = EllipsoidDef::Sphere(-1.0); }, false},
        {"negative flattening",
         [](PP &p) { p.ellipsoid = EllipsoidDef::FromFlattening(6378137.0, -0.01); }, false},
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
    constexpr M TM = M::TransverseMercator, Merc = M::Mercator, Geo = M::Geographic;
    constexpr int32_t Natural = Option::NaturalOrigin, PolarB = Option::PolarVariantB;
    const struct {
        const char *what;
        M method;
        int32_t option;
        void (*change)(PP &);
        bool approximate, exact;
        const wchar_t *named = L""; // in the difference text
    } cases[] = {
        // clang-format off
        {"same", TM, 0, [](PP &) {}, true, true},
        {"unit 0 is metres", TM, 0, [](PP &p) { p.linearScale = 0.0; }, true, true},
        {"half a millimetre", TM, 0, [](PP &p) { p.xOrg += 0.0005; }, true, false},
        {"two millimetres", TM, 0, [](PP &p) { p.yOrg += 0.002; }, false, false, L"northing"},
        {"across the seam", TM, 0, [](PP &p) { p.lon0 += 360.0; }, true, false},
        {"Lat0", TM, 0, [](PP &p) { p.lat0 = 1e-8; }, false, false, L"Lat0"},
        {"feet", TM, 0, [](PP &p) { p.linearScale = 3.280839895013123; },
         false, false, L"linear scale"},
        {"method", TM, 0, [](PP &p) { p.method = M::UTM; }, false, false, L"method"},
        {"names only", TM, 0, [](PP &p) { p.ellipsoid.SetName(L"named"); }, true, true},
        {"no ellipsoid", TM, 0, [](PP &p) { p.ellipsoid = {}; }, false, false, L"ellipsoid"},
        {"GRS 1980", TM, 0, [](PP &p) { p.ellipsoid = kGrs80; }, true, false},
        {"major + 2 mm", TM, 0, [](PP &p) { p.ellipsoid = kMoved; }, false, false, L"ellipsoid"},
        {"TM south", TM, 0, [](PP &p) { p.south = 1; }, true, true},
        {"UTM south", M::UTM, 0, [](PP &p) { p.south = 1; }, false, false},
        {"TM spherical bit", TM, 0, [](PP &p) { p.option = Option::Spherical; }, true, true},
        {"Mercator spherical", Merc, 0, [](PP &p) { p.option = Option::Spherical; }, false, false},
        {"LAEA Lat1", M::LambertAzimuthalEqualArea, 0, [](PP &p) { p.lat1 = 52; }, true, true},
        {"Hotine Lon1", M::HotineObliqueMercator, Natural, [](PP &p) { p.lon1 = 7.4; }, true, true},
        {"oblique stere Lat1", M::Stereographic, 0, [](PP &p) { p.lat1 = 70; }, true, true},
        {"polar B Lat1", M::Stereographic, PolarB, [](PP &p) { p.lat1 = 70; }, false, false},
        {"geographic, no ellipsoid", Geo, 0, [](PP &p) { p.ellipsoid = {}; }, true, true},
        {"geographic grads", Geo, 0, [](PP &p) { p.linearScale = 400.0 / 360.0; }, true, true},
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

// Codes decide when both have one; values otherwise.
TEST(DatumDef, CompareParameters) {
    const struct {
        const char *what;
        void (*change)(DatumDef &);
        bool approximate, exact;
    } cases[] = {
        // clang-format off
        {"same", [](DD &) {}, true, true},
        {"half a millimetre", [](DD &d) { d.SetParameter(DID::ShiftX, -7.9995); }, true, false},
        {"a metre", [](DD &d) { d.SetParameter(DID::ShiftX, -7.0); }, false, false},
        {"method", [](DD &d) { d.SetMethod(DatumMethod::ThreeParameter, false); }, false, false},
        {"one code only", [](DD &d) { d.SetPOSC(6267); }, true, true},
        // clang-format on
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
    const ProjectionDef good(UtmLike(M::Mercator));
    const DatumDef goodDatum = Wgs84Datum();
    GCSDef system = SystemOf(good);
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
    WarpDef badWarp = FourCorners();
    badWarp.AddControlPoint({1, 2}, {NAN, 0});
    std::wstring why;
    EXPECT_FALSE(gcs::CSDef::ValidateWarp(badWarp, &why));
    EXPECT_FALSE(why.empty());
    EXPECT_THROW(system.SetWarp(&badWarp), DefinitionError);
    EXPECT_FALSE(system.HasWarp());
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
    const GCSDef a = SystemOf(ProjectionDef(UtmLike(M::LambertConformalConic2SP)));
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

    // A clone keeps its warp when the original drops it.
    std::unique_ptr<gcs::CSDef> clone = b.Clone();
    b.SetWarp(nullptr);
    EXPECT_EQ(*clone->GetWarp(), warp);
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
    };
    for (const auto &c : cases) {
        const int index = GCSKnownEllipsoidsList.FindByDimensions(c.major, c.flattening);
        EXPECT_EQ(index < 0 ? 0 : GCSKnownEllipsoidsList.EnumPOSC(index), c.expected)
            << c.major << " " << c.flattening;
    }
    EXPECT_EQ(GCSKnownEllipsoidsList.FindByPOSCNumber(7000), -1); // just below the first code
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
        {32115, 32111}, // NAD83 / New York East, and New Jersey
        {4326, 4326},   // WGS 84 itself
    };
    for (const auto &c : cases) {
        const int wanted = list.FindByPOSCNumber(c.code);
        GCSDef definition = *list.GetSystem(wanted);
        definition.SetPOSC(0);
        EXPECT_EQ(list.FindSystem(definition, true, false, c.code), wanted) << c.code;
        EXPECT_EQ(list.EnumPOSC(list.FindSystem(definition, true, false)), c.lowerEqual)
            << c.code << " without a preference";
        // A preferred code whose entry differs does not win.
        EXPECT_EQ(list.EnumPOSC(list.FindSystem(definition, true, false, 27700)), c.lowerEqual)
            << c.code << " preferring another system";
    }

    // The same projection in feet is another system.
    GCSDef metres = *list.GetSystem(list.FindByPOSCNumber(2227));
    metres.SetPOSC(0);
    gcs::ProjectionDef inMetres = *metres.GetProjection();
    inMetres.SetParameter(ID::LinearScale, 1.0);
    metres.SetProjection(&inMetres);
    EXPECT_EQ(list.EnumPOSC(list.FindSystem(metres, true, false)), 26943);

    // A value within tolerance is found; a real change is not.
    gcs::ProjectionDef nudged = inMetres;
    nudged.SetParameter(ID::XOrg, inMetres.GetParameters().xOrg + 1e-4);
    metres.SetProjection(&nudged);
    EXPECT_NE(list.FindSystem(metres, true, false), 0);
    nudged.SetParameter(ID::Lat0, 36.6);
    metres.SetProjection(&nudged);
    EXPECT_EQ(list.FindSystem(metres, true, false), 0);
}

} // namespace
