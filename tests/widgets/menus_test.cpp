// Popup menus and dialogs: sizing, keyboard walking, choosing, and closing on the scene.
#include "../scene/frame_driver.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/widgets/dialogs.hpp"
#include "velmora/widgets/menus.hpp"

#include "../thrown.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmora::test {
namespace {

struct Menus : ::testing::Test {
    ui::Scene scene;
    FrameDriver run{scene};
    std::shared_ptr<ui::PopupMenu> menu = std::make_shared<ui::PopupMenu>();

    Menus() { run.frame(); }
};

TEST_F(Menus, ChoosingFlipsTickClosesThenRunsAction) {
    bool seen_checked = false, seen_open = true;
    menu->checked("Wrap", false, [&] {
        seen_checked = menu->items[0].checked;
        seen_open = !scene.overlays().empty();
    });
    menu->open(scene, {10, 10}, false);
    EXPECT_EQ(scene.focus(), menu);
    run.key(13);
    EXPECT_TRUE(seen_checked);
    EXPECT_FALSE(seen_open);
    menu->open(scene, {10, 10}, false);
    run.key(27); // Escape isn't the menu's: the scene closes it
    EXPECT_TRUE(scene.overlays().empty());
}

TEST_F(Menus, PointerChoosesOnReleaseOnly) {
    int runs = 0;
    menu->item("a", [&] { ++runs; });
    menu->separator();
    menu->item("b", [&] { ++runs; });
    menu->open(scene, {100, 100}, false);
    const ui::Vec2 separator{120, 100 + 6 + 34 + 5}, b{120, 100 + 6 + 44 + 5};
    run.move(separator);
    EXPECT_EQ(menu->active, 0);
    run.click(separator);
    EXPECT_EQ(runs, 0);
    EXPECT_EQ(scene.overlays().size(), 1u);
    run.press(b);
    EXPECT_EQ(runs, 0);
    run.release(b);
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(menu->active, 2);
}

TEST_F(Menus, MessageBoxAnswersOnceAfterClosing) {
    std::vector<bool> answers;
    bool open_during_answer = true;
    auto box = std::make_shared<ui::MessageBox>("消息", "操作已完成", [&](bool yes) {
        answers.push_back(yes);
        open_during_answer = !scene.overlays().empty();
    });
    box->open(scene);
    EXPECT_EQ(scene.focus(), box);
    run.key(13);
    EXPECT_FALSE(open_during_answer);
    box->open(scene);
    run.key(27);
    EXPECT_EQ(answers, (std::vector<bool>{true, false}));
}

} // namespace
} // namespace velmora::test
