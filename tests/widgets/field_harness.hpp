// Shared set-up of the text field tests: a scene with one field in it, driven frame by frame.
// Without a renderer every code point is 0.6 em wide, 8.4 units at the default font size.
#pragma once

#include "../scene/frame_driver.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/text_field.hpp"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velmora::test {

constexpr float glyph = 8.4f;

template <class Field> struct FieldScene {
    ui::Scene scene;
    FrameDriver run{scene};
    std::shared_ptr<Field> field;
    std::vector<std::string> clipboard;
    int changes = 0;

    template <class... Args> explicit FieldScene(ui::Rect at, Args&&... args) {
        field = std::make_shared<Field>(std::forward<Args>(args)...);
        field->bounds = at;
        field->on_change = [this](ui::Widget&) { ++changes; };
        scene.clipboard([this](const std::string& s) { clipboard.push_back(s); });
        scene.root()->add(field);
        run.frame();
    }

    // Over the left half of the k-th code point of row `row`.
    ui::Vec2 at(int k, int row = 0) const {
        const auto& b = field->screen_bounds;
        const float y = field->multi_line ? b.y + 8 + 22.0f * static_cast<float>(row - field->first_row) + 5
                                          : b.y + b.h / 2;
        return {b.x + field->inset_left() + glyph * static_cast<float>(k) + 1 - field->scroll_x, y};
    }

    void focus() { scene.focus(field); }

    // One frame carrying a key, with modifiers and the edit-command marks as the platform sets them.
    void key(unsigned code, bool ctrl = false, bool shift = false) {
        ui::Input in;
        in.key = code;
        in.ctrl = ctrl;
        in.shift = shift;
        in.select_all = ctrl && code == 65;
        in.copy = ctrl && code == 67;
        in.cut = ctrl && code == 88;
        in.undo = ctrl && code == 90 && !shift;
        in.redo = ctrl && (code == 89 || (code == 90 && shift));
        run.frame(in);
    }
    void keys(std::initializer_list<unsigned> codes, bool ctrl = false, bool shift = false) {
        for (unsigned code : codes) key(code, ctrl, shift);
    }

    void paste(std::string text) {
        ui::Input in;
        in.paste = std::move(text);
        run.frame(in);
    }

    // Two presses within the double-click time, and none of the presses before.
    void double_click(ui::Vec2 p) {
        pause();
        run.click(p);
        run.click(p);
    }

    // Moves the clock past the double-click window, so the next press counts alone.
    void pause() { run.now += 1; }
};

} // namespace velmora::test
