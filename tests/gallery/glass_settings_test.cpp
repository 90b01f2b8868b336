// GlassSettingsPanel: every way the user can move a control keeps the theme valid.
#include "velmora/widgets/glass_settings.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace {

namespace ui = velmora::ui;

TEST(GlassSettings, SlidersAtEitherEndKeepTheThemeValid) {
    ui::Theme theme;
    auto panel = std::make_shared<ui::GlassSettingsPanel>(theme);
    const auto& settings = ui::GlassSettingsPanel::settings();
    ASSERT_EQ(panel->sliders.size(), settings.size());
    for (std::size_t i = 0; i < settings.size(); ++i) {
        const auto& setting = settings[i];
        for (double v : {-1e9, 1e9, 0.0}) {
            panel->sliders[i]->value(v);
            EXPECT_NO_THROW(theme.validate()) << setting.label << " " << v;
            EXPECT_EQ(theme.*setting.field, static_cast<float>(panel->sliders[i]->value())) << setting.label;
        }
    }
}

TEST(GlassSettings, EditsReachTheThemeSyncReadsItBackAndPresetsKeepTheFont) {
    ui::Theme theme;
    theme.font = "Noto Sans";
    auto panel = std::make_shared<ui::GlassSettingsPanel>(theme);
    int changes = 0;
    panel->on_change = [&](ui::Widget&) { ++changes; };
    panel->sliders[2]->value(25); // refraction
    EXPECT_FLOAT_EQ(theme.refraction, 25);
    panel->dark->selected(false);
    EXPECT_FALSE(theme.dark);
    panel->antialiasing->select(0);
    EXPECT_EQ(theme.antialiasing, 0);
    EXPECT_EQ(changes, 3);

    theme.refraction = 4;
    theme.blur = 0.5f;
    theme.cubic_corners = false;
    panel->sync();
    EXPECT_TRUE(panel->sliders[2]->value() == 4 && panel->sliders[0]->value() == 0.5);
    EXPECT_FALSE(panel->cubic_corners->selected());
    EXPECT_EQ(panel->values[2]->text, "Refraction  4.00");
    EXPECT_EQ(changes, 3) << "sync writes nothing back";

    ASSERT_EQ(panel->presets.size(), 4u);
    panel->presets[2]->activate(); // liquid
    EXPECT_TRUE(theme.refraction == ui::Theme::liquid().refraction && theme.tint == 0);
    EXPECT_EQ(theme.font, "Noto Sans");
    EXPECT_DOUBLE_EQ(panel->sliders[5]->value(), 0);
    panel->presets[1]->activate(); // light
    EXPECT_FALSE(theme.dark || panel->dark->selected());
    EXPECT_NO_THROW(theme.validate());
}

} // namespace
