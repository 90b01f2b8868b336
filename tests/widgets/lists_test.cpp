// Lists, trees and the command palette through whole scene frames: keys without wrap,
// activation, tree cycles and depth, folding, filtering and running commands.
#include "../scene/frame_driver.hpp"

#include "velmora/widgets/lists.hpp"
#include "velmora/widgets/palette.hpp"

#include "../thrown.hpp"

#include <gtest/gtest.h>

namespace velmora::test {
namespace {

using Strings = std::vector<std::string>;

Strings numbered(int n) {
    Strings out;
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
};

TEST_F(Lists, KeysMoveWithoutWrapKeepTheSelectionInViewAndEnterActivates) {
    auto list = place(std::make_shared<ui::ListBox>(numbered(20)));
    run.key(ui::vk::up);
    EXPECT_EQ(list->selected(), -1); // off the top clears rather than wrapping
    run.key(ui::vk::end);
    run.key(ui::vk::down);
    EXPECT_FLOAT_EQ(list->scroll(), 10 + 20 * 34 - 180); // the last row in view
    std::vector<int> activated;
    list->on_item_activate = [&](int i) { activated.push_back(i); };
    list->select(-1);
    run.key(ui::vk::enter); // nothing selected: nothing to activate
    list->select(3);
    run.key(ui::vk::enter);
    EXPECT_EQ(activated, (std::vector<int>{3}));
}

TEST(Trees, RefuseCyclesRepeatsAndDepthOver128) {
    auto a = std::make_shared<ui::TreeNode>("a");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { a->node(a); }), "Tree cycle");
    // One node under two parents of one subtree counts as a cycle.
    auto shared = chain(0), p = chain(0), left = chain(0), right = chain(0);
    left->node(shared);
    right->node(shared);
    p->node(left);
    p->node(right);
    EXPECT_EQ(thrown<std::invalid_argument>([&] { a->node(p); }), "Tree cycle/depth");
    a->node(chain(128));
    EXPECT_EQ(thrown<std::invalid_argument>([&] { a->node(chain(129)); }), "Tree cycle/depth");
}

TEST_F(Lists, TreeKeysFoldAndUnfoldAndAHiddenNodeCannotBeSelected) {
    auto view = std::make_shared<ui::TreeView>();
    auto fruit = std::make_shared<ui::TreeNode>("Fruit"), apple = std::make_shared<ui::TreeNode>("Apple");
    fruit->node(apple);
    view->root(fruit);
    place(view);
    view->select(apple);
    run.key(ui::vk::home);
    EXPECT_FALSE(apple->selected);
    run.key(ui::vk::left); // folds; doesn't move
    EXPECT_FALSE(fruit->expanded);
    EXPECT_EQ(view->selected(), fruit);
    EXPECT_EQ(thrown<std::logic_error>([&] { view->select(apple); }), "Node not visible in tree");
    run.key(ui::vk::right);
    EXPECT_TRUE(fruit->expanded);
}

TEST_F(Lists, PaletteFiltersAndRunsACommandAfterClosingEvenOneThatDestroysIt) {
    auto palette = std::make_shared<ui::CommandPalette>();
    Strings ran;
    bool open_while_running = true;
    for (const char* title : {"Open File", "Save file", "Close window", "打开设置", "Éditer"})
        palette->command(title, [&, title] {
            ran.push_back(title);
            open_while_running = !scene.overlays().empty();
        });
    palette->command("Quit palette", [&] {
        scene.command_palette(nullptr);
        palette.reset();
    });
    scene.command_palette(palette);
    const std::pair<std::string, Strings> cases[] = {
        {"FILE", {"Open File", "Save file"}},
        {"éditer", {}}, // É and é differ in their bytes: only ASCII folds
        {"ÉDITER", {"Éditer"}},
        {"E W", {"Close window"}},
        {"cw", {}}, // a subsequence isn't enough
    };
    for (const auto& [query, expected] : cases) {
        palette->search(query);
        EXPECT_EQ(palette->list->items, expected) << query;
        EXPECT_EQ(palette->matches.size(), expected.size()) << query;
    }
    palette->search("");
    run.key('K', true);
    run.frame(); // for the palette to hand the focus to its query
    for (unsigned k : {ui::vk::down, ui::vk::down, ui::vk::enter}) run.key(k);
    EXPECT_EQ(ran, (Strings{"Close window"}));
    EXPECT_FALSE(open_while_running);
    run.key('K', true);
    run.frame();
    std::weak_ptr<ui::CommandPalette> watch = palette;
    run.type("quit");
    run.key(ui::vk::enter);
    EXPECT_TRUE(watch.expired());
    EXPECT_TRUE(scene.overlays().empty());
}

} // namespace
} // namespace velmora::test
