// Scene: dispatch, focus, overlays, notices and the frame.
//
//   - lifetime
//   - dispatch and focus
//   - lookup and layout
//   - overlays and notices
//   - frame: pointer, keys, paint
#include "velmora/scene/scene.hpp"

#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/dialogs.hpp"
#include "velmora/widgets/menus.hpp"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace velmora::ui {

namespace {

constexpr double double_click_seconds = 0.4;
constexpr float double_click_distance = 5;
constexpr double tooltip_delay = 0.6;
constexpr unsigned modal_dim = 0x68000000;
constexpr int key_palette = 'K';

void detach_subtree(Widget& w) {
    w.scene = nullptr;
    w.hovered = false;
    w.pressed = false;
    for (auto& child : w.children) detach_subtree(*child);
}

std::shared_ptr<Widget> find_in(const std::shared_ptr<Widget>& w, const std::string& id) {
    if (w->id == id) return w;
    for (auto& child : w->children)
        if (auto found = find_in(child, id)) return found;
    return nullptr;
}

// The code of the first navigation flag set, for frames where the platform reported no key.
// The key table lists the flags in the order that decides between several.
int flag_code(const Input& in) {
    for (const KeyFlag& k : key_flags)
        if (in.*k.flag) return static_cast<int>(k.code);
    return 0;
}

std::uint64_t next_rendered_epoch() {
    static std::atomic<std::uint64_t> last{0}; // 0 is what a widget that never drew holds
    return ++last;
}

} // namespace

// ---- lifetime -------------------------------------------------------------------------------

Scene::Scene() : root_(std::make_shared<Panel>("")), rendered_epoch_(next_rendered_epoch()) {
    root_->glass = false;
    root_->padding = 0;
    root_->scene = this;
    input_.mouse = {-1, -1};
}

Scene::~Scene() {
    detach_subtree(*root_);
    for (auto& overlay : overlays_) detach_subtree(*overlay.widget);
    for (auto& notice : notices_) detach_subtree(*notice.notification);
}

void Scene::forget_rendered() {
    rendered_kinds_.clear();
    rendered_names_.clear();
    rendered_epoch_ = next_rendered_epoch();
}

// ---- dispatch and focus -----------------------------------------------------------------------

bool Scene::dispatch(std::shared_ptr<Widget> target, Event event, bool bubble) {
    // Handlers may remove any of these widgets, themselves included; keep them alive.
    Held<std::shared_ptr<Widget>> alive(held_widgets_);
    for (Widget* at = target.get(); at; at = at->parent) alive.push(at->shared_from_this());
    if (!target) return event.handled;
    if (!bubble) {
        event.input = input_;
        target->event(event);
        return event.handled;
    }
    for (Widget* at = target.get(); at; at = at->parent) {
        event.input = input_;
        at->event(event);
        if (event.handled) break;
    }
    return event.handled;
}

void Scene::focus(std::shared_ptr<Widget> widget) {
    if (widget && !(widget->enabled && widget->visible && widget->focusable)) return;
    if (widget == focus_) return;
    auto old = std::exchange(focus_, widget);
    if (old) {
        Event lost;
        lost.type = focus_lost_event;
        dispatch(old, lost, false);
    }
    if (!widget) return;
    Event gained;
    gained.type = focus_gained;
    dispatch(widget, gained, false);
    for (Widget* at = widget->parent; at; at = at->parent)
        if (auto* pane = dynamic_cast<ScrollPane*>(at)) pane->reveal(*widget);
}

void Scene::collect_focus(const std::shared_ptr<Widget>& widget,
                          std::vector<std::shared_ptr<Widget>>& out) const {
    if (!widget->visible || !widget->enabled) return;
    if (widget->focusable) out.push_back(widget);
    if (!widget->children_active()) return;
    for (auto& child : widget->children) collect_focus(child, out);
}

std::vector<std::shared_ptr<Widget>> Scene::focus_order() const {
    std::size_t first = 0; // the barrier, or the bottom overlay when there is none
    bool barrier = false;
    for (std::size_t i = overlays_.size(); i-- > 0;) {
        const Overlay& o = overlays_[i];
        if (o.modal || (o.popup && !o.keep_focus)) {
            first = i;
            barrier = true;
            break;
        }
    }
    std::vector<std::shared_ptr<Widget>> order;
    if (!barrier) collect_focus(root_, order);
    for (std::size_t i = first; i < overlays_.size(); ++i) collect_focus(overlays_[i].widget, order);
    return order;
}

bool Scene::in_focus_order(const Widget& widget) const {
    if (!widget.focusable) return false;
    const Widget* top = &widget;
    for (const Widget* at = &widget; at; at = at->parent) {
        if (!at->visible || !at->enabled || (at != &widget && !at->children_active())) return false;
        top = at;
    }
    for (std::size_t i = overlays_.size(); i-- > 0;) {
        const Overlay& o = overlays_[i];
        if (o.widget.get() == top) return true;
        if (o.modal || (o.popup && !o.keep_focus)) return false; // a barrier hides what lies below
    }
    return top == root_.get();
}

std::shared_ptr<Widget> Scene::pointer_target(Vec2 point) const {
    for (auto it = overlays_.rbegin(); it != overlays_.rend(); ++it) {
        if (auto found = it->widget->hit(point)) return found;
        if (it->modal || it->popup) return nullptr;
    }
    return root_->hit(point);
}

bool Scene::wants_text_input() const { return focus_ && focus_->text_input(); }

Rect Scene::text_input_rect() const { return wants_text_input() ? focus_->caret_rect() : Rect{}; }

// ---- lookup and layout --------------------------------------------------------------------------

std::shared_ptr<Widget> Scene::find(const std::string& id) const {
    if (auto found = find_in(root_, id)) return found;
    for (auto& overlay : overlays_)
        if (auto found = find_in(overlay.widget, id)) return found;
    return nullptr;
}

void Scene::layout(float width, float height) {
    width = std::max(width, 1.0f);
    height = std::max(height, 1.0f);
    size_ = {width, height};
    root_->bounds = {0, 0, width, height};
    const Rect all{0, 0, width, height};
    root_->place(*this, {}, all);
    const Held<Overlay> overlays(held_overlays_, overlays_);
    for (std::size_t i = 0; i < overlays.size(); ++i) overlays[i].widget->place(*this, {}, all);
    const Held<Notice> notices(held_notices_, notices_);
    for (std::size_t i = 0; i < notices.size(); ++i) notices[i].notification->place(*this, {}, all);
}

void Scene::tick_tree(const std::shared_ptr<Widget>& widget) {
    if (widget->visible) widget->tick(*this);
    const Held<std::shared_ptr<Widget>> children(held_widgets_, widget->children);
    for (std::size_t i = 0; i < children.size(); ++i)
        if (widget->children_active()) tick_tree(std::shared_ptr<Widget>(children[i]));
}

// ---- overlays and notices -------------------------------------------------------------------------

void Scene::show(std::shared_ptr<Widget> widget, bool modal, bool popup, Vec2 position, bool keep_focus) {
    if (!widget || widget->parent) throw std::invalid_argument("Overlay must be unattached");
    close(widget.get());
    if (popup && !overlays_.empty() && overlays_.back().popup) close_top();
    Rect& b = widget->bounds;
    float x = position.x >= 0 ? position.x : (size_.x - b.w) * 0.5f;
    float y = position.y >= 0 ? position.y : (size_.y - b.h) * 0.5f;
    x = std::clamp(x, 0.0f, std::max(0.0f, size_.x - b.w));
    y = std::clamp(y, 0.0f, std::max(0.0f, size_.y - b.h));
    b.x = std::isnan(x) ? 0 : x;
    b.y = std::isnan(y) ? 0 : y;
    widget->visible = true;
    overlays_.push_back({widget, focus_, modal, popup, keep_focus});
    widget->place(*this, {}, {0, 0, size_.x, size_.y});
    pressed_.reset();
    if (keep_focus) return;
    std::vector<std::shared_ptr<Widget>> order;
    collect_focus(widget, order);
    focus(order.empty() ? nullptr : order.front());
}

Vec2 Scene::popup_position(Rect anchor, Vec2 popup) const {
    constexpr float gap = 4;
    const float below = anchor.y + anchor.h + gap;
    const float above = anchor.y - gap - popup.y;
    const float room_below = size_.y - below;
    const float room_above = anchor.y - gap;
    const bool up = room_below < popup.y && (room_above >= popup.y || room_above > room_below);
    return {anchor.x, up ? std::max(above, 0.0f) : below};
}

void Scene::close(const Widget* widget) {
    auto at = std::find_if(overlays_.begin(), overlays_.end(),
                           [widget](const Overlay& o) { return o.widget.get() == widget; });
    if (at == overlays_.end()) return;
    auto closed = at->widget;
    auto previous = at->previous_focus;
    const bool focus_inside = focus_ && focus_->descendant_of(closed.get());
    overlays_.erase(at);
    if (focus_inside) focus(previous);
    pressed_.reset();
    unhover(*closed);
    detach_subtree(*closed);
}

void Scene::unhover(const Widget& leaving) {
    if (!hovered_ || !hovered_->descendant_of(&leaving)) return;
    hovered_->hovered = false;
    hovered_.reset();
}

void Scene::close_top() {
    if (!overlays_.empty()) close(overlays_.back().widget.get());
}

void Scene::notify(std::shared_ptr<Notification> notification, double seconds) {
    if (!notification) return;
    const float w = size_.x;
    // Width and x use different minimums on purpose: a narrow scene pushes x to -16.
    notification->bounds = {w - std::min(360.0f, w) - 16, static_cast<float>(notices_.size()) * 94 + 16,
                            std::min(360.0f, w - 32), 84};
    notices_.push_back({std::move(notification), std::max(seconds, 0.1) + time_});
}

void Scene::redraw_at(double time) {
    if (time < redraw_due_) redraw_due_ = time;
}

// ---- frame ------------------------------------------------------------------------------------------

void Scene::frame(Canvas& canvas, const Input& input, double now) {
    struct Release {
        Canvas*& slot;
        ~Release() { slot = nullptr; }
    } release{canvas_};
    canvas_ = &canvas;
    input_ = input;
    time_ = now;
    redraw_due_ = std::numeric_limits<double>::infinity();

    std::erase_if(notices_, [now](const Notice& n) { return n.expires <= now; });
    tick_tree(root_);
    {
        const Held<Overlay> overlays(held_overlays_, overlays_);
        for (std::size_t i = 0; i < overlays.size(); ++i)
            tick_tree(std::shared_ptr<Widget>(overlays[i].widget));
    }
    layout(canvas.width(), canvas.height());

    // Hidden, disabled or removed widgets lose the focus here and no sooner.
    if (focus_ && !in_focus_order(*focus_)) focus(nullptr);

    auto target = pointer_target(input_.mouse);
    if (target != hovered_) {
        if (hovered_) hovered_->hovered = false;
        hovered_ = target;
        hover_start_ = now;
        if (hovered_) hovered_->hovered = true;
    }

    pointer_events(target, now);
    key_events();
    if (!input_.text.empty() || !input_.paste.empty()) {
        Event typed;
        typed.type = text_entered;
        typed.text = input_.text + input_.paste;
        dispatch(focus_, typed, false);
    }

    layout(canvas.width(), canvas.height());
    paint(canvas, now);
}

void Scene::pointer_events(std::shared_ptr<Widget> target, double now) {
    const Vec2 p = input_.mouse;
    if (input_.focus_lost) {
        // Losing the keyboard ends any press; the release that may follow does nothing.
        if (pressed_) pressed_->pressed = false;
        pressed_.reset();
        focus(nullptr);
        ignore_release_ = true;
    }

    if (input_.mouse_pressed) {
        ignore_release_ = false;
        if (!overlays_.empty() && overlays_.back().popup &&
            !overlays_.back().widget->screen_bounds.contains(p)) {
            // The press that dismisses a popup reaches nothing beneath it.
            close_top();
            ignore_release_ = true;
            target.reset();
        } else if (target) {
            pressed_ = target;
            target->pressed = true;
            if (target->focusable)
                focus(target);
            else if (overlays_.empty())
                focus(nullptr);
            int clicks = 1;
            if (target.get() == last_press_target_ && now - last_press_time_ < double_click_seconds)
                clicks = std::hypot(p.x - last_press_position_.x, p.y - last_press_position_.y) <
                                 double_click_distance
                             ? 2
                             : 1;
            last_press_time_ = now;
            last_press_position_ = p;
            last_press_target_ = target.get();
            Event down;
            down.type = pointer_down;
            down.position = p;
            down.clicks = clicks;
            dispatch(target, down, true);
        }
    }

    Event move;
    move.type = pointer_move;
    move.position = p;
    if (pressed_ && input_.mouse_down)
        dispatch(pressed_, move, true);
    else if (target && !input_.mouse_pressed && !input_.mouse_released)
        dispatch(target, move, false);

    if (input_.mouse_released) {
        auto was = std::move(pressed_);
        pressed_.reset();
        if (was) {
            was->pressed = false;
            if (!ignore_release_) {
                Event up;
                up.type = pointer_up;
                up.position = p;
                dispatch(was, up, true);
            }
        }
        ignore_release_ = false;
    }

    if (input_.right_released && target) {
        for (Widget* at = target.get(); at; at = at->parent)
            if (at->context_menu) {
                auto menu = at->context_menu; // opening may replace the field's owner
                menu->open(*this, p, false);
                break;
            }
    }

    if (input_.wheel != 0 && target) {
        Event turn;
        turn.type = wheel_turned;
        turn.position = p;
        turn.wheel = input_.wheel;
        dispatch(target, turn, true);
    }
}

void Scene::key_events() {
    int code = 0;
    bool traverse = input_.tab;
    if (input_.key != 0) {
        code = static_cast<int>(input_.key);
        if (code == key_palette && input_.ctrl && palette_) {
            palette_->open(*this);
            code = 0; // only Tab and the edit commands still act in this frame
        }
    } else {
        code = flag_code(input_);
    }
    if (code == vk::tab) traverse = true;

    if (traverse) {
        auto order = focus_order();
        if (!order.empty()) {
            const auto n = static_cast<std::ptrdiff_t>(order.size());
            const auto found = std::find(order.begin(), order.end(), focus_);
            std::ptrdiff_t i = found - order.begin();
            if (found == order.end()) i = input_.shift ? 0 : -1;
            const std::ptrdiff_t next = input_.shift ? (i + n - 1) % n : (i + n + 1) % n;
            focus(order[static_cast<std::size_t>(next)]);
        }
        code = 0;
    }
    if (code == 0 && !(input_.copy || input_.cut || input_.undo || input_.redo || input_.select_all)) return;

    Event key;
    key.type = key_down;
    key.key = code;
    const bool handled = dispatch(focus_, key, true);
    if (code == vk::escape && !handled) close_top();
    // F10 takes the keyboard to the menu bar's first menu, as on every desktop.
    if (code == static_cast<int>(vk::f1) + 9 && !handled)
        for (const auto& w : focus_order())
            if (w->parent && w->parent->kind() == ControlKind::MenuBar) {
                focus(w);
                break;
            }
}

void Scene::paint(Canvas& canvas, double now) {
    PaintContext context{canvas, *this, theme, now};
    root_->draw(context);
    {
        const Held<Overlay> overlays(held_overlays_, overlays_);
        for (std::size_t i = 0; i < overlays.size(); ++i) {
            if (overlays[i].modal) canvas.fill({0, 0, size_.x, size_.y}, modal_dim, 0);
            canvas.backdrop();
            overlays[i].widget->draw(context);
        }
    }
    const Held<Notice> notices(held_notices_, notices_);
    for (std::size_t i = 0; i < notices.size(); ++i) {
        notices[i].notification->draw(context);
        redraw_at(notices[i].expires);
    }

    const bool tooltip_due = hovered_ && !hovered_->tooltip.empty() && overlays_.empty();
    if (tooltip_due && now - hover_start_ <= tooltip_delay) redraw_at(hover_start_ + tooltip_delay);
    if (tooltip_due && now - hover_start_ > tooltip_delay) {
        const Vec2 p = input_.mouse;
        if (!tooltip_) tooltip_ = std::make_shared<Tooltip>();
        Tooltip* tip = tooltip_.get();
        tip->text = hovered_->tooltip;
        tip->bounds = {std::clamp(p.x + 14, 0.0f, std::max(0.0f, size_.x - 260)),
                       std::clamp(p.y + 22, 0.0f, std::max(0.0f, size_.y - 38)), 260, 34};
        tip->place(*this, {}, {0, 0, size_.x, size_.y});
        canvas.backdrop();
        tip->draw(context);
    }
}

} // namespace velmora::ui
