// Widget: tree edits, callbacks, placing, hit testing and drawing.
#include "frame_driver.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/scene/widget.hpp"
#include "velmora/widgets/containers.hpp"

#include "../thrown.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>

namespace ui = velmora::ui;
using velmora::test::command_color;
using velmora::test::command_kind;
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

TEST(WidgetPlace, ComputesScreenBoundsAndClipsAndChecksVisibleBoundsOnly) {
    ui::Scene scene;
    const ui::Rect screen{0, 0, 800, 600};
    auto outer = widget({10, 20, 100, 100});
    outer->clips_children = true;
    auto inner = outer->emplace<ui::Widget>();
    inner->bounds = {80, 5, 50, 10};
    outer->place(scene, {1, 2}, screen);
    EXPECT_FLOAT_EQ(inner->screen_bounds.x, 91);
    EXPECT_FLOAT_EQ(inner->screen_bounds.y, 27);
    EXPECT_FLOAT_EQ(inner->clip.w, 20); // cut by the parent's clip
    EXPECT_EQ(inner->scene, &scene);
    outer->clips_children = false;
    outer->place(scene, {1, 2}, screen);
    EXPECT_FLOAT_EQ(inner->clip.w, 50);

    inner->bounds.h = -1;
    inner->visible = false;
    EXPECT_NO_THROW(outer->place(scene, {}, screen));
    inner->visible = true;
    for (ui::Rect bad : {ui::Rect{80, 5, 50, -1}, ui::Rect{NAN, 0, 1, 1}}) {
        inner->bounds = bad;
        EXPECT_EQ(thrown<std::invalid_argument>([&] { outer->place(scene, {}, screen); }),
                  "Invalid widget bounds");
    }
}

TEST(WidgetHit, TopmostEnabledAndHitThrough) {
    ui::Scene scene;
    auto panel = widget({0, 0, 300, 300});
    panel->hit_through = true;
    auto under = panel->emplace<ui::Widget>();
    under->bounds = {0, 0, 100, 100};
    auto over = panel->emplace<ui::Widget>();
    over->bounds = {50, 50, 100, 100};
    panel->place(scene, {}, {0, 0, 800, 600});

    EXPECT_EQ(panel->hit({60, 60}), over);
    EXPECT_EQ(panel->hit({10, 10}), under);
    EXPECT_EQ(panel->hit({250, 250}), nullptr); // through the panel itself
    over->enabled = false;
    EXPECT_EQ(panel->hit({60, 60}), under);
    panel->enabled = false; // hides the whole subtree
    EXPECT_EQ(panel->hit({10, 10}), nullptr);
}

TEST(WidgetDraw, RecordsOnlyWhatIsVisibleAndSurfacesPreferSelectionOverHover) {
    ui::Scene scene;
    ui::Canvas canvas;
    canvas.begin(800, 600, scene.theme);
    ui::PaintContext context{canvas, scene, scene.theme, 0};
    auto shown = std::make_shared<ui::Panel>("");
    auto clipped = shown->emplace<ui::Widget>();
    clipped->bounds = {1000, 0, 10, 10}; // outside the parent's clip
    shown->place(scene, {}, {0, 0, 800, 600});
    shown->draw(context);
    EXPECT_EQ(scene.rendered_names(), (std::set<std::string>{"Panel"}));
    EXPECT_EQ(scene.rendered_kinds(), (std::set<ui::ControlKind>{ui::ControlKind::Panel}));
    EXPECT_EQ(canvas.clip_depth(), 0u);
    std::size_t glass = 0, clips = 0;
    for (const auto& c : canvas.commands()) {
        glass += command_kind(c) == ui::kind_glass;
        clips += command_kind(c) == ui::kind_push_clip;
    }
    EXPECT_EQ(glass, 1u);
    EXPECT_EQ(clips, 1u); // panels clip their children

    auto w = widget();
    w->hovered = true;
    for (bool selected : {true, false}) {
        canvas.begin(800, 600, scene.theme);
        w->surface(context, selected, selected ? -1 : 4);
        ASSERT_EQ(canvas.commands().size(), 2u);
        EXPECT_EQ(command_color(canvas.commands()[1]), selected ? scene.theme.selection : scene.theme.hover);
        if (selected) { // -1 asks for the theme's radius
            EXPECT_FLOAT_EQ(canvas.commands()[1].slot[5], scene.theme.radius);
        }
    }
}
