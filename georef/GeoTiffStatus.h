// Status codes of the georeferencing module's own failures (file-level failures keep the TIFF
// reader's codes).
#pragma once
#include <cstdint>

namespace georef {

enum GeoTiffStatus : int32_t {
    kGeoTiffOk = 0,
    kGeoTiffNoSuchImage = -20,   // image number below 1 or above the file's image count
    kGeoTiffKeyPastTag = -21,    // a key's values run past the end of their tag
    kGeoTiffTooManyKeys = -22,   // more keys than a 16-bit key count describes
    kGeoTiffStoreFull = -23,     // a value store outgrew its 16-bit offsets
    kGeoTiffMissingOutput = -24, // no projection, datum or warp object to fill
    kGeoTiffPieceRefused = -25,  // the coordinate system refused a projection, datum or warp
};

} // namespace georef
