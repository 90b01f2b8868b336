// Test helpers for driving whole scene frames.
//
//     ui::Scene scene;
//     auto probe = scene.root()->emplace<Probe>();
//     FrameDriver run(scene);
//     run.click({10, 10});
//     EXPECT_EQ(probe->types(), (std::vector<int>{ui::pointer_down, ui::pointer_up}));
//
// FrameDriver keeps the pointer position and the held button across frames, as the platform
// does, and advances the clock by `step` before every frame. The canvas has no renderer, so
// text is measured by the 0.6-em estimate; attach a TextLog to see the text that is drawn.
#pragma once

#include "velmora/core/canvas.hpp"
#include "velmora/platform/input.hpp"
#include "velmora/scene/scene.hpp"
#include "velmora/scene/widget.hpp"

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
    bool handles = false; // mark every event handled
    std::function<void(ui::Event&)> on_event;

    void event(ui::Event& e) override {
        seen.push_back(e);
        if (handles) e.handled = true;
        if (on_event) {
            auto callback = on_event;
            callback(e);
        }
    }

    std::vector<int> types() const {
        std::vector<int> out;
        for (const auto& e : seen) out.push_back(e.type);
        return out;
    }
    int count(int type) const {
        int n = 0;
        for (const auto& e : seen) n += e.type == type;
        return n;
    }
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

// A key press as dispatch delivers it, for driving a widget directly.
inline ui::Event key_event(int code, bool ctrl = false, bool shift = false) {
    ui::Event e;
    e.type = ui::key_down;
    e.key = code;
    e.input.ctrl = ctrl;
    e.input.shift = shift;
    return e;
}

// A release of the left button at `p`, which is how a click reaches a widget that is driven directly.
inline ui::Event release_event(ui::Vec2 p) {
    ui::Event e;
    e.type = ui::pointer_up;
    e.position = p;
    return e;
}

class FrameDriver {
public:
    explicit FrameDriver(ui::Scene& s, float w = 800, float h = 600) : scene(s), width(w), height(h) {
        state.mouse = {-1, -1};
    }

    ui::Scene& scene;
    ui::Canvas canvas;
    float width;
    float height;
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

    void move(ui::Vec2 p) {
        state.mouse = p;
        frame();
    }
    void press(ui::Vec2 p) {
        state.mouse = p;
        ui::Input in;
        in.mouse_pressed = true;
        state.mouse_down = true;
        frame(in);
    }
    void release(ui::Vec2 p) {
        state.mouse = p;
        ui::Input in;
        in.mouse_released = true;
        state.mouse_down = false;
        frame(in);
    }
    // Press and release inside one frame.
    void click(ui::Vec2 p) {
        state.mouse = p;
        ui::Input in;
        in.mouse_pressed = true;
        in.mouse_released = true;
        state.mouse_down = false;
        frame(in);
    }
    void right_click(ui::Vec2 p) {
        state.mouse = p;
        ui::Input in;
        in.right_pressed = true;
        in.right_released = true;
        frame(in);
    }
    void wheel(ui::Vec2 p, float notches) {
        state.mouse = p;
        ui::Input in;
        in.wheel = notches;
        frame(in);
    }
    void key(unsigned code, bool ctrl = false, bool shift = false) {
        ui::Input in;
        in.key = code;
        in.ctrl = ctrl;
        in.shift = shift;
        frame(in);
    }
    void tab(bool shift = false) {
        ui::Input in;
        in.key = 9;
        in.tab = true;
        in.shift = shift;
        frame(in);
    }
    // One frame with one of the key flags set, as the platform marks Enter or an edit command.
    void mark(bool ui::Input::*flag) {
        ui::Input in;
        in.*flag = true;
        frame(in);
    }
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
