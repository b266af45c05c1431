// Least-squares fitting of control-point warps with Eigen.
#include <Eigen/Dense>

#include <cmath>

#include "gcs/WarpModel.h"
#include "shr/Format.h"

namespace gcs {
namespace {

// Column-pivoted QR treats pivots below this fraction of the largest as zero. The points
// are normalized to unit spread, so this separates real degeneracy from rounding.
constexpr double kRankTolerance = 1e-10;
// A normalized linear part or homography with a smaller determinant is not invertible.
constexpr double kSingularDeterminant = 1e-10;

struct NormalizedPoints {
    PointNormalization frame;
    std::vector<shr::Vec2d> points;
};

NormalizedPoints Normalize(const std::vector<shr::Vec2d> &points) {
    NormalizedPoints result;
    const double n = static_cast<double>(points.size());
    for (const shr::Vec2d &p : points) {
        result.frame.center.x += p.x / n;
        result.frame.center.y += p.y / n;
    }
    double sumSquares = 0.0;
    for (const shr::Vec2d &p : points) {
        const double dx = p.x - result.frame.center.x;
        const double dy = p.y - result.frame.center.y;
        sumSquares += dx * dx + dy * dy;
    }
    // Unit spread per axis; identical points keep scale 1 and show up as a singular fit.
    const double spread = std::sqrt(sumSquares / (2.0 * n));
    result.frame.scale = (spread > 0.0 && std::isfinite(spread)) ? spread : 1.0;
    result.points.reserve(points.size());
    for (const shr::Vec2d &p : points)
        result.points.push_back(result.frame.ToNormalized(p));
    return result;
}

// Solves design · unknowns = rhs in the least-squares sense; false when design is rank
// deficient.
bool SolveLeastSquares(const Eigen::MatrixXd &design, const Eigen::MatrixXd &rhs,
                       Eigen::MatrixXd &unknowns) {
    Eigen::ColPivHouseholderQR<Eigen::MatrixXd> qr(design.rows(), design.cols());
    qr.setThreshold(kRankTolerance);
    qr.compute(design);
    if (qr.rank() < design.cols())
        return false;
    unknowns = qr.solve(rhs);
    return unknowns.allFinite();
}

bool FitPolynomial(int termCount, const NormalizedPoints &src, const NormalizedPoints &dst,
                   WarpModel &model) {
    const Eigen::Index n = static_cast<Eigen::Index>(src.points.size());
    Eigen::MatrixXd design(n, termCount);
    Eigen::MatrixXd rhs(n, 2);
    PolynomialTerms terms{};
    for (Eigen::Index i = 0; i < n; ++i) {
        const shr::Vec2d &s = src.points[static_cast<size_t>(i)];
        EvaluateTerms(s.x, s.y, termCount, terms);
        for (int k = 0; k < termCount; ++k)
            design(i, k) = terms[static_cast<size_t>(k)];
        rhs(i, 0) = dst.points[static_cast<size_t>(i)].x;
        rhs(i, 1) = dst.points[static_cast<size_t>(i)].y;
    }
    Eigen::MatrixXd solution;
    if (!SolveLeastSquares(design, rhs, solution))
        return false;
    model.termCount = termCount;
    for (int k = 0; k < termCount; ++k) {
        model.x[static_cast<size_t>(k)] = solution(k, 0);
        model.y[static_cast<size_t>(k)] = solution(k, 1);
    }
    return true;
}

// Similarity (rotation, uniform scale, shift), with r = 1 plain or r = -1 mirrored.
// Unknowns (p, q, tx, ty): X = p·u - r·q·v + tx, Y = q·u + r·p·v + ty.
bool FitSimilarityForm(double r, const NormalizedPoints &src, const NormalizedPoints &dst,
                       WarpModel &model) {
    const Eigen::Index n = static_cast<Eigen::Index>(src.points.size());
    Eigen::MatrixXd design(2 * n, 4);
    Eigen::MatrixXd rhs(2 * n, 1);
    for (Eigen::Index i = 0; i < n; ++i) {
        const shr::Vec2d &s = src.points[static_cast<size_t>(i)];
        const shr::Vec2d &d = dst.points[static_cast<size_t>(i)];
        design.row(2 * i) << s.x, -r * s.y, 1.0, 0.0;
        design.row(2 * i + 1) << r * s.y, s.x, 0.0, 1.0;
        rhs(2 * i, 0) = d.x;
        rhs(2 * i + 1, 0) = d.y;
    }
    Eigen::MatrixXd solution;
    if (!SolveLeastSquares(design, rhs, solution))
        return false;
    const double p = solution(0, 0), q = solution(1, 0);
    model.termCount = 3;
    model.x = PolynomialTerms{solution(2, 0), p, -r * q};
    model.y = PolynomialTerms{solution(3, 0), q, r * p};
    return true;
}

shr::Vec2d EvaluateNormalized(const WarpModel &model, const shr::Vec2d &s) {
    if (model.method == WarpMethod::Projective) {
        const auto &h = model.homography;
        const double w = h[6] * s.x + h[7] * s.y + h[8];
        return {(h[0] * s.x + h[1] * s.y + h[2]) / w, (h[3] * s.x + h[4] * s.y + h[5]) / w};
    }
    PolynomialTerms terms{};
    EvaluateTerms(s.x, s.y, model.termCount, terms);
    shr::Vec2d out;
    for (size_t k = 0; k < static_cast<size_t>(model.termCount); ++k) {
        out.x += model.x[k] * terms[k];
        out.y += model.y[k] * terms[k];
    }
    return out;
}

double SumSquaredResiduals(const WarpModel &model, const NormalizedPoints &src,
                           const NormalizedPoints &dst) {
    double sum = 0.0;
    for (size_t i = 0; i < src.points.size(); ++i) {
        const shr::Vec2d out = EvaluateNormalized(model, src.points[i]);
        const double dx = out.x - dst.points[i].x;
        const double dy = out.y - dst.points[i].y;
        sum += dx * dx + dy * dy;
    }
    return sum;
}

// Raster rows usually run against the map's y axis, so with two points, where both forms
// fit exactly, the mirrored one is taken; with more the better fit wins.
bool FitSimilarity(const NormalizedPoints &src, const NormalizedPoints &dst, WarpModel &model) {
    WarpModel plain = model;
    WarpModel mirrored = model;
    const bool plainOk = FitSimilarityForm(1.0, src, dst, plain);
    const bool mirroredOk = FitSimilarityForm(-1.0, src, dst, mirrored);
    if (!plainOk && !mirroredOk)
        return false;
    if (plainOk && mirroredOk) {
        const double plainError = SumSquaredResiduals(plain, src, dst);
        const double mirroredError = SumSquaredResiduals(mirrored, src, dst);
        const double tie = 1e-12 * static_cast<double>(src.points.size());
        model = plainError + tie < mirroredError ? plain : mirrored;
    } else {
        model = plainOk ? plain : mirrored;
    }
    return true;
}

// Direct linear transform with the last matrix element fixed at 1, which holds as long as
// the centroid of the source points does not map to infinity.
bool FitProjective(const NormalizedPoints &src, const NormalizedPoints &dst, WarpModel &model) {
    const Eigen::Index n = static_cast<Eigen::Index>(src.points.size());
    Eigen::MatrixXd design(2 * n, 8);
    Eigen::MatrixXd rhs(2 * n, 1);
    for (Eigen::Index i = 0; i < n; ++i) {
        const double u = src.points[static_cast<size_t>(i)].x;
        const double v = src.points[static_cast<size_t>(i)].y;
        const double X = dst.points[static_cast<size_t>(i)].x;
        const double Y = dst.points[static_cast<size_t>(i)].y;
        design.row(2 * i) << u, v, 1.0, 0.0, 0.0, 0.0, -u * X, -v * X;
        design.row(2 * i + 1) << 0.0, 0.0, 0.0, u, v, 1.0, -u * Y, -v * Y;
        rhs(2 * i, 0) = X;
        rhs(2 * i + 1, 0) = Y;
    }
    Eigen::MatrixXd solution;
    if (!SolveLeastSquares(design, rhs, solution))
        return false;
    Eigen::Matrix3d h;
    h << solution(0, 0), solution(1, 0), solution(2, 0), solution(3, 0), solution(4, 0),
        solution(5, 0), solution(6, 0), solution(7, 0), 1.0;
    if (std::fabs(h.determinant()) < kSingularDeterminant)
        return false;
    const Eigen::Matrix3d inverse = h.inverse();
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
            model.homography[static_cast<size_t>(3 * r + c)] = h(r, c);
            model.inverseHomography[static_cast<size_t>(3 * r + c)] = inverse(r, c);
        }
    }
    return inverse.allFinite();
}

// All control points must lie on the same side of the line the warp sends to infinity.
bool SourcesOnOneSideOfHorizon(const WarpModel &model, const NormalizedPoints &src) {
    const auto &h = model.homography;
    int sign = 0;
    for (const shr::Vec2d &s : src.points) {
        const double w = h[6] * s.x + h[7] * s.y + h[8];
        const int side = w > 0.0 ? 1 : (w < 0.0 ? -1 : 0);
        if (side == 0 || (sign != 0 && side != sign))
            return false;
        sign = side;
    }
    return true;
}

// The linear part of a polynomial warp at the centroid must be invertible for the inverse
// transform to exist near the control points.
bool LinearPartInvertible(const WarpModel &model) {
    const double det = model.x[1] * model.y[2] - model.x[2] * model.y[1];
    return std::isfinite(det) && std::fabs(det) >= kSingularDeterminant;
}

std::wstring DegenerateMessage(WarpMethod method, size_t count) {
    const wchar_t *why = L"they are repeated or collinear";
    if (method == WarpMethod::Projective)
        why = L"three of them are collinear or the destination points are degenerate";
    else if (method == WarpMethod::Polynomial2 || method == WarpMethod::Polynomial3)
        why = L"they lie on a common curve of the warp's order";
    return shr::FormatString(L"The %zu control points do not determine a %ls warp: %ls.", count,
                             WarpMethodName(method), why);
}

bool FitByMethod(WarpMethod method, const NormalizedPoints &src, const NormalizedPoints &dst,
                 WarpModel &model) {
    switch (method) {
    case WarpMethod::Similarity:
        return FitSimilarity(src, dst, model);
    case WarpMethod::Projective:
        return FitProjective(src, dst, model);
    default:
        return FitPolynomial(PolynomialTermCount(method), src, dst, model);
    }
}

} // namespace

int PolynomialTermCount(WarpMethod method) {
    switch (method) {
    case WarpMethod::Similarity:
    case WarpMethod::Affine:
    case WarpMethod::Coefficients:
        return 3;
    case WarpMethod::Polynomial2:
        return 6;
    case WarpMethod::Polynomial3:
        return 10;
    case WarpMethod::None:
    case WarpMethod::Projective:
        break;
    }
    return 0;
}

void EvaluateTerms(double u, double v, int count, PolynomialTerms &terms) {
    terms =
        PolynomialTerms{1.0, u, v, u * u, u * v, v * v, u * u * u, u * u * v, u * v * v, v * v * v};
    for (size_t k = static_cast<size_t>(count); k < terms.size(); ++k)
        terms[k] = 0.0;
}

bool FitWarpModel(WarpMethod method, const std::vector<shr::Vec2d> &source,
                  const std::vector<shr::Vec2d> &destination, WarpModel &model,
                  std::wstring &message) {
    const NormalizedPoints src = Normalize(source);
    const NormalizedPoints dst = Normalize(destination);
    model = WarpModel{};
    model.method = method;
    model.source = src.frame;
    model.destination = dst.frame;
    if (!FitByMethod(method, src, dst, model)) {
        message = DegenerateMessage(method, source.size());
        return false;
    }
    const bool invertible = method == WarpMethod::Projective ? SourcesOnOneSideOfHorizon(model, src)
                                                             : LinearPartInvertible(model);
    if (!invertible) {
        message = shr::FormatString(
            L"The %ls warp of these %zu control points folds or collapses the plane and "
            L"cannot be inverted.",
            WarpMethodName(method), source.size());
        return false;
    }
    const double n = static_cast<double>(source.size());
    model.rmsResidual = dst.frame.scale * std::sqrt(SumSquaredResiduals(model, src, dst) / n);
    return true;
}

} // namespace gcs
