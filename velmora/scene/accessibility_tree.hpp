// AccessibilityTree: the scene as assistive technology sees it, kept from frame to frame.
//
//     AccessibilityTree tree(scene);
//     auto bridge = AccessibilityBridge::create(tree, "Program", wake);
//     ... after each frame, only while someone listens:
//     if (bridge->listening()) bridge->publish(tree.update("Window title", pixels_per_unit));
//
// The root panel is the window; overlays (dialogs, menus, tooltips) are its last children.
// Hidden widgets and the children of a collapsed container are left out. Each update asks
// every shown widget to describe itself and compares the answer with the last one, so an
// unchanged frame reports nothing and, once the records have their size, allocates nothing.
// While nobody listens, nothing here runs at all.
#pragma once

#include "velmora/platform/accessibility.hpp"

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace velmora::ui {

class Scene;
class Widget;

class AccessibilityTree : public AccessibleHost {
public:
    explicit AccessibilityTree(Scene& scene);

    // Describes the scene again; what changed since the last update, valid until the next.
    const std::vector<AccessibleChange>& update(const std::string& title, float pixels_per_unit);
    // Forgets every node, for a listener that starts afresh.
    void clear();

    std::uint64_t root() const override;
    const AccessibleNode* node(std::uint64_t id) const override;
    bool item(std::uint64_t id, std::int32_t index, AccessibleItem& out) const override;
    bool act(std::uint64_t id, std::int32_t index, std::uint32_t action) override;
    bool focus(std::uint64_t id) override;
    bool value(std::uint64_t id, double v) override;
    bool text(std::uint64_t id, const std::string& text) override;
    bool caret(std::uint64_t id, std::size_t offset) override;

private:
    struct Entry {
        AccessibleNode node;
        std::weak_ptr<Widget> widget;
        std::uint64_t pass = 0;
    };

    void visit(Widget& widget, std::uint64_t parent, bool showing, bool modal);
    void compare(const AccessibleNode& before, const AccessibleNode& after);
    AccessibleChange& note(AccessibleChange::Kind kind, std::uint64_t id);
    std::shared_ptr<Widget> widget(std::uint64_t id) const;

    Scene& scene_;
    std::unordered_map<std::uint64_t, Entry> nodes_;
    std::vector<AccessibleChange> changes_;
    AccessibleNode scratch_;
    float scale_ = 1;
    const std::string* title_ = nullptr; // during update
    std::uint64_t pass_ = 0;
};

} // namespace velmora::ui
