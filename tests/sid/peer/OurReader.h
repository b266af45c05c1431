// Our side of the sid peer comparisons: images read through SidInterface.
#pragma once
#include "support/peer/Peer.h"

#include <cstdint>
#include <string>

namespace peer {

// Reads through SidInterface: format 4 gives red, green, blue (converted from blue first), 5
// red, green, blue, alpha; 3 grey. `error` says why when it fails.
Raster ReadOurs(const std::string &path, uint32_t scale, const uint32_t *region, int format);

} // namespace peer
