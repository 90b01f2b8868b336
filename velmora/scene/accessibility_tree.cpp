// AccessibilityTree: the walk that describes the scene, the comparison with the last frame, and
// the requests that come back from assistive technology.
#include "velmora/scene/accessibility_tree.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/widgets/containers.hpp"

#include <cmath>
#include <string_view>
#include <utility>

namespace velmora::ui {

namespace {

// Empties a record for the next description, keeping the storage of its strings and lists.
void reset(AccessibleNode& n) {
    AccessibleNode blank;
    blank.name.swap(n.name);
    blank.description.swap(n.description);
    blank.automation_id.swap(n.automation_id);
    blank.text.swap(n.text);
    blank.children.swap(n.children);
    blank.name.clear();
    blank.description.clear();
    blank.automation_id.clear();
    blank.text.clear();
    blank.children.clear();
    n = std::move(blank);
}

Rect scaled(Rect r, float scale) { return {r.x * scale, r.y * scale, r.w * scale, r.h * scale}; }

bool continuation(std::string_view s, std::size_t at) {
    return at < s.size() && (static_cast<unsigned char>(s[at]) & 0xC0) == 0x80;
}

} // namespace

AccessibilityTree::AccessibilityTree(Scene& scene) : scene_(scene) {}

void AccessibilityTree::clear() {
    nodes_.clear();
    changes_.clear();
}

std::uint64_t AccessibilityTree::root() const { return scene_.root()->serial(); }

const AccessibleNode* AccessibilityTree::node(std::uint64_t id) const {
    const auto at = nodes_.find(id);
    return at == nodes_.end() ? nullptr : &at->second.node;
}

std::shared_ptr<Widget> AccessibilityTree::widget(std::uint64_t id) const {
    const auto at = nodes_.find(id);
    return at == nodes_.end() ? nullptr : at->second.widget.lock();
}

// ---- the walk -------------------------------------------------------------------------------------

const std::vector<AccessibleChange>& AccessibilityTree::update(const std::string& title,
                                                               float pixels_per_unit) {
    namespace st = accessible_state;
    changes_.clear();
    scale_ = pixels_per_unit;
    ++pass_;
    const auto before_focus = [this] {
        for (const auto& [id, entry] : nodes_)
            if (entry.node.states & st::focused) return id;
        return std::uint64_t{0};
    }();

    title_ = &title;
    Panel& window = *scene_.root();
    visit(window, 0, true, false);
    for (const Overlay& overlay : scene_.overlays()) {
        if (!overlay.widget->visible) continue;
        nodes_[window.serial()].node.children.push_back(overlay.widget->serial());
        visit(*overlay.widget, window.serial(), true, overlay.modal);
    }

    for (auto at = nodes_.begin(); at != nodes_.end();) {
        if (at->second.pass == pass_) {
            ++at;
            continue;
        }
        note(AccessibleChange::removed, at->first).parent = at->second.node.parent;
        at = nodes_.erase(at);
    }
    const std::shared_ptr<Widget>& focus = scene_.focus();
    const std::uint64_t after_focus = focus && nodes_.count(focus->serial()) ? focus->serial() : 0;
    if (after_focus && after_focus != before_focus) note(AccessibleChange::focus, after_focus);
    return changes_;
}

void AccessibilityTree::visit(Widget& widget, std::uint64_t parent, bool showing, bool modal) {
    namespace st = accessible_state;
    if (!widget.visible) return;
    const std::uint64_t id = widget.serial();
    showing = showing && widget.clip.w > 0 && widget.clip.h > 0;

    reset(scratch_);
    widget.describe(scratch_);
    scratch_.id = id;
    scratch_.parent = parent;
    scratch_.bounds = scaled(widget.screen_bounds, scale_);
    scratch_.states |= st::visible | (showing ? st::showing : 0) | (modal ? st::modal : 0);
    if (parent == 0) {
        // The root panel stands for the window: it carries the title, and is always the active
        // window, since a screen reader reads only that one.
        scratch_.role = AccessibleRole::window;
        scratch_.name = *title_;
        scratch_.states |= st::active;
    }
    if (widget.children_active())
        for (const auto& child : widget.children)
            if (child->visible) scratch_.children.push_back(child->serial());

    auto [at, fresh] = nodes_.try_emplace(id);
    Entry& entry = at->second;
    if (fresh) {
        entry.widget = widget.weak_from_this();
        note(AccessibleChange::added, id).parent = parent;
    } else {
        compare(entry.node, scratch_);
    }
    std::swap(entry.node, scratch_);
    entry.pass = pass_;

    if (widget.children_active())
        for (const auto& child : widget.children) visit(*child, id, showing, false);
}

void AccessibilityTree::compare(const AccessibleNode& before, const AccessibleNode& after) {
    namespace st = accessible_state;
    const std::uint64_t id = after.id;
    // Gaining the focus is told once, after the walk, with whatever else moved.
    const std::uint32_t flipped = (before.states ^ after.states) & ~(after.states & st::focused);
    if (flipped) note(AccessibleChange::states, id).detail = flipped;
    if (before.name != after.name || before.description != after.description)
        note(AccessibleChange::name, id);
    if (after.has_value && (before.value != after.value || before.maximum != after.maximum))
        note(AccessibleChange::value, id);
    if (before.text != after.text) {
        const std::string_view old_text = before.text, new_text = after.text;
        std::size_t head = 0;
        while (head < old_text.size() && head < new_text.size() && old_text[head] == new_text[head]) ++head;
        while (continuation(old_text, head) || continuation(new_text, head)) --head;
        std::size_t tail = 0;
        while (tail < old_text.size() - head && tail < new_text.size() - head &&
               old_text[old_text.size() - 1 - tail] == new_text[new_text.size() - 1 - tail])
            ++tail;
        while (tail > 0 && (continuation(old_text, old_text.size() - tail) ||
                            continuation(new_text, new_text.size() - tail)))
            --tail;
        const auto edit = [&](AccessibleChange::Kind kind, const std::string& from) {
            const std::size_t n = from.size() - head - tail;
            if (n == 0) return;
            AccessibleChange& c = note(kind, id);
            c.offset = head;
            c.length = n;
            c.text = from.substr(head, n);
        };
        edit(AccessibleChange::text_removed, before.text);
        edit(AccessibleChange::text_inserted, after.text);
    }
    if (after.has_text && (before.caret != after.caret || before.text != after.text))
        note(AccessibleChange::caret, id).offset = after.caret;
    if (before.selection_start != after.selection_start || before.selection_end != after.selection_end)
        note(AccessibleChange::text_selection, id);
    if (before.items != after.items) note(AccessibleChange::children, id);
    if (before.selected_item != after.selected_item) note(AccessibleChange::selection, id);
}

AccessibleChange& AccessibilityTree::note(AccessibleChange::Kind kind, std::uint64_t id) {
    AccessibleChange& c = changes_.emplace_back();
    c.kind = kind;
    c.id = id;
    return c;
}

// ---- requests -------------------------------------------------------------------------------------

bool AccessibilityTree::item(std::uint64_t id, std::int32_t index, AccessibleItem& out) const {
    const auto w = widget(id);
    if (!w || index < 0 || !w->describe_item(index, out)) return false;
    out.bounds = scaled(out.bounds, scale_);
    return true;
}

bool AccessibilityTree::act(std::uint64_t id, std::int32_t index, std::uint32_t action) {
    const auto w = widget(id);
    return w && w->scene == &scene_ && w->accessible_action(action, index);
}

bool AccessibilityTree::focus(std::uint64_t id) {
    const auto w = widget(id);
    if (!w || !w->focusable || !w->enabled || w->scene != &scene_) return false;
    scene_.focus(w);
    return true;
}

bool AccessibilityTree::value(std::uint64_t id, double v) {
    const AccessibleNode* n = node(id);
    const auto w = widget(id);
    if (!n || !w || !n->has_value || !std::isfinite(v) || v < n->minimum || v > n->maximum) return false;
    return w->accessible_value(v);
}

bool AccessibilityTree::text(std::uint64_t id, const std::string& text) {
    const AccessibleNode* n = node(id);
    const auto w = widget(id);
    if (!n || !w || !(n->states & accessible_state::editable)) return false;
    return w->accessible_text(text);
}

bool AccessibilityTree::caret(std::uint64_t id, std::size_t offset) {
    const AccessibleNode* n = node(id);
    const auto w = widget(id);
    if (!n || !w || !n->has_text || offset > n->text.size()) return false;
    return w->accessible_caret(offset);
}

} // namespace velmora::ui
