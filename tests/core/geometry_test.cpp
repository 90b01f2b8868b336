// Rect hit tests and intersections, and colour mixing with its range check.
#include "velmora/core/geometry.hpp"

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

    const struct {
        Rect other, want;
    } cases[] = {
        {{50, 60, 5, 5}, {50, 60, 0, 0}}, // apart: the position of the empty result is kept
        {{5, -5, 20, 8}, {5, 0, 5, 3}},
    };
    for (const auto& c : cases) {
        Rect r = a.intersect(c.other);
        EXPECT_EQ(r.x, c.want.x);
        EXPECT_EQ(r.y, c.want.y);
        EXPECT_EQ(r.w, c.want.w);
        EXPECT_EQ(r.h, c.want.h);
    }
}

TEST(Mix, RoundsHalvesAwayFromZeroPerChannelAndRejectsOutOfRange) {
    EXPECT_EQ(mix(0x00000000, 0xFF000000, 0.5f), 0x80000000u); // alpha mixes too, unpremultiplied
    for (float t : {1.0000001f, std::nanf("")}) {
        try {
            mix(0, 0xFFFFFFFF, t);
            ADD_FAILURE() << t; // no clamping
        } catch (const std::invalid_argument& e) {
            EXPECT_STREQ(e.what(), "Color interpolation");
        }
    }
}
