// Reductions no level provides: averaging a finer level, its rows streamed through a bounded
// buffer so that memory does not grow with the reduction.
#pragma once
#include "GeoTiffLevels.h"

namespace engines::geotiff {

using namespace LizardTech; // the seam the engine implements

// Output pixels [x, x + width) × [y, y + height), each covering k × k level pixels.
struct AveragedWindow {
    uint32_t x, y, width, height;
    uint32_t k;
};

// Reads `window` into rows 0... of `out` (of the engine's bands and data type). Output pixel
// (ox, oy) is the mean of level columns [ox·k, ox·k + k) and rows [oy·k, oy·k + k) that lie in
// the level (the last column or row when none does): each row's mean over its columns, then
// the mean of those, rounded to the nearest value for integer types. Level rows are read a
// few MiB at a time (at least one row), and one sum is kept per output pixel and band.
LT_STATUS ReadAveraged(GeoTiffLevelReader &reader, const AveragedWindow &window,
                       LTISceneBuffer &out);

} // namespace engines::geotiff
