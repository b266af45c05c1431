// Opening a GeoTIFF's TIFF file and checking an image number, with error records.
#pragma once
#include <string>

#include "shr/ErrorRecord.h"

namespace tiff {
class TiffImageRead;
}

namespace georef {

// Opens `path`; on failure copies the reader's error record into `error` (when given).
bool OpenGeoTiffFile(tiff::TiffImageRead &file, const std::wstring &path, shr::ErrorRecord *error);

// True when `image` (from 1) names one of the file's images; otherwise records
// kGeoTiffNoSuchImage.
bool CheckImageNumber(tiff::TiffImageRead &file, int image, shr::ErrorRecord *error);

// Records a failure of this module in `error` (when given); returns false.
bool RecordGeoTiffError(shr::ErrorRecord *error, const wchar_t *sourceFile, int line, int32_t code);

} // namespace georef
