// The layout of one TIFF image (directory) as the GeoTIFF engine reads it: size, samples,
// colour interpretation, and the strips or tiles that hold the pixels.
#pragma once
#include "LTIStatus.h"

#include <cstdint>
#include <vector>

namespace tiff {
struct TiffDirectory;
}

namespace LizardTech {

struct GeoTiffLayout {
    uint32_t width = 0;
    uint32_t height = 0;
    uint16_t samplesPerPixel = 1;
    uint16_t bitsPerSample = 1;
    uint16_t sampleFormat = 1; // 1 unsigned, 2 signed, 3 floating point
    uint16_t photometric = 1;
    uint16_t planarConfig = 1; // 1 chunky, 2 one plane per sample
    uint16_t compression = 1;
    uint16_t predictor = 1;
    uint16_t inkSet = 1;
    uint32_t subfileType = 0; // NewSubfileType: bit 0 reduced resolution, bit 2 mask
    bool tiled = false;
    uint32_t blockWidth = 0;  // tile width, or the image width for strips
    uint32_t blockHeight = 0; // tile height, or rows per strip
    uint32_t blocksAcross = 0;
    uint32_t blocksDown = 0;
    std::vector<uint64_t> offsets;    // per block, plane-major when planar
    std::vector<uint64_t> byteCounts; // per block
    std::vector<uint16_t> colorMap;   // red, green and blue tables of 2^bits entries
    std::vector<uint16_t> extraSamples;
    bool hasDeclaredRange = false; // SMinSampleValue and SMaxSampleValue
    double declaredMin = 0.0;
    double declaredMax = 0.0;

    bool isReducedResolution() const { return (subfileType & 1) != 0; }
    bool isMask() const { return (subfileType & 4) != 0; }
    uint16_t samplesPerBlock() const { return planarConfig == 2 ? 1 : samplesPerPixel; }
    uint16_t planes() const { return planarConfig == 2 ? samplesPerPixel : 1; }
    // Bytes of one stored row of a block (rows are padded to whole bytes).
    uint64_t blockRowBytes() const;
    // Rows actually stored in block row `blockRow` (strips at the bottom may be shorter).
    uint32_t rowsInBlock(uint32_t blockRow) const;
};

// Reads and checks the layout of `dir`; a nonzero status (with a recorded reason) when the
// image is malformed or uses something the engine does not read.
LT_STATUS ParseGeoTiffLayout(const tiff::TiffDirectory &dir, GeoTiffLayout &layout);

} // namespace LizardTech
