// Warp to geotransform: evaluate the fitted warp at pixel corners.
#include "GeoTransformOut.h"

#include "gcs/WarpTransformer.h"

#include <cmath>

namespace iosid::host {

bool GeoTransformFromWarp(const gcs::WarpDef &warp, std::array<double, 6> &geoTransform,
                          std::wstring *why) {
    const gcs::WarpMethod method = warp.GetMethod();
    const bool affine = method == gcs::WarpMethod::Similarity ||
                        method == gcs::WarpMethod::Affine ||
                        method == gcs::WarpMethod::Coefficients;
    const gcs::WarpTransformer transformer(warp, false,
                                           affine ? 0 : static_cast<int>(gcs::WarpMethod::Affine));
    // The corner of pixel (0, 0) lies half a pixel before its centre on both axes.
    shr::Vec2d corners[3] = {{-0.5, -0.5}, {0.5, -0.5}, {-0.5, 0.5}};
    if (!transformer.IsValid() || !transformer.TransformForward(corners, 3)) {
        if (why)
            *why = transformer.GetErrorText();
        return false;
    }
    geoTransform = {corners[0].x, corners[1].x - corners[0].x, corners[2].x - corners[0].x,
                    corners[0].y, corners[1].y - corners[0].y, corners[2].y - corners[0].y};
    for (double value : geoTransform) {
        if (!std::isfinite(value)) {
            if (why)
                *why = L"the warp gives coordinates that are not finite";
            return false;
        }
    }
    return true;
}

GeoTiffGeoTags GeoTagsFromGeoTransform(const std::array<double, 6> &gt) {
    GeoTiffGeoTags tags;
    tags.scaleAndTiepoint = gt[2] == 0.0 && gt[4] == 0.0 && gt[1] > 0.0 && gt[5] < 0.0;
    if (tags.scaleAndTiepoint) {
        tags.pixelScale = {gt[1], -gt[5], 0.0};
        tags.tiepoint = {0.0, 0.0, 0.0, gt[0], gt[3], 0.0};
        return tags;
    }
    tags.transform = {gt[1], gt[2], 0.0, gt[0], //
                      gt[4], gt[5], 0.0, gt[3], //
                      0.0,   0.0,   0.0, 0.0,   //
                      0.0,   0.0,   0.0, 1.0};
    return tags;
}

} // namespace iosid::host
