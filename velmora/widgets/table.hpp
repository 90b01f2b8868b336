// Tabular controls: a sortable grid of text cells, a grid of named values, a page stepper.
//
//   Table          rows of TableCell drawn by the table itself; header clicks sort, a double
//                  click or Enter opens a modal editor for a cell
//   TableCell      a TextField used only as the data of one cell, never placed in the tree
//   PropertyGrid   a ScrollPane with one generated editor per named bool, number or text
//   Paginator      "‹ 3 / 8 ›", stepped by clicks at either end and by the arrow keys
//
//     auto table = std::make_shared<Table>();
//     table->row({"Alpha", "10"});
//     table->on_edit = [](int row, int column, const std::string& text) { save(row, column, text); };
//     table->sort(1); // numeric when every cell of the column is a number
#pragma once

#include "velmora/core/export.hpp"
#include "velmora/scene/widget.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/control_kind.hpp"
#include "velmora/widgets/text_field.hpp"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace velmora::ui {

class Scene;

// ---- table --------------------------------------------------------------------------------------

class VELMORA_API TableCell : public TextField {
public:
    explicit TableCell(std::string initial = {});
    ControlKind kind() const override { return ControlKind::TableCell; }
    const char* class_name() const override { return "TableCell"; }
};

class VELMORA_API Table : public Widget {
public:
    static constexpr float row_height = 34;
    static constexpr float header_height = 40;

    Table();

    // A row may hold fewer or more cells than there are columns; nothing makes them agree.
    std::vector<std::string> columns{"名称", "值"};
    std::vector<std::vector<std::shared_ptr<TableCell>>> rows;
    bool editable = true;
    std::function<void(int row, int column, const std::string& text)> on_edit;
    int sort_column = -1;
    bool sort_ascending = true;

    int selected() const { return selected_; }
    // Clamps into the rows (-1 only when there are none); runs on_change on a change.
    void select(int index);
    void selected(int index) { select(index); }
    float scroll() const { return scroll_; }
    // Clamped so that the last row can reach the bottom edge; NaN becomes 0.
    void scroll(float y);

    // Appends one cell per value, without on_change.
    void row(const std::vector<std::string>& values);
    // Sets a cell through TextField::value, then on_change and on_edit with the text it kept.
    // Throws std::out_of_range "Table cell" when there is no such cell.
    void edit(int r, int c, const std::string& value_text);
    // Stable sort of the rows on one column, flipping the direction when it is the sort column
    // already. Numeric when every row's cell is a whole finite number, text otherwise. Clears
    // the selection. Throws std::out_of_range "Table column" for a column that doesn't exist.
    void sort(int column);
    // Opens a modal editor for one cell; silent unless editable, attached and the cell exists.
    void edit_dialog(int r, int c);

    ControlKind kind() const override { return ControlKind::Table; }
    const char* class_name() const override { return "Table"; }
    void describe(AccessibleNode& node) const override;
    bool describe_item(std::int32_t index, AccessibleItem& item) const override;
    bool accessible_action(std::uint32_t action, std::int32_t item) override;
    void event(Event& e) override;
    void paint(PaintContext& context) override;

private:
    int selected_ = -1;
    float scroll_ = 0;
};

// ---- property grid -------------------------------------------------------------------------------

using PropertyValue = std::variant<bool, double, std::string>;

// Editors: CheckBox for bool, NumberField for double, TextField for text, each with the id
// "property." + name. Labels ("property.label." + name) are made by layout.
class VELMORA_API PropertyGrid : public ScrollPane {
public:
    PropertyGrid();

    std::function<void(const std::string& name, const PropertyValue& value)> on_property;
    std::map<std::string, PropertyValue> values;
    std::map<std::string, std::shared_ptr<Widget>> editors;
    std::vector<std::string> names; // in order of first definition

    // Defines a property, or redefines it in its old row with a fresh editor for the new value.
    void property(const std::string& name, PropertyValue value);
    // Stores a value as an editor does: on_change, then on_property. The editor is left alone.
    void update(const std::string& name, PropertyValue value);
    // The editor of a name, or null.
    std::shared_ptr<Widget> editor(const std::string& name) const;

    ControlKind kind() const override { return ControlKind::PropertyGrid; }
    const char* class_name() const override { return "PropertyGrid"; }
    void layout(Scene& owner) override;
};

// ---- paginator -------------------------------------------------------------------------------------

class VELMORA_API Paginator : public Widget {
public:
    // At least one page.
    explicit Paginator(int count = 1);

    int page = 0; // zero-based; move it through select

    int pages() const { return pages_; }
    // At least 1; pulls `page` back into range, with on_change if it moved.
    void pages(int count);
    // Clamps to 0 .. pages - 1; on_change if the page moved.
    void select(int index);

    ControlKind kind() const override { return ControlKind::Paginator; }
    const char* class_name() const override { return "Paginator"; }
    void describe(AccessibleNode& node) const override;
    bool accessible_value(double v) override;
    void event(Event& e) override;
    void paint(PaintContext& context) override;

private:
    int pages_ = 1;
};

} // namespace velmora::ui
