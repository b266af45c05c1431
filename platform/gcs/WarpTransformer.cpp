// WarpTransformer: checks a warp's points, fits it and transforms points both ways.
#include "gcs/WarpTransformer.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "shr/Format.h"
#include "shr/Strings.h"

namespace gcs {
namespace {

constexpr int kMaxNewtonIterations = 50;
// Newton steps below this size (in normalized units, about the spread of the control
// points) mean the inverse has converged to rounding precision.
constexpr double kNewtonTolerance = 1e-13;
// Coefficients whose determinant is this small relative to their size cannot be inverted.
constexpr double kSingularCoefficients = 1e-12;
// A projective denominator this small relative to its terms is rounding noise around zero.
constexpr double kHorizonTolerance = 1e-12;

bool IsFinite(const shr::Vec2d &p) { return std::isfinite(p.x) && std::isfinite(p.y); }

std::wstring CheckPointsFinite(const std::vector<shr::Vec2d> &points, const wchar_t *role) {
    for (size_t i = 0; i < points.size(); ++i) {
        if (!IsFinite(points[i]))
            return shr::FormatString(L"The %ls point %zu of the warp is not a finite number.", role,
                                     i + 1);
    }
    return {};
}

// Repeated positions on the fitting side say nothing new and make small fits singular.
std::wstring CheckNoRepeats(const std::vector<shr::Vec2d> &points) {
    std::vector<size_t> order(points.size());
    for (size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    auto less = [&points](size_t a, size_t b) {
        return points[a].x != points[b].x ? points[a].x < points[b].x : points[a].y < points[b].y;
    };
    std::sort(order.begin(), order.end(), less);
    for (size_t i = 1; i < order.size(); ++i) {
        if (points[order[i]] == points[order[i - 1]]) {
            const size_t first = std::min(order[i], order[i - 1]);
            const size_t second = std::max(order[i], order[i - 1]);
            return shr::FormatString(
                L"Control points %zu and %zu of the warp are at the same position (%g, %g).",
                first + 1, second + 1, points[first].x, points[first].y);
        }
    }
    return {};
}

double Determinant(const AffineCoefficients &k) { return k.a * k.e - k.b * k.d; }

bool CoefficientsUsable(const AffineCoefficients &k) {
    for (double value : {k.a, k.b, k.c, k.d, k.e, k.f}) {
        if (!std::isfinite(value))
            return false;
    }
    const double size = std::max({std::fabs(k.a), std::fabs(k.b), std::fabs(k.d), std::fabs(k.e)});
    const double det = Determinant(k);
    return std::isfinite(det) && size > 0.0 && std::fabs(det) > kSingularCoefficients * size * size;
}

// (u, v, 1) times a row-major 3x3 matrix, divided by the third component. False for points
// on the line sent to infinity, where the division only magnifies rounding.
bool ApplyHomography(const std::array<double, 9> &h, const shr::Vec2d &p, shr::Vec2d &out) {
    const double w = h[6] * p.x + h[7] * p.y + h[8];
    const double size = std::fabs(h[6] * p.x) + std::fabs(h[7] * p.y) + std::fabs(h[8]);
    if (!(std::fabs(w) > kHorizonTolerance * size))
        return false;
    out = {(h[0] * p.x + h[1] * p.y + h[2]) / w, (h[3] * p.x + h[4] * p.y + h[5]) / w};
    return true;
}

// A polynomial warp's value and its partial derivatives at (u, v), in normalized units.
struct PolynomialValue {
    double x = 0.0, y = 0.0;
    double dxdu = 0.0, dxdv = 0.0, dydu = 0.0, dydv = 0.0;
};

PolynomialValue EvaluateWithJacobian(const WarpModel &model, double u, double v) {
    PolynomialTerms terms{};
    EvaluateTerms(u, v, model.termCount, terms);
    const PolynomialTerms du = {0, 1, 0, 2 * u, v, 0, 3 * u * u, 2 * u * v, v * v, 0};
    const PolynomialTerms dv = {0, 0, 1, 0, u, 2 * v, 0, u * u, 2 * u * v, 3 * v * v};
    PolynomialValue value;
    for (size_t k = 0; k < static_cast<size_t>(model.termCount); ++k) {
        value.x += model.x[k] * terms[k];
        value.y += model.y[k] * terms[k];
        value.dxdu += model.x[k] * du[k];
        value.dxdv += model.x[k] * dv[k];
        value.dydu += model.y[k] * du[k];
        value.dydv += model.y[k] * dv[k];
    }
    return value;
}

AffineCoefficients InvertCoefficients(const AffineCoefficients &k) {
    const double det = Determinant(k);
    AffineCoefficients inv;
    inv.a = k.e / det;
    inv.b = -k.b / det;
    inv.d = -k.d / det;
    inv.e = k.a / det;
    inv.c = -(inv.a * k.c + inv.b * k.f);
    inv.f = -(inv.d * k.c + inv.e * k.f);
    return inv;
}

} // namespace

WarpTransformer::WarpTransformer(const WarpDef *warp, bool reverse, int method,
                                 bool throwOnFailure) {
    valid_ = warp ? Build(*warp, reverse, method) : Fail(L"No warp was given.");
    if (!valid_ && throwOnFailure)
        throw std::invalid_argument(shr::WtoA(error_));
}

bool WarpTransformer::Fail(const std::wstring &message) const {
    error_ = message;
    return false;
}

bool WarpTransformer::Build(const WarpDef &warp, bool reverse, int methodValue) {
    if (methodValue == 0)
        methodValue = static_cast<int>(warp.GetMethod());
    if (!IsValidWarpMethod(methodValue))
        return Fail(shr::FormatString(L"Unknown warp method %d.", methodValue));
    const WarpMethod method = static_cast<WarpMethod>(methodValue);
    if (method == WarpMethod::None)
        return Fail(L"The warp has no method.");
    if (method == WarpMethod::Coefficients)
        return BuildFromCoefficients(warp, reverse);

    const std::vector<shr::Vec2d> &pixels = warp.GetSourcePoints();
    const std::vector<shr::Vec2d> &map = warp.GetDestinationPoints();
    if (pixels.size() != map.size())
        return Fail(shr::FormatString(
            L"The warp has %zu source points but %zu destination points; they must pair up.",
            pixels.size(), map.size()));
    const size_t needed = static_cast<size_t>(MinimumPointCount(method));
    if (pixels.size() < needed)
        return Fail(shr::FormatString(L"A %ls warp needs at least %zu control points, not %zu.",
                                      WarpMethodName(method), needed, pixels.size()));
    std::wstring message = CheckPointsFinite(pixels, L"source");
    if (message.empty())
        message = CheckPointsFinite(map, L"destination");
    const std::vector<shr::Vec2d> &from = reverse ? map : pixels;
    const std::vector<shr::Vec2d> &to = reverse ? pixels : map;
    if (message.empty())
        message = CheckNoRepeats(from);
    if (!message.empty() || !FitWarpModel(method, from, to, model_, message))
        return Fail(message);
    return true;
}

bool WarpTransformer::BuildFromCoefficients(const WarpDef &warp, bool reverse) {
    if (!warp.HasCoefficients())
        return Fail(L"The warp uses explicit coefficients but has none.");
    AffineCoefficients k = warp.GetCoefficients();
    if (!CoefficientsUsable(k))
        return Fail(shr::FormatString(L"The warp coefficients (%g, %g, %g, %g, %g, %g) are not "
                                      L"finite or collapse the plane; they cannot be inverted.",
                                      k.a, k.b, k.c, k.d, k.e, k.f));
    if (reverse)
        k = InvertCoefficients(k);
    model_ = WarpModel{};
    model_.method = WarpMethod::Coefficients;
    model_.termCount = 3;
    model_.x = PolynomialTerms{k.c, k.a, k.b};
    model_.y = PolynomialTerms{k.f, k.d, k.e};
    return true;
}

bool WarpTransformer::TransformForward(shr::Vec2d &point) const {
    return TransformForward(&point, 1);
}

bool WarpTransformer::TransformInverse(shr::Vec2d &point) const {
    return TransformInverse(&point, 1);
}

bool WarpTransformer::TransformForward(shr::Vec2d *points, size_t count) const {
    if (!valid_)
        return false;
    for (size_t i = 0; i < count; ++i) {
        if (!Forward(points[i]))
            return false;
    }
    return true;
}

bool WarpTransformer::TransformInverse(shr::Vec2d *points, size_t count) const {
    if (!valid_)
        return false;
    for (size_t i = 0; i < count; ++i) {
        if (!Inverse(points[i]))
            return false;
    }
    return true;
}

bool WarpTransformer::Forward(shr::Vec2d &point) const {
    const shr::Vec2d s = model_.source.ToNormalized(point);
    shr::Vec2d out;
    bool defined = true;
    if (model_.method == WarpMethod::Projective) {
        defined = ApplyHomography(model_.homography, s, out);
    } else {
        const PolynomialValue value = EvaluateWithJacobian(model_, s.x, s.y);
        out = {value.x, value.y};
    }
    const shr::Vec2d result = model_.destination.FromNormalized(out);
    if (!defined || !IsFinite(result))
        return Fail(shr::FormatString(L"The point (%g, %g) has no image under the %ls warp.",
                                      point.x, point.y, WarpMethodName(model_.method)));
    point = result;
    return true;
}

bool WarpTransformer::Inverse(shr::Vec2d &point) const {
    const shr::Vec2d t = model_.destination.ToNormalized(point);
    shr::Vec2d s;
    bool defined = true;
    if (model_.method == WarpMethod::Projective) {
        defined = ApplyHomography(model_.inverseHomography, t, s);
    } else if (!InvertPolynomial(t, s)) {
        return Fail(shr::FormatString(L"The inverse of the %ls warp does not converge at "
                                      L"(%g, %g), too far from the control points.",
                                      WarpMethodName(model_.method), point.x, point.y));
    }
    const shr::Vec2d result = model_.source.FromNormalized(s);
    if (!defined || !IsFinite(result))
        return Fail(shr::FormatString(L"The point (%g, %g) has no inverse under the %ls warp.",
                                      point.x, point.y, WarpMethodName(model_.method)));
    point = result;
    return true;
}

// Solves polynomial(u, v) = target: exactly for degree one, else by Newton's method started
// from the linear part.
bool WarpTransformer::InvertPolynomial(const shr::Vec2d &target, shr::Vec2d &result) const {
    shr::Vec2d uv;
    PolynomialValue value = EvaluateWithJacobian(model_, 0.0, 0.0);
    for (int iteration = 0; iteration <= kMaxNewtonIterations; ++iteration) {
        const double rx = target.x - value.x, ry = target.y - value.y;
        const double det = value.dxdu * value.dydv - value.dxdv * value.dydu;
        const double du = (value.dydv * rx - value.dxdv * ry) / det;
        const double dv = (value.dxdu * ry - value.dydu * rx) / det;
        if (!std::isfinite(du) || !std::isfinite(dv))
            return false;
        uv.x += du;
        uv.y += dv;
        const double step = std::hypot(du, dv);
        if (model_.termCount <= 3 || step <= kNewtonTolerance * (1.0 + std::hypot(uv.x, uv.y))) {
            result = uv;
            return true;
        }
        value = EvaluateWithJacobian(model_, uv.x, uv.y);
    }
    return false;
}

} // namespace gcs
