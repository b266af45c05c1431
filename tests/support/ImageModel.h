// A synthetic image for loader and engine tests: every sample's value is a function of its
// position, written into strips or tiles (uncompressed, PackBits, Deflate or LZW, with or
// without the horizontal predictor) of a TIFF built in memory, and expected back in the
// loader's output layout.
#pragma once
#include "TiffWriter.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace testsupport {

struct ImageModel {
    bool bigEndian = false;
    bool bigTiff = false;
    uint32_t width = 37;
    uint32_t height = 21;
    uint16_t spp = 1;
    uint16_t bps = 8;
    uint16_t planar = 1;
    uint16_t compression = 1; // 1, 5, 8 or 32773
    uint16_t predictor = 1;   // 2 is applied to whole-byte samples before compressing
    uint16_t photometric = 1;
    bool tiled = false;
    uint32_t chunkWidth = 16; // tiles only
    uint32_t chunkHeight = 3; // tile length or rows per strip
    // Changes to the directory after the standard tags (replace or add entries).
    std::function<void(TiffWriter &, Directory &)> edit;
    // Changes to the stored chunks before they are placed in the file.
    std::function<void(std::vector<Bytes> &)> editChunks;

    static uint64_t Value(uint32_t x, uint32_t y, uint32_t s, uint16_t bps);
    std::vector<Bytes> Chunks() const;
    // Adds this image's tags and chunks as a directory of `writer`.
    void AddTo(TiffWriter &writer, Directory &d) const;
    Bytes Build() const;
    uint64_t OutputRowBytes(uint32_t w) const { return (uint64_t{w} * spp * bps + 7) / 8; }
    // The window (x, y, w, h) in the loader's layout: machine (little-endian) order samples.
    Bytes Expected(uint32_t x, uint32_t y, uint32_t w, uint32_t h) const;

private:
    uint32_t SamplesInChunk() const { return planar == 2 ? 1 : spp; }
    uint32_t StoredWidth() const { return tiled ? chunkWidth : width; }
    uint64_t ChunkRowBytes() const;
    Bytes RawChunk(uint32_t x0, uint32_t y0, uint32_t plane) const;
    Bytes Encode(Bytes raw) const;
};

} // namespace testsupport
