// Colour, date and time pickers: opening their popups as a user does, choosing by pointer and
// by keyboard, and the values they report.
#include "../scene/frame_driver.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/fields.hpp"
#include "velmora/widgets/pickers.hpp"
#include "velmora/widgets/range.hpp"
#include "velmora/widgets/text_field.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

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
        picker->bounds.x = 40;
        picker->bounds.y = 40;
        picker->on_change = [this](ui::Widget&) { ++changes; };
        scene.root()->add(picker);
        run.frame();
    }

    template <class Popup> std::shared_ptr<Popup> open() {
        scene.focus(picker);
        run.mark(&ui::Input::enter);
        if (scene.overlays().empty()) return nullptr;
        return std::dynamic_pointer_cast<Popup>(scene.overlays().back().widget);
    }
    ui::Vec2 centre(ui::Rect r) const { return {r.x + r.w * 0.5f, r.y + r.h * 0.5f}; }
};

TEST(ColorPicker, KeyboardAndHexFieldInThePopup) {
    PickerScene<ui::ColorPicker> s(0xFFFF0000u);
    auto popup = s.open<ui::ColorPopup>();
    ASSERT_TRUE(popup);
    s.run.key(ui::vk::down); // value down a step: still a pure red
    EXPECT_EQ(s.picker->value() & 0xFFFFu, 0u);
    EXPECT_EQ(s.changes, 1);
    s.run.key(ui::vk::up);
    EXPECT_EQ(s.picker->value(), 0xFFFF0000u);
    s.run.key(ui::vk::left); // less saturated: green and blue rise together
    EXPECT_GT(s.picker->value() & 0xFFu, 0u);
    EXPECT_EQ(s.picker->value() >> 8 & 0xFFu, s.picker->value() & 0xFFu);
    s.run.key(ui::vk::right);
    EXPECT_EQ(s.picker->value(), 0xFFFF0000u);
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
    EXPECT_EQ(s.scene.focus(), s.picker);
}

TEST(Date, CalendarArithmetic) {
    // One case per rule: leap years, a month end clamped, a year rolled over, the weekday.
    EXPECT_FALSE((Date{2023, 2, 29}.valid()));
    EXPECT_EQ((Date{2024, 1, 31}.plus_months(1)), (Date{2024, 2, 29}));
    EXPECT_EQ((Date{2024, 12, 31}.plus_days(1)), (Date{2025, 1, 1}));
    EXPECT_EQ((Date{2024, 2, 1}.weekday()), 3); // a Thursday
}

TEST(DatePicker, CalendarChoosesByKeyboard) {
    PickerScene<ui::DatePicker> s(Date{2024, 2, 10});
    auto calendar = s.open<ui::Calendar>();
    ASSERT_TRUE(calendar);
    EXPECT_EQ(s.scene.focus(), calendar);
    for (unsigned k : {ui::vk::right, ui::vk::down, ui::vk::page_down, ui::vk::home}) s.run.key(k);
    EXPECT_EQ(calendar->cursor, (Date{2024, 3, 1}));
    s.run.key(ui::vk::up); // across the month's start
    EXPECT_EQ(calendar->cursor, (Date{2024, 2, 23}));
    EXPECT_EQ(s.changes, 0); // moving isn't choosing
    s.run.key(ui::vk::enter);
    EXPECT_EQ(s.picker->value(), (Date{2024, 2, 23}));
    EXPECT_EQ(s.changes, 1);
    EXPECT_TRUE(s.scene.overlays().empty());
    EXPECT_EQ(s.scene.focus(), s.picker);
    ASSERT_TRUE(s.open<ui::Calendar>());
    s.run.key(ui::vk::left);
    s.run.key(ui::vk::escape);
    EXPECT_TRUE(s.scene.overlays().empty());
    EXPECT_EQ(s.picker->value(), (Date{2024, 2, 23}));
}

TEST(TimePicker, SpinnersEditTheTime) {
    PickerScene<ui::TimePicker> s(ui::Time{9, 30});
    s.scene.focus(s.picker->minute_spinner);
    s.run.key(ui::vk::up);
    EXPECT_EQ(s.picker->value(), (ui::Time{9, 31}));
    EXPECT_EQ(s.changes, 1);
    s.picker->value({23, 0});
    EXPECT_EQ(s.changes, 2); // one report for hour and minute together
    // A typed number counts once it settles.
    s.scene.focus(s.picker->minute_spinner);
    s.run.mark(&ui::Input::select_all);
    s.run.type("45");
    s.run.key(ui::vk::enter);
    s.run.frame();
    EXPECT_EQ(s.picker->value(), (ui::Time{23, 45}));
    EXPECT_EQ(s.changes, 3);
    EXPECT_THROW(s.picker->value({24, 0}), std::invalid_argument);
}

TEST(ColorPicker, PickerDestroyedWhileItsPopupIsOpen) {
    PickerScene<ui::ColorPicker> s(0xFFFF0000u);
    ui::Event release = release_event(s.centre(s.picker->screen_bounds));
    s.picker->event(release); // opened without the focus, so the overlay keeps nothing alive
    auto popup = std::dynamic_pointer_cast<ui::ColorPopup>(s.scene.overlays().back().widget);
    ASSERT_TRUE(popup);
    s.scene.root()->remove(s.picker);
    s.picker.reset();
    s.run.click({popup->plane().x, popup->plane().y});
    EXPECT_EQ(s.changes, 0);
}

} // namespace
} // namespace velmora::test
