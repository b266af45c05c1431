// Pixel work of the preview on its 24-bit bottom-up surface: blending of the rubber band and
// the tool pictures.
#pragma once
#include <cstdint>

#include "ToolButtonPictures.h"

namespace rvp {

// A 24-bit blue, green, red surface whose first stored row is the bottom one.
struct SurfaceBits {
    uint8_t *bits = nullptr;
    int32_t width = 0;
    int32_t height = 0;
    uint32_t stride = 0;
};

// Bytes per row of a 24-bit surface: width x 3 rounded up to a multiple of 4.
uint32_t SurfaceStride(uint32_t width);

// colour x a / 255 + old x (255 - a) / 255, each term truncated.
constexpr uint8_t BlendByte(uint8_t colour, uint8_t old, uint32_t alpha) {
    return static_cast<uint8_t>(colour * alpha / 255 + old * (255 - alpha) / 255);
}

// Blends the inclusive rectangle between two corners (any order; negatives count as 0) with
// a colour word 0xAARRGGBB. Rows at or beyond the height end the fill; columns beyond the
// width are skipped.
void BlendRectangle(SurfaceBits &surface, int32_t x0, int32_t y0, int32_t x1, int32_t y1,
                    uint32_t colour);

// Blends a picture with its top-left corner at (x, y); each pixel's alpha is scaled by
// alphaScale / 255.
void BlendPicture(SurfaceBits &surface, const ButtonPicture &picture, int32_t x, int32_t y,
                  uint32_t alphaScale);

} // namespace rvp
