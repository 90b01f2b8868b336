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

TEST_F(Frames, AccordionFoldsAndRemembersItsHeight) {
    auto acc = add<ui::Accordion>("Accordion");
    acc->bounds.h = 200;
    probe_in(*acc, {10, 60, 100, 30});
    run.frame();
    EXPECT_EQ(scene.focus_order().size(), 2u);
    run.click({100, 100}); // below the heading
    EXPECT_TRUE(acc->expanded());
    run.click({100, 20});
    EXPECT_FALSE(acc->expanded());
    EXPECT_EQ(acc->bounds.h, 40);
    EXPECT_EQ(scene.focus_order().size(), 1u); // folded content is out of reach
    for (unsigned k : {32u, 13u, 32u}) run.key(k);
    EXPECT_TRUE(acc->expanded());
    EXPECT_EQ(acc->bounds.h, 200);
    acc->expanded(true);
    EXPECT_EQ(changes, 4);
}

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

} // namespace
} // namespace velmora::test
