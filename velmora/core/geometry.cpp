#include "velmora/core/geometry.hpp"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace velmora::ui {

bool Rect::contains(Vec2 p) const { return x <= p.x && p.x < x + w && y <= p.y && p.y < y + h; }

Rect Rect::intersect(Rect other) const {
    float left = std::max(x, other.x);
    float top = std::max(y, other.y);
    float right = std::min(x + w, other.x + other.w);
    float bottom = std::min(y + h, other.y + other.h);
    float rw = right - left;
    float rh = bottom - top;
    // `!(v > 0)` also catches NaN.
    return {left, top, rw > 0 ? rw : 0.0f, rh > 0 ? rh : 0.0f};
}

unsigned mix(unsigned a, unsigned b, float t) {
    if (!in_range(t, 0, 1)) throw std::invalid_argument("Color interpolation");
    unsigned out = 0;
    for (int shift = 0; shift < 32; shift += 8) {
        float ca = static_cast<float>((a >> shift) & 0xFFu);
        float cb = static_cast<float>((b >> shift) & 0xFFu);
        float v = (1.0f - t) * ca + t * cb;
        out |= static_cast<unsigned>(std::lround(v)) << shift;
    }
    return out;
}

} // namespace velmora::ui
