// Test helpers for driving whole scene frames. FrameDriver keeps the pointer position and the
// held button across frames, as the platform does, and advances the clock by `step` before every
// frame. Its canvas has no renderer, so text is measured by the 0.6-em estimate; attach a TextLog
// to see the text that is drawn.
#pragma once

#include "velmora/core/canvas.hpp"
#include "velmora/platform/input.hpp"
#include "velmora/scene/scene.hpp"
#include "velmora/scene/widget.hpp"

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace velmora::test {

namespace ui = velmora::ui;

// A focusable widget that records every event it receives.
class Probe : public ui::Widget {
public:
    explicit Probe(std::string label = {}, ui::Rect at = {0, 0, 100, 40}) : Widget(std::move(label)) {
        bounds = at;
        focusable = true;
    }

    std::vector<ui::Event> seen;
    int ticks = 0;
    bool handles = false; // mark every event handled
    std::function<void(ui::Event&)> on_event;

    void tick(ui::Scene&) override { ++ticks; }
    void event(ui::Event& e) override {
        seen.push_back(e);
        if (handles) e.handled = true;
        if (auto callback = on_event) callback(e); // a copy: the handler may replace it
    }

    std::vector<int> types() const {
        std::vector<int> out;
        for (const auto& e : seen) out.push_back(e.type);
        return out;
    }
    int count(int type) const { return static_cast<int>(std::ranges::count(types(), type)); }
    const ui::Event* last(int type) const {
        for (auto it = seen.rbegin(); it != seen.rend(); ++it)
            if (it->type == type) return &*it;
        return nullptr;
    }
    void forget() { seen.clear(); }
};

// Records the text a canvas draws, measuring it like a canvas without a renderer.
class TextLog : public ui::TextEngine {
public:
    struct Entry {
        std::string text;
        ui::Vec2 position;
        float size;
        unsigned color;
        int weight;
    };
    std::vector<Entry> entries;

    void draw_text(ui::Canvas&, const std::string& text, ui::Vec2 position, float size, unsigned color,
                   int weight) override {
        entries.push_back({text, position, size, color, weight});
    }
    float measure(const std::string& text, float size, int) const override {
        float points = 0;
        for (unsigned char b : text) points += (b & 0xC0u) != 0x80u;
        return size * points * 0.6f;
    }
    const Entry* find(const std::string& text) const {
        for (const auto& e : entries)
            if (e.text == text) return &e;
        return nullptr;
    }
};

// A key press, and a release of the left button at `p`, as dispatch delivers them to a widget.
inline ui::Event key_event(int code, bool ctrl = false, bool shift = false) {
    ui::Event e;
    e.type = ui::key_down;
    e.key = code;
    e.input.ctrl = ctrl;
    e.input.shift = shift;
    return e;
}
inline ui::Event release_event(ui::Vec2 p) {
    ui::Event e;
    e.type = ui::pointer_up;
    e.position = p;
    return e;
}

class FrameDriver {
public:
    explicit FrameDriver(ui::Scene& s, float w = 800, float h = 600) : scene(s), width(w), height(h) {}

    ui::Scene& scene;
    ui::Canvas canvas;
    float width, height;
    double now = 1;
    double step = 1.0 / 60;
    ui::Input state; // what persists between frames: mouse and mouse_down; set mouse before frame()

    // One frame with the given input; the persistent fields come from `state`.
    void frame(ui::Input in = {}) {
        in.mouse = state.mouse;
        in.mouse_down = state.mouse_down;
        now += step;
        canvas.begin(width, height, scene.theme);
        scene.frame(canvas, in, now);
    }
    void idle(double seconds) {
        const double end = now + seconds;
        while (now + step <= end) frame();
    }

    // The pointer goes to `p`, the flags are set for this frame and `down` says whether the left
    // button is held afterwards.
    template <class... Flags> void pointer(ui::Vec2 p, bool down, Flags... flags) {
        ui::Input in;
        ((in.*flags = true), ...);
        state.mouse = p;
        state.mouse_down = down;
        frame(in);
    }
    void move(ui::Vec2 p) { pointer(p, state.mouse_down); }
    void press(ui::Vec2 p) { pointer(p, true, &ui::Input::mouse_pressed); }
    void release(ui::Vec2 p) { pointer(p, false, &ui::Input::mouse_released); }
    // Press and release inside one frame.
    void click(ui::Vec2 p) { pointer(p, false, &ui::Input::mouse_pressed, &ui::Input::mouse_released); }
    void right_click(ui::Vec2 p) {
        pointer(p, state.mouse_down, &ui::Input::right_pressed, &ui::Input::right_released);
    }
    void wheel(ui::Vec2 p, float notches) {
        ui::Input in;
        in.wheel = notches;
        state.mouse = p;
        frame(in);
    }
    // A key press; `flag` is a key flag set with it, as the platform marks Tab.
    void key(unsigned code, bool ctrl = false, bool shift = false, bool ui::Input::*flag = nullptr) {
        ui::Input in;
        in.key = code;
        in.ctrl = ctrl;
        in.shift = shift;
        if (flag) in.*flag = true;
        frame(in);
    }
    void tab(bool shift = false) { key(9, false, shift, &ui::Input::tab); }
    // One frame with one of the key flags set, as the platform marks Enter or an edit command.
    void mark(bool ui::Input::*flag) { pointer(state.mouse, state.mouse_down, flag); }
    void type(std::string text) {
        ui::Input in;
        in.text = std::move(text);
        frame(in);
    }
    void lose_focus() {
        ui::Input in;
        in.focus_lost = true;
        in.mouse_released = state.mouse_down;
        state.mouse_down = false;
        frame(in);
    }
};

} // namespace velmora::test
