// The resolution levels of a GeoTIFF image (the full image and its reduced-resolution
// subfiles) and the reading of a window of one level into band-planar samples.
#pragma once
#include "GeoTiffLayout.h"
#include "lti/LTISceneBuffer.h"

#include <memory>
#include <string>

namespace engines::geotiff {

using namespace LizardTech; // the seam the engine implements

// How stored samples become the engine's bands.
struct GeoTiffPixelMap {
    bool palette = false; // one index sample becomes red, green and blue
    bool invert = false;  // WhiteIsZero: the value is subtracted from `invertFrom`
    double invertFrom = 0.0;
    uint16_t bands = 0;     // bands delivered (the first `bands` stored samples)
    bool maskAlpha = false; // the last band is the level's transparency mask
    double opaque = 0.0;    // alpha of a set mask bit
};

struct GeoTiffLevel {
    uint32_t factor = 1; // reduction from the full image, a power of two
    GeoTiffLayout layout;
    std::unique_ptr<tiff::TiffBlockDecoder> decoder; // blocks the library does not decode
    std::unique_ptr<tiff::TiffImageLoader> loader;   // open on the level's directory
    std::unique_ptr<tiff::TiffImageLoader> mask;     // its bilevel transparency mask, if any
};

// Reads rectangles of one level through its loader (which caches decoded strips and tiles).
class GeoTiffLevelReader {
public:
    GeoTiffLevelReader(GeoTiffLevel &level, tiff::CTiffReader &file, const GeoTiffPixelMap &map)
        : level_(level), file_(file), map_(map) {}

    // Copies level pixels [x, x + width) × [y, y + height) into `out` from its row `outRow`
    // on. Columns and rows beyond the level repeat its last column and row.
    LT_STATUS readRect(uint32_t x, uint32_t y, uint32_t width, uint32_t height, LTISceneBuffer &out,
                       uint32_t outRow = 0);
    const tiff::TiffImageInfo &info() const { return level_.layout.info; }

private:
    std::string levelName() const;
    std::string failure(uint32_t first, uint32_t count, const char *what) const;
    bool readMask(uint32_t x, uint32_t y, uint32_t width, uint32_t rows, LTISceneBuffer &out,
                  uint32_t outRow);
    void scatterRow(const uint8_t *samples, uint32_t width, LTISceneBuffer &out,
                    uint32_t outRow) const;
    void repeatEdges(uint32_t available, uint32_t availableRows, uint32_t width, uint32_t height,
                     LTISceneBuffer &out, uint32_t outRow) const;

    GeoTiffLevel &level_;
    tiff::CTiffReader &file_;
    const GeoTiffPixelMap &map_;
};

} // namespace engines::geotiff
