// Reading the raster-to-model tags and the affine map from one tie point and the pixel scale
// or from the matrix.
#include "georef/GeoTiffModelTags.h"

#include "Subsystems/TiffImage/TiffRead.h"
#include "Subsystems/TiffImage/TiffTags.h"

#include <cmath>

namespace georef {
namespace {

constexpr uint64_t kTiePointValues = 6;
constexpr uint64_t kScaleValues = 3;

const tiff::TiffEntry *DoubleTag(const tiff::TiffDirectory &dir, uint16_t tag) {
    const tiff::TiffEntry *entry = dir.Find(tag);
    return entry && entry->type == tiff::kTypeDouble ? entry : nullptr;
}

void ReadTiePoints(const tiff::TiffDirectory &dir, GeoTiffModelTags &tags) {
    const tiff::TiffEntry *entry = DoubleTag(dir, tiff::kTagModelTiepoint);
    if (!entry || entry->count == 0 || entry->count % kTiePointValues != 0)
        return;
    // A count the file does not back with values reads as zeros; bound the points by the
    // values held so that a lying count cannot size the list.
    const uint64_t points = entry->HeldCount() / kTiePointValues;
    tags.tiePoints.resize(points);
    for (uint64_t p = 0; p < points; ++p)
        for (uint64_t k = 0; k < kTiePointValues; ++k)
            tags.tiePoints[p][k] = entry->GetDouble(p * kTiePointValues + k);
}

void ReadMatrix(const tiff::TiffDirectory &dir, GeoTiffModelTags &tags) {
    const tiff::TiffEntry *entry = DoubleTag(dir, tiff::kTagModelTransformation);
    tags.intergraph = false;
    if (!dir.Find(tiff::kTagModelTransformation)) {
        entry = DoubleTag(dir, tiff::kTagIntergraphMatrix);
        tags.intergraph = dir.Find(tiff::kTagIntergraphMatrix) != nullptr;
    }
    if (!entry || (entry->count != 16 && entry->count != 17))
        return;
    tags.hasMatrix = true;
    for (uint64_t k = 0; k < tags.matrix.size(); ++k)
        tags.matrix[k] = entry->GetDouble(k);
}

bool Finite(std::initializer_list<double> values) {
    for (double v : values)
        if (!std::isfinite(v))
            return false;
    return true;
}

} // namespace

GeoTiffModelTags ReadGeoTiffModelTags(const tiff::TiffDirectory &dir) {
    GeoTiffModelTags tags;
    const tiff::TiffEntry *scale = DoubleTag(dir, tiff::kTagModelPixelScale);
    if (scale && scale->count == kScaleValues) {
        tags.scaleX = scale->GetDouble(0);
        tags.scaleY = scale->GetDouble(1);
    }
    ReadTiePoints(dir, tags);
    ReadMatrix(dir, tags);
    return tags;
}

bool GeoTiffModelAffine(const GeoTiffModelTags &tags, gcs::AffineCoefficients &affine,
                        GeoTiffAffineSource &source) {
    source = GeoTiffAffineSource::None;
    if (!Finite({tags.scaleX, tags.scaleY}))
        return false;
    for (const GeoTiffModelTags::TiePoint &t : tags.tiePoints)
        if (!Finite({t[0], t[1], t[2], t[3], t[4], t[5]}))
            return false;
    if (tags.tiePoints.size() == 1 && tags.HasScale()) {
        const GeoTiffModelTags::TiePoint &t = tags.tiePoints[0];
        const double c = t[3] - tags.scaleX * t[0];
        const double f = tags.scaleY * t[1] + t[4];
        if (!Finite({c, f}))
            return false;
        affine = {tags.scaleX, 0.0, c, 0.0, -tags.scaleY, f};
        source = GeoTiffAffineSource::TiePointAndScale;
    }
    if (tags.hasMatrix) {
        const auto &m = tags.matrix;
        if (!Finite({m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7]})) {
            source = GeoTiffAffineSource::None;
            return false;
        }
        affine = {m[0], m[1], m[3], m[4], tags.intergraph ? -m[5] : m[5], m[7]};
        source = GeoTiffAffineSource::Matrix;
    }
    return true;
}

} // namespace georef
