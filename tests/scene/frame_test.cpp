// Scene::frame: whole frames driven from Input records: pointer routing, focus, overlays and keys.
#include "frame_driver.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/dialogs.hpp"
#include "velmora/widgets/menus.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace ui = velmora::ui;
using velmora::test::FrameDriver;
using velmora::test::Probe;

namespace {

using Types = std::vector<int>;

struct Fixture : ::testing::Test {
    ui::Scene scene;
    FrameDriver run{scene};
    std::shared_ptr<Probe> a = scene.root()->emplace<Probe>("a", ui::Rect{0, 0, 100, 40});
    std::shared_ptr<Probe> b = scene.root()->emplace<Probe>("b", ui::Rect{0, 100, 100, 40});

    Fixture() { run.frame(); } // gives the scene its size before overlays are positioned

    std::shared_ptr<ui::Panel> overlay(ui::Rect at = {400, 300, 200, 100}) {
        auto p = std::make_shared<ui::Panel>("");
        p->bounds = at;
        return p;
    }
    std::shared_ptr<ui::PopupMenu> menu() {
        auto m = std::make_shared<ui::PopupMenu>();
        m->item("x", {});
        return m;
    }
};

using FramePointer = Fixture;
using FrameOverlays = Fixture;
using FrameKeys = Fixture;

} // namespace

TEST_F(FramePointer, HoverPressAndReleaseFollowThePointerAndTheHeldWidget) {
    run.frame();
    EXPECT_TRUE(a->seen.empty()); // no pointer yet: no events, no hover
    EXPECT_EQ(scene.hovered(), nullptr);
    run.move({10, 10});
    EXPECT_EQ(scene.hovered(), a);
    EXPECT_TRUE(a->hovered);
    run.move({10, 110});
    EXPECT_FALSE(a->hovered);
    EXPECT_TRUE(b->hovered);

    a->forget();
    run.click({10, 10}); // press and release in one frame
    EXPECT_EQ(a->types(), (Types{ui::focus_gained, ui::pointer_down, ui::pointer_up}));
    EXPECT_EQ(scene.pressed(), nullptr);
    EXPECT_FALSE(a->pressed);

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
}

TEST_F(FramePointer, MovesGoEveryFrameAndBubbleOnlyWhileHeldWheelAlwaysBubbles) {
    auto child = a->emplace<Probe>("child", ui::Rect{0, 0, 50, 20});
    run.move({5, 5});
    run.frame();
    EXPECT_EQ(child->count(ui::pointer_move), 2);
    EXPECT_EQ(a->count(ui::pointer_move), 0);
    run.press({5, 5});
    run.frame();
    EXPECT_EQ(a->count(ui::pointer_move), 2);
    run.release({5, 5});

    a->handles = true;
    run.wheel({5, 5}, -2);
    ASSERT_EQ(a->count(ui::wheel_turned), 1);
    EXPECT_FLOAT_EQ(a->last(ui::wheel_turned)->wheel, -2);
    EXPECT_EQ(child->count(ui::wheel_turned), 1);

    // A right click opens the nearest context menu up the tree, on release only.
    a->context_menu = menu();
    run.mark(&ui::Input::right_pressed);
    EXPECT_TRUE(scene.overlays().empty());
    run.right_click({5, 5});
    ASSERT_EQ(scene.overlays().size(), 1u);
    EXPECT_EQ(scene.overlays().back().widget, a->context_menu);
    EXPECT_EQ(scene.focus(), a->context_menu);
}

TEST_F(FramePointer, FocusLossEndsThePressSilently) {
    run.press({10, 10});
    run.lose_focus();
    EXPECT_EQ(scene.focus(), nullptr);
    EXPECT_FALSE(a->pressed);
    EXPECT_EQ(a->count(ui::pointer_up), 0);
    run.click({10, 10}); // the next press works normally
    EXPECT_EQ(a->count(ui::pointer_up), 1);
}

TEST_F(FrameOverlays, PressOutsidePopupClosesItAndReachesNothing) {
    menu()->open(scene, {300, 300}, false);
    run.press({10, 10});
    EXPECT_TRUE(scene.overlays().empty());
    EXPECT_EQ(a->count(ui::pointer_down), 0);
    run.release({10, 10});
    EXPECT_EQ(a->count(ui::pointer_up), 0);
    run.click({10, 10});
    EXPECT_EQ(a->count(ui::pointer_down), 1);
}

TEST_F(FrameOverlays, PlainOverlayLetsPressesThroughModalDoesNot) {
    scene.show(overlay(), false, false, {400, 300}, false);
    run.click({10, 10});
    EXPECT_EQ(a->count(ui::pointer_down), 1);

    auto popup = menu();
    popup->open(scene, {0, 200}, false);
    scene.show(overlay(), true, false, {400, 300}, false);
    run.click({10, 210}); // over the popup, under the modal
    EXPECT_EQ(scene.overlays().size(), 3u);
    EXPECT_EQ(popup->active, 0);
    run.move({10, 10});
    EXPECT_EQ(scene.hovered(), nullptr);
}

TEST_F(FrameOverlays, DialogOpensCentredKeepsTabInsideAndClosesFromItsCorner) {
    auto dialog = std::make_shared<ui::Modal>("Settings");
    auto field = dialog->emplace<Probe>("field");
    dialog->open(scene);
    EXPECT_EQ(scene.focus(), dialog); // the dialog is the first focusable of its subtree
    run.tab();
    EXPECT_EQ(scene.focus(), field);
    run.tab();
    EXPECT_EQ(scene.focus(), dialog);

    // Drag by the title strip, release over the close corner.
    const ui::Rect r = dialog->screen_bounds;
    run.press({r.x + 100, r.y + 20});
    run.move({r.x + 150, r.y + 30});
    EXPECT_FLOAT_EQ(dialog->bounds.x, 200);
    run.release({dialog->screen_bounds.x + dialog->screen_bounds.w - 10, dialog->screen_bounds.y + 5});
    EXPECT_TRUE(scene.overlays().empty());
}

TEST_F(FrameKeys, TabTraversalAndHiddenFocusDroppedOnTheNextFrame) {
    run.tab(true); // Shift+Tab with no focus lands on the last
    EXPECT_EQ(scene.focus(), b);
    run.tab();
    EXPECT_EQ(scene.focus(), a);
    run.tab();
    EXPECT_EQ(scene.focus(), b);
    EXPECT_EQ(b->count(ui::key_down), 0);

    scene.focus(a);
    a->forget();
    a->visible = false;
    EXPECT_EQ(scene.focus(), a);
    run.frame();
    EXPECT_EQ(scene.focus(), nullptr);
    EXPECT_EQ(a->count(ui::focus_lost_event), 1);
}

TEST_F(FrameKeys, EscapeClosesTopOverlayUnlessHandledAndCtrlKOpensThePalette) {
    scene.show(overlay(), false, false, {0, 0}, true);
    auto top = overlay();
    scene.show(top, false, false, {0, 0}, true);
    scene.focus(a);
    a->handles = true;
    run.key(27);
    EXPECT_EQ(scene.overlays().size(), 2u);
    a->handles = false;
    run.key(27);
    ASSERT_EQ(scene.overlays().size(), 1u);
    EXPECT_NE(scene.overlays().back().widget, top);
    scene.focus(nullptr);
    run.key(27); // no focus counts as unhandled
    EXPECT_TRUE(scene.overlays().empty());

    scene.focus(a);
    auto palette = std::make_shared<ui::Modal>("palette");
    scene.command_palette(palette);
    a->forget();
    run.key(75, true);
    ASSERT_EQ(scene.overlays().size(), 1u);
    EXPECT_EQ(scene.overlays().back().widget, palette);
    EXPECT_EQ(a->count(ui::key_down), 0);
}
