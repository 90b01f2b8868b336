// Menus: building rows, choosing, keyboard walking, painting, and the drop-down button.
#include "velmora/widgets/menus.hpp"

#include "velmora/scene/scene.hpp"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace velmora::ui {

namespace {

float height_of(const PopupMenu::Item& row) {
    return row.separator ? PopupMenu::separator_height : PopupMenu::row_height;
}

bool selectable(const PopupMenu::Item& row) { return row.enabled && !row.separator; }

// Space above the first row and below the last.
constexpr float inset = 6;

} // namespace

PopupMenu::PopupMenu() : Widget("") {
    focusable = true;
    bounds = {0, 0, 240, 44};
}

// ---- building ------------------------------------------------------------------------------------

void PopupMenu::append(Item row) {
    items.push_back(std::move(row));
    resize_menu();
}

void PopupMenu::item(std::string label, std::function<void()> action) {
    append({std::move(label), std::move(action), true, false, false, false, nullptr});
}

void PopupMenu::disabled(std::string label) {
    append({std::move(label), {}, false, false, false, false, nullptr});
}

void PopupMenu::checked(std::string label, bool value, std::function<void()> action) {
    append({std::move(label), std::move(action), true, value, true, false, nullptr});
}

void PopupMenu::separator() { append({"", {}, false, false, false, true, nullptr}); }

void PopupMenu::submenu(std::string label, std::shared_ptr<PopupMenu> menu) {
    if (!menu || menu.get() == this) throw std::invalid_argument("Invalid submenu");
    append({std::move(label), {}, true, false, false, false, std::move(menu)});
}

void PopupMenu::resize_menu() {
    if (items.empty()) {
        bounds.h = 2 * inset;
        return;
    }
    float sum = 0;
    for (const auto& row : items) sum += height_of(row);
    bounds.h = std::min(2 * inset + sum, max_height);
    if (active < 0) {
        auto first = std::find_if(items.begin(), items.end(), selectable);
        if (first != items.end()) active = static_cast<int>(first - items.begin());
    }
}

// ---- opening and choosing ------------------------------------------------------------------------

void PopupMenu::open(Scene& owner, Vec2 position, bool keep_focus) {
    resize_menu();
    owner.show(shared_from_this(), false, true, position, keep_focus);
}

void PopupMenu::choose(int index) {
    if (index < 0 || index >= static_cast<int>(items.size())) return;
    Item& row = items[static_cast<std::size_t>(index)];
    if (!selectable(row)) return;
    active = index;
    if (row.submenu) {
        if (!scene) return;
        auto sub = row.submenu;
        sub->resize_menu();
        // Showing a popup over a popup closes this menu: there is no way back to it.
        scene->show(sub, false, true, {screen_bounds.x + screen_bounds.w - 8, screen_bounds.y + 6}, false);
        return;
    }
    if (row.checkable) row.checked = !row.checked;
    auto action = row.action; // may destroy this menu; it runs last
    if (scene) scene->close(this);
    changed();
    if (action) action();
}

void PopupMenu::move_active(int delta) {
    const int n = static_cast<int>(items.size());
    if (n == 0) return;
    int index = active;
    bool found = false;
    for (int tries = 0; tries < n && !found; ++tries) {
        index = ((index + delta) % n + n) % n;
        found = selectable(items[static_cast<std::size_t>(index)]);
    }
    if (!found) return;
    active = index;
    float y = 0;
    for (int i = 0; i < index; ++i) y += height_of(items[static_cast<std::size_t>(i)]);
    if (y < scroll_) scroll_ = y;
    if (y + row_height > scroll_ + bounds.h - 2 * inset) scroll_ = y + row_height - bounds.h + 2 * inset;
}

// ---- events and painting ---------------------------------------------------------------------------

int PopupMenu::row_at(float y) const {
    float top = screen_bounds.y + inset - scroll_;
    for (std::size_t i = 0; i < items.size(); ++i) {
        const float bottom = top + height_of(items[i]);
        if (y >= top && y < bottom) return static_cast<int>(i);
        top = bottom;
    }
    return -1;
}

void PopupMenu::scroll(float value) {
    float sum = 0;
    for (const auto& row : items) sum += height_of(row);
    const float limit = std::max(0.0f, 2 * inset + sum - bounds.h);
    scroll_ = std::isnan(value) ? 0 : std::clamp(value, 0.0f, limit);
}

void PopupMenu::event(Event& e) {
    switch (e.type) {
    case pointer_move:
    case pointer_up: {
        if (!screen_bounds.contains(e.position)) return;
        const int row = row_at(e.position.y);
        e.handled = true;
        if (row < 0) return;
        if (e.type == pointer_up)
            choose(row);
        else if (selectable(items[static_cast<std::size_t>(row)]))
            active = row;
        return;
    }
    case wheel_turned:
        scroll(scroll_ - e.wheel * row_height);
        e.handled = true;
        return;
    case key_down:
        switch (e.key) {
        case vk::enter:
        case vk::space:
        case vk::right: // Right runs a plain row just as it opens a submenu
            e.handled = true;
            choose(active);
            return;
        case vk::up:
            e.handled = true;
            move_active(-1);
            return;
        case vk::down:
            e.handled = true;
            move_active(+1);
            return;
        default:
            return; // Escape among them: the scene closes the overlay
        }
    default:
        return;
    }
}

void PopupMenu::paint(PaintContext& context) {
    const Theme& theme = context.theme;
    Canvas& canvas = context.canvas;
    const Rect r = screen_bounds;
    canvas.glass(r, theme, 12);
    canvas.push_clip({r.x + 5, r.y + 5, std::max(0.0f, r.w - 10), std::max(0.0f, r.h - 10)}, 7);
    float top = r.y + inset - scroll_;
    for (std::size_t i = 0; i < items.size(); ++i) {
        const Item& row = items[i];
        if (row.separator) {
            canvas.fill({r.x + 14, top + 4, std::max(0.0f, r.w - 28), 1}, theme.border, 0);
        } else {
            const bool is_active = static_cast<int>(i) == active;
            if (is_active)
                canvas.fill({r.x + 6, top, std::max(0.0f, r.w - 12), row_height}, theme.selection, 7);
            const unsigned colour = !row.enabled ? theme.muted : is_active ? theme.accent_text : theme.text;
            line_ = row.checked ? "✓  " : "    ";
            line_ += row.label;
            canvas.text(line_, {r.x + 12, top + 10}, 13, colour, 400);
            if (row.submenu) canvas.text("›", {r.x + r.w - 26, top + 8}, 16, theme.muted, 400);
        }
        top += height_of(row);
    }
    canvas.pop_clip();
}

// ---- drop-down button --------------------------------------------------------------------------------

DropDownMenu::DropDownMenu(std::string label)
    : Button(std::move(label)), menu(std::make_shared<PopupMenu>()) {}

void DropDownMenu::event(Event& e) {
    const bool opens =
        (e.type == pointer_up && screen_bounds.contains(e.position)) ||
        (e.type == key_down && (e.key == vk::enter || e.key == vk::space || e.key == vk::down));
    if (!opens) return;
    e.handled = true;
    if (scene) menu->open(*scene, {screen_bounds.x, screen_bounds.y + screen_bounds.h + 4}, false);
}

// ---- assistive technology ---------------------------------------------------------------------

void PopupMenu::describe(AccessibleNode& node) const {
    Widget::describe(node);
    node.items = static_cast<std::int32_t>(items.size());
    node.selected_item = active;
}

bool PopupMenu::describe_item(std::int32_t index, AccessibleItem& item) const {
    namespace st = accessible_state;
    if (index >= static_cast<std::int32_t>(items.size())) return false;
    const Item& row = items[static_cast<std::size_t>(index)];
    item.role = row.separator   ? AccessibleRole::separator
                : row.checkable ? AccessibleRole::check_menu_item
                                : AccessibleRole::menu_item;
    item.name = row.label;
    item.states = (row.enabled ? st::enabled : 0) | st::visible | st::showing |
                  (index == active ? st::selected : 0) | (row.checkable ? st::checkable : 0) |
                  (row.checked ? st::checked : 0) | (row.submenu ? st::has_popup : 0);
    return true;
}

bool PopupMenu::accessible_action(std::uint32_t action, std::int32_t item) {
    if (action != accessible_action::press || item < 0 || item >= static_cast<std::int32_t>(items.size()) ||
        !selectable(items[static_cast<std::size_t>(item)]))
        return false;
    choose(item);
    return true;
}

void DropDownMenu::describe(AccessibleNode& node) const {
    Button::describe(node);
    node.states |= accessible_state::has_popup;
}

} // namespace velmora::ui
