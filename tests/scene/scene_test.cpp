// Scene and Widget: whole frames driven from Input records (pointer routing, focus, overlays,
// keys), and direct calls: dispatch, focus order, overlays, teardown, tree edits and callbacks.
#include "frame_driver.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/scene/widget.hpp"
#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/dialogs.hpp"
#include "velmora/widgets/menus.hpp"

#include "../thrown.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <stdexcept>
#include <vector>

namespace ui = velmora::ui;
using velmora::test::FrameDriver;
using velmora::test::Probe;
using velmora::test::thrown;
using Widgets = std::vector<std::shared_ptr<ui::Widget>>;

namespace {

std::shared_ptr<ui::Panel> panel() {
    auto p = std::make_shared<ui::Panel>("");
    p->bounds = {0, 0, 200, 100};
    return p;
}

using Types = std::vector<int>;

struct Frames : ::testing::Test {
    ui::Scene scene;
    FrameDriver run{scene};
    std::shared_ptr<Probe> a = scene.root()->emplace<Probe>("a", ui::Rect{0, 0, 100, 40});
    std::shared_ptr<Probe> b = scene.root()->emplace<Probe>("b", ui::Rect{0, 100, 100, 40});

    Frames() { run.frame(); } // gives the scene its size before overlays are positioned

    std::shared_ptr<ui::PopupMenu> menu() {
        auto m = std::make_shared<ui::PopupMenu>();
        m->item("x", {});
        return m;
    }
};

} // namespace

TEST(SceneDispatch, BubblesUntilHandledAndSurvivesRemoval) {
    ui::Scene scene;
    auto outer = scene.root()->emplace<Probe>("outer", ui::Rect{0, 0, 300, 300});
    auto middle = outer->emplace<Probe>("middle", ui::Rect{0, 0, 200, 200});
    auto inner = middle->emplace<Probe>("inner");
    middle->handles = true;
    ui::Event e = velmora::test::key_event(65);
    EXPECT_TRUE(scene.dispatch(inner, e, true));
    EXPECT_EQ(inner->seen.size() + middle->seen.size(), 2u);
    EXPECT_TRUE(outer->seen.empty());

    // A handler that removes its own widget, which nothing else holds any more.
    std::weak_ptr<Probe> weak = inner;
    middle->handles = false;
    inner->on_event = [&](ui::Event&) { middle->remove(weak.lock()); };
    EXPECT_FALSE(scene.dispatch(std::move(inner), e, true));
    EXPECT_TRUE(weak.expired());
    // The walk read the parent after the handler ran: the detached widget had none left.
    EXPECT_EQ(middle->seen.size(), 1u);
    EXPECT_FALSE(scene.dispatch(nullptr, e, true));
}

TEST(SceneFocus, OrderStopsAtModalBarrierButNotAtKeepFocusPopup) {
    ui::Scene scene;
    auto in_root = scene.root()->emplace<Probe>("root");
    auto lower = panel();
    auto lower_probe = lower->emplace<Probe>("lower");
    scene.show(lower, false, false, {0, 0}, true);
    auto completion = panel();
    auto completion_probe = completion->emplace<Probe>("completion");
    scene.show(completion, false, true, {0, 0}, true);
    EXPECT_EQ(scene.focus_order(), (Widgets{in_root, lower_probe, completion_probe}));

    auto modal = panel();
    auto modal_probe = modal->emplace<Probe>("modal");
    scene.show(modal, true, false, {0, 0}, false);
    EXPECT_EQ(scene.focus_order(), (Widgets{modal_probe}));
    EXPECT_EQ(scene.focus(), modal_probe);

    // Closing the modal drops the hover inside it and gives back the focus from before it opened.
    FrameDriver run(scene);
    run.frame();
    const ui::Rect at = modal_probe->screen_bounds;
    run.move({at.x + at.w / 2, at.y + at.h / 2});
    ASSERT_EQ(scene.hovered(), modal_probe);
    scene.close(modal.get());
    EXPECT_EQ(scene.focus(), nullptr);
    EXPECT_EQ(scene.hovered(), nullptr);
}

TEST(SceneOverlays, ShowRefusesAttachedWidgetsReordersAndPopupsReplacePopups) {
    ui::Scene scene;
    scene.layout(800, 600);
    auto child = scene.root()->emplace<ui::Widget>();
    for (const auto& bad : {std::shared_ptr<ui::Widget>{}, child})
        EXPECT_EQ(thrown<std::invalid_argument>([&] { scene.show(bad, false, false, {}, false); }),
                  "Overlay must be unattached");

    auto a = panel(), first = panel(), second = panel();
    scene.show(a, false, false, {-1, 10}, false);
    scene.show(panel(), false, false, {790, 590}, false);
    scene.show(a, false, false, {-1, -1}, false); // moves to the top, no duplicate
    scene.close(child.get());                     // not an overlay: nothing
    ASSERT_EQ(scene.overlays().size(), 2u);
    EXPECT_EQ(scene.overlays().back().widget, a);
    // A popup replaces the popup on top, but not one beneath a modal.
    scene.show(first, false, true, {0, 0}, false);
    scene.show(second, false, true, {0, 0}, false);
    ASSERT_EQ(scene.overlays().size(), 3u);
    EXPECT_EQ(scene.overlays().back().widget, second);
    scene.show(panel(), true, false, {0, 0}, false);
    scene.show(first, false, true, {0, 0}, false);
    EXPECT_EQ(scene.overlays().size(), 5u);
}

TEST(SceneLifetime, DestructionClearsSceneOfSurvivors) {
    std::shared_ptr<ui::Widget> kept, shown;
    std::shared_ptr<ui::Notification> note;
    {
        ui::Scene scene;
        FrameDriver run(scene);
        run.frame();
        kept = scene.root()->emplace<ui::Widget>();
        shown = panel();
        scene.show(shown, false, false, {0, 0}, false);
        note = std::make_shared<ui::Notification>("t", "b");
        scene.notify(note, 5);
        run.frame();
        ASSERT_EQ(note->scene, &scene);
    }
    EXPECT_TRUE(!kept->scene && !shown->scene && !note->scene);
}

TEST(WidgetTree, AddRejectsCyclesAndReparentingAndRemoveDropsFocusPressAndHover) {
    auto a = std::make_shared<ui::Widget>();
    auto b = a->emplace<ui::Widget>();
    auto c = b->emplace<ui::Widget>();
    for (const auto& [parent, child] : {std::pair{a, std::shared_ptr<ui::Widget>{}}, {a, a}, {c, a}})
        EXPECT_EQ(thrown<std::invalid_argument>([&] { parent->add(child); }), "Widget cycle");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { std::make_shared<ui::Widget>()->add(c); }),
              "Detach widget before reparenting");
    b->add(c); // already there: nothing happens, no duplicate
    EXPECT_EQ(b->children.size(), 1u);

    ui::Scene scene;
    auto panel = scene.root()->emplace<ui::Widget>();
    panel->bounds = {0, 0, 200, 200};
    auto inner = panel->emplace<Probe>("inner", ui::Rect{10, 10, 50, 30});
    FrameDriver run(scene);
    run.press({20, 20});
    ASSERT_TRUE(scene.focus() == inner && scene.pressed() == inner && scene.hovered() == inner);
    scene.root()->remove(std::make_shared<ui::Widget>()); // a stranger: nothing
    scene.root()->remove(panel);
    EXPECT_EQ(panel->parent, nullptr);
    EXPECT_TRUE(!scene.focus() && !scene.pressed() && !scene.hovered() && !inner->scene);
    EXPECT_FALSE(inner->pressed || inner->hovered);
    EXPECT_EQ(inner->count(ui::focus_lost_event), 1);
}

TEST(WidgetCallbacks, ActivateNeedsEnabledAndSurvivesDestroyingItsWidget) {
    auto w = std::make_shared<ui::Widget>();
    int activations = 0, changes = 0;
    w->on_activate = [&](ui::Widget&) { ++activations; };
    w->on_change = [&](ui::Widget&) { ++changes; };
    w->enabled = false;
    w->activate();
    w->changed(); // a change is reported even while disabled
    EXPECT_TRUE(activations == 0 && changes == 1);

    auto holder = std::make_shared<std::shared_ptr<ui::Widget>>(std::make_shared<ui::Widget>());
    (*holder)->on_activate = [holder, &activations](ui::Widget&) {
        holder->reset(); // destroys the widget that is running this callback
        ++activations;
    };
    (*holder)->activate();
    EXPECT_EQ(activations, 1);
}

TEST(Widget, VisibleWidgetsNeedFiniteNonNegativeBounds) {
    ui::Scene scene;
    const ui::Rect screen{0, 0, 800, 600};
    auto outer = std::make_shared<ui::Widget>();
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

TEST_F(Frames, PointerEventsFollowTheHoveredAndTheHeldWidget) {
    EXPECT_TRUE(a->seen.empty()); // no pointer yet: no events, no hover
    run.move({10, 10});
    EXPECT_EQ(scene.hovered(), a);
    run.move({10, 110});
    EXPECT_TRUE(!a->hovered && b->hovered);

    a->forget();
    run.click({10, 10}); // press and release in one frame
    EXPECT_EQ(a->types(), (Types{ui::focus_gained, ui::pointer_down, ui::pointer_up}));
    EXPECT_EQ(scene.pressed(), nullptr);

    // A drag that leaves still reports to the pressed widget; the press frame sends it a move too.
    a->forget();
    b->forget();
    run.press({10, 10});
    EXPECT_TRUE(a->pressed);
    run.move({10, 110});
    run.release({10, 110});
    EXPECT_EQ(a->types(), (Types{ui::pointer_down, ui::pointer_move, ui::pointer_move, ui::pointer_up}));
    EXPECT_FLOAT_EQ(a->last(ui::pointer_up)->position.y, 110);
    EXPECT_EQ(b->count(ui::pointer_move), 0);

    // Moves go to the hovered widget every frame and bubble only while the button is held.
    auto child = a->emplace<Probe>("child", ui::Rect{0, 0, 50, 20});
    a->forget();
    run.move({5, 5});
    run.frame();
    EXPECT_EQ(child->count(ui::pointer_move), 2);
    EXPECT_EQ(a->count(ui::pointer_move), 0);
    run.press({5, 5});
    run.frame();
    EXPECT_EQ(a->count(ui::pointer_move), 2);

    // Losing the window's focus ends the press silently; the next press works normally.
    run.lose_focus();
    EXPECT_EQ(scene.focus(), nullptr);
    EXPECT_FALSE(child->pressed);
    EXPECT_EQ(child->count(ui::pointer_up), 0);
    run.click({5, 5});
    EXPECT_EQ(child->count(ui::pointer_up), 1);
}

TEST_F(Frames, DialogsKeepTabInsidePopupsCloseOnAPressOutsideAndModalsHoldBackWhatLiesBeneath) {
    auto dialog = std::make_shared<ui::Modal>("Settings");
    auto field = dialog->emplace<Probe>("field");
    dialog->open(scene);
    EXPECT_EQ(scene.focus(), dialog); // the dialog is the first focusable of its subtree
    run.tab();
    EXPECT_EQ(scene.focus(), field);
    run.tab();
    EXPECT_EQ(scene.focus(), dialog);
    scene.close(dialog.get());

    menu()->open(scene, {300, 300}, false);
    run.press({10, 10});
    EXPECT_TRUE(scene.overlays().empty());
    run.release({10, 10});
    EXPECT_TRUE(a->seen.empty()); // the closing press reached nothing, nor its release

    scene.show(panel(), false, false, {400, 300}, false); // a plain overlay lets presses through
    run.click({10, 10});
    EXPECT_EQ(a->count(ui::pointer_down), 1);
    auto popup = menu();
    popup->open(scene, {0, 200}, false);
    scene.show(panel(), true, false, {400, 300}, false);
    run.click({10, 210}); // over the popup, under the modal
    EXPECT_EQ(scene.overlays().size(), 3u);
    EXPECT_EQ(popup->active, 0);
    run.move({10, 10});
    EXPECT_EQ(scene.hovered(), nullptr);
}

TEST_F(Frames, WhatWasDrawnIsCountedAfreshAfterForgetting) {
    scene.forget_rendered();
    EXPECT_TRUE(scene.rendered_names().empty());
    run.frame();
    EXPECT_EQ(scene.rendered_names(), (std::set<std::string>{"Panel", "Widget"}));
    EXPECT_EQ(scene.rendered_kinds().size(), 2u);
}

TEST_F(Frames, EveryVisibleWidgetTicksOncePerFrameFirstChildAndOverlaysIncluded) {
    auto popup = std::make_shared<Probe>("p");
    scene.show(popup, false, true, {}, true);
    a->ticks = b->ticks = 0;
    run.frame();
    EXPECT_EQ(a->ticks + b->ticks + popup->ticks, 3);
    EXPECT_EQ(a->ticks, 1);
}

TEST_F(Frames, HiddenFocusIsDroppedAndEscapeClosesTheTopOverlayOnlyWhenNothingHandledIt) {
    scene.focus(a);
    a->visible = false;
    run.frame();
    EXPECT_EQ(scene.focus(), nullptr);
    EXPECT_EQ(a->count(ui::focus_lost_event), 1);
    // So is one inside a hidden parent, or beneath a modal overlay that let it keep the focus.
    auto holder = scene.root()->emplace<ui::Panel>("");
    auto inner = holder->emplace<Probe>("inner", ui::Rect{0, 0, 10, 10});
    scene.focus(inner);
    holder->visible = false;
    run.frame();
    EXPECT_EQ(scene.focus(), nullptr);
    scene.focus(b);
    scene.show(panel(), true, false, {0, 0}, true);
    EXPECT_EQ(scene.focus(), b);
    run.frame();
    EXPECT_EQ(scene.focus(), nullptr);
    scene.close_top();

    scene.show(panel(), false, false, {0, 0}, true);
    auto top = panel();
    scene.show(top, false, false, {0, 0}, true);
    scene.focus(b);
    b->handles = true;
    run.key(27);
    EXPECT_EQ(scene.overlays().size(), 2u);
    b->handles = false;
    run.key(27);
    ASSERT_EQ(scene.overlays().size(), 1u);
    EXPECT_NE(scene.overlays().back().widget, top);
    scene.focus(nullptr);
    run.key(27); // no focus counts as unhandled
    EXPECT_TRUE(scene.overlays().empty());
}
