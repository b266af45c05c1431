// How host rows map onto the samples of TIFF and PNG images.
#pragma once
#include <cstdint>

#include "ImageWriter.h"

namespace iosid::host {

struct SampleLayout {
    int bitsPerSample;   // 1, 4 or 8
    int samplesPerPixel; // 1 (grey), 3 (RGB) or 4 (RGBA)
    bool hasAlpha;       // the fourth sample is unassociated alpha
};

// Grey formats keep their packing (first pixel in the most significant bits, 1 = white), which
// is what TIFF (FillOrder 1, MinIsBlack) and PNG both store. Colour becomes RGB, and both
// 32-bit formats become RGBA: the fourth byte of Bgrx32 is alpha or 255, so it is kept as alpha.
SampleLayout LayoutOf(RowFormat format);

// Bytes of one converted row of `width` pixels.
uint64_t SampleRowBytes(RowFormat format, uint32_t width);

// Converts one host row into the layout above; `out` holds SampleRowBytes bytes.
void ConvertRow(RowFormat format, uint32_t width, const uint8_t *in, uint8_t *out);

} // namespace iosid::host
