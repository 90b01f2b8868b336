// TextField: the toolkit's one text editor, single- or multi-line, optionally masked.
//
// The value is the widget's `text`, always valid UTF-8; `caret` and `anchor` are byte offsets
// kept on grapheme-cluster boundaries, so that arrows, Backspace, Delete and the masked
// field's bullets count user-perceived characters (an emoji with its modifiers is one). Every user edit goes
// through `replace_selection`, which records the whole previous state for undo (100 states at most). Derived
// fields adjust the editor through the four virtual hooks `value`, `accepts`, `inset_left`/`inset_right` and
// `submit`.
//
//     auto name = std::make_shared<TextField>("张三");
//     name->placeholder = "姓名";
//     name->on_submit = [](const std::string& v) { save(v); };
//
// Text that needs shaping (right-to-left scripts, marks, emoji) is laid out as the renderer
// draws it: a line whose first strong character reads right to left is aligned to the right,
// the caret stands where the next character will appear, the arrows move it visually (Left
// moves left) and a selection across a change of direction highlights each piece it holds.
//
// Input methods: while a composition is under way `compose` shows the preedit text inline at
// the caret without touching the value or the history; the committed text then arrives as an
// ordinary text event. `caret_rect` tells the platform where to put its candidate window.
#pragma once

#include "velmora/core/export.hpp"
#include "velmora/core/geometry.hpp"
#include "velmora/scene/widget.hpp"
#include "velmora/widgets/control_kind.hpp"

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <string_view>

namespace velmora::ui {

// An input method's uncommitted text: shown at the caret, never part of the value.
struct Composition {
    std::string text;       // UTF-8 preedit; empty when nothing is being composed
    std::size_t cursor = 0; // byte offset of the input method's cursor inside `text`
};

class VELMORA_API TextField : public Widget {
public:
    struct Edit {
        std::string text;
        std::size_t caret = 0;
        std::size_t anchor = 0;
    };

    static constexpr float row_height = 22;
    static constexpr float top_inset = 8;  // first row of a multi-line field
    static constexpr float clip_inset = 5; // vertical inset of the text clip
    static constexpr std::size_t history_limit = 100;

    // Throws std::invalid_argument "Invalid UTF-8". The initial text isn't held to max_length.
    explicit TextField(std::string initial = {});

    bool read_only = false;
    std::string placeholder;
    std::size_t max_length = 4096; // bytes
    std::function<void(const std::string&)> on_submit;
    bool multi_line = false;
    bool masked = false;
    bool dragging = false;
    std::size_t caret = 0;
    std::size_t anchor = 0;
    float scroll_x = 0;
    int first_row = 0;
    std::deque<Edit> undo_stack;
    std::deque<Edit> redo_stack;

    ControlKind kind() const override { return ControlKind::TextField; }
    const char* class_name() const override { return "TextField"; }
    void describe(AccessibleNode& node) const override;
    bool accessible_text(const std::string& v) override;
    bool accessible_caret(std::size_t offset) override;
    void event(Event& e) override;
    // Follows the window's input-method composition while focused.
    void tick(Scene& scene) override;
    // A field resized since the last layout brings its caret back into view.
    void layout(Scene& scene) override;
    void paint(PaintContext& context) override;
    bool text_input() const override { return !read_only; }

    const std::string& value() const { return text; }
    // Unfiltered; throws std::invalid_argument "Invalid field value" for invalid UTF-8, text over
    // max_length or text that `accepts` refuses. Setting a different text empties the history.
    virtual void value(std::string v);
    virtual bool accepts(const std::string& candidate) const;
    virtual float inset_left() const { return 10; }
    virtual float inset_right() const { return 10; }
    virtual void submit();

    std::size_t boundary(std::size_t offset) const;
    void select(std::size_t new_anchor, std::size_t new_caret);
    std::string selected_text() const;
    void move(std::size_t offset, bool extend);
    std::size_t word(std::size_t offset, int direction) const;
    void replace_selection(std::string insert);
    void history(bool redo);
    void undo() { history(false); }
    void redo() { history(true); }
    std::string display(std::string_view s) const;
    float measure(std::string_view s) const;
    std::size_t position(Vec2 point) const;
    void ensure_caret();
    void paint_text(PaintContext& context);

    // Input method support. Invalid UTF-8 and compositions on a masked or read-only field are
    // ignored; an empty text ends the composition.
    void compose(const std::string& preedit, std::size_t cursor);
    const Composition& composition() const { return composition_; }
    // Screen rectangle of the caret, composition cursor included, one text line high.
    Rect caret_rect() const override;

protected:
    // Replaces the whole value as one undoable edit through replace_selection; undoing it
    // restores the caret and anchor from before.
    void replace_all(std::string v);
    // Rows a multi-line field shows at its present height, at least 1.
    int visible_rows() const;
    int line_count() const;
    // Moves the caret `rows` rows down (up when negative), keeping its x.
    void vertical(int rows, bool extend);

private:
    void key(Event& e);
    float caret_x() const;
    // The caret's x for a byte offset of the line holding it, from the text's left edge.
    float x_at(std::size_t offset) const;
    // Lines laid out as shaped text: their carets, alignment and the visual order of caret stops.
    bool shaped(std::string_view line) const;
    float align(std::string_view line) const;
    float line_x(std::string_view line, std::size_t offset) const;
    TextEdges cluster(std::string_view line, std::size_t from) const;
    std::size_t nearest(std::size_t start, std::string_view line, float x, int side) const;
    std::size_t step(bool left) const;
    float line_top(int row) const;

    // display()'s form of `s` in a buffer kept from frame to frame, so that painting and
    // measuring allocate nothing; good until the next call.
    const std::string& shown(std::string_view s) const;

    Composition composition_;
    Vec2 laid_out_{-1, -1}; // the size at the last layout
    mutable std::string shown_;
};

} // namespace velmora::ui
