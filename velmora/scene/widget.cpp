// Widget: tree edits, placing, hit testing, drawing and the shared control face.
#include "velmora/scene/widget.hpp"

#include "velmora/scene/scene.hpp"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <stdexcept>

namespace velmora::ui {

namespace {

// Detached widgets must not keep pointing at a scene that may die before them.
void detach_subtree(Widget& w) {
    w.scene = nullptr;
    w.hovered = false;
    w.pressed = false;
    for (auto& child : w.children) detach_subtree(*child);
}

bool positive(Rect r) { return r.w > 0 && r.h > 0; }

std::atomic<std::uint64_t> next_serial{1};

} // namespace

Widget::Widget(std::string label)
    : text(std::move(label)), serial_(next_serial.fetch_add(1, std::memory_order_relaxed)) {}

Widget::~Widget() {
    for (auto& child : children) child->parent = nullptr;
}

// ---- tree edits ---------------------------------------------------------------------------

void Widget::add(std::shared_ptr<Widget> child) {
    if (!child || descendant_of(child.get())) throw std::invalid_argument("Widget cycle");
    if (child->parent == this) return;
    if (child->parent) throw std::invalid_argument("Detach widget before reparenting");
    child->parent = this;
    children.push_back(std::move(child));
}

void Widget::remove(const std::shared_ptr<Widget>& child) {
    auto at = std::find(children.begin(), children.end(), child);
    if (at == children.end()) return;
    auto kept = *at; // the caller's reference may be the element being erased
    kept->parent = nullptr;
    children.erase(at);
    if (scene) {
        if (scene->focus_ && scene->focus_->descendant_of(kept.get())) scene->focus(nullptr);
        if (scene->pressed_ && scene->pressed_->descendant_of(kept.get())) scene->pressed_.reset();
        scene->unhover(*kept);
    }
    detach_subtree(*kept);
}

void Widget::clear() {
    auto copy = children;
    for (auto& child : copy) remove(child);
}

bool Widget::focused() const { return scene && scene->focus().get() == this; }

void Widget::activate() {
    if (!enabled || !on_activate) return;
    auto callback = on_activate; // the handler may replace itself or destroy this widget
    callback(*this);
}

void Widget::changed() {
    if (!on_change) return;
    auto callback = on_change;
    callback(*this);
}

bool Widget::descendant_of(const Widget* w) const {
    if (!w) return false;
    for (const Widget* at = this; at; at = at->parent)
        if (at == w) return true;
    return false;
}

// ---- assistive technology ---------------------------------------------------------------------

void Widget::describe(AccessibleNode& node) const {
    namespace st = accessible_state;
    const AccessibleDefaults defaults = accessible_defaults(kind());
    node.role = defaults.role;
    node.actions = defaults.actions;
    node.class_name = class_name();
    node.automation_id = id;
    const auto label = labelled_by.lock();
    node.labelled_by = label ? label->serial() : 0;
    node.name = !accessible_name.empty() ? accessible_name : label ? label->text : text;
    node.description = accessible_description.empty() ? tooltip : accessible_description;
    node.states =
        (enabled ? st::enabled : 0) | (focusable ? st::focusable : 0) | (focused() ? st::focused : 0);
}

bool Widget::accessible_action(std::uint32_t action, std::int32_t item) {
    namespace act = accessible_action;
    AccessibleNode offered;
    describe(offered);
    if (item != -1 || !(offered.actions & action) || !scene || !enabled) return false;
    Event e;
    e.type = key_down;
    e.input = scene->input();
    e.key = action & (act::press | act::toggle) ? vk::space : vk::enter;
    (action & (act::press | act::toggle) ? e.input.space : e.input.enter) = true;
    scene->dispatch(shared_from_this(), e, false);
    return true;
}

// ---- placing and hit testing ----------------------------------------------------------------

void Widget::place(Scene& owner, Vec2 origin, Rect outer) {
    scene = &owner;
    layout(owner);
    if (!std::isfinite(bounds.x) || !std::isfinite(bounds.y) || !std::isfinite(bounds.w) ||
        !std::isfinite(bounds.h) || bounds.w < 0 || bounds.h < 0)
        throw std::invalid_argument("Invalid widget bounds");
    screen_bounds = {bounds.x + origin.x, bounds.y + origin.y, bounds.w, bounds.h};
    clip = screen_bounds.intersect(outer);
    const Vec2 offset = content_offset();
    const Rect inner = clips_children ? clip.intersect(children_clip()) : outer;
    const Vec2 child_origin{screen_bounds.x + offset.x, screen_bounds.y + offset.y};
    const Scene::Held<std::shared_ptr<Widget>> copy(owner.held_widgets_,
                                                    children); // a layout may change the tree
    for (std::size_t i = 0; i < copy.size(); ++i)
        if (copy[i]->visible && children_active()) copy[i]->place(owner, child_origin, inner);
}

std::shared_ptr<Widget> Widget::hit(Vec2 point) {
    if (!visible || !enabled || !clip.contains(point)) return nullptr;
    if (children_active())
        for (auto it = children.rbegin(); it != children.rend(); ++it)
            if (auto found = (*it)->hit(point)) return found;
    return hit_through ? nullptr : shared_from_this();
}

// ---- drawing ----------------------------------------------------------------------------------

void Widget::draw(PaintContext& context) {
    if (!visible || !positive(clip)) return;
    Scene& owner = context.scene;
    if (rendered_epoch_ != owner.rendered_epoch_) {
        owner.rendered_kinds_.insert(kind());
        owner.rendered_names_.insert(class_name());
        rendered_epoch_ = owner.rendered_epoch_;
    }
    Canvas& canvas = context.canvas;
    const Rect saved = canvas.clip();
    canvas.clip(clip);
    paint(context);
    canvas.clip(saved);
    if (children_active()) {
        if (clips_children) canvas.push_clip(clip.intersect(children_clip()), clip_radius(context.theme));
        const Scene::Held<std::shared_ptr<Widget>> copy(owner.held_widgets_, children);
        for (std::size_t i = 0; i < copy.size(); ++i) copy[i]->draw(context);
        if (clips_children) canvas.pop_clip();
    }
    canvas.clip(clip);
    paint_overlay(context);
    canvas.clip(saved);
}

void Widget::surface(PaintContext& context, bool selected, float radius) const {
    const Theme& theme = context.theme;
    if (radius < 0) radius = theme.radius;
    context.canvas.glass(screen_bounds, theme, radius);
    if (selected || pressed)
        context.canvas.fill(screen_bounds, theme.selection, radius);
    else if (hovered)
        context.canvas.fill(screen_bounds, theme.hover, radius);
    if (focused()) context.canvas.stroke(screen_bounds, theme.accent, 1.5f, radius);
}

void Widget::chevron(PaintContext& context, Vec2 centre, unsigned colour) const {
    context.canvas.line({centre.x - 4.5f, centre.y - 2}, {centre.x, centre.y + 2.5f}, colour, 1.5f);
    context.canvas.line({centre.x, centre.y + 2.5f}, {centre.x + 4.5f, centre.y - 2}, colour, 1.5f);
}

void Widget::centered(PaintContext& context, const std::string& label, Rect r, unsigned colour, float size,
                      int weight) const {
    if (size <= 0) size = context.theme.font_size;
    const float width = context.canvas.text_width(label, size, weight);
    const float x = r.x + std::max(0.0f, (r.w - width) * 0.5f);
    const float y = r.y + (r.h - size) * 0.5f;
    context.canvas.text(label, {x, y}, size, colour, weight);
}

} // namespace velmora::ui
