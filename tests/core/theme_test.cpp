// Theme::validate: the presets pass, every range is checked, and the first bad field names itself.
#include "velmora/core/theme.hpp"

#include "../thrown.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

using namespace velmora::ui;

TEST(Theme, PresetsValidateAndEveryRangeIsCheckedInOrder) {
    auto failure = [](const Theme& t) {
        return velmora::test::thrown<std::invalid_argument>([&] { t.validate(); });
    };
    const std::string none = "(nothing thrown)";
    for (const Theme& t : {Theme{}, Theme::light(), Theme::liquid(), Theme::normal()})
        EXPECT_EQ(failure(t), none);
    Theme t;
    t.refraction = 30;
    t.blur = -0.0f;
    t.font.clear();
    EXPECT_EQ(failure(t), none);
    t.refraction = 30.001f;
    EXPECT_EQ(failure(t), "refraction");
    t.refraction = 0;
    t.blur = 2;
    t.antialiasing = 7;
    EXPECT_EQ(failure(t), "blur"); // the first bad field wins

    // One row per kind of bad value: just past a limit, infinite, NaN.
    const struct {
        float Theme::*field;
        float value;
        const char* message;
    } cases[] = {{&Theme::sigma, 32.01f, "sigma"},
                 {&Theme::dispersion, std::numeric_limits<float>::infinity(), "dispersion"},
                 {&Theme::tint, std::nanf(""), "tint"},
                 {&Theme::text_contrast, 0.49f, "text_contrast"}};
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
