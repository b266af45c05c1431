// GeoTiffExtract: the coordinate system of a GeoTIFF image — projection, datum and warp.
#pragma once
#include <cstdint>
#include <string>

#include "gcs/DatumDef.h"
#include "gcs/GCSDef.h"
#include "gcs/ProjectionDef.h"
#include "gcs/WarpDef.h"
#include "shr/ErrorRecord.h"

namespace tiff {
class TiffImageRead;
}

namespace georef {

struct GeoTiffParams;

// The pieces of a GeoTIFF's coordinate system before they are put on a GCSDef.
struct GeoTiffPieces {
    gcs::ProjectionDef projection;
    gcs::DatumDef datum;
    gcs::WarpDef warp;
    double linearUnitsPerMeter = 1.0;      // of the projected coordinates
    bool warpFromTiePointAndScale = false; // the warp came from one tie point and the scale
    // The system code the keys name (ProjectedCSType or GeographicType): among equal
    // predefined systems, the one the file names is the answer.
    int32_t namedCode = 0;
};

// Builds projection and datum from the decoded keys (converted in place to degrees and
// metres), and for a warp made from one tie point and the pixel scale rebuilds it in the
// linear unit from `file`. False when the projected part fails or the warp cannot be reread.
bool GeoTiffDecide(GeoTiffParams &params, tiff::TiffImageRead *file, int image,
                   GeoTiffPieces &pieces, shr::ErrorRecord *error = nullptr);

// Warp, keys and decision for image `image` (from 1) of an open file.
bool GeoTiffExtractPieces(tiff::TiffImageRead &file, int image, GeoTiffPieces &pieces,
                          shr::ErrorRecord *error = nullptr);

// Puts each known piece on `system`, then the code and name of an equal predefined system
// (the one the keys name when it is among them).
// False when `system` refuses a piece (the others stay set).
bool GeoTiffAssemble(const GeoTiffPieces &pieces, gcs::GCSDef &system,
                     shr::ErrorRecord *error = nullptr);

// The whole extraction. False on file-level failures (nothing assigned) or when `system`
// refused a piece. A file without GeoTIFF tags gives true and leaves `system` without pieces.
bool GeoTiffExtract(const std::wstring &path, int image, gcs::GCSDef &system,
                    shr::ErrorRecord *error = nullptr);
bool GeoTiffExtract(tiff::TiffImageRead &file, int image, gcs::GCSDef &system,
                    shr::ErrorRecord *error = nullptr);

} // namespace georef
