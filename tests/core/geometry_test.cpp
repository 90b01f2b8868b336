// Rect hit tests and intersections, and colour mixing with its range check.
#include "velmora/core/geometry.hpp"

#include "../thrown.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

using namespace velmora::ui;

TEST(Rect, ContainsIsHalfOpenAndIntersectKeepsEmptyPositions) {
    Rect a{0, 0, 10, 10};
    EXPECT_TRUE(a.contains({0, 0}));
    EXPECT_TRUE(a.contains({9.999f, 9.999f}));
    for (Vec2 p : {Vec2{10, 5}, Vec2{5, 10}, Vec2{-0.001f, 5}, Vec2{std::nanf(""), 5}})
        EXPECT_FALSE(a.contains(p)) << p.x << "," << p.y;
    // Apart, the position of the empty result is kept.
    for (auto [other, want] :
         {std::pair{Rect{50, 60, 5, 5}, Rect{50, 60, 0, 0}}, {{5, -5, 20, 8}, {5, 0, 5, 3}}}) {
        Rect r = a.intersect(other);
        EXPECT_TRUE(r.x == want.x && r.y == want.y && r.w == want.w && r.h == want.h) << other.x;
    }
}

TEST(Mix, RoundsHalvesAwayFromZeroPerChannelAndRejectsOutOfRange) {
    EXPECT_EQ(mix(0x00000000, 0xFF000000, 0.5f), 0x80000000u); // alpha mixes too, unpremultiplied
    for (float t : {1.0000001f, std::nanf("")})                // no clamping
        EXPECT_EQ(velmora::test::thrown<std::invalid_argument>([&] { mix(0, 0xFFFFFFFF, t); }),
                  "Color interpolation");
}
