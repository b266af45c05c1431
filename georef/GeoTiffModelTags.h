// The raster-to-model tags of one GeoTIFF image: the one reader of ModelTiepointTag,
// ModelPixelScaleTag and ModelTransformationTag / IntergraphMatrixTag, and the affine map
// they give.
#pragma once
#include "gcs/WarpDef.h"

#include <array>
#include <cstdint>
#include <vector>

namespace tiff {
struct TiffDirectory;
}

namespace georef {

// Values as stored; tags of the wrong type or count are taken as absent, and nothing is
// checked for being finite (the users decide what a NaN means to them).
struct GeoTiffModelTags {
    using TiePoint = std::array<double, 6>; // I, J, K, X, Y, Z: raster (I, J) at model (X, Y)
    std::vector<TiePoint> tiePoints;        // DOUBLE, a nonzero multiple of 6 values
    double scaleX = 0.0;                    // DOUBLE, exactly 3 values; 0.0 when absent
    double scaleY = 0.0;
    bool hasMatrix = false;          // DOUBLE, 16 values (a 17th is read and ignored)
    bool intergraph = false;         // the matrix came from IntergraphMatrixTag
    std::array<double, 16> matrix{}; // row order, m0 to m15

    bool HasScale() const { return scaleX != 0.0 && scaleY != 0.0; }
};

GeoTiffModelTags ReadGeoTiffModelTags(const tiff::TiffDirectory &dir);

enum class GeoTiffAffineSource { None, TiePointAndScale, Matrix };

// The affine map from raster space (column 0 at the left edge of the first pixel; x = a·column
// + b·row + c, y = d·column + e·row + f) that the tags give: from one tie point and the pixel
// scale, overridden by a matrix. IntergraphMatrixTag's m5 enters with its sign flipped (our
// reading of that older tag, kept the same for the warp and the decode engine). False when a
// value that takes part is not finite; `source` then is None.
bool GeoTiffModelAffine(const GeoTiffModelTags &tags, gcs::AffineCoefficients &affine,
                        GeoTiffAffineSource &source);

} // namespace georef
