// Clipping of polylines to a rectangle: kept, cut, split and dropped lines.
#include <gtest/gtest.h>

#include "geom/ClipPolylines.h"

using geom::ClipPolylinesToRect;
using geom::Polyline;

namespace {

TEST(ClipPolylines, CutsToTheRectangle) {
    const shr::Box2d rect(10, 0, 0, 10); // corners in any order
    const struct {
        const char *name;
        Polyline line;
        std::vector<Polyline> expected;
    } cases[] = {
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
        // A ring whose top-left part lies outside: one piece, from the top edge to the left.
        {"ring across a corner",
         {{-2, -2}, {6, -2}, {6, 6}, {-2, 6}, {-2, -2}},
         {{{6, 0}, {6, 6}, {0, 6}}}},
    };
    for (const auto &c : cases)
        EXPECT_EQ(ClipPolylinesToRect({c.line}, rect), c.expected) << c.name;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(ClipPolylinesToRect({{{1, 1}, {2, 2}}}, shr::Box2d(0, 0, nan, 10)).empty());
}

} // namespace
