// The accessibility tree: what changes between frames reaches assistive technology once and only
// then, in the units it counts; requests that make no sense change nothing.
#include "../scene/frame_driver.hpp"

#include "velmora/scene/accessibility_tree.hpp"
#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/fields.hpp"
#include "velmora/widgets/lists.hpp"
#include "velmora/widgets/menus.hpp"
#include "velmora/widgets/range.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace velmora::test {
namespace {

using Change = ui::AccessibleChange;

struct Rig {
    ui::Scene scene;
    FrameDriver run{scene};
    ui::AccessibilityTree tree{scene};
    std::vector<Change> update() {
        run.frame();
        return tree.update("Window", 1);
    }
    int count(const std::vector<Change>& changes, Change::Kind kind) {
        return static_cast<int>(std::count_if(changes.begin(), changes.end(),
                                              [kind](const Change& c) { return c.kind == kind; }));
    }
};

TEST(AccessibilityTree, AnUnchangedFrameSaysNothingAndEachChangeIsToldOnce) {
    Rig r;
    auto box = r.scene.root()->emplace<ui::CheckBox>("Autosave");
    auto label = r.scene.root()->emplace<ui::Label>("E-mail");
    auto field = r.scene.root()->emplace<ui::TextField>();
    field->labelled_by = label;
    field->bounds.y = 50;
    EXPECT_EQ(r.count(r.update(), Change::added), 4); // the window and its three controls
    EXPECT_TRUE(r.update().empty());

    const ui::AccessibleNode* node = r.tree.node(field->serial());
    EXPECT_EQ(node->name, "E-mail");
    EXPECT_EQ(node->labelled_by, label->serial());
    EXPECT_EQ(r.tree.node(r.tree.root())->role, ui::AccessibleRole::window);

    r.scene.focus(field);
    auto changes = r.update();
    ASSERT_EQ(r.count(changes, Change::focus), 1);
    EXPECT_EQ(changes.back().id, field->serial());
    box->selected(true);
    changes = r.update();
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0].detail, ui::accessible_state::checked);

    r.scene.root()->remove(box);
    changes = r.update();
    ASSERT_EQ(r.count(changes, Change::removed), 1);
    EXPECT_EQ(r.tree.node(box->serial()), nullptr);
    EXPECT_FALSE(r.tree.act(box->serial(), -1, ui::accessible_action::toggle));
}

TEST(AccessibilityTree, TextChangesComeAsEditsOnCharacterBoundaries) {
    Rig r;
    auto field = r.scene.root()->emplace<ui::TextField>("a语b");
    r.update();
    field->value("a語b"); // 語 shares its lead byte with 语: both go whole
    std::string told;
    for (const Change& c : r.update())
        if (c.kind == Change::text_removed || c.kind == Change::text_inserted)
            told += std::to_string(c.offset) + c.text + std::to_string(c.length) + " ";
    EXPECT_EQ(told, "1语3 1語3 ");

    auto secret = r.scene.root()->emplace<ui::PasswordField>();
    secret->value("hunter2");
    r.update();
    const ui::AccessibleNode* node = r.tree.node(secret->serial());
    EXPECT_EQ(node->role, ui::AccessibleRole::password_text);
    EXPECT_EQ(node->text.find("hunter2"), std::string::npos);
    EXPECT_FALSE(r.tree.caret(secret->serial(), 2));

    field->read_only = true;
    r.update();
    EXPECT_FALSE(r.tree.text(field->serial(), "x"));
    EXPECT_EQ(field->value(), "a語b");
}

TEST(AccessibilityTree, ValuesAndRowsOutOfRangeAreRefused) {
    Rig r;
    auto slider = r.scene.root()->emplace<ui::Slider>(0.5);
    auto list = r.scene.root()->emplace<ui::ListBox>(std::vector<std::string>(100000, "Row"));
    list->bounds = {0, 50, 300, 200};
    r.update();
    for (double bad : {std::numeric_limits<double>::quiet_NaN(), 2.0, -1.0})
        EXPECT_FALSE(r.tree.value(slider->serial(), bad));
    EXPECT_DOUBLE_EQ(slider->value(), 0.5);
    EXPECT_TRUE(r.tree.value(slider->serial(), 0.25));
    EXPECT_DOUBLE_EQ(slider->value(), 0.25);

    EXPECT_EQ(r.tree.node(list->serial())->items, 100000);
    ui::AccessibleItem row;
    EXPECT_FALSE(r.tree.item(list->serial(), 100000, row));
    EXPECT_FALSE(r.tree.act(list->serial(), -5, ui::accessible_action::select));
    EXPECT_TRUE(r.tree.act(list->serial(), 99999, ui::accessible_action::select));
    EXPECT_EQ(list->selected(), 99999);
    EXPECT_EQ(r.count(r.update(), Change::selection), 1);
}

TEST(KeyboardReach, F10ReachesTheMenuBarAndArrowsWalkMenusAndOptions) {
    Rig r;
    auto field = r.scene.root()->emplace<ui::TextField>();
    auto bar = r.scene.root()->emplace<ui::MenuBar>();
    bar->bounds.y = 60;
    auto file = bar->emplace<ui::DropDownMenu>("File");
    auto edit = bar->emplace<ui::DropDownMenu>("Edit");
    r.update();
    r.scene.focus(field);
    r.run.key(ui::vk::f1 + 9);
    EXPECT_EQ(r.scene.focus(), file);
    r.run.key(ui::vk::right);
    EXPECT_EQ(r.scene.focus(), edit);
    r.run.key(ui::vk::right);
    EXPECT_EQ(r.scene.focus(), file);

    auto group = r.scene.root()->emplace<ui::RadioGroup>(std::vector<std::string>{"Local", "Cloud"});
    group->bounds.y = 120;
    r.update();
    r.scene.focus(group->children[0]);
    r.run.key(ui::vk::down);
    EXPECT_EQ(group->selected(), 1);
    EXPECT_EQ(r.scene.focus(), group->children[1]);
}

} // namespace
} // namespace velmora::test
