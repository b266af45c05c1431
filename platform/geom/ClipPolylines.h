// Clipping of polylines to an axis-aligned rectangle.
#pragma once
#include <vector>

#include "shr/Geometry.h"

namespace geom {

using Polyline = std::vector<shr::Vec2d>;

// Clips every polyline to `rect` (edges inclusive; the corners may be given in any order).
// A polyline that leaves and re-enters the rectangle becomes several pieces; pieces keep the
// direction of the input. Single-point polylines are kept when the point lies inside. A
// rectangle with a NaN corner clips everything away.
std::vector<Polyline> ClipPolylinesToRect(const std::vector<Polyline> &lines,
                                          const shr::Box2d &rect);

} // namespace geom
