// Ui: the frame, the interaction rules and the controls of the immediate-mode layer.
//
//   - helpers
//   - frame              begin, end
//   - interaction        register_id, hit, interaction and the private helpers over them
//   - drawing            face, centered, label, panel
//   - toggles            button, checkbox, toggle, radio
//   - ranges             slider, progress
//   - text               text_field, number_field over the retained editors
//   - choices            tabs, combo, list
//   - decoration         separator, badge, tooltip
//   - material settings
#include "velmora/immediate/ui.hpp"

#include "velmora/scene/widget.hpp"
#include "velmora/widgets/fields.hpp"
#include "velmora/widgets/text_field.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <stdexcept>

namespace velmora::ui {

// ---- helpers ------------------------------------------------------------------------------------

namespace {

constexpr float row_height = 30; // list rows and popup options
constexpr float track_inset = 9; // slider track inset at each end, the thumb's radius
constexpr float mark_gap = 10;   // between a check mark or switch and its label

float middle(Rect r, float height) { return r.y + (r.h - height) * 0.5f; }

void check_rect(Rect r) {
    if (!std::isfinite(r.x) || !std::isfinite(r.y) || !std::isfinite(r.w) || !std::isfinite(r.h) || r.w < 0 ||
        r.h < 0)
        throw std::invalid_argument("Invalid rectangle");
}

// A number with a fixed count of decimals, independent of the locale.
std::string fixed(double value, int decimals) {
    char buffer[64];
    const auto out = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
    return std::string(buffer, out.ptr);
}

int clamp_index(int index, std::size_t count) { return std::clamp(index, -1, static_cast<int>(count) - 1); }

std::string option_id(const std::string& owner, std::size_t index) {
    return owner + "/option/" + std::to_string(index);
}

} // namespace

// ---- frame ---------------------------------------------------------------------------------------

void Ui::begin(Canvas& canvas, const Input& input) {
    if (canvas_) throw std::logic_error("Ui::end() missing");
    canvas_ = &canvas;
    input_ = input;
    blocked_ = false;
    focus_seen_ = false;
    press_taken_ = false;
    current_ids_.clear();
    seen_ids_.clear();
    text_focus_.clear();
    deferred_ = nullptr;

    if (input_.escape) {
        focus_.clear();
        open_popup_.clear();
    }
    if (input_.tab && !previous_ids_.empty()) {
        const std::size_t n = previous_ids_.size();
        const auto found = std::find(previous_ids_.begin(), previous_ids_.end(), focus_);
        if (found == previous_ids_.end()) {
            focus_ = input_.shift ? previous_ids_.back() : previous_ids_.front();
        } else {
            const std::size_t i = static_cast<std::size_t>(found - previous_ids_.begin());
            focus_ = previous_ids_[input_.shift ? (i + n - 1) % n : (i + n + 1) % n];
        }
    }
}

void Ui::end() {
    if (!canvas_) throw std::logic_error("Ui::begin() missing");
    if (deferred_) {
        // Moved out first: drawing may defer again, and the frame is ending either way.
        auto draw = std::move(deferred_);
        deferred_ = nullptr;
        draw();
    }
    if (input_.mouse_released) active_.clear();
    if (input_.mouse_pressed && !press_taken_) {
        focus_.clear();
        open_popup_.clear();
    } else if (!focus_.empty() && !focus_seen_) {
        focus_.clear();
    }
    previous_ids_ = current_ids_;
    canvas_ = nullptr;
    deferred_ = nullptr;
}

// ---- interaction ---------------------------------------------------------------------------------

void Ui::register_id(const std::string& id) {
    if (!canvas_) throw std::logic_error("Controls require Ui::begin()");
    if (id.empty()) throw std::invalid_argument("Empty widget ID");
    if (std::find(seen_ids_.begin(), seen_ids_.end(), id) != seen_ids_.end())
        throw std::logic_error("Duplicate widget ID: " + id);
    seen_ids_.push_back(id);
    if (blocked_) return;
    current_ids_.push_back(id);
    if (id == focus_) focus_seen_ = true;
}

bool Ui::hit(Rect r) const {
    if (blocked_) return false;
    const Rect clip = canvas().clip();
    const float left = std::max(clip.x, r.x);
    const float top = std::max(clip.y, r.y);
    const float right = left + std::max(std::min(r.x + r.w, clip.x + clip.w) - left, 0.0f);
    const float bottom = top + std::max(std::min(r.y + r.h, clip.y + clip.h) - top, 0.0f);
    const Vec2 p = input_.mouse;
    return p.x >= left && p.y >= top && p.x < right && p.y < bottom;
}

bool Ui::interaction(const std::string& id, Rect r) {
    register_id(id);
    if (!allowed(id)) return false;
    const bool hovered = hit(r);
    if (hovered && input_.mouse_pressed && !press_taken_) {
        active_ = id;
        focus_ = id;
        focus_seen_ = true;
        press_taken_ = true;
    }
    if (hovered && input_.mouse_released && active_ == id) return true;
    if (focus_ == id) return input_.enter;
    return false;
}

Canvas& Ui::canvas() const {
    if (!canvas_) throw std::logic_error("Controls require Ui::begin()");
    return *canvas_;
}

bool Ui::allowed(const std::string& id) const {
    if (blocked_) return false;
    if (open_popup_.empty() || id == open_popup_) return true;
    const std::string prefix = open_popup_ + "/option/";
    return id.compare(0, prefix.size(), prefix) == 0;
}

Ui::Touch Ui::touch(const std::string& id, Rect r) {
    const bool taken_before = press_taken_;
    Touch t;
    t.fired = interaction(id, r);
    t.hovered = allowed(id) && hit(r);
    t.took_press = !taken_before && press_taken_ && active_ == id;
    return t;
}

void Ui::focus_ring(const std::string& id, Rect r, float radius) {
    if (focus_ == id) canvas().stroke(r, canvas().theme().accent, 1.5f, radius);
}

void Ui::defer(std::function<void()> draw) {
    if (!deferred_) {
        deferred_ = std::move(draw);
        return;
    }
    deferred_ = [first = std::move(deferred_), then = std::move(draw)] {
        first();
        then();
    };
}

std::size_t Ui::next(const std::string& text, std::size_t index) {
    for (std::size_t i = index + 1; i < text.size(); ++i)
        if ((static_cast<unsigned char>(text[i]) & 0xC0u) != 0x80u) return i;
    return text.size();
}

// ---- drawing ---------------------------------------------------------------------------------------

void Ui::face(Rect r, bool hovered, bool pressed, bool selected) {
    Canvas& c = canvas();
    Theme look = c.theme();
    if (blocked_) look.surface_opacity = 0.35f;
    if (selected) look.tint = std::clamp(look.tint + 0.18f, 0.0f, 1.0f);
    if (hovered) look.tint = std::clamp(look.tint + (pressed ? 0.06f : 0.025f), 0.0f, 1.0f);
    c.glass(r, look, look.radius);
    if (selected) c.fill(r, look.selection, look.radius);
}

void Ui::centered(Rect r, const std::string& text, unsigned color) {
    Canvas& c = canvas();
    const float size = c.theme().font_size;
    const float width = c.text_width(text, size, 400);
    c.text(text, {r.x + std::max((r.w - width) * 0.5f, 8.0f), r.y + (r.h - size) * 0.5f - 1}, size, color,
           400);
}

void Ui::label(Rect r, const std::string& text, float size) {
    Canvas& c = canvas();
    check_rect(r);
    if (size <= 0) size = c.theme().font_size;
    if (!in_range(size, 1, 256)) throw std::invalid_argument("text size");
    if (!c.renderer()) return;
    c.text(text, {r.x, r.y}, size, c.theme().text, 400);
}

void Ui::panel(Rect r, const std::string& title, bool glass) {
    Canvas& c = canvas();
    const Theme& theme = c.theme();
    // Panels take the panel radius either way: a glass panel must not look smaller-cornered.
    if (glass)
        c.glass(r, theme, theme.panel_radius);
    else
        c.fill(r, theme.surface, theme.panel_radius);
    if (!title.empty()) c.text(title, {r.x + 20, r.y + 18}, 20, theme.text, 400);
}

// ---- toggles ---------------------------------------------------------------------------------------

bool Ui::button(const std::string& id, Rect r, const std::string& text) {
    const Touch t = touch(id, r);
    const bool fired = t.fired || (focus_ == id && input_.space && allowed(id));
    face(r, t.hovered, t.hovered && active_ == id && input_.mouse_down, false);
    focus_ring(id, r, canvas().theme().radius);
    centered(r, text, canvas().theme().text);
    return fired;
}

bool Ui::mark(const std::string& id, Rect r, const std::string& text, bool on, Mark look) {
    const Touch t = touch(id, r);
    const bool fired = t.fired || (focus_ == id && input_.space && allowed(id));
    Canvas& c = canvas();
    const Theme& theme = c.theme();
    const bool focused = focus_ == id;
    float indent = 0;
    switch (look) {
    case Mark::check: {
        const Rect box{r.x, middle(r, 21), 21, 21};
        c.fill(box, on ? theme.selection : t.hovered ? theme.hover : theme.control, 5);
        c.stroke(box, focused ? theme.accent : theme.border, focused ? 1.5f : 1.0f, 5);
        if (on) {
            c.line({box.x + 5, box.y + 11}, {box.x + 9, box.y + 15}, theme.accent_text, 2);
            c.line({box.x + 9, box.y + 15}, {box.x + 17, box.y + 6}, theme.accent_text, 2);
        }
        indent = box.w + mark_gap;
        break;
    }
    case Mark::toggle: {
        const Rect track{r.x, middle(r, 24), 44, 24};
        c.fill(track, on ? theme.selection : t.hovered ? theme.hover : theme.control, 12);
        c.fill({track.x + (on ? 23.0f : 3.0f), track.y + 3, 18, 18}, on ? theme.accent_text : theme.text, 9);
        if (focused) c.stroke(track, theme.accent, 1.5f, 12);
        indent = track.w + mark_gap;
        break;
    }
    case Mark::radio: {
        const Rect circle{r.x, middle(r, 22), 22, 22};
        c.fill(circle, t.hovered ? theme.hover : theme.control, 11);
        c.stroke(circle, focused ? theme.accent : theme.border, focused ? 1.5f : 1.0f, 11);
        if (on) c.fill({circle.x + 6, circle.y + 6, 10, 10}, theme.accent, 5);
        indent = circle.w + mark_gap;
        break;
    }
    }
    c.text(text, {r.x + indent, middle(r, theme.font_size)}, theme.font_size, theme.text, 400);
    return fired;
}

bool Ui::checkbox(const std::string& id, Rect r, const std::string& text, bool& value) {
    if (!mark(id, r, text, value, Mark::check)) return false;
    value = !value;
    return true;
}

bool Ui::toggle(const std::string& id, Rect r, const std::string& text, bool& value) {
    if (!mark(id, r, text, value, Mark::toggle)) return false;
    value = !value;
    return true;
}

bool Ui::radio(const std::string& id, Rect r, const std::string& text, int& value, int option) {
    if (!mark(id, r, text, value == option, Mark::radio) || value == option) return false;
    value = option;
    return true;
}

// ---- ranges ----------------------------------------------------------------------------------------

bool Ui::slide(const std::string& id, Rect r, double& value, double lo, double hi, double step) {
    if (!std::isfinite(lo) || !std::isfinite(hi) || !(lo < hi) || !std::isfinite(step) || step < 0)
        throw std::invalid_argument("slider range");
    if (!std::isfinite(value)) throw std::invalid_argument("slider value");
    const Touch t = touch(id, r);
    const double before = value;
    double v = std::clamp(value, lo, hi);
    const auto snap = [&](double x) {
        if (step > 0) x = lo + std::round((x - lo) / step) * step;
        return std::clamp(x, lo, hi);
    };

    if (active_ == id && input_.mouse_down && allowed(id)) {
        const double f = (input_.mouse.x - r.x - track_inset) / std::max(r.w - 2 * track_inset, 1.0f);
        v = snap(lo + std::clamp(f, 0.0, 1.0) * (hi - lo));
    } else if (focus_ == id && allowed(id)) {
        const double key_step = step > 0 ? step : (hi - lo) / 100;
        if (input_.left || input_.down) v = snap(v - key_step);
        if (input_.right || input_.up) v = snap(v + key_step);
        if (input_.home) v = lo;
        if (input_.end) v = hi;
    }

    Canvas& c = canvas();
    const Theme& theme = c.theme();
    const float f = static_cast<float>((v - lo) / (hi - lo));
    const float span = std::max(r.w - 2 * track_inset, 0.0f);
    const Rect track{r.x + track_inset, middle(r, 6), span, 6};
    c.fill(track, theme.control, 3);
    c.fill({track.x, track.y, span * f, 6}, theme.selection, 3);
    const Rect thumb{track.x + span * f - track_inset, middle(r, 18), 18, 18};
    c.fill(thumb, t.hovered || active_ == id ? theme.highlight : theme.accent, 9);
    focus_ring(id, thumb, 9);

    if (v == before) return false;
    value = v;
    return true;
}

bool Ui::slider(const std::string& id, Rect r, double& value, double lo, double hi, double step) {
    return slide(id, r, value, lo, hi, step);
}

bool Ui::slider(const std::string& id, Rect r, float& value, float lo, float hi, float step) {
    double v = value;
    if (!slide(id, r, v, lo, hi, step)) return false;
    const float narrowed = static_cast<float>(v);
    if (narrowed == value) return false;
    value = narrowed;
    return true;
}

void Ui::progress(Rect r, float fraction) {
    Canvas& c = canvas();
    if (!std::isfinite(fraction)) throw std::invalid_argument("Progress value");
    fraction = std::clamp(fraction, 0.0f, 1.0f);
    const Theme& theme = c.theme();
    c.fill(r, theme.control, r.h * 0.5f);
    c.fill({r.x, r.y, r.w * fraction, r.h}, theme.selection, r.h * 0.5f);
}

// ---- text ------------------------------------------------------------------------------------------

// The retained editors carry every editing rule (caret, selection, words, history, filtering);
// this layer turns the frame's Input into their events, maps the pointer and paints.
void Ui::edit(const std::string& id, Rect r, const Touch& t, State& state, const std::string& placeholder) {
    TextField& editor = *state.editor;
    Canvas& c = canvas();
    const Theme& theme = c.theme();
    const float size = theme.font_size;
    const Rect inner{r.x + editor.inset_left(), r.y + TextField::clip_inset,
                     std::max(r.w - editor.inset_left() - editor.inset_right(), 0.0f),
                     std::max(r.h - 2 * TextField::clip_inset, 0.0f)};
    const auto width = [&](std::size_t from, std::size_t to) {
        return c.text_width(editor.display(std::string_view(editor.text).substr(from, to - from)), size, 400);
    };
    // The offset whose code point has its middle past x, walking with the canvas's own measure.
    const auto offset_at = [&](float x) {
        const float target = x - inner.x + state.scroll;
        float run = 0;
        for (std::size_t i = 0; i < editor.text.size();) {
            const std::size_t after = next(editor.text, i);
            const float w = width(i, after);
            if (run + w * 0.5f > target) return i;
            run += w;
            i = after;
        }
        return editor.text.size();
    };
    const auto send = [&](int type, int key, const Input& flags, const std::string& text) {
        Event e;
        e.type = type;
        e.position = input_.mouse;
        e.input = flags;
        e.key = key;
        e.text = text;
        editor.event(e);
    };

    const bool focused = focus_ == id && allowed(id);
    if (state.focused && !focused) send(focus_lost_event, 0, Input{}, {});
    state.focused = focused;
    if (focused) {
        text_focus_ = id;
        if (t.took_press)
            editor.move(offset_at(input_.mouse.x), input_.shift);
        else if (active_ == id && input_.mouse_down)
            editor.select(editor.anchor, offset_at(input_.mouse.x));

        Input keys; // modifiers only, so each command below is read on its own
        keys.mouse = input_.mouse;
        keys.shift = input_.shift;
        keys.ctrl = input_.ctrl;
        for (bool Input::*mark :
             {&Input::select_all, &Input::copy, &Input::cut, &Input::undo, &Input::redo}) {
            if (!(input_.*mark)) continue;
            // The editor has no scene to reach the clipboard through; copy and cut write it here.
            if ((mark == &Input::copy || mark == &Input::cut) && !editor.masked && clipboard_) {
                const auto writer = clipboard_;
                writer(editor.selected_text());
            }
            Input command = keys;
            command.*mark = true;
            send(key_down, 0, command, {});
        }
        // The editor reads the plain keys by code and leaves the ones it has no use for.
        for (const KeyFlag& k : key_flags)
            if (input_.*k.flag) send(key_down, static_cast<int>(k.code), keys, {});
        if (!input_.text.empty()) send(text_entered, 0, keys, input_.text);
        if (!input_.paste.empty()) send(text_entered, 0, keys, input_.paste);
    }

    const float caret_x = width(0, editor.caret);
    const float visible = std::max(inner.w - 3, 1.0f);
    state.scroll = std::min(state.scroll, std::max(width(0, editor.text.size()) - visible, 0.0f));
    if (caret_x < state.scroll) state.scroll = caret_x;
    if (caret_x > state.scroll + visible) state.scroll = caret_x - visible;

    c.fill(r, theme.control, theme.radius);
    c.stroke(r, focused ? theme.accent : theme.border, focused ? 1.5f : 1.0f, theme.radius);
    c.push_clip(inner, 0);
    const float left = inner.x - state.scroll;
    const float top = middle(r, size);
    if (editor.text.empty()) {
        if (!placeholder.empty()) c.text(placeholder, {inner.x, top}, size, theme.muted, 400);
    } else {
        const std::size_t s = std::min(editor.caret, editor.anchor);
        const std::size_t e = std::max(editor.caret, editor.anchor);
        if (focused && s != e)
            c.fill({left + width(0, s), top - 2, std::max(width(s, e), 2.0f), TextField::row_height},
                   theme.selection, 2);
        c.text(editor.display(editor.text), {left, top}, size, theme.text, 400);
    }
    if (focused) c.fill({left + caret_x, top, 1.5f, size + 2}, theme.accent, 0);
    c.pop_clip();
}

bool Ui::text_field(const std::string& id, Rect r, std::string& text, const std::string& placeholder) {
    const Touch t = touch(id, r);
    State& state = states_[id];
    if (!state.editor || dynamic_cast<NumberField*>(state.editor.get()))
        state.editor = std::make_shared<TextField>(text);
    else if (state.editor->text != text)
        state.editor->value(text);
    edit(id, r, t, state, placeholder);
    if (state.editor->text == text) return false;
    text = state.editor->text;
    return true;
}

bool Ui::number_field(const std::string& id, Rect r, double& value, double lo, double hi, double step) {
    const Touch t = touch(id, r);
    State& state = states_[id];
    auto number = std::dynamic_pointer_cast<NumberField>(state.editor);
    if (!number) state.editor = number = std::make_shared<NumberField>(value);
    // Setting the range rewrites the text, so only a real change may interrupt typing.
    if (number->minimum() != lo || number->maximum() != hi) number->range(lo, hi);
    number->step(step);
    if (!state.focused && number->number() != value) number->number(value);
    edit(id, r, t, state, {});
    if (number->number() == value) return false;
    value = number->number();
    return true;
}

// ---- choices ---------------------------------------------------------------------------------------

bool Ui::tabs(const std::string& id, Rect r, const std::vector<std::string>& items, int& selected) {
    const Touch t = touch(id, r);
    const int before = selected;
    int pick = clamp_index(selected, items.size());
    const std::size_t n = items.size();
    const float cell = n ? r.w / static_cast<float>(n) : r.w;
    const auto under_pointer = [&] {
        return std::clamp(static_cast<int>((input_.mouse.x - r.x) / cell), 0, static_cast<int>(n) - 1);
    };
    if (n && t.fired && input_.mouse_released) pick = under_pointer();
    if (n && focus_ == id && allowed(id)) {
        if (input_.left) pick = std::max(pick - 1, 0);
        if (input_.right) pick = std::min(pick + 1, static_cast<int>(n) - 1);
    }

    Canvas& c = canvas();
    const Theme& theme = c.theme();
    c.fill(r, theme.control, theme.radius);
    const int hovered = n && t.hovered ? under_pointer() : -1;
    for (std::size_t i = 0; i < n; ++i) {
        const Rect cellr{r.x + cell * static_cast<float>(i), r.y, cell, r.h};
        const bool on = static_cast<int>(i) == pick;
        if (on)
            face(cellr, false, false, true);
        else if (static_cast<int>(i) == hovered)
            c.fill(cellr, theme.hover, theme.radius);
        centered(cellr, items[i], on ? theme.accent_text : theme.text);
    }
    focus_ring(id, r, theme.radius);

    selected = pick;
    return pick != before;
}

bool Ui::combo(const std::string& id, Rect r, const std::vector<std::string>& items, int& selected) {
    const Touch t = touch(id, r);
    const int before = selected;
    int pick = clamp_index(selected, items.size());
    const int last = static_cast<int>(items.size()) - 1;
    if (t.fired) {
        if (open_popup_ == id)
            open_popup_.clear();
        else
            open_popup_ = id;
    } else if (focus_ == id && open_popup_.empty() && allowed(id)) {
        if (input_.up) pick = std::max(pick - 1, 0);
        if (input_.down) pick = std::min(pick + 1, last);
    }

    Canvas& c = canvas();
    const Theme theme = c.theme();
    face(r, t.hovered, t.hovered && active_ == id && input_.mouse_down, false);
    focus_ring(id, r, theme.radius);
    c.text(pick >= 0 ? items[static_cast<std::size_t>(pick)] : std::string(),
           {r.x + 12, middle(r, theme.font_size)}, theme.font_size, theme.text, 400);
    const Vec2 tip{r.x + r.w - 18, middle(r, 0) + 3};
    c.line({tip.x - 5, tip.y - 5}, tip, theme.muted, 1.5f);
    c.line(tip, {tip.x + 5, tip.y - 5}, theme.muted, 1.5f);

    // Options only exist while open and are tested against the whole canvas, since they
    // float over whatever clip the combo itself sits in.
    if (open_popup_ == id && !items.empty()) {
        const float height = row_height * static_cast<float>(items.size()) + 8;
        const bool below = r.y + r.h + 4 + height <= c.height() || r.y - 4 - height < 0;
        const Rect box{r.x, below ? r.y + r.h + 4 : r.y - 4 - height, r.w, height};
        const Rect saved = c.clip();
        c.clip({0, 0, c.width(), c.height()});
        int hovered = -1;
        for (std::size_t i = 0; i < items.size(); ++i) {
            const Rect row{box.x + 4, box.y + 4 + row_height * static_cast<float>(i), box.w - 8, row_height};
            const std::string option = option_id(id, i);
            const Touch o = touch(option, row);
            if (o.hovered) hovered = static_cast<int>(i);
            if (o.fired) {
                pick = static_cast<int>(i);
                open_popup_.clear();
                focus_ = id; // the options vanish; the combo keeps the keyboard
                focus_seen_ = true;
            }
        }
        c.clip(saved);
        if (open_popup_ == id) {
            defer([this, box, items, pick, hovered, theme] {
                Canvas& canvas = *canvas_;
                const Rect inner = canvas.clip();
                canvas.clip({0, 0, canvas.width(), canvas.height()});
                canvas.backdrop(); // the popup's glass refracts the controls under it
                canvas.glass(box, theme, theme.radius);
                for (std::size_t i = 0; i < items.size(); ++i) {
                    const Rect row{box.x + 4, box.y + 4 + row_height * static_cast<float>(i), box.w - 8,
                                   row_height};
                    const bool on = static_cast<int>(i) == pick;
                    if (on || static_cast<int>(i) == hovered)
                        canvas.fill(row, on ? theme.selection : theme.hover, theme.radius * 0.6f);
                    canvas.text(items[i], {row.x + 8, middle(row, theme.font_size)}, theme.font_size,
                                on ? theme.accent_text : theme.text, 400);
                }
                canvas.clip(inner);
            });
        }
    }

    selected = pick;
    return pick != before;
}

bool Ui::list(const std::string& id, Rect r, const std::vector<std::string>& items, int& selected) {
    const Touch t = touch(id, r);
    State& state = states_[id];
    const int before = selected;
    int pick = clamp_index(selected, items.size());
    const int last = static_cast<int>(items.size()) - 1;
    const float content = row_height * static_cast<float>(items.size());
    const float max_scroll = std::max(content - r.h, 0.0f);
    const auto row_at = [&](float y) {
        return static_cast<int>(std::floor((y - r.y + state.scroll) / row_height));
    };

    if (t.hovered && input_.wheel != 0) state.scroll -= input_.wheel * row_height * 3;
    if (t.fired && input_.mouse_released) {
        const int row = row_at(input_.mouse.y);
        if (row >= 0 && row <= last) pick = row;
    }
    if (focus_ == id && allowed(id) && last >= 0) {
        const int page = std::max(static_cast<int>(r.h / row_height), 1);
        if (input_.up) pick = std::max(pick - 1, 0);
        if (input_.down) pick = std::min(pick + 1, last);
        if (input_.page_up) pick = std::max(pick - page, 0);
        if (input_.page_down) pick = std::min(pick + page, last);
        if (input_.home) pick = 0;
        if (input_.end) pick = last;
        if (pick != before && pick >= 0) {
            // Keep a row reached by the keyboard in view.
            const float top = row_height * static_cast<float>(pick);
            state.scroll = std::min(std::max(state.scroll, top + row_height - r.h), top);
        }
    }
    state.scroll = std::clamp(state.scroll, 0.0f, max_scroll);

    Canvas& c = canvas();
    const Theme& theme = c.theme();
    c.fill(r, theme.control, theme.radius);
    c.push_clip(r, theme.radius);
    const int hovered = t.hovered ? row_at(input_.mouse.y) : -1;
    const int first = std::max(row_at(r.y), 0);
    const int stop = std::min(row_at(r.y + r.h), last);
    for (int i = first; i <= stop; ++i) {
        const Rect row{r.x, r.y - state.scroll + row_height * static_cast<float>(i), r.w, row_height};
        const bool on = i == pick;
        if (on || i == hovered) c.fill(row, on ? theme.selection : theme.hover, 0);
        c.text(items[static_cast<std::size_t>(i)], {row.x + 12, middle(row, theme.font_size)},
               theme.font_size, on ? theme.accent_text : theme.text, 400);
    }
    c.pop_clip();
    c.stroke(r, focus_ == id ? theme.accent : theme.border, focus_ == id ? 1.5f : 1.0f, theme.radius);

    selected = pick;
    return pick != before;
}

// ---- decoration ------------------------------------------------------------------------------------

void Ui::separator(Rect r) {
    Canvas& c = canvas();
    c.fill(r, c.theme().border, 0);
}

void Ui::badge(Rect r, const std::string& text) {
    Canvas& c = canvas();
    const Theme& theme = c.theme();
    c.fill(r, theme.selection, r.h * 0.5f);
    const float width = c.text_width(text, 12, 600);
    c.text(text, {r.x + std::max((r.w - width) * 0.5f, 0.0f), middle(r, 12)}, 12, theme.accent_text, 600);
}

bool Ui::tooltip(Rect anchor, const std::string& text) {
    Canvas& c = canvas();
    if (!open_popup_.empty() || input_.mouse_down || !hit(anchor)) return false;
    const Theme theme = c.theme();
    const float w = c.text_width(text, 12, 400) + 24;
    const float h = 30;
    float x = std::clamp(anchor.x, 0.0f, std::max(c.width() - w, 0.0f));
    float y = anchor.y + anchor.h + 6;
    if (y + h > c.height()) y = std::max(anchor.y - 6 - h, 0.0f);
    defer([this, text, theme, box = Rect{x, y, w, h}] {
        Canvas& canvas = *canvas_;
        const Rect inner = canvas.clip();
        canvas.clip({0, 0, canvas.width(), canvas.height()});
        canvas.backdrop();
        canvas.glass(box, theme, 8);
        canvas.text(text, {box.x + 12, middle(box, 12)}, 12, theme.text, 400);
        canvas.clip(inner);
    });
    return true;
}

// ---- material settings -----------------------------------------------------------------------------

bool Ui::material_settings(const std::string& id, Rect r, Theme& theme) {
    Canvas& c = canvas();
    check_rect(r);
    theme.validate();
    // The group itself takes no focus; its sliders and switches register under its name.
    if (id.empty()) throw std::invalid_argument("Empty widget ID");
    struct Setting {
        const char* key;
        const char* name;
        float* value;
        float lo, hi;
    };
    // Every range lies inside what Theme::validate accepts, so no drag can break the theme.
    const Setting settings[] = {
        {"blur", "Blur", &theme.blur, 0, 1},
        {"sigma", "Blur radius", &theme.sigma, 0, 32},
        {"refraction", "Refraction", &theme.refraction, 0, 30},
        {"shine", "Shine", &theme.shine, 0, 1.5f},
        {"dispersion", "Dispersion", &theme.dispersion, 0, 2},
        {"tint", "Tint", &theme.tint, 0, 1},
        {"surface_opacity", "Opacity", &theme.surface_opacity, 0, 1},
        {"corner_smoothing", "Corner smoothing", &theme.corner_smoothing, 0, 1},
        {"text_contrast", "Text contrast", &theme.text_contrast, 0.5f, 2},
    };
    const Theme& look = c.theme();
    const float name_w = std::min(150.0f, r.w * 0.4f);
    const float value_w = 48;
    const float slider_w = std::max(r.w - name_w - value_w, 0.0f);
    bool changed = false;
    float y = r.y;
    for (const Setting& s : settings) {
        const Rect row{r.x, y, r.w, 32};
        c.text(s.name, {row.x, middle(row, look.font_size)}, look.font_size, look.text, 400);
        changed |= slider(id + "/" + s.key, {row.x + name_w, row.y, slider_w, row.h}, *s.value, s.lo, s.hi);
        c.text(fixed(*s.value, 2), {row.x + name_w + slider_w + 8, middle(row, 12)}, 12, look.muted, 400);
        y += row.h;
    }
    changed |= toggle(id + "/cubic_corners", {r.x, y, r.w, 32}, "Smooth corners", theme.cubic_corners);
    y += 32;
    const Rect aa{r.x, y + 2, r.w, 28};
    c.text("Antialiasing", {aa.x, middle(aa, look.font_size)}, look.font_size, look.text, 400);
    changed |= tabs(id + "/antialiasing", {aa.x + name_w, aa.y, std::max(r.w - name_w, 0.0f), aa.h},
                    {"Off", "Analytic", "High"}, theme.antialiasing);
    return changed;
}

} // namespace velmora::ui
