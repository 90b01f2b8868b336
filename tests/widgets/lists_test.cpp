// Lists and trees, driven through whole scene frames: selection clamping, keyboard movement
// without wrap, grid hits, painting only what is in view, tree cycles and depth, combos.
#include "../scene/frame_driver.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/lists.hpp"
#include "velmora/widgets/menus.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace ui = velmora::ui;
using velmora::test::FrameDriver;
using velmora::test::TextLog;

namespace {

std::vector<std::string> numbered(int n) {
    std::vector<std::string> out;
    for (int i = 0; i < n; ++i) out.push_back("item " + std::to_string(i));
    return out;
}

struct Lists : ::testing::Test {
    ui::Scene scene;
    FrameDriver run{scene};

    // Adds a control at (x, y) and gives it the focus by a frame-driven press.
    template <class T> std::shared_ptr<T> place(std::shared_ptr<T> w, float x = 20, float y = 20) {
        w->bounds.x = x;
        w->bounds.y = y;
        scene.root()->add(w);
        run.frame();
        scene.focus(w);
        return w;
    }
    // A point given relative to a widget's screen rectangle.
    static ui::Vec2 at(const ui::Widget& w, float dx, float dy) {
        return {w.screen_bounds.x + dx, w.screen_bounds.y + dy};
    }
};

template <class F> void expect_failure(F&& f, const char* message) {
    try {
        f();
        ADD_FAILURE() << "no exception, expected " << message;
    } catch (const std::exception& e) {
        EXPECT_STREQ(e.what(), message);
    }
}

// A chain of `levels` nodes below a fresh top node, built downwards so node() never objects.
std::shared_ptr<ui::TreeNode> chain(int levels) {
    auto top = std::make_shared<ui::TreeNode>("top");
    auto at = top;
    for (int i = 0; i < levels; ++i) {
        auto next = std::make_shared<ui::TreeNode>("n");
        at->node(next);
        at = next;
    }
    return top;
}

} // namespace

// ---- ListBox --------------------------------------------------------------------------------

TEST_F(Lists, SelectionStartsAtFirstItemAndClampsQuietly) {
    auto empty = place(std::make_shared<ui::ListBox>());
    EXPECT_EQ(empty->selected(), -1);
    for (unsigned key : {ui::vk::home, ui::vk::end, ui::vk::down, ui::vk::page_down}) {
        run.key(key);
        EXPECT_EQ(empty->selected(), -1);
    }
    EXPECT_EQ(empty->selected_item(), "");

    auto list = std::make_shared<ui::ListBox>(numbered(5));
    std::vector<int> picked;
    int changes = 0;
    list->on_select = [&](int i) { picked.push_back(i); };
    list->on_change = [&](ui::Widget&) { ++changes; };
    EXPECT_EQ(list->selected(), 0);
    EXPECT_EQ(list->selected_item(), "item 0");
    list->select(0); // no change, no callbacks
    list->select(99);
    EXPECT_EQ(list->selected(), 4);
    list->select(-5);
    EXPECT_EQ(list->selected(), -1);
    EXPECT_EQ(list->selected_item(), "");
    list->select(-1);
    EXPECT_EQ(picked, (std::vector<int>{4, -1}));
    EXPECT_EQ(changes, 2);

    // Items replaced behind the list's back: the stale index names nothing.
    list->select(4);
    list->items.resize(2);
    EXPECT_EQ(list->selected_item(), "");
    list->select(9);
    EXPECT_EQ(list->selected(), 1);
}

TEST_F(Lists, KeysMoveWithoutWrapAndScrollIntoView) {
    // 180 high, padding 5: 170 of view, so five 34-unit rows fit exactly.
    auto list = place(std::make_shared<ui::ListBox>(numbered(20)));
    run.key(ui::vk::up);
    EXPECT_EQ(list->selected(), -1); // off the top clears rather than wrapping
    run.key(ui::vk::down);
    EXPECT_EQ(list->selected(), 0);
    run.key(ui::vk::page_down); // 5 rows a page
    EXPECT_EQ(list->selected(), 5);
    EXPECT_FLOAT_EQ(list->scroll(), 6 * 34 - 170);
    run.key(ui::vk::end);
    EXPECT_EQ(list->selected(), 19);
    EXPECT_FLOAT_EQ(list->scroll(), list->max_scroll());
    EXPECT_FLOAT_EQ(list->max_scroll(), 10 + 20 * 34 - 180);
    run.key(ui::vk::down);
    run.key(ui::vk::right);
    EXPECT_EQ(list->selected(), 19);
    run.key(ui::vk::home);
    EXPECT_EQ(list->selected(), 0);
    EXPECT_FLOAT_EQ(list->scroll(), 0);
    run.key(ui::vk::page_up);
    EXPECT_EQ(list->selected(), -1);

    int activated = -2;
    list->on_item_activate = [&](int i) { activated = i; };
    run.key(ui::vk::enter); // nothing selected: nothing to activate
    EXPECT_EQ(activated, -2);
    list->select(3);
    run.key(ui::vk::enter);
    EXPECT_EQ(activated, 3);
    EXPECT_EQ(list->selected(), 3);

    list->scroll(1e9f);
    EXPECT_FLOAT_EQ(list->scroll(), list->max_scroll());
    list->scroll(std::nanf(""));
    EXPECT_FLOAT_EQ(list->scroll(), 0);
    run.wheel(at(*list, 60, 60), -1); // two rows a notch, towards the end
    EXPECT_FLOAT_EQ(list->scroll(), 68);
}

TEST_F(Lists, GridMovesByRowsAndIgnoresTheUnfilledCells) {
    // 7 items in 3 columns: the last row holds only index 6.
    auto grid = std::make_shared<ui::GridView>(numbered(7));
    grid->bounds.w = 310; // cells 100 wide
    grid->bounds.h = 300;
    place(grid, 0, 0);
    EXPECT_EQ(grid->columns_count(), 3);
    grid->select(4);
    run.key(ui::vk::down);
    EXPECT_EQ(grid->selected(), 6); // 7 is past the end: clamped to the last
    grid->select(1);
    run.key(ui::vk::down);
    EXPECT_EQ(grid->selected(), 4);
    run.key(ui::vk::up);
    run.key(ui::vk::up);
    EXPECT_EQ(grid->selected(), -1);

    grid->select(2);
    run.click(at(*grid, 5 + 150, 5 + 2 * 72 + 10)); // row 2, column 1: no item there
    EXPECT_EQ(grid->selected(), 2);
    run.click(at(*grid, 5 + 50, 5 + 2 * 72 + 10));
    EXPECT_EQ(grid->selected(), 6);
    run.click(at(*grid, 5 + 250, 5 + 72 + 10));
    EXPECT_EQ(grid->selected(), 5);

    grid->columns = 0;
    EXPECT_EQ(grid->columns_count(), 1);
}

TEST_F(Lists, DoublePressSelectsOnceAndActivatesOnce) {
    auto list = place(std::make_shared<ui::ListBox>(numbered(5)), 0, 0);
    int selects = 0;
    std::vector<int> activated;
    list->on_select = [&](int) { ++selects; };
    list->on_item_activate = [&](int i) { activated.push_back(i); };
    const ui::Vec2 third = at(*list, 40, 5 + 2 * 34 + 5);
    run.click(third);
    run.click(third);
    EXPECT_EQ(list->selected(), 2);
    EXPECT_EQ(selects, 1);
    EXPECT_EQ(activated, (std::vector<int>{2}));
}

TEST_F(Lists, PaintsOnlyTheRowsInView) {
    TextLog log;
    run.canvas.renderer(&log);
    auto list = place(std::make_shared<ui::ListBox>(numbered(100000)), 0, 0);
    list->scroll(34 * 500 + 10);
    log.entries.clear();
    run.frame();
    // 170 units of view: rows 500 to 506, five full ones plus two of slack.
    EXPECT_EQ(log.entries.front().text, "item 500");
    EXPECT_EQ(log.entries.size(), 7u);
    EXPECT_FLOAT_EQ(log.entries.front().position.y, list->screen_bounds.y + 5 - 10 + (34 - 14) * 0.5f);

    auto bar = place(std::make_shared<ui::Sidebar>(std::vector<std::string>{"a"}), 300, 0);
    EXPECT_FALSE(bar->frame);
    EXPECT_FLOAT_EQ(bar->cell_height(), 42);
}

// ---- ComboSelect ---------------------------------------------------------------------------------

TEST_F(Lists, ComboStepsUpOpensDownAndSurvivesItsMenu) {
    auto combo = place(std::make_shared<ui::ComboSelect>(std::vector<std::string>{"One", "Two", "Three"}));
    EXPECT_EQ(combo->text, "One");
    combo->select(7);
    EXPECT_EQ(combo->value(), "Three");
    EXPECT_EQ(combo->text, "Three");
    run.key(ui::vk::up);
    EXPECT_EQ(combo->selected(), 1);
    run.key(ui::vk::down);
    ASSERT_EQ(scene.overlays().size(), 1u);
    auto menu = std::dynamic_pointer_cast<ui::PopupMenu>(scene.overlays().back().widget);
    ASSERT_TRUE(menu);
    EXPECT_FLOAT_EQ(menu->bounds.w, combo->bounds.w);
    EXPECT_FLOAT_EQ(menu->bounds.y, combo->screen_bounds.y + combo->screen_bounds.h + 4);
    ASSERT_EQ(menu->items.size(), 3u);
    EXPECT_TRUE(menu->items[1].checked);
    menu->choose(2);
    EXPECT_EQ(combo->value(), "Three");
    EXPECT_TRUE(scene.overlays().empty());

    // The menu outlives a combo that is dropped while it is open: choosing does nothing.
    scene.focus(nullptr); // so that no overlay remembers the combo as the focus to restore
    combo->open_menu();
    menu = std::dynamic_pointer_cast<ui::PopupMenu>(scene.overlays().back().widget);
    std::weak_ptr<ui::ComboSelect> gone = combo;
    scene.root()->remove(combo);
    combo.reset();
    EXPECT_TRUE(gone.expired());
    menu->choose(0);
    EXPECT_TRUE(scene.overlays().empty());
}

TEST_F(Lists, ComboWithoutOptions) {
    auto combo = place(std::make_shared<ui::ComboSelect>());
    EXPECT_EQ(combo->selected(), 0);
    EXPECT_EQ(combo->value(), "");
    int changes = 0;
    combo->on_change = [&](ui::Widget&) { ++changes; };
    combo->select(3);
    EXPECT_EQ(combo->selected(), -1);
    EXPECT_EQ(changes, 0);
    run.key(ui::vk::enter);
    ASSERT_EQ(scene.overlays().size(), 1u);
    EXPECT_FLOAT_EQ(scene.overlays().back().widget->bounds.h, 12);

    auto loose = std::make_shared<ui::ComboSelect>(std::vector<std::string>{"x"});
    loose->open_menu(); // no scene: nothing
    EXPECT_EQ(scene.overlays().size(), 1u);
}

// ---- trees --------------------------------------------------------------------------------------

TEST(TreeNodes, RefuseCyclesRepeatsAndDepthOver128) {
    auto a = std::make_shared<ui::TreeNode>("a");
    expect_failure([&] { a->node(a); }, "Tree cycle");
    expect_failure([&] { a->node(nullptr); }, "Tree cycle");
    EXPECT_THROW(a->node(nullptr), std::invalid_argument);

    auto b = std::make_shared<ui::TreeNode>("b");
    a->node(b);
    expect_failure([&] { b->node(a); }, "Tree cycle/depth");
    EXPECT_THROW(b->node(a), std::invalid_argument);

    // One node reachable through two parents counts as a cycle.
    auto shared = std::make_shared<ui::TreeNode>("shared");
    auto p = std::make_shared<ui::TreeNode>("p");
    auto left = std::make_shared<ui::TreeNode>("left");
    auto right = std::make_shared<ui::TreeNode>("right");
    left->node(shared);
    right->node(shared);
    p->node(left);
    p->node(right); // the walk sees only right's own subtree
    auto top = std::make_shared<ui::TreeNode>("top");
    expect_failure([&] { top->node(p); }, "Tree cycle/depth");
    EXPECT_TRUE(top->child_nodes.empty());

    // A subtree 128 levels deep is accepted, one level more is not.
    top->node(chain(128));
    expect_failure([&] { top->node(chain(129)); }, "Tree cycle/depth");
    EXPECT_EQ(top->child_nodes.size(), 1u);
}

TEST(TreeViews, RowsFollowExpansionAndStopBelowDepth128) {
    ui::TreeView view;
    expect_failure([&] { view.root(nullptr); }, "Null tree root");
    EXPECT_THROW(view.root(nullptr), std::invalid_argument);

    view.root(chain(128)); // deepest row at depth 128
    auto all = view.rows();
    ASSERT_EQ(all.size(), 129u);
    EXPECT_EQ(all.back().depth, 128);
    all.front().node->expanded = false;
    EXPECT_EQ(view.visible_rows(), 1);

    // One level too deep: the root stays, and so does the failure, even while folded.
    ui::TreeView deep;
    auto top = chain(128);
    auto leaf = top;
    while (!leaf->child_nodes.empty()) leaf = leaf->child_nodes.front();
    leaf->child_nodes.push_back(std::make_shared<ui::TreeNode>("129"));
    expect_failure([&] { deep.root(top); }, "Tree cycle/depth");
    EXPECT_EQ(deep.roots.size(), 1u);
    EXPECT_THROW(deep.rows(), std::logic_error);
    top->expanded = false;
    EXPECT_EQ(deep.visible_rows(), 1); // the walk stops at the folded top

    // A node listed twice among the roots, and a null child, are refused the same way.
    ui::TreeView twice;
    auto same = std::make_shared<ui::TreeNode>("same");
    twice.root(same);
    expect_failure([&] { twice.root(same); }, "Tree cycle/depth");
    ui::TreeView holes;
    auto parent = std::make_shared<ui::TreeNode>("parent");
    parent->child_nodes.push_back(nullptr);
    EXPECT_THROW(holes.root(parent), std::logic_error);
}

TEST_F(Lists, TreeSelectionKeysAndExpander) {
    auto view = std::make_shared<ui::TreeView>();
    auto fruit = std::make_shared<ui::TreeNode>("Fruit");
    auto apple = std::make_shared<ui::TreeNode>("Apple");
    auto pear = std::make_shared<ui::TreeNode>("Pear");
    auto veg = std::make_shared<ui::TreeNode>("Veg");
    fruit->node(apple);
    fruit->node(pear);
    view->root(fruit);
    view->root(veg);
    place(view, 0, 0);
    int changes = 0;
    view->on_change = [&](ui::Widget&) { ++changes; };

    view->select(pear);
    EXPECT_TRUE(pear->selected);
    view->select(pear);
    EXPECT_EQ(changes, 2); // even when it is the same node
    run.key(ui::vk::down);
    EXPECT_EQ(view->selected(), veg);
    EXPECT_FALSE(pear->selected);
    run.key(ui::vk::down);
    EXPECT_EQ(view->selected(), veg); // stops at the last row
    run.key(ui::vk::home);
    run.key(ui::vk::up);
    EXPECT_EQ(view->selected(), fruit);

    // Folding hides the children; a hidden node can't be selected.
    run.key(ui::vk::left);
    EXPECT_FALSE(fruit->expanded);
    EXPECT_EQ(view->visible_rows(), 2);
    try {
        view->select(apple);
        ADD_FAILURE() << "selected a hidden node";
    } catch (const std::logic_error& e) {
        EXPECT_STREQ(e.what(), "Node not visible in tree");
    }
    EXPECT_EQ(view->selected(), fruit);
    run.key(ui::vk::right);
    EXPECT_TRUE(fruit->expanded);

    // The selection folded away: keys count from the first row.
    view->select(apple);
    fruit->expanded = false;
    run.key(ui::vk::down);
    EXPECT_EQ(view->selected(), veg);

    // A press left of the label on a parent flips it and selects it; further right only selects.
    run.click(at(*view, 20, 6 + 10));
    EXPECT_TRUE(fruit->expanded);
    EXPECT_EQ(view->selected(), fruit);
    run.click(at(*view, 100, 6 + 10));
    EXPECT_TRUE(fruit->expanded);
    run.click(at(*view, 20, 6 + 34 + 10)); // Apple has no children: nothing to flip
    EXPECT_EQ(view->selected(), apple);
    run.click(at(*view, 20, 200)); // empty space changes nothing
    EXPECT_EQ(view->selected(), apple);

    view->select(nullptr);
    EXPECT_FALSE(apple->selected);
    EXPECT_EQ(view->selected(), nullptr);
}

TEST_F(Lists, TreeScrollsTheSelectedRowIntoView) {
    auto view = std::make_shared<ui::TreeView>();
    for (int i = 0; i < 30; ++i) view->root(std::make_shared<ui::TreeNode>("r" + std::to_string(i)));
    place(view, 0, 0);
    run.key(ui::vk::end);
    EXPECT_FLOAT_EQ(view->scroll(), 30 * 34 - 220 + 12);
    run.key(ui::vk::home);
    EXPECT_FLOAT_EQ(view->scroll(), 0);
    run.wheel(at(*view, 50, 50), -1);
    EXPECT_FLOAT_EQ(view->scroll(), 68);
    view->scroll(-4);
    EXPECT_FLOAT_EQ(view->scroll(), 0);
}

TEST_F(Lists, StandaloneNodeFlipsAndSelects) {
    auto node = place(std::make_shared<ui::TreeNode>("n"), 0, 0);
    int activations = 0;
    node->on_activate = [&](ui::Widget&) { ++activations; };
    run.key(ui::vk::enter); // flips even with no children
    EXPECT_FALSE(node->expanded);
    EXPECT_TRUE(node->selected);
    EXPECT_EQ(activations, 0);
    run.click(at(*node, 10, 10)); // no children: the expander does nothing
    EXPECT_FALSE(node->expanded);
    EXPECT_EQ(activations, 1);
    node->node(std::make_shared<ui::TreeNode>("c"));
    run.click(at(*node, 10, 10));
    EXPECT_TRUE(node->expanded);
    run.click(at(*node, 60, 10));
    EXPECT_TRUE(node->expanded);
}
