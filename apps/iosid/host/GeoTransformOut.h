// The GeoTIFF georeferencing tags for a warp: pixel scale and tie point, or a matrix.
#pragma once
#include <array>
#include <string>

#include "gcs/WarpDef.h"

namespace iosid::host {

struct GeoTiffGeoTags {
    bool scaleAndTiepoint = false;      // else the matrix
    std::array<double, 3> pixelScale{}; // ModelPixelScaleTag
    std::array<double, 6> tiepoint{};   // ModelTiepointTag: raster (0,0,0) to model
    std::array<double, 16> transform{}; // ModelTransformationTag, row major
};

// The affine map from pixel corners (GDAL's geotransform order: x0, dx/dcol, dx/drow, y0,
// dy/dcol, dy/drow) for a warp whose whole-number pixel coordinates are pixel centres, as the
// importer's warps are. Warps beyond affine are fitted with an affine warp. False, with `why`,
// when the warp cannot be fitted.
bool GeoTransformFromWarp(const gcs::WarpDef &warp, std::array<double, 6> &geoTransform,
                          std::wstring *why);

// Scale and tie point for a north-up image (no rotation, x growing to the right and y upward
// down the rows), otherwise the full matrix.
GeoTiffGeoTags GeoTagsFromGeoTransform(const std::array<double, 6> &geoTransform);

} // namespace iosid::host
