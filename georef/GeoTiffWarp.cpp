// Warps from ModelTiepointTag, ModelPixelScaleTag and ModelTransformationTag /
// IntergraphMatrixTag.
#include "georef/GeoTiffWarp.h"

#include "Subsystems/TiffImage/TiffImageRead.h"
#include "georef/GeoTiffFile.h"
#include "georef/TiffTagValues.h"

#include <cmath>

namespace georef {
namespace {

using gcs::WarpDef;
using gcs::WarpMethod;
using shr::Vec2d;

constexpr size_t kTiePointValues = 6; // I, J, K, X, Y, Z
constexpr size_t kMatrixValues = 17;  // 16, and a 17th read and ignored

bool Finite(double value) { return std::isfinite(value); }

struct PixelScale {
    double x = 0.0;
    double y = 0.0;
};

PixelScale ReadPixelScale(tiff::TiffImageRead &file, unsigned index) {
    const TiffTagValues tag(file.FindTag(index, kModelPixelScaleTag));
    if (tag.Type() != tiff::kTypeDouble || tag.Count() != 3)
        return {};
    return {tag.Double(0), tag.Double(1)};
}

TiffTagValues TiePointTag(tiff::TiffImageRead &file, unsigned index) {
    const TiffTagValues tag(file.FindTag(index, kModelTiepointTag));
    if (tag.Type() != tiff::kTypeDouble || tag.Count() == 0 || tag.Count() % kTiePointValues)
        return TiffTagValues(nullptr);
    return tag;
}

// Adds every tie point; false (nothing more added) at the first one with a non-finite value.
bool AddFiniteTiePoints(const TiffTagValues &tag, WarpDef &warp) {
    for (uint64_t first = 0; first < tag.Count(); first += kTiePointValues) {
        double v[kTiePointValues];
        for (size_t k = 0; k < kTiePointValues; ++k) {
            v[k] = tag.Double(first + k);
            if (!Finite(v[k]))
                return false;
        }
        warp.AddControlPoint(Vec2d(v[0], v[1]), Vec2d(v[3], v[4]));
    }
    return true;
}

// Two tie points span a rectangle: its third corner makes an affine fit possible.
void AddSimulatedThirdPoint(WarpDef &warp) {
    const Vec2d &s0 = warp.GetSourcePoint(0);
    const Vec2d &s1 = warp.GetSourcePoint(1);
    const Vec2d &d0 = warp.GetDestinationPoint(0);
    const Vec2d &d1 = warp.GetDestinationPoint(1);
    warp.AddControlPoint(Vec2d(s0.x, s1.y), Vec2d(d0.x, d1.y));
}

// One tie point and the pixel scale; false when the translation is not finite.
bool SetScaleCoefficients(const PixelScale &scale, WarpDef &warp) {
    const Vec2d &s = warp.GetSourcePoint(0);
    const Vec2d &d = warp.GetDestinationPoint(0);
    const double c = d.x - scale.x * s.x;
    const double f = scale.y * s.y + d.y;
    if (!Finite(c) || !Finite(f))
        return false;
    warp.SetMethod(WarpMethod::Coefficients);
    warp.SetCoefficients(scale.x, 0.0, c, 0.0, -scale.y, f);
    return true;
}

enum class MatrixResult { Absent, Applied, NotFinite };

// ModelTransformationTag, or else the older IntergraphMatrixTag whose y-scale sign is flipped.
MatrixResult ApplyMatrix(tiff::TiffImageRead &file, unsigned index, WarpDef &warp) {
    const tiff::TiffEntry *entry = file.FindTag(index, kModelTransformationTag);
    double sign = 1.0;
    if (!entry) {
        entry = file.FindTag(index, kIntergraphMatrixTag);
        sign = -1.0;
    }
    const TiffTagValues tag(entry);
    if (!entry || tag.Type() != tiff::kTypeDouble || (tag.Count() != 16 && tag.Count() != 17))
        return MatrixResult::Absent;
    double m[kMatrixValues] = {};
    for (uint64_t k = 0; k < tag.Count(); ++k)
        m[k] = tag.Double(k);
    for (size_t k = 0; k < 8; ++k) {
        if (!Finite(m[k]))
            return MatrixResult::NotFinite;
    }
    warp.SetMethod(WarpMethod::Coefficients);
    warp.SetCoefficients(m[0], m[1], m[3], m[4], sign * m[5], m[7]);
    return MatrixResult::Applied;
}

// Steps on an open file with a valid image; returns false when the warp must be reset.
bool ReadWarp(tiff::TiffImageRead &file, unsigned index, WarpDef &warp, bool *flag) {
    const PixelScale scale = ReadPixelScale(file, index);
    if (!Finite(scale.x) || !Finite(scale.y))
        return false;
    const TiffTagValues tiePoints = TiePointTag(file, index);
    if (tiePoints.Exists()) {
        if (!AddFiniteTiePoints(tiePoints, warp))
            return false;
        if (warp.GetPointCount() == 2)
            AddSimulatedThirdPoint(warp);
        if (warp.GetPointCount() < 2) {
            if (scale.x != 0.0 && scale.y != 0.0) {
                if (!SetScaleCoefficients(scale, warp))
                    return false;
                if (flag)
                    *flag = true;
            }
        } else {
            warp.SetMethod(WarpMethod::Similarity);
        }
    }
    return ApplyMatrix(file, index, warp) != MatrixResult::NotFinite;
}

} // namespace

bool GetGeorefInfoFromGeoTIFF(tiff::TiffImageRead &file, int image, gcs::WarpDef &warp,
                              bool *fromTiePointAndScale, shr::ErrorRecord *error) {
    if (fromTiePointAndScale)
        *fromTiePointAndScale = false;
    if (!CheckImageNumber(file, image, error))
        return false;
    if (!ReadWarp(file, static_cast<unsigned>(image - 1), warp, fromTiePointAndScale)) {
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
    const unsigned index = static_cast<unsigned>(image - 1);
    const TiffTagValues scaleTag(file.FindTag(index, kModelPixelScaleTag));
    PixelScale scale;
    if (scaleTag.Type() == tiff::kTypeDouble && scaleTag.Count() == 3)
        scale = {scaleTag.Double(0), scaleTag.Double(1)};
    const TiffTagValues tiePoints = TiePointTag(file, index);
    if (!tiePoints.Exists())
        return true;
    for (uint64_t first = 0; first < tiePoints.Count(); first += kTiePointValues) {
        warp.AddControlPoint(
            Vec2d(tiePoints.Double(first), tiePoints.Double(first + 1)),
            Vec2d(s * tiePoints.Double(first + 3), s * tiePoints.Double(first + 4)));
    }
    if (warp.GetPointCount() == 1 && scale.x != 0.0 && scale.y != 0.0) {
        // The translations mix the scaled tie point with the unscaled pixel size.
        const Vec2d &src = warp.GetSourcePoint(0);
        const Vec2d &dst = warp.GetDestinationPoint(0);
        warp.SetMethod(WarpMethod::Coefficients);
        warp.SetCoefficients(s * scale.x, 0.0, dst.x - scale.x * src.x, 0.0, -scale.y * s,
                             scale.y * src.y + dst.y);
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
