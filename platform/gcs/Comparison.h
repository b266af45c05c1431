// Tolerant comparison of definition values that remembers the first difference.
#pragma once
#include <cstdint>
#include <string>

namespace gcs {

class EllipsoidDef;

// Tolerances of approximate comparisons.
inline constexpr double kAngleTolerance = 1e-9;  // degrees
inline constexpr double kLengthTolerance = 1e-3; // metres
inline constexpr double kScaleTolerance = 1e-10; // relative
inline constexpr double kFlatteningTolerance = 1e-9;
inline constexpr double kRotationTolerance = 1e-6; // arc-seconds
inline constexpr double kPpmTolerance = 1e-6;      // parts per million

// Each check returns whether the values agree; the first disagreement is described in the
// caller's string (if any) and Equal() turns false.
class Comparison {
public:
    Comparison(bool approximate, std::wstring *difference)
        : approximate_(approximate), difference_(difference) {}

    bool Equal() const { return equal_; }

    bool Angle(const wchar_t *what, double a, double b);
    // Longitudes also agree across the ±180° seam.
    bool Longitude(const wchar_t *what, double a, double b);
    bool Length(const wchar_t *what, double a, double b);
    bool Scale(const wchar_t *what, double a, double b);
    bool Value(const wchar_t *what, double a, double b, double tolerance);
    bool Integer(const wchar_t *what, int64_t a, int64_t b);
    // Records a difference described by the caller.
    bool Fail(const std::wstring &message);

private:
    bool Report(const wchar_t *what, double a, double b);

    bool approximate_;
    std::wstring *difference_;
    bool equal_ = true;
};

// "WGS 84", or "a=6378137 f=0.0033528106647474805" for a custom one, or "none".
std::wstring DescribeEllipsoid(const EllipsoidDef &ellipsoid);

} // namespace gcs
