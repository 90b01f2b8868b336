#include "velmora/core/canvas.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>

namespace velmora::ui {

namespace {

void check_rect(Rect r) {
    if (!std::isfinite(r.x) || !std::isfinite(r.y) || !std::isfinite(r.w) || !std::isfinite(r.h) || r.w < 0 ||
        r.h < 0)
        throw std::invalid_argument("Invalid rectangle");
}

void check(bool ok, const char* message) {
    if (!ok) throw std::invalid_argument(message);
}

void put_color(float* slots, unsigned color) {
    slots[0] = static_cast<float>((color >> 16) & 0xFFu) / 255.0f;
    slots[1] = static_cast<float>((color >> 8) & 0xFFu) / 255.0f;
    slots[2] = static_cast<float>(color & 0xFFu) / 255.0f;
    slots[3] = static_cast<float>((color >> 24) & 0xFFu) / 255.0f;
}

constexpr unsigned white = 0xFFFFFFFF;

} // namespace

void Command::texture(unsigned name) { std::memcpy(&slot[17], &name, sizeof name); }

unsigned Command::texture() const {
    unsigned name;
    std::memcpy(&name, &slot[17], sizeof name);
    return name;
}

void Canvas::begin(float width, float height, const Theme& theme) {
    check(in_range(width, 1, 32768), "width");
    check(in_range(height, 1, 32768), "height");
    theme.validate();
    width_ = width;
    height_ = height;
    theme_ = theme;
    clip_ = {0, 0, width, height};
    commands_.clear();
    clip_stack_.clear();
}

void Canvas::clip(Rect r) {
    check_rect(r);
    float left = std::max(r.x, 0.0f);
    float top = std::max(r.y, 0.0f);
    float w = std::min(r.x + r.w, width_) - left;
    float h = std::min(r.y + r.h, height_) - top;
    clip_ = {left, top, w > 0 ? w : 0.0f, h > 0 ? h : 0.0f};
}

Command& Canvas::add(int kind, Rect r, unsigned color) {
    if (commands_.size() >= command_limit) throw std::length_error("65536 command limit");
    Command& c = commands_.emplace_back();
    c.slot[0] = static_cast<float>(kind);
    c.slot[1] = r.x;
    c.slot[2] = r.y;
    c.slot[3] = r.w;
    c.slot[4] = r.h;
    put_color(&c.slot[6], color);
    c.slot[18] = clip_.x;
    c.slot[19] = clip_.y;
    c.slot[20] = clip_.w;
    c.slot[21] = clip_.h;
    c.slot[27] = static_cast<float>(theme_.antialiasing);
    c.slot[45] = theme_.text_contrast;
    return c;
}

void Canvas::rounding(Command& c, float radius, const Theme& theme) {
    check(in_range(radius, 0, 4096), "corner radius");
    float handle = theme.corner_smoothing * 0.44771525f + 0.5522848f;
    c.slot[5] = radius;
    for (int i = 0; i < 4; ++i) {
        c.slot[28 + i] = radius;
        c.slot[32 + i] = handle;
    }
    // A radius at half the short side is a capsule: keep its ends exactly circular.
    bool cubic = radius > 0 && theme.cubic_corners && radius < std::min(c.slot[3], c.slot[4]) * 0.5f - 0.001f;
    c.slot[44] = cubic ? 1.0f : 0.0f;
}

void Canvas::push_clip(Rect r, float radius) {
    check_rect(r);
    if (clip_stack_.size() >= clip_limit) throw std::length_error("32 shaped clip limit");
    // The command carries the clip from before the push; the radius is checked after it is added.
    // The stack grows only once the record exists, so a push refused at the command limit leaves
    // the depth in step with the push records.
    Command& c = add(kind_push_clip, r, white);
    clip_stack_.push_back(clip_);
    rounding(c, radius, theme_);
    clip_ = r.intersect(clip_);
}

void Canvas::pop_clip() {
    if (clip_stack_.empty()) throw std::logic_error("Clip stack underflow");
    add(kind_pop_clip, {}, white);
    clip_ = clip_stack_.back();
    clip_stack_.pop_back();
}

void Canvas::backdrop() { add(kind_backdrop, {}, white); }

void Canvas::fill(Rect r, unsigned color, float radius) {
    check_rect(r);
    rounding(add(kind_shape, r, color), radius, theme_);
}

void Canvas::stroke(Rect r, unsigned color, float thickness, float radius) {
    check(in_range(thickness, 0, 4096), "stroke thickness");
    fill(r, color, radius);
    commands_.back().slot[10] = thickness;
}

void Canvas::glass(Rect r, const Theme& theme, float radius) {
    check_rect(r);
    theme.validate();
    unsigned alpha = static_cast<unsigned>(std::lround(theme.surface_opacity * 255.0f));
    Command& c = add(kind_glass, r, (theme.surface & 0x00FFFFFFu) | (alpha << 24));
    rounding(c, radius, theme);
    c.slot[22] = theme.blur;
    c.slot[23] = theme.refraction;
    c.slot[24] = theme.shine;
    c.slot[25] = theme.tint;
    c.slot[26] = theme.dispersion;
    c.slot[27] = static_cast<float>(theme.antialiasing);
    put_color(&c.slot[36], theme.highlight);
    put_color(&c.slot[40], theme.shadow);
}

void Canvas::line(Vec2 from, Vec2 to, unsigned color, float thickness) {
    check(in_range(thickness, 0, 4096), "line thickness");
    check(std::isfinite(from.x) && std::isfinite(from.y) && std::isfinite(to.x) && std::isfinite(to.y),
          "Line endpoints");
    add(kind_line, {from.x, from.y, to.x - from.x, to.y - from.y}, color).slot[10] = thickness;
}

void Canvas::ring(Rect r, unsigned color, float thickness, float progress, float start) {
    check_rect(r);
    check(in_range(thickness, 0, 4096), "ring thickness");
    check(in_range(progress, 0, 1), "ring progress");
    check(in_range(start, -32768, 32768), "ring start");
    Command& c = add(kind_ring, r, color);
    c.slot[10] = thickness;
    c.slot[11] = progress;
    c.slot[12] = start;
}

void Canvas::color_plane(Rect r, float hue) {
    check_rect(r);
    check(in_range(hue, 0, 1), "hue");
    add(kind_color_plane, r, white).slot[11] = hue;
}

void Canvas::text(const std::string& text, Vec2 position, float size, unsigned color, int weight) {
    check(in_range(size, 1, 256), "text size");
    if (renderer_) renderer_->draw_text(*this, text, position, size, color, weight);
}

TextEdges TextEngine::edges(const std::string& line, std::size_t from, std::size_t to, float size,
                            int weight) const {
    const float leading = measure(line.substr(0, from), size, weight);
    return {leading, leading + measure(line.substr(from, to - from), size, weight)};
}

TextEdges Canvas::text_edges(const std::string& line, std::size_t from, std::size_t to, float size,
                             int weight) const {
    check(in_range(size, 1, 256), "text size");
    if (renderer_) return renderer_->edges(line, from, to, size, weight);
    const float leading = text_width(line.substr(0, from), size, weight);
    return {leading, leading + text_width(line.substr(from, to - from), size, weight)};
}

float Canvas::text_width(const std::string& text, float size, int weight) const {
    check(in_range(size, 1, 256), "text size");
    if (renderer_) return renderer_->measure(text, size, weight);
    // Without a renderer layout still runs: every code point (line feeds included) is 0.6 em.
    std::size_t points = std::count_if(
        text.begin(), text.end(), [](char b) { return (static_cast<unsigned char>(b) & 0xC0u) != 0x80u; });
    return size * static_cast<float>(points) * 0.6f;
}

} // namespace velmora::ui
