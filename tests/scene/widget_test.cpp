// Widget: tree edits, callbacks, placing and hit testing.
#include "frame_driver.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/scene/widget.hpp"
#include "velmora/widgets/containers.hpp"

#include "../thrown.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace ui = velmora::ui;
using velmora::test::FrameDriver;
using velmora::test::thrown;

namespace {

std::shared_ptr<ui::Widget> widget(ui::Rect at = {0, 0, 100, 40}) {
    auto w = std::make_shared<ui::Widget>("w");
    w->bounds = at;
    return w;
}

} // namespace

TEST(WidgetTree, AddRejectsCyclesAndReparenting) {
    auto a = widget();
    auto b = a->emplace<ui::Widget>();
    auto c = b->emplace<ui::Widget>();
    EXPECT_EQ(thrown<std::invalid_argument>([&] { a->add(nullptr); }), "Widget cycle");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { a->add(a); }), "Widget cycle");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { c->add(a); }), "Widget cycle");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { widget()->add(c); }), "Detach widget before reparenting");

    b->add(c); // already there: nothing happens, no duplicate
    EXPECT_EQ(b->children.size(), 1u);
    EXPECT_TRUE(c->descendant_of(a.get()));
    EXPECT_FALSE(c->descendant_of(nullptr));
}

TEST(WidgetTree, RemoveDetachesAndDropsFocusPressAndHover) {
    ui::Scene scene;
    auto panel = scene.root()->emplace<ui::Widget>();
    panel->bounds = {0, 0, 200, 200};
    auto inner = panel->emplace<velmora::test::Probe>("inner", ui::Rect{10, 10, 50, 30});
    FrameDriver run(scene);
    run.press({20, 20});
    ASSERT_EQ(scene.focus(), inner);
    ASSERT_EQ(scene.pressed(), inner);
    ASSERT_EQ(scene.hovered(), inner);

    scene.root()->remove(std::make_shared<ui::Widget>()); // a stranger: nothing
    scene.root()->remove(panel);
    EXPECT_EQ(panel->parent, nullptr);
    EXPECT_EQ(scene.focus(), nullptr);
    EXPECT_EQ(scene.pressed(), nullptr);
    EXPECT_EQ(scene.hovered(), nullptr);
    EXPECT_EQ(inner->scene, nullptr);
    EXPECT_FALSE(inner->pressed);
    EXPECT_FALSE(inner->hovered);
    EXPECT_EQ(inner->count(ui::focus_lost_event), 1);
}

TEST(WidgetCallbacks, ActivateNeedsEnabledAndSurvivesDestroyingItsWidget) {
    auto w = widget();
    int activations = 0, changes = 0;
    w->on_activate = [&](ui::Widget&) { ++activations; };
    w->on_change = [&](ui::Widget&) { ++changes; };
    w->enabled = false;
    w->activate();
    w->changed(); // a change is reported even while disabled
    EXPECT_EQ(activations, 0);
    EXPECT_EQ(changes, 1);

    auto holder = std::make_shared<std::shared_ptr<ui::Widget>>(widget());
    (*holder)->on_activate = [holder, &activations](ui::Widget&) {
        holder->reset(); // destroys the widget that is running this callback
        ++activations;
    };
    (*holder)->activate();
    EXPECT_EQ(activations, 1);
    EXPECT_EQ(*holder, nullptr);
}

TEST(WidgetPlace, VisibleWidgetsNeedFiniteNonNegativeBounds) {
    ui::Scene scene;
    const ui::Rect screen{0, 0, 800, 600};
    auto outer = widget();
    auto inner = outer->emplace<ui::Widget>();
    inner->bounds = {80, 5, 50, -1};
    inner->visible = false;
    EXPECT_NO_THROW(outer->place(scene, {}, screen));
    inner->visible = true;
    EXPECT_EQ(thrown<std::invalid_argument>([&] { outer->place(scene, {}, screen); }),
              "Invalid widget bounds");
    inner->bounds = {80, 5, 0, 0}; // empty is fine
    EXPECT_NO_THROW(outer->place(scene, {}, screen));
}

TEST(WidgetDraw, HoveredOrSelectedSurfacesAreHighlighted) {
    ui::Scene scene;
    ui::Canvas canvas;
    ui::PaintContext context{canvas, scene, scene.theme, 0};
    auto w = widget();
    for (bool hovered : {false, true}) {
        w->hovered = hovered;
        canvas.begin(800, 600, scene.theme);
        w->surface(context, false, 4);
        EXPECT_EQ(canvas.commands().size(), hovered ? 2u : 1u);
    }
    canvas.begin(800, 600, scene.theme);
    w->surface(context, true, 4);
    EXPECT_EQ(canvas.commands().size(), 2u);
}
