// WarpTransformer: applies a warp to points, pixel to map (forward) and back (inverse).
#pragma once
#include <cstddef>
#include <string>

#include "gcs/WarpDef.h"
#include "gcs/WarpModel.h"
#include "shr/Geometry.h"

namespace gcs {

// Fits the warp once on construction and then transforms points. A warp that cannot be
// fitted (no method, too few points, repeated or collinear points, singular coefficients)
// gives a transformer that is not valid: IsValid() is false, GetErrorText() says why and
// every transform returns false and leaves the points alone.
class WarpTransformer {
public:
    // reverse: swap the roles of source and destination, so that forward runs map to pixel.
    // method: 0 for the warp's own method, or a WarpMethod value to fit the points with
    // another method. throwOnFailure: throw std::invalid_argument with the error text
    // instead of building an invalid transformer.
    explicit WarpTransformer(const WarpDef *warp, bool reverse = false, int method = 0,
                             bool throwOnFailure = false);
    explicit WarpTransformer(const WarpDef &warp, bool reverse = false, int method = 0,
                             bool throwOnFailure = false)
        : WarpTransformer(&warp, reverse, method, throwOnFailure) {}

    bool IsValid() const { return valid_; }
    // Why construction or the last transform failed; empty when nothing failed.
    const std::wstring &GetErrorText() const { return error_; }
    WarpMethod GetMethod() const { return model_.method; }
    // Root mean square distance between the fitted and the given destination points.
    double GetResidual() const { return model_.rmsResidual; }

    // Pixel (column, row) to map (x, y), in place. False, with the points from the failing
    // one on unchanged, when the transformer is invalid or a point has no image (a
    // projective warp's horizon).
    bool TransformForward(shr::Vec2d &point) const;
    bool TransformForward(shr::Vec2d *points, size_t count) const;
    // Map to pixel, in place. Polynomial warps are inverted by Newton's method near the
    // control points; false when that does not converge.
    bool TransformInverse(shr::Vec2d &point) const;
    bool TransformInverse(shr::Vec2d *points, size_t count) const;

private:
    bool Build(const WarpDef &warp, bool reverse, int method);
    bool BuildFromCoefficients(const WarpDef &warp, bool reverse);
    bool Fail(const std::wstring &message) const;
    bool Forward(shr::Vec2d &point) const;
    bool Inverse(shr::Vec2d &point) const;
    bool InvertPolynomial(const shr::Vec2d &target, shr::Vec2d &result) const;

    WarpModel model_;
    bool valid_ = false;
    mutable std::wstring error_;
};

} // namespace gcs
