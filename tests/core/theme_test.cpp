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

TEST(Theme, PresetsDifferOnlyWhereDocumented) {
    Theme d, l = Theme::light(), q = Theme::liquid(), n = Theme::normal();
    for (const Theme* t : {&d, &l, &q, &n}) {
        EXPECT_EQ(failure(*t), "");
        EXPECT_EQ(t->radius, 9);
        EXPECT_EQ(t->panel_radius, 18);
        EXPECT_EQ(t->font_size, 14);
        EXPECT_EQ(t->antialiasing, 2);
        EXPECT_EQ(t->font, "Segoe UI");
        EXPECT_EQ(t->highlight, 0xFFFFFFFFu);
        EXPECT_EQ(t->shadow, 0xFF000000u);
    }
    EXPECT_FALSE(l.dark);
    EXPECT_EQ(l.surface, 0xFFFAFAFAu);
    EXPECT_EQ(l.tint, 0.26f);
    EXPECT_EQ(q.refraction, 30);
    EXPECT_EQ(q.blur, 0);
    EXPECT_EQ(q.dispersion, 1.2f);
    EXPECT_EQ(n.tint, 1);
    EXPECT_EQ(n.shine, 0);
    EXPECT_EQ(n.surface, d.surface);
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
