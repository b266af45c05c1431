// Undoing the TIFF predictors row by row: horizontal differencing (2, TIFF 6.0 section 14) and
// the floating point predictor (3, Adobe's TIFF technical note 3).
#pragma once
#include <cstddef>
#include <cstdint>

namespace tiff {

enum TiffPredictor : uint32_t {
    kPredictorNone = 1,
    kPredictorHorizontal = 2,
    kPredictorFloatingPoint = 3,
};

// Decoded rows of a strip or tile, with their layout.
struct PredictorRows {
    uint8_t *data = nullptr;
    uint32_t rows = 0;
    size_t bytesPerRow = 0; // distance from one row to the next
    size_t pixelsPerRow = 0;
    uint32_t samplesPerPixel = 1;
    uint32_t bitsPerSample = 8;
    bool bigEndian = false; // the file's byte order
};

// Horizontal differencing on one row: every sample after the first pixel is increased by the
// same sample of the previous pixel, wrapping. Multi-byte samples are read and written in the
// file's byte order. False unless bitsPerSample is 8, 16 or 32.
bool UndoHorizontalDifferencing(uint8_t *row, size_t pixels, uint32_t samples,
                                uint32_t bitsPerSample, bool bigEndian);

// Floating point predictor on one row: undoes the byte differences, then regroups the byte
// planes (most significant plane first) so that the row holds little-endian values. `scratch`
// has room for the row's bytes. False unless bitsPerSample is 32 or 64.
bool UndoFloatingPointPredictor(uint8_t *row, size_t pixels, uint32_t samples,
                                uint32_t bitsPerSample, uint8_t *scratch);

// Undoes `predictor` (2 or 3; any other value leaves the rows as they are) over every row;
// false at the first row that cannot be undone.
bool UndoPredictor(uint32_t predictor, const PredictorRows &rows);

} // namespace tiff
