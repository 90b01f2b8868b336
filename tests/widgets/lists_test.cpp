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

TEST_F(Lists, KeysMoveWithoutWrapScrollIntoViewAndActivate) {
    // 180 high, padding 5: 170 of view, five 34-unit rows.
    auto list = place(std::make_shared<ui::ListBox>(numbered(20)));
    run.key(ui::vk::up);
    EXPECT_EQ(list->selected(), -1); // off the top clears rather than wrapping
    run.key(ui::vk::end);
    run.key(ui::vk::down);
    EXPECT_EQ(list->selected(), 19);
    EXPECT_FLOAT_EQ(list->scroll(), 10 + 20 * 34 - 180); // the last row in view
    std::vector<int> activated;
    list->on_item_activate = [&](int i) { activated.push_back(i); };
    run.key(ui::vk::home);
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
}

// A last row only partly filled still gets its whole height in the scroll range.
TEST(Grids, ScrollFarEnoughForAPartlyFilledLastRow) {
    const auto max_scroll = [](int items) {
        ui::GridView grid(numbered(items), 3);
        grid.bounds = {0, 0, 310, 100};
        return grid.max_scroll();
    };
    EXPECT_EQ(max_scroll(7), max_scroll(9));
    EXPECT_LT(max_scroll(6), max_scroll(7));
}

TEST(Trees, RefuseCyclesRepeatsAndDepthOver128) {
    auto a = std::make_shared<ui::TreeNode>("a");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { a->node(a); }), "Tree cycle");
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
    ui::TreeView view;
    auto top = chain(128); // made too deep behind node()'s back
    auto leaf = top;
    while (!leaf->child_nodes.empty()) leaf = leaf->child_nodes.front();
    leaf->child_nodes.push_back(std::make_shared<ui::TreeNode>("129"));
    EXPECT_EQ(thrown<std::logic_error>([&] { view.root(top); }), "Tree cycle/depth");
    EXPECT_THROW(view.rows(), std::logic_error); // a bad root stays
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
    EXPECT_EQ(thrown<std::logic_error>([&] { view->select(apple); }), "Node not visible in tree");
    run.click(at(*view, 20, 6 + 10)); // a press left of a parent's label flips it and selects it
    EXPECT_TRUE(fruit->expanded);
    EXPECT_EQ(view->selected(), fruit);
}

} // namespace
} // namespace velmora::test
