// Blending onto the preview's bottom-up surface: bytes, the rubber band and the tool pictures.
#include <gtest/gtest.h>

#include <vector>

#include "PickerDrawing.h"

using namespace rvp;

namespace {

struct Surface {
    Surface(int32_t w, int32_t h, uint8_t fill)
        : bytes(SurfaceStride(w) * h, fill), bits{bytes.data(), w, h, SurfaceStride(w)} {}
    // Blue, green, red of pixel (x, y), y from the top.
    std::vector<int> At(int x, int y) const {
        const uint8_t *p = bytes.data() + (bits.height - 1 - y) * bits.stride + 3 * x;
        return {p[0], p[1], p[2]};
    }
    std::vector<uint8_t> bytes;
    SurfaceBits bits;
};

TEST(PickerDrawing, BlendsBytesWithTruncatedTerms) {
    const struct {
        uint8_t colour, old;
        uint32_t alpha;
        uint8_t expected;
    } cases[] = {{255, 0, 127, 127}, {127, 200, 127, 63 + 100}, {10, 20, 0, 20},
                 {10, 20, 255, 10},  {255, 255, 127, 255},      {1, 1, 128, 0}};
    for (const auto &c : cases)
        EXPECT_EQ(BlendByte(c.colour, c.old, c.alpha), c.expected)
            << int(c.colour) << " " << int(c.old) << " " << c.alpha;
    EXPECT_EQ(SurfaceStride(1), 4u);
    EXPECT_EQ(SurfaceStride(357), 1072u);
}

TEST(PickerDrawing, RubberBandCoversTheInclusiveRectangleInside) {
    Surface s(5, 4, 0);
    BlendRectangle(s.bits, 3, 2, -4, -1, 0x7FFFFF7F); // reversed, negatives to 0
    const std::vector<int> band = {63, 127, 127}, none = {0, 0, 0};
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 5; ++x)
            EXPECT_EQ(s.At(x, y), x <= 3 && y <= 2 ? band : none) << x << "," << y;

    Surface clipped(3, 2, 0);
    BlendRectangle(clipped.bits, 1, 1, 10, 10, 0xFF0000FF); // beyond both edges
    EXPECT_EQ(clipped.At(2, 1), (std::vector<int>{255, 0, 0}));
    EXPECT_EQ(clipped.At(0, 1), none);
    EXPECT_EQ(clipped.At(2, 0), none);
}

TEST(PickerDrawing, PictureAlphaIsScaledAndCornersStayTransparent) {
    const ButtonPicture &p = GetToolPicture(ToolPicture::ZoomIn);
    for (uint32_t scale : {255u, 180u}) {
        Surface s(30, 30, 0);
        BlendPicture(s.bits, p, 4, 3, scale);
        EXPECT_EQ(s.At(4, 3), (std::vector<int>{0, 0, 0})); // transparent corner
        // The plus's centre: full-alpha symbol byte blended at the scaled alpha.
        const int symbol = p.pixels[(p.height - 1 - 10) * p.stride + 4 * 10];
        const int expected = symbol * int(scale) / 255;
        EXPECT_EQ(s.At(4 + 10, 3 + 10), (std::vector<int>{expected, expected, expected}));
    }
    Surface edge(10, 10, 7); // a picture hanging off the surface is cut, not wrapped
    BlendPicture(edge.bits, p, 5, -5, 255);
    EXPECT_EQ(edge.At(0, 9), (std::vector<int>{7, 7, 7}));
    EXPECT_EQ(edge.At(5, 0), (std::vector<int>{120, 120, 120})); // picture row 5, grey square
}

} // namespace
