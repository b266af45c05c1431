// Pixel layouts of rows handed between an image producer and its host, and palette entries.
#pragma once
#include <cstddef>
#include <cstdint>

namespace shr {

// Values are the host's own codes: never renumber.
enum ColorFormat : int32_t {
    ColorFormatInvalid = 0,
    ColorFormatBilevel = 1, // 1 bit a pixel, first pixel in the most significant bit
    ColorFormatGray4 = 2,   // 4 bits a pixel, first pixel in the high nibble
    ColorFormatGray8 = 3,   // 8 bits a pixel
    ColorFormatBgr24 = 9,   // blue, green, red
    ColorFormatBgrx32 = 10, // blue, green, red, a fourth byte
    ColorFormatBgra32 = 12, // blue, green, red, alpha
};

struct RgbQuad {
    uint8_t blue = 0, green = 0, red = 0, reserved = 0;
};

// Bytes of one row of `width` pixels; 0 for a format that is not listed above.
inline size_t RowBytes(ColorFormat format, uint32_t width) {
    switch (format) {
    case ColorFormatBilevel:
        return (size_t{width} + 7) / 8;
    case ColorFormatGray4:
        return (size_t{width} + 1) / 2;
    case ColorFormatGray8:
        return width;
    case ColorFormatBgr24:
        return size_t{width} * 3;
    case ColorFormatBgrx32:
    case ColorFormatBgra32:
        return size_t{width} * 4;
    default:
        return 0;
    }
}

} // namespace shr
