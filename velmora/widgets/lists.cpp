// Lists and trees: selection, scrolling, keys and the painting of the visible rows.
//
//   - combo
//   - list family
//   - tree nodes
//   - tree view
#include "velmora/widgets/lists.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/widgets/menus.hpp"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <stdexcept>
#include <unordered_set>

namespace velmora::ui {

namespace {

// A rectangle shrunk on every side, never below zero size.
Rect inset(Rect r, float by) {
    return {r.x + by, r.y + by, std::max(r.w - 2 * by, 0.0f), std::max(r.h - 2 * by, 0.0f)};
}

// A node's expander ("−" or "+", none on a leaf) and its label. Labels start after the wider
// of the two expanders and their gap, measured, so that leaves line up with their branch
// siblings in a proportional font.
void node_text(Canvas& canvas, const TreeNode& node, Vec2 at, unsigned colour) {
    if (!node.child_nodes.empty()) canvas.text(node.expanded ? "−" : "+", at, 14, colour, 400);
    const float label = std::max(canvas.text_width("−  ", 14, 400), canvas.text_width("+  ", 14, 400));
    canvas.text(node.text, {at.x + label, at.y}, 14, colour, 400);
}

unsigned row_text(bool selected, const Theme& theme) { return selected ? theme.accent_text : theme.text; }

} // namespace

// ---- combo ------------------------------------------------------------------------------------

ComboSelect::ComboSelect(std::vector<std::string> items) : Button(), options(std::move(items)) {
    if (!options.empty()) text = options.front();
}

void ComboSelect::select(int index) {
    if (options.empty()) {
        selected_ = -1;
        text.clear();
        return;
    }
    const int last = static_cast<int>(options.size()) - 1;
    const int before = selected_;
    selected_ = std::clamp(index, 0, last);
    text = options[static_cast<std::size_t>(selected_)];
    if (selected_ != before) changed();
}

std::string ComboSelect::value() const {
    if (options.empty()) return {};
    const int last = static_cast<int>(options.size()) - 1;
    return options[static_cast<std::size_t>(std::clamp(selected_, 0, last))];
}

void ComboSelect::open_menu() {
    if (!scene) return;
    auto menu = std::make_shared<PopupMenu>();
    // The overlay stack owns the menu; a combo destroyed meanwhile turns the choice into nothing.
    std::weak_ptr<ComboSelect> self = std::static_pointer_cast<ComboSelect>(shared_from_this());
    for (int i = 0; i < static_cast<int>(options.size()); ++i) {
        menu->checked(options[static_cast<std::size_t>(i)], i == selected_, [self, i] {
            if (auto combo = self.lock()) combo->select(i);
        });
    }
    menu->bounds.w = bounds.w;
    const Rect& r = screen_bounds;
    menu->open(*scene, {r.x, r.y + r.h + 4}, false);
}

void ComboSelect::event(Event& e) {
    if (e.type == pointer_up) {
        if (!screen_bounds.contains(e.position)) return;
        e.handled = true;
        open_menu();
        return;
    }
    if (e.type != key_down) return;
    if (e.key == vk::enter || e.key == vk::space || e.key == vk::down) {
        e.handled = true;
        open_menu();
    } else if (e.key == vk::up) {
        e.handled = true;
        select(selected_ - 1);
    }
}

void ComboSelect::paint(PaintContext& context) {
    const Theme& theme = context.theme;
    const Rect r = screen_bounds;
    surface(context, false, -1);
    context.canvas.text(value(), {r.x + 12, r.y + (r.h - 14) * 0.5f}, 14, enabled ? theme.text : theme.muted,
                        400);
    chevron(context, {r.x + r.w - 17, r.y + r.h * 0.5f}, enabled ? theme.text : theme.muted);
}

// ---- list family ------------------------------------------------------------------------------

ListBox::ListBox(std::vector<std::string> list_items) : items(std::move(list_items)) {
    focusable = true;
    bounds = {0, 0, 260, 180};
    selected_ = items.empty() ? -1 : 0;
}

int ListBox::columns() const { return std::max(columns_count(), 1); }

float ListBox::cell() const { return std::max(cell_height(), 1.0f); }

float ListBox::max_scroll() const {
    const int c = columns();
    const float rows = static_cast<float>((count() + c - 1) / c);
    return std::max(0.0f, 2 * padding + cell() * rows - bounds.h);
}

float ListBox::clamped(float value) const {
    if (std::isnan(value)) return 0;
    return std::clamp(value, 0.0f, max_scroll());
}

void ListBox::scroll(float value) { scroll_ = clamped(value); }

void ListBox::select(int index) {
    const int n = count();
    const int result = n == 0 ? -1 : std::clamp(index, -1, n - 1);
    if (result == selected_) {
        ensure_visible();
        return;
    }
    selected_ = result;
    ensure_visible();
    changed();
    if (on_select) {
        auto callback = on_select; // may destroy the list
        callback(result);
    }
}

void ListBox::ensure_visible() {
    if (selected_ < 0) return;
    const float y = cell_height() * static_cast<float>(selected_ / columns());
    if (y < scroll_) scroll_ = clamped(y);
    const float view = bounds.h - 2 * padding;
    if (scroll_ + view < y + cell_height()) scroll_ = clamped(y + cell_height() - view);
}

std::string ListBox::selected_item() const {
    if (selected_ < 0 || selected_ >= count()) return {};
    return items[static_cast<std::size_t>(selected_)];
}

void ListBox::event(Event& e) {
    const int c = columns();
    const Rect r = screen_bounds;
    switch (e.type) {
    case pointer_down: {
        e.handled = true;
        const float cell_w = (r.w - 2 * padding) / static_cast<float>(c);
        const float column = std::trunc((e.position.x - r.x - padding) / std::max(cell_w, 1.0f));
        const float row = std::trunc((e.position.y - r.y - padding + scroll_) / cell());
        if (!(row >= 0 && row < static_cast<float>(count()))) return; // also keeps the cast in range
        const int index =
            static_cast<int>(row) * c + static_cast<int>(std::clamp(column, 0.0f, static_cast<float>(c - 1)));
        if (index < 0 || index >= count()) return;
        const bool activate_item = e.clicks >= 2;
        auto activated = on_item_activate; // select may replace or destroy the callback's owner
        select(index);
        if (activate_item && activated) activated(index);
        return;
    }
    case wheel_turned:
        e.handled = true;
        scroll_ = clamped(scroll_ - 2 * cell_height() * e.wheel);
        return;
    case key_down:
        break;
    default:
        return;
    }

    const int page = c * static_cast<int>(std::trunc(bounds.h / cell()));
    int target = 0;
    switch (e.key) {
    case vk::enter: {
        e.handled = true;
        if (selected_ < 0 || !on_item_activate) return;
        auto callback = on_item_activate;
        callback(selected_);
        return;
    }
    case vk::page_up:
        target = selected_ - page;
        break;
    case vk::page_down:
        target = selected_ + page;
        break;
    case vk::end:
        target = count() - 1;
        break;
    case vk::home:
        target = 0;
        break;
    case vk::left:
        target = selected_ - 1;
        break;
    case vk::up:
        target = selected_ - c;
        break;
    case vk::right:
        target = selected_ + 1;
        break;
    case vk::down:
        target = selected_ + c;
        break;
    default:
        return;
    }
    e.handled = true;
    select(target);
}

void ListBox::paint(PaintContext& context) {
    Canvas& canvas = context.canvas;
    const Theme& theme = context.theme;
    const Rect r = screen_bounds;
    scroll_ = clamped(scroll_);
    if (frame) canvas.glass(r, theme, theme.panel_radius);
    if (focused()) canvas.stroke(r, theme.accent, 1, theme.panel_radius);

    const Rect content = inset(r, padding);
    canvas.push_clip(content, 6);
    const int c = columns();
    const float h = cell();
    const float cell_w = content.w / static_cast<float>(c);
    // Whole rows from the one scrolled partly out at the top, through two rows of slack.
    const long long first_row = static_cast<long long>(std::trunc(scroll_ / h));
    const long long shown_rows = static_cast<long long>(std::trunc(content.h / h)) + 2;
    const long long first = std::max(0LL, first_row * c);
    const long long last = std::min<long long>(count(), shown_rows * c + first);
    for (long long i = first; i < last; ++i) {
        const Rect at{content.x + static_cast<float>(i % c) * cell_w,
                      content.y + static_cast<float>(i / c) * h - scroll_, cell_w, h};
        paint_item(context, at, static_cast<int>(i));
    }
    canvas.pop_clip();
}

void ListBox::paint_item(PaintContext& context, Rect cell_rect, int index) {
    const Theme& theme = context.theme;
    const bool on = index == selected_;
    if (on) context.canvas.fill(inset(cell_rect, 2), theme.selection, 7);
    context.canvas.text(items[static_cast<std::size_t>(index)],
                        {cell_rect.x + 10, cell_rect.y + (cell_rect.h - 14) * 0.5f}, 14, row_text(on, theme),
                        400);
}

GridView::GridView(std::vector<std::string> list_items, std::int32_t column_count)
    : ListBox(std::move(list_items)), columns(column_count) {
    item_height = 72;
}

void GridView::paint_item(PaintContext& context, Rect cell_rect, int index) {
    const Theme& theme = context.theme;
    const bool on = index == selected();
    context.canvas.fill(inset(cell_rect, 4), on ? theme.selection : theme.control, 9);
    centered(context, items[static_cast<std::size_t>(index)], cell_rect, row_text(on, theme), 14, 400);
}

Sidebar::Sidebar(std::vector<std::string> list_items) : ListBox(std::move(list_items)) {
    item_height = 42;
    frame = false;
}

// ---- tree nodes -------------------------------------------------------------------------------

namespace {

// Depth-first walk of a subtree for TreeNode::node. Nulls are skipped here; the view's own
// walk refuses them when it meets them.
void check_subtree(const TreeNode* node, const TreeNode* owner, int depth,
                   std::unordered_set<const TreeNode*>& seen) {
    if (node == owner || depth > TreeNode::max_depth || !seen.insert(node).second)
        throw std::invalid_argument("Tree cycle/depth");
    for (const auto& child : node->child_nodes)
        if (child) check_subtree(child.get(), owner, depth + 1, seen);
}

} // namespace

TreeNode::TreeNode(std::string label) : Widget(std::move(label)) {
    focusable = true;
    bounds.h = 34;
}

void TreeNode::node(std::shared_ptr<TreeNode> child) {
    if (!child || child.get() == this) throw std::invalid_argument("Tree cycle");
    std::unordered_set<const TreeNode*> seen;
    check_subtree(child.get(), this, 0, seen);
    child_nodes.push_back(std::move(child));
}

void TreeNode::event(Event& e) {
    const Rect r = screen_bounds;
    if (e.type == pointer_up) {
        if (!r.contains(e.position)) return;
        if (e.position.x < r.x + 30 && !child_nodes.empty()) expanded = !expanded;
        e.handled = true;
        selected = true;
        changed();
        activate();
        return;
    }
    if (e.type != key_down) return;
    switch (e.key) {
    case vk::right:
        expanded = true;
        break;
    case vk::left:
        expanded = false;
        break;
    case vk::enter:
        expanded = !expanded;
        break;
    default:
        return;
    }
    e.handled = true;
    selected = true;
    changed();
}

void TreeNode::paint(PaintContext& context) {
    const Theme& theme = context.theme;
    const Rect r = screen_bounds;
    if (selected) context.canvas.fill(r, theme.selection, 7);
    node_text(context.canvas, *this, {r.x + 8, r.y + (r.h - 14) * 0.5f}, row_text(selected, theme));
}

// ---- tree view --------------------------------------------------------------------------------

TreeView::TreeView() {
    focusable = true;
    bounds = {0, 0, 260, 220};
}

void TreeView::root(std::shared_ptr<TreeNode> node) {
    if (!node) throw std::invalid_argument("Null tree root");
    // Appended before the check, so a bad root stays and every later use fails as loudly.
    roots.push_back(std::move(node));
    (void)rows();
}

std::vector<TreeView::Row> TreeView::rows() const {
    std::vector<Row> out;
    collect(out);
    return out;
}

void TreeView::collect(std::vector<Row>& out) const {
    // Each walk marks the nodes it reaches with a number of its own, so a node met twice is
    // seen at once without a set of them.
    static std::atomic<std::uint64_t> walks{0};
    const std::uint64_t walk = ++walks;
    out.clear();
    for (const auto& node : roots) collect(node, 0, walk, out);
}

void TreeView::collect(const std::shared_ptr<TreeNode>& node, int depth, std::uint64_t walk,
                       std::vector<Row>& out) {
    if (!node || depth > TreeNode::max_depth || node->walk_ == walk)
        throw std::logic_error("Tree cycle/depth");
    node->walk_ = walk;
    out.push_back({node, depth});
    if (!node->expanded) return;
    for (const auto& child : node->child_nodes) collect(child, depth + 1, walk, out);
}

void TreeView::select(std::shared_ptr<TreeNode> node) {
    const auto all = rows();
    if (node && std::none_of(all.begin(), all.end(), [&](const Row& row) { return row.node == node; }))
        throw std::logic_error("Node not visible in tree");
    if (selected_) selected_->selected = false;
    selected_ = std::move(node);
    if (selected_) selected_->selected = true;
    changed();
}

float TreeView::clamped(float value, std::size_t row_count) const {
    if (std::isnan(value)) return 0;
    const float limit = std::max(0.0f, static_cast<float>(row_count) * row_height - bounds.h + 12);
    return std::clamp(value, 0.0f, limit);
}

void TreeView::scroll(float value) { scroll_ = clamped(value, rows().size()); }

void TreeView::event(Event& e) {
    if (e.type != pointer_down && e.type != wheel_turned && e.type != key_down) return;
    const auto all = rows();
    const int n = static_cast<int>(all.size());
    const Rect r = screen_bounds;
    switch (e.type) {
    case pointer_down: {
        e.handled = true;
        const float row = std::trunc((e.position.y - r.y - 6 + scroll_) / row_height);
        if (!(row >= 0 && row < static_cast<float>(n))) return;
        const Row& hit_row = all[static_cast<std::size_t>(row)];
        const float expander = r.x + static_cast<float>(hit_row.depth) * indent + 36;
        if (e.position.x < expander && !hit_row.node->child_nodes.empty())
            hit_row.node->expanded = !hit_row.node->expanded;
        select(hit_row.node);
        return;
    }
    case wheel_turned:
        e.handled = true;
        scroll_ = clamped(scroll_ + e.wheel * -2 * row_height, all.size());
        return;
    case key_down:
        if (n == 0) return;
        break;
    default:
        return;
    }

    // A selection hidden under a collapsed ancestor counts from the first row.
    const auto at =
        std::find_if(all.begin(), all.end(), [&](const Row& row) { return row.node == selected_; });
    const int current = at == all.end() ? 0 : static_cast<int>(at - all.begin());
    int target = 0;
    switch (e.key) {
    case vk::end:
        target = n - 1;
        break;
    case vk::home:
        target = 0;
        break;
    case vk::up:
        target = std::max(current - 1, 0);
        break;
    case vk::down:
        target = std::min(current + 1, n - 1);
        break;
    case vk::left:
    case vk::right:
        e.handled = true;
        all[static_cast<std::size_t>(current)].node->expanded = e.key == vk::right;
        changed();
        return;
    default:
        return;
    }
    e.handled = true;
    select(all[static_cast<std::size_t>(target)].node);
    const float y = static_cast<float>(target) * row_height;
    if (scroll_ > y) scroll_ = y;
    if (y + row_height > scroll_ + bounds.h - 12) scroll_ = y + row_height - bounds.h + 12;
}

void TreeView::paint(PaintContext& context) {
    Canvas& canvas = context.canvas;
    const Theme& theme = context.theme;
    const Rect r = screen_bounds;
    canvas.glass(r, theme, theme.panel_radius);
    collect(painted_);
    const auto& all = painted_;
    scroll_ = clamped(scroll_, all.size());
    canvas.push_clip(inset(r, 6), 8);
    const std::size_t first = static_cast<std::size_t>(std::trunc(scroll_ / row_height));
    const std::size_t last = std::min(
        all.size(), first + static_cast<std::size_t>(std::max(0.0f, std::trunc(r.h / row_height))) + 2);
    for (std::size_t i = first; i < last; ++i) {
        const Row& row = all[i];
        const float top = r.y + 6 + static_cast<float>(i) * row_height - scroll_;
        const bool on = row.node == selected_;
        if (on) canvas.fill({r.x + 6, top, std::max(r.w - 12, 0.0f), row_height}, theme.selection, 7);
        node_text(canvas, *row.node, {r.x + 14 + static_cast<float>(row.depth) * indent, top + 10},
                  row_text(on, theme));
    }
    canvas.pop_clip();
    painted_.clear(); // the storage stays, the nodes are let go
}

// ---- assistive technology ---------------------------------------------------------------------

void ComboSelect::describe(AccessibleNode& node) const {
    Button::describe(node);
    node.states |= accessible_state::expandable | accessible_state::has_popup;
    node.items = static_cast<std::int32_t>(options.size());
    node.selected_item = selected_;
}

bool ComboSelect::describe_item(std::int32_t index, AccessibleItem& item) const {
    if (index >= static_cast<std::int32_t>(options.size())) return false;
    item.role = AccessibleRole::menu_item;
    item.name = options[static_cast<std::size_t>(index)];
    item.states = accessible_state::enabled | accessible_state::selectable |
                  (index == selected_ ? accessible_state::selected : 0);
    return true;
}

bool ComboSelect::accessible_action(std::uint32_t action, std::int32_t item) {
    if (item == -1) return Button::accessible_action(action, item);
    if (action != accessible_action::select || item >= static_cast<std::int32_t>(options.size()))
        return false;
    select(item);
    return true;
}

void ListBox::describe(AccessibleNode& node) const {
    Widget::describe(node);
    node.items = count();
    node.selected_item = selected_;
}

bool ListBox::describe_item(std::int32_t index, AccessibleItem& item) const {
    namespace st = accessible_state;
    if (index >= count()) return false;
    const Rect content = inset(screen_bounds, padding);
    const int c = columns();
    const float cell_w = content.w / static_cast<float>(c);
    const Rect at{content.x + static_cast<float>(index % c) * cell_w,
                  content.y + static_cast<float>(index / c) * cell() - scroll_, cell_w, cell()};
    const bool shown = at.intersect(content).h > 0;
    item.role = AccessibleRole::list_item;
    item.name = items[static_cast<std::size_t>(index)];
    item.states = (enabled ? st::enabled : 0) | st::selectable | st::visible | (shown ? st::showing : 0) |
                  (index == selected_ ? st::selected : 0);
    item.bounds = shown ? at : Rect{};
    return true;
}

bool ListBox::accessible_action(std::uint32_t action, std::int32_t item) {
    if (item < 0 || item >= count() || !enabled) return false;
    if (action == accessible_action::select) {
        select(item);
    } else if (action == accessible_action::activate) {
        select(item);
        if (auto callback = on_item_activate) callback(item);
    } else {
        return false;
    }
    return true;
}

void TreeNode::describe(AccessibleNode& node) const {
    namespace st = accessible_state;
    Widget::describe(node);
    node.states |= st::selectable | (selected ? st::selected : 0) |
                   (child_nodes.empty() ? 0 : st::expandable | (expanded ? st::expanded : 0));
}

void TreeView::describe(AccessibleNode& node) const {
    Widget::describe(node);
    const auto all = rows();
    node.items = static_cast<std::int32_t>(all.size());
    for (std::size_t i = 0; i < all.size(); ++i)
        if (all[i].node == selected_) node.selected_item = static_cast<std::int32_t>(i);
}

bool TreeView::describe_item(std::int32_t index, AccessibleItem& item) const {
    namespace st = accessible_state;
    const auto all = rows();
    if (index >= static_cast<std::int32_t>(all.size())) return false;
    const Row& row = all[static_cast<std::size_t>(index)];
    AccessibleNode own;
    row.node->describe(own);
    item.role = AccessibleRole::tree_item;
    item.name = own.name;
    item.states = own.states | st::visible | (enabled ? st::enabled : 0);
    item.level = row.depth;
    const Rect at{screen_bounds.x + 6, screen_bounds.y + 6 + static_cast<float>(index) * row_height - scroll_,
                  std::max(screen_bounds.w - 12, 0.0f), row_height};
    if (at.intersect(screen_bounds).h > 0) {
        item.states |= st::showing;
        item.bounds = at;
    }
    return true;
}

bool TreeView::accessible_action(std::uint32_t action, std::int32_t item) {
    const auto all = rows();
    if (item < 0 || item >= static_cast<std::int32_t>(all.size()) || !enabled) return false;
    const auto& node = all[static_cast<std::size_t>(item)].node;
    if (action == accessible_action::select) {
        select(node);
    } else if (action == accessible_action::expand && !node->child_nodes.empty()) {
        node->expanded = !node->expanded;
        changed();
    } else {
        return false;
    }
    return true;
}

} // namespace velmora::ui
