// Lists and trees through whole scene frames: selection clamping, keyboard movement without
// wrap, grid hits, painting only what is in view, tree cycles and depth, combos.
#include "../scene/frame_driver.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/lists.hpp"
#include "velmora/widgets/menus.hpp"

#include "../thrown.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmora::test {
namespace {

std::vector<std::string> numbered(int n) {
    std::vector<std::string> out;
    for (int i = 0; i < n; ++i) out.push_back("item " + std::to_string(i));
    return out;
}

// A chain of `levels` nodes below a top node, built downwards so node() never objects.
std::shared_ptr<ui::TreeNode> chain(int levels) {
    auto top = std::make_shared<ui::TreeNode>("top");
    for (auto at = top; levels-- > 0; at = at->child_nodes.back())
        at->node(std::make_shared<ui::TreeNode>("n"));
    return top;
}

struct Lists : ::testing::Test {
    ui::Scene scene;
    FrameDriver run{scene};

    template <class T> std::shared_ptr<T> place(std::shared_ptr<T> w) {
        scene.root()->add(w);
        run.frame();
        scene.focus(w);
        return w;
    }
    static ui::Vec2 at(const ui::Widget& w, float dx, float dy) {
        return {w.screen_bounds.x + dx, w.screen_bounds.y + dy};
    }
};

TEST_F(Lists, SelectionClampsAndReportsOnlyChanges) {
    auto empty = place(std::make_shared<ui::ListBox>());
    run.key(ui::vk::home);
    run.key(ui::vk::down);
    EXPECT_EQ(empty->selected(), -1);
    ui::ListBox list(numbered(5));
    std::vector<int> picked;
    list.on_select = [&](int i) { picked.push_back(i); };
    for (int i : {0, 99, -5}) list.select(i);
    list.selected(-1);
    EXPECT_EQ(picked, (std::vector<int>{4, -1}));
    EXPECT_EQ(list.selected_item(), "");
}

TEST_F(Lists, KeysMoveWithoutWrapScrollIntoViewAndActivate) {
    // 180 high, padding 5: 170 of view, five 34-unit rows.
    auto list = place(std::make_shared<ui::ListBox>(numbered(20)));
    run.key(ui::vk::up);
    EXPECT_EQ(list->selected(), -1); // off the top clears rather than wrapping
    run.key(ui::vk::down);
    run.key(ui::vk::page_down);
    EXPECT_EQ(list->selected(), 5);
    EXPECT_FLOAT_EQ(list->scroll(), 6 * 34 - 170);
    run.key(ui::vk::end);
    run.key(ui::vk::down);
    EXPECT_EQ(list->selected(), 19);
    EXPECT_FLOAT_EQ(list->scroll(), 10 + 20 * 34 - 180);
    run.key(ui::vk::home);
    EXPECT_FLOAT_EQ(list->scroll(), 0);
    std::vector<int> activated;
    list->on_item_activate = [&](int i) { activated.push_back(i); };
    run.key(ui::vk::page_up);
    run.key(ui::vk::enter); // nothing selected: nothing to activate
    list->select(3);
    run.key(ui::vk::enter);
    int selects = 0;
    list->on_select = [&](int) { ++selects; };
    run.click(at(*list, 40, 5 + 2 * 34 + 5)); // a double press selects once and activates once
    run.click(at(*list, 40, 5 + 2 * 34 + 5));
    EXPECT_EQ(selects, 1);
    EXPECT_EQ(activated, (std::vector<int>{3, 2}));
    list->scroll(std::nanf(""));
    run.wheel(at(*list, 60, 60), -1); // two rows a notch
    EXPECT_FLOAT_EQ(list->scroll(), 68);
}

TEST_F(Lists, GridMovesByRowsAndIgnoresTheUnfilledCells) {
    auto grid = std::make_shared<ui::GridView>(numbered(7)); // the last row holds only index 6
    grid->bounds = {0, 0, 310, 300};                         // cells 100 wide
    place(grid);
    grid->select(4);
    run.key(ui::vk::down);
    EXPECT_EQ(grid->selected(), 6); // 7 lies past the end
    run.key(ui::vk::up);
    EXPECT_EQ(grid->selected(), 3);
    run.click(at(*grid, 5 + 150, 5 + 2 * 72 + 10)); // row 2, column 1: no item
    EXPECT_EQ(grid->selected(), 3);
    run.click(at(*grid, 5 + 250, 5 + 72 + 10));
    EXPECT_EQ(grid->selected(), 5);
}

TEST_F(Lists, PaintsOnlyTheRowsInView) {
    TextLog log;
    run.canvas.renderer(&log);
    auto list = place(std::make_shared<ui::ListBox>(numbered(100000)));
    list->scroll(34 * 500 + 10);
    log.entries.clear();
    run.frame();
    // 170 units of view: rows 500 to 506, five full ones and two of slack.
    ASSERT_EQ(log.entries.size(), 7u);
    EXPECT_EQ(log.entries.front().text, "item 500");
}

TEST_F(Lists, ComboStepsUpOpensDownAndOutlivesNothing) {
    auto combo = place(std::make_shared<ui::ComboSelect>(std::vector<std::string>{"One", "Two", "Three"}));
    combo->select(7);
    run.key(ui::vk::up);
    EXPECT_EQ(combo->value(), "Two");
    run.key(ui::vk::down);
    auto menu = std::dynamic_pointer_cast<ui::PopupMenu>(scene.overlays().back().widget);
    ASSERT_TRUE(menu);
    EXPECT_TRUE(menu->items[1].checked);
    EXPECT_GE(menu->bounds.y, combo->screen_bounds.y + combo->screen_bounds.h); // opens below
    menu->choose(2);
    EXPECT_EQ(combo->text, "Three");
    // A combo dropped while its menu is open turns the choice into nothing.
    scene.focus(nullptr); // so that no overlay keeps it as the focus to restore
    combo->open_menu();
    menu = std::dynamic_pointer_cast<ui::PopupMenu>(scene.overlays().back().widget);
    std::weak_ptr<ui::ComboSelect> gone = combo;
    scene.root()->remove(combo);
    combo.reset();
    ASSERT_TRUE(gone.expired());
    menu->choose(0);
    EXPECT_TRUE(scene.overlays().empty());
    auto bare = place(std::make_shared<ui::ComboSelect>());
    bare->select(3);
    EXPECT_EQ(bare->selected(), -1);
    run.key(ui::vk::enter); // an empty menu, but a menu
    EXPECT_EQ(scene.overlays().size(), 1u);
}

TEST(Trees, RefuseCyclesRepeatsAndDepthOver128) {
    auto a = std::make_shared<ui::TreeNode>("a");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { a->node(a); }), "Tree cycle");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { a->node(nullptr); }), "Tree cycle");
    auto b = std::make_shared<ui::TreeNode>("b");
    a->node(b);
    EXPECT_EQ(thrown<std::invalid_argument>([&] { b->node(a); }), "Tree cycle/depth");
    // One node under two parents of one subtree counts as a cycle.
    auto shared = std::make_shared<ui::TreeNode>("shared");
    auto p = chain(0), left = chain(0), right = chain(0);
    left->node(shared);
    right->node(shared);
    p->node(left);
    p->node(right);
    EXPECT_EQ(thrown<std::invalid_argument>([&] { a->node(p); }), "Tree cycle/depth");
    a->node(chain(128));
    EXPECT_EQ(thrown<std::invalid_argument>([&] { a->node(chain(129)); }), "Tree cycle/depth");
    EXPECT_EQ(a->child_nodes.size(), 2u);
    ui::TreeView view;
    EXPECT_EQ(thrown<std::invalid_argument>([&] { view.root(nullptr); }), "Null tree root");
    view.root(chain(128));
    EXPECT_EQ(view.rows().back().depth, 128);
    auto top = chain(128); // made too deep behind node()'s back
    auto leaf = top;
    while (!leaf->child_nodes.empty()) leaf = leaf->child_nodes.front();
    leaf->child_nodes.push_back(std::make_shared<ui::TreeNode>("129"));
    EXPECT_EQ(thrown<std::logic_error>([&] { view.root(top); }), "Tree cycle/depth");
    EXPECT_THROW(view.rows(), std::logic_error); // a bad root stays
    top->expanded = false;                       // the walk stops at a folded node
    EXPECT_EQ(view.visible_rows(), 129 + 1);
    view.roots.push_back(view.roots.front());
    EXPECT_THROW(view.visible_rows(), std::logic_error);
}

TEST_F(Lists, TreeKeysExpanderAndHiddenSelection) {
    auto view = std::make_shared<ui::TreeView>();
    auto fruit = std::make_shared<ui::TreeNode>("Fruit");
    auto apple = std::make_shared<ui::TreeNode>("Apple");
    auto veg = std::make_shared<ui::TreeNode>("Veg");
    fruit->node(apple);
    view->root(fruit);
    view->root(veg);
    place(view);
    view->select(apple);
    run.key(ui::vk::down);
    run.key(ui::vk::down); // stops at the last row
    EXPECT_EQ(view->selected(), veg);
    EXPECT_FALSE(apple->selected);
    run.key(ui::vk::home);
    run.key(ui::vk::left); // folds; doesn't move
    EXPECT_FALSE(fruit->expanded);
    EXPECT_EQ(view->selected(), fruit);
    EXPECT_EQ(thrown<std::logic_error>([&] { view->select(apple); }), "Node not visible in tree");
    EXPECT_EQ(view->selected(), fruit);
    run.key(ui::vk::right); // a selection folded away: keys count from the first row
    view->select(apple);
    fruit->expanded = false;
    run.key(ui::vk::down);
    EXPECT_EQ(view->selected(), veg);
    run.click(at(*view, 20, 6 + 10)); // a press left of a parent's label flips it and selects it
    EXPECT_TRUE(fruit->expanded);
    EXPECT_EQ(view->selected(), fruit);
    run.click(at(*view, 20, 200)); // empty space
    EXPECT_EQ(view->selected(), fruit);
}

} // namespace
} // namespace velmora::test
