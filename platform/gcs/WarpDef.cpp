// WarpDef: control points and coefficients of a pixel-to-map warp.
#include "gcs/WarpDef.h"

#include <algorithm>

namespace gcs {

int MinimumPointCount(WarpMethod method) {
    switch (method) {
    case WarpMethod::Similarity:
        return 2;
    case WarpMethod::Affine:
        return 3;
    case WarpMethod::Projective:
        return 4;
    case WarpMethod::Polynomial2:
        return 6;
    case WarpMethod::Polynomial3:
        return 10;
    case WarpMethod::None:
    case WarpMethod::Coefficients:
        break;
    }
    return 0;
}

bool IsValidWarpMethod(int value) { return value == 0 || (value >= 2 && value <= 7); }

const wchar_t *WarpMethodName(WarpMethod method) {
    switch (method) {
    case WarpMethod::None:
        return L"empty";
    case WarpMethod::Similarity:
        return L"similarity";
    case WarpMethod::Affine:
        return L"affine";
    case WarpMethod::Projective:
        return L"projective";
    case WarpMethod::Polynomial2:
        return L"second-order polynomial";
    case WarpMethod::Polynomial3:
        return L"third-order polynomial";
    case WarpMethod::Coefficients:
        return L"affine coefficient";
    }
    return L"unknown";
}

void WarpDef::AddControlPoint(const shr::Vec2d &source, const shr::Vec2d &destination) {
    AddSourcePoint(source);
    AddDestinationPoint(destination);
}

void WarpDef::ClearPoints() {
    source_.clear();
    destination_.clear();
}

size_t WarpDef::GetPointCount() const { return std::min(source_.size(), destination_.size()); }

void WarpDef::SetCoefficients(double a, double b, double c, double d, double e, double f) {
    SetCoefficients(AffineCoefficients{a, b, c, d, e, f});
}

void WarpDef::SetCoefficients(const AffineCoefficients &coefficients) {
    coefficients_ = coefficients;
    hasCoefficients_ = true;
}

void WarpDef::ClearCoefficients() {
    coefficients_ = AffineCoefficients{};
    hasCoefficients_ = false;
}

void WarpDef::GetCoefficients(double &a, double &b, double &c, double &d, double &e,
                              double &f) const {
    a = coefficients_.a;
    b = coefficients_.b;
    c = coefficients_.c;
    d = coefficients_.d;
    e = coefficients_.e;
    f = coefficients_.f;
}

} // namespace gcs
