// What every platform's Window::Impl keeps besides its system handles (internal): the input
// record, the flags the Window's operations share, and the thread that owns the window.
#pragma once

#include "velmora/platform/input.hpp"
#include "velmora/platform/window.hpp"

#include <thread>

namespace velmora::ui {

struct WindowState {
    Input input;
    bool open = true;
    bool text_on = false;
    float dpi_scale = 1;
    std::thread::id thread = std::this_thread::get_id();
    bool pressed = false; // a key or button went down during this poll

    // Clears the record for a new poll; the platform then reads the modifiers as they stand.
    void begin();
    // Sets `input.ctrl` and `input.shift`. A key or button keeps the modifiers that were down
    // at its press: once one went down in this poll (`press`), a later release changes nothing
    // until the next poll, so a chord pressed and let go within one frame arrives whole.
    void modifiers(bool ctrl, bool shift, bool press);

    // Throws std::logic_error "Window used from another thread".
    void check() const;
    // The caret rectangle for the input method, clamped into what a platform can place.
    static Rect caret_area(Rect r);
    // Throws std::invalid_argument "Window size" for a client size out of range.
    static void check_size(const WindowOptions& options);
    // A window destroyed on another thread would free system objects that thread doesn't own.
    void check_destroy() const;
};

} // namespace velmora::ui
