// Containers: layout modes, folding, tabs, split and scroll panes, bars, driven by whole frames.
#include "../scene/frame_driver.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/widgets/containers.hpp"

#include <gtest/gtest.h>

#include <initializer_list>
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

void expect_rect(ui::Rect r, float x, float y, float w, float h) {
    EXPECT_FLOAT_EQ(r.x, x);
    EXPECT_FLOAT_EQ(r.y, y);
    EXPECT_FLOAT_EQ(r.w, w);
    EXPECT_FLOAT_EQ(r.h, h);
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
    void drag(std::initializer_list<ui::Vec2> path) {
        run.press(*path.begin());
        for (auto p = path.begin() + 1; p != path.end(); ++p) run.move(*p);
        run.release(*(path.end() - 1));
    }
};

TEST_F(Frames, PanelLayoutModesAndDraggingLeavesTheReleaseUnhandled) {
    auto outer = scene.root()->emplace<Probe>("", ui::Rect{0, 0, 800, 600});
    auto panel = std::make_shared<ui::Panel>();
    outer->add(panel);
    auto a = probe_in(*panel, {0, 0, 50, 20});
    auto hidden = probe_in(*panel, {7, 7, 60, 50});
    auto b = probe_in(*panel, {0, 0, 30, 40});
    auto c = probe_in(*panel, {0, 0, 30, 30});
    auto d = probe_in(*panel, {0, 0, 30, 10});
    hidden->visible = false;
    panel->layout_mode = ui::layout_row;
    run.frame();
    expect_rect(b->bounds, 16 + 50 + 10, 16, 30, 40);
    panel->layout_mode = ui::layout_column;
    run.frame();
    expect_rect(b->bounds, 16, 16 + 20 + 10, 288, 40);
    panel->layout_mode = ui::layout_grid;
    panel->columns = 3;
    run.frame();
    EXPECT_FLOAT_EQ(c->bounds.y, 16);
    EXPECT_FLOAT_EQ(d->bounds.y, 16 + 40 + 10); // the row is as tall as its tallest
    expect_rect(hidden->bounds, 7, 7, 60, 50);  // an invisible child takes no cell
    auto dragged = std::make_shared<ui::Panel>();
    outer->add(dragged);
    dragged->bounds = {100, 400, 200, 100};
    dragged->draggable = true;
    drag({{150, 450}, {170, 440}});
    expect_rect(dragged->bounds, 120, 390, 200, 100);
    EXPECT_EQ(outer->count(ui::pointer_down), 0);
    EXPECT_EQ(outer->count(ui::pointer_up), 1);
}

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

TEST_F(Frames, SplitPaneLaysOutTheFirstTwoChildrenAndItsDividerDrags) {
    auto split = add<ui::SplitPane>();
    auto first = probe_in(*split, {1, 1, 1, 1});
    run.frame();
    expect_rect(first->bounds, 1, 1, 1, 1); // one child: nothing to split
    auto second = probe_in(*split, {});
    auto third = probe_in(*split, {5, 5, 5, 5});
    run.frame();
    expect_rect(second->bounds, 204, 0, 196, 200);
    expect_rect(third->bounds, 5, 5, 5, 5);
    drag({{205, 100}, {300, 150}}); // within 6 of the divider: the pane's, not its child's
    EXPECT_EQ(second->count(ui::pointer_down), 0);
    EXPECT_FLOAT_EQ(split->ratio(), 0.75f);
    EXPECT_FLOAT_EQ(first->bounds.w, 296);
    drag({{290, 100}, {100, 100}}); // a press on a child that bubbles up leaves the divider alone
    EXPECT_EQ(first->count(ui::pointer_down), 1);
    EXPECT_FLOAT_EQ(split->ratio(), 0.75f);
    split->vertical = true;
    split->ratio(0.25f);
    run.frame();
    expect_rect(second->bounds, 0, 54, 400, 146);
    split->ratio(nan);
    EXPECT_EQ(split->ratio(), 0);
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

TEST_F(Frames, ScrollPaneThumbCentresOnTrackPressAndKeepsItsGrab) {
    auto pane = add<ui::ScrollPane>();
    auto content = probe_in(*pane, {0, 0, 100, 400});
    run.frame();
    const float size = pane->thumb().h;
    run.press({295, 100});
    EXPECT_NEAR(pane->thumb().y + pane->thumb().h / 2, 100, 0.01);
    EXPECT_EQ(content->count(ui::pointer_down), 0);
    run.move({295, 1000});
    run.release({295, 1000});
    EXPECT_EQ(pane->offset, pane->max_scroll());
    EXPECT_FALSE(pane->thumb_dragging);
    drag({{295, 176 - size + 5}, {295, 176 - size}});
    EXPECT_NEAR(pane->offset, pane->max_scroll() * (1 - 5 / (172 - size)), 0.01);
}

TEST_F(Frames, FocusRevealsThroughNestedPanes) {
    auto outer = add<ui::ScrollPane>();
    auto inner = std::make_shared<ui::ScrollPane>();
    outer->add(inner);
    inner->bounds = {0, 300, 280, 150};
    auto deep = probe_in(*inner, {0, 400, 100, 40});
    auto top = probe_in(*inner, {0, 0, 100, 40});
    run.frame();
    scene.focus(deep);
    run.frame();
    EXPECT_FLOAT_EQ(deep->screen_bounds.y + deep->screen_bounds.h, 180); // just in view
    const float outer_offset = outer->offset;
    scene.focus(top); // the inner pane scrolls back; the outer one already shows it
    EXPECT_EQ(inner->offset, 0);
    EXPECT_EQ(outer->offset, outer_offset);
    Probe stranger;
    outer->reveal(stranger);
    EXPECT_EQ(outer->offset, outer_offset);
}

TEST_F(Frames, BreadcrumbClickSelectsArrowsPrepareAndDragBarMovesItsParent) {
    auto crumbs = add<ui::Breadcrumb>(std::vector<std::string>{"Home", "Project", "Doc"});
    std::vector<int> chosen;
    crumbs->on_select = [&](int i) { chosen.push_back(i); };
    ui::Event early = release_event({5, 5});
    crumbs->event(early); // never painted: no starts, nothing to select
    EXPECT_FALSE(early.handled);
    run.frame();
    run.click({55, 18}); // the separator belongs to the item on its left
    run.click({100, 18});
    run.click({390, 18}); // past the last item
    EXPECT_EQ(chosen, (std::vector<int>{0, 1}));
    EXPECT_EQ(changes, 2);
    run.key(39);
    run.key(39);
    EXPECT_EQ(crumbs->active, 2);
    EXPECT_EQ(chosen.size(), 2u);
    run.key(13);
    EXPECT_EQ(chosen.back(), 2);
    EXPECT_EQ(changes, 2);
    auto card = add<ui::Card>("Card");
    card->bounds = {100, 100, 300, 200};
    card->emplace<ui::DragBar>("grip")->bounds = {0, 0, 220, 36};
    drag({{110, 110}, {160, 130}, {170, 130}});
    expect_rect(card->bounds, 160, 120, 300, 200);
}

} // namespace
} // namespace velmora::test
