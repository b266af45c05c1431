// Liang-Barsky clipping of each segment, joining consecutive visible segments into pieces.
#include "ClipPolylines.h"

#include <cmath>

namespace geom {
namespace {

// Narrows the parameter range [t0, t1] by one edge inequality p * t <= q.
bool ClipEdge(double p, double q, double &t0, double &t1) {
    if (p == 0.0)
        return q >= 0.0;
    const double t = q / p;
    if (p < 0.0) {
        if (t > t1)
            return false;
        if (t > t0)
            t0 = t;
    } else {
        if (t < t0)
            return false;
        if (t < t1)
            t1 = t;
    }
    return true;
}

// The visible part of segment a-b, or false when none of it lies in the rectangle.
bool ClipSegment(const shr::Vec2d &a, const shr::Vec2d &b, const shr::Box2d &r, shr::Vec2d &outA,
                 shr::Vec2d &outB) {
    const double dx = b.x - a.x, dy = b.y - a.y;
    double t0 = 0.0, t1 = 1.0;
    if (!ClipEdge(-dx, a.x - r.min.x, t0, t1) || !ClipEdge(dx, r.max.x - a.x, t0, t1) ||
        !ClipEdge(-dy, a.y - r.min.y, t0, t1) || !ClipEdge(dy, r.max.y - a.y, t0, t1))
        return false;
    // Ends that need no cut are copied exactly, so pieces join without rounding gaps.
    outA = t0 == 0.0 ? a : shr::Vec2d(a.x + t0 * dx, a.y + t0 * dy);
    outB = t1 == 1.0 ? b : shr::Vec2d(a.x + t1 * dx, a.y + t1 * dy);
    return true;
}

bool Inside(const shr::Vec2d &p, const shr::Box2d &r) {
    return p.x >= r.min.x && p.x <= r.max.x && p.y >= r.min.y && p.y <= r.max.y;
}

void ClipOne(const Polyline &line, const shr::Box2d &r, std::vector<Polyline> &out) {
    if (line.size() == 1) {
        if (Inside(line[0], r))
            out.push_back(line);
        return;
    }
    Polyline piece;
    for (size_t i = 0; i + 1 < line.size(); ++i) {
        shr::Vec2d a, b;
        if (!ClipSegment(line[i], line[i + 1], r, a, b)) {
            if (!piece.empty())
                out.push_back(std::move(piece));
            piece.clear();
            continue;
        }
        if (!piece.empty() && !(piece.back() == a)) {
            out.push_back(std::move(piece));
            piece.clear();
        }
        if (piece.empty())
            piece.push_back(a);
        piece.push_back(b);
        // A cut end leaves the rectangle: the next visible part starts a new piece.
        if (!(b == line[i + 1])) {
            out.push_back(std::move(piece));
            piece.clear();
        }
    }
    if (!piece.empty())
        out.push_back(std::move(piece));
}

} // namespace

std::vector<Polyline> ClipPolylinesToRect(const std::vector<Polyline> &lines,
                                          const shr::Box2d &rect) {
    shr::Box2d r = rect;
    r.Normalize();
    std::vector<Polyline> out;
    if (std::isnan(r.min.x) || std::isnan(r.min.y) || std::isnan(r.max.x) || std::isnan(r.max.y))
        return out;
    for (const Polyline &line : lines)
        ClipOne(line, r, out);
    return out;
}

} // namespace geom
