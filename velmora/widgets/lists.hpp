// Lists and trees: the selection controls.
//
//   Button > ComboSelect        a button showing one option, opening a menu of all of them
//   ListBox > GridView, Sidebar a scrolling list of strings; the grid and the sidebar change
//                               only its columns, cell height and cell painting
//   TreeNode, TreeView          a forest of nodes shown as a flat list of visible rows
//
//     auto list = std::make_shared<ListBox>(std::vector<std::string>{"One", "Two"});
//     list->on_select = [](int index) { ... };
//     list->select(5);            // clamps to the last item; -1 clears
//
// Lists and trees paint only the rows in view plus two rows of slack, so painting costs the
// same whatever the number of items. A tree keeps no row cache: every paint, event and
// selection walks the visible nodes again, so edits to the nodes show at once.
#pragma once

#include "velmora/core/export.hpp"
#include "velmora/core/geometry.hpp"
#include "velmora/scene/widget.hpp"
#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/control_kind.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velmora::ui {

class Scene;

// ---- combo ------------------------------------------------------------------------------------

class VELMORA_API ComboSelect : public Button {
public:
    explicit ComboSelect(std::vector<std::string> items = {});

    std::vector<std::string> options;

    int selected() const { return selected_; }
    // With no options the selection becomes -1 and the text empties, silently. Otherwise
    // clamps, shows the option, and runs on_change when the index changes.
    void select(int index);
    void selected(int index) { select(index); }
    // The option at the selection clamped into range; empty with no options.
    std::string value() const;
    // Opens a fresh menu of the options below the combo; nothing without a scene.
    void open_menu();

    ControlKind kind() const override { return ControlKind::ComboSelect; }
    const char* class_name() const override { return "ComboSelect"; }
    void describe(AccessibleNode& node) const override;
    bool describe_item(std::int32_t index, AccessibleItem& item) const override;
    bool accessible_action(std::uint32_t action, std::int32_t item) override;
    void event(Event& e) override; // Down opens the menu, Up steps back
    void paint(PaintContext& context) override;

private:
    int selected_ = 0;
};

// ---- list family ------------------------------------------------------------------------------

class VELMORA_API ListBox : public Widget {
public:
    explicit ListBox(std::vector<std::string> list_items = {});

    std::vector<std::string> items;
    float item_height = 34;
    float padding = 5;
    bool frame = true; // the glass background
    std::function<void(int)> on_select;
    std::function<void(int)> on_item_activate; // double press, or Enter

    virtual int columns_count() const { return 1; }
    virtual float cell_height() const { return item_height; }
    virtual void paint_item(PaintContext& context, Rect cell, int index);

    int selected() const { return selected_; }
    // Clamps to -1 .. n - 1 (-1 with no items) and scrolls it into view; on a change runs
    // on_change, then on_select.
    void select(int index);
    void selected(int index) { select(index); }
    void ensure_visible();
    // The selected string, or empty when the selection isn't a valid index.
    std::string selected_item() const;

    float scroll() const { return scroll_; }
    // Absolute, in pixels; clamped to 0 .. max_scroll(), NaN becomes 0.
    void scroll(float value);
    float max_scroll() const;

    ControlKind kind() const override { return ControlKind::ListBox; }
    const char* class_name() const override { return "ListBox"; }
    void describe(AccessibleNode& node) const override;
    bool describe_item(std::int32_t index, AccessibleItem& item) const override;
    bool accessible_action(std::uint32_t action, std::int32_t item) override;
    void event(Event& e) override;
    void paint(PaintContext& context) override;

private:
    int count() const { return static_cast<int>(items.size()); }
    int columns() const;
    float cell() const;
    float clamped(float value) const;

    int selected_ = 0;
    float scroll_ = 0;
};

class VELMORA_API GridView : public ListBox {
public:
    explicit GridView(std::vector<std::string> list_items = {}, std::int32_t column_count = 3);

    std::int32_t columns = 3; // below 2 counts as 1

    ControlKind kind() const override { return ControlKind::GridView; }
    const char* class_name() const override { return "GridView"; }
    int columns_count() const override { return columns < 2 ? 1 : columns; }
    void paint_item(PaintContext& context, Rect cell, int index) override;
};

// A frameless list with taller rows, for navigation.
class VELMORA_API Sidebar : public ListBox {
public:
    explicit Sidebar(std::vector<std::string> list_items = {});
    ControlKind kind() const override { return ControlKind::Sidebar; }
    const char* class_name() const override { return "Sidebar"; }
};

// ---- trees ------------------------------------------------------------------------------------

// One node of a tree; its label is the widget's text. Child nodes are held here only, never
// as Widget children, and also work as a stand-alone row.
class VELMORA_API TreeNode : public Widget {
public:
    static constexpr int max_depth = 128;

    explicit TreeNode(std::string label = {});

    std::vector<std::shared_ptr<TreeNode>> child_nodes;
    bool expanded = true;
    bool selected = false;

    // Appends a child. Throws std::invalid_argument "Tree cycle" for null or this node, and
    // "Tree cycle/depth" when the child's subtree reaches this node, holds a node twice or
    // is deeper than 128 levels.
    void node(std::shared_ptr<TreeNode> child);

    ControlKind kind() const override { return ControlKind::TreeNode; }
    const char* class_name() const override { return "TreeNode"; }
    void describe(AccessibleNode& node) const override;
    void event(Event& e) override;
    void paint(PaintContext& context) override;

private:
    friend class TreeView;
    std::uint64_t walk_ = 0; // the last walk over the rows that reached this node
};

class VELMORA_API TreeView : public Widget {
public:
    static constexpr float row_height = 34;
    static constexpr float indent = 20;

    struct Row {
        std::shared_ptr<TreeNode> node;
        std::int32_t depth = 0; // 0 at a root
    };

    TreeView();

    std::vector<std::shared_ptr<TreeNode>> roots;

    // Appends a root, then checks the forest. Throws std::invalid_argument "Null tree root";
    // a failed check leaves the root in place and passes the rows() failure on.
    void root(std::shared_ptr<TreeNode> node);
    // The visible rows, parents before children, children only under expanded nodes. Throws
    // std::logic_error "Tree cycle/depth" for a null node, a repeat or a depth above 128.
    std::vector<Row> rows() const;
    int visible_rows() const { return static_cast<int>(rows().size()); }

    const std::shared_ptr<TreeNode>& selected() const { return selected_; }
    // Null clears. Throws std::logic_error "Node not visible in tree" for a node in no row.
    // Runs on_change even when the node is already selected.
    void select(std::shared_ptr<TreeNode> node);
    void selected(std::shared_ptr<TreeNode> node) { select(std::move(node)); }

    float scroll() const { return scroll_; }
    // Absolute, in pixels; clamped to the rows now visible, NaN becomes 0.
    void scroll(float value);

    ControlKind kind() const override { return ControlKind::TreeView; }
    const char* class_name() const override { return "TreeView"; }
    void describe(AccessibleNode& node) const override;
    bool describe_item(std::int32_t index, AccessibleItem& item) const override;
    bool accessible_action(std::uint32_t action, std::int32_t item) override;
    void event(Event& e) override;
    void paint(PaintContext& context) override;

private:
    float clamped(float value, std::size_t row_count) const;
    // What rows() returns, into `out`.
    void collect(std::vector<Row>& out) const;
    static void collect(const std::shared_ptr<TreeNode>& node, int depth, std::uint64_t walk,
                        std::vector<Row>& out);

    std::shared_ptr<TreeNode> selected_;
    float scroll_ = 0;
    std::vector<Row> painted_; // paint's rows, kept from frame to frame so that painting allocates nothing
};

} // namespace velmora::ui
