// Gallery: section selection, its palette and dialogs, on a canvas without a renderer. Card
// placement and coverage of the catalogue are render-all's.
#include "gallery/gallery.hpp"

#include "tests/scene/frame_driver.hpp"
#include "velmora/widgets/glass_settings.hpp"
#include "velmora/widgets/palette.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

namespace ui = velmora::ui;
using velmora::test::FrameDriver;

class GalleryTest : public ::testing::Test {
protected:
    gallery::Gallery scene;
    FrameDriver run{scene, gallery::logical_width, gallery::logical_height};
};

TEST_F(GalleryTest, TheSidebarIsTheRoadToARebuild) {
    scene.sidebar()->select(3);
    EXPECT_EQ(scene.page(), 3);
    auto picker = scene.find("control.ColorPicker");
    EXPECT_NE(picker, nullptr);
    EXPECT_EQ(scene.find("control.Button"), nullptr);
    scene.select(3); // selecting the page on show rebuilds it: edits are lost
    EXPECT_NE(scene.find("control.ColorPicker"), picker);
}

TEST_F(GalleryTest, PaletteOffersEverySectionAndTheZeroingCommand) {
    auto palette = std::dynamic_pointer_cast<ui::CommandPalette>(scene.command_palette());
    ASSERT_NE(palette, nullptr);
    ASSERT_EQ(palette->commands.size(), 11u);
    palette->commands[6].action();
    EXPECT_EQ(scene.page(), 6);

    palette->commands.back().action();
    EXPECT_EQ(scene.page(), gallery::material_page);
    EXPECT_TRUE(scene.theme.tint == 0 && scene.theme.blur == 0);
    auto panel = std::dynamic_pointer_cast<ui::GlassSettingsPanel>(scene.content()->children.front());
    ASSERT_NE(panel, nullptr);
    EXPECT_DOUBLE_EQ(panel->sliders[5]->value(), 0) << "the panel shows the zeroed tint";
}

// Dialogs live behind buttons; each opens a live instance of the class its button names. Changing
// the section closes what is open and clears the focus.
TEST_F(GalleryTest, DialogsOpenBehindTheirButtonsAndChangingSectionClosesThem) {
    scene.select(8);
    run.frame();
    std::shared_ptr<ui::Widget> opener;
    for (const auto& card : std::vector(scene.content()->children)) {
        for (const auto& w : std::vector(card->children)) {
            if (w->text.rfind("打开 ", 0) != 0) continue;
            scene.content()->reveal(*w);
            run.frame();
            const ui::Rect& r = w->screen_bounds;
            run.click({r.x + r.w / 2, r.y + r.h / 2});
            ASSERT_EQ(scene.overlays().size(), 1u) << w->text;
            EXPECT_EQ(std::string("打开 ") + scene.overlays().back().widget->class_name(), w->text);
            scene.close_top();
            run.frame();
            opener = w;
        }
    }
    ASSERT_NE(opener, nullptr);
    opener->activate();
    scene.focus(scene.find("control.DropDownMenu"));
    run.key(75, true); // Ctrl+K stacks the palette on top
    EXPECT_EQ(scene.overlays().size(), 2u);
    scene.select(2);
    EXPECT_TRUE(scene.overlays().empty());
    EXPECT_EQ(scene.focus(), nullptr);
    EXPECT_EQ(scene.page(), 2);
}

} // namespace
