// Host rows to TIFF and PNG samples: blue-first colour becomes red-first.
#include "RowLayout.h"

#include <cstring>

namespace iosid::host {

SampleLayout LayoutOf(RowFormat format) {
    switch (format) {
    case RowFormat::Bilevel1:
        return {1, 1, false};
    case RowFormat::Gray4:
        return {4, 1, false};
    case RowFormat::Gray8:
        return {8, 1, false};
    case RowFormat::Bgr24:
        return {8, 3, false};
    case RowFormat::Bgra32:
    case RowFormat::Bgrx32:
        return {8, 4, true};
    }
    return {8, 1, false};
}

uint64_t SampleRowBytes(RowFormat format, uint32_t width) {
    const SampleLayout layout = LayoutOf(format);
    return (uint64_t{width} * layout.bitsPerSample * layout.samplesPerPixel + 7) / 8;
}

void ConvertRow(RowFormat format, uint32_t width, const uint8_t *in, uint8_t *out) {
    const int channels = LayoutOf(format).samplesPerPixel;
    if (channels == 1) {
        std::memcpy(out, in, SampleRowBytes(format, width));
        return;
    }
    for (uint32_t x = 0; x < width; ++x, in += channels, out += channels) {
        out[0] = in[2];
        out[1] = in[1];
        out[2] = in[0];
        if (channels == 4)
            out[3] = in[3];
    }
}

} // namespace iosid::host
