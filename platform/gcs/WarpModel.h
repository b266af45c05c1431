// The fitted form of a warp: polynomial or projective coefficients over normalized points.
#pragma once
#include <array>
#include <string>
#include <vector>

#include "gcs/WarpDef.h"
#include "shr/Geometry.h"

namespace gcs {

// Maps points to and from a frame centred on the control points with unit spread, so
// that fits of map coordinates in the millions stay well conditioned.
struct PointNormalization {
    shr::Vec2d center;
    double scale = 1.0;

    shr::Vec2d ToNormalized(const shr::Vec2d &p) const {
        return {(p.x - center.x) / scale, (p.y - center.y) / scale};
    }
    shr::Vec2d FromNormalized(const shr::Vec2d &p) const {
        return {center.x + scale * p.x, center.y + scale * p.y};
    }
};

// Polynomial terms in the order 1, u, v, u², uv, v², u³, u²v, uv², v³. Degree one uses
// three terms, degree two six, degree three ten.
constexpr int kMaxPolynomialTerms = 10;
using PolynomialTerms = std::array<double, kMaxPolynomialTerms>;

struct WarpModel {
    WarpMethod method = WarpMethod::None;
    PointNormalization source;      // input side
    PointNormalization destination; // output side
    // Polynomial models (every method but Projective): output = sum of x[k]·term k.
    int termCount = 0;
    PolynomialTerms x{};
    PolynomialTerms y{};
    // Projective model: (u, v, 1) times this row-major 3×3 matrix, divided by the third.
    std::array<double, 9> homography{};
    std::array<double, 9> inverseHomography{};
    double rmsResidual = 0.0; // of the fit over the control points, in output units
};

// Number of polynomial terms of a method (3, 6 or 10), 0 for Projective and None.
int PolynomialTermCount(WarpMethod method);

// The terms 1, u, v, u², ... of a point, as many as count.
void EvaluateTerms(double u, double v, int count, PolynomialTerms &terms);

// Least-squares fit of a control-point method (Similarity to Polynomial3). The points are
// already checked for count, finiteness and repeats. False with a message when the points
// are degenerate for the method or the fitted warp cannot be inverted.
bool FitWarpModel(WarpMethod method, const std::vector<shr::Vec2d> &source,
                  const std::vector<shr::Vec2d> &destination, WarpModel &model,
                  std::wstring &message);

} // namespace gcs
