// Theme::validate: the presets pass, every range is checked, and the first bad field names itself.
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

TEST(Theme, PresetsValidateAndEveryRangeIsCheckedInOrder) {
    for (const Theme& t : {Theme{}, Theme::light(), Theme::liquid(), Theme::normal()})
        EXPECT_EQ(failure(t), "");

    Theme t;
    t.refraction = 30;
    t.blur = -0.0f;
    t.font.clear();
    EXPECT_EQ(failure(t), "");
    t.refraction = 30.001f;
    EXPECT_EQ(failure(t), "refraction");
    Theme two;
    two.blur = 2;
    two.antialiasing = 7;
    EXPECT_EQ(failure(two), "blur"); // the first bad field wins

    const float inf = std::numeric_limits<float>::infinity();
    // One row per kind of bad value: just past a limit, infinite, NaN.
    const struct {
        float Theme::*field;
        float value;
        const char* message;
    } cases[] = {
        {&Theme::sigma, 32.01f, "sigma"},
        {&Theme::dispersion, inf, "dispersion"},
        {&Theme::tint, std::nanf(""), "tint"},
        {&Theme::text_contrast, 0.49f, "text_contrast"},
    };
    for (const auto& c : cases) {
        Theme bad;
        bad.*c.field = c.value;
        EXPECT_EQ(failure(bad), c.message);
    }
    for (int aa : {-1, 3}) { // -1 is compared as unsigned
        Theme bad;
        bad.antialiasing = aa;
        EXPECT_EQ(failure(bad), "antialiasing") << aa;
    }
}
