// Scene::frame: whole frames driven from Input records: pointer routing, focus, overlays, keys
// and what gets painted.
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
using velmora::test::command_color;
using velmora::test::command_kind;
using velmora::test::FrameDriver;
using velmora::test::Probe;
using velmora::test::TextLog;

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
    std::size_t count(int kind, unsigned color = 0) const {
        std::size_t n = 0;
        for (const auto& c : run.canvas.commands())
            n += command_kind(c) == kind && (!color || command_color(c) == color);
        return n;
    }
};

using FramePointer = Fixture;
using FrameOverlays = Fixture;
using FrameKeys = Fixture;
using FramePaint = Fixture;

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
    EXPECT_FLOAT_EQ(a->context_menu->bounds.x, 5);
    EXPECT_EQ(scene.focus(), a->context_menu);
}

TEST_F(FramePointer, DoubleClickThresholds) {
    run.step = 0;
    auto press_at = [&](double t, ui::Vec2 p) {
        run.now = t;
        run.click(p);
        return a->last(ui::pointer_down)->clicks;
    };
    EXPECT_EQ(press_at(0.05, {10, 10}), 1);
    EXPECT_EQ(press_at(0.1, {13, 13}), 2);
    EXPECT_EQ(press_at(0.15, {13, 13}), 2); // doesn't count up
    EXPECT_EQ(press_at(0.25, {19, 13}), 1); // 6 apart
    EXPECT_EQ(press_at(0.65, {19, 13}), 1); // exactly 0.4 later (both times exact in binary)
    run.now = 1.3;
    run.click({10, 110});
    EXPECT_EQ(press_at(1.35, {10, 10}), 1); // the last press was elsewhere
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

TEST_F(FramePointer, ClickOnNothingFocusableDropsTheFocusUnlessAnOverlayIsOpen) {
    auto plain = scene.root()->emplace<ui::Widget>();
    plain->bounds = {200, 0, 100, 40};
    run.click({10, 10});
    EXPECT_EQ(scene.focus(), a);
    run.click({210, 10});
    EXPECT_EQ(scene.focus(), nullptr);

    run.click({10, 10});
    scene.show(overlay(), false, false, {400, 300}, true);
    run.click({210, 10});
    EXPECT_EQ(scene.focus(), a);
}

TEST_F(FramePointer, HandlerRemovingItsOwnWidget) {
    std::weak_ptr<Probe> weak = a;
    a->on_event = [this, weak](ui::Event& e) {
        if (e.type == ui::pointer_down) scene.root()->remove(weak.lock());
    };
    a.reset();
    run.click({10, 10});
    EXPECT_EQ(scene.focus(), nullptr);
    EXPECT_EQ(scene.pressed(), nullptr);
    run.frame(); // the hover reference goes with the next hit test
    EXPECT_TRUE(weak.expired());
}

TEST_F(FramePointer, HandlerOpeningAnOverlayOnPressLosesTheRelease) {
    auto popup = menu();
    a->on_event = [&](ui::Event& e) {
        if (e.type == ui::pointer_down) popup->open(scene, {300, 300}, false);
    };
    run.press({10, 10});
    ASSERT_EQ(scene.overlays().size(), 1u);
    EXPECT_EQ(scene.pressed(), nullptr);
    run.release({10, 10});
    EXPECT_EQ(a->count(ui::pointer_up), 0);
    EXPECT_EQ(scene.overlays().size(), 1u);
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

TEST_F(FrameOverlays, PlainOverlayLetsPressesThroughModalDoesNotAndPaintsDimming) {
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
    EXPECT_EQ(count(ui::kind_backdrop), 3u); // one per overlay
    EXPECT_EQ(count(ui::kind_shape, 0x68000000), 1u);
}

TEST_F(FrameOverlays, DialogOpensCentredKeepsTabInsideAndClosesFromItsCorner) {
    auto dialog = std::make_shared<ui::Modal>("Settings");
    auto field = dialog->emplace<Probe>("field");
    dialog->open(scene);
    EXPECT_FLOAT_EQ(dialog->bounds.x, 150);
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

    ui::Scene empty;
    FrameDriver other(empty);
    other.tab();
    EXPECT_EQ(empty.focus(), nullptr);

    scene.focus(a);
    a->forget();
    a->visible = false;
    EXPECT_EQ(scene.focus(), a);
    run.frame();
    EXPECT_EQ(scene.focus(), nullptr);
    EXPECT_EQ(a->count(ui::focus_lost_event), 1);
}

TEST_F(FrameKeys, CodesFromFlagsAndEditCommands) {
    scene.focus(a);
    ui::Input in;
    in.enter = true;
    in.escape = true; // the first flag in order wins
    run.frame(in);
    EXPECT_EQ(a->last(ui::key_down)->key, 13);

    run.mark(&ui::Input::copy);
    ASSERT_EQ(a->count(ui::key_down), 2);
    EXPECT_EQ(a->last(ui::key_down)->key, 0);
    EXPECT_TRUE(a->last(ui::key_down)->input.copy);

    ui::Input typed;
    typed.text = "你";
    typed.paste = "好";
    run.frame(typed);
    EXPECT_EQ(a->last(ui::text_entered)->text, "你好");
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
    run.key(75, true);
    EXPECT_EQ(a->last(ui::key_down)->key, 75); // no palette: an ordinary key
    auto palette = std::make_shared<ui::Modal>("palette");
    scene.command_palette(palette);
    a->forget();
    run.key(75, true);
    ASSERT_EQ(scene.overlays().size(), 1u);
    EXPECT_EQ(scene.overlays().back().widget, palette);
    EXPECT_EQ(a->count(ui::key_down), 0);
}

TEST_F(FramePaint, TooltipAfterDelayAndNotOverOverlays) {
    TextLog log;
    run.canvas.renderer(&log);
    a->tooltip = "tip";
    run.step = 0.25;
    run.move({10, 10}); // hover starts
    run.frame();
    run.frame(); // 0.5 later
    EXPECT_EQ(log.find("tip"), nullptr);
    run.frame(); // 0.75 later
    ASSERT_NE(log.find("tip"), nullptr);
    EXPECT_EQ(count(ui::kind_backdrop), 1u);
    EXPECT_FLOAT_EQ(log.find("tip")->size, 12);

    log.entries.clear();
    scene.show(overlay(), false, false, {400, 300}, true);
    run.frame();
    EXPECT_EQ(log.find("tip"), nullptr);
}
