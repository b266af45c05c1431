// Points and rectangles of doubles, in pixel or map units.
#pragma once
#include <algorithm>

namespace shr {

struct Vec2d {
    double x = 0.0;
    double y = 0.0;
    Vec2d() = default;
    Vec2d(double x_, double y_) : x(x_), y(y_) {}
    bool operator==(const Vec2d&) const = default;
};

struct Box2d {
    Vec2d min;
    Vec2d max;
    Box2d() = default;
    Box2d(const Vec2d& a, const Vec2d& b) : min(a), max(b) {}
    Box2d(double x0, double y0, double x1, double y1) : min(x0, y0), max(x1, y1) {}
    // Orders the corners so that min holds the smaller coordinates.
    void Normalize() {
        if (min.x > max.x)
            std::swap(min.x, max.x);
        if (min.y > max.y)
            std::swap(min.y, max.y);
    }
    double Width() const { return max.x - min.x; }
    double Height() const { return max.y - min.y; }
    bool operator==(const Box2d&) const = default;
};

} // namespace shr
