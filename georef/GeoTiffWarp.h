// The warp of a GeoTIFF image from its tie points, pixel scale or transformation matrix.
#pragma once
#include <string>

#include "gcs/WarpDef.h"
#include "shr/ErrorRecord.h"

namespace tiff {
class TiffImageRead;
}

namespace georef {

// Adds the tie points of image `image` (from 1) to `warp` and sets coefficients from one tie
// point and the pixel scale, or from the matrix. `fromTiePointAndScale` is set when the
// coefficients came from a tie point and the pixel scale. Non-finite values reset the warp
// (still true). False when the file cannot be opened or has no such image; `error` then says
// where.
bool GetGeorefInfoFromGeoTIFF(const std::wstring &path, int image, gcs::WarpDef &warp,
                              bool *fromTiePointAndScale = nullptr,
                              shr::ErrorRecord *error = nullptr);
bool GetGeorefInfoFromGeoTIFF(tiff::TiffImageRead &file, int image, gcs::WarpDef &warp,
                              bool *fromTiePointAndScale = nullptr,
                              shr::ErrorRecord *error = nullptr);

// Adds the tie points with their model coordinates multiplied by `linearScale`; with one tie
// point and a pixel scale also sets coefficients. Pass a fresh warp to rebuild one.
bool GeoTiffRecalculateWarp(const std::wstring &path, int image, gcs::WarpDef &warp,
                            double linearScale, shr::ErrorRecord *error = nullptr);
bool GeoTiffRecalculateWarp(tiff::TiffImageRead &file, int image, gcs::WarpDef &warp,
                            double linearScale, shr::ErrorRecord *error = nullptr);

// With two or more control points: the fit the point count supports (2 points similarity,
// 3 affine, 4-5 projective, 6-9 second order, 10 or more third order). Fewer: unchanged.
void GeoTiffSetWarpMethodByPointCount(gcs::WarpDef &warp);

} // namespace georef
