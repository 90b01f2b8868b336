// Basic controls: construction, activation, painting and the option group's selection.
//
//   - buttons
//   - text and decoration
//   - feedback
//   - option groups
#include "velmora/widgets/basic.hpp"

#include "velmora/scene/scene.hpp"

#include <algorithm>
#include <memory>

namespace velmora::ui {

namespace {

// Top of a box of the given height centred vertically in r.
float middle(Rect r, float height) { return r.y + (r.h - height) * 0.5f; }

unsigned enabled_text(const Widget& w, const Theme& theme) { return w.enabled ? theme.text : theme.muted; }

// The label of a check box, radio button or switch: size 14 beside the mark.
void side_label(const Widget& w, PaintContext& context, float indent) {
    const Rect r = w.screen_bounds;
    context.canvas.text(w.text, {r.x + indent, middle(r, 14)}, 14, enabled_text(w, context.theme), 400);
}

} // namespace

// ---- buttons ----------------------------------------------------------------------------------

Button::Button(std::string label) : Widget(std::move(label)) { focusable = true; }

bool Button::trigger(const Event& e) const {
    if (!enabled) return false;
    if (e.type == pointer_up) return screen_bounds.contains(e.position);
    return e.type == key_down && (e.key == vk::space || e.key == vk::enter);
}

void Button::event(Event& e) {
    if (!trigger(e)) return;
    activate();
    e.handled = true;
}

void Button::paint(PaintContext& context) {
    const Theme& theme = context.theme;
    surface(context, accent, -1);
    const unsigned colour = !enabled ? theme.muted : accent ? theme.accent_text : theme.text;
    centered(context, text, screen_bounds, colour, theme.font_size, 400);
}

IconButton::IconButton(std::string label) : Button(std::move(label)) { bounds = {0, 0, 36, 36}; }

ToggleButton::ToggleButton(std::string label) : Button(std::move(label)) {}

void ToggleButton::selected(bool on) {
    if (selected_ == on) return;
    selected_ = on;
    changed();
}

void ToggleButton::event(Event& e) {
    if (!trigger(e)) return;
    selected(!selected_); // the change callback runs before the click callback
    activate();
    e.handled = true;
}

void ToggleButton::paint(PaintContext& context) {
    const Theme& theme = context.theme;
    surface(context, selected_, -1);
    // Selection wins over the disabled look: a selected toggle keeps its contrast.
    const unsigned colour = selected_ ? theme.accent_text : enabled_text(*this, theme);
    centered(context, text, screen_bounds, colour, theme.font_size, 400);
}

void CheckBox::paint(PaintContext& context) {
    const Theme& theme = context.theme;
    Canvas& canvas = context.canvas;
    const Rect box{screen_bounds.x, middle(screen_bounds, 21), 21, 21};
    canvas.fill(box, selected() ? theme.selection : theme.control, 5);
    canvas.stroke(box, focused() ? theme.accent : theme.border, 1, 5);
    if (selected()) {
        canvas.line({box.x + 5, box.y + 11}, {box.x + 9, box.y + 15}, theme.accent_text, 2);
        canvas.line({box.x + 9, box.y + 15}, {box.x + 17, box.y + 6}, theme.accent_text, 2);
    }
    side_label(*this, context, 31);
}

void RadioButton::event(Event& e) {
    if (!trigger(e)) return;
    selected(true);
    activate();
    e.handled = true;
}

void RadioButton::paint(PaintContext& context) {
    const Theme& theme = context.theme;
    Canvas& canvas = context.canvas;
    const Rect circle{screen_bounds.x, middle(screen_bounds, 22), 22, 22};
    canvas.fill(circle, theme.control, 11);
    canvas.stroke(circle, focused() ? theme.accent : theme.border, 1, 11);
    if (selected()) canvas.fill({circle.x + 6, circle.y + 6, 10, 10}, theme.accent, 5);
    side_label(*this, context, 31);
}

void Switch::paint(PaintContext& context) {
    const Theme& theme = context.theme;
    Canvas& canvas = context.canvas;
    const bool on = selected();
    const Rect track{screen_bounds.x, middle(screen_bounds, 24), 44, 24};
    canvas.fill(track, on ? theme.selection : theme.control, 12);
    canvas.fill({track.x + (on ? 23.0f : 3.0f), track.y + 3, 18, 18}, on ? theme.accent_text : theme.text, 9);
    if (focused()) canvas.stroke(track, theme.accent, 1.5f, 12);
    side_label(*this, context, 54);
}

void ListItem::paint(PaintContext& context) {
    const Theme& theme = context.theme;
    surface(context, selected(), -1);
    context.canvas.text(text, {screen_bounds.x + 12, middle(screen_bounds, 14)}, 14,
                        selected() ? theme.accent_text : theme.text, 400);
}

// ---- text and decoration ------------------------------------------------------------------------

Label::Label(std::string label) : Widget(std::move(label)) { hit_through = true; }

void Label::paint(PaintContext& context) {
    const unsigned colour = color != 0 ? color : enabled_text(*this, context.theme);
    context.canvas.text(text, {screen_bounds.x, middle(screen_bounds, font_size)}, font_size, colour, weight);
}

Badge::Badge(std::string label) : Label(std::move(label)) {
    bounds = {0, 0, 46, 28};
    font_size = 12;
}

void Badge::paint(PaintContext& context) {
    const Theme& theme = context.theme;
    context.canvas.fill(screen_bounds, theme.selection, screen_bounds.h * 0.5f);
    centered(context, text, screen_bounds, theme.accent_text, font_size, 600);
}

Avatar::Avatar(std::string name) : Widget(std::move(name)) {
    bounds = {0, 0, 56, 56};
    hit_through = true;
}

std::string Avatar::initials() const {
    std::size_t end = 0;
    for (int points = 0; points < 2 && end < text.size(); ++points) {
        ++end;
        while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0u) == 0x80u) ++end;
    }
    return text.substr(0, end);
}

void Avatar::paint(PaintContext& context) {
    const Theme& theme = context.theme;
    const Rect r = screen_bounds;
    context.canvas.fill(r, color != 0 ? color : theme.selection, std::min(r.w, r.h) * 0.5f);
    const std::string letters = initials();
    if (!letters.empty()) centered(context, letters, r, theme.accent_text, 18, 600);
}

Separator::Separator(bool is_vertical) : vertical(is_vertical) {
    bounds = vertical ? Rect{0, 0, 1, 100} : Rect{0, 0, 300, 1};
    hit_through = true;
}

void Separator::paint(PaintContext& context) { context.canvas.fill(screen_bounds, context.theme.border, 0); }

// ---- feedback ------------------------------------------------------------------------------------

Callout::Callout(std::string title, std::string body_text)
    : Widget(std::move(title)), body(std::move(body_text)) {
    bounds = {0, 0, 340, 84};
    hit_through = true;
}

void Callout::paint(PaintContext& context) {
    const Theme& theme = context.theme;
    Canvas& canvas = context.canvas;
    const Rect r = screen_bounds;
    canvas.glass(r, theme, 12);
    canvas.fill({r.x + 12, r.y + 14, 3, std::max(0.0f, r.h - 28)}, theme.accent, 1.5f);
    canvas.text(text, {r.x + 25, r.y + 17}, 14, theme.text, 600);
    canvas.text(body, {r.x + 25, r.y + 43}, 12, theme.muted, 400);
}

void Notification::show(Scene& owner, double seconds) {
    owner.notify(std::static_pointer_cast<Notification>(shared_from_this()), seconds);
}

Tooltip::Tooltip(std::string label) : Widget(std::move(label)) {
    bounds = {0, 0, 260, 34};
    hit_through = true;
}

void Tooltip::paint(PaintContext& context) {
    context.canvas.glass(screen_bounds, context.theme, 8);
    centered(context, text, screen_bounds, context.theme.text, 12, 400);
}

// ---- option groups ---------------------------------------------------------------------------------

ButtonGroup::ButtonGroup(const std::vector<std::string>& items) : Panel("") {
    glass = false;
    padding = 0;
    gap = 4;
    bounds = {0, 0, 300, 36};
    for (const auto& item : items) option(item);
}

void ButtonGroup::adopt(ToggleButton& child) {
    const int index = static_cast<int>(children.size()) - 1;
    child.selected(index == selected_);
    // Reach the group through the parent link, so an option taken out of the group does nothing.
    child.on_activate = [index](Widget& w) {
        if (auto* group = dynamic_cast<ButtonGroup*>(w.parent)) group->select(index);
    };
}

void ButtonGroup::option(std::string label) { adopt(*emplace<ToggleButton>(std::move(label))); }

void ButtonGroup::event(Event& e) {
    if (e.type != key_down || !scene) return;
    const int step = e.key == vk::right || e.key == vk::down ? 1
                     : e.key == vk::left || e.key == vk::up  ? -1
                                                             : 0;
    const auto n = static_cast<int>(children.size());
    const auto at = std::find(children.begin(), children.end(), scene->focus());
    if (step == 0 || at == children.end()) return;
    const auto from = static_cast<int>(at - children.begin());
    for (int k = 1; k < n; ++k) {
        const int i = ((from + step * k) % n + n) % n;
        const auto& option = children[static_cast<std::size_t>(i)];
        if (!option->visible || !option->enabled || !dynamic_cast<ToggleButton*>(option.get())) continue;
        auto chosen = option; // select() may run callbacks that change the children
        select(i);
        scene->focus(chosen);
        e.handled = true;
        return;
    }
}

void ButtonGroup::select(int index) {
    if (children.empty()) return;
    const int last = static_cast<int>(children.size()) - 1;
    index = std::clamp(index, -1, last);
    const int before = selected_;
    selected_ = index;
    auto copy = children;
    for (int i = 0; i <= last; ++i)
        if (auto* toggle = dynamic_cast<ToggleButton*>(copy[static_cast<std::size_t>(i)].get()))
            toggle->selected(i == index);
    if (index != before) changed();
}

void ButtonGroup::layout(Scene&) {
    if (children.empty()) return;
    const float n = static_cast<float>(children.size());
    const float cell = std::max((bounds.w - gap * (n - 1)) / n, 0.0f);
    for (std::size_t i = 0; i < children.size(); ++i)
        children[i]->bounds = {static_cast<float>(i) * (cell + gap), 0, cell, bounds.h};
}

RadioGroup::RadioGroup(const std::vector<std::string>& items) {
    // Options are added here, not by the base, so that they are radio buttons.
    for (const auto& item : items) option(item);
}

void RadioGroup::option(std::string label) { adopt(*emplace<RadioButton>(std::move(label))); }

// ---- assistive technology ---------------------------------------------------------------------

void ToggleButton::describe(AccessibleNode& node) const {
    namespace st = accessible_state;
    Button::describe(node);
    // A list item is chosen, not ticked.
    const bool item = kind() == ControlKind::ListItem;
    node.states |=
        (item ? st::selectable : st::checkable) | (selected_ ? (item ? st::selected : st::checked) : 0);
}

void Callout::describe(AccessibleNode& node) const {
    Widget::describe(node);
    if (accessible_description.empty()) node.description = body;
}

} // namespace velmora::ui
