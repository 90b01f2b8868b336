// Containers: layout modes, folding, tabs, split and scroll panes, bars, driven by whole frames.
#include "../scene/frame_driver.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/widgets/containers.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velmora::test {
namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

std::shared_ptr<Probe> probe_in(ui::Widget& parent, ui::Rect at) {
    auto p = std::make_shared<Probe>("", at);
    parent.add(p);
    return p;
}

struct Frames : ::testing::Test {
    ui::Scene scene;
    FrameDriver run{scene};
    int changes = 0;

    template <class T, class... Args> std::shared_ptr<T> add(Args&&... args) {
        auto w = scene.root()->emplace<T>(std::forward<Args>(args)...);
        w->on_change = [this](ui::Widget&) { ++changes; };
        return w;
    }
};

TEST_F(Frames, TabsShowOnePageAtATime) {
    auto tabs = add<ui::Tabs>();
    tabs->bounds = {0, 0, 300, 220};
    std::vector<std::shared_ptr<ui::TabPage>> pages;
    for (const char* title : {"A", "B", "C"}) pages.push_back(tabs->emplace<ui::TabPage>(title));
    run.frame();
    EXPECT_FALSE(pages[1]->visible);
    run.click({150, 100}); // on the page, not the strip
    EXPECT_EQ(tabs->selected(), 0);
    run.click({150, 39});
    EXPECT_EQ(tabs->selected(), 1);
    EXPECT_TRUE(pages[1]->visible);
    EXPECT_FALSE(pages[0]->visible);
    run.key(39);
    run.key(39); // no wrap at the end
    EXPECT_EQ(tabs->selected(), 2);
    run.key(37);
    EXPECT_EQ(changes, 3);
    tabs->remove(pages[2]);
    tabs->remove(pages[1]); // the selection falls back into range and says so
    run.frame();
    EXPECT_EQ(tabs->selected(), 0);
    EXPECT_TRUE(pages[0]->visible);
    EXPECT_EQ(changes, 4);
    ui::Tabs empty;
    empty.select(5);
    EXPECT_EQ(empty.selected(), 0);
}

TEST_F(Frames, ScrollPaneWheelPassesOnWhenContentFits) {
    auto outer = add<ui::ScrollPane>();
    auto inner = std::make_shared<ui::ScrollPane>();
    outer->add(inner);
    inner->bounds = {0, 0, 200, 100};
    probe_in(*inner, {0, 0, 50, 40});
    probe_in(*outer, {0, 300, 50, 100});
    run.frame();
    EXPECT_EQ(inner->max_scroll(), 0);
    EXPECT_EQ(outer->max_scroll(), 410 - 180);
    run.wheel({50, 50}, -1); // over the fitting inner pane: the outer one scrolls
    EXPECT_EQ(outer->offset, 38);
    run.wheel({50, 50}, -100);
    run.wheel({50, 50}, -1);
    EXPECT_EQ(outer->offset, 230);
    EXPECT_EQ(changes, 2);
    outer->scroll(nan);
    EXPECT_EQ(outer->offset, 0);
}

TEST_F(Frames, BreadcrumbArrowsMoveWithoutChoosingAndEnterChooses) {
    auto crumbs = add<ui::Breadcrumb>(std::vector<std::string>{"Home", "Project", "Doc"});
    std::vector<int> chosen;
    crumbs->on_select = [&](int i) { chosen.push_back(i); };
    run.frame();
    scene.focus(crumbs);
    for (unsigned k : {ui::vk::right, ui::vk::right, ui::vk::right}) run.key(k);
    EXPECT_EQ(crumbs->active, 2); // no further than the last
    run.key(ui::vk::left);
    EXPECT_EQ(crumbs->active, 1);
    EXPECT_TRUE(chosen.empty());
    run.key(ui::vk::enter);
    EXPECT_EQ(chosen, (std::vector<int>{1}));
}

} // namespace
} // namespace velmora::test
