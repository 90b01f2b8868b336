// The command palette through whole frames: Ctrl+K, the plain filter with ASCII-only folding,
// Enter, Up and Down handed from the query to the list, and running a command after closing.
#include "../scene/frame_driver.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/widgets/palette.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace ui = velmora::ui;
using velmora::test::FrameDriver;

namespace {

using Titles = std::vector<std::string>;

struct Palette : ::testing::Test {
    ui::Scene scene;
    FrameDriver run{scene};
    std::shared_ptr<ui::CommandPalette> palette = std::make_shared<ui::CommandPalette>();
    std::vector<std::string> ran;
    bool open_while_running = true;

    Palette() {
        for (const char* title : {"Open File", "Save file", "Close window", "打开设置", "Éditer"})
            palette->command(title, [this, title] {
                ran.push_back(title);
                open_while_running = !scene.overlays().empty();
            });
        scene.command_palette(palette);
        run.frame();
    }

    // Ctrl+K, then one frame for the palette to hand the focus to its query.
    void open() {
        run.key('K', true);
        run.frame();
    }
};

} // namespace

TEST_F(Palette, IdentityAndLayout) {
    EXPECT_EQ(palette->kind(), ui::ControlKind::CommandPalette);
    EXPECT_STREQ(palette->class_name(), "CommandPalette");
    EXPECT_EQ(palette->query->kind(), ui::ControlKind::SearchField);
    EXPECT_STREQ(palette->query->class_name(), "SearchField");
    EXPECT_EQ(palette->text, "命令面板 · Ctrl+K");
    EXPECT_EQ(palette->query->placeholder, "搜索…");
    EXPECT_TRUE(palette->modal);
    EXPECT_FALSE(palette->list->frame);

    open();
    EXPECT_FLOAT_EQ(palette->bounds.w, 520);
    EXPECT_FLOAT_EQ(palette->bounds.h, 380);
    EXPECT_FLOAT_EQ(palette->query->bounds.y, 56);
    EXPECT_FLOAT_EQ(palette->query->bounds.w, 520 - 32);
    EXPECT_FLOAT_EQ(palette->list->bounds.y, 104);
    EXPECT_FLOAT_EQ(palette->list->bounds.h, 380 - 120);
}

TEST_F(Palette, CtrlKOpensAndTypingFilters) {
    EXPECT_EQ(palette->list->items, (Titles{"Open File", "Save file", "Close window", "打开设置", "Éditer"}));
    EXPECT_EQ(palette->list->selected(), 0);

    run.key('K', true);
    ASSERT_EQ(scene.overlays().size(), 1u);
    EXPECT_TRUE(scene.overlays().back().modal);
    EXPECT_EQ(scene.focus(), palette);
    run.type("FILE"); // capitals match lower case
    EXPECT_EQ(palette->query->value(), "FILE");
    EXPECT_EQ(palette->list->items, (Titles{"Open File", "Save file"}));
    EXPECT_EQ(palette->matches, (std::vector<std::int32_t>{0, 1}));

    run.key(ui::vk::escape); // not taken by the query: the scene closes the palette
    EXPECT_TRUE(scene.overlays().empty());
    EXPECT_TRUE(ran.empty());

    open(); // the search survives closing
    EXPECT_EQ(palette->list->items, (Titles{"Open File", "Save file"}));
}

TEST_F(Palette, FoldsOnlyAscii) {
    palette->search("打开");
    EXPECT_EQ(palette->list->items, (Titles{"打开设置"}));
    palette->search("éditer"); // É and é differ in their bytes: no match
    EXPECT_TRUE(palette->list->items.empty());
    palette->search("ÉDITER");
    EXPECT_EQ(palette->list->items, (Titles{"Éditer"}));
    palette->search("E W"); // a substring, not a subsequence
    EXPECT_EQ(palette->list->items, (Titles{"Close window"}));
    palette->search("cw");
    EXPECT_TRUE(palette->list->items.empty());
}

TEST_F(Palette, EnterRunsTheSelectionAfterClosing) {
    open();
    run.key(ui::vk::down);
    run.key(ui::vk::down);
    EXPECT_EQ(palette->list->selected(), 2);
    run.key(ui::vk::enter);
    EXPECT_EQ(ran, (Titles{"Close window"}));
    EXPECT_FALSE(open_while_running);

    // Up from the first row clears the selection instead of wrapping; Enter then does nothing.
    open();
    palette->list->select(0);
    run.key(ui::vk::up);
    EXPECT_EQ(palette->list->selected(), -1);
    run.key(ui::vk::enter);
    EXPECT_EQ(ran.size(), 1u);
    EXPECT_EQ(scene.overlays().size(), 1u);
}

TEST_F(Palette, NoMatchLeavesNothingToRun) {
    open();
    run.type("zzz");
    EXPECT_TRUE(palette->list->items.empty());
    EXPECT_TRUE(palette->matches.empty());
    EXPECT_EQ(palette->list->selected(), -1);
    run.key(ui::vk::enter);
    EXPECT_TRUE(ran.empty());
    EXPECT_EQ(scene.overlays().size(), 1u);

    palette->execute(7); // out of range: nothing
    palette->execute(-3);
    EXPECT_TRUE(ran.empty());

    // A command registered under an active query is filtered at once and selects the first row.
    palette->command("zzz top", {});
    palette->command("Buzzz", [this] { ran.push_back("Buzzz"); });
    EXPECT_EQ(palette->list->items, (Titles{"zzz top", "Buzzz"}));
    palette->list->select(1);
    palette->command("Fizz", {});
    EXPECT_EQ(palette->list->selected(), 0);
    palette->execute(0); // an empty action still closes
    EXPECT_TRUE(scene.overlays().empty());
    palette->execute(1); // closed already: runs without a scene
    EXPECT_EQ(ran, (Titles{"Buzzz"}));
}

TEST_F(Palette, DoublePressOnARowRunsIt) {
    palette->search("save");
    open();
    const ui::Rect row = palette->list->screen_bounds;
    const ui::Vec2 first{row.x + 40, row.y + 5 + 10};
    run.click(first);
    EXPECT_TRUE(ran.empty());
    run.click(first);
    EXPECT_EQ(ran, (Titles{"Save file"}));
    EXPECT_FALSE(open_while_running);
}

TEST_F(Palette, CommandMayDestroyThePalette) {
    palette->command("Quit palette", [this] {
        scene.command_palette(nullptr);
        palette.reset();
    });
    std::weak_ptr<ui::CommandPalette> watch = palette;
    open();
    run.type("quit");
    run.key(ui::vk::enter);
    EXPECT_TRUE(watch.expired());
    EXPECT_TRUE(scene.overlays().empty());
    run.key('K', true); // nothing installed any more
    EXPECT_TRUE(scene.overlays().empty());
}
