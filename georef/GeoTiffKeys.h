// Reading the GeoKey directory of one image of a TIFF file into a GeoKeyBundle.
#pragma once
#include <string>

#include "shr/ErrorRecord.h"

namespace tiff {
class TiffImageRead;
struct TiffDirectory;
} // namespace tiff

namespace georef {

class GeoKeyBundle;

// Fills `bundle` from image `image` (numbered from 1). False when the file cannot be opened or
// a key points past the end of its value tag (the keys before it stay in the bundle). An image
// without a usable key directory gives true and leaves the bundle as it was. `error` (when
// given) says where a failure came from.
bool GeoTiffExtractKeys(const std::wstring &path, int image, GeoKeyBundle &bundle,
                        shr::ErrorRecord *error = nullptr);

// The same on a file the caller has opened.
bool GeoTiffExtractKeys(tiff::TiffImageRead &file, int image, GeoKeyBundle &bundle,
                        shr::ErrorRecord *error = nullptr);

// The same on one directory of an open file (the one walk of a key directory in the system).
bool GeoTiffExtractKeys(const tiff::TiffDirectory &dir, GeoKeyBundle &bundle,
                        shr::ErrorRecord *error = nullptr);

} // namespace georef
