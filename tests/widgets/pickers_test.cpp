// Colour, date and time pickers: opening their popups as a user does, choosing by keyboard, the
// values they report, and a picker destroyed under its popup.
#include "../scene/frame_driver.hpp"

#include "velmora/widgets/fields.hpp"
#include "velmora/widgets/pickers.hpp"
#include "velmora/widgets/text_field.hpp"

#include <gtest/gtest.h>

namespace velmora::test {
namespace {

using ui::Date;

template <class Picker> struct PickerScene {
    ui::Scene scene;
    FrameDriver run{scene, 1280, 800};
    std::shared_ptr<Picker> picker;
    int changes = 0;

    template <class... Args> explicit PickerScene(Args&&... args) {
        picker = std::make_shared<Picker>(std::forward<Args>(args)...);
        picker->bounds.x = picker->bounds.y = 40;
        picker->on_change = [this](ui::Widget&) { ++changes; };
        scene.root()->add(picker);
        run.frame();
    }
    template <class Popup> std::shared_ptr<Popup> open() {
        scene.focus(picker);
        run.mark(&ui::Input::enter);
        return scene.overlays().empty() ? nullptr
                                        : std::dynamic_pointer_cast<Popup>(scene.overlays().back().widget);
    }
};

TEST(ColorPicker, KeyboardPresetsHexFieldAndAPickerDestroyedUnderItsPopup) {
    PickerScene<ui::ColorPicker> s(0xFFFF0000u);
    auto popup = s.open<ui::ColorPopup>();
    ASSERT_TRUE(popup);
    s.run.key(ui::vk::left); // less saturated: green and blue rise together
    EXPECT_GT(s.picker->value() & 0xFFu, 0u);
    EXPECT_EQ(s.picker->value() >> 8 & 0xFFu, s.picker->value() & 0xFFu);
    EXPECT_EQ(s.changes, 1);
    const ui::Rect swatch = popup->preset(6);
    s.run.click({swatch.x + swatch.w / 2, swatch.y + swatch.h / 2});
    EXPECT_EQ(s.picker->value(), ui::ColorPopup::presets[6]);
    s.scene.focus(popup->hex_field);
    s.run.mark(&ui::Input::select_all);
    s.run.type("#00FF0080");
    s.run.key(ui::vk::enter);
    EXPECT_EQ(s.picker->value(), 0x8000FF00u);
    s.run.type("x"); // not a colour: nothing changes
    s.run.key(ui::vk::enter);
    EXPECT_EQ(s.picker->value(), 0x8000FF00u);
    s.scene.focus(popup);
    s.run.key(ui::vk::enter);
    EXPECT_TRUE(s.scene.overlays().empty());
    // Opened without the focus, the overlay keeps nothing alive: the picker may go under it.
    s.scene.focus(nullptr);
    const ui::Rect b = s.picker->screen_bounds;
    ui::Event release = release_event({b.x + b.w / 2, b.y + b.h / 2});
    s.picker->event(release);
    popup = std::dynamic_pointer_cast<ui::ColorPopup>(s.scene.overlays().back().widget);
    ASSERT_TRUE(popup);
    s.changes = 0;
    s.scene.root()->remove(s.picker);
    s.picker.reset();
    s.run.click({popup->plane().x, popup->plane().y});
    EXPECT_EQ(s.changes, 0);
}

TEST(DatePicker, CalendarArithmeticAndChoosingByKeyboard) {
    EXPECT_FALSE((Date{2023, 2, 29}.valid()));
    EXPECT_EQ((Date{2024, 1, 31}.plus_months(1)), (Date{2024, 2, 29})); // a month end clamped
    PickerScene<ui::DatePicker> s(Date{2024, 2, 10});
    auto calendar = s.open<ui::Calendar>();
    ASSERT_TRUE(calendar);
    for (unsigned k : {ui::vk::right, ui::vk::down, ui::vk::page_down, ui::vk::home, ui::vk::up})
        s.run.key(k);
    EXPECT_EQ(calendar->cursor, (Date{2024, 2, 23})); // to 1 March, then back across the month's start
    s.run.key(ui::vk::enter);
    EXPECT_EQ(s.picker->value(), (Date{2024, 2, 23}));
    EXPECT_EQ(s.changes, 1);
    ASSERT_TRUE(s.open<ui::Calendar>());
    s.run.key(ui::vk::left);
    s.run.key(ui::vk::escape); // moving isn't choosing
    EXPECT_EQ(s.picker->value(), (Date{2024, 2, 23}));
}

TEST(TimePicker, SpinnersEditTheTime) {
    PickerScene<ui::TimePicker> s(ui::Time{9, 30});
    s.scene.focus(s.picker->minute_spinner);
    s.run.key(ui::vk::up);
    EXPECT_EQ(s.picker->value(), (ui::Time{9, 31}));
    s.picker->value({23, 0});
    EXPECT_EQ(s.changes, 2); // one report for hour and minute together
    EXPECT_THROW(s.picker->value({24, 0}), std::invalid_argument);
}

} // namespace
} // namespace velmora::test
