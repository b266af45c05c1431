// The coordinate-system library. The definitions a system is built from: what each refuses,
// and how comparison weighs values, tolerances, codes and the parameters a method does not
// read; the searches over the generated EPSG lists (their contents are compared with PROJ by the
// peer tests). Warps: exact fits at the minimum point count, known transforms, least squares,
// inverses and degenerate control points. The WKT 1 reader: the tree, ESRI and OGC
// definitions, units, method forms and malformed text.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "gcs/GCSDef.h"
#include "gcs/GcsFile.h"
#include "gcs/KnownLists.h"
#include "gcs/MethodParameters.h"
#include "gcs/WarpDef.h"
#include "gcs/WarpTransformer.h"
#include "gcs/WktNode.h"
#include "shr/Strings.h"

namespace {

using namespace gcs;
using DD = DatumDef;
using DID = DatumParameterID;
using ID = ProjectionParameterID;
using M = ProjectionMethod;
using PP = ProjectionParameters;
namespace Option = ProjectionOption;
using shr::Vec2d;

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

using Transform = std::function<Vec2d(const Vec2d &)>;

constexpr double kPixelSize = 30.0; // map units per pixel of the transforms below
constexpr double kMapTolerance = 1e-9 * kPixelSize;
constexpr double kPixelTolerance = 1e-9;

// Generic pixel positions in a 1000 x 800 image: no three collinear, no six on a conic,
// no ten on a cubic.
const std::vector<Vec2d> kPixels = {{12, 35},   {987, 20},  {30, 790},  {960, 770},
                                    {480, 410}, {250, 600}, {700, 150}, {820, 500},
                                    {150, 300}, {600, 700}, {333, 77},  {901, 288}};

Vec2d Affine(const Vec2d &p) {
    return {30.0 * p.x + 2.0 * p.y + 500000.0, 1.5 * p.x - 30.0 * p.y + 4000000.0};
}

// A rotation by angle and scaling by 30, mirrored when mirror is -1.
Vec2d Similarity(const Vec2d &p, double angle, double mirror) {
    const double c = 30.0 * std::cos(angle), n = 30.0 * std::sin(angle);
    return {c * p.x - mirror * n * p.y + 500000.0, n * p.x + mirror * c * p.y + 4000000.0};
}

Vec2d Projective(const Vec2d &p) {
    const double w = 1.0 + 2e-4 * p.x + 1e-4 * p.y;
    return {(30.0 * p.x + 3.0 * p.y + 500000.0) / w, (2.0 * p.x - 30.0 * p.y + 4000000.0) / w};
}

Vec2d Quadratic(const Vec2d &p) {
    const Vec2d a = Affine(p);
    return {a.x + 0.004 * p.x * p.x - 0.003 * p.x * p.y,
            a.y + 0.002 * p.y * p.y + 0.001 * p.x * p.y};
}

Vec2d Cubic(const Vec2d &p) {
    const Vec2d q = Quadratic(p);
    return {q.x + 2e-6 * p.x * p.x * p.y - 1e-6 * p.y * p.y * p.y,
            q.y + 3e-6 * p.x * p.x * p.x + 1e-6 * p.x * p.y * p.y};
}

WarpDef MakeWarp(WarpMethod method, const std::vector<Vec2d> &pixels, const Transform &map) {
    WarpDef warp;
    warp.SetMethod(method);
    for (const Vec2d &p : pixels) {
        warp.AddSourcePoint(p);
        warp.AddDestinationPoint(map(p));
    }
    return warp;
}

std::vector<Vec2d> FirstPixels(size_t count) {
    return std::vector<Vec2d>(kPixels.begin(), kPixels.begin() + static_cast<long>(count));
}

double Distance(const Vec2d &a, const Vec2d &b) { return std::hypot(a.x - b.x, a.y - b.y); }

// A grid inside the control points' hull, where fits are meant to be used.
std::vector<Vec2d> InteriorGrid() {
    std::vector<Vec2d> grid;
    for (double y = 100.0; y <= 700.0; y += 75.0)
        for (double x = 100.0; x <= 900.0; x += 87.5)
            grid.emplace_back(x, y);
    return grid;
}

struct MethodCase {
    const char *name;
    WarpMethod method;
    size_t minimumPoints;
    Transform truth; // a transform of the method's own family
};

const MethodCase kMethodCases[] = {
    {"similarity plain", WarpMethod::Similarity, 2,
     [](const Vec2d &p) { return Similarity(p, 0.5, 1); }},
    {"similarity mirrored", WarpMethod::Similarity, 2,
     [](const Vec2d &p) { return Similarity(p, 0.2, -1); }},
    {"affine", WarpMethod::Affine, 3, Affine},
    {"projective", WarpMethod::Projective, 4, Projective},
    {"second order", WarpMethod::Polynomial2, 6, Quadratic},
    {"third order", WarpMethod::Polynomial3, 10, Cubic},
};

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

// Codes decide when both have one; values otherwise. A three-parameter datum ignores the
// rotations it does not use.
TEST(DatumDef, CompareParameters) {
    constexpr DatumMethod kThree = DatumMethod::ThreeParameter;
    const struct {
        const char *what;
        void (*change)(DatumDef &base, DatumDef &other);
        bool approximate, exact;
    } cases[] = {
        // clang-format off
        {"same", [](DD &, DD &) {}, true, true},
        {"half a mm", [](DD &, DD &d) { d.SetParameter(DID::ShiftX, -7.9995); }, true, false},
        {"a metre", [](DD &, DD &d) { d.SetParameter(DID::ShiftX, -7.0); }, false, false},
        {"method", [](DD &, DD &d) { d.SetMethod(kThree, false); }, false, false},
        {"one code only", [](DD &, DD &d) { d.SetPOSC(6267); }, true, true},
        {"same values, other codes", [](DD &b, DD &d) { b.SetPOSC(6152), d.SetPOSC(6269); },
         false, false},
        {"other values, same code",
         [](DD &b, DD &d) { b.SetPOSC(6152), d.SetPOSC(6152), d.SetParameter(DID::ShiftX, 99.0); },
         true, true},
        {"three parameters, a rotation", [](DD &b, DD &d) {
             b.SetMethod(kThree, false), d.SetMethod(kThree, false);
             d.SetParameter(DID::RotationX, 5.0);
         }, true, true},
        // clang-format on
    };
    for (const auto &c : cases) {
        DatumDef base = SevenParameters(), other = SevenParameters();
        c.change(base, other);
        std::wstring difference;
        EXPECT_EQ(base.CompareParameters(other, true, &difference), c.approximate) << c.what;
        EXPECT_EQ(base.CompareParameters(other, false), c.exact) << c.what;
        EXPECT_EQ(difference.empty(), c.approximate) << c.what;
    }
    // Changing the method without clearing keeps the shifts.
    DatumDef three = SevenParameters();
    three.SetMethod(DatumMethod::ThreeParameter, false);
    EXPECT_EQ(three.GetParameter(DID::ShiftX), -8.0);
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
    GCSDef system = SystemOf(good);
    const GCSDef before = system;

    ProjectionDef bad = good;
    bad.SetParameter(ProjectionParameterID::Lat0, 95.0);
    EXPECT_THROW(system.SetProjection(&bad), DefinitionError);
    DatumDef badDatum = Wgs84Datum();
    badDatum.SetParameter(DID::ShiftX, NAN);
    try {
        system.SetDatum(&badDatum);
        FAIL() << "a datum with a NaN shift was taken";
    } catch (const DefinitionError &error) {
        EXPECT_NE(error.Message().find(L"not finite"), std::wstring::npos);
        EXPECT_NE(std::string(error.what()).find("datum refused"), std::string::npos);
    }
    WarpDef badWarp = MakeWarp(WarpMethod::Affine, FirstPixels(4), Affine);
    badWarp.AddControlPoint({1, 2}, {NAN, 0});
    std::wstring why;
    EXPECT_FALSE(CSDef::ValidateWarp(badWarp, &why));
    EXPECT_FALSE(why.empty());
    EXPECT_THROW(system.SetWarp(&badWarp), DefinitionError);
    EXPECT_FALSE(system.HasWarp());
    EXPECT_EQ(*system.GetProjection(), *before.GetProjection());
    EXPECT_EQ(*system.GetDatum(), *before.GetDatum());
    const WarpDef warp = MakeWarp(WarpMethod::Projective, FirstPixels(4), Affine); // 4 suffice
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
    const WarpDef warp = MakeWarp(WarpMethod::Affine, FirstPixels(4), Affine);
    b.SetWarp(&warp);
    std::wstring difference;
    EXPECT_TRUE(a.Compare(b, false, &difference)) << difference.c_str();

    GCSDef withoutDatum = b;
    withoutDatum.SetDatum(nullptr);
    EXPECT_FALSE(a.Compare(withoutDatum, true, &difference));
    EXPECT_NE(difference.find(L"datum method"), std::wstring::npos);

    // A clone keeps its warp when the original drops it.
    std::unique_ptr<CSDef> clone = b.Clone();
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
            if (p.method == M::Geographic && id == ID::LinearScale)
                continue;
            if (!MethodUsesParameter(p.method, p.option, id)) {
                EXPECT_EQ(p.Get(id), defaults.Get(id)) << "parameter " << static_cast<int>(id);
            }
        }
        EXPECT_EQ(p.option & ~MethodOptionBits(p.method), 0);
    }
}

// The search by value: units and tolerance matter, and of several equal entries the code a
// definition was built from is the answer, not the first equal one.
TEST(KnownLists, FindSystem) {
    const CSList &list = GCSKnownSystemsList;
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
    ProjectionDef inMetres = *metres.GetProjection();
    inMetres.SetParameter(ID::LinearScale, 1.0);
    metres.SetProjection(&inMetres);
    EXPECT_EQ(list.EnumPOSC(list.FindSystem(metres, true, false)), 26943);

    // A value within tolerance is found; a real change is not.
    ProjectionDef nudged = inMetres;
    nudged.SetParameter(ID::XOrg, inMetres.GetParameters().xOrg + 1e-4);
    metres.SetProjection(&nudged);
    EXPECT_NE(list.FindSystem(metres, true, false), 0);
    nudged.SetParameter(ID::Lat0, 36.6);
    metres.SetProjection(&nudged);
    EXPECT_EQ(list.FindSystem(metres, true, false), 0);
}

// Each method interpolates at its minimum count (arbitrary destinations: the method's
// transform plus a few pixels of disturbance); with more points of its own family it fits
// exactly, agrees with the transform between the points and inverts to the identity.
TEST(WarpTransformer, FitsAndInvertsEachMethod) {
    for (const MethodCase &test : kMethodCases) {
        SCOPED_TRACE(test.name);
        const std::vector<Vec2d> pixels = FirstPixels(test.minimumPoints);
        WarpDef disturbed;
        disturbed.SetMethod(test.method);
        for (size_t i = 0; i < pixels.size(); ++i) {
            const Vec2d map = test.truth(pixels[i]);
            const double shift = test.minimumPoints > 2 ? 40.0 * std::sin(7.0 * i) : 0.0;
            disturbed.AddControlPoint(pixels[i], {map.x + shift, map.y - 0.5 * shift});
        }
        const WarpTransformer minimum(&disturbed);
        ASSERT_TRUE(minimum.IsValid()) << shr::WtoA(minimum.GetErrorText());
        for (size_t i = 0; i < pixels.size(); ++i) {
            Vec2d p = pixels[i];
            ASSERT_TRUE(minimum.TransformForward(p));
            EXPECT_LT(Distance(p, disturbed.GetDestinationPoint(i)), kMapTolerance) << i;
        }
        EXPECT_LT(minimum.GetResidual(), kMapTolerance);

        const WarpTransformer transformer(MakeWarp(test.method, kPixels, test.truth));
        ASSERT_TRUE(transformer.IsValid()) << shr::WtoA(transformer.GetErrorText());
        EXPECT_EQ(transformer.GetMethod(), test.method);
        std::vector<Vec2d> points = InteriorGrid();
        const std::vector<Vec2d> original = points;
        ASSERT_TRUE(transformer.TransformForward(points.data(), points.size()));
        for (size_t i = 0; i < points.size(); ++i)
            EXPECT_LT(Distance(points[i], test.truth(original[i])), 1e-6 * kPixelSize) << i;
        ASSERT_TRUE(transformer.TransformInverse(points.data(), points.size()))
            << shr::WtoA(transformer.GetErrorText());
        for (size_t i = 0; i < points.size(); ++i)
            EXPECT_LT(Distance(points[i], original[i]), kPixelTolerance) << i;
    }
}

// Least squares: an affine fit over four points of which one is off by d in x equals the
// closed-form solution, which spreads the error as -d/4, +d/4, +d/4, -d/4 over a rectangle.
TEST(WarpTransformer, AffineLeastSquaresSpreadsError) {
    const double d = 8.0;
    const std::vector<Vec2d> pixels = {{0, 0}, {100, 0}, {100, 100}, {0, 100}};
    const WarpDef moved = MakeWarp(WarpMethod::Affine, pixels, [d](const Vec2d &p) {
        const Vec2d map = Affine(p);
        return p == Vec2d(100, 100) ? Vec2d(map.x + d, map.y) : map;
    });
    const WarpTransformer transformer(&moved);
    ASSERT_TRUE(transformer.IsValid());
    const double expectedShift[] = {-d / 4, d / 4, 3 * d / 4, d / 4};
    for (size_t i = 0; i < pixels.size(); ++i) {
        Vec2d p = pixels[i];
        ASSERT_TRUE(transformer.TransformForward(p));
        EXPECT_NEAR(p.x - Affine(pixels[i]).x, expectedShift[i], 1e-9) << i;
        EXPECT_NEAR(p.y - Affine(pixels[i]).y, 0.0, 1e-9) << i;
    }
    EXPECT_NEAR(transformer.GetResidual(), d / 4, 1e-9); // sqrt(4 * (d/4)^2 / 4)
}

// Two points fit both similarity forms; raster rows run down while map y runs up, so the
// mirrored one is chosen. (With more points the fit picks the form they follow.)
TEST(WarpTransformer, SimilarityChoosesOrientation) {
    const WarpDef two = MakeWarp(WarpMethod::Similarity, {{0, 0}, {10, 0}},
                                 [](const Vec2d &p) { return Vec2d(100 + 3 * p.x, 200); });
    const WarpTransformer mirrored(&two);
    Vec2d below(0, 10);
    ASSERT_TRUE(mirrored.TransformForward(below));
    EXPECT_NEAR(below.x, 100.0, 1e-9);
    EXPECT_NEAR(below.y, 170.0, 1e-9);
}

TEST(WarpTransformer, ExplicitCoefficients) {
    WarpDef warp;
    warp.SetMethod(WarpMethod::Coefficients);
    warp.SetCoefficients(30, 0.5, 500000, -0.25, -30, 4000000);
    warp.AddControlPoint({0, 0}, {1, 1}); // control points are ignored by this method
    const WarpTransformer forward(&warp);
    ASSERT_TRUE(forward.IsValid()) << shr::WtoA(forward.GetErrorText());
    Vec2d p(10, 20);
    ASSERT_TRUE(forward.TransformForward(p));
    EXPECT_DOUBLE_EQ(p.x, 30 * 10 + 0.5 * 20 + 500000);
    EXPECT_DOUBLE_EQ(p.y, -0.25 * 10 - 30 * 20 + 4000000);
    const WarpTransformer reverse(&warp, true); // map to pixel through the inverted coefficients
    Vec2d back = p;
    ASSERT_TRUE(reverse.TransformForward(back));
    EXPECT_LT(Distance(back, {10, 20}), kPixelTolerance);
    ASSERT_TRUE(forward.TransformInverse(p));
    EXPECT_LT(Distance(p, {10, 20}), kPixelTolerance);
}

// Forcing a method refits the same points with it.
TEST(WarpTransformer, ForcedMethod) {
    const WarpDef warp = MakeWarp(WarpMethod::Polynomial2, kPixels, Quadratic);
    const WarpTransformer affine(&warp, false, static_cast<int>(WarpMethod::Affine));
    ASSERT_TRUE(affine.IsValid());
    EXPECT_EQ(affine.GetMethod(), WarpMethod::Affine);
    EXPECT_GT(affine.GetResidual(), 100.0); // the quadratic terms reach hundreds of metres
}

TEST(WarpTransformer, DegenerateWarpsAreReported) {
    const auto point = [](const Vec2d &) { return Vec2d(7, 7); };
    WarpDef singular;
    singular.SetMethod(WarpMethod::Coefficients);
    singular.SetCoefficients(2, 4, 0, 1, 2, 0);
    std::vector<Vec2d> circle;
    for (int i = 0; i < 6; ++i)
        circle.emplace_back(100 * std::cos(0.6 * i), 100 * std::sin(0.6 * i));
    WarpDef unpaired = MakeWarp(WarpMethod::Affine, FirstPixels(4), Affine);
    unpaired.AddSourcePoint({1, 1});
    struct Case {
        const char *name;
        WarpDef warp;
        const wchar_t *expectedWords; // part of the error text
    };
    std::vector<Case> cases = {
        {"unpaired", unpaired, L"pair up"},
        {"repeated", MakeWarp(WarpMethod::Affine, {{0, 0}, {10, 0}, {0, 0}}, Affine),
         L"points 1 and 3"},
        {"collinear", MakeWarp(WarpMethod::Affine, {{0, 0}, {10, 10}, {25, 25}}, Affine),
         L"collinear"},
        {"projective three collinear",
         MakeWarp(WarpMethod::Projective, {{0, 0}, {50, 0}, {100, 0}, {0, 100}}, Affine),
         L"projective"},
        {"six on a conic", MakeWarp(WarpMethod::Polynomial2, circle, Affine), L"common curve"},
        {"collapsed destination", MakeWarp(WarpMethod::Affine, FirstPixels(5), point),
         L"cannot be inverted"},
        {"singular coefficients", singular, L"cannot be inverted"},
    };
    for (const MethodCase &m : kMethodCases)
        cases.push_back({m.name, MakeWarp(m.method, FirstPixels(m.minimumPoints - 1), m.truth),
                         L"needs at least"});
    for (const Case &test : cases) {
        SCOPED_TRACE(test.name);
        const WarpTransformer transformer(&test.warp);
        EXPECT_FALSE(transformer.IsValid());
        const std::wstring &error = transformer.GetErrorText();
        EXPECT_NE(error.find(test.expectedWords), std::wstring::npos) << shr::WtoA(error);
        Vec2d p(3, 4);
        EXPECT_FALSE(transformer.TransformForward(p));
        EXPECT_FALSE(transformer.TransformInverse(p));
        EXPECT_EQ(p, Vec2d(3, 4));
    }
}

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

ProjectionParameters Params(const GCSDef &def) { return def.GetProjection()->GetParameters(); }

bool Convert(const std::string &wkt, GCSDef &def) {
    std::wstring message;
    const bool ok = gcsfile::ConvertWktToGCSDef(wkt, def, &message);
    EXPECT_TRUE(ok) << shr::WtoA(message) << "\n" << wkt;
    return ok;
}

// A prime meridian other than Paris is in the GEOGCS unit: 10 grads are 9 degrees. (Paris is
// written in degrees, as GDAL and ESRI do; the peer test reads EPSG's Paris systems.)
TEST(WktConvert, PrimeMeridianInTheAngularUnit) {
    GCSDef grads;
    ASSERT_TRUE(Convert("GEOGCS[\"g\",DATUM[\"d\",SPHEROID[\"s\",6378137,298.257223563]],"
                        "PRIMEM[\"Somewhere\",10],UNIT[\"grad\",0.0157079632679489]]",
                        grads));
    EXPECT_NEAR(grads.GetDatum()->GetParameter(DatumParameterID::PrimeMeridian), 9.0, 1e-12);
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
         M::Krovak, 0, 0, 0, 0},
        {"Bonne parallel", Projcs("Bonne", "PARAMETER[\"Standard_Parallel_1\",40]"), M::Bonne, 0,
         40, 0, 0},
        {"EPSG name with spaces",
         Projcs("Lambert Conic Conformal (West Orientated)",
                "PARAMETER[\"Latitude of natural origin\",70.5]"),
         M::LambertConformalConicWest, 0, 70.5, 0, 0},
        {"ESRI Local",
         Projcs("Local", "PARAMETER[\"Scale_Factor\",1],PARAMETER[\"Azimuth\",0],"
                         "PARAMETER[\"Latitude_Of_Center\",30]"),
         M::Orthographic, 0, 30, 0, 0},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        GCSDef def;
        if (!Convert(test.wkt, def))
            continue;
        const ProjectionParameters p = Params(def);
        EXPECT_EQ(p.method, test.method);
        EXPECT_EQ(p.option, test.option);
        EXPECT_EQ(p.lat0, test.lat0);
        EXPECT_EQ(p.lat1, test.lat1);
        EXPECT_EQ(p.gridAngle, test.gridAngle);
    }
}

TEST(WktConvert, CompoundLocalAndRadians) {
    GCSDef compound;
    ASSERT_TRUE(Convert("COMPD_CS[\"c\"," + kUtm +
                            ",VERT_CS[\"h\",VERT_DATUM[\"v\",2005],UNIT[\"metre\",1]]]",
                        compound));
    EXPECT_EQ(Params(compound).scaleFactor, 0.9996);

    GCSDef local;
    ASSERT_TRUE(Convert("LOCAL_CS[\"site grid\",LOCAL_DATUM[\"x\",0],UNIT[\"foot\",0.3048],"
                        "AXIS[\"X\",EAST],AXIS[\"Y\",NORTH]]",
                        local));
    EXPECT_EQ(Params(local).method, M::Planar);
    EXPECT_EQ(Params(local).linearScale, 1.0 / 0.3048);
    EXPECT_EQ(local.GetDatum(), nullptr);

    GCSDef inRadians;
    const std::string wkt = "PROJCS[\"P\"," + Geogcs("UNIT[\"radian\",1]") +
                            ",PROJECTION[\"Transverse_Mercator\"],"
                            "PARAMETER[\"central_meridian\",0.1],UNIT[\"metre\",1]]";
    ASSERT_TRUE(Convert(wkt, inRadians));
    EXPECT_DOUBLE_EQ(Params(inRadians).lon0, 0.1 * 180.0 / 3.141592653589793);
}

// A definition read keeps the system's warp; a failed one changes nothing (the cases below
// check the name and projection of an untouched system).
TEST(WktConvert, KeepsTheWarp) {
    GCSDef def;
    const WarpDef warp = MakeWarp(WarpMethod::Affine, FirstPixels(3), Affine);
    def.SetWarp(&warp);
    ASSERT_TRUE(Convert(kUtm, def));
    ASSERT_TRUE(def.HasWarp());
    EXPECT_EQ(*def.GetWarp(), warp);
    const GCSDef before = def;
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
        GCSDef def;
        def.SetName(L"untouched");
        std::wstring message;
        EXPECT_FALSE(gcsfile::ConvertWktToGCSDef(test.wkt, def, &message));
        EXPECT_NE(message.find(test.expectedWords), std::wstring::npos) << shr::WtoA(message);
        EXPECT_EQ(def.GetName(), L"untouched");
        EXPECT_EQ(def.GetProjection(), nullptr);
    }
}
} // namespace
