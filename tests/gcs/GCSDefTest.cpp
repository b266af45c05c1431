// GCSDef and UCSDef: presence tests, refused pieces, warps, comparison and copies.
#include <gtest/gtest.h>

#include <cmath>

#include "gcs/GCSDef.h"
#include "gcs/UCSDef.h"

namespace {

using gcs::DatumDef;
using gcs::DatumMethod;
using gcs::DefinitionError;
using gcs::EllipsoidDef;
using gcs::GCSDef;
using gcs::ProjectionDef;
using gcs::ProjectionMethod;
using gcs::WarpDef;
using gcs::WarpMethod;

const EllipsoidDef kGrs80 = EllipsoidDef::FromFlattening(6378137.0, 1 / 298.257222101);

ProjectionDef Projection(ProjectionMethod method, bool withEllipsoid) {
    ProjectionDef projection(method);
    if (withEllipsoid)
        projection.SetEllipsoid(kGrs80);
    return projection;
}

DatumDef Datum(DatumMethod method, bool withEllipsoid) {
    DatumDef datum(method);
    if (withEllipsoid)
        datum.SetEllipsoid(kGrs80);
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

TEST(GCSDef, PresenceFollowsWhatIsKnown) {
    struct Case {
        const char *what;
        ProjectionMethod method; // Unknown: no projection set
        bool projectionEllipsoid;
        // HasProjection(false,false), (true,false), (false,true)
        bool any, complete, map;
    };
    const Case cases[] = {
        {"none", ProjectionMethod::Unknown, false, false, false, false},
        {"UTM", ProjectionMethod::UTM, true, true, true, true},
        {"UTM without ellipsoid", ProjectionMethod::UTM, false, true, false, true},
        {"geographic", ProjectionMethod::Geographic, true, true, true, false},
        {"planar", ProjectionMethod::Planar, false, true, true, true},
    };
    for (const Case &c : cases) {
        GCSDef system;
        const ProjectionDef projection = Projection(c.method, c.projectionEllipsoid);
        system.SetProjection(&projection);
        EXPECT_EQ(system.HasProjection(false, false), c.any) << c.what;
        EXPECT_EQ(system.HasProjection(true, false), c.complete) << c.what;
        EXPECT_EQ(system.HasProjection(false, true), c.map) << c.what;
        EXPECT_NE(system.GetProjection(), nullptr) << c.what;
    }
    GCSDef system;
    EXPECT_EQ(system.GetProjection(), nullptr);
    EXPECT_FALSE(system.HasDatum(false));
    const DatumDef bare = Datum(DatumMethod::ThreeParameter, false);
    system.SetDatum(&bare);
    EXPECT_TRUE(system.HasDatum(false));
    EXPECT_FALSE(system.HasDatum(true));
    const DatumDef full = Datum(DatumMethod::EllipsoidOnly, true);
    system.SetDatum(&full);
    EXPECT_TRUE(system.HasDatum(true));
    system.SetDatum(nullptr);
    EXPECT_EQ(system.GetDatum(), nullptr);
}

TEST(GCSDef, RefusedPiecesLeaveTheDefinitionAsItWas) {
    GCSDef system;
    const ProjectionDef good = Projection(ProjectionMethod::Mercator, true);
    const DatumDef goodDatum = Datum(DatumMethod::EllipsoidOnly, true);
    system.SetProjection(&good);
    system.SetDatum(&goodDatum);
    const GCSDef before = system;

    ProjectionDef bad = good;
    bad.SetParameter(gcs::ProjectionParameterID::Lat0, 95.0);
    EXPECT_THROW(system.SetProjection(&bad), DefinitionError);
    DatumDef badDatum = goodDatum;
    badDatum.SetParameter(gcs::DatumParameterID::ShiftX, NAN);
    try {
        system.SetDatum(&badDatum);
        FAIL() << "a datum with a NaN shift was taken";
    } catch (const DefinitionError &error) {
        EXPECT_NE(error.Message().find(L"not finite"), std::wstring::npos);
        EXPECT_NE(std::string(error.what()).find("datum refused"), std::string::npos);
    }
    EXPECT_EQ(*system.GetProjection(), *before.GetProjection());
    EXPECT_EQ(*system.GetDatum(), *before.GetDatum());
}

TEST(GCSDef, WarpsAreCheckedBeforeTheyAreTaken) {
    struct Case {
        const char *what;
        void (*change)(WarpDef &);
        bool taken;
    };
    const Case cases[] = {
        {"four corners", [](WarpDef &) {}, true},
        {"projective from four", [](WarpDef &w) { w.SetMethod(WarpMethod::Projective); }, true},
        {"too few for polynomial", [](WarpDef &w) { w.SetMethod(WarpMethod::Polynomial2); }, false},
        {"unpaired point",
         [](WarpDef &w) {
             w.AddSourcePoint({1, 1});
         },
         false},
        {"NaN point",
         [](WarpDef &w) {
             w.AddControlPoint({1, 2}, {NAN, 0});
         },
         false},
        {"method 1", [](WarpDef &w) { w.SetMethod(static_cast<WarpMethod>(1)); }, false},
        {"coefficients missing", [](WarpDef &w) { w.SetMethod(WarpMethod::Coefficients); }, false},
        {"coefficients",
         [](WarpDef &w) {
             w.SetMethod(WarpMethod::Coefficients);
             w.SetCoefficients(2, 0, 500000, 0, -2, 4000000);
         },
         true},
    };
    for (const Case &c : cases) {
        WarpDef warp = FourCorners();
        c.change(warp);
        GCSDef system;
        std::wstring why;
        EXPECT_EQ(gcs::CSDef::ValidateWarp(warp, &why), c.taken) << c.what;
        if (c.taken) {
            system.SetWarp(&warp);
            EXPECT_TRUE(system.HasWarp()) << c.what;
            EXPECT_EQ(*system.GetWarp(), warp) << c.what;
        } else {
            EXPECT_FALSE(why.empty()) << c.what;
            EXPECT_THROW(system.SetWarp(&warp), DefinitionError) << c.what;
            EXPECT_FALSE(system.HasWarp()) << c.what;
        }
    }
    GCSDef system;
    const WarpDef warp = FourCorners();
    system.SetWarp(&warp);
    const WarpDef none;
    system.SetWarp(&none); // method None removes
    EXPECT_EQ(system.GetWarp(), nullptr);
}

TEST(GCSDef, CompareLooksAtTheDefinitionNotTheIdentity) {
    GCSDef a;
    const ProjectionDef projection = Projection(ProjectionMethod::LambertConformalConic2SP, true);
    const DatumDef datum = Datum(DatumMethod::EllipsoidOnly, true);
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
    GCSDef empty;
    GCSDef unknown;
    const ProjectionDef nothing;
    unknown.SetProjection(&nothing);
    EXPECT_TRUE(empty.Compare(unknown, false, nullptr));
}

TEST(GCSDef, CopiesAndClonesAreIndependent) {
    GCSDef original;
    const ProjectionDef projection = Projection(ProjectionMethod::UTM, true);
    original.SetProjection(&projection);
    original.SetPOSC(32610);
    original.SetName(L"WGS 84 / UTM zone 10N");
    const WarpDef warp = FourCorners();
    original.SetWarp(&warp);

    std::unique_ptr<gcs::CSDef> clone = original.Clone();
    ASSERT_EQ(clone->GetType(), gcs::CSType::Georeferenced);
    const auto &copy = dynamic_cast<const GCSDef &>(*clone);
    EXPECT_EQ(copy.GetPOSC(), 32610);
    EXPECT_EQ(copy.GetName(), L"WGS 84 / UTM zone 10N");
    EXPECT_TRUE(copy.Compare(original, false, nullptr));
    original.SetWarp(nullptr);
    EXPECT_TRUE(copy.HasWarp());

    gcs::UCSDef unreferenced;
    unreferenced.SetWarp(copy.GetWarp());
    EXPECT_EQ(unreferenced.GetType(), gcs::CSType::Unreferenced);
    EXPECT_EQ(*unreferenced.Clone()->GetWarp(), warp);
}

} // namespace
