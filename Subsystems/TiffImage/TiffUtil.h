// Names of TIFF tags (TIFF 6.0, TIFF/EP, Exif, GeoTIFF and a few private tags) for listings.
#pragma once
#include <cstdint>
#include <string>

namespace tiff {

// The upper-case name of `tag`, or "UNKNOWN"; the string lives as long as the program.
const std::wstring &TiffTagName(int32_t tag);

} // namespace tiff
