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
    Titles ran;
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

TEST_F(Palette, CtrlKOpensAndTypingFilters) {
    EXPECT_EQ(palette->list->items.size(), 5u);
    run.key('K', true);
    EXPECT_EQ(scene.focus(), palette);
    run.type("FILE"); // capitals match lower case
    EXPECT_EQ(palette->list->items, (Titles{"Open File", "Save file"}));
    EXPECT_EQ(palette->matches, (std::vector<std::int32_t>{0, 1}));

    run.key(ui::vk::escape); // the query leaves Escape to the scene
    EXPECT_TRUE(scene.overlays().empty());
    open(); // the search survives closing
    EXPECT_EQ(palette->list->items.size(), 2u);
}

TEST_F(Palette, FoldsOnlyAsciiAndMatchesSubstrings) {
    palette->search("打开");
    EXPECT_EQ(palette->list->items, (Titles{"打开设置"}));
    palette->search("éditer"); // É and é differ in their bytes
    EXPECT_TRUE(palette->list->items.empty());
    palette->search("ÉDITER");
    EXPECT_EQ(palette->list->items, (Titles{"Éditer"}));
    palette->search("E W");
    EXPECT_EQ(palette->list->items, (Titles{"Close window"}));
    palette->search("cw"); // a subsequence isn't enough
    EXPECT_TRUE(palette->list->items.empty());
}

TEST_F(Palette, ArrowsMoveTheListAndEnterRunsAfterClosing) {
    open();
    run.key(ui::vk::down);
    run.key(ui::vk::down);
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

    // A double press on a row runs it too.
    const ui::Rect list = palette->list->screen_bounds;
    run.click({list.x + 40, list.y + 15});
    run.click({list.x + 40, list.y + 15});
    EXPECT_EQ(ran, (Titles{"Close window", "Open File"}));
}

TEST_F(Palette, NoMatchLeavesNothingToRun) {
    open();
    run.type("zzz");
    EXPECT_TRUE(palette->matches.empty());
    EXPECT_EQ(palette->list->selected(), -1);
    run.key(ui::vk::enter);
    palette->execute(7);
    EXPECT_TRUE(ran.empty());
    EXPECT_EQ(scene.overlays().size(), 1u);

    // A command registered under an active query is filtered at once; the first row is selected.
    palette->command("zzz top", {});
    palette->command("Buzzz", {});
    palette->list->select(1);
    palette->command("Fizz", {});
    EXPECT_EQ(palette->list->items, (Titles{"zzz top", "Buzzz"}));
    EXPECT_EQ(palette->list->selected(), 0);
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
}
