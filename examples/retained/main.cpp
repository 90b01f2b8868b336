// A small retained-mode window: a scene of widgets built once, then driven frame by frame.
// The slider drives the progress bar, the switch turns the form on and off, and the button
// posts a notification with the name typed into the field.
//
//     retained_demo              opens the window and runs until it is closed
//     retained_demo --png F      renders a few frames on a hidden window and writes F
#include "velmora/core/canvas.hpp"
#include "velmora/gpu/vg.hpp"
#include "velmora/platform/window.hpp"
#include "velmora/renderer/png.hpp"
#include "velmora/renderer/renderer.hpp"
#include "velmora/scene/scene.hpp"
#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/range.hpp"
#include "velmora/widgets/text_field.hpp"

#include <chrono>
#include <cstring>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <thread>

namespace {

using namespace velmora::ui;

constexpr float logical_w = 960;
constexpr float logical_h = 640;

// Builds the form into the scene's root. The callbacks capture raw pointers to siblings:
// the tree owns every widget for as long as the scene lives.
void build(Scene& scene) {
    auto panel = scene.root()->emplace<Panel>("Profile");
    panel->bounds = {40, 40, 420, 390};
    panel->layout_mode = layout_column;
    panel->padding = 24;
    panel->gap = 14;

    auto title = panel->emplace<Label>("个人资料 Profile");
    title->font_size = 24;
    title->weight = 700;
    title->bounds.h = 34;
    auto name = panel->emplace<TextField>();
    name->placeholder = "Your name";
    name->bounds.h = 38;

    panel->emplace<Label>("Storage used")->bounds.h = 20;
    auto slider = panel->emplace<Slider>(0.4);
    slider->bounds.h = 28;
    auto progress = panel->emplace<ProgressBar>(0.4);
    progress->bounds.h = 22;
    slider->on_change = [bar = progress.get()](Widget& w) { bar->value(static_cast<Slider&>(w).value()); };

    auto sync = panel->emplace<CheckBox>("Back up every night");
    sync->bounds.h = 30;
    auto editable = panel->emplace<Switch>("Editing allowed");
    editable->bounds.h = 30;
    editable->selected(true);
    editable->on_change = [=](Widget& w) {
        const bool on = static_cast<Switch&>(w).selected();
        for (Widget* field : {static_cast<Widget*>(name.get()), static_cast<Widget*>(slider.get())})
            field->enabled = on;
    };

    auto save = panel->emplace<Button>("Save");
    save->accent = true;
    save->bounds.h = 40;
    save->on_activate = [&scene, field = name.get(), sync = sync.get()](Widget&) {
        const std::string who = field->value().empty() ? "Anonymous" : field->value();
        auto notice = std::make_shared<Notification>(
            "Saved", who + (sync->selected() ? ", backed up nightly" : ", not backed up"));
        notice->show(scene, 4);
    };
}

} // namespace

int main(int argc, char** argv) try {
    const std::string png = argc > 2 && std::strcmp(argv[1], "--png") == 0 ? argv[2] : "";

    WindowOptions options;
    options.title = "VelmoraUI retained";
    options.width = static_cast<int>(logical_w);
    options.height = static_cast<int>(logical_h);
    options.visible = png.empty();
    Window window(options);
    Renderer renderer;
    Canvas canvas;
    Scene scene;
    scene.clipboard([&window](const std::string& text) { window.clipboard_text(text); });
    build(scene);
    const auto start = std::chrono::steady_clock::now();

    const auto frame = [&](Input input, double t) {
        const int w = window.width(), h = window.height();
        // The window reports the pointer in its own units; the scene works in logical ones.
        input.mouse = window.to_logical(input.mouse, {logical_w, logical_h});
        renderer.background(w, h, static_cast<float>(t), scene.theme, true);
        renderer.begin(canvas, w, h, logical_w, logical_h, scene.theme);
        scene.frame(canvas, input, t);
        renderer.render(canvas, w, h, input.mouse, 0, vg_back_buffer);
    };

    if (!png.empty()) {
        // Type a name, drag the slider and press Save, as a user would.
        Input in;
        in.mouse = {200, 130};
        in.mouse_down = in.mouse_pressed = true;
        frame(in, 1.0);
        in = {};
        in.mouse = {200, 130};
        in.mouse_released = true;
        in.text = "林小雨";
        frame(in, 1.1);
        for (Vec2 p : {Vec2{100, 220}, Vec2{330, 220}}) {
            in = {};
            in.mouse = p;
            in.mouse_down = true;
            in.mouse_pressed = p.x < 200;
            frame(in, 1.2);
        }
        for (bool down : {true, false}) {
            in = {};
            in.mouse = {250, 384};
            in.mouse_down = in.mouse_pressed = down;
            in.mouse_released = !down;
            frame(in, 1.3);
        }
        frame(in, 1.5);
        save_png(png, renderer.read_pixels(window.width(), window.height()));
        std::cout << "wrote " << png << '\n';
        return 0;
    }
    while (window.poll()) {
        const auto t = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        frame(window.input(), t);
        window.text_input(scene.wants_text_input());
        window.swap();
        std::this_thread::sleep_for(std::chrono::milliseconds(4));
    }
    return 0;
} catch (const std::exception& e) {
    std::cerr << e.what() << '\n';
    return 1;
}
