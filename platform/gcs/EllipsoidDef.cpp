// EllipsoidDef: construction from dimensions, validation and comparison.
#include "gcs/EllipsoidDef.h"

#include <cmath>

#include "Comparison.h"
#include "shr/Format.h"

namespace gcs {

EllipsoidDef EllipsoidDef::FromFlattening(double majorRadius, double flattening) {
    return FromDimensions(majorRadius, majorRadius * (1.0 - flattening), flattening);
}

EllipsoidDef EllipsoidDef::FromMinorRadius(double majorRadius, double minorRadius) {
    double flattening = majorRadius != 0.0 ? (majorRadius - minorRadius) / majorRadius : 0.0;
    return FromDimensions(majorRadius, minorRadius, flattening);
}

EllipsoidDef EllipsoidDef::FromDimensions(double majorRadius, double minorRadius,
                                          double flattening) {
    EllipsoidDef ellipsoid;
    ellipsoid.major_ = majorRadius;
    ellipsoid.minor_ = minorRadius;
    ellipsoid.flattening_ = flattening;
    return ellipsoid;
}

double EllipsoidDef::GetInverseFlattening() const {
    return flattening_ != 0.0 ? 1.0 / flattening_ : 0.0;
}

bool EllipsoidDef::IsValid(std::wstring *why) const {
    std::wstring problem;
    if (!std::isfinite(major_) || !std::isfinite(minor_) || !std::isfinite(flattening_))
        problem = L"a dimension is not finite";
    else if (!(major_ > 0.0) || !(minor_ > 0.0))
        problem = L"the radii must be positive";
    else if (flattening_ < 0.0 || flattening_ >= 1.0)
        problem = shr::FormatString(L"flattening %.17g is outside [0, 1)", flattening_);
    else if (std::fabs(minor_ - major_ * (1.0 - flattening_)) > kLengthTolerance)
        problem = L"the minor radius does not agree with the major radius and flattening";
    if (why)
        *why = problem;
    return problem.empty();
}

bool EllipsoidDef::CompareParameters(const EllipsoidDef &other, bool approximate) const {
    Comparison compare(approximate, nullptr);
    return compare.Length(L"major radius", major_, other.major_) &&
           compare.Length(L"minor radius", minor_, other.minor_) &&
           compare.Value(L"flattening", flattening_, other.flattening_, kFlatteningTolerance);
}

} // namespace gcs
