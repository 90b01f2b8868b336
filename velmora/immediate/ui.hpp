// Ui: the immediate-mode layer. Controls are calls made anew every frame; each draws
// straight into the frame's Canvas and returns what happened to it this frame.
//
//     ui.begin(canvas, window.input());          // after Renderer::begin opened the canvas
//     ui.panel({20, 20, 400, 300}, "Settings", true);
//     if (ui.button("save", {40, 70, 120, 36}, "Save")) save();
//     ui.checkbox("grid", {40, 120, 200, 30}, "Show grid", show_grid);
//     ui.slider("zoom", {40, 160, 240, 30}, zoom, 0.5f, 4.0f);
//     ui.end();                                  // draws open popups and tooltips on top
//
// Identifiers name controls across frames: they carry focus, the pressed control, the open
// popup and each control's State. They must be unique within a frame and not empty. Options
// of a popup are named "<owner>/option/<index>", which is how the popup guard lets them
// through while every other control is held still.
//
// Shared rules: a control fires when the press and the release both fall on it; the first
// control called under the pointer takes the press; Tab and Shift+Tab move focus in the order
// the controls were called last frame; Enter fires the focused control.
#pragma once

#include "velmora/core/canvas.hpp"
#include "velmora/core/export.hpp"
#include "velmora/core/geometry.hpp"
#include "velmora/core/theme.hpp"
#include "velmora/platform/input.hpp"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velmora::ui {

class TextField;

class VELMORA_API Ui {
public:
    // What a control remembers between frames.
    struct State {
        float scroll = 0;                  // list: first visible row pixel; fields: text scroll
        std::shared_ptr<TextField> editor; // text and number fields: the retained editing core
        bool focused = false;              // fields: held the focus when last called
    };

    // ---- frame --------------------------------------------------------------------------------
    // Throws std::logic_error "Ui::end() missing" / "Ui::begin() missing" when not alternated.
    void begin(Canvas& canvas, const Input& input);
    void end();

    // ---- the machinery every control shares -----------------------------------------------------
    // Throws std::logic_error outside a frame or for a duplicate, std::invalid_argument for "".
    void register_id(const std::string& id);
    // The pointer is inside r cut to the canvas's current clip.
    bool hit(Rect r) const;
    // Registers id and applies the press-release rule; true when the control fired.
    bool interaction(const std::string& id, Rect r);
    void face(Rect r, bool hovered, bool pressed, bool selected);
    void centered(Rect r, const std::string& text, unsigned color);
    // A size of 0 or less means the theme's font size.
    void label(Rect r, const std::string& text, float size = 0);
    void panel(Rect r, const std::string& title, bool glass = true);

    // ---- controls: each returns true when it fired or changed its value this frame ----------------
    bool button(const std::string& id, Rect r, const std::string& text);
    bool checkbox(const std::string& id, Rect r, const std::string& text, bool& value);
    bool toggle(const std::string& id, Rect r, const std::string& text, bool& value);
    // Sets value to option when picked.
    bool radio(const std::string& id, Rect r, const std::string& text, int& value, int option);
    // Drag, or Left/Right/Up/Down/Home/End when focused. A step of 0 moves the keys by 1% of
    // the range and leaves dragging continuous. Throws std::invalid_argument "slider range"
    // unless lo < hi, both finite, and "slider value" for a value that isn't finite.
    bool slider(const std::string& id, Rect r, float& value, float lo, float hi, float step = 0);
    bool slider(const std::string& id, Rect r, double& value, double lo, double hi, double step = 0);
    // Single-line editing with caret, selection, undo, UTF-8 and the clipboard; true when the
    // text changed. Text that the application changes in between replaces the field's content;
    // invalid UTF-8 or more than 4096 bytes there throws std::invalid_argument.
    bool text_field(const std::string& id, Rect r, std::string& text, const std::string& placeholder = {});
    // Settles what was typed on Enter and when it loses focus, Up/Down step; the value stays
    // within lo .. hi. Throws std::invalid_argument like NumberField for a bad range or step.
    bool number_field(const std::string& id, Rect r, double& value, double lo, double hi, double step = 1);
    // The selection is clamped to -1 .. n - 1 before use.
    bool tabs(const std::string& id, Rect r, const std::vector<std::string>& items, int& selected);
    bool combo(const std::string& id, Rect r, const std::vector<std::string>& items, int& selected);
    bool list(const std::string& id, Rect r, const std::vector<std::string>& items, int& selected);
    // The glass settings of a theme in eleven rows of 32 from the top of r: nine sliders, the
    // corner switch and the antialiasing choice. Every value it can set passes Theme::validate;
    // a theme that fails it on entry throws.
    bool material_settings(const std::string& id, Rect r, Theme& theme);

    // ---- decoration: no identifier, no interaction -----------------------------------------------
    // A fraction that isn't finite throws std::invalid_argument "Progress value"; others clamp.
    void progress(Rect r, float fraction);
    void separator(Rect r);
    void badge(Rect r, const std::string& text);
    // Shows text beside anchor while the pointer rests on it, over everything; true when shown.
    bool tooltip(Rect anchor, const std::string& text);

    // ---- state ------------------------------------------------------------------------------------
    const std::string& focus() const { return focus_; }
    void focus(std::string id) { focus_ = std::move(id); }
    const std::string& active() const { return active_; }
    const std::string& open_popup() const { return open_popup_; }
    // The focused control edits text, so the platform's text input should be on.
    bool text_input() const { return !focus_.empty() && focus_ == text_focus_; }

    // The application's clipboard writer; copy and cut in text controls call it when set.
    const std::function<void(const std::string&)>& clipboard() const { return clipboard_; }
    void clipboard(std::function<void(const std::string&)> writer) { clipboard_ = std::move(writer); }

private:
    struct Touch {
        bool fired = false;
        bool hovered = false;
        bool took_press = false; // this control took the press of this frame
    };

    Canvas* canvas_ = nullptr;
    Input input_;
    std::string active_;
    std::string focus_;
    std::string open_popup_;
    std::map<std::string, State> states_;
    std::vector<std::string> previous_ids_;
    std::vector<std::string> current_ids_;
    std::vector<std::string> seen_ids_;
    bool blocked_ = false;
    bool focus_seen_ = false;
    bool press_taken_ = false;
    std::function<void()> deferred_;
    std::function<void(const std::string&)> clipboard_;
    std::string text_focus_; // the text or number field that held the focus when called

    // The byte index of the code point after index, or the length at the end.
    static std::size_t next(const std::string& text, std::size_t index);

    Canvas& canvas() const;
    bool allowed(const std::string& id) const; // the popup guard and blocked
    Touch touch(const std::string& id, Rect r);
    void focus_ring(const std::string& id, Rect r, float radius);
    void defer(std::function<void()> draw);
    void edit(const std::string& id, Rect r, const Touch& t, State& state, const std::string& placeholder);
    bool slide(const std::string& id, Rect r, double& value, double lo, double hi, double step);
    enum class Mark { check, toggle, radio };
    bool mark(const std::string& id, Rect r, const std::string& text, bool on, Mark look);
};

} // namespace velmora::ui
