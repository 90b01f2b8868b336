// TextField
//
//   1. Clusters and words         boundary, word
//   2. Editing and history        value, replace_selection, history
//   3. Geometry                   measure, position, ensure_caret, caret_rect
//   4. Events                     pointer, wheel, text, keys
//   5. Painting                   paint, paint_text
#include "velmora/widgets/text_field.hpp"

#include "velmora/core/utf8.hpp"
#include "velmora/scene/scene.hpp"
#include "velmora/text/bidi.hpp"
#include "velmora/text/graphemes.hpp"
#include "velmora/text/shaping.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>

namespace velmora::ui {

namespace {

bool continuation(char byte) { return static_cast<signed char>(byte) < -64; }

// Only ASCII white space separates words, so a run of Chinese text is one word.
bool space(char byte) {
    const auto b = static_cast<unsigned char>(byte);
    return b == ' ' || (b >= '\t' && b <= '\r');
}

// Clamps to the text, then walks back to the start of the code point; never forwards. An input
// method's cursor counts code points.
std::size_t snap(std::string_view text, std::size_t offset) {
    offset = std::min(offset, text.size());
    while (offset > 0 && offset < text.size() && continuation(text[offset])) --offset;
    return offset;
}

std::size_t code_points(std::string_view text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char b) { return !continuation(b); }));
}

std::size_t line_start(std::string_view text, std::size_t offset) {
    if (offset == 0) return 0;
    const auto feed = text.rfind('\n', offset - 1);
    return feed == std::string_view::npos ? 0 : feed + 1;
}

std::size_t line_end(std::string_view text, std::size_t offset) {
    const auto feed = text.find('\n', offset);
    return feed == std::string_view::npos ? text.size() : feed;
}

int row_of(std::string_view text, std::size_t offset) {
    return static_cast<int>(
        std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(offset), '\n'));
}

std::string checked_utf8(std::string text) {
    if (!valid_utf8(text)) throw std::invalid_argument("Invalid UTF-8");
    return text;
}

} // namespace

// ---- 1. Clusters and words ---------------------------------------------------------------

TextField::TextField(std::string initial) : Widget(checked_utf8(std::move(initial))) {
    focusable = true;
    caret = anchor = text.size();
}

std::size_t TextField::boundary(std::size_t offset) const { return grapheme_start(text, offset); }

void TextField::select(std::size_t new_anchor, std::size_t new_caret) {
    anchor = boundary(new_anchor);
    caret = boundary(new_caret);
    ensure_caret();
}

std::string TextField::selected_text() const {
    if (masked) return {};
    const auto s = std::min(caret, anchor), e = std::max(caret, anchor);
    return text.substr(s, e - s);
}

void TextField::move(std::size_t offset, bool extend) {
    caret = boundary(offset);
    if (!extend) anchor = caret;
    ensure_caret();
}

std::size_t TextField::word(std::size_t offset, int direction) const {
    auto i = boundary(offset);
    if (direction < 0) {
        // Back over white space, then over the word before it, to that word's start.
        while (i > 0 && space(text[prev_grapheme(text, i)])) i = prev_grapheme(text, i);
        while (i > 0 && !space(text[prev_grapheme(text, i)])) i = prev_grapheme(text, i);
        return i;
    }
    // Forward to the next white space and over it: the start of the next word.
    while (i < text.size() && !space(text[i])) i = next_grapheme(text, i);
    while (i < text.size() && space(text[i])) i = next_grapheme(text, i);
    return i;
}

// ---- 2. Editing and history --------------------------------------------------------------

bool TextField::accepts(const std::string&) const { return true; }

void TextField::submit() {
    if (!on_submit) return;
    auto callback = on_submit;
    callback(text);
}

void TextField::value(std::string v) {
    if (!valid_utf8(v) || v.size() > max_length || !accepts(v))
        throw std::invalid_argument("Invalid field value");
    if (v == text) return;
    text = std::move(v);
    caret = anchor = text.size();
    undo_stack.clear();
    redo_stack.clear();
    ensure_caret();
    changed();
}

void TextField::replace_selection(std::string insert) {
    if (read_only || !enabled) return;
    if (!valid_utf8(insert)) return;
    // Carriage returns always go, so a pasted CR LF becomes one line break (or none).
    std::erase_if(insert, [this](char byte) {
        const auto b = static_cast<unsigned char>(byte);
        if (b >= 32) return false;
        return b == 13 || !(multi_line && (b == '\t' || b == '\n'));
    });
    const auto s = std::min(caret, anchor), e = std::max(caret, anchor);
    std::string candidate = text.substr(0, s) + insert + text.substr(e);
    // A paste that doesn't fit is dropped whole rather than cut at an arbitrary byte.
    if (candidate.size() > max_length || !accepts(candidate) || candidate == text) return;
    redo_stack.clear();
    undo_stack.push_back({text, caret, anchor});
    while (undo_stack.size() > history_limit) undo_stack.pop_front();
    text = std::move(candidate);
    // The edit may join its neighbours into one cluster (CR then LF, a letter then a mark): the
    // caret goes to that cluster's end, after what was typed.
    const auto end = s + insert.size();
    const auto start = boundary(end);
    caret = anchor = start == end ? end : next_grapheme(text, start);
    ensure_caret();
    changed();
}

void TextField::replace_all(std::string v) {
    const auto old_caret = caret, old_anchor = anchor;
    const auto old = text;
    anchor = 0;
    caret = text.size();
    replace_selection(std::move(v));
    if (text == old) {
        caret = old_caret;
        anchor = old_anchor;
        return;
    }
    // Undo brings back the caret the user had, not the whole-text selection made for the edit.
    undo_stack.back().caret = old_caret;
    undo_stack.back().anchor = old_anchor;
}

void TextField::history(bool redo) {
    if (read_only || !enabled) return;
    auto& source = redo ? redo_stack : undo_stack;
    auto& target = redo ? undo_stack : redo_stack;
    if (source.empty()) return;
    target.push_back({text, caret, anchor});
    auto state = std::move(source.back());
    source.pop_back();
    text = std::move(state.text);
    caret = state.caret;
    anchor = state.anchor;
    ensure_caret();
    changed();
}

// ---- 3. Geometry ---------------------------------------------------------------------------

std::string TextField::display(std::string_view s) const { return shown(s); }

const std::string& TextField::shown(std::string_view s) const {
    if (!masked) return shown_.assign(s);
    shown_.clear();
    for (std::size_t n = grapheme_count(s); n > 0; --n) shown_ += "\u2022";
    return shown_;
}

float TextField::measure(std::string_view s) const {
    if (scene && scene->canvas()) return scene->canvas()->text_width(shown(s), scene->theme.font_size, 400);
    return 8.4f * static_cast<float>(code_points(s));
}

int TextField::visible_rows() const { return std::max(static_cast<int>((bounds.h - 16) / row_height), 1); }

int TextField::line_count() const { return row_of(text, text.size()) + 1; }

std::size_t TextField::position(Vec2 point) const {
    std::size_t start = 0;
    if (multi_line) {
        // Floor, not truncation: a point above a scrolled field is on the row above the first visible
        // one, so Up and dragging upwards can leave the top row.
        const int row = std::max(
            static_cast<int>(std::floor((point.y - screen_bounds.y - top_inset) / row_height)) + first_row,
            0);
        for (int r = 0; r < row; ++r) {
            const auto feed = text.find('\n', start);
            if (feed == std::string::npos) return text.size();
            start = feed + 1;
        }
    }
    const auto end = line_end(text, start);
    const float target = point.x - screen_bounds.x - inset_left() + scroll_x;
    const auto line = std::string_view(text).substr(start, end - start);
    if (shaped(line)) return nearest(start, line, target - align(line), 0);
    float width = 0;
    for (auto i = start; i < end; i = next_grapheme(text, i)) {
        const float w = measure(std::string_view(text).substr(i, next_grapheme(text, i) - i));
        if (width + w / 2 > target) return i;
        width += w;
    }
    return end;
}

bool TextField::shaped(std::string_view line) const { return !masked && needs_shaping(line); }

float TextField::align(std::string_view line) const {
    if (!shaped(line) || !right_to_left(line)) return 0;
    return std::max(bounds.w - inset_left() - inset_right() - measure(line), 0.0f);
}

// The edges of the cluster starting at `from`.
TextEdges TextField::cluster(std::string_view line, std::size_t from) const {
    const auto to = next_grapheme(line, from);
    if (scene && scene->canvas())
        return scene->canvas()->text_edges(std::string(line), from, to, scene->theme.font_size, 400);
    return {measure(line.substr(0, from)), measure(line.substr(0, to))};
}

float TextField::line_x(std::string_view line, std::size_t offset) const {
    if (!shaped(line)) return measure(line.substr(0, offset));
    if (line.empty()) return 0;
    // At the end, the far side of the last character, where the next one typed will go.
    if (offset >= line.size()) return cluster(line, prev_grapheme(line, line.size())).trailing;
    return cluster(line, offset).leading;
}

// The caret stop of the line whose x is nearest to `x`: on either side (side 0), or the nearest
// strictly left of it (side -1) or right of it (side 1); the line's start + offset, or npos.
std::size_t TextField::nearest(std::size_t start, std::string_view line, float x, int side) const {
    std::size_t best = std::string::npos;
    float distance = std::numeric_limits<float>::infinity();
    for (std::size_t i = 0;; i = next_grapheme(line, i)) {
        const float stop = line_x(line, i);
        const bool allowed = side == 0 || (side < 0 ? stop < x - 0.01f : stop > x + 0.01f);
        if (allowed && std::abs(stop - x) < distance) {
            distance = std::abs(stop - x);
            best = start + i;
        }
        if (i == line.size()) break;
    }
    return best;
}

// One character left or right on screen: in reading order for plain text; for shaped text to
// the nearest caret stop on that side, and from the far end of the line on into the next line
// in reading order.
std::size_t TextField::step(bool left) const {
    const auto start = line_start(text, caret), end = line_end(text, caret);
    const auto line = std::string_view(text).substr(start, end - start);
    if (!shaped(line)) return left ? prev_grapheme(text, caret) : next_grapheme(text, caret);
    const auto to = nearest(start, line, line_x(line, caret - start), left ? -1 : 1);
    if (to != std::string::npos) return to;
    const bool forward = left == right_to_left(line);
    if (forward && caret == end) return next_grapheme(text, caret);
    if (!forward && caret == start) return prev_grapheme(text, caret);
    return caret;
}

float TextField::x_at(std::size_t offset) const {
    const auto start = line_start(text, offset);
    const auto line = std::string_view(text).substr(start, line_end(text, offset) - start);
    return align(line) + line_x(line, offset - start);
}

float TextField::caret_x() const {
    float x = x_at(caret);
    if (!composition_.text.empty())
        x += measure(std::string_view(composition_.text).substr(0, composition_.cursor));
    return x;
}

float TextField::line_top(int row) const {
    if (multi_line) return screen_bounds.y + top_inset + static_cast<float>(row - first_row) * row_height;
    const float size = scene ? scene->theme.font_size : Theme{}.font_size;
    return screen_bounds.y + (screen_bounds.h - size) / 2;
}

void TextField::ensure_caret() {
    const float cx = caret_x();
    const float view = std::max(bounds.w - inset_left() - inset_right() - 3, 1.0f);
    if (cx < scroll_x)
        scroll_x = cx;
    else if (cx > scroll_x + view)
        scroll_x = cx - view;
    // Never scrolled further than the widest line needs, so a field that grew or lost text
    // shows no blank past the end.
    float widest = 0;
    for (std::size_t start = 0;;) {
        const auto end = line_end(text, start);
        widest = std::max(widest, measure(std::string_view(text).substr(start, end - start)) +
                                      (caret >= start && caret <= end ? measure(composition_.text) : 0));
        if (end == text.size()) break;
        start = end + 1;
    }
    scroll_x = std::max(std::min(scroll_x, widest - view), 0.0f);
    if (!multi_line) {
        first_row = 0;
        return;
    }
    const int row = row_of(text, caret), rows = visible_rows();
    if (row < first_row)
        first_row = row;
    else if (row >= first_row + rows)
        first_row = row - rows + 1;
}

void TextField::compose(const std::string& preedit, std::size_t cursor) {
    if (masked || read_only || !enabled || !valid_utf8(preedit)) return;
    cursor = snap(preedit, cursor);
    // tick passes the composition every frame; only a change may move the view, or a wheel
    // turn on a focused field would snap back to the caret in the next frame.
    if (preedit == composition_.text && cursor == composition_.cursor) return;
    composition_.cursor = cursor;
    composition_.text = preedit;
    ensure_caret();
}

void TextField::layout(Scene&) {
    if (bounds.w == laid_out_.x && bounds.h == laid_out_.y) return;
    laid_out_ = {bounds.w, bounds.h};
    ensure_caret();
}

void TextField::tick(Scene& owner) {
    if (focused()) compose(owner.input().composition, owner.input().composition_cursor);
}

Rect TextField::caret_rect() const {
    const float size = scene ? scene->theme.font_size : Theme{}.font_size;
    return {screen_bounds.x + inset_left() + caret_x() - scroll_x, line_top(row_of(text, caret)), 1.5f,
            size + 2};
}

void TextField::vertical(int rows, bool extend) {
    const float cx = x_at(caret);
    const int row = row_of(text, caret);
    const Vec2 point{screen_bounds.x + inset_left() + cx - scroll_x,
                     screen_bounds.y + top_inset + 1 +
                         static_cast<float>(row - first_row + rows) * row_height};
    move(position(point), extend);
}

// ---- 4. Events -----------------------------------------------------------------------------

void TextField::event(Event& e) {
    if (!enabled) return;
    switch (e.type) {
    case pointer_down: {
        const auto p = boundary(position(e.position));
        if (e.clicks < 2) {
            caret = p;
            if (!e.input.shift) anchor = caret;
        } else {
            anchor = word(p, -1);
            caret = word(p, 1);
        }
        ensure_caret();
        dragging = true;
        e.handled = true;
        break;
    }
    case pointer_move:
        if (!dragging) return;
        caret = boundary(position(e.position));
        ensure_caret();
        e.handled = true;
        break;
    case pointer_up:
        dragging = false;
        e.handled = true;
        break;
    case wheel_turned: {
        if (!multi_line) return;
        const int last = std::max(line_count() - visible_rows(), 0);
        const float notches = std::clamp(e.wheel * 3, -1e6f, 1e6f); // keeps the conversion defined
        first_row = std::clamp(first_row - static_cast<int>(notches), 0, last);
        e.handled = true;
        break;
    }
    case key_down:
        key(e);
        break;
    case text_entered:
        composition_ = {};
        replace_selection(e.text);
        e.handled = true;
        break;
    case focus_lost_event:
        dragging = false;
        composition_ = {};
        break;
    default:
        break;
    }
}

void TextField::key(Event& e) {
    const Input& in = e.input;
    const bool ctrl = in.ctrl, shift = in.shift;
    const auto code = static_cast<unsigned>(e.key);
    e.handled = true;
    if (in.select_all || (ctrl && code == vk::a)) {
        anchor = 0;
        caret = text.size();
        ensure_caret();
    } else if (in.copy || (ctrl && code == vk::c)) {
        if (!masked && scene && scene->clipboard()) {
            auto writer = scene->clipboard();
            writer(selected_text());
        }
    } else if (in.cut || (ctrl && code == vk::x)) {
        if (masked || read_only) return;
        if (scene && scene->clipboard()) {
            auto writer = scene->clipboard();
            writer(selected_text());
        }
        replace_selection({});
    } else if ((in.undo || (ctrl && code == vk::z)) && !shift) {
        undo();
    } else if (in.redo || (ctrl && (code == vk::y || code == vk::z))) {
        redo();
    } else if (code == vk::backspace || code == vk::delete_key) {
        const bool back = code == vk::backspace;
        if (caret == anchor)
            anchor = ctrl   ? word(caret, back ? -1 : 1)
                     : back ? prev_grapheme(text, caret)
                            : next_grapheme(text, caret);
        replace_selection({});
    } else if (code == vk::enter) {
        if (multi_line)
            replace_selection("\n");
        else
            submit();
    } else if (code == vk::end) {
        move(ctrl ? text.size() : line_end(text, caret), shift);
    } else if (code == vk::home) {
        move(ctrl || caret == 0 ? 0 : line_start(text, caret), shift);
    } else if (code == vk::left || code == vk::right) {
        const bool left = code == vk::left;
        if (!shift && caret != anchor)
            move(left ? std::min(caret, anchor) : std::max(caret, anchor), false);
        else if (ctrl)
            move(word(caret, left ? -1 : 1), shift);
        else
            move(step(left), shift);
    } else if ((code == vk::up || code == vk::down) && multi_line) {
        vertical(code == vk::up ? -1 : 1, shift);
    } else {
        // Up and Down of a single-line field, and every other key, belong to the parents.
        e.handled = false;
    }
}

// ---- 5. Painting ---------------------------------------------------------------------------

void TextField::paint(PaintContext& context) {
    const Theme& theme = context.theme;
    context.canvas.fill(screen_bounds, theme.control, theme.radius);
    if (focused())
        context.canvas.stroke(screen_bounds, theme.accent, 1.5f, theme.radius);
    else
        context.canvas.stroke(screen_bounds, theme.border, 1, theme.radius);
    paint_text(context);
}

void TextField::paint_text(PaintContext& context) {
    Canvas& canvas = context.canvas;
    const Theme& theme = context.theme;
    const Rect& sb = screen_bounds;
    const Rect area{sb.x + inset_left(), sb.y + clip_inset,
                    std::max(sb.w - inset_left() - inset_right(), 0.0f),
                    std::max(sb.h - 2 * clip_inset, 0.0f)};
    canvas.push_clip(area, 0);
    const float size = theme.font_size;
    if (text.empty() && composition_.text.empty()) {
        const float y = multi_line ? sb.y + top_inset : sb.y + (sb.h - size) / 2;
        if (!placeholder.empty()) canvas.text(placeholder, {area.x, y}, size, theme.muted, 400);
    }
    const bool composing = !composition_.text.empty();
    // The caret shows for the first 0.6 s of every second; the next change asks for its frame.
    const double second = std::floor(context.time);
    const bool blink_on = focused() && context.time - second < 0.6;
    if (focused()) context.scene.redraw_at(second + (blink_on ? 0.6 : 1.0));
    const auto s = std::min(caret, anchor), e = std::max(caret, anchor);
    const float left = area.x - scroll_x;
    const std::string_view all(text);
    std::size_t start = 0;
    for (int row = 0; start <= text.size(); ++row) {
        const auto end = line_end(text, start);
        const float top = line_top(row);
        const bool has_caret = caret >= start && caret <= end;
        if (top < area.y + area.h && top + row_height > area.y) {
            const auto line = all.substr(start, end - start);
            const float x_line = left + align(line);
            // A selection that crosses a line feed leaves at least a sliver on each line it touches.
            const auto highlight = [&](float from, float width) {
                canvas.fill({x_line + from, top - 2, std::max(width, 2.0f), row_height}, theme.selection, 2);
            };
            if (s != e && s <= end && e >= start && !composing) {
                const auto a = std::max(s, start), b = std::min(e, end);
                if (!shaped(line) || a == b) {
                    highlight(measure(all.substr(start, a - start)), measure(all.substr(a, b - a)));
                } else {
                    // One piece per stretch of neighbouring clusters on screen.
                    float lo = 0, hi = -1;
                    for (auto i = a - start; i < b - start; i = next_grapheme(line, i)) {
                        const TextEdges edges = cluster(line, i);
                        const float l = std::min(edges.leading, edges.trailing);
                        const float r = std::max(edges.leading, edges.trailing);
                        if (hi >= lo && l <= hi + 0.5f && r >= lo - 0.5f) {
                            lo = std::min(lo, l);
                            hi = std::max(hi, r);
                            continue;
                        }
                        if (hi >= lo) highlight(lo, hi - lo);
                        lo = l;
                        hi = r;
                    }
                    highlight(lo, hi - lo);
                }
            }
            const unsigned colour = enabled ? theme.text : theme.muted;
            if (composing && has_caret) {
                // The preedit sits inline at the caret, underlined, and pushes the rest of the line on.
                const auto before = all.substr(start, caret - start);
                const float x0 = x_line + measure(before);
                const float wc = measure(composition_.text);
                std::string shown =
                    display(before) + composition_.text + display(all.substr(caret, end - caret));
                if (!shown.empty()) canvas.text(shown, {x_line, top}, size, colour, 400);
                canvas.fill({x0, top + size + 1, wc, 1}, colour, 0);
            } else if (!line.empty()) {
                canvas.text(shown(line), {x_line, top}, size, colour, 400);
            }
            if (blink_on && has_caret) canvas.fill({left + caret_x(), top, 1.5f, size + 2}, theme.accent, 0);
        }
        if (end == text.size()) break;
        start = end + 1;
    }
    canvas.pop_clip();
}

// ---- assistive technology ---------------------------------------------------------------------

void TextField::describe(AccessibleNode& node) const {
    namespace st = accessible_state;
    Widget::describe(node);
    // The text is the value, not the name: a field is named by its label or its placeholder.
    if (accessible_name.empty() && labelled_by.expired()) node.name = placeholder;
    node.has_text = true;
    // A masked field shows its mask only, so its text never leaves the program.
    node.text = masked ? display(text) : text;
    const auto mapped = [this, &node](std::size_t at) {
        return masked ? display(text.substr(0, at)).size() : at;
    };
    node.caret = mapped(caret);
    node.selection_start = mapped(std::min(caret, anchor));
    node.selection_end = mapped(std::max(caret, anchor));
    node.states |= (read_only ? st::read_only : st::editable) | (multi_line ? st::multi_line : 0);
}

bool TextField::accessible_text(const std::string& v) {
    if (read_only || !accepts(v)) return false;
    try {
        value(v);
    } catch (const std::invalid_argument&) {
        return false;
    }
    changed();
    return true;
}

bool TextField::accessible_caret(std::size_t offset) {
    if (masked || offset > text.size() || boundary(offset) != offset) return false;
    select(offset, offset);
    return true;
}

} // namespace velmora::ui
