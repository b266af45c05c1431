// A synthetic image for loader tests: every sample's value is a function of its position,
// written into strips or tiles (uncompressed, PackBits or Deflate) of a little-endian TIFF
// built in memory, and expected back in the loader's output layout.
#pragma once
#include "TiffWriter.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace testsupport {

struct ImageModel {
    uint32_t width = 37;
    uint32_t height = 21;
    uint16_t spp = 1;
    uint16_t bps = 8;
    uint16_t compression = 1; // 1, 8 or 32773
    bool tiled = false;
    uint32_t chunkWidth = 16; // tiles only
    uint32_t chunkHeight = 3; // tile length or rows per strip
    // Changes to the directory after the standard tags (replace or add entries).
    std::function<void(TiffWriter &, Directory &)> edit;
    // Changes to the stored chunks before they are placed in the file.
    std::function<void(std::vector<Bytes> &)> editChunks;

    Bytes Build() const;
    uint64_t OutputRowBytes(uint32_t w) const { return (uint64_t{w} * spp * bps + 7) / 8; }
    // The window (x, y, w, h) in the loader's layout: machine (little-endian) order samples.
    Bytes Expected(uint32_t x, uint32_t y, uint32_t w, uint32_t h) const;
};

} // namespace testsupport
