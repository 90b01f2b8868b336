// Pickers: a colour, a date and a time, each edited in place or in a popup over the scene.
//
//   Button > ColorPicker   swatch and hex; opens a ColorPopup (plane, hue, alpha, hex, presets)
//   Button > DatePicker    ISO date; opens a Calendar (month grid, keyboard by day and week)
//   Panel  > TimePicker    24-hour hour and minute spinners, seconds optional
//
//     auto colour = std::make_shared<ColorPicker>(0xFF3B82F6);
//     colour->on_change = [](Widget& w) { use(static_cast<ColorPicker&>(w).value()); };
//
// Popups are made afresh on each opening, owned by the overlay stack alone and dismissed by a
// press outside or Escape. They hold their picker weakly, so a picker destroyed while its
// popup is open makes any later choice a no-op. Every change reaches the picker at once and
// runs its on_change.
#pragma once

#include "velmora/core/export.hpp"
#include "velmora/core/geometry.hpp"
#include "velmora/scene/widget.hpp"
#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/control_kind.hpp"

#include <array>
#include <memory>
#include <string>
#include <string_view>

namespace velmora::ui {

class Scene;
class Slider;
class Spinner;
class TextField;

// ---- colour ---------------------------------------------------------------------------------------

class ColorPicker;

// Hue, saturation, value and alpha are kept apart from the packed colour so that the hue
// survives a trip through grey.
class VELMORA_API ColorPopup : public Panel {
public:
    static constexpr std::array<unsigned, 8> presets{0xFFFFFFFF, 0xFF000000, 0xFFEF4444, 0xFFF59E0B,
                                                     0xFF22C55E, 0xFF06B6D4, 0xFF3B82F6, 0xFFA855F7};

    explicit ColorPopup(std::weak_ptr<ColorPicker> picker = {}, unsigned initial = 0xFFFFFFFF);

    std::weak_ptr<ColorPicker> owner;
    float hue = 0; // all four 0..1
    float saturation = 0;
    float brightness = 1;
    float alpha = 1;
    int dragging = 0; // 0 nothing, 1 the plane, 2 the hue strip
    std::shared_ptr<Slider> alpha_slider;
    std::shared_ptr<TextField> hex_field;

    unsigned color() const;
    // Takes a colour apart into the four channels; the picker isn't told.
    void color(unsigned argb);
    // Screen rectangles of the parts the popup paints itself.
    Rect plane() const;
    Rect hue_strip() const;
    Rect preset(int index) const;

    // Keys while the popup itself has the focus: Left and Right move the saturation, Up and
    // Down the value, Page Up and Page Down the hue; Enter closes.
    ControlKind kind() const override { return ControlKind::Panel; }
    const char* class_name() const override { return "Panel"; }
    void event(Event& e) override;
    void layout(Scene& owner_scene) override;
    void paint(PaintContext& context) override;

private:
    void pick(Vec2 p);
    // Hands the colour to the picker and brings the slider and the hex text up to date.
    void apply();
    bool syncing_ = false;
};

class VELMORA_API ColorPicker : public Button {
public:
    explicit ColorPicker(unsigned initial = 0xFF3B82F6);

    unsigned value() const { return value_; }
    // Any packed 0xAARRGGBB colour; runs on_change on a change.
    void value(unsigned argb);
    void open_popup(); // nothing without a scene

    // "#RRGGBB" when opaque, else "#RRGGBBAA", upper case.
    static std::string hex(unsigned argb);
    // Reads the forms `hex` writes, with or without '#', in either case.
    static bool parse_hex(std::string_view text, unsigned& argb);

    ControlKind kind() const override { return ControlKind::ColorPicker; }
    const char* class_name() const override { return "ColorPicker"; }
    void event(Event& e) override; // a release inside, Space or Enter opens the popup
    void paint(PaintContext& context) override;

private:
    unsigned value_ = 0xFF3B82F6;
};

// ---- date -----------------------------------------------------------------------------------------------

struct VELMORA_API Date {
    int year = 2000;
    int month = 1; // 1..12
    int day = 1;

    static Date today();     // the local calendar date
    bool valid() const;      // a real day of the proleptic Gregorian calendar
    std::string iso() const; // "2026-01-31"
    Date plus_days(int days) const;
    // The same day in another month, kept to that month's length.
    Date plus_months(int months) const;
    int weekday() const; // 0 Monday .. 6 Sunday
    friend bool operator==(const Date&, const Date&) = default;
};

class DatePicker;

// One month as six weeks from Monday; days of the neighbouring months fill the grid.
class VELMORA_API Calendar : public Panel {
public:
    explicit Calendar(std::weak_ptr<DatePicker> picker = {}, Date initial = Date::today());

    std::weak_ptr<DatePicker> owner;
    Date selected; // the picker's value
    Date cursor;   // the day the keyboard is on; its month is the month shown
    Date today = Date::today();

    Date first_shown() const;   // the Monday that starts the grid
    Rect cell(int index) const; // screen rectangle of grid cell 0..41
    Rect previous_button() const;
    Rect next_button() const;
    // Moves the cursor, and with it the month shown.
    void move(int days);
    void shift_month(int months);
    // Gives the day to the picker and closes.
    void choose(Date day);

    // Arrows move by a day or a week, Page Up and Page Down by a month, Home and End to the
    // month's ends; Enter or Space chooses the cursor's day.
    ControlKind kind() const override { return ControlKind::Panel; }
    const char* class_name() const override { return "Panel"; }
    void event(Event& e) override;
    void paint(PaintContext& context) override;
};

class VELMORA_API DatePicker : public Button {
public:
    explicit DatePicker(Date initial = Date::today());

    Date value() const { return value_; }
    // Throws std::invalid_argument "Invalid date"; runs on_change on a change.
    void value(Date day);
    void open_popup(); // nothing without a scene

    ControlKind kind() const override { return ControlKind::DatePicker; }
    const char* class_name() const override { return "DatePicker"; }
    void event(Event& e) override; // a release inside, Space or Enter opens the calendar
    void paint(PaintContext& context) override;

private:
    Date value_;
};

// ---- time -------------------------------------------------------------------------------------------------

struct VELMORA_API Time {
    int hour = 0; // 0..23
    int minute = 0;
    int second = 0;

    bool valid() const;
    std::string text(bool with_seconds) const; // "08:05" or "08:05:09"
    friend bool operator==(const Time&, const Time&) = default;
};

class VELMORA_API TimePicker : public Panel {
public:
    explicit TimePicker(Time initial = {}, bool show_seconds = false);

    bool seconds = false; // shows the third spinner
    std::shared_ptr<Spinner> hour_spinner, minute_spinner, second_spinner;

    Time value() const { return value_; }
    // Throws std::invalid_argument "Invalid time"; runs on_change once on a change.
    void value(Time t);

    ControlKind kind() const override { return ControlKind::TimePicker; }
    const char* class_name() const override { return "TimePicker"; }
    void layout(Scene& owner) override;
    // Picks up numbers typed into a spinner, which settle without a change of text.
    void tick(Scene& owner) override;
    void paint(PaintContext& context) override;

private:
    void sync();
    Time value_;
    bool syncing_ = false;
};

} // namespace velmora::ui
