// Menus: a popup panel of rows on the scene's overlay stack, and the button that opens one.
//
//     auto menu = std::make_shared<PopupMenu>();
//     menu->item("Open", [] { ... });
//     menu->separator();
//     menu->checked("Wrap", true, {});
//     menu->open(scene, {x, y}, false);
//
// Rows are chosen on release, by Enter, Space or Right. Only one level of menu is ever on
// screen: a submenu replaces its parent. A menu is reusable; its highlight, scroll position
// and ticks survive closing.
#pragma once

#include "velmora/core/export.hpp"
#include "velmora/core/geometry.hpp"
#include "velmora/scene/widget.hpp"
#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/control_kind.hpp"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmora::ui {

class Scene;

class VELMORA_API PopupMenu : public Widget {
public:
    struct Item {
        std::string label;
        std::function<void()> action;
        bool enabled = true;
        bool checked = false;
        bool checkable = false;
        bool separator = false;
        std::shared_ptr<PopupMenu> submenu;
    };

    static constexpr float row_height = 34;
    static constexpr float separator_height = 10;
    static constexpr float max_height = 420;

    PopupMenu();

    std::vector<Item> items;
    int active = -1;

    float scroll() const { return scroll_; }
    // Absolute, in pixels; clamped to 0 .. the rows' height (uncapped) past the menu's own, a
    // NaN becoming 0.
    void scroll(float value);

    void item(std::string label, std::function<void()> action);
    void disabled(std::string label);
    void checked(std::string label, bool value, std::function<void()> action);
    void separator();
    // Throws std::invalid_argument "Invalid submenu" for a null menu or this menu.
    void submenu(std::string label, std::shared_ptr<PopupMenu> menu);

    void resize_menu();
    // Throws std::bad_weak_ptr unless the menu is held by a shared pointer.
    void open(Scene& owner, Vec2 position, bool keep_focus);
    void choose(int index);
    void move_active(int delta);

    ControlKind kind() const override { return ControlKind::PopupMenu; }
    const char* class_name() const override { return "PopupMenu"; }
    void describe(AccessibleNode& node) const override;
    bool describe_item(std::int32_t index, AccessibleItem& item) const override;
    bool accessible_action(std::uint32_t action, std::int32_t item) override;
    void event(Event& e) override;
    void paint(PaintContext& context) override;

private:
    void append(Item row);
    // The row under a screen y, or -1.
    int row_at(float y) const;

    float scroll_ = 0;
    std::string line_; // the row being painted, kept so that painting allocates nothing
};

class VELMORA_API RightClickMenu : public PopupMenu {
public:
    ControlKind kind() const override { return ControlKind::RightClickMenu; }
    const char* class_name() const override { return "RightClickMenu"; }
};

class VELMORA_API ContextMenu : public PopupMenu {
public:
    ControlKind kind() const override { return ControlKind::ContextMenu; }
    const char* class_name() const override { return "ContextMenu"; }
};

// A button that opens its menu below itself; it runs no click callback of its own.
class VELMORA_API DropDownMenu : public Button {
public:
    explicit DropDownMenu(std::string label = {});
    std::shared_ptr<PopupMenu> menu;

    ControlKind kind() const override { return ControlKind::DropDownMenu; }
    const char* class_name() const override { return "DropDownMenu"; }
    void describe(AccessibleNode& node) const override;
    void event(Event& e) override;
};

} // namespace velmora::ui
