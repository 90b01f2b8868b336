// Pickers.
//
//   - colour conversion
//   - ColorPopup, ColorPicker
//   - Date, Calendar, DatePicker
//   - Time, TimePicker
#include "velmora/widgets/pickers.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/widgets/fields.hpp"
#include "velmora/widgets/range.hpp"
#include "velmora/widgets/text_field.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <stdexcept>

namespace velmora::ui {

namespace {

constexpr float colour_step = 0.02f;
constexpr float hue_step = 1.0f / 36;
constexpr int hue_segments = 48;

bool focused_here(const Widget& w) { return w.scene && w.scene->focus().get() == &w; }

// Shows a picker's popup under the picker, or above it where there is room only there.
void show_popup(Widget& picker, std::shared_ptr<Widget> popup) {
    const Vec2 at = picker.scene->popup_position(picker.screen_bounds, {popup->bounds.w, popup->bounds.h});
    picker.scene->show(std::move(popup), false, true, at, false);
}

Rect offset(const Widget& w, Rect local) {
    return {w.screen_bounds.x + local.x, w.screen_bounds.y + local.y, local.w, local.h};
}

// ---- colour conversion ---------------------------------------------------------------------------

unsigned channel(float v) { return static_cast<unsigned>(std::lround(std::clamp(v, 0.0f, 1.0f) * 255.0f)); }

unsigned from_hsv(float h, float s, float v, float a) {
    const float scaled = (h >= 1 ? 0 : h) * 6;
    const int sector = static_cast<int>(scaled);
    const float f = scaled - static_cast<float>(sector);
    const float p = v * (1 - s), q = v * (1 - s * f), t = v * (1 - s * (1 - f));
    float r = v, g = t, b = p;
    switch (sector) {
    case 1:
        r = q, g = v, b = p;
        break;
    case 2:
        r = p, g = v, b = t;
        break;
    case 3:
        r = p, g = q, b = v;
        break;
    case 4:
        r = t, g = p, b = v;
        break;
    case 5:
        r = v, g = p, b = q;
        break;
    default:
        break;
    }
    return channel(a) << 24 | channel(r) << 16 | channel(g) << 8 | channel(b);
}

float unit(unsigned argb, int shift) { return static_cast<float>((argb >> shift) & 0xFFu) / 255.0f; }

} // namespace

// ---- ColorPopup ---------------------------------------------------------------------------------------

ColorPopup::ColorPopup(std::weak_ptr<ColorPicker> picker, unsigned initial)
    : Panel(""), owner(std::move(picker)) {
    bounds = {0, 0, 280, 318};
    focusable = true;
    alpha_slider = emplace<Slider>(1.0);
    alpha_slider->on_change = [](Widget& w) {
        auto* popup = dynamic_cast<ColorPopup*>(w.parent);
        if (!popup || popup->syncing_) return;
        popup->alpha = static_cast<float>(static_cast<Slider&>(w).value());
        popup->apply();
    };
    hex_field = emplace<TextField>();
    hex_field->max_length = 9;
    hex_field->on_submit = [field = hex_field.get()](const std::string& typed) {
        auto* popup = dynamic_cast<ColorPopup*>(field->parent);
        unsigned parsed = 0;
        if (!popup || !ColorPicker::parse_hex(typed, parsed)) return; // a typo changes nothing
        popup->color(parsed);
        popup->apply();
    };
    color(initial);
}

unsigned ColorPopup::color() const { return from_hsv(hue, saturation, brightness, alpha); }

void ColorPopup::color(unsigned argb) {
    const float r = unit(argb, 16), g = unit(argb, 8), b = unit(argb, 0);
    const float high = std::max({r, g, b});
    const float spread = high - std::min({r, g, b});
    brightness = high;
    saturation = high > 0 ? spread / high : 0;
    if (spread > 0) {
        float h = high == r ? (g - b) / spread : high == g ? 2 + (b - r) / spread : 4 + (r - g) / spread;
        h /= 6;
        hue = h < 0 ? h + 1 : h;
    }
    alpha = unit(argb, 24);
    syncing_ = true;
    alpha_slider->value(alpha);
    hex_field->value(ColorPicker::hex(argb));
    syncing_ = false;
}

void ColorPopup::apply() {
    const unsigned c = color();
    syncing_ = true;
    alpha_slider->value(alpha);
    hex_field->value(ColorPicker::hex(c));
    syncing_ = false;
    if (auto picker = owner.lock()) picker->value(c); // runs the picker's on_change, last
}

Rect ColorPopup::plane() const { return offset(*this, {12, 12, bounds.w - 24, 160}); }
Rect ColorPopup::hue_strip() const { return offset(*this, {12, 182, bounds.w - 24, 14}); }
Rect ColorPopup::preset(int index) const {
    constexpr float spacing = 6;
    constexpr auto n = static_cast<float>(presets.size());
    const float w = (bounds.w - 24 - spacing * (n - 1)) / n;
    return offset(*this, {12 + static_cast<float>(index) * (w + spacing), 282, w, 22});
}

void ColorPopup::layout(Scene&) {
    alpha_slider->bounds = {12, 204, bounds.w - 24, 28};
    hex_field->bounds = {12, 240, 118, 32};
}

void ColorPopup::pick(Vec2 p) {
    const Rect r = dragging == 1 ? plane() : hue_strip();
    const float x = std::clamp((p.x - r.x) / std::max(r.w, 1.0f), 0.0f, 1.0f);
    if (dragging == 1) {
        saturation = x;
        brightness = 1 - std::clamp((p.y - r.y) / std::max(r.h, 1.0f), 0.0f, 1.0f);
    } else {
        hue = x;
    }
    apply();
}

void ColorPopup::event(Event& e) {
    switch (e.type) {
    case pointer_down:
        e.handled = true;
        dragging = plane().contains(e.position) ? 1 : hue_strip().contains(e.position) ? 2 : 0;
        if (dragging != 0) {
            pick(e.position);
            return;
        }
        for (int i = 0; i < static_cast<int>(presets.size()); ++i)
            if (preset(i).contains(e.position)) {
                color(presets[static_cast<std::size_t>(i)]);
                apply();
                return;
            }
        return;
    case pointer_move:
        if (dragging == 0) return;
        e.handled = true;
        pick(e.position);
        return;
    case pointer_up:
        dragging = 0;
        return;
    case key_down:
        break;
    default:
        return;
    }
    // Keys that bubble up from the slider or the hex field belong to them.
    if (!focused_here(*this)) return;
    const auto nudge = [](float& v, float by) { v = std::clamp(v + by, 0.0f, 1.0f); };
    switch (e.key) {
    case vk::left:
        nudge(saturation, -colour_step);
        break;
    case vk::right:
        nudge(saturation, colour_step);
        break;
    case vk::up:
        nudge(brightness, colour_step);
        break;
    case vk::down:
        nudge(brightness, -colour_step);
        break;
    case vk::page_up:
        hue = std::fmod(hue + hue_step, 1.0f);
        break;
    case vk::page_down:
        hue = std::fmod(hue + 1 - hue_step, 1.0f);
        break;
    case vk::enter:
        e.handled = true;
        if (scene) scene->close(this);
        return;
    default:
        return;
    }
    e.handled = true;
    apply();
}

void ColorPopup::paint(PaintContext& context) {
    Panel::paint(context);
    Canvas& canvas = context.canvas;
    const Theme& theme = context.theme;
    const Rect p = plane();
    canvas.color_plane(p, std::clamp(hue, 0.0f, 1.0f));
    canvas.stroke(p, theme.border, 1, 6);
    const Vec2 mark{p.x + saturation * p.w, p.y + (1 - brightness) * p.h};
    canvas.stroke({mark.x - 6, mark.y - 6, 12, 12}, 0xFFFFFFFF, 2, 6);
    canvas.stroke({mark.x - 7, mark.y - 7, 14, 14}, 0x80000000, 1, 7);

    const Rect strip = hue_strip();
    const float segment = strip.w / hue_segments;
    for (int i = 0; i < hue_segments; ++i)
        canvas.fill({strip.x + static_cast<float>(i) * segment, strip.y, segment + 0.5f, strip.h},
                    from_hsv(static_cast<float>(i) / hue_segments, 1, 1, 1), 0);
    const float hx = strip.x + hue * strip.w;
    canvas.stroke({hx - 3, strip.y - 2, 6, strip.h + 4}, 0xFFFFFFFF, 2, 3);

    const Rect swatch = offset(*this, {140, 240, bounds.w - 152, 32});
    canvas.fill(swatch, color(), theme.radius);
    canvas.stroke(swatch, theme.border, 1, theme.radius);
    for (int i = 0; i < static_cast<int>(presets.size()); ++i) {
        const Rect r = preset(i);
        canvas.fill(r, presets[static_cast<std::size_t>(i)], 6);
        canvas.stroke(r, theme.border, 1, 6);
    }
    if (focused_here(*this)) canvas.stroke(screen_bounds, theme.accent, 1.5f, theme.panel_radius);
}

// ---- ColorPicker ---------------------------------------------------------------------------------------

ColorPicker::ColorPicker(unsigned initial) : Button(hex(initial)), value_(initial) { bounds.w = 180; }

void ColorPicker::value(unsigned argb) {
    if (argb == value_) return;
    value_ = argb;
    text = hex(argb);
    changed();
}

std::string ColorPicker::hex(unsigned argb) {
    char out[12];
    const unsigned rgb = argb & 0xFFFFFFu, a = argb >> 24;
    if (a == 0xFF)
        std::snprintf(out, sizeof out, "#%06X", rgb);
    else
        std::snprintf(out, sizeof out, "#%06X%02X", rgb, a);
    return out;
}

bool ColorPicker::parse_hex(std::string_view text, unsigned& argb) {
    if (!text.empty() && text.front() == '#') text.remove_prefix(1);
    if (text.size() != 6 && text.size() != 8) return false;
    unsigned v = 0;
    for (char c : text) {
        const int digit = c >= '0' && c <= '9'   ? c - '0'
                          : c >= 'a' && c <= 'f' ? c - 'a' + 10
                          : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                 : -1;
        if (digit < 0) return false;
        v = v << 4 | static_cast<unsigned>(digit);
    }
    argb = text.size() == 6 ? 0xFF000000u | v : (v & 0xFFu) << 24 | v >> 8;
    return true;
}

void ColorPicker::open_popup() {
    if (!scene) return;
    auto self = std::static_pointer_cast<ColorPicker>(shared_from_this());
    show_popup(*this, std::make_shared<ColorPopup>(self, value_));
}

void ColorPicker::event(Event& e) {
    if (!trigger(e)) return;
    e.handled = true;
    open_popup();
}

void ColorPicker::paint(PaintContext& context) {
    const Theme& theme = context.theme;
    const Rect r = screen_bounds;
    surface(context, false, -1);
    const Rect swatch{r.x + 10, r.y + (r.h - 20) * 0.5f, 20, 20};
    context.canvas.fill(swatch, value_, 5);
    context.canvas.stroke(swatch, theme.border, 1, 5);
    context.canvas.text(text, {r.x + 40, r.y + (r.h - theme.font_size) * 0.5f}, theme.font_size,
                        enabled ? theme.text : theme.muted, 400);
}

// ---- Date -------------------------------------------------------------------------------------------------

namespace {

namespace chr = std::chrono;

chr::year_month_day civil(const Date& d) {
    return chr::year{d.year} / chr::month{static_cast<unsigned>(d.month)} /
           chr::day{static_cast<unsigned>(d.day)};
}

Date from_civil(chr::year_month_day v) {
    return {static_cast<int>(v.year()), static_cast<int>(static_cast<unsigned>(v.month())),
            static_cast<int>(static_cast<unsigned>(v.day()))};
}

} // namespace

Date Date::today() {
    const std::time_t now = std::time(nullptr);
    const std::tm* local = std::localtime(&now); // the user-interface thread is its only caller
    if (!local) return {};
    return {local->tm_year + 1900, local->tm_mon + 1, local->tm_mday};
}

bool Date::valid() const {
    // Four-digit years keep the ISO text fixed in form.
    return year >= 1 && year <= 9999 && month >= 1 && month <= 12 && day >= 1 && day <= 31 &&
           civil(*this).ok();
}

std::string Date::iso() const {
    char out[32];
    std::snprintf(out, sizeof out, "%04d-%02d-%02d", year, month, day);
    return out;
}

Date Date::plus_days(int days) const { return from_civil(chr::sys_days(civil(*this)) + chr::days(days)); }

Date Date::plus_months(int months) const {
    chr::year_month_day moved = civil(*this) + chr::months(months);
    if (!moved.ok()) moved = moved.year() / moved.month() / chr::last;
    return from_civil(moved);
}

int Date::weekday() const {
    return static_cast<int>(chr::weekday(chr::sys_days(civil(*this))).iso_encoding()) - 1;
}

// ---- Calendar ------------------------------------------------------------------------------------------

namespace {

constexpr float grid_top = 80;
constexpr float cell_h = 32;
const char* const weekday_names[7] = {"一", "二", "三", "四", "五", "六", "日"};

} // namespace

Calendar::Calendar(std::weak_ptr<DatePicker> picker, Date initial)
    : Panel(""), owner(std::move(picker)), selected(initial), cursor(initial) {
    bounds = {0, 0, 276, 284};
    focusable = true;
}

Date Calendar::first_shown() const {
    const Date first{cursor.year, cursor.month, 1};
    return first.plus_days(-first.weekday());
}

Rect Calendar::cell(int index) const {
    const float w = (bounds.w - 24) / 7;
    return offset(*this, {12 + static_cast<float>(index % 7) * w,
                          grid_top + static_cast<float>(index / 7) * cell_h, w, cell_h});
}

Rect Calendar::previous_button() const { return offset(*this, {12, 10, 32, 32}); }
Rect Calendar::next_button() const { return offset(*this, {bounds.w - 44, 10, 32, 32}); }

void Calendar::move(int days) {
    const Date moved = cursor.plus_days(days);
    if (moved.valid()) cursor = moved;
}

void Calendar::shift_month(int months) {
    const Date moved = cursor.plus_months(months);
    if (moved.valid()) cursor = moved;
}

void Calendar::choose(Date day) {
    auto picker = owner.lock();
    if (scene) scene->close(this); // may destroy the calendar
    if (picker) picker->value(day);
}

void Calendar::event(Event& e) {
    if (e.type == pointer_down) {
        e.handled = true;
        if (previous_button().contains(e.position)) return shift_month(-1);
        if (next_button().contains(e.position)) return shift_month(1);
        for (int i = 0; i < 42; ++i)
            if (cell(i).contains(e.position)) return choose(first_shown().plus_days(i));
        return;
    }
    if (e.type != key_down || !focused_here(*this)) return;
    e.handled = true;
    switch (e.key) {
    case vk::left:
        return move(-1);
    case vk::right:
        return move(1);
    case vk::up:
        return move(-7);
    case vk::down:
        return move(7);
    case vk::page_up:
        return shift_month(-1);
    case vk::page_down:
        return shift_month(1);
    case vk::home:
        return move(1 - cursor.day);
    case vk::end:
        return move(Date{cursor.year, cursor.month, 1}.plus_months(1).plus_days(-1).day - cursor.day);
    case vk::enter:
    case vk::space:
        return choose(cursor);
    default:
        e.handled = false;
        return;
    }
}

void Calendar::paint(PaintContext& context) {
    Panel::paint(context);
    Canvas& canvas = context.canvas;
    const Theme& theme = context.theme;
    const Rect r = screen_bounds;
    const std::string title = std::to_string(cursor.year) + "年" + std::to_string(cursor.month) + "月";
    centered(context, title, {r.x + 44, r.y + 10, r.w - 88, 32}, theme.text, 15, 600);
    centered(context, "‹", previous_button(), theme.text, 20, 400);
    centered(context, "›", next_button(), theme.text, 20, 400);
    for (int i = 0; i < 7; ++i) {
        Rect head = cell(i);
        head.y = r.y + 50;
        head.h = 24;
        centered(context, weekday_names[i], head, theme.muted, 12, 400);
    }
    const Date first = first_shown();
    const bool keyboard = focused_here(*this);
    for (int i = 0; i < 42; ++i) {
        const Date day = first.plus_days(i);
        const Rect c = cell(i);
        const Rect inner{c.x + 2, c.y + 2, std::max(c.w - 4, 0.0f), std::max(c.h - 4, 0.0f)};
        const bool chosen = day == selected;
        if (chosen) canvas.fill(inner, theme.selection, 7);
        if (day == cursor && keyboard) canvas.stroke(inner, theme.accent, 1.5f, 7);
        const unsigned colour = chosen                      ? theme.accent_text
                                : day.month == cursor.month ? theme.text
                                                            : theme.muted;
        centered(context, std::to_string(day.day), c, colour, 13, day == today ? 700 : 400);
        if (day == today)
            canvas.fill({c.x + c.w * 0.5f - 2, c.y + c.h - 7, 4, 4},
                        chosen ? theme.accent_text : theme.accent, 2);
    }
}

// ---- DatePicker ------------------------------------------------------------------------------------------

DatePicker::DatePicker(Date initial) : Button(initial.iso()), value_(initial) {
    if (!initial.valid()) throw std::invalid_argument("Invalid date");
    bounds.w = 180;
}

void DatePicker::value(Date day) {
    if (!day.valid()) throw std::invalid_argument("Invalid date");
    if (day == value_) return;
    value_ = day;
    text = day.iso();
    changed();
}

void DatePicker::open_popup() {
    if (!scene) return;
    auto self = std::static_pointer_cast<DatePicker>(shared_from_this());
    show_popup(*this, std::make_shared<Calendar>(self, value_));
}

void DatePicker::event(Event& e) {
    if (!trigger(e)) return;
    e.handled = true;
    open_popup();
}

void DatePicker::paint(PaintContext& context) {
    const Theme& theme = context.theme;
    const Rect r = screen_bounds;
    surface(context, false, -1);
    context.canvas.text(text, {r.x + 12, r.y + (r.h - theme.font_size) * 0.5f}, theme.font_size,
                        enabled ? theme.text : theme.muted, 400);
    // A small calendar leaf at the right.
    const Rect leaf{r.x + r.w - 30, r.y + (r.h - 16) * 0.5f, 18, 16};
    context.canvas.stroke(leaf, theme.muted, 1.5f, 3);
    context.canvas.fill({leaf.x, leaf.y, leaf.w, 4}, theme.muted, 2);
}

// ---- Time and TimePicker
// ------------------------------------------------------------------------------------

bool Time::valid() const {
    return hour >= 0 && hour < 24 && minute >= 0 && minute < 60 && second >= 0 && second < 60;
}

std::string Time::text(bool with_seconds) const {
    char out[32];
    if (with_seconds)
        std::snprintf(out, sizeof out, "%02d:%02d:%02d", hour, minute, second);
    else
        std::snprintf(out, sizeof out, "%02d:%02d", hour, minute);
    return out;
}

namespace {

constexpr float spinner_w = 100;
constexpr float colon_w = 14;

} // namespace

TimePicker::TimePicker(Time initial, bool show_seconds) : Panel(""), seconds(show_seconds) {
    if (!initial.valid()) throw std::invalid_argument("Invalid time");
    padding = 10;
    bounds.h = 56;
    const auto make = [this](int v, double top, const char* name) {
        auto spinner = emplace<Spinner>(v);
        spinner->range(0, top);
        spinner->accessible_name = name;
        spinner->on_change = [](Widget& w) {
            if (auto* picker = dynamic_cast<TimePicker*>(w.parent)) picker->sync();
        };
        return spinner;
    };
    hour_spinner = make(initial.hour, 23, "时");
    minute_spinner = make(initial.minute, 59, "分");
    second_spinner = make(initial.second, 59, "秒");
    value_ = initial;
}

void TimePicker::value(Time t) {
    if (!t.valid()) throw std::invalid_argument("Invalid time");
    syncing_ = true;
    hour_spinner->number(t.hour);
    minute_spinner->number(t.minute);
    second_spinner->number(t.second);
    syncing_ = false;
    if (t == value_) return;
    value_ = t;
    changed();
}

void TimePicker::sync() {
    if (syncing_) return;
    const auto whole = [](const Spinner& s) { return static_cast<int>(s.number()); };
    const Time now{whole(*hour_spinner), whole(*minute_spinner), whole(*second_spinner)};
    if (now == value_) return;
    value_ = now;
    changed();
}

void TimePicker::layout(Scene&) {
    const int count = seconds ? 3 : 2;
    bounds.w = padding * 2 + spinner_w * static_cast<float>(count) + colon_w * static_cast<float>(count - 1);
    second_spinner->visible = seconds;
    const std::shared_ptr<Spinner> spinners[3] = {hour_spinner, minute_spinner, second_spinner};
    for (int i = 0; i < 3; ++i)
        spinners[i]->bounds = {padding + static_cast<float>(i) * (spinner_w + colon_w), padding, spinner_w,
                               std::max(bounds.h - padding * 2, 0.0f)};
}

void TimePicker::tick(Scene&) { sync(); }

void TimePicker::paint(PaintContext& context) {
    Panel::paint(context);
    const int count = seconds ? 3 : 2;
    for (int i = 1; i < count; ++i) {
        const float x = screen_bounds.x + padding + static_cast<float>(i) * (spinner_w + colon_w) - colon_w;
        centered(context, ":", {x, screen_bounds.y, colon_w, screen_bounds.h}, context.theme.text, 16, 600);
    }
}

} // namespace velmora::ui
