// Range controls and containers: checked setters, drags on the grid, keys off it, which thumb a
// press takes, tabs and nested scroll panes.
#include "../scene/frame_driver.hpp"

#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/range.hpp"

#include "../thrown.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace velmora::test {
namespace {

constexpr double bad = std::numeric_limits<double>::quiet_NaN();

// One focused control in a scene, counting its changes. A range control's track is at x 9 .. 209.
template <class T> struct Rig {
    ui::Scene scene;
    FrameDriver run{scene};
    std::shared_ptr<T> control;
    int changes = 0;

    template <class... Args> explicit Rig(ui::Rect at, Args&&... args) {
        control = scene.root()->emplace<T>(std::forward<Args>(args)...);
        control->bounds = at;
        control->on_change = [this](ui::Widget&) { ++changes; };
        run.frame();
        scene.focus(control);
    }
    void drag(float from, float to) {
        run.press({from, 18});
        run.move({to, 300}); // leaving the control still drags
        run.release({to, 18});
    }
};
constexpr ui::Rect range_box{0, 0, 218, 36};

TEST(Slider, RefusesBadArgumentsByName) {
    ui::Slider s(0.5);
    int changes = 0;
    s.on_change = [&](ui::Widget&) { ++changes; };
    const std::pair<const char*, std::function<void()>> refused[] = {
        {"Non-finite value", [&] { s.value(std::numeric_limits<double>::infinity()); }},
        {"Slider range", [&] { s.range(2, 2); }},
        {"Slider range", [&] { s.range(0, bad); }},
        {"Slider step", [&] { s.step(0); }},
    };
    for (const auto& [message, call] : refused) EXPECT_EQ(thrown<std::invalid_argument>(call), message);
    EXPECT_EQ(changes, 0);
    s.range(0.75, 4); // the value is pulled into the new range, and that is a change
    EXPECT_EQ(s.value(), 0.75);
    EXPECT_EQ(changes, 1);
}

TEST(Slider, DragSnapsToTheGridButKeysStepWithoutSnapping) {
    Rig<ui::Slider> rig(range_box);
    rig.drag(9 + 200 * 0.333f, 9 + 200 * 0.9f);
    EXPECT_DOUBLE_EQ(rig.control->value(), 0.9);
    rig.control->value(0.005);
    rig.run.key(39);
    EXPECT_NEAR(rig.control->value(), 0.015, 1e-12);
    rig.run.key(35);
    rig.changes = 0;
    rig.run.key(38); // already at the end: no change
    EXPECT_EQ(rig.changes, 0);
    rig.control->range(-10, 10);
    rig.control->step(5);
    rig.drag(10, 9 + 200 * 0.6f); // 2 lands on the grid of 5 from -10 at 0
    EXPECT_EQ(rig.control->value(), 0);
}

TEST(RangeSlider, LowStaysBelowHighAndAPressTakesTheNearerThumb) {
    Rig<ui::RangeSlider> rig(range_box); // low at x 59, high at x 159
    rig.drag(150, 9 + 200 * 0.9f);
    EXPECT_DOUBLE_EQ(rig.control->high, 0.9);
    EXPECT_EQ(rig.control->low, 0.25);
    rig.drag(40, 9 + 200 * 0.95f); // the low thumb stops at the high one
    EXPECT_DOUBLE_EQ(rig.control->low, 0.9);
    rig.control->values(1, 1);
    rig.run.click({217, 18}); // both at the end: only low can move
    rig.run.key(37);          // keys move the active thumb
    EXPECT_NEAR(rig.control->low, 0.99, 1e-12);
    EXPECT_EQ(thrown<std::invalid_argument>([&] { rig.control->values(bad, 1); }), "Range value");
}

TEST(Tabs, ShowOnePageAndKeepTheSelectionInRange) {
    Rig<ui::Tabs> rig({0, 0, 300, 220});
    std::vector<std::shared_ptr<ui::TabPage>> pages;
    for (const char* title : {"A", "B", "C"}) pages.push_back(rig.control->emplace<ui::TabPage>(title));
    for (unsigned k : {39u, 39u, 39u, 37u}) rig.run.key(k); // no wrap at the end
    rig.run.frame();
    EXPECT_TRUE(pages[1]->visible);
    EXPECT_FALSE(pages[0]->visible || pages[2]->visible);
    EXPECT_EQ(rig.changes, 3);
    rig.control->remove(pages[2]);
    rig.control->remove(pages[1]); // the selection falls back into range and says so
    rig.run.frame();
    EXPECT_EQ(rig.control->selected(), 0);
    EXPECT_TRUE(pages[0]->visible);
    EXPECT_EQ(rig.changes, 4);
}

TEST(ScrollPane, WheelOverAFittingInnerPaneScrollsTheOuterOne) {
    Rig<ui::ScrollPane> rig({0, 0, 300, 180});
    auto inner = rig.control->emplace<ui::ScrollPane>();
    inner->bounds = {0, 0, 200, 100};
    inner->add(std::make_shared<Probe>("", ui::Rect{0, 0, 50, 40}));
    rig.control->add(std::make_shared<Probe>("", ui::Rect{0, 300, 50, 100}));
    rig.run.frame();
    rig.run.wheel({50, 50}, -100);
    EXPECT_EQ(rig.control->offset, rig.control->max_scroll());
    EXPECT_EQ(rig.changes, 1);
    rig.control->scroll(std::numeric_limits<float>::quiet_NaN()); // no position: back to the top
    EXPECT_EQ(rig.control->offset, 0);
}

} // namespace
} // namespace velmora::test
