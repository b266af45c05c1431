// Warps from tie points, pixel scale and matrices, on built files.
#include "georef/GeoTiffWarp.h"
#include "GeoTiffTestFiles.h"
#include "georef/GeoTiffStatus.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace georef;
using gcs::WarpDef;
using gcs::WarpMethod;
using georeftest::GeoTiffBuilder;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kHuge = std::numeric_limits<double>::max();

// The model tags of one image; empty ones are not written.
struct Tags {
    std::vector<double> tiePoints = {}, scale = {}, matrix = {}, intergraph = {};
};

GeoTiffBuilder Build(const Tags &t) {
    GeoTiffBuilder b;
    const std::pair<uint16_t, const std::vector<double> *> tags[] = {
        {33922, &t.tiePoints}, {33550, &t.scale}, {34264, &t.matrix}, {33920, &t.intergraph}};
    for (auto [tag, values] : tags)
        if (!values->empty())
            b.Doubles(tag, *values);
    return b;
}

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
const std::vector<double> kTie = {0, 0, 0, 500000, 4000000, 0};

std::vector<double> Matrix(size_t at, double value, size_t size = 16) {
    std::vector<double> m = kMatrix;
    m.resize(size, kNaN);
    if (at < size)
        m[at] = value;
    return m;
}

TEST(GetGeorefInfoFromGeoTIFF, TagCombinations) {
    const std::vector<double> kFromMatrix = {2, 0, 100, 0, -2, 200};
    const struct {
        const char *what;
        Tags tags;
        WarpMethod method;
        size_t points;
        std::vector<double> coefficients;
        bool flag;
    } cases[] = {
        // One case a row: what, tags, method, points, coefficients, flag.
        // clang-format off
        {"translation from an offset tie point", {{10, 20, 0, 500000, 4000000, 0}, {30, 15, 0}},
         WarpMethod::Coefficients, 1, {30, 0, 499700, 0, -15, 4000300}, true},
        {"one tie point alone", {kTie}, WarpMethod::None, 1, {}, false},
        {"pixel scale of two values is no scale", {kTie, {30, 30}}, WarpMethod::None, 1, {},
         false},
        {"a zero pixel size gives no coefficients", {kTie, {30, 0, 0}}, WarpMethod::None, 1, {},
         false},
        {"two tie points get a third", {{0, 0, 0, 10, 20, 0, 100, 50, 0, 110, 70, 0}},
         WarpMethod::Similarity, 3, {}, false},
        {"tie points of seven values are ignored", {{0, 0, 0, 10, 20, 0, 1}}, WarpMethod::None, 0,
         {}, false},
        {"the matrix", {{}, {}, kMatrix}, WarpMethod::Coefficients, 0, kFromMatrix, false},
        {"the Intergraph matrix flips the y scale", {{}, {}, {}, kMatrix},
         WarpMethod::Coefficients, 0, {2, 0, 100, 0, 2, 200}, false},
        {"17 matrix values", {{}, {}, Matrix(16, kNaN, 17)}, WarpMethod::Coefficients, 0,
         kFromMatrix, false},
        {"15 matrix values are ignored", {{}, {}, Matrix(16, 0, 15)}, WarpMethod::None, 0, {},
         false},
        {"the matrix overrides scale coefficients, points and flag stay",
         {kTie, {30, 30, 0}, kMatrix}, WarpMethod::Coefficients, 1, kFromMatrix, true},
        {"a NaN beyond m7 is ignored", {{}, {}, Matrix(8, kNaN)}, WarpMethod::Coefficients, 0,
         kFromMatrix, false},
        // clang-format on
    };
    for (const auto &c : cases) {
        const WarpResult r = Read(Build(c.tags));
        EXPECT_TRUE(r.ok) << c.what;
        EXPECT_EQ(r.warp.GetMethod(), c.method) << c.what;
        EXPECT_EQ(r.warp.GetPointCount(), c.points) << c.what;
        EXPECT_EQ(Coefficients(r.warp), c.coefficients) << c.what;
        EXPECT_EQ(r.flag, c.flag) << c.what;
    }
    // ModelTransformationTag wins; when it is unusable the Intergraph tag is not read.
    GeoTiffBuilder shorts = Build({{}, {}, {}, kMatrix});
    shorts.Shorts(34264, std::vector<uint64_t>(16, 1));
    EXPECT_EQ(Read(shorts).warp, WarpDef{});
}

TEST(GetGeorefInfoFromGeoTIFF, SimulatedThirdPoint) {
    WarpResult r = Read(Build({{0, 0, 0, 10, 20, 0, 100, 50, 0, 110, 70, 0}}));
    EXPECT_EQ(ControlPoints(r.warp),
              (Points{{{0, 0}, {10, 20}}, {{100, 50}, {110, 70}}, {{0, 50}, {10, 70}}}));
    GeoTiffSetWarpMethodByPointCount(r.warp);
    EXPECT_EQ(r.warp.GetMethod(), WarpMethod::Affine);
}

TEST(GetGeorefInfoFromGeoTIFF, NonFiniteValuesResetTheWarp) {
    const struct {
        const char *what;
        Tags tags;
    } cases[] = {
        {"NaN in the second tie point", {{0, 0, 0, 1, 2, 0, 5, 5, 0, 1, 2, kNaN}}},
        {"infinite pixel scale", {{0, 0, 0, 1, 2, 0}, {kInf, 1, 0}}},
        {"NaN pixel scale without tie points", {{}, {1, kNaN, 0}}},
        {"translation overflows", {{10, 0, 0, kHuge, 0, 0}, {-kHuge, 1, 0}}},
        {"NaN in m5 after a tie point and scale", {kTie, {30, 30, 0}, Matrix(5, kNaN)}},
        {"infinite m0 of the Intergraph matrix", {{}, {}, {}, Matrix(0, -kInf)}},
    };
    for (const auto &c : cases) {
        const WarpResult r = Read(Build(c.tags));
        EXPECT_TRUE(r.ok) << c.what;
        EXPECT_EQ(r.warp, WarpDef{}) << c.what;
        EXPECT_FALSE(r.flag) << c.what;
    }
}

TEST(GetGeorefInfoFromGeoTIFF, ImageNumbers) {
    GeoTiffBuilder builder = Build({{}, {}, kMatrix});
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

// The rebuild in linear units is compared with gdalinfo's geotransform by the peer test; what
// it skips is not.
TEST(GeoTiffRecalculateWarp, NoFinitenessTestNoThirdPointNoMatrix) {
    tiff::TiffImageRead file;
    ASSERT_TRUE(georeftest::OpenBuilt(
        file, Build({{0, 0, 0, 10, 20, 0, 100, 50, 0, kNaN, 70, 0}, {kInf, 1, 0}, kMatrix})));
    WarpDef warp;
    EXPECT_TRUE(GeoTiffRecalculateWarp(file, 1, warp, 3.0));
    ASSERT_EQ(warp.GetPointCount(), 2u);
    EXPECT_EQ(warp.GetDestinationPoint(0), (shr::Vec2d{30, 60}));
    EXPECT_TRUE(std::isnan(warp.GetDestinationPoint(1).x));
    EXPECT_EQ(warp.GetMethod(), WarpMethod::None);
    EXPECT_FALSE(warp.HasCoefficients());

    tiff::TiffImageRead other;
    ASSERT_TRUE(georeftest::OpenBuilt(other, Build({{}, {30, 30, 0}})));
    WarpDef untouched;
    EXPECT_TRUE(GeoTiffRecalculateWarp(other, 1, untouched, 3.0));
    EXPECT_EQ(untouched, WarpDef{});
    shr::ErrorRecord error;
    EXPECT_FALSE(GeoTiffRecalculateWarp(other, 2, untouched, 3.0, &error));
    EXPECT_EQ(error.code, kGeoTiffNoSuchImage);
}

} // namespace
