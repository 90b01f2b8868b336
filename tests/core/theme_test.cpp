#include "velmora/core/theme.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

using namespace velmora::ui;

namespace {
std::string failure(const Theme& t) {
    try {
        t.validate();
    } catch (const std::invalid_argument& e) {
        return e.what();
    }
    return "";
}
} // namespace

TEST(Theme, PresetsValidate) {
    for (const Theme& t : {Theme{}, Theme::light(), Theme::liquid(), Theme::normal()})
        EXPECT_EQ(failure(t), "");
    EXPECT_FALSE(Theme::light().dark);
    EXPECT_EQ(Theme::normal().surface, Theme{}.surface);
}

TEST(Theme, ValidateChecksRangesInOrder) {
    Theme t;
    t.refraction = 30;
    EXPECT_EQ(failure(t), "");
    t.refraction = 30.001f;
    EXPECT_EQ(failure(t), "refraction");

    Theme two;
    two.blur = 2;
    two.antialiasing = 7;
    EXPECT_EQ(failure(two), "blur"); // the first bad field wins

    Theme neg;
    neg.blur = -0.0f;
    EXPECT_EQ(failure(neg), "");

    struct Case {
        float Theme::*field;
        float value;
        const char* message;
    };
    const float inf = std::numeric_limits<float>::infinity();
    const Case cases[] = {
        {&Theme::sigma, 32.01f, "sigma"},
        {&Theme::shine, 1.6f, "shine"},
        {&Theme::dispersion, inf, "dispersion"},
        {&Theme::tint, std::nanf(""), "tint"},
        {&Theme::surface_opacity, -1, "surface_opacity"},
        {&Theme::text_contrast, 0.49f, "text_contrast"},
        {&Theme::corner_smoothing, 1.01f, "corner_smoothing"},
        {&Theme::radius, 4097, "radius"},
        {&Theme::panel_radius, -inf, "panel_radius"},
        {&Theme::font_size, 0.5f, "font_size"},
    };
    for (const Case& c : cases) {
        Theme bad;
        bad.*c.field = c.value;
        EXPECT_EQ(failure(bad), c.message);
    }
    Theme aa;
    aa.antialiasing = -1; // compared as unsigned
    EXPECT_EQ(failure(aa), "antialiasing");
    aa.antialiasing = 3;
    EXPECT_EQ(failure(aa), "antialiasing");
    aa.antialiasing = 0;
    aa.font.clear();
    EXPECT_EQ(failure(aa), "");
}
