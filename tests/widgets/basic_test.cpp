// Basic controls: triggers, toggling and option groups.
#include "../scene/frame_driver.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/widgets/basic.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace velmora::test {
namespace {

bool handled(ui::Widget& w, ui::Event e) {
    w.event(e);
    return e.handled;
}

TEST(Buttons, TriggerOnReleaseSpaceOrEnterWhileEnabledOnly) {
    ui::Button button("OK");
    int clicks = 0;
    button.on_activate = [&](ui::Widget&) { ++clicks; };
    button.screen_bounds = {0, 0, 160, 36};
    EXPECT_TRUE(handled(button, release_event({10, 10}))); // no press needed
    EXPECT_FALSE(handled(button, release_event({200, 10})));
    handled(button, key_event(32));
    handled(button, key_event(13));
    EXPECT_FALSE(handled(button, key_event(65)));
    EXPECT_EQ(clicks, 3);
    button.enabled = false;
    EXPECT_FALSE(handled(button, key_event(32)));
    EXPECT_EQ(clicks, 3);
}

TEST(Buttons, ToggleReportsChangeBeforeClickAndRadioNeverClears) {
    ui::ToggleButton toggle("T");
    std::vector<std::string> calls;
    toggle.on_change = [&](ui::Widget&) { calls.push_back("change"); };
    toggle.on_activate = [&](ui::Widget&) { calls.push_back("click"); };
    handled(toggle, key_event(32));
    EXPECT_TRUE(toggle.selected());
    EXPECT_EQ(calls, (std::vector<std::string>{"change", "click"}));
    toggle.selected(true); // no change
    EXPECT_EQ(calls.size(), 2u);
    handled(toggle, key_event(13));
    EXPECT_FALSE(toggle.selected());
    ui::RadioButton radio("R");
    radio.selected(true);
    int changes = 0, clicks = 0;
    radio.on_change = [&](ui::Widget&) { ++changes; };
    radio.on_activate = [&](ui::Widget&) { ++clicks; };
    handled(radio, key_event(32));
    EXPECT_TRUE(radio.selected());
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(clicks, 1);
    // A radio group's options, added later ones too, are radio buttons that drive it.
    ui::RadioGroup group({"Local", "Cloud"});
    group.option("Hybrid");
    auto hybrid = std::dynamic_pointer_cast<ui::RadioButton>(group.children.at(2));
    ASSERT_TRUE(hybrid);
    handled(*hybrid, key_event(32));
    EXPECT_EQ(group.selected(), 2);
}

TEST(Buttons, ClickCallbackMayDestroyItsButton) {
    ui::Scene scene;
    FrameDriver run(scene);
    auto button = scene.root()->emplace<ui::Button>("Close");
    std::weak_ptr<ui::Button> weak = button;
    int runs = 0;
    button->on_activate = [&scene, weak, &runs](ui::Widget&) {
        scene.root()->remove(weak.lock());
        ++runs;
    };
    button.reset();
    run.click({10, 10});
    EXPECT_EQ(runs, 1);
    run.frame(); // the scene's hover reference lets go on the next hit test
    EXPECT_TRUE(weak.expired());
}

TEST(ButtonGroups, SelectionClampsAndReportsOnce) {
    ui::ButtonGroup group({"One", "Two", "Three"});
    auto option = [&](int i) { return std::dynamic_pointer_cast<ui::ToggleButton>(group.children.at(i)); };
    std::vector<std::string> calls;
    option(2)->on_change = [&](ui::Widget&) { calls.push_back("option"); };
    group.on_change = [&](ui::Widget&) { calls.push_back("group"); };
    group.select(99);
    EXPECT_EQ(group.selected(), 2);
    EXPECT_EQ(calls, (std::vector<std::string>{"option", "group"}));
    group.select(2);
    EXPECT_EQ(calls.size(), 2u);
    group.select(-5);
    EXPECT_EQ(group.selected(), -1);
    for (int i = 0; i < 3; ++i) EXPECT_FALSE(option(i)->selected());
    ui::ButtonGroup empty;
    empty.select(3);
    EXPECT_EQ(empty.selected(), 0);
}

TEST(ButtonGroups, ClickingTheSelectedOptionKeepsItOnAndRowIsSharedEvenly) {
    ui::Scene scene;
    FrameDriver run(scene);
    auto group = scene.root()->emplace<ui::ButtonGroup>(std::vector<std::string>{"One", "Two", "Three"});
    int changes = 0;
    group->on_change = [&](ui::Widget&) { ++changes; };
    run.frame();
    run.click({10, 10});
    EXPECT_EQ(group->selected(), 0);
    EXPECT_TRUE(std::dynamic_pointer_cast<ui::ToggleButton>(group->children[0])->selected());
    EXPECT_EQ(changes, 0);
    run.click({110, 10});
    EXPECT_EQ(group->selected(), 1);
    EXPECT_EQ(changes, 1);
    // An option taken out of its group no longer drives it.
    auto first = group->children[0];
    group->remove(first);
    first->activate();
    EXPECT_EQ(group->selected(), 1);
    ui::NavBar bar({"Overview", "Settings", "About"});
    bar.bounds = {0, 0, 308, 30};
    bar.place(scene, {}, {0, 0, 800, 600});
    EXPECT_FLOAT_EQ(bar.children[2]->bounds.w, 100);
    bar.bounds.w = 4; // narrower than the gaps: no negative widths
    bar.place(scene, {}, {0, 0, 800, 600});
    EXPECT_FLOAT_EQ(bar.children[0]->bounds.w, 0);
}

} // namespace
} // namespace velmora::test
