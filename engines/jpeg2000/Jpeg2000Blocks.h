// Decoded pieces of a JPEG 2000 image in the bands the engine delivers, and the few of them
// kept between scenes so that a tile cut by a strip boundary is decoded once.
#pragma once
#include "Jpeg2000Boxes.h"
#include "Jpeg2000Channels.h"
#include "Jpeg2000Codec.h"

#include "lti/LTISceneBuffer.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace engines::jpeg2000 {

// Band-planar samples of the reduced image's pixels [x, x + width) × [y, y + height).
struct BandBlock {
    uint32_t level = 0, tile = 0;
    uint32_t x = 0, y = 0, width = 0, height = 0;
    uint32_t bands = 0;
    std::vector<uint8_t> samples;
};

// Converts what the codec decoded into `block` (the reduced image starts at reduced
// reference-grid position originX, originY): palette columns looked up, samples clamped to
// the bands' type.
void ConvertDecoded(const DecodedArea &area, const BandLayout &layout, const Palette &palette,
                    uint32_t originX, uint32_t originY, BandBlock &block);

// Copies the part of `block` inside the scene at (x, y) into `buffer`.
void CopyBlock(const BandBlock &block, uint32_t x, uint32_t y, uint32_t width, uint32_t height,
               LizardTech::LTISceneBuffer &buffer);

// Blocks kept up to a byte budget, each from the first row the next scene needs: a tile twice
// a strip's height costs half of itself. Blocks of another level and those above the next scene
// go first, then the oldest.
class BlockCache {
public:
    explicit BlockCache(size_t budget) : budget_(budget) {}

    // A kept block of the tile holding its rows from `firstRow` down; null when none does.
    const BandBlock *find(uint32_t level, uint32_t tile, uint32_t firstRow) const;
    // Keeps the rows of `block` from `nextTop` (inside it) down, when they fit the budget.
    void keep(BandBlock &&block, uint32_t nextTop);

private:
    size_t budget_;
    size_t used_ = 0;
    std::deque<BandBlock> blocks_;
};

} // namespace engines::jpeg2000
