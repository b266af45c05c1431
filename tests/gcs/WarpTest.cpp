// Tests of WarpDef and WarpTransformer: exact fits at the minimum point count, known
// transforms, least squares, inverses and degenerate control points.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "gcs/WarpDef.h"
#include "gcs/WarpTransformer.h"
#include "shr/Strings.h"

using gcs::WarpDef;
using gcs::WarpMethod;
using gcs::WarpTransformer;
using shr::Vec2d;

namespace {

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

} // namespace

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
    WarpDef warp = MakeWarp(WarpMethod::Affine, pixels, Affine);
    WarpDef moved;
    moved.SetMethod(WarpMethod::Affine);
    for (size_t i = 0; i < pixels.size(); ++i) {
        Vec2d map = warp.GetDestinationPoint(i);
        if (i == 2)
            map.x += d;
        moved.AddControlPoint(pixels[i], map);
    }
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
    WarpDef two;
    two.SetMethod(WarpMethod::Similarity);
    two.AddControlPoint({0, 0}, {100, 200});
    two.AddControlPoint({10, 0}, {130, 200});
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
