#include "velmora/core/geometry.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

using namespace velmora::ui;

TEST(Rect, ContainsIsHalfOpen) {
    Rect r{0, 0, 10, 10};
    EXPECT_TRUE(r.contains({0, 0}));
    EXPECT_TRUE(r.contains({9.999f, 9.999f}));
    EXPECT_FALSE(r.contains({10, 5}));
    EXPECT_FALSE(r.contains({5, 10}));
    EXPECT_FALSE(r.contains({-0.001f, 5}));
    EXPECT_FALSE(r.contains({std::nanf(""), 5}));
}

TEST(Rect, IntersectEdgesAndEmptiness) {
    Rect a{0, 0, 10, 10};
    Rect touching = a.intersect({10, 2, 5, 5});
    EXPECT_EQ(touching.x, 10);
    EXPECT_EQ(touching.y, 2);
    EXPECT_EQ(touching.w, 0);
    EXPECT_EQ(touching.h, 5);

    Rect apart = a.intersect({50, 60, 5, 5});
    EXPECT_EQ(apart.x, 50); // position of an empty intersection is kept
    EXPECT_EQ(apart.y, 60);
    EXPECT_EQ(apart.w, 0);
    EXPECT_EQ(apart.h, 0);

    Rect overlap = a.intersect({5, -5, 20, 8});
    EXPECT_EQ(overlap.x, 5);
    EXPECT_EQ(overlap.y, 0);
    EXPECT_EQ(overlap.w, 5);
    EXPECT_EQ(overlap.h, 3);
}

TEST(Mix, RoundsHalvesAwayFromZeroPerChannel) {
    EXPECT_EQ(mix(0xFF000000, 0xFFFFFFFF, 0.5f), 0xFF808080u);
    EXPECT_EQ(mix(0x00000000, 0xFF000000, 0.5f), 0x80000000u); // alpha mixes too, unpremultiplied
    EXPECT_EQ(mix(0x12345678, 0x9ABCDEF0, 0), 0x12345678u);
    EXPECT_EQ(mix(0x12345678, 0x9ABCDEF0, 1), 0x9ABCDEF0u);
    EXPECT_EQ(mix(0x12345678, 0x9ABCDEF0, -0.0f), 0x12345678u);
}

TEST(Mix, RejectsOutOfRangeWithoutClamping) {
    const float bad[] = {1.0000001f, -0.0001f, std::nanf(""), std::numeric_limits<float>::infinity(),
                         -std::numeric_limits<float>::infinity()};
    for (float t : bad) {
        try {
            mix(0, 0xFFFFFFFF, t);
            ADD_FAILURE() << t;
        } catch (const std::invalid_argument& e) {
            EXPECT_STREQ(e.what(), "Color interpolation");
        }
    }
}
