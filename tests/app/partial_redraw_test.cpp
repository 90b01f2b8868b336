// Partial redraw shows the pixels of a full redraw, byte for byte, whatever changes between
// frames: each frame of a random sequence of user actions is drawn both ways and compared.
#include "velmora/gpu/vg.hpp"
#include "velmora/platform/window.hpp"
#include "velmora/renderer/renderer.hpp"
#include "velmora/scene/scene.hpp"
#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/lists.hpp"
#include "velmora/widgets/menus.hpp"
#include "velmora/widgets/text_field.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>

namespace {

using namespace velmora::ui;

constexpr int width = 480, height = 360;

template <class T, class... Args> std::shared_ptr<T> place(Widget& parent, Rect at, Args&&... args) {
    auto widget = parent.emplace<T>(std::forward<Args>(args)...);
    widget->bounds = at;
    return widget;
}

TEST(PartialRedraw, EveryFrameEqualsAFullRedraw) {
    Window window({"partial", width, height, false});
    Renderer renderer;
    Canvas canvas;
    Scene scene;
    // A glass panel with a field and a button on it, and plain controls beside it.
    auto panel = place<Panel>(*scene.root(), {20, 20, 220, 200}, "Glass");
    auto inside = place<TextField>(*panel, {20, 60, 180, 36});
    place<Button>(*panel, {20, 110, 120, 36}, "On glass");
    auto button = place<Button>(*scene.root(), {280, 30, 140, 36}, "Beside");
    button->tooltip = "A tooltip";
    auto list = place<ListBox>(*scene.root(), {280, 90, 170, 150});
    for (int i = 0; i < 40; ++i) list->items.push_back("item " + std::to_string(i));
    auto field = place<TextField>(*scene.root(), {280, 260, 170, 36});
    auto menu = std::make_shared<PopupMenu>();
    menu->item("Copy", {});
    menu->item("Paste", {});
    field->context_menu = menu;

    std::mt19937 random(25);
    const Rect targets[] = {{60, 90, 100, 10},    {60, 140, 80, 10},   {300, 40, 100, 10},
                            {300, 100, 130, 130}, {300, 270, 130, 10}, {0, 300, 200, 50}};
    auto somewhere = [&](const Rect& r) {
        std::uniform_real_distribution<float> x(r.x, r.x + r.w), y(r.y, r.y + r.h);
        return Vec2{x(random), y(random)};
    };
    Input in;
    double now = 0;
    int w = width, h = height, unchanged = 0, partial_frames = 0;
    for (int frame = 0; frame < 160; ++frame) {
        begin_poll(in);
        const int action = static_cast<int>(random() % 10);
        switch (action) {
        case 0: // hover
            in.mouse = somewhere(targets[random() % 6]);
            break;
        case 1: // a press, or its release
            in.mouse_pressed = !in.mouse_down;
            in.mouse_released = in.mouse_down;
            in.mouse_down = !in.mouse_down;
            break;
        case 2: // typing into whichever field has the focus, or a key
            in.text = std::string(1, static_cast<char>('a' + random() % 26));
            if (random() % 3 == 0) in.key = vk::backspace, in.backspace = true, in.text.clear();
            break;
        case 3: // time passes: a caret blinks, a tooltip comes up, a notice expires
            now += 0.6;
            break;
        case 4: // the wheel over the list
            in.mouse = somewhere(targets[3]);
            in.wheel = random() % 2 ? 1.0f : -1.0f;
            break;
        case 5: // the context menu opens, or Escape closes what is open
            if (random() % 2) {
                in.mouse = somewhere(targets[4]);
                in.right_pressed = in.right_released = true;
            } else {
                in.key = vk::escape;
                in.escape = true;
            }
            break;
        case 6:
            std::make_shared<Notification>("Saved", "")->show(scene, 0.5);
            break;
        case 7: // the window changes size
            w = w == width ? 400 : width;
            h = h == height ? 300 : height;
            break;
        case 8: // a field under glass takes the focus
            scene.focus(random() % 2 ? inside : field);
            break;
        default: // nothing at all
            break;
        }
        now += 0.05;

        renderer.begin(canvas, w, h, static_cast<float>(w), static_cast<float>(h), scene.theme);
        scene.frame(canvas, in, now);
        renderer.partial(true);
        renderer.background(w, h, 0, scene.theme, false);
        const bool drew = renderer.render(canvas, w, h, in.mouse, 0, vg_back_buffer);
        const Pixels kept = renderer.read_pixels(w, h);
        renderer.partial(false);
        renderer.background(w, h, 0, scene.theme, false);
        renderer.render(canvas, w, h, in.mouse, 0, vg_back_buffer);
        const Pixels full = renderer.read_pixels(w, h);
        ASSERT_TRUE(kept.data == full.data) << "frame " << frame << " after action " << action;
        unchanged += !drew;
        partial_frames += drew && action != 7;
    }
    // Both paths were taken: frames with nothing to draw, and frames drawn in part.
    EXPECT_GT(unchanged, 5);
    EXPECT_GT(partial_frames, 50);
}

} // namespace
