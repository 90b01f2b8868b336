// Window: the one native window of the toolkit, with its OpenGL context.
//
// The constructor creates the window and a double-buffered OpenGL 3.3 context (8 alpha, 24
// depth, 8 stencil bits) and leaves that context current. `poll` condenses the events of a
// frame into one `Input` record; `swap` presents. A window that is not `visible` still has a
// real back buffer of the requested size, so unattended rendering and read-back work; it is
// offscreen and never shown, so any size works on any screen. On a machine without a display
// it renders through a headless driver.
//
// A Window belongs to the thread that made it: every call but construction and destruction
// throws std::logic_error "Window used from another thread" elsewhere, and destroying it from
// another thread terminates the program.
#pragma once

#include "velmora/core/export.hpp"
#include "velmora/platform/input.hpp"

#include <functional>
#include <memory>
#include <string>

namespace velmora::ui {

struct WindowOptions {
    std::string title; // UTF-8
    int width = 1280;  // client size in pixels, each 64 to 16384
    int height = 800;
    bool visible = true; // shown normally, or kept out of sight
    bool vsync = true;   // a shown window presents at the display's refresh, where the driver lets it
};

class VELMORA_API Window {
public:
    // Throws std::invalid_argument "Window size" for a size out of range, "Invalid UTF-8" for
    // a bad title, and std::runtime_error for a failure of the system.
    explicit Window(const WindowOptions& options);
    ~Window();
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    // Takes the pending events up to one that the record cannot hold beside those before it
    // (a second command or press: see fits_key); that one and the rest stay pending for the
    // next poll, so wait returns at once. False once the window should close; it stays false.
    bool poll();
    // Sleeps until an event is pending or `seconds` have passed, and takes nothing: the next
    // poll does. True when an event is pending, and at once once the window was closed; 0
    // only looks. Infinity waits for an event alone. Throws std::invalid_argument "Wait time"
    // for a negative time or NaN, and std::runtime_error when the system cannot wait.
    bool wait(double seconds);
    void swap();
    // The next poll returns false.
    void close();
    // A function that makes `wait` return and brings a poll, callable from any thread at any
    // time, even after the window is gone (it then does nothing).
    std::function<void()> waker() const;
    // Makes this window's context current on its thread again, after another window's took
    // its place.
    void make_current();

    // Client size in pixels, asked anew each time.
    int width() const;
    int height() const;
    // Pixels per logical unit: 1 on an ordinary display.
    float dpi_scale() const;
    // What happened during the last poll; valid until the next one.
    const Input& input() const;
    // A point in the window's units (those of Input::mouse) in a logical frame of `logical`
    // units stretched over the whole client area, as a scene drawn at that size sees it.
    Vec2 to_logical(Vec2 point, Vec2 logical) const;

    // Throws std::invalid_argument "Invalid UTF-8".
    void title(const std::string& text);
    // Turns typed text and the input method on or off. Off after construction: `text` and
    // Ctrl+V `paste` stay empty until it is turned on.
    void text_input(bool on);
    // Where the input method should place its candidate window: the caret of the field being
    // edited, in the window's units (those of Input::mouse). Never throws: a caret that is
    // off-screen, huge or not a number is clamped to 32768 units, a negative size and a NaN
    // becoming 0, since a hint for the input method must not end an interactive loop.
    void text_input_rect(Rect r);
    // Puts plain text on the clipboard. Throws std::invalid_argument "Invalid UTF-8"; a
    // clipboard that cannot be written is left as it was.
    void clipboard_text(const std::string& text);
    // The platform's window handle (an SDL_Window* here).
    void* native_handle() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace velmora::ui
