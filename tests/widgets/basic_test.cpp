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

} // namespace
} // namespace velmora::test
