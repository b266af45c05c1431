// Warps from tie points, pixel scale and matrices, on built files.
#include "georef/GeoTiffWarp.h"
#include "GeoTiffTestFiles.h"
#include "georef/GeoTiffStatus.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

using namespace georef;
using gcs::WarpDef;
using gcs::WarpMethod;
using georeftest::GeoTiffBuilder;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

struct WarpResult {
    bool ok = false;
    bool flag = true; // must be cleared on entry
    WarpDef warp;
    shr::ErrorRecord error;
};

WarpResult Read(const GeoTiffBuilder &builder, int image = 1) {
    WarpResult r;
    tiff::TiffImageRead file;
    EXPECT_TRUE(georeftest::OpenBuilt(file, builder));
    r.ok = GetGeorefInfoFromGeoTIFF(file, image, r.warp, &r.flag, &r.error);
    return r;
}

std::vector<double> Coefficients(const WarpDef &warp) {
    if (!warp.HasCoefficients())
        return {};
    const gcs::AffineCoefficients &c = warp.GetCoefficients();
    return {c.a, c.b, c.c, c.d, c.e, c.f};
}

using Points = std::vector<std::pair<shr::Vec2d, shr::Vec2d>>;

Points ControlPoints(const WarpDef &warp) {
    Points points;
    for (size_t i = 0; i < warp.GetPointCount(); ++i)
        points.emplace_back(warp.GetSourcePoint(i), warp.GetDestinationPoint(i));
    return points;
}

const std::vector<double> kMatrix = {2, 0, 0, 100, 0, -2, 0, 200, 0, 0, 0, 0, 0, 0, 0, 1};

TEST(GetGeorefInfoFromGeoTIFF, TagCombinations) {
    struct Case {
        const char *what;
        std::function<void(GeoTiffBuilder &)> tags;
        WarpMethod method;
        size_t points;
        std::vector<double> coefficients;
        bool flag;
    } cases[] = {
        {"one tie point and the pixel scale",
         [](GeoTiffBuilder &b) {
             b.Doubles(33922, {0, 0, 0, 500000, 4000000, 0});
             b.Doubles(33550, {30, 30, 0});
         },
         WarpMethod::Coefficients,
         1,
         {30, 0, 500000, 0, -30, 4000000},
         true},
        {"translation from an offset tie point",
         [](GeoTiffBuilder &b) {
             b.Doubles(33922, {10, 20, 0, 500000, 4000000, 0});
             b.Doubles(33550, {30, 15, 0});
         },
         WarpMethod::Coefficients,
         1,
         {30, 0, 499700, 0, -15, 4000300},
         true},
        {"one tie point alone",
         [](GeoTiffBuilder &b) {
             b.Doubles(33922, {0, 0, 0, 500000, 4000000, 0});
         },
         WarpMethod::None,
         1,
         {},
         false},
        {"pixel scale of two values is no scale",
         [](GeoTiffBuilder &b) {
             b.Doubles(33922, {0, 0, 0, 500000, 4000000, 0});
             b.Doubles(33550, {30, 30});
         },
         WarpMethod::None,
         1,
         {},
         false},
        {"a zero pixel size gives no coefficients",
         [](GeoTiffBuilder &b) {
             b.Doubles(33922, {0, 0, 0, 500000, 4000000, 0});
             b.Doubles(33550, {30, 0, 0});
         },
         WarpMethod::None,
         1,
         {},
         false},
        {"two tie points get a third",
         [](GeoTiffBuilder &b) {
             b.Doubles(33922, {0, 0, 0, 10, 20, 0, 100, 50, 0, 110, 70, 0});
         },
         WarpMethod::Similarity,
         3,
         {},
         false},
        {"tie points of seven values are ignored",
         [](GeoTiffBuilder &b) {
             b.Doubles(33922, {0, 0, 0, 10, 20, 0, 1});
         },
         WarpMethod::None,
         0,
         {},
         false},
        {"the matrix",
         [](GeoTiffBuilder &b) { b.Doubles(34264, kMatrix); },
         WarpMethod::Coefficients,
         0,
         {2, 0, 100, 0, -2, 200},
         false},
        {"the Intergraph matrix flips the y scale",
         [](GeoTiffBuilder &b) { b.Doubles(33920, kMatrix); },
         WarpMethod::Coefficients,
         0,
         {2, 0, 100, 0, 2, 200},
         false},
        {"17 matrix values",
         [](GeoTiffBuilder &b) {
             std::vector<double> m = kMatrix;
             m.push_back(kNaN);
             b.Doubles(34264, m);
         },
         WarpMethod::Coefficients,
         0,
         {2, 0, 100, 0, -2, 200},
         false},
        {"15 matrix values are ignored",
         [](GeoTiffBuilder &b) {
             b.Doubles(34264, std::vector<double>(kMatrix.begin(), kMatrix.end() - 1));
         },
         WarpMethod::None,
         0,
         {},
         false},
        {"ModelTransformationTag wins; when unusable the Intergraph tag is not read",
         [](GeoTiffBuilder &b) {
             b.Shorts(34264, std::vector<uint16_t>(16, 1));
             b.Doubles(33920, kMatrix);
         },
         WarpMethod::None,
         0,
         {},
         false},
        {"the matrix overrides scale coefficients, points and flag stay",
         [](GeoTiffBuilder &b) {
             b.Doubles(33922, {0, 0, 0, 500000, 4000000, 0});
             b.Doubles(33550, {30, 30, 0});
             b.Doubles(34264, kMatrix);
         },
         WarpMethod::Coefficients,
         1,
         {2, 0, 100, 0, -2, 200},
         true},
        {"a NaN beyond m7 is ignored",
         [](GeoTiffBuilder &b) {
             std::vector<double> m = kMatrix;
             m[8] = kNaN;
             b.Doubles(34264, m);
         },
         WarpMethod::Coefficients,
         0,
         {2, 0, 100, 0, -2, 200},
         false},
    };
    for (const Case &c : cases) {
        GeoTiffBuilder builder;
        c.tags(builder);
        const WarpResult r = Read(builder);
        EXPECT_TRUE(r.ok) << c.what;
        EXPECT_EQ(r.warp.GetMethod(), c.method) << c.what;
        EXPECT_EQ(r.warp.GetPointCount(), c.points) << c.what;
        EXPECT_EQ(Coefficients(r.warp), c.coefficients) << c.what;
        EXPECT_EQ(r.flag, c.flag) << c.what;
    }
}

TEST(GetGeorefInfoFromGeoTIFF, SimulatedThirdPoint) {
    GeoTiffBuilder builder;
    builder.Doubles(33922, {0, 0, 0, 10, 20, 0, 100, 50, 0, 110, 70, 0});
    WarpResult r = Read(builder);
    EXPECT_EQ(ControlPoints(r.warp),
              (Points{{{0, 0}, {10, 20}}, {{100, 50}, {110, 70}}, {{0, 50}, {10, 70}}}));
    GeoTiffSetWarpMethodByPointCount(r.warp);
    EXPECT_EQ(r.warp.GetMethod(), WarpMethod::Affine);
}

TEST(GetGeorefInfoFromGeoTIFF, NonFiniteValuesResetTheWarp) {
    const double huge = std::numeric_limits<double>::max();
    struct Case {
        const char *what;
        std::function<void(GeoTiffBuilder &)> tags;
    } cases[] = {
        {"NaN in the second tie point",
         [](GeoTiffBuilder &b) {
             b.Doubles(33922, {0, 0, 0, 1, 2, 0, 5, 5, 0, 1, 2, kNaN});
         }},
        {"infinite pixel scale",
         [](GeoTiffBuilder &b) {
             b.Doubles(33922, {0, 0, 0, 1, 2, 0});
             b.Doubles(33550, {kInf, 1, 0});
         }},
        {"NaN pixel scale without tie points",
         [](GeoTiffBuilder &b) {
             b.Doubles(33550, {1, kNaN, 0});
         }},
        {"translation overflows",
         [huge](GeoTiffBuilder &b) {
             b.Doubles(33922, {10, 0, 0, huge, 0, 0});
             b.Doubles(33550, {-huge, 1, 0});
         }},
        {"NaN in m5 after a tie point and scale",
         [](GeoTiffBuilder &b) {
             b.Doubles(33922, {0, 0, 0, 500000, 4000000, 0});
             b.Doubles(33550, {30, 30, 0});
             std::vector<double> m = kMatrix;
             m[5] = kNaN;
             b.Doubles(34264, m);
         }},
        {"infinite m0 of the Intergraph matrix",
         [](GeoTiffBuilder &b) {
             std::vector<double> m = kMatrix;
             m[0] = -kInf;
             b.Doubles(33920, m);
         }},
    };
    for (const Case &c : cases) {
        GeoTiffBuilder builder;
        c.tags(builder);
        const WarpResult r = Read(builder);
        EXPECT_TRUE(r.ok) << c.what;
        EXPECT_EQ(r.warp, WarpDef{}) << c.what;
        EXPECT_FALSE(r.flag) << c.what;
    }
}

TEST(GetGeorefInfoFromGeoTIFF, ImageNumbersAndFiles) {
    GeoTiffBuilder builder;
    builder.Doubles(34264, kMatrix);
    builder.AddImage();
    builder.Doubles(33920, kMatrix);
    EXPECT_EQ(Coefficients(Read(builder, 2).warp), (std::vector<double>{2, 0, 100, 0, 2, 200}));
    for (int image : {0, -1, 3}) {
        const WarpResult r = Read(builder, image);
        EXPECT_FALSE(r.ok) << image;
        EXPECT_FALSE(r.flag) << image;
        EXPECT_EQ(r.warp, WarpDef{}) << image;
        EXPECT_EQ(r.error.code, kGeoTiffNoSuchImage) << image;
    }
    WarpDef warp;
    EXPECT_TRUE(GetGeorefInfoFromGeoTIFF(builder.Write("warp_by_path.tif"), 1, warp));
    EXPECT_EQ(warp.GetMethod(), WarpMethod::Coefficients);
    shr::ErrorRecord error;
    EXPECT_FALSE(GetGeorefInfoFromGeoTIFF(L"no/such.tif", 1, warp, nullptr, &error));
    EXPECT_EQ(error.code, -2);
}

TEST(GeoTiffSetWarpMethodByPointCount, Thresholds) {
    const std::pair<size_t, WarpMethod> cases[] = {
        {0, WarpMethod::Coefficients}, {1, WarpMethod::Coefficients}, // fewer than 2: kept
        {2, WarpMethod::Similarity},   {3, WarpMethod::Affine},       {4, WarpMethod::Projective},
        {5, WarpMethod::Projective},   {6, WarpMethod::Polynomial2},  {9, WarpMethod::Polynomial2},
        {10, WarpMethod::Polynomial3}, {25, WarpMethod::Polynomial3},
    };
    for (auto [n, method] : cases) {
        WarpDef warp;
        warp.SetMethod(WarpMethod::Coefficients); // as left by a matrix
        for (size_t i = 0; i < n; ++i)
            warp.AddControlPoint({double(i), 0}, {0, double(i)});
        GeoTiffSetWarpMethodByPointCount(warp);
        EXPECT_EQ(warp.GetMethod(), method) << n;
    }
}

TEST(GeoTiffRecalculateWarp, ScalesTheModelCoordinates) {
    GeoTiffBuilder builder;
    builder.Doubles(33922, {10, 20, 0, 500000, 4000000, 0});
    builder.Doubles(33550, {30, 30, 0});
    tiff::TiffImageRead file;
    ASSERT_TRUE(georeftest::OpenBuilt(file, builder));
    WarpDef warp;
    EXPECT_TRUE(GeoTiffRecalculateWarp(file, 1, warp, 2.0));
    EXPECT_EQ(ControlPoints(warp), (Points{{{10, 20}, {1000000, 8000000}}}));
    EXPECT_EQ(warp.GetMethod(), WarpMethod::Coefficients);
    // The x translation is 1000000 - 30 * 10, not 2 * (500000 - 300).
    EXPECT_EQ(Coefficients(warp), (std::vector<double>{60, 0, 999700, 0, -60, 8000600}));
}

TEST(GeoTiffRecalculateWarp, NoFinitenessTestNoThirdPointNoMatrix) {
    GeoTiffBuilder builder;
    builder.Doubles(33922, {0, 0, 0, 10, 20, 0, 100, 50, 0, kNaN, 70, 0});
    builder.Doubles(33550, {kInf, 1, 0});
    builder.Doubles(34264, kMatrix);
    tiff::TiffImageRead file;
    ASSERT_TRUE(georeftest::OpenBuilt(file, builder));
    WarpDef warp;
    EXPECT_TRUE(GeoTiffRecalculateWarp(file, 1, warp, 3.0));
    ASSERT_EQ(warp.GetPointCount(), 2u);
    EXPECT_EQ(warp.GetDestinationPoint(0), (shr::Vec2d{30, 60}));
    EXPECT_TRUE(std::isnan(warp.GetDestinationPoint(1).x));
    EXPECT_EQ(warp.GetMethod(), WarpMethod::None);
    EXPECT_FALSE(warp.HasCoefficients());

    GeoTiffBuilder noTiePoints;
    noTiePoints.Doubles(33550, {30, 30, 0});
    tiff::TiffImageRead other;
    ASSERT_TRUE(georeftest::OpenBuilt(other, noTiePoints));
    WarpDef untouched;
    EXPECT_TRUE(GeoTiffRecalculateWarp(other, 1, untouched, 3.0));
    EXPECT_EQ(untouched, WarpDef{});
    shr::ErrorRecord error;
    EXPECT_FALSE(GeoTiffRecalculateWarp(other, 2, untouched, 3.0, &error));
    EXPECT_EQ(error.code, kGeoTiffNoSuchImage);
}

} // namespace
