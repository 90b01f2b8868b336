// The Window's platform-neutral parts: the checks every platform makes, and what follows from
// the public operations alone.
#include "velmora/platform/window_state.hpp"

#include <algorithm>
#include <cmath>
#include <exception>
#include <stdexcept>

namespace velmora::ui {

void WindowState::check() const {
    if (std::this_thread::get_id() != thread) throw std::logic_error("Window used from another thread");
}

void WindowState::check_size(const WindowOptions& options) {
    if (options.width < 64 || options.width > 16384 || options.height < 64 || options.height > 16384)
        throw std::invalid_argument("Window size");
}

Rect WindowState::caret_area(Rect r) {
    // std::clamp passes a NaN through, so it is caught first.
    const auto limit = [](float v, float lo) { return std::isnan(v) ? 0.0f : std::clamp(v, lo, 32768.0f); };
    return {limit(r.x, -32768), limit(r.y, -32768), limit(r.w, 0), limit(r.h, 0)};
}

void WindowState::check_destroy() const {
    if (std::this_thread::get_id() != thread) std::terminate();
}

void WindowState::begin() {
    begin_poll(input);
    pressed = false;
}

void WindowState::modifiers(bool ctrl, bool shift, bool press) {
    if (press)
        pressed = true;
    else if (pressed)
        return;
    input.ctrl = ctrl;
    input.shift = shift;
}

Vec2 Window::to_logical(Vec2 point, Vec2 logical) const {
    const float units_wide = static_cast<float>(width()) / dpi_scale();
    const float units_high = static_cast<float>(height()) / dpi_scale();
    return {point.x * logical.x / units_wide, point.y * logical.y / units_high};
}

} // namespace velmora::ui
