// Scene called directly: dispatch, focus, overlays, notices, lookup and teardown.
#include "frame_driver.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/containers.hpp"

#include "../thrown.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace ui = velmora::ui;
using velmora::test::FrameDriver;
using velmora::test::Probe;
using velmora::test::thrown;
using Widgets = std::vector<std::shared_ptr<ui::Widget>>;

namespace {

std::shared_ptr<ui::Panel> overlay_panel(ui::Rect at = {0, 0, 200, 100}) {
    auto p = std::make_shared<ui::Panel>("");
    p->bounds = at;
    return p;
}

} // namespace

TEST(SceneDispatch, BubblesUntilHandledAndSurvivesRemoval) {
    ui::Scene scene;
    auto outer = scene.root()->emplace<Probe>("outer", ui::Rect{0, 0, 300, 300});
    auto middle = outer->emplace<Probe>("middle", ui::Rect{0, 0, 200, 200});
    auto inner = middle->emplace<Probe>("inner");
    middle->handles = true;

    ui::Event e;
    e.type = ui::key_down;
    e.key = 65;
    EXPECT_TRUE(scene.dispatch(inner, e, true));
    EXPECT_EQ(inner->seen.size(), 1u);
    EXPECT_EQ(middle->seen.size(), 1u);
    EXPECT_TRUE(outer->seen.empty());

    // A handler that removes its own widget, which nothing else holds any more.
    std::weak_ptr<Probe> weak = inner;
    middle->handles = false;
    inner->on_event = [&](ui::Event&) { middle->remove(weak.lock()); };
    auto target = std::move(inner);
    EXPECT_FALSE(scene.dispatch(std::move(target), e, true));
    EXPECT_TRUE(weak.expired());
    // The walk read the parent after the handler ran: the detached widget had none left.
    EXPECT_EQ(middle->seen.size(), 1u);
    EXPECT_FALSE(scene.dispatch(nullptr, e, true));
}

TEST(SceneFocus, OrderStopsAtModalBarrierButNotAtKeepFocusPopup) {
    ui::Scene scene;
    auto in_root = scene.root()->emplace<Probe>("root");
    auto lower = overlay_panel();
    auto lower_probe = lower->emplace<Probe>("lower");
    scene.show(lower, false, false, {0, 0}, true);
    EXPECT_EQ(scene.focus_order(), (Widgets{in_root, lower_probe}));

    auto completion = overlay_panel();
    auto completion_probe = completion->emplace<Probe>("completion");
    scene.show(completion, false, true, {0, 0}, true);
    EXPECT_EQ(scene.focus_order(), (Widgets{in_root, lower_probe, completion_probe}));

    auto modal = overlay_panel();
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

TEST(SceneOverlays, ShowValidatesPlacesAndReordersAndPopupsReplacePopups) {
    ui::Scene scene;
    scene.layout(800, 600);
    EXPECT_EQ(thrown<std::invalid_argument>([&] { scene.show(nullptr, false, false, {}, false); }),
              "Overlay must be unattached");
    auto child = scene.root()->emplace<ui::Widget>();
    EXPECT_EQ(thrown<std::invalid_argument>([&] { scene.show(child, false, false, {}, false); }),
              "Overlay must be unattached");

    // A position that would overflow is pulled back inside; placing is immediate.
    auto a = overlay_panel();
    scene.show(a, false, false, {-1, 10}, false);
    EXPECT_EQ(a->scene, &scene);
    auto b = overlay_panel();
    scene.show(b, false, false, {790, 590}, false);
    EXPECT_FLOAT_EQ(b->bounds.x, 600);
    scene.show(a, false, false, {-1, -1}, false); // moves to the top, no duplicate
    ASSERT_EQ(scene.overlays().size(), 2u);
    EXPECT_EQ(scene.overlays().back().widget, a);
    scene.close(child.get()); // not an overlay: nothing
    EXPECT_EQ(scene.overlays().size(), 2u);

    // A popup replaces the popup on top, but not one beneath a modal.
    auto first = overlay_panel();
    auto second = overlay_panel();
    scene.show(first, false, true, {0, 0}, false);
    scene.show(second, false, true, {0, 0}, false);
    ASSERT_EQ(scene.overlays().size(), 3u);
    EXPECT_EQ(scene.overlays().back().widget, second);
    scene.show(overlay_panel(), true, false, {0, 0}, false);
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
        shown = overlay_panel();
        scene.show(shown, false, false, {0, 0}, false);
        note = std::make_shared<ui::Notification>("t", "b");
        scene.notify(note, 5);
        run.frame();
        ASSERT_EQ(note->scene, &scene);
    }
    EXPECT_EQ(kept->scene, nullptr);
    EXPECT_EQ(shown->scene, nullptr);
    EXPECT_EQ(note->scene, nullptr);
}
