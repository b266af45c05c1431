// Blending onto the preview's surface.
#include "PickerDrawing.h"

#include <algorithm>

namespace rvp {

uint32_t SurfaceStride(uint32_t width) { return (width * 3 + 3) & ~3u; }

void BlendRectangle(SurfaceBits &s, int32_t x0, int32_t y0, int32_t x1, int32_t y1,
                    uint32_t colour) {
    if (!s.bits)
        return;
    const int32_t left = std::max(std::min(x0, x1), 0), right = std::max(std::max(x0, x1), 0);
    const int32_t top = std::max(std::min(y0, y1), 0), bottom = std::max(std::max(y0, y1), 0);
    const uint32_t alpha = colour >> 24;
    const uint8_t rgb[3] = {static_cast<uint8_t>(colour), static_cast<uint8_t>(colour >> 8),
                            static_cast<uint8_t>(colour >> 16)};
    for (int32_t y = top; y <= bottom; ++y) {
        if (y >= s.height)
            break;
        uint8_t *row = s.bits + static_cast<size_t>(s.height - 1 - y) * s.stride;
        for (int32_t x = left; x <= std::min(right, s.width - 1); ++x)
            for (int c = 0; c < 3; ++c)
                row[3 * x + c] = BlendByte(rgb[c], row[3 * x + c], alpha);
    }
}

void BlendPicture(SurfaceBits &s, const ButtonPicture &p, int32_t x, int32_t y,
                  uint32_t alphaScale) {
    if (!s.bits)
        return;
    for (int32_t r = 0; r < p.height; ++r) {
        const int32_t sy = y + r;
        if (sy < 0 || sy >= s.height)
            continue;
        const uint8_t *src = p.pixels + static_cast<size_t>(p.height - 1 - r) * p.stride;
        uint8_t *dst = s.bits + static_cast<size_t>(s.height - 1 - sy) * s.stride;
        for (int32_t c = 0; c < p.width; ++c) {
            const int32_t sx = x + c;
            if (sx < 0 || sx >= s.width)
                continue;
            const uint32_t a = src[4 * c + 3] * alphaScale / 255;
            for (int k = 0; k < 3; ++k)
                dst[3 * sx + k] = BlendByte(src[4 * c + k], dst[3 * sx + k], a);
        }
    }
}

} // namespace rvp
