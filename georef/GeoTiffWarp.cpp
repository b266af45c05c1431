// Warps from ModelTiepointTag, ModelPixelScaleTag and ModelTransformationTag /
// IntergraphMatrixTag.
#include "georef/GeoTiffWarp.h"

#include "Subsystems/TiffImage/TiffImageRead.h"
#include "georef/GeoTiffFile.h"
#include "georef/GeoTiffModelTags.h"

namespace georef {
namespace {

using gcs::WarpDef;
using gcs::WarpMethod;
using shr::Vec2d;

const tiff::TiffDirectory &Directory(tiff::TiffImageRead &file, int image) {
    return file.Reader().Directories()[static_cast<unsigned>(image - 1)];
}

// Two tie points span a rectangle: its third corner makes an affine fit possible.
void AddSimulatedThirdPoint(WarpDef &warp) {
    const Vec2d &s0 = warp.GetSourcePoint(0);
    const Vec2d &s1 = warp.GetSourcePoint(1);
    const Vec2d &d0 = warp.GetDestinationPoint(0);
    const Vec2d &d1 = warp.GetDestinationPoint(1);
    warp.AddControlPoint(Vec2d(s0.x, s1.y), Vec2d(d0.x, d1.y));
}

// Steps on an open file with a valid image; returns false when the warp must be reset (a
// value that takes part is not finite).
bool ReadWarp(const tiff::TiffDirectory &dir, WarpDef &warp, bool *flag) {
    const GeoTiffModelTags tags = ReadGeoTiffModelTags(dir);
    gcs::AffineCoefficients affine;
    GeoTiffAffineSource source = GeoTiffAffineSource::None;
    if (!GeoTiffModelAffine(tags, affine, source))
        return false;
    for (const GeoTiffModelTags::TiePoint &t : tags.tiePoints)
        warp.AddControlPoint(Vec2d(t[0], t[1]), Vec2d(t[3], t[4]));
    if (warp.GetPointCount() == 2)
        AddSimulatedThirdPoint(warp);
    if (warp.GetPointCount() >= 2)
        warp.SetMethod(WarpMethod::Similarity);
    if (source != GeoTiffAffineSource::None) {
        warp.SetMethod(WarpMethod::Coefficients);
        warp.SetCoefficients(affine.a, affine.b, affine.c, affine.d, affine.e, affine.f);
    }
    // Set by the tie point and scale even when a matrix then overrides their coefficients.
    if (flag)
        *flag = tags.tiePoints.size() == 1 && tags.HasScale();
    return true;
}

} // namespace

bool GetGeorefInfoFromGeoTIFF(tiff::TiffImageRead &file, int image, gcs::WarpDef &warp,
                              bool *fromTiePointAndScale, shr::ErrorRecord *error) {
    if (fromTiePointAndScale)
        *fromTiePointAndScale = false;
    if (!CheckImageNumber(file, image, error))
        return false;
    if (!ReadWarp(Directory(file, image), warp, fromTiePointAndScale)) {
        warp = WarpDef{};
        if (fromTiePointAndScale)
            *fromTiePointAndScale = false;
    }
    return true;
}

bool GetGeorefInfoFromGeoTIFF(const std::wstring &path, int image, gcs::WarpDef &warp,
                              bool *fromTiePointAndScale, shr::ErrorRecord *error) {
    if (fromTiePointAndScale)
        *fromTiePointAndScale = false;
    tiff::TiffImageRead file;
    if (!OpenGeoTiffFile(file, path, error))
        return false;
    const bool ok = GetGeorefInfoFromGeoTIFF(file, image, warp, fromTiePointAndScale, error);
    file.Close();
    return ok;
}

bool GeoTiffRecalculateWarp(tiff::TiffImageRead &file, int image, gcs::WarpDef &warp, double s,
                            shr::ErrorRecord *error) {
    if (!CheckImageNumber(file, image, error))
        return false;
    // No finiteness test and no simulated third point here.
    const GeoTiffModelTags tags = ReadGeoTiffModelTags(Directory(file, image));
    if (tags.tiePoints.empty())
        return true;
    for (const GeoTiffModelTags::TiePoint &t : tags.tiePoints)
        warp.AddControlPoint(Vec2d(t[0], t[1]), Vec2d(s * t[3], s * t[4]));
    if (warp.GetPointCount() == 1 && tags.HasScale()) {
        // The translations mix the scaled tie point with the unscaled pixel size.
        const Vec2d &src = warp.GetSourcePoint(0);
        const Vec2d &dst = warp.GetDestinationPoint(0);
        warp.SetMethod(WarpMethod::Coefficients);
        warp.SetCoefficients(s * tags.scaleX, 0.0, dst.x - tags.scaleX * src.x, 0.0,
                             -tags.scaleY * s, tags.scaleY * src.y + dst.y);
    }
    return true;
}

bool GeoTiffRecalculateWarp(const std::wstring &path, int image, gcs::WarpDef &warp,
                            double linearScale, shr::ErrorRecord *error) {
    tiff::TiffImageRead file;
    if (!OpenGeoTiffFile(file, path, error))
        return false;
    const bool ok = GeoTiffRecalculateWarp(file, image, warp, linearScale, error);
    file.Close();
    return ok;
}

void GeoTiffSetWarpMethodByPointCount(gcs::WarpDef &warp) {
    const size_t n = warp.GetPointCount();
    if (n < 2)
        return;
    WarpMethod method = WarpMethod::Similarity;
    if (n == 3)
        method = WarpMethod::Affine;
    else if (n == 4 || n == 5)
        method = WarpMethod::Projective;
    else if (n >= 6 && n <= 9)
        method = WarpMethod::Polynomial2;
    else if (n >= 10)
        method = WarpMethod::Polynomial3;
    warp.SetMethod(method);
}

} // namespace georef
