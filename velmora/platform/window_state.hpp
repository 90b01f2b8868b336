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

    // Throws std::logic_error "Window used from another thread".
    void check() const;
    // Throws std::invalid_argument "Window size" for a client size out of range.
    static void check_size(const WindowOptions& options);
    // A window destroyed on another thread would free system objects that thread doesn't own.
    void check_destroy() const;
};

} // namespace velmora::ui
