// Tabular controls.
//
//   1. Shared helpers   whole-number parsing, ASCII case folding
//   2. Table            cells, sorting, the edit dialog, painting, events
//   3. PropertyGrid     editors per value type, layout
//   4. Paginator
#include "velmora/widgets/table.hpp"

#include "velmora/core/canvas.hpp"
#include "velmora/platform/input.hpp"
#include "velmora/scene/scene.hpp"
#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/dialogs.hpp"
#include "velmora/widgets/fields.hpp"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

namespace velmora::ui {

// ---- 1. Shared helpers ---------------------------------------------------------------------------

namespace {

// The header strip and the margin below the last row: what a table's height doesn't give rows.
constexpr float chrome = 44;

// The whole text as a finite number. Locale-free, so "1,5" is text everywhere; spaces are not
// skipped, so a padded number is text too. A leading '+' is read, as the number field reads it.
bool whole_number(std::string_view s, double& out) {
    const char* first = s.data();
    const char* last = first + s.size();
    if (first != last && *first == '+') {
        ++first;
        if (first != last && *first == '-') return false;
    }
    if (first == last) return false;
    double v = 0;
    const auto result = std::from_chars(first, last, v);
    if (result.ec != std::errc() || result.ptr != last || !std::isfinite(v)) return false;
    out = v;
    return true;
}

// Bytes from 128 up belong to multi-byte characters and are compared as they are.
std::string fold_ascii(std::string_view s) {
    std::string out(s);
    for (char& ch : out) {
        const auto b = static_cast<unsigned char>(ch);
        if (b < 128) ch = static_cast<char>(std::tolower(b));
    }
    return out;
}

// Descending reverses the comparison, not the result, so equal keys keep their order both ways.
// std::string compares through char_traits<char>, which orders bytes as unsigned values.
// std::stable_sort asks for a merge buffer, halving the request when memory is short, and
// merges in place without one, so the order is the same either way.
template <class Key>
void stable_order(std::vector<std::size_t>& order, const std::vector<Key>& keys, bool ascending) {
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return ascending ? keys[a] < keys[b] : keys[b] < keys[a];
    });
}

int trunc_int(float v) { return static_cast<int>(std::trunc(v)); }

} // namespace

// ---- 2. Table ------------------------------------------------------------------------------------

TableCell::TableCell(std::string initial) : TextField(std::move(initial)) {}

Table::Table() {
    focusable = true;
    bounds = {0, 0, 420, 220};
}

void Table::select(int index) {
    const int n = static_cast<int>(rows.size());
    const int next = n == 0 ? -1 : std::clamp(index, 0, n - 1);
    if (next == selected_) return;
    selected_ = next;
    changed();
}

void Table::scroll(float y) {
    const float content = static_cast<float>(rows.size()) * row_height;
    const float most = std::max(0.0f, content - bounds.h + chrome);
    scroll_ = std::isnan(y) ? 0.0f : std::clamp(y, 0.0f, most);
}

void Table::row(const std::vector<std::string>& values) {
    std::vector<std::shared_ptr<TableCell>> cells;
    cells.reserve(values.size());
    for (const auto& v : values) cells.push_back(std::make_shared<TableCell>(v));
    rows.push_back(std::move(cells));
}

void Table::edit(int r, int c, const std::string& value_text) {
    if (r < 0 || c < 0 || r >= static_cast<int>(rows.size()) || c >= static_cast<int>(rows[r].size()))
        throw std::out_of_range("Table cell");
    auto& cell = *rows[r][c];
    cell.value(value_text);
    const std::string kept = cell.value(); // a field may adjust what it is given
    changed();
    if (!on_edit) return;
    auto callback = on_edit;
    callback(r, c, kept);
}

void Table::sort(int column) {
    if (column < 0 || column >= static_cast<int>(columns.size())) throw std::out_of_range("Table column");
    sort_ascending = column == sort_column ? !sort_ascending : true;
    sort_column = column;

    // One mode for the whole column: a single cell that isn't a number makes it all text.
    const auto c = static_cast<std::size_t>(column);
    const std::size_t n = rows.size();
    std::vector<double> numbers(n);
    bool numeric = true;
    for (std::size_t i = 0; i < n && numeric; ++i)
        numeric = c < rows[i].size() && whole_number(rows[i][c]->value(), numbers[i]);

    std::vector<std::size_t> order(n);
    std::iota(order.begin(), order.end(), std::size_t{0});
    if (numeric) {
        stable_order(order, numbers, sort_ascending);
    } else {
        std::vector<std::string> keys(n); // a row too short for the column sorts as ""
        for (std::size_t i = 0; i < n; ++i)
            if (c < rows[i].size()) keys[i] = fold_ascii(rows[i][c]->value());
        stable_order(order, keys, sort_ascending);
    }
    std::vector<std::vector<std::shared_ptr<TableCell>>> sorted;
    sorted.reserve(n);
    for (const std::size_t i : order) sorted.push_back(std::move(rows[i]));
    rows = std::move(sorted);

    // The selection is an index, and the row under it has probably moved.
    selected_ = -1;
    changed();
}

void Table::edit_dialog(int r, int c) {
    if (!editable || !scene) return;
    if (r < 0 || c < 0 || r >= static_cast<int>(rows.size()) || c >= static_cast<int>(rows[r].size())) return;
    std::shared_ptr<TableCell> cell = rows[r][c];

    auto modal = std::make_shared<Modal>("编辑单元格");
    modal->bounds = {0, 0, 380, 170};
    auto field = modal->emplace<TextField>(cell->value());
    field->bounds = {16, 62, 348, 36};
    auto save_button = modal->emplace<Button>("保存");
    save_button->bounds = {264, 114, 100, 36};

    // Weak references: the table or the dialog may be gone when the user saves. The cell is
    // found again by identity, since a sort may have moved it while the dialog was open.
    std::weak_ptr<Table> table_ref = std::static_pointer_cast<Table>(shared_from_this());
    std::weak_ptr<Modal> modal_ref = modal;
    std::weak_ptr<TextField> field_ref = field;
    auto save = [table_ref, modal_ref, field_ref, cell] {
        const auto editor = field_ref.lock();
        if (!editor) return;
        if (const auto table = table_ref.lock()) {
            for (std::size_t i = 0; i < table->rows.size(); ++i) {
                const auto& cells = table->rows[i];
                const auto at = std::find(cells.begin(), cells.end(), cell);
                if (at == cells.end()) continue;
                table->edit(static_cast<int>(i), static_cast<int>(at - cells.begin()), editor->value());
                break;
            }
        }
        if (const auto dialog = modal_ref.lock()) dialog->close();
    };
    save_button->on_activate = [save](Widget&) { save(); };
    field->on_submit = [save](const std::string&) { save(); };

    modal->open(*scene);
    scene->focus(field);
    field->select(0, field->value().size());
}

void Table::paint(PaintContext& context) {
    Canvas& canvas = context.canvas;
    const Theme& theme = context.theme;
    const Rect s = screen_bounds;
    const std::size_t column_count = columns.size();
    const float cw = s.w / static_cast<float>(std::max<std::size_t>(column_count, 1));

    canvas.glass(s, theme, theme.panel_radius);
    for (std::size_t i = 0; i < column_count; ++i) {
        std::string heading = columns[i];
        if (static_cast<int>(i) == sort_column) heading += sort_ascending ? " ↑" : " ↓";
        canvas.text(heading, {s.x + static_cast<float>(i) * cw + 12, s.y + 12}, 13, theme.muted, 600);
    }
    canvas.fill({s.x + 8, s.y + 35, std::max(s.w - 16, 0.0f), 1}, theme.border, 0);

    scroll(scroll_);
    canvas.push_clip({s.x + 4, s.y + header_height, std::max(s.w - 8, 0.0f), std::max(s.h - chrome, 0.0f)},
                     6);
    // Only the rows that can show are visited, so a long table costs what a short one does.
    const int n = static_cast<int>(rows.size());
    const int first = std::max(0, trunc_int(scroll_ / row_height));
    const int last = std::min(n, first + trunc_int(s.h / row_height) + 1);
    for (int r = first; r < last; ++r) {
        const float top = s.y + header_height + static_cast<float>(r) * row_height - scroll_;
        const bool chosen = r == selected_;
        if (chosen) canvas.fill({s.x + 6, top, std::max(s.w - 12, 0.0f), row_height}, theme.selection, 7);
        const auto& cells = rows[static_cast<std::size_t>(r)];
        const std::size_t shown = std::min(cells.size(), column_count);
        for (std::size_t i = 0; i < shown; ++i) {
            const float x = s.x + static_cast<float>(i) * cw;
            // Long text is cut at the column's edge; there is no ellipsis.
            const Rect outer = canvas.clip();
            canvas.clip(outer.intersect({x + 10, top, std::max(cw - 20, 0.0f), row_height}));
            canvas.text(cells[i]->value(), {x + 12, top + 10}, 13, chosen ? theme.accent_text : theme.text,
                        400);
            canvas.clip(outer);
        }
    }
    canvas.pop_clip();
}

void Table::event(Event& e) {
    const Rect s = screen_bounds;
    switch (e.type) {
    case pointer_down: {
        const float cw = std::max(s.w / static_cast<float>(std::max<std::size_t>(columns.size(), 1)), 1.0f);
        const int column = trunc_int((e.position.x - s.x) / cw);
        e.handled = true;
        if (e.position.y < s.y + 36) {
            if (column >= 0 && column < static_cast<int>(columns.size())) sort(column);
            return;
        }
        const int r = trunc_int((e.position.y - s.y - header_height + scroll_) / row_height);
        if (r < 0 || r >= static_cast<int>(rows.size())) return;
        select(r);
        if (e.clicks > 1) edit_dialog(r, column);
        return;
    }
    case wheel_turned:
        scroll(scroll_ + e.wheel * -2 * row_height);
        e.handled = true;
        return;
    case key_down:
        if (e.key == vk::enter) {
            e.handled = true;
            edit_dialog(selected_, 0);
            return;
        }
        if (e.key == vk::up || e.key == vk::down) {
            e.handled = true;
            select(selected_ + (e.key == vk::up ? -1 : 1));
            // Keep the selected row inside the view.
            const float y = static_cast<float>(selected_) * row_height;
            float next = scroll_;
            if (y < next) next = y;
            if (next + bounds.h - chrome < y + row_height) next = y + row_height - bounds.h + chrome;
            scroll(next);
        }
        return;
    default:
        return;
    }
}

// ---- 3. PropertyGrid -----------------------------------------------------------------------------

namespace {

// Editors report to the grid through their parent link, so an editor that has been replaced
// reports nothing.
void report(Widget& editor, const std::string& name, PropertyValue value) {
    if (auto* grid = dynamic_cast<PropertyGrid*>(editor.parent)) grid->update(name, std::move(value));
}

std::shared_ptr<Widget> make_editor(const std::string& name, const PropertyValue& value) {
    if (const bool* on = std::get_if<bool>(&value)) {
        auto box = std::make_shared<CheckBox>("");
        box->selected(*on);
        box->on_change = [name](Widget& w) { report(w, name, static_cast<CheckBox&>(w).selected()); };
        return box;
    }
    if (const double* number = std::get_if<double>(&value)) {
        auto field = std::make_shared<NumberField>(*number);
        std::weak_ptr<NumberField> field_ref = field;
        field->on_submit = [name, field_ref](const std::string&) {
            if (const auto f = field_ref.lock()) report(*f, name, f->number());
        };
        // Half-typed text ("-", "1e") never reaches the values.
        field->on_change = [name](Widget& w) {
            double v = 0;
            if (whole_number(static_cast<NumberField&>(w).value(), v)) report(w, name, v);
        };
        return field;
    }
    auto field = std::make_shared<TextField>(std::get<std::string>(value));
    field->on_change = [name](Widget& w) { report(w, name, static_cast<TextField&>(w).value()); };
    return field;
}

} // namespace

PropertyGrid::PropertyGrid() {
    bounds = {0, 0, 420, 240};
    padding = 12;
}

void PropertyGrid::property(const std::string& name, PropertyValue value) {
    if (const auto old = editors.find(name); old != editors.end()) {
        remove(old->second);
        editors.erase(old);
    } else {
        names.push_back(name);
    }
    auto editor_widget = make_editor(name, value);
    values[name] = std::move(value);
    editor_widget->id = "property." + name;
    add(editor_widget);
    editors[name] = std::move(editor_widget);
}

void PropertyGrid::update(const std::string& name, PropertyValue value) {
    // Copies: the callback may redefine the property and destroy the editor that called here.
    const std::string key = name;
    const PropertyValue stored = values[key] = std::move(value);
    changed();
    if (!on_property) return;
    auto callback = on_property;
    callback(key, stored);
}

std::shared_ptr<Widget> PropertyGrid::editor(const std::string& name) const {
    const auto at = editors.find(name);
    return at == editors.end() ? nullptr : at->second;
}

void PropertyGrid::layout(Scene& owner) {
    const float inner = std::max(bounds.w - 24, 0.0f);
    const float label_width = inner * 0.38f;
    const float editor_width = std::max(inner - label_width - 12, 0.0f);
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string& name = names[i];
        const float y = static_cast<float>(i) * 46 + 12;
        constexpr std::string_view prefix = "property.label.";
        // Compared in two parts: joining them would allocate for every row in every layout.
        const auto found =
            std::find_if(children.begin(), children.end(), [&](const std::shared_ptr<Widget>& w) {
                const std::string_view other = w->id;
                return other.size() == prefix.size() + name.size() && other.starts_with(prefix) &&
                       other.ends_with(name);
            });
        std::shared_ptr<Widget> label = found == children.end() ? nullptr : *found;
        if (!label) {
            label = emplace<Label>(name);
            label->id = std::string(prefix) + name;
        }
        label->bounds = {12, y, label_width, 36};
        if (const auto at = editors.find(name); at != editors.end()) {
            at->second->bounds = {label_width + 12, y, editor_width, 36};
            at->second->labelled_by = label;
        }
    }
    ScrollPane::layout(owner);
}

// ---- 4. Paginator --------------------------------------------------------------------------------

Paginator::Paginator(int count) : pages_(std::max(count, 1)) {
    focusable = true;
    bounds = {0, 0, 360, 36};
}

void Paginator::pages(int count) {
    pages_ = std::max(count, 1);
    select(page);
}

void Paginator::select(int index) {
    const int next = std::clamp(index, 0, pages_ - 1);
    if (next == page) return;
    page = next;
    changed();
}

void Paginator::paint(PaintContext& context) {
    const Theme& theme = context.theme;
    const Rect s = screen_bounds;
    surface(context, false, -1);
    centered(context, "‹", {s.x, s.y, 36, s.h}, theme.text, 22, 400);
    centered(context, std::to_string(page + 1) + " / " + std::to_string(pages_), s, theme.text, 0, 400);
    centered(context, "›", {s.x + s.w - 36, s.y, 36, s.h}, theme.text, 22, 400);
}

void Paginator::event(Event& e) {
    const Rect s = screen_bounds;
    if (e.type == pointer_up && s.contains(e.position)) {
        e.handled = true;
        if (e.position.x < s.x + 40)
            select(page - 1);
        else if (e.position.x > s.x + s.w - 40)
            select(page + 1);
        return;
    }
    if (e.type != key_down) return;
    switch (e.key) {
    case vk::end:
        select(pages_ - 1);
        break;
    case vk::home:
        select(0);
        break;
    case vk::left:
        select(page - 1);
        break;
    case vk::right:
        select(page + 1);
        break;
    default:
        return;
    }
    e.handled = true;
}

// ---- assistive technology ---------------------------------------------------------------------

void Table::describe(AccessibleNode& node) const {
    Widget::describe(node);
    node.columns = static_cast<std::int32_t>(std::max<std::size_t>(columns.size(), 1));
    node.items = static_cast<std::int32_t>(rows.size()) * node.columns;
    node.selected_item = selected_ < 0 ? -1 : selected_ * node.columns;
}

bool Table::describe_item(std::int32_t index, AccessibleItem& item) const {
    namespace st = accessible_state;
    const std::int32_t c = static_cast<std::int32_t>(std::max<std::size_t>(columns.size(), 1));
    const std::int32_t r = index / c;
    if (r >= static_cast<std::int32_t>(rows.size())) return false;
    const auto& row = rows[static_cast<std::size_t>(r)];
    const std::size_t column = static_cast<std::size_t>(index % c);
    item.role = AccessibleRole::table_cell;
    item.name = column < row.size() && row[column] ? row[column]->text : std::string();
    item.states = st::enabled | st::visible | st::selectable | (r == selected_ ? st::selected : 0);
    return true;
}

bool Table::accessible_action(std::uint32_t action, std::int32_t item) {
    const std::int32_t c = static_cast<std::int32_t>(std::max<std::size_t>(columns.size(), 1));
    if (action != accessible_action::select || item < 0 || item / c >= static_cast<std::int32_t>(rows.size()))
        return false;
    select(item / c);
    return true;
}

void Paginator::describe(AccessibleNode& node) const {
    Widget::describe(node);
    node.value_range(page + 1, 1, pages_, 1);
}

bool Paginator::accessible_value(double v) {
    select(static_cast<int>(std::lround(v)) - 1);
    return true;
}

} // namespace velmora::ui
