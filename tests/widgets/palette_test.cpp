// The command palette through whole frames: Ctrl+K, the plain filter with ASCII-only folding,
// Enter, Up and Down handed from the query to the list, and running a command after closing.
#include "../scene/frame_driver.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/widgets/palette.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace velmora::test {
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

TEST_F(Palette, CtrlKOpensAndTypingFiltersBySubstringFoldingAsciiOnly) {
    run.key('K', true);
    EXPECT_EQ(scene.focus(), palette);
    run.type("FILE");
    EXPECT_EQ(palette->list->items, (Titles{"Open File", "Save file"}));
    EXPECT_EQ(palette->matches, (std::vector<std::int32_t>{0, 1}));
    run.key(ui::vk::escape); // the query leaves Escape to the scene
    EXPECT_TRUE(scene.overlays().empty());
    open(); // the search survives closing
    EXPECT_EQ(palette->list->items.size(), 2u);
    const std::vector<std::pair<std::string, Titles>> cases = {
        {"打开", {"打开设置"}},
        {"éditer", {}}, // É and é differ in their bytes
        {"ÉDITER", {"Éditer"}},
        {"E W", {"Close window"}},
        {"cw", {}}, // a subsequence isn't enough
    };
    for (const auto& [query, expected] : cases) {
        palette->search(query);
        EXPECT_EQ(palette->list->items, expected) << query;
    }
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
    const ui::Rect list = palette->list->screen_bounds; // a double press on a row runs it too
    run.click({list.x + 40, list.y + 15});
    run.click({list.x + 40, list.y + 15});
    EXPECT_EQ(ran, (Titles{"Close window", "Open File"}));
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

} // namespace
} // namespace velmora::test
