// Tolerant comparison of definition values.
#include "Comparison.h"

#include <cmath>

#include "gcs/EllipsoidDef.h"
#include "shr/Format.h"

namespace gcs {

bool Comparison::Angle(const wchar_t *what, double a, double b) {
    return Value(what, a, b, kAngleTolerance);
}

bool Comparison::Longitude(const wchar_t *what, double a, double b) {
    if (approximate_ && std::isfinite(a) && std::isfinite(b)) {
        double turn = std::remainder(a - b, 360.0);
        if (std::fabs(turn) <= kAngleTolerance)
            return true;
    }
    return Value(what, a, b, kAngleTolerance);
}

bool Comparison::Length(const wchar_t *what, double a, double b) {
    return Value(what, a, b, kLengthTolerance);
}

bool Comparison::Scale(const wchar_t *what, double a, double b) {
    double magnitude = std::fmax(std::fabs(a), std::fabs(b));
    return Value(what, a, b, kScaleTolerance * std::fmax(magnitude, 1e-300));
}

bool Comparison::Value(const wchar_t *what, double a, double b, double tolerance) {
    if (a == b)
        return true;
    if (approximate_ && std::fabs(a - b) <= tolerance)
        return true;
    return Report(what, a, b);
}

bool Comparison::Integer(const wchar_t *what, int64_t a, int64_t b) {
    if (a == b)
        return true;
    return Report(what, static_cast<double>(a), static_cast<double>(b));
}

bool Comparison::Fail(const std::wstring &message) {
    if (equal_ && difference_)
        *difference_ = message;
    equal_ = false;
    return false;
}

bool Comparison::Report(const wchar_t *what, double a, double b) {
    return Fail(shr::FormatString(L"%ls differs: %.17g and %.17g", what, a, b));
}

std::wstring DescribeEllipsoid(const EllipsoidDef &ellipsoid) {
    if (ellipsoid.IsUnknown())
        return L"none";
    if (!ellipsoid.GetName().empty())
        return ellipsoid.GetName();
    return shr::FormatString(L"a=%.17g f=%.17g", ellipsoid.GetMajorRadius(),
                             ellipsoid.GetFlattening());
}

} // namespace gcs
