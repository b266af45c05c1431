// A warp: control point pairs or affine coefficients tying raster pixels to map coordinates.
#pragma once
#include <array>
#include <cstddef>
#include <vector>

#include "shr/Geometry.h"

namespace gcs {

// How a warp maps pixels to the map. Control-point methods are numbered by the least
// number of point pairs they need (see MinimumPointCount).
enum class WarpMethod : int {
    None = 0,
    Similarity = 2,   // shift, rotation and uniform scale: 2 pairs
    Affine = 3,       // 3 pairs, least squares over more (the four-corner warp)
    Projective = 4,   // plane-to-plane homography: 4 pairs
    Polynomial2 = 5,  // second-order polynomial: 6 pairs
    Polynomial3 = 6,  // third-order polynomial: 10 pairs
    Coefficients = 7, // explicit affine coefficients, no fit
};

// The least number of control point pairs the method needs; 0 for None and Coefficients.
int MinimumPointCount(WarpMethod method);

// True for the values 0 and 2 to 7.
bool IsValidWarpMethod(int value);

// A short lower-case name for messages, such as "affine"; "unknown" for other values.
const wchar_t *WarpMethodName(WarpMethod method);

// Six affine coefficients: x = a*col + b*row + c, y = d*col + e*row + f.
struct AffineCoefficients {
    double a = 1.0, b = 0.0, c = 0.0;
    double d = 0.0, e = 1.0, f = 0.0;
    bool operator==(const AffineCoefficients &) const = default;
};

// A plain value type: copy it, compare it, reset it by assigning a fresh one.
class WarpDef {
public:
    WarpDef() = default;

    WarpMethod GetMethod() const { return method_; }
    void SetMethod(WarpMethod method) { method_ = method; }

    // Source points are raster (column, row); destination points are map (x, y). They are
    // added pairwise: the i-th source point belongs to the i-th destination point.
    void AddSourcePoint(const shr::Vec2d &point) { source_.push_back(point); }
    void AddDestinationPoint(const shr::Vec2d &point) { destination_.push_back(point); }
    void AddControlPoint(const shr::Vec2d &source, const shr::Vec2d &destination);
    void ClearPoints();

    // The number of complete pairs (the shorter of the two lists).
    size_t GetPointCount() const;
    size_t GetSourcePointCount() const { return source_.size(); }
    size_t GetDestinationPointCount() const { return destination_.size(); }
    const std::vector<shr::Vec2d> &GetSourcePoints() const { return source_; }
    const std::vector<shr::Vec2d> &GetDestinationPoints() const { return destination_; }
    const shr::Vec2d &GetSourcePoint(size_t index) const { return source_.at(index); }
    const shr::Vec2d &GetDestinationPoint(size_t index) const { return destination_.at(index); }

    // x = a*col + b*row + c, y = d*col + e*row + f. Used by method Coefficients.
    void SetCoefficients(double a, double b, double c, double d, double e, double f);
    void SetCoefficients(const AffineCoefficients &coefficients);
    void ClearCoefficients();
    bool HasCoefficients() const { return hasCoefficients_; }
    const AffineCoefficients &GetCoefficients() const { return coefficients_; }
    void GetCoefficients(double &a, double &b, double &c, double &d, double &e, double &f) const;

    // A method other than None is set.
    bool IsDefined() const { return method_ != WarpMethod::None; }

    bool operator==(const WarpDef &) const = default;

private:
    WarpMethod method_ = WarpMethod::None;
    std::vector<shr::Vec2d> source_;
    std::vector<shr::Vec2d> destination_;
    AffineCoefficients coefficients_;
    bool hasCoefficients_ = false;
};

} // namespace gcs
