// The pictures of the preview's tool buttons: 32-bit blue, green, red, alpha pixels, bottom
// row first, a light symbol on a rounded grey square with transparent corners.
#pragma once
#include <cstdint>

namespace rvp {

struct ButtonPicture {
    const uint8_t *pixels;
    int32_t stride; // bytes per row
    int32_t width;
    int32_t height;
};

enum class ToolPicture { Pan, PanActive, Select, SelectActive, Fit, ZoomIn, ZoomOut };

const ButtonPicture &GetToolPicture(ToolPicture which);

} // namespace rvp
