// Clipping of polylines to a rectangle: kept, cut, split and dropped lines.
#include <gtest/gtest.h>

#include "geom/ClipPolylines.h"

using geom::ClipPolylinesToRect;
using geom::Polyline;

namespace {

struct ClipCase {
    const char *name;
    Polyline line;
    std::vector<Polyline> expected;
};

TEST(ClipPolylines, CutsToTheRectangle) {
    const shr::Box2d rect(10, 0, 0, 10); // corners in any order
    const ClipCase cases[] = {
        {"inside", {{1, 1}, {9, 1}, {9, 9}}, {{{1, 1}, {9, 1}, {9, 9}}}},
        {"crosses the right edge", {{5, 5}, {15, 5}}, {{{5, 5}, {10, 5}}}},
        {"enters from the left", {{-5, 2}, {5, 2}, {5, 8}}, {{{0, 2}, {5, 2}, {5, 8}}}},
        {"leaves and re-enters",
         {{2, 2}, {2, 20}, {8, 20}, {8, 2}},
         {{{2, 2}, {2, 10}}, {{8, 10}, {8, 2}}}},
        {"passes through", {{-10, -10}, {20, 20}}, {{{0, 0}, {10, 10}}}},
        {"outside", {{11, 0}, {20, 10}}, {}},
        {"on the edge", {{0, 0}, {0, 10}}, {{{0, 0}, {0, 10}}}},
        {"single point inside", {{3, 3}}, {{{3, 3}}}},
        {"single point outside", {{-3, 3}}, {}},
    };
    for (const ClipCase &c : cases)
        EXPECT_EQ(ClipPolylinesToRect({c.line}, rect), c.expected) << c.name;
}

TEST(ClipPolylines, ClosedRingAcrossACornerKeepsOnePiecePerVisibleRun) {
    // A square ring whose top-left part lies outside: the visible part starts on the top edge
    // and ends on the left edge.
    const Polyline ring = {{-2, -2}, {6, -2}, {6, 6}, {-2, 6}, {-2, -2}};
    const auto pieces = ClipPolylinesToRect({ring}, shr::Box2d(0, 0, 10, 10));
    ASSERT_EQ(pieces.size(), 1u);
    EXPECT_EQ(pieces[0], (Polyline{{6, 0}, {6, 6}, {0, 6}}));
}

TEST(ClipPolylines, NaNRectangleClipsEverything) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(ClipPolylinesToRect({{{1, 1}, {2, 2}}}, shr::Box2d(0, 0, nan, 10)).empty());
}

} // namespace
