// The seven tool pictures, drawn at compile time from shape rules into constant pixel arrays.
#include "ToolButtonPictures.h"

#include <array>

namespace rvp {
namespace {

constexpr uint8_t kSymbol = 245;      // light symbol
constexpr uint8_t kSquare = 120;      // grey square of an idle button
constexpr uint8_t kSquareActive = 56; // darker square of the mode in use
constexpr int kCornerRadius = 5;

// Coverage (0 to 255) of the rounded square at pixel (x, y): full inside, half on the rim.
constexpr int SquareCoverage(int x, int y, int w, int h) {
    const int r = kCornerRadius;
    const int cx = x < r ? r : (x >= w - r ? w - r - 1 : x);
    const int cy = y < r ? r : (y >= h - r ? h - r - 1 : y);
    // Twice the offsets from the corner circle's centre, measured at pixel centres.
    const int dx = 2 * (x - cx) + (x < cx ? 1 : (x > cx ? -1 : 0));
    const int dy = 2 * (y - cy) + (y < cy ? 1 : (y > cy ? -1 : 0));
    const int d2 = dx * dx + dy * dy;
    if (d2 <= (2 * r - 1) * (2 * r - 1))
        return 255;
    return d2 <= (2 * r + 1) * (2 * r + 1) ? 128 : 0;
}

template <int W, int H, typename Shape>
constexpr std::array<uint8_t, W * H * 4> Draw(uint8_t square, Shape symbol) {
    std::array<uint8_t, W * H * 4> out{};
    for (int y = 0; y < H; ++y) {
        for (int x = 0; x < W; ++x) {
            const int coverage = SquareCoverage(x, y, W, H);
            const uint8_t grey = symbol(x, y) ? kSymbol : square;
            const int at = ((H - 1 - y) * W + x) * 4; // bottom row first
            out[at] = out[at + 1] = out[at + 2] = coverage ? grey : 0;
            out[at + 3] = static_cast<uint8_t>(coverage);
        }
    }
    return out;
}

constexpr bool In(int v, int low, int high) { return v >= low && v <= high; }

constexpr bool Plus(int x, int y) {
    return (In(x, 10, 11) && In(y, 5, 16)) || (In(y, 10, 11) && In(x, 5, 16));
}
constexpr bool Minus(int x, int y) { return In(y, 10, 11) && In(x, 5, 16); }

// Four arrows pointing into the corners; every corner is the mirror of the top-left one.
constexpr bool CornerArrows(int x, int y) {
    const int mx = x < 11 ? x : 21 - x, my = y < 11 ? y : 21 - y;
    const bool head = (In(my, 4, 5) && In(mx, 4, 9)) || (In(mx, 4, 5) && In(my, 4, 9));
    const bool shaft = In(mx, 4, 9) && (mx == my || mx == my + 1);
    return head || shaft;
}

constexpr bool RectangleOutline(int x, int y) {
    const bool sides = (In(x, 4, 5) || In(x, 18, 19)) && In(y, 5, 16);
    const bool ends = (In(y, 5, 6) || In(y, 15, 16)) && In(x, 4, 19);
    return sides || ends;
}

// An open hand: four fingers of different lengths, a thumb, the palm and the wrist.
constexpr bool Hand(int x, int y) {
    constexpr int fingerLeft[] = {7, 10, 13, 16};
    constexpr int fingerTop[] = {5, 3, 4, 6};
    for (int i = 0; i < 4; ++i)
        if (In(x, fingerLeft[i], fingerLeft[i] + 1) && In(y, fingerTop[i], 11))
            return true;
    const bool thumb = In(x, 3, 7) && In(y, 9, 14) && In(y - x, 5, 7);
    const bool palm = In(x, 7, 17) && In(y, 11, 17) && !((x == 7 || x == 17) && y == 17);
    const bool wrist = In(x, 9, 15) && In(y, 18, 19);
    return thumb || palm || wrist;
}

constexpr auto kPan = Draw<24, 22>(kSquare, Hand);
constexpr auto kPanActive = Draw<24, 22>(kSquareActive, Hand);
constexpr auto kSelect = Draw<24, 22>(kSquare, RectangleOutline);
constexpr auto kSelectActive = Draw<24, 22>(kSquareActive, RectangleOutline);
constexpr auto kFit = Draw<22, 22>(kSquare, CornerArrows);
constexpr auto kZoomIn = Draw<22, 22>(kSquare, Plus);
constexpr auto kZoomOut = Draw<22, 22>(kSquare, Minus);

const ButtonPicture kPictures[] = {
    {kPan.data(), 24 * 4, 24, 22},    {kPanActive.data(), 24 * 4, 24, 22},
    {kSelect.data(), 24 * 4, 24, 22}, {kSelectActive.data(), 24 * 4, 24, 22},
    {kFit.data(), 22 * 4, 22, 22},    {kZoomIn.data(), 22 * 4, 22, 22},
    {kZoomOut.data(), 22 * 4, 22, 22}};

} // namespace

const ButtonPicture &GetToolPicture(ToolPicture which) {
    return kPictures[static_cast<int>(which)];
}

} // namespace rvp
