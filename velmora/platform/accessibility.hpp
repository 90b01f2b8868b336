// Accessibility: what the toolkit tells assistive technology, as plain records, and the seam to
// the platform's protocol (one file per platform: AT-SPI2 over D-Bus, UI Automation).
//
// The toolkit owns one tree of AccessibleNode records (scene/accessibility_tree.hpp) and keeps
// it up to date from frame to frame; a bridge only translates. Queries are answered from the
// tree as it stood at the last frame, so answering one never re-enters a control mid-frame;
// requests that change something (an action, a value, text) go back through AccessibleHost.
//
// Rows of lists, trees, tables and menus are items: never nodes of their own, they are asked
// for one at a time, so a list of 100,000 rows costs what a list of ten does.
#pragma once

#include "velmora/core/geometry.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmora::ui {

// The roles of the W3C Core-AAM vocabulary that the controls need.
enum class AccessibleRole : std::uint8_t {
    unknown,
    application,
    window,
    dialog,
    alert,
    panel,
    label,
    image,
    separator,
    push_button,
    toggle_button,
    check_box,
    radio_button,
    slider,
    scroll_bar,
    progress_bar,
    spin_button,
    entry,
    password_text,
    text, // multi-line
    combo_box,
    list_box,
    list_item,
    tree,
    tree_item,
    table,
    table_cell,
    page_tab_list,
    page_tab,
    menu_bar,
    menu,
    menu_item,
    check_menu_item,
    tool_bar,
    status_bar,
    tool_tip,
    notification,
    info_bar,
    scroll_pane,
    split_pane,
    color_chooser,
    date_editor,
    animation,
};

// State bits of AccessibleNode::states and AccessibleItem::states.
namespace accessible_state {
inline constexpr std::uint32_t enabled = 1u << 0;
inline constexpr std::uint32_t focusable = 1u << 1;
inline constexpr std::uint32_t focused = 1u << 2;
inline constexpr std::uint32_t checkable = 1u << 3;
inline constexpr std::uint32_t checked = 1u << 4;
inline constexpr std::uint32_t mixed = 1u << 5; // indeterminate
inline constexpr std::uint32_t selectable = 1u << 6;
inline constexpr std::uint32_t selected = 1u << 7;
inline constexpr std::uint32_t expandable = 1u << 8;
inline constexpr std::uint32_t expanded = 1u << 9;
inline constexpr std::uint32_t editable = 1u << 10;
inline constexpr std::uint32_t read_only = 1u << 11;
inline constexpr std::uint32_t multi_line = 1u << 12;
inline constexpr std::uint32_t modal = 1u << 13;
inline constexpr std::uint32_t visible = 1u << 14;
inline constexpr std::uint32_t showing = 1u << 15;
inline constexpr std::uint32_t active = 1u << 16; // the window, while it has the keyboard
inline constexpr std::uint32_t has_popup = 1u << 17;
inline constexpr std::uint32_t busy = 1u << 18;
inline constexpr std::uint32_t horizontal = 1u << 19;
inline constexpr std::uint32_t vertical = 1u << 20;
inline constexpr std::uint32_t multi_selectable = 1u << 21;
} // namespace accessible_state

// Action bits; each platform names them its own way.
namespace accessible_action {
inline constexpr std::uint32_t press = 1u << 0;    // click a button, choose a menu item
inline constexpr std::uint32_t toggle = 1u << 1;   // flip a check box, switch or toggle button
inline constexpr std::uint32_t activate = 1u << 2; // submit a field, open a row
inline constexpr std::uint32_t expand = 1u << 3;   // open or close a popup, expand or collapse
inline constexpr std::uint32_t select = 1u << 4;   // make an item the selection
inline constexpr std::uint32_t count = 5;
} // namespace accessible_action

// What a control says about itself. Offsets in `text` are bytes on code-point boundaries.
struct AccessibleNode {
    std::uint64_t id = 0; // stable for the widget's life, never reused
    std::uint64_t parent = 0;
    std::uint64_t labelled_by = 0;
    AccessibleRole role = AccessibleRole::unknown;
    std::uint32_t states = 0;
    std::uint32_t actions = 0;
    std::string name;
    std::string description;
    std::string automation_id; // the widget's id
    const char* class_name = "";
    Rect bounds; // window pixels
    bool has_value = false;
    double value = 0, minimum = 0, maximum = 0, step = 0;
    bool has_text = false; // a password field's text is its masked form
    std::string text;
    std::size_t caret = 0, selection_start = 0, selection_end = 0;
    std::int32_t items = 0;          // rows, fetched one at a time through AccessibleHost::item
    std::int32_t columns = 0;        // a table's: items are its cells, row by row; else 0
    std::int32_t selected_item = -1; // the row that holds the selection, -1 when none
    std::vector<std::uint64_t> children;

    void value_range(double v, double lo, double hi, double increment) {
        has_value = true;
        value = v;
        minimum = lo;
        maximum = hi;
        step = increment;
    }
};

struct AccessibleItem {
    AccessibleRole role = AccessibleRole::list_item;
    std::uint32_t states = 0;
    std::string name;
    Rect bounds;            // window pixels; empty while scrolled out of view
    std::int32_t level = 0; // a tree row's depth
};

// What changed between two frames, in the order a screen reader wants to hear it.
struct AccessibleChange {
    enum Kind : std::uint8_t {
        added,   // a node joined; its parent's children changed
        removed, // a node left; `id` is gone already
        states,  // `detail` holds the bits that flipped
        name,    // name or description
        value,
        text_inserted, // `offset` and `length` in bytes of the new text, `text` what was inserted
        text_removed,  // `offset` and `length` in bytes of the old text, `text` what went
        caret,         // `offset`: the new caret
        text_selection,
        selection, // the selected item of a list, tree, table or menu
        children,  // item count changed
        focus,     // `id` took the keyboard focus (also sent as a states change)
    };
    Kind kind = states;
    std::uint64_t id = 0;
    std::uint64_t parent = 0; // for added and removed
    std::uint32_t detail = 0;
    std::size_t offset = 0, length = 0;
    std::string text;
};

// The toolkit side, called by a bridge while it serves a request. Every request names a node by
// id and, for items, an item index (-1: the node itself); a stale id or index answers false.
class AccessibleHost {
public:
    virtual ~AccessibleHost() = default;
    // The root is the window; null for an id no longer in the tree.
    virtual std::uint64_t root() const = 0;
    virtual const AccessibleNode* node(std::uint64_t id) const = 0;
    virtual bool item(std::uint64_t id, std::int32_t index, AccessibleItem& out) const = 0;
    virtual bool act(std::uint64_t id, std::int32_t index, std::uint32_t action) = 0;
    virtual bool focus(std::uint64_t id) = 0;
    // Rejects NaN and values outside the range.
    virtual bool value(std::uint64_t id, double v) = 0;
    // Replaces the text of an editable field; false for read-only fields and invalid text.
    virtual bool text(std::uint64_t id, const std::string& text) = 0;
    virtual bool caret(std::uint64_t id, std::size_t offset) = 0;
};

// One per window. Made with the window's title; a bridge that can't reach the platform's
// accessibility service stays silent and costs nothing.
class AccessibilityBridge {
public:
    // The platform's bridge. It may answer questions on a thread of its own, while the program
    // holds neither the bridge nor the tree; `wake` may be called from that thread and must make
    // the loop call serve() soon.
    static std::unique_ptr<AccessibilityBridge> create(AccessibleHost& host, std::string application,
                                                       std::function<void()> wake);
    virtual ~AccessibilityBridge() = default;

    // Whether assistive technology listens: only then need the tree be kept.
    virtual bool listening() const = 0;
    // Does, on the program's thread, what requests asked to change; never blocks for long. True
    // when something changed, so that a frame should follow.
    virtual bool serve() = 0;
    // Tells the listeners what changed since the last frame.
    virtual void publish(const std::vector<AccessibleChange>& changes) = 0;
    // Held by the program while it changes the scene or the tree, so that no question is
    // answered from either half-way.
    virtual void lock() = 0;
    virtual void unlock() = 0;
};

} // namespace velmora::ui
