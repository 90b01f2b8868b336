// Containers.
//
//   Panel and its headed variants   layout modes, glass face, body drag
//   Accordion, Tabs, SplitPane      folding, page switching, shared extent
//   ScrollPane                      offset, thumb, wheel, reveal
//   StatusBar, Breadcrumb, DragBar
#include "velmora/widgets/containers.hpp"

#include "velmora/core/canvas.hpp"
#include "velmora/platform/input.hpp"
#include "velmora/scene/scene.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace velmora::ui {

namespace {

float finite_or_zero(float v) { return std::isfinite(v) ? v : 0.0f; }

} // namespace

// ---- Panel ---------------------------------------------------------------------------------------

Panel::Panel(std::string label) : Widget(std::move(label)) {
    bounds = {0, 0, 320, 220};
    clips_children = true;
}

void Panel::layout(Scene&) {
    if (layout_mode == layout_free) return;
    float x = padding;
    float y = content_top();
    float available = std::max(bounds.w - 2 * padding, 0.0f);
    int c = columns < 2 ? 1 : columns;
    float cell = std::max((available - static_cast<float>(c - 1) * gap) / static_cast<float>(c), 0.0f);
    float row_height = 0;
    int n = 0;
    for (auto& child : children) {
        if (!child->visible) continue;
        Rect& b = child->bounds;
        switch (layout_mode) {
        case layout_row:
            b.x = x;
            b.y = y;
            x += b.w + gap;
            break;
        case layout_column:
            b.x = padding;
            b.y = y;
            b.w = available;
            y += b.h + gap;
            break;
        case layout_grid:
            b.x = (gap + cell) * static_cast<float>(n % c) + padding;
            b.y = y;
            b.w = cell;
            row_height = std::max(row_height, b.h);
            if (n % c == c - 1) {
                y += row_height + gap;
                row_height = 0;
            }
            ++n;
            break;
        default:
            return; // an unknown mode leaves the children where they are
        }
    }
}

void Panel::paint(PaintContext& context) {
    if (glass) context.canvas.glass(screen_bounds, context.theme, context.theme.panel_radius);
}

void Panel::event(Event& e) {
    if (!draggable) return;
    if (e.type == pointer_down) {
        body_press = e.position;
        body_start = {bounds.x, bounds.y};
        body_dragging = true;
        e.handled = true;
    } else if (e.type == pointer_move && body_dragging) {
        bounds.x = body_start.x + e.position.x - body_press.x;
        bounds.y = body_start.y + e.position.y - body_press.y;
        e.handled = true;
    } else if (e.type == pointer_up) {
        body_dragging = false; // left unhandled on purpose: an outer handler may still want the release
    }
}

GroupBox::GroupBox(std::string title) : Panel(std::move(title)) {}

void GroupBox::paint(PaintContext& context) {
    Panel::paint(context);
    context.canvas.text(text, {screen_bounds.x + padding, screen_bounds.y + padding}, 15, context.theme.text,
                        600);
}

Card::Card(std::string title, std::string subtitle_text)
    : Panel(std::move(title)), subtitle(std::move(subtitle_text)) {}

void Card::paint(PaintContext& context) {
    Panel::paint(context);
    Vec2 at{screen_bounds.x + padding, screen_bounds.y + padding};
    context.canvas.text(text, at, 17, context.theme.text, 600);
    if (!subtitle.empty()) context.canvas.text(subtitle, {at.x, at.y + 28}, 12, context.theme.muted, 400);
}

MenuBar::MenuBar(std::string label) : Panel(std::move(label)) {
    layout_mode = layout_row;
    padding = 5;
    gap = 8;
    bounds = {0, 0, 400, 46};
}

void MenuBar::event(Event& e) {
    if (e.type != key_down || (e.key != vk::left && e.key != vk::right) || !scene) return;
    std::vector<Widget*> menus;
    for (const auto& child : children)
        if (child->visible && child->enabled && child->focusable) menus.push_back(child.get());
    const auto at = std::find(menus.begin(), menus.end(), scene->focus().get());
    if (at == menus.end()) return;
    const auto n = static_cast<std::ptrdiff_t>(menus.size());
    const std::ptrdiff_t next = ((at - menus.begin()) + (e.key == vk::right ? 1 : n - 1)) % n;
    scene->focus(menus[static_cast<std::size_t>(next)]->shared_from_this());
    e.handled = true;
}

ToolBar::ToolBar(std::string label) : Panel(std::move(label)) {
    layout_mode = layout_row;
    padding = 5;
    gap = 6;
    bounds = {0, 0, 400, 46};
}

// ---- Accordion ----------------------------------------------------------------------------------

Accordion::Accordion(std::string title) : Panel(std::move(title)) {
    focusable = true;
    bounds = {0, 0, 320, 180};
}

void Accordion::expanded(bool on) {
    if (on == expanded_) return;
    expanded_ = on;
    if (on) {
        bounds.h = saved_height;
    } else {
        saved_height = bounds.h;
        bounds.h = 40;
    }
    changed();
}

void Accordion::paint(PaintContext& context) {
    Panel::paint(context);
    heading_ = expanded_ ? "\u2212  " : "+  ";
    heading_ += text;
    context.canvas.text(heading_, {screen_bounds.x + 14, screen_bounds.y + 12}, 14, context.theme.text, 600);
}

void Accordion::event(Event& e) {
    bool on_heading =
        e.type == pointer_up && screen_bounds.contains(e.position) && e.position.y < screen_bounds.y + 40;
    bool by_key = e.type == key_down && (e.key == vk::space || e.key == vk::enter);
    if (!on_heading && !by_key) return;
    e.handled = true;
    expanded(!expanded_);
}

// ---- Tabs ---------------------------------------------------------------------------------------------

Tabs::Tabs(std::string label) : Panel(std::move(label)) {
    padding = 0;
    glass = false;
    focusable = true;
}

void Tabs::show_selected() {
    for (std::size_t i = 0; i < children.size(); ++i) children[i]->visible = static_cast<int>(i) == selected_;
}

void Tabs::select(int index) {
    if (children.empty()) {
        selected_ = 0;
        return;
    }
    int clamped = std::clamp(index, 0, static_cast<int>(children.size()) - 1);
    bool moved = clamped != selected_;
    selected_ = clamped;
    show_selected();
    if (moved) changed();
}

void Tabs::layout(Scene&) {
    int last = std::max(static_cast<int>(children.size()) - 1, 0);
    int clamped = std::clamp(selected_, 0, last);
    bool moved = clamped != selected_;
    selected_ = clamped;
    show_selected();
    for (auto& child : children) child->bounds = {0, 48, bounds.w, std::max(bounds.h - 48, 0.0f)};
    if (moved) changed();
}

void Tabs::paint(PaintContext& context) {
    const Rect& s = screen_bounds;
    context.canvas.glass({s.x, s.y, s.w, 40}, context.theme, context.theme.radius);
    if (children.empty()) return;
    float tab = s.w / static_cast<float>(children.size());
    for (std::size_t i = 0; i < children.size(); ++i) {
        float x = s.x + static_cast<float>(i) * tab;
        bool on = static_cast<int>(i) == selected_;
        if (on)
            context.canvas.fill({x + 4, s.y + 4, std::max(tab - 8, 0.0f), 32}, context.theme.selection,
                                context.theme.radius);
        centered(context, children[i]->text, {x, s.y, tab, 40},
                 on ? context.theme.accent_text : context.theme.text, 13, 400);
    }
}

void Tabs::event(Event& e) {
    if (children.empty()) return;
    if (e.type == pointer_up && screen_bounds.contains(e.position) && e.position.y < screen_bounds.y + 40) {
        float tab = screen_bounds.w / static_cast<float>(children.size());
        select(static_cast<int>((e.position.x - screen_bounds.x) / tab));
        e.handled = true;
    } else if (e.type == key_down && (e.key == vk::left || e.key == vk::right)) {
        select(selected_ + (e.key == vk::left ? -1 : 1));
        e.handled = true;
    }
}

// ---- SplitPane -----------------------------------------------------------------------------------------

SplitPane::SplitPane(std::string label) : Panel(std::move(label)) {
    padding = 0;
    glass = false;
    bounds = {0, 0, 400, 200};
}

void SplitPane::ratio(float r) {
    r = std::clamp(finite_or_zero(r), 0.0f, 1.0f);
    if (r == ratio_) return;
    ratio_ = r;
    changed();
}

void SplitPane::layout(Scene&) {
    if (children.size() < 2) return;
    float first = std::max(ratio_ * extent() - 4, 0.0f);
    float second = std::max(extent() - first - 8, 0.0f);
    if (vertical) {
        children[0]->bounds = {0, 0, bounds.w, first};
        children[1]->bounds = {0, first + 8, bounds.w, second};
    } else {
        children[0]->bounds = {0, 0, first, bounds.h};
        children[1]->bounds = {first + 8, 0, second, bounds.h};
    }
}

void SplitPane::paint_overlay(PaintContext& context) {
    float at = ratio_ * extent() - 4;
    const Rect& s = screen_bounds;
    Rect divider = vertical ? Rect{s.x, s.y + at, s.w, 8} : Rect{s.x + at, s.y, 8, s.h};
    context.canvas.fill(divider, hovered || dragging ? context.theme.selection : context.theme.border, 4);
}

float SplitPane::along(Vec2 p) const { return vertical ? p.y - screen_bounds.y : p.x - screen_bounds.x; }

bool SplitPane::on_divider(Vec2 p) const { return std::abs(along(p) - ratio_ * extent()) < 6; }

std::shared_ptr<Widget> SplitPane::hit(Vec2 point) {
    if (!visible || !enabled || !clip.contains(point)) return nullptr;
    if (on_divider(point)) return shared_from_this();
    return Widget::hit(point);
}

void SplitPane::event(Event& e) {
    // A press that bubbles up from a child must not pick up the divider.
    if (e.type == pointer_down && on_divider(e.position)) {
        dragging = true;
        e.handled = true;
    } else if (e.type == pointer_up && dragging) {
        dragging = false;
        e.handled = true;
    } else if (e.type == pointer_move && dragging) {
        e.handled = true;
        if (extent() > 0) ratio(along(e.position) / extent());
    }
}

// ---- ScrollPane --------------------------------------------------------------------------------------

ScrollPane::ScrollPane(std::string label) : Panel(std::move(label)) {
    padding = 10;
    bounds = {0, 0, 300, 180};
}

float ScrollPane::max_scroll() const { return std::max(content_height - bounds.h, 0.0f); }

void ScrollPane::scroll(float y) {
    y = std::clamp(finite_or_zero(y), 0.0f, max_scroll());
    if (y == offset) return;
    offset = y;
    changed();
}

void ScrollPane::layout(Scene& owner) {
    Panel::layout(owner);
    content_height = 0;
    for (auto& child : children)
        if (child->visible)
            content_height = std::max(content_height, child->bounds.y + child->bounds.h + padding);
    scroll(offset);
}

void ScrollPane::reveal(const Widget& w) {
    if (&w == this || !w.descendant_of(this)) return;
    // Content coordinates: each ancestor below the pane adds its position and its own shift.
    float top = w.bounds.y;
    for (const Widget* at = w.parent; at != this; at = at->parent)
        top += at->bounds.y + at->content_offset().y;
    float bottom = top + w.bounds.h;
    if (top < offset) {
        scroll(top);
    } else if (bottom > offset + bounds.h) {
        scroll(bottom - bounds.h);
    }
}

Rect ScrollPane::children_clip() const {
    const Rect& s = screen_bounds;
    float k = scrollable() ? 13.0f : 2.0f;
    return {s.x + 1, s.y + 1, std::max(s.w - k, 0.0f), std::max(s.h - 2, 0.0f)};
}

Rect ScrollPane::thumb() const {
    const Rect& s = screen_bounds;
    float track = std::max(s.h - 8, 0.0f);
    float size = std::min(std::max(track * bounds.h / std::max(content_height, bounds.h), 24.0f), track);
    float t = scrollable() ? (track - size) * offset / (content_height - bounds.h) : 0.0f;
    return {s.x + s.w - 10, s.y + 4 + t, 6, size};
}

void ScrollPane::paint_overlay(PaintContext& context) {
    if (!scrollable()) return;
    context.canvas.fill(thumb(), thumb_dragging ? context.theme.selection : context.theme.border, 3);
}

std::shared_ptr<Widget> ScrollPane::hit(Vec2 point) {
    if (!visible || !enabled || !clip.contains(point)) return nullptr;
    if (scrollable() && in_strip(point)) return shared_from_this();
    return Widget::hit(point);
}

void ScrollPane::drag_thumb(float y) {
    Rect t = thumb();
    float free = std::max(screen_bounds.h - 8, 0.0f) - t.h;
    if (free > 0) scroll((y - screen_bounds.y - 4 - grab_offset) / free * max_scroll());
}

void ScrollPane::event(Event& e) {
    switch (e.type) {
    case wheel_turned:
        if (max_scroll() <= 0) return; // unhandled, so an outer pane can take it
        scroll(offset - 38 * e.wheel);
        e.handled = true;
        break;
    case pointer_down: {
        if (!scrollable() || !in_strip(e.position)) return;
        Rect t = thumb();
        bool on_thumb = e.position.y >= t.y && e.position.y < t.y + t.h;
        // A press on the track centres the thumb under the pointer.
        grab_offset = on_thumb ? e.position.y - t.y : t.h * 0.5f;
        thumb_dragging = true;
        drag_thumb(e.position.y);
        e.handled = true;
        break;
    }
    case pointer_move:
        if (!thumb_dragging) return;
        drag_thumb(e.position.y);
        e.handled = true;
        break;
    case pointer_up:
        if (!thumb_dragging) return;
        thumb_dragging = false;
        e.handled = true;
        break;
    default:
        break;
    }
}

// ---- StatusBar, Breadcrumb, DragBar -----------------------------------------------------------------------

StatusBar::StatusBar(std::string left, std::string right)
    : Widget(std::move(left)), right_text(std::move(right)) {
    bounds = {0, 0, 400, 32};
    hit_through = true;
}

void StatusBar::paint(PaintContext& context) {
    const Rect& s = screen_bounds;
    Canvas& canvas = context.canvas;
    canvas.fill(s, context.theme.control, 5);
    canvas.text(text, {s.x + 10, s.y + 9}, 12, context.theme.muted, 400);
    float width = canvas.text_width(right_text, 12, 400);
    canvas.text(right_text, {s.x + std::max(s.w - width - 10, 10.0f), s.y + 9}, 12, context.theme.muted, 400);
}

Breadcrumb::Breadcrumb(std::vector<std::string> path) : items(std::move(path)) {
    focusable = true;
    bounds.w = 400;
}

void Breadcrumb::paint(PaintContext& context) {
    Canvas& canvas = context.canvas;
    starts.clear();
    float x = screen_bounds.x;
    float y = screen_bounds.y + 11;
    for (std::size_t i = 0; i < items.size(); ++i) {
        starts.push_back(x);
        bool last = i + 1 == items.size();
        canvas.text(items[i], {x, y}, 14, last ? context.theme.text : context.theme.muted, 400);
        x += canvas.text_width(items[i], 14, 400) + 18;
        if (!last) {
            canvas.text("/", {x - 10, y}, 14, context.theme.muted, 400);
            x += 12;
        }
    }
    starts.push_back(x);
}

void Breadcrumb::choose(int index) {
    auto select = on_select; // the callback may replace itself or destroy this control
    if (select) select(index);
}

void Breadcrumb::event(Event& e) {
    int n = static_cast<int>(items.size());
    if (e.type == pointer_up && screen_bounds.contains(e.position)) {
        // starts may be stale after items changed; only the ranges both of them cover count.
        int covered = std::min(n, static_cast<int>(starts.size()) - 1);
        for (int i = 0; i < covered; ++i) {
            if (e.position.x >= starts[static_cast<std::size_t>(i)] &&
                e.position.x < starts[static_cast<std::size_t>(i) + 1]) {
                active = i;
                e.handled = true;
                choose(i);
                changed();
                return;
            }
        }
    } else if (e.type == key_down && n > 0) {
        if (e.key == vk::enter) {
            e.handled = true;
            choose(active);
        } else if (e.key == vk::left || e.key == vk::right) {
            active = std::clamp(active + (e.key == vk::left ? -1 : 1), 0, n - 1);
            e.handled = true;
        }
    }
}

DragBar::DragBar(std::string label) : Widget(std::move(label)) { bounds = {0, 0, 220, 36}; }

void DragBar::paint(PaintContext& context) {
    surface(context, dragging, -1);
    const Rect& s = screen_bounds;
    unsigned colour = enabled ? context.theme.text : context.theme.muted;
    context.canvas.text("\u283F  " + text, {s.x + 12, s.y + (s.h - 14) * 0.5f}, 14, colour, 400);
}

void DragBar::event(Event& e) {
    if (!parent) return;
    if (e.type == pointer_down) {
        drag_origin = e.position;
        drag_start = {parent->bounds.x, parent->bounds.y};
        dragging = true;
        e.handled = true;
    } else if (e.type == pointer_move && dragging) {
        parent->bounds.x = drag_start.x + e.position.x - drag_origin.x;
        parent->bounds.y = drag_start.y + e.position.y - drag_origin.y;
        e.handled = true;
    } else if (e.type == pointer_up && dragging) {
        dragging = false;
        e.handled = true;
    }
}

// ---- assistive technology ---------------------------------------------------------------------

void Accordion::describe(AccessibleNode& node) const {
    Panel::describe(node);
    node.states |= accessible_state::expandable | (expanded_ ? accessible_state::expanded : 0);
}

bool Accordion::accessible_action(std::uint32_t action, std::int32_t item) {
    if (item != -1 || action != accessible_action::expand || !enabled) return false;
    expanded(!expanded_);
    return true;
}

void TabPage::describe(AccessibleNode& node) const {
    Panel::describe(node);
    // Only the chosen page of a strip is shown.
    node.states |= accessible_state::selectable | accessible_state::selected;
}

} // namespace velmora::ui
