// A small retained-mode window: a scene of widgets built once, then driven frame by frame.
// The slider drives the progress bar, the switch turns the form on and off, and the button
// posts a notification with the name typed into the field.
//
//     retained_demo              opens the window and runs until it is closed
//     retained_demo --png F      renders a few frames on a hidden window and writes F
#include "velmora/app/app.hpp"
#include "velmora/scene/scene.hpp"
#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/range.hpp"
#include "velmora/widgets/text_field.hpp"

#include <cstring>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

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

// Types a name, drags the slider and presses Save, as a user would.
std::vector<ScriptedFrame> script() {
    std::vector<ScriptedFrame> frames;
    const auto at = [&frames](double t, Vec2 p, bool down, bool pressed, bool released,
                              std::string text = {}) {
        ScriptedFrame& f = frames.emplace_back();
        f.time = t;
        f.input.mouse = p;
        f.input.mouse_down = down;
        f.input.mouse_pressed = pressed;
        f.input.mouse_released = released;
        f.input.text = std::move(text);
    };
    at(1.0, {200, 130}, true, true, false);
    at(1.1, {200, 130}, false, false, true, "林小雨");
    at(1.2, {100, 220}, true, true, false);
    at(1.2, {330, 220}, true, false, false);
    at(1.3, {250, 384}, true, true, false);
    at(1.3, {250, 384}, false, false, true);
    at(1.5, {250, 384}, false, false, true);
    return frames;
}

} // namespace

int main(int argc, char** argv) try {
    const std::string png = argc > 2 && std::strcmp(argv[1], "--png") == 0 ? argv[2] : "";
    App app({.title = "VelmoraUI retained",
             .width = static_cast<int>(logical_w),
             .height = static_cast<int>(logical_h),
             .logical = {logical_w, logical_h},
             .visible = png.empty(),
             .grid = true});
    Scene scene;
    build(scene);
    if (png.empty()) {
        app.run(scene);
        return 0;
    }
    app.render_png(scene, png, script());
    std::cout << "wrote " << png << '\n';
    return 0;
} catch (const std::exception& e) {
    std::cerr << e.what() << '\n';
    return 1;
}
