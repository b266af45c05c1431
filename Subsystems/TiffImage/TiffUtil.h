// Names of TIFF tags (TIFF 6.0, TIFF/EP, Exif, GeoTIFF and a few private tags) for listings.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace tiff {

struct TiffTagNameRow {
    int32_t tag;
    std::wstring_view name;
};

// The table rows in search order, without the terminating row.
const TiffTagNameRow *TiffTagNameRows(size_t &rowCount);

// The upper-case name of `tag`, or "UNKNOWN"; the string lives as long as the program.
const std::wstring &TiffTagName(int32_t tag);

} // namespace tiff
