// Names of the GeoTIFF keys, for listings and diagnostics.
#pragma once
#include <cstdint>

namespace georef {

// The key's name ("GTModelType", "ProjectedCSType", ...), or nullptr for an unknown id.
const char *GeoKeyName(uint32_t keyId);

} // namespace georef
