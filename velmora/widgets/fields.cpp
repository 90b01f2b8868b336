// The derived text fields
//
//   1. TextArea
//   2. PasswordField
//   3. SearchField
//   4. NumberField and Spinner
//   5. KeyBindingField
//   6. AutoComplete, its suggestion list, and ComboBox
#include "velmora/widgets/fields.hpp"

#include "velmora/scene/scene.hpp"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace velmora::ui {

namespace {

unsigned code(const Event& e) { return static_cast<unsigned>(e.key); }

bool command(const Event& e, bool mark, unsigned letter) {
    return mark || (e.input.ctrl && code(e) == letter);
}

// The strip at the right edge that holds a field's own button or mark.
bool in_right_inset(const TextField& field, Vec2 p) {
    return p.x >= field.screen_bounds.x + field.screen_bounds.w - field.inset_right();
}

float middle(const Rect& r) { return r.y + r.h / 2; }

} // namespace

// ---- 1. TextArea ---------------------------------------------------------------------------

TextArea::TextArea(std::string initial) : TextField(std::move(initial)) {
    multi_line = true;
    bounds.h = 140;
    max_length = 65536;
}

void TextArea::event(Event& e) {
    if (enabled && e.type == key_down && (code(e) == vk::page_up || code(e) == vk::page_down)) {
        vertical(code(e) == vk::page_up ? -visible_rows() : visible_rows(), e.input.shift);
        e.handled = true;
        return;
    }
    TextField::event(e);
}

void TextArea::paint(PaintContext& context) {
    TextField::paint(context);
    const int lines = line_count(), rows = visible_rows();
    if (lines <= rows) return;
    // A thin indicator only: the wheel and the keys do the scrolling.
    const Rect& sb = screen_bounds;
    const float track = std::max(sb.h - 12, 1.0f);
    const float thumb = std::max(track * static_cast<float>(rows) / static_cast<float>(lines), 12.0f);
    const float y = (track - thumb) * static_cast<float>(first_row) / static_cast<float>(lines - rows);
    context.canvas.fill({sb.x + sb.w - 6, sb.y + 6 + std::max(y, 0.0f), 3, std::min(thumb, track)},
                        context.theme.muted, 1.5f);
}

// ---- 2. PasswordField ----------------------------------------------------------------------

PasswordField::PasswordField(std::string initial) : TextField(std::move(initial)) {
    masked = true;
    placeholder = "密码";
}

void PasswordField::conceal() {
    revealing_ = false;
    masked = true;
}

void PasswordField::event(Event& e) {
    if (enabled) {
        // Copy and cut stay off even while the text is revealed.
        if (e.type == key_down && (command(e, e.input.copy, vk::c) || command(e, e.input.cut, vk::x))) {
            e.handled = true;
            return;
        }
        if (e.type == pointer_down && reveal_button && in_right_inset(*this, e.position)) {
            revealing_ = true;
            masked = false;
            e.handled = true;
            return;
        }
        if (revealing_ && (e.type == pointer_move || e.type == pointer_up)) {
            if (e.type == pointer_up) conceal();
            e.handled = true;
            return;
        }
    }
    if (e.type == focus_lost_event && revealing_) conceal();
    TextField::event(e);
}

void PasswordField::paint(PaintContext& context) {
    TextField::paint(context);
    if (!reveal_button) return;
    const Rect& sb = screen_bounds;
    const float cx = sb.x + sb.w - 18, cy = middle(sb);
    const unsigned colour = revealing_ ? context.theme.accent : context.theme.muted;
    context.canvas.stroke({cx - 8, cy - 5, 16, 10}, colour, 1.5f, 5);
    context.canvas.fill({cx - 2.5f, cy - 2.5f, 5, 5}, colour, 2.5f);
}

// ---- 3. SearchField ------------------------------------------------------------------------

SearchField::SearchField(std::string initial) : TextField(std::move(initial)) { placeholder = "搜索…"; }

void SearchField::clear_text() {
    if (read_only || !enabled) return;
    replace_all({});
}

void SearchField::event(Event& e) {
    if (enabled) {
        if (e.type == pointer_down && !text.empty() && in_right_inset(*this, e.position)) {
            clear_text();
            e.handled = true;
            return;
        }
        // Enter submits but stays unhandled, so a list or dialog around the field sees it too.
        if (e.type == key_down && code(e) == vk::enter) {
            submit();
            return;
        }
    }
    TextField::event(e);
}

void SearchField::paint(PaintContext& context) {
    TextField::paint(context);
    Canvas& canvas = context.canvas;
    const Rect& sb = screen_bounds;
    const float cy = middle(sb);
    const unsigned colour = context.theme.muted;
    canvas.ring({sb.x + 11, cy - 7, 11, 11}, colour, 1.5f, 1, 0);
    canvas.line({sb.x + 20, cy + 2}, {sb.x + 24.5f, cy + 6.5f}, colour, 1.5f);
    if (text.empty()) return;
    const float cx = sb.x + sb.w - 15;
    canvas.line({cx - 4.5f, cy - 4.5f}, {cx + 4.5f, cy + 4.5f}, colour, 1.5f);
    canvas.line({cx - 4.5f, cy + 4.5f}, {cx + 4.5f, cy - 4.5f}, colour, 1.5f);
}

// ---- 4. NumberField and Spinner ------------------------------------------------------------

namespace {

bool digit(char c) { return c >= '0' && c <= '9'; }

double finite_number(double v) {
    if (!std::isfinite(v)) throw std::invalid_argument("Invalid number");
    return v;
}

} // namespace

std::string NumberField::format(double v) {
    if (v == 0) v = 0; // no "-0"
    char buffer[64];
    // 15 significant digits hide the binary noise of repeated steps (0.1 + 0.2 shows as 0.3).
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, v, std::chars_format::general, 15);
    return std::string(buffer, result.ptr);
}

NumberField::NumberField(double initial) { number(initial); }

bool NumberField::accepts(const std::string& candidate) const {
    // Every prefix of [sign] digits [. digits] [e [sign] digits] is a number in the making.
    std::size_t i = 0;
    const std::size_t n = candidate.size();
    if (i < n && (candidate[i] == '+' || candidate[i] == '-')) ++i;
    bool digits = false, point = false;
    for (; i < n; ++i) {
        if (digit(candidate[i]))
            digits = true;
        else if (candidate[i] == '.' && !point)
            point = true;
        else
            break;
    }
    if (i < n && digits && (candidate[i] == 'e' || candidate[i] == 'E')) {
        ++i;
        if (i < n && (candidate[i] == '+' || candidate[i] == '-')) ++i;
        while (i < n && digit(candidate[i])) ++i;
    }
    return i == n;
}

double NumberField::parsed() const {
    const char* first = text.data();
    const char* last = first + text.size();
    if (first != last && *first == '+') ++first;
    double v = 0;
    // A half-typed exponent ("2e") is simply not read; text without a number keeps the old one.
    const auto result = std::from_chars(first, last, v);
    if (result.ec != std::errc() || !std::isfinite(v)) return number_;
    return v;
}

void NumberField::commit(double v) {
    number_ = std::clamp(v, minimum_, maximum_);
    const auto shown = format(number_);
    if (shown != text) replace_all(shown);
}

void NumberField::value(std::string v) {
    TextField::value(std::move(v));
    number_ = std::clamp(parsed(), minimum_, maximum_);
}

void NumberField::submit() {
    commit(parsed());
    TextField::submit();
}

void NumberField::number(double v) {
    number_ = std::clamp(finite_number(v), minimum_, maximum_);
    value(format(number_));
}

void NumberField::range(double lo, double hi) {
    if (!std::isfinite(lo) || !std::isfinite(hi) || lo > hi) throw std::invalid_argument("Invalid range");
    minimum_ = lo;
    maximum_ = hi;
    number(number_);
}

void NumberField::step(double v) {
    if (!std::isfinite(v) || v <= 0) throw std::invalid_argument("Invalid step");
    step_ = v;
}

void NumberField::step_by(int steps) {
    if (read_only || !enabled) return;
    commit(parsed() + steps * step_);
}

void NumberField::event(Event& e) {
    if (enabled && e.type == key_down && (code(e) == vk::up || code(e) == vk::down)) {
        step_by(code(e) == vk::up ? 1 : -1);
        e.handled = true;
        return;
    }
    // Leaving the field settles what was typed, as submit does, but without on_submit.
    if (enabled && e.type == focus_lost_event) commit(parsed());
    TextField::event(e);
}

Spinner::Spinner(double initial) : NumberField(initial) {}

void Spinner::event(Event& e) {
    if (enabled) {
        if (e.type == pointer_down) {
            const Rect& sb = screen_bounds;
            const int direction = e.position.x < sb.x + inset_left()  ? -1
                                  : in_right_inset(*this, e.position) ? 1
                                                                      : 0;
            if (direction != 0) {
                held_ = direction;
                next_repeat_ = (scene ? scene->time() : 0) + repeat_delay;
                step_by(direction);
                e.handled = true;
                return;
            }
        } else if (held_ != 0 && (e.type == pointer_move || e.type == pointer_up)) {
            if (e.type == pointer_up) held_ = 0;
            e.handled = true;
            return;
        }
    }
    if (e.type == focus_lost_event) held_ = 0;
    NumberField::event(e);
}

void Spinner::tick(Scene& owner) {
    NumberField::tick(owner);
    if (held_ == 0) return;
    // A press the scene has dropped (a lost window focus, a closed overlay) ends the repeat.
    if (!enabled || owner.pressed().get() != this) {
        held_ = 0;
        return;
    }
    const double now = owner.time();
    const bool due = now >= next_repeat_;
    if (due) next_repeat_ = now + repeat_interval;
    owner.redraw_at(next_repeat_);
    if (due) step_by(held_);
}

void Spinner::paint(PaintContext& context) {
    TextField::paint(context);
    const Rect& sb = screen_bounds;
    const Theme& theme = context.theme;
    const Rect minus{sb.x, sb.y, inset_left(), sb.h};
    const Rect plus{sb.x + sb.w - inset_right(), sb.y, inset_right(), sb.h};
    for (const auto& [rect, sign, direction] : {std::tuple{minus, "\u2212", -1}, std::tuple{plus, "+", 1}}) {
        if (held_ == direction)
            context.canvas.fill(
                {rect.x + 4, rect.y + 4, std::max(rect.w - 8, 0.0f), std::max(rect.h - 8, 0.0f)}, theme.hover,
                std::max(theme.radius - 4, 0.0f));
        centered(context, sign, rect, enabled ? theme.text : theme.muted, 0, 400);
    }
}

// ---- 5. KeyBindingField --------------------------------------------------------------------

namespace {

struct KeyName {
    unsigned code;
    const char* name;
};

constexpr KeyName key_names[] = {
    {vk::backspace, "Backspace"},
    {vk::tab, "Tab"},
    {vk::enter, "Enter"},
    {vk::pause, "Pause"},
    {vk::escape, "Esc"},
    {vk::space, "Space"},
    {vk::page_up, "PageUp"},
    {vk::page_down, "PageDown"},
    {vk::end, "End"},
    {vk::home, "Home"},
    {vk::left, "Left"},
    {vk::up, "Up"},
    {vk::right, "Right"},
    {vk::down, "Down"},
    {vk::print_screen, "PrintScreen"},
    {vk::insert, "Insert"},
    {vk::delete_key, "Delete"},
    {vk::multiply, "Num*"},
    {vk::add, "Num+"},
    {vk::subtract, "Num-"},
    {vk::decimal, "Num."},
    {vk::divide, "Num/"},
    {vk::oem_1, ";"},
    {vk::oem_plus, "="},
    {vk::oem_comma, ","},
    {vk::oem_minus, "-"},
    {vk::oem_period, "."},
    {vk::oem_2, "/"},
    {vk::oem_3, "`"},
    {vk::oem_4, "["},
    {vk::oem_5, "\\"},
    {vk::oem_6, "]"},
    {vk::oem_7, "'"},
};

std::string key_name(unsigned key) {
    if ((key >= vk::a && key <= vk::z) || (key >= vk::digit_0 && key <= vk::digit_0 + 9))
        return std::string(1, static_cast<char>(key));
    if (key >= vk::f1 && key < vk::f1 + 24) return "F" + std::to_string(key - vk::f1 + 1);
    if (key >= vk::numpad_0 && key <= vk::numpad_0 + 9) return "Num" + std::to_string(key - vk::numpad_0);
    for (const auto& [code, name] : key_names)
        if (code == key) return name;
    return "Key" + std::to_string(key);
}

} // namespace

KeyBindingField::KeyBindingField(std::string binding) : TextField(std::move(binding)) {
    placeholder = "按下快捷键…";
}

std::string KeyBindingField::describe_keys(unsigned key, bool ctrl, bool shift, bool alt) {
    if (key == 0 || modifier_key(key)) return {};
    std::string out;
    if (ctrl) out += "Ctrl+";
    if (shift) out += "Shift+";
    if (alt) out += "Alt+";
    return out + key_name(key);
}

void KeyBindingField::event(Event& e) {
    if (!enabled) return;
    if (e.type == text_entered) {
        e.handled = true; // the key itself was captured; its character is no input
        return;
    }
    // Escape stays free for closing dialogs, even when the frame also carries an edit command
    // (Ctrl+Z pressed just before it), which the text field would act on and so hold it back.
    if (e.type == key_down && code(e) == vk::escape) return;
    if (e.type != key_down || e.key == 0) { // a bare command mark carries no key
        TextField::event(e);
        return;
    }
    e.handled = true;
    if (read_only) return;
    const bool clear = code(e) == vk::backspace || code(e) == vk::delete_key;
    const auto name =
        clear ? std::string() : describe_keys(code(e), e.input.ctrl, e.input.shift, e.input.alt);
    if (clear || !name.empty()) value(name);
}

// ---- 6. AutoComplete, its suggestion list, and ComboBox ------------------------------------

// The popup under an AutoComplete. It never takes the focus; the field drives it by keys and
// the pointer picks from it directly.
class SuggestionList : public Widget {
public:
    static constexpr float row = 30;
    static constexpr float pad = 4;

    std::weak_ptr<Widget> owner;
    std::vector<std::string> items;
    int highlight = -1;

    int row_at(Vec2 p) const {
        const float y = p.y - screen_bounds.y - pad;
        if (y < 0 || !screen_bounds.contains(p)) return -1;
        const int i = static_cast<int>(y / row);
        return i < static_cast<int>(items.size()) ? i : -1;
    }

    void event(Event& e) override {
        if (e.type == pointer_move) {
            if (const int i = row_at(e.position); i >= 0) highlight = i;
        } else if (e.type == pointer_down) {
            const int i = row_at(e.position);
            auto field = std::static_pointer_cast<AutoComplete>(owner.lock());
            if (i >= 0 && field) field->accept(items[static_cast<std::size_t>(i)]);
        }
        e.handled = true;
    }

    void paint(PaintContext& context) override {
        const Theme& theme = context.theme;
        Canvas& canvas = context.canvas;
        canvas.glass(screen_bounds, theme, theme.radius);
        for (std::size_t i = 0; i < items.size(); ++i) {
            const Rect r{screen_bounds.x + pad, screen_bounds.y + pad + static_cast<float>(i) * row,
                         std::max(screen_bounds.w - 2 * pad, 0.0f), row};
            if (static_cast<int>(i) == highlight)
                canvas.fill(r, theme.selection, std::max(theme.radius - 3, 0.0f));
            canvas.text(items[i], {r.x + 10, r.y + (row - theme.font_size) / 2}, theme.font_size, theme.text,
                        400);
        }
    }
};

AutoComplete::AutoComplete(std::vector<std::string> options) : suggestions(std::move(options)) {}

AutoComplete::~AutoComplete() { close_suggestions(); }

std::vector<std::string> AutoComplete::matches(const std::string& query) const {
    const auto fold = [](std::string s) {
        for (auto& c : s)
            if (static_cast<unsigned char>(c) < 128)
                c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        return s;
    };
    const auto needle = fold(query);
    std::vector<std::string> out;
    for (const auto& s : suggestions) {
        if (out.size() == match_limit) break;
        if (fold(s).find(needle) != std::string::npos) out.push_back(s);
    }
    return out;
}

bool AutoComplete::suggestions_open() const { return list_ && list_->scene; }

std::vector<std::string> AutoComplete::shown() const {
    return suggestions_open() ? list_->items : std::vector<std::string>{};
}

int AutoComplete::highlighted() const { return suggestions_open() ? list_->highlight : -1; }

void AutoComplete::open_suggestions(std::vector<std::string> items) {
    if (items.empty() || !scene) {
        close_suggestions();
        return;
    }
    if (!list_) list_ = std::make_shared<SuggestionList>();
    list_->owner = weak_from_this();
    const auto current = std::find(items.begin(), items.end(), text);
    list_->highlight = current == items.end() ? -1 : static_cast<int>(current - items.begin());
    list_->items = std::move(items);
    list_->bounds.w = std::max(screen_bounds.w, 120.0f);
    list_->bounds.h = static_cast<float>(list_->items.size()) * SuggestionList::row + 2 * SuggestionList::pad;
    // Showing again also re-sizes and re-clamps a list that is already open. keep_focus leaves
    // typing in the field while the list is up.
    scene->show(list_, false, true, scene->popup_position(screen_bounds, {list_->bounds.w, list_->bounds.h}),
                true);
}

void AutoComplete::close_suggestions() {
    if (suggestions_open()) list_->scene->close(list_.get());
}

void AutoComplete::accept(const std::string& item) {
    close_suggestions();
    replace_all(item);
    move(text.size(), false);
}

void AutoComplete::refresh() { open_suggestions(text.empty() ? std::vector<std::string>{} : matches(text)); }

void AutoComplete::event(Event& e) {
    if (enabled && e.type == key_down) {
        if (suggestions_open()) {
            const int n = static_cast<int>(list_->items.size());
            int& h = list_->highlight;
            switch (code(e)) {
            case vk::up:
                h = h <= 0 ? n - 1 : h - 1;
                e.handled = true;
                return;
            case vk::down:
                h = h + 1 >= n ? 0 : h + 1;
                e.handled = true;
                return;
            case vk::escape:
                close_suggestions();
                e.handled = true;
                return;
            case vk::enter:
                if (h >= 0) {
                    accept(list_->items[static_cast<std::size_t>(h)]);
                    e.handled = true;
                    return;
                }
                close_suggestions();
                break;
            default:
                break;
            }
        } else if (code(e) == vk::down) {
            if (auto found = matches(text); !found.empty()) {
                open_suggestions(std::move(found));
                e.handled = true;
                return;
            }
        }
    }
    if (e.type == focus_lost_event) close_suggestions();
    const auto before = text;
    SearchField::event(e);
    if (text != before) refresh();
}

ComboBox::ComboBox(std::vector<std::string> items) : AutoComplete(std::move(items)) {
    placeholder = "输入或选择…";
}

void ComboBox::event(Event& e) {
    if (enabled && e.type == pointer_down && in_right_inset(*this, e.position)) {
        // An open list is already closed by the scene when the press lands outside it.
        open_suggestions(suggestions);
        e.handled = true;
        return;
    }
    AutoComplete::event(e);
}

void ComboBox::paint(PaintContext& context) {
    // The drop button takes the place of the search and clear marks.
    TextField::paint(context);
    const Rect& sb = screen_bounds;
    chevron(context, {sb.x + sb.w - 17, middle(sb)}, enabled ? context.theme.text : context.theme.muted);
}

// ---- assistive technology ---------------------------------------------------------------------

void NumberField::describe(AccessibleNode& node) const {
    TextField::describe(node);
    node.value_range(number_, minimum_, maximum_, step_);
}

bool NumberField::accessible_value(double v) {
    if (read_only) return false;
    number(v);
    return true;
}

} // namespace velmora::ui
