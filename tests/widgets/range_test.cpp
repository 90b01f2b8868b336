// Range controls: checked setters, drags on the grid, keys off it, thumbs and captions.
#include "../scene/frame_driver.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/range.hpp"

#include "../thrown.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace velmora::test {
namespace {

constexpr double bad = std::numeric_limits<double>::quiet_NaN();

// One control in a scene, counting its changes. A control 218 wide has its track at x + 9 .. x + 209.
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
    void drag(ui::Vec2 from, ui::Vec2 to) {
        run.press(from);
        run.move(to);
        run.release(to);
    }
};

TEST(Slider, ChecksItsProgrammingInterface) {
    EXPECT_EQ(thrown<std::invalid_argument>([] { ui::Slider s(bad); }), "Non-finite value");
    EXPECT_EQ(ui::Slider(7).value(), 1);
    ui::Slider s(0.5);
    int changes = 0;
    s.on_change = [&](ui::Widget&) { ++changes; };
    EXPECT_EQ(thrown<std::invalid_argument>([&] { s.value(std::numeric_limits<double>::infinity()); }),
              "Non-finite value");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { s.range(2, 2); }), "Slider range");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { s.range(0, bad); }), "Slider range");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { s.step(0); }), "Slider step");
    EXPECT_EQ(changes, 0);
    s.range(0.75, 4); // the value is pulled into the new range, and that is a change
    EXPECT_EQ(s.value(), 0.75);
    s.value(0.75);
    EXPECT_EQ(changes, 1);
}

TEST(Slider, DragSnapsToTheGridButKeysStepWithoutSnapping) {
    Rig<ui::Slider> rig({100, 100, 218, 36});
    rig.run.press({109 + 200 * 0.333f, 118});
    EXPECT_DOUBLE_EQ(rig.control->value(), 0.33);
    rig.run.move({109 + 200 * 0.9f, 300}); // leaving the control still drags
    rig.run.release({109, 118});           // the release keeps the value
    rig.run.move({0, 0});
    EXPECT_FALSE(rig.control->dragging);
    EXPECT_DOUBLE_EQ(rig.control->value(), 0.9);
    rig.control->value(0.005);
    rig.changes = 0;
    rig.run.key(39);
    EXPECT_NEAR(rig.control->value(), 0.015, 1e-12);
    for (unsigned k : {40u, 40u}) rig.run.key(k);
    EXPECT_EQ(rig.control->value(), 0);
    rig.run.key(35);
    rig.run.key(38); // already at the end: no change
    EXPECT_EQ(rig.control->value(), 1);
    EXPECT_EQ(rig.changes, 4);
    rig.control->range(-10, 10);
    rig.control->step(5);
    rig.drag({110, 118}, {109 + 200 * 0.6f, 118}); // 2 lands on the grid of 5 from -10 at 0
    EXPECT_EQ(rig.control->value(), 0);
}

TEST(RangeSlider, ValuesKeepLowBelowHighAndPressTakesTheNearerThumb) {
    Rig<ui::RangeSlider> rig({0, 0, 218, 36}); // low at x 59, high at x 159
    rig.drag({150, 18}, {9 + 200 * 0.9f, 18});
    EXPECT_EQ(rig.control->active, 1);
    EXPECT_DOUBLE_EQ(rig.control->high, 0.9);
    EXPECT_EQ(rig.control->low, 0.25);
    rig.drag({40, 18}, {9 + 200 * 0.95f, 18}); // the low thumb stops at the high one
    EXPECT_EQ(rig.control->active, 0);
    EXPECT_DOUBLE_EQ(rig.control->low, 0.9);
    EXPECT_DOUBLE_EQ(rig.control->high, 0.9);
    rig.run.click({9 + 200 * 0.95f, 18}); // coinciding thumbs: the pointer's side decides
    EXPECT_EQ(rig.control->active, 1);
    rig.control->values(1, 1);
    rig.run.click({217, 18}); // both at the end: only low can move
    EXPECT_EQ(rig.control->active, 0);
    rig.control->values(0.2, 0.6);
    rig.run.key(37); // keys move the active thumb
    EXPECT_NEAR(rig.control->low, 0.19, 1e-12);
    EXPECT_EQ(rig.control->high, 0.6);
    rig.control->values(0.8, 0.2); // low is kept below high
    EXPECT_EQ(rig.control->high, 0.8);
    EXPECT_EQ(thrown<std::invalid_argument>([&] { rig.control->values(bad, 1); }), "Range value");
}

} // namespace
} // namespace velmora::test
