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

TEST(ColorPicker, HexTextRoundTrips) {
    unsigned v = 0;
    EXPECT_TRUE(ui::ColorPicker::parse_hex("ff0000", v));
    EXPECT_EQ(v, 0xFFFF0000u);
    EXPECT_TRUE(ui::ColorPicker::parse_hex("#3b82F680", v));
    EXPECT_EQ(v, 0x803B82F6u);
    EXPECT_EQ(ui::ColorPicker::hex(0x803B82F6u), "#3B82F680");
    EXPECT_EQ(ui::ColorPicker::hex(0xFF00FF00u), "#00FF00");
    for (const char* bad : {"", "#", "#abc", "12345G", "#1234567", "##123456"})
        EXPECT_FALSE(ui::ColorPicker::parse_hex(bad, v)) << bad;
}

TEST(ColorPicker, PlaneHueAndPresetsChooseByPointer) {
    PickerScene<ui::ColorPicker> s(0xFFFF0000u);
    auto popup = s.open<ui::ColorPopup>();
    ASSERT_TRUE(popup);
    EXPECT_EQ(s.scene.focus(), popup);
    const auto plane = popup->plane();
    EXPECT_GE(plane.y, s.picker->screen_bounds.y + s.picker->screen_bounds.h); // opens below
    // Top left of the plane is white whatever the hue; a drag past the bottom clamps to black.
    s.run.press({plane.x, plane.y});
    EXPECT_EQ(s.picker->text, "#FFFFFF");
    s.run.move({plane.x + plane.w * 0.5f, plane.y + plane.h + 40});
    EXPECT_EQ(s.picker->value(), 0xFF000000u);
    s.run.release({plane.x + plane.w * 0.5f, plane.y + plane.h + 40});
    EXPECT_EQ(s.changes, 2);
    // Full saturation and value at the top right, then a third of the way along the hue strip.
    s.run.click({plane.x + plane.w - 0.01f, plane.y});
    EXPECT_EQ(s.picker->value(), 0xFFFF0000u);
    const auto strip = popup->hue_strip();
    s.run.click({strip.x + strip.w / 3, s.centre(strip).y});
    EXPECT_EQ(s.picker->value() & 0xFFFFFFu, 0x00FF00u);
    s.run.click(s.centre(popup->preset(6)));
    EXPECT_EQ(s.picker->value(), ui::ColorPopup::presets[6]);
    EXPECT_EQ(popup->hex_field->value(), ui::ColorPicker::hex(ui::ColorPopup::presets[6]));
    const unsigned kept = s.picker->value();
    s.run.click({1200, 700});
    EXPECT_TRUE(s.scene.overlays().empty());
    EXPECT_EQ(s.picker->value(), kept);
}

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

TEST(Date, CalendarArithmetic) {
    EXPECT_TRUE((Date{2024, 2, 29}.valid()));
    EXPECT_FALSE((Date{2023, 2, 29}.valid()));
    EXPECT_FALSE((Date{2024, 13, 1}.valid()));
    EXPECT_FALSE((Date{0, 1, 1}.valid()));
    EXPECT_EQ((Date{2024, 1, 31}.plus_months(1)), (Date{2024, 2, 29}));
    EXPECT_EQ((Date{2023, 1, 31}.plus_months(1)), (Date{2023, 2, 28}));
    EXPECT_EQ((Date{2024, 12, 31}.plus_days(1)), (Date{2025, 1, 1}));
    EXPECT_EQ((Date{2024, 3, 1}.plus_days(-1)), (Date{2024, 2, 29}));
    EXPECT_EQ((Date{2024, 2, 1}.weekday()), 3); // a Thursday
    EXPECT_EQ((Date{2026, 1, 5}.iso()), "2026-01-05");
}

TEST(DatePicker, CalendarChoosesByKeyboard) {
    PickerScene<ui::DatePicker> s(Date{2024, 2, 10});
    auto calendar = s.open<ui::Calendar>();
    ASSERT_TRUE(calendar);
    EXPECT_EQ(s.scene.focus(), calendar);
    for (unsigned k : {ui::vk::right, ui::vk::down, ui::vk::page_down}) s.run.key(k);
    EXPECT_EQ(calendar->cursor, (Date{2024, 3, 18}));
    s.run.key(ui::vk::end);
    EXPECT_EQ(calendar->cursor, (Date{2024, 3, 31}));
    s.run.key(ui::vk::home);
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

TEST(DatePicker, CalendarChoosesByPointer) {
    PickerScene<ui::DatePicker> s(Date{2024, 2, 10});
    auto calendar = s.open<ui::Calendar>();
    ASSERT_TRUE(calendar);
    ASSERT_EQ(calendar->first_shown(), (Date{2024, 1, 29})); // the Monday before the 1st
    s.run.click(s.centre(calendar->previous_button()));
    EXPECT_EQ(calendar->cursor.month, 1);
    s.run.click(s.centre(calendar->next_button()));
    s.run.click(s.centre(calendar->next_button()));
    EXPECT_EQ(calendar->cursor.month, 3);
    s.run.click(s.centre(calendar->previous_button()));
    // Feb 29th: Jan 29th is cell 0, so it is cell 31.
    s.run.click(s.centre(calendar->cell(31)));
    EXPECT_EQ(s.picker->value(), (Date{2024, 2, 29}));
    EXPECT_EQ(s.changes, 1);
    EXPECT_TRUE(s.scene.overlays().empty());
    calendar = s.open<ui::Calendar>();
    ASSERT_TRUE(calendar);
    s.run.key(ui::vk::space);
    EXPECT_EQ(s.changes, 1);
    EXPECT_THROW(s.picker->value(Date{2023, 2, 29}), std::invalid_argument);
    EXPECT_EQ(s.picker->value(), (Date{2024, 2, 29}));
}

TEST(TimePicker, SpinnersEditTheTime) {
    PickerScene<ui::TimePicker> s(ui::Time{9, 30});
    s.scene.focus(s.picker->minute_spinner);
    s.run.key(ui::vk::up);
    EXPECT_EQ(s.picker->value(), (ui::Time{9, 31}));
    EXPECT_EQ(s.changes, 1);
    s.scene.focus(s.picker->hour_spinner);
    s.picker->value({23, 0});
    EXPECT_EQ(s.changes, 2); // one report for hour and minute together
    s.run.key(ui::vk::up);
    EXPECT_EQ(s.picker->value().hour, 23);
    EXPECT_EQ(s.changes, 2);
    // A typed number counts once it settles.
    s.scene.focus(s.picker->minute_spinner);
    s.run.mark(&ui::Input::select_all);
    s.run.type("45");
    s.run.key(ui::vk::enter);
    s.run.frame();
    EXPECT_EQ(s.picker->value(), (ui::Time{23, 45}));
    EXPECT_EQ(s.changes, 3);
    EXPECT_THROW(s.picker->value({24, 0}), std::invalid_argument);
    EXPECT_THROW(s.picker->value({1, 60}), std::invalid_argument);
    EXPECT_EQ(s.picker->value(), (ui::Time{23, 45}));
}

TEST(TimePicker, OptionalSeconds) {
    PickerScene<ui::TimePicker> s(ui::Time{1, 2, 3}, true);
    EXPECT_EQ(s.picker->value().text(true), "01:02:03");
    s.scene.focus(s.picker->second_spinner);
    s.run.key(ui::vk::down);
    EXPECT_EQ(s.picker->value(), (ui::Time{1, 2, 2}));
}

} // namespace
} // namespace velmora::test
