// Value types of the drawing model: points, rectangles and packed colours.
//
// Logical units have their origin at the top left with y growing downwards.
// Colours travel as plain `unsigned` laid out 0xAARRGGBB with straight alpha.
#pragma once

#include "velmora/core/export.hpp"

#include <cmath>

namespace velmora::ui {

struct Vec2 {
    float x = 0;
    float y = 0;
};

struct VELMORA_API Rect {
    float x = 0;
    float y = 0;
    float w = 0;
    float h = 0;

    // Half open: the left and top edges are inside, the right and bottom ones are not.
    bool contains(Vec2 p) const;
    // An empty result keeps its position and has exactly 0 for width or height.
    Rect intersect(Rect other) const;
};

// Channel-wise interpolation of two packed colours, alpha included, no premultiplying.
// Throws std::invalid_argument "Color interpolation" unless 0 <= t <= 1.
VELMORA_API unsigned mix(unsigned a, unsigned b, float t);

// True for a finite value inside the closed range [lo, hi].
inline bool in_range(float v, float lo, float hi) { return std::isfinite(v) && v >= lo && v <= hi; }

} // namespace velmora::ui
