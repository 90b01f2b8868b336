// Basic controls, popup menus and message boxes: what triggers, in which order, and that an
// overlay is gone before its action runs.
#include "../scene/frame_driver.hpp"

#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/dialogs.hpp"
#include "velmora/widgets/menus.hpp"

#include <gtest/gtest.h>

namespace velmora::test {
namespace {

bool handled(ui::Widget& w, int key) {
    ui::Event e = key_event(key);
    w.event(e);
    return e.handled;
}

TEST(Buttons, SpaceOrEnterTriggerWhileEnabledToggleReportsChangeFirstRadioNeverClears) {
    ui::Button button("OK");
    int clicks = 0;
    button.on_activate = [&](ui::Widget&) { ++clicks; };
    for (int key : {32, 13, 65}) handled(button, key);
    EXPECT_EQ(clicks, 2);
    button.enabled = false;
    EXPECT_FALSE(handled(button, 32));
    EXPECT_EQ(clicks, 2);
    ui::ToggleButton toggle("T");
    std::vector<std::string> calls;
    toggle.on_change = [&](ui::Widget&) { calls.push_back("change"); };
    toggle.on_activate = [&](ui::Widget&) { calls.push_back("click"); };
    handled(toggle, 32);
    EXPECT_EQ(calls, (std::vector<std::string>{"change", "click"}));
    // A group drives options added later too, and a second press leaves one on.
    ui::RadioGroup group({"Local", "Cloud"});
    group.option("Hybrid");
    auto hybrid = std::dynamic_pointer_cast<ui::RadioButton>(group.children.at(2));
    ASSERT_TRUE(hybrid);
    handled(*hybrid, 32);
    handled(*hybrid, 32);
    EXPECT_TRUE(hybrid->selected());
    EXPECT_EQ(group.selected(), 2);
}

TEST(Menus, ChoosingFlipsTheTickAndClosesBeforeTheActionAndSeparatorsDoNothing) {
    ui::Scene scene;
    FrameDriver run{scene};
    run.frame();
    auto menu = std::make_shared<ui::PopupMenu>();
    bool seen_checked = false, seen_open = true;
    int runs = 0;
    menu->checked("Wrap", false, [&] {
        seen_checked = menu->items[0].checked;
        seen_open = !scene.overlays().empty();
    });
    menu->separator();
    menu->item("b", [&] { ++runs; });
    menu->open(scene, {100, 100}, false);
    run.key(13);
    EXPECT_TRUE(seen_checked);
    EXPECT_FALSE(seen_open);
    menu->open(scene, {100, 100}, false);
    run.click({120, 100 + 6 + 34 + 5}); // the separator
    run.press({120, 100 + 6 + 44 + 5});
    EXPECT_EQ(runs, 0); // a press alone chooses nothing
    run.release({120, 100 + 6 + 44 + 5});
    EXPECT_EQ(runs, 1);
    // A message box answers once, after closing, by Enter or Escape.
    std::vector<bool> answers;
    bool open_during_answer = true;
    auto box = std::make_shared<ui::MessageBox>("消息", "操作已完成", [&](bool yes) {
        answers.push_back(yes);
        open_during_answer = !scene.overlays().empty();
    });
    box->open(scene);
    run.key(13);
    EXPECT_FALSE(open_during_answer);
    box->open(scene);
    run.key(27);
    EXPECT_EQ(answers, (std::vector<bool>{true, false}));
}

} // namespace
} // namespace velmora::test
