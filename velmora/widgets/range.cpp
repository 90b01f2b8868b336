// Range controls.
//
//   Slider        value, range, step; drag on the grid, keys off it; track and glass thumb
//   ScrollBar     thumb sized by page; thumb drag, track click pages, wheel, keys
//   RangeSlider   two thumbs, the nearer one takes the press
//   ProgressBar, RingProgress, SpinnerIndicator
#include "velmora/widgets/range.hpp"

#include "velmora/core/canvas.hpp"
#include "velmora/platform/input.hpp"
#include "velmora/scene/scene.hpp"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>
#include <utility>

namespace velmora::ui {

namespace {

constexpr float thumb_radius = 9;

double finite_value(double v) {
    if (!std::isfinite(v)) throw std::invalid_argument("Non-finite value");
    return v;
}

double fraction(double v) {
    if (!std::isfinite(v)) throw std::invalid_argument("Progress value");
    return std::clamp(v, 0.0, 1.0);
}

} // namespace

// ---- Slider -------------------------------------------------------------------------------------

Slider::Slider(double initial) : value_(std::clamp(finite_value(initial), 0.0, 1.0)) { focusable = true; }

void Slider::value(double v) {
    v = std::clamp(finite_value(v), minimum, maximum);
    if (v == value_) return;
    value_ = v;
    changed();
}

void Slider::range(double lo, double hi) {
    if (!std::isfinite(lo) || !std::isfinite(hi) || !(lo < hi)) throw std::invalid_argument("Slider range");
    minimum = lo;
    maximum = hi;
    value(value_);
}

void Slider::step(double s) {
    if (!std::isfinite(s) || !(s > 0)) throw std::invalid_argument("Slider step");
    step_ = s;
}

Rect Slider::track() const {
    const Rect& s = screen_bounds;
    return {s.x + thumb_radius, s.y + s.h * 0.5f - 2, std::max(s.w - 2 * thumb_radius, 0.0f), 4};
}

double Slider::grid_value(float x) const {
    double t = (x - screen_bounds.x - thumb_radius) / std::max(screen_bounds.w - 2 * thumb_radius, 1.0f);
    if (!std::isfinite(t)) t = 0;
    t = std::clamp(t, 0.0, 1.0);
    double v = minimum + std::round((maximum - minimum) * t / step_) * step_;
    return std::clamp(finite_value(v), minimum, maximum);
}

float Slider::unit(double v) const {
    double f = maximum > minimum ? (v - minimum) / (maximum - minimum) : 0.0;
    return static_cast<float>(std::clamp(f, 0.0, 1.0));
}

float Slider::position_of(double v) const {
    Rect t = track();
    return t.x + t.w * unit(v);
}

bool Slider::key_target(int key, double from, double& to) const {
    switch (key) {
    case vk::end:
        to = maximum;
        return true;
    case vk::home:
        to = minimum;
        return true;
    case vk::left:
    case vk::down:
        to = std::clamp(from - step_, minimum, maximum);
        return true;
    case vk::up:
    case vk::right:
        to = std::clamp(from + step_, minimum, maximum);
        return true;
    default:
        return false;
    }
}

void Slider::drag(Vec2 p) { value(grid_value(p.x)); }

void Slider::event(Event& e) {
    switch (e.type) {
    case pointer_down:
        dragging = true;
        e.handled = true;
        drag(e.position);
        break;
    case pointer_move:
        if (!dragging) return;
        e.handled = true;
        drag(e.position);
        break;
    case pointer_up:
        dragging = false;
        e.handled = true;
        break;
    case key_down: {
        double to = 0;
        if (!key_target(e.key, value_, to)) return;
        e.handled = true;
        value(to);
        break;
    }
    default:
        break;
    }
}

void Slider::paint_thumb(PaintContext& context, float x, bool ring) const {
    const Theme& theme = context.theme;
    float d = 2 * thumb_radius;
    Rect r{x - thumb_radius, screen_bounds.y + screen_bounds.h * 0.5f - thumb_radius, d, d};
    context.canvas.glass(r, theme, thumb_radius);
    if (pressed || dragging)
        context.canvas.fill(r, theme.selection, thumb_radius);
    else if (hovered)
        context.canvas.fill(r, theme.hover, thumb_radius);
    context.canvas.stroke(r, ring ? theme.accent : theme.border, ring ? 1.5f : 1.0f, thumb_radius);
}

void Slider::paint(PaintContext& context) {
    Rect t = track();
    float x = position_of(value_);
    context.canvas.fill(t, context.theme.control, 2);
    context.canvas.fill({t.x, t.y, x - t.x, t.h}, enabled ? context.theme.accent : context.theme.muted, 2);
    paint_thumb(context, x, focused());
}

// ---- ScrollBar --------------------------------------------------------------------------------------

ScrollBar::ScrollBar(bool is_vertical) : vertical(is_vertical) {
    step(0.05);
    bounds = vertical ? Rect{0, 0, 18, 180} : Rect{0, 0, 260, 18};
}

float ScrollBar::share() const { return std::isfinite(page) ? std::clamp(page, 0.01f, 1.0f) : 0.01f; }

float ScrollBar::thumb_size() const { return std::min(std::max(share() * extent(), 18.0f), extent()); }

Rect ScrollBar::thumb() const {
    float size = thumb_size();
    float start = (extent() - size) * unit(value());
    const Rect& s = screen_bounds;
    if (vertical) return {s.x + 3, s.y + start, std::max(s.w - 6, 0.0f), size};
    return {s.x + start, s.y + 3, size, std::max(s.h - 6, 0.0f)};
}

void ScrollBar::drag(Vec2 p) {
    float free = extent() - thumb_size();
    if (!(free > 0)) return;
    double f = (along(p) - grab_offset) / free;
    if (!std::isfinite(f)) f = 0;
    value(minimum + std::clamp(f, 0.0, 1.0) * (maximum - minimum));
}

void ScrollBar::event(Event& e) {
    double span = maximum - minimum;
    switch (e.type) {
    case pointer_down: {
        Rect t = thumb();
        float start = vertical ? t.y - screen_bounds.y : t.x - screen_bounds.x;
        float offset = along(e.position) - start;
        e.handled = true;
        if (offset >= 0 && offset < thumb_size()) {
            grab_offset = offset;
            dragging = true;
        } else {
            // A press on the track moves one page towards the pointer.
            value(value() + (offset < 0 ? -1.0 : 1.0) * share() * span);
        }
        break;
    }
    case wheel_turned:
        e.handled = true;
        value(value() - static_cast<double>(e.wheel) * step());
        break;
    case key_down: {
        // Down moves a vertical bar's thumb down, towards larger values.
        int key = e.key;
        if (vertical && (key == vk::up || key == vk::down)) key = key == vk::up ? vk::left : vk::right;
        double to = 0;
        if (key == vk::page_up || key == vk::page_down)
            to = value() + (key == vk::page_up ? -1.0 : 1.0) * share() * span;
        else if (!key_target(key, value(), to))
            return;
        e.handled = true;
        value(to);
        break;
    }
    default:
        Slider::event(e);
        break;
    }
}

void ScrollBar::paint(PaintContext& context) {
    const Rect& s = screen_bounds;
    float cross = vertical ? s.w : s.h;
    context.canvas.fill(s, context.theme.control, cross * 0.5f);
    Rect t = thumb();
    float radius = (vertical ? t.w : t.h) * 0.5f;
    context.canvas.glass(t, context.theme, radius);
    if (dragging)
        context.canvas.fill(t, context.theme.selection, radius);
    else if (hovered)
        context.canvas.fill(t, context.theme.hover, radius);
    if (focused()) context.canvas.stroke(s, context.theme.accent, 1.5f, cross * 0.5f);
}

// ---- RangeSlider ------------------------------------------------------------------------------------

RangeSlider::RangeSlider() : Slider(0.25) {}

void RangeSlider::values(double lo, double hi) {
    if (!std::isfinite(lo) || !std::isfinite(hi)) throw std::invalid_argument("Range value");
    lo = std::clamp(lo, minimum, maximum);
    hi = std::max(std::min(hi, maximum), lo);
    if (lo == low && hi == high) return;
    low = lo;
    high = hi;
    changed();
}

void RangeSlider::move_active(double v) {
    if (active == 0)
        values(std::min(v, high), high);
    else
        values(low, std::max(v, low));
}

void RangeSlider::drag(Vec2 p) { move_active(grid_value(p.x)); }

void RangeSlider::event(Event& e) {
    if (e.type == pointer_down) {
        float to_low = std::abs(e.position.x - position_of(low));
        float to_high = std::abs(e.position.x - position_of(high));
        if (to_low != to_high) {
            active = to_low < to_high ? 0 : 1;
        } else {
            // Coinciding thumbs: take the one that can move the way the pointer lies. At the
            // upper end only the low thumb can move at all.
            active = e.position.x < position_of(low) || high >= maximum ? 0 : 1;
        }
    } else if (e.type == key_down) {
        double to = 0;
        if (!key_target(e.key, active == 0 ? low : high, to)) return;
        e.handled = true;
        move_active(to);
        return;
    }
    Slider::event(e);
}

void RangeSlider::paint(PaintContext& context) {
    Rect t = track();
    float from = position_of(low);
    float to = position_of(high);
    context.canvas.fill(t, context.theme.control, 2);
    context.canvas.fill({from, t.y, std::max(to - from, 0.0f), t.h},
                        enabled ? context.theme.accent : context.theme.muted, 2);
    // The active thumb is drawn last, so it stays on top where the two overlap.
    bool ring = focused();
    paint_thumb(context, active == 0 ? to : from, false);
    paint_thumb(context, active == 0 ? from : to, ring);
}

// ---- progress ----------------------------------------------------------------------------------------

ProgressBar::ProgressBar(double initial) : value_(fraction(initial)) {
    bounds.h = 24;
    hit_through = true;
}

void ProgressBar::value(double v) {
    v = fraction(v);
    if (v == value_) return;
    value_ = v;
    changed();
}

void ProgressBar::paint(PaintContext& context) {
    const Rect& s = screen_bounds;
    float radius = s.h * 0.5f;
    context.canvas.fill(s, context.theme.control, radius);
    context.canvas.fill({s.x, s.y, static_cast<float>(value_) * s.w, s.h}, context.theme.selection, radius);
    if (percent)
        centered(context, std::to_string(std::lround(value_ * 100)) + "%", s, context.theme.text, 12, 400);
}

RingProgress::RingProgress(double initial) : ProgressBar(initial) { bounds = {0, 0, 84, 84}; }

void RingProgress::paint(PaintContext& context) {
    const Rect& s = screen_bounds;
    float d = std::min(s.w, s.h);
    Rect ring{s.x + (s.w - d) * 0.5f, s.y + (s.h - d) * 0.5f, d, d};
    context.canvas.ring(ring, context.theme.control, 5, 1, -0.25f);
    context.canvas.ring(ring, context.theme.accent, 5, static_cast<float>(value()), -0.25f);
    // Truncated, not rounded: a ring that reads 100% must be closed.
    int shown = static_cast<int>(value() * 100);
    centered(context, std::to_string(shown) + "%", s, context.theme.text, 14, 600);
}

SpinnerIndicator::SpinnerIndicator(std::string label) : Widget(std::move(label)) {
    bounds = {0, 0, 36, 36};
    hit_through = true;
}

void SpinnerIndicator::paint(PaintContext& context) {
    const Rect& s = screen_bounds;
    float d = std::min(s.w, s.h);
    Rect ring{s.x + (s.w - d) * 0.5f, s.y + (s.h - d) * 0.5f, d, d};
    double turn = std::fmod(static_cast<double>(speed) * context.time, 1.0);
    if (!std::isfinite(turn)) turn = 0;
    context.canvas.ring(ring, context.theme.control, 3, 1, 0);
    context.canvas.ring(ring, context.theme.accent, 3, 0.28f, static_cast<float>(turn));
    context.scene.redraw_at(context.time + 1.0 / 60); // turns smoothly at 60 frames a second
}

// ---- assistive technology ---------------------------------------------------------------------

void Slider::describe(AccessibleNode& node) const {
    Widget::describe(node);
    node.value_range(value_, minimum, maximum, step_);
    node.states |= accessible_state::horizontal;
}

bool Slider::accessible_value(double v) {
    value(v);
    return true;
}

void ProgressBar::describe(AccessibleNode& node) const {
    Widget::describe(node);
    node.value_range(value_, 0, 1, 0);
}

} // namespace velmora::ui
