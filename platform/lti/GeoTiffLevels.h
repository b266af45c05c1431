// The resolution levels of a GeoTIFF image (the full image and its reduced-resolution
// subfiles) and the reading of a window of one level into band-planar samples.
#pragma once
#include "GeoTiffBlocks.h"
#include "LTISceneBuffer.h"

#include <memory>
#include <vector>

namespace LizardTech {

// How stored samples become the engine's bands.
struct GeoTiffPixelMap {
    bool palette = false; // one index sample becomes red, green and blue
    bool invert = false;  // WhiteIsZero: the value is subtracted from `invertFrom`
    double invertFrom = 0.0;
    uint16_t bands = 0; // bands delivered (the first `bands` stored samples)
};

struct GeoTiffLevel {
    uint32_t factor = 1; // reduction from the full image, a power of two
    GeoTiffLayout layout;
    std::unique_ptr<GeoTiffBlockDecoder> decoder;
};

// Reads rectangles of one level through the shared block cache.
class GeoTiffLevelReader {
public:
    GeoTiffLevelReader(const GeoTiffLevel &level, uint32_t levelIndex, GeoTiffBlockCache &cache,
                       const GeoTiffPixelMap &map)
        : level_(level), index_(levelIndex), cache_(cache), map_(map) {}

    // Copies level pixels [x, x + width) × [y, y + height) into `out` from its row `outRow`
    // on. Columns and rows beyond the level repeat its last column and row.
    LT_STATUS readRect(uint32_t x, uint32_t y, uint32_t width, uint32_t height, LTISceneBuffer &out,
                       uint32_t outRow = 0);

private:
    LT_STATUS block(uint64_t index, GeoTiffBlockPtr &data);
    void copyBlock(const GeoTiffBlock &data, uint16_t plane, uint32_t blockX, uint32_t blockY,
                   uint32_t x0, uint32_t y0, uint32_t x1, uint32_t y1, uint32_t x, uint32_t y,
                   LTISceneBuffer &out, uint32_t outRow) const;
    void repeatEdges(uint32_t available, uint32_t availableRows, uint32_t width, uint32_t height,
                     LTISceneBuffer &out, uint32_t outRow) const;

    const GeoTiffLevel &level_;
    uint32_t index_;
    GeoTiffBlockCache &cache_;
    const GeoTiffPixelMap &map_;
};

// Averages `in` (k × k level pixels per output pixel, the last ones possibly partial: the
// rectangle holds `inWidth` × `inHeight` valid pixels) into rows `outRow`... of `out`.
void AverageDown(const LTISceneBuffer &in, uint32_t inWidth, uint32_t inHeight, uint32_t k,
                 LTISceneBuffer &out, uint32_t outRow, uint32_t outWidth, uint32_t outHeight);

} // namespace LizardTech
