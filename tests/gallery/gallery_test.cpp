// Gallery: section selection, its palette and overlays, on a canvas without a renderer. Card
// placement and coverage of the catalogue are render-all's.
#include "gallery/gallery.hpp"

#include "tests/scene/frame_driver.hpp"
#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/glass_settings.hpp"
#include "velmora/widgets/lists.hpp"
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

    std::shared_ptr<ui::Widget> first_child() const { return scene.content()->children.front(); }
};

TEST_F(GalleryTest, TheSidebarIsTheRoadToARebuild) {
    scene.sidebar()->select(3);
    EXPECT_EQ(scene.page(), 3);
    EXPECT_NE(scene.find("control.ColorPicker"), nullptr);
    EXPECT_EQ(scene.find("control.Button"), nullptr);

    // Selecting the page on show rebuilds it: edits are lost.
    auto picker = scene.find("control.ColorPicker");
    scene.select(3);
    EXPECT_NE(scene.find("control.ColorPicker"), picker);
}

TEST_F(GalleryTest, ChangingSectionClosesOverlaysAndClearsTheFocus) {
    scene.select(8);
    run.frame();
    for (const auto& card : scene.content()->children)
        for (const auto& w : card->children)
            if (w->text == "打开 Dialog") w->activate();
    ASSERT_EQ(scene.overlays().size(), 1u);
    scene.focus(scene.find("control.DropDownMenu"));
    run.key(75, true); // Ctrl+K stacks the palette on top
    EXPECT_EQ(scene.overlays().size(), 2u);

    scene.select(2);
    EXPECT_TRUE(scene.overlays().empty());
    EXPECT_EQ(scene.focus(), nullptr);
    EXPECT_EQ(scene.page(), 2);
}

TEST_F(GalleryTest, PaletteOffersEverySectionAndTheZeroingCommand) {
    auto palette = std::dynamic_pointer_cast<ui::CommandPalette>(scene.command_palette());
    ASSERT_NE(palette, nullptr);
    ASSERT_EQ(palette->commands.size(), 11u);
    EXPECT_EQ(palette->commands[6].title, "切换到 / 数据");
    palette->commands[6].action();
    EXPECT_EQ(scene.page(), 6);

    palette->commands.back().action();
    EXPECT_EQ(scene.page(), gallery::material_page);
    EXPECT_EQ(scene.theme.tint, 0);
    EXPECT_EQ(scene.theme.blur, 0);
    auto panel = std::dynamic_pointer_cast<ui::GlassSettingsPanel>(first_child());
    ASSERT_NE(panel, nullptr);
    EXPECT_DOUBLE_EQ(panel->sliders[5]->value(), 0) << "the panel shows the zeroed tint";
}

// Menus and dialogs live behind buttons and right clicks; each opens a live instance of its class.
TEST_F(GalleryTest, OverlaysOpenBehindTheirButtons) {
    scene.select(8);
    run.frame();
    const auto centre = [](const ui::Widget& w) {
        const ui::Rect& r = w.screen_bounds;
        return ui::Vec2{r.x + r.w / 2, r.y + r.h / 2};
    };
    const auto show = [&](const std::shared_ptr<ui::Widget>& w) {
        scene.content()->reveal(*w);
        run.frame();
    };
    for (const auto& card : std::vector(scene.content()->children)) {
        for (const auto& w : std::vector(card->children)) {
            if (w->text.rfind("打开 ", 0) != 0) continue;
            show(w);
            run.click(centre(*w));
            ASSERT_EQ(scene.overlays().size(), 1u) << w->text;
            EXPECT_EQ(std::string("打开 ") + scene.overlays().back().widget->class_name(), w->text);
            scene.close_top();
            run.frame();
        }
    }
    auto drop = scene.find("control.DropDownMenu");
    show(drop);
    run.click(centre(*drop));
    ASSERT_EQ(scene.overlays().size(), 1u);
    EXPECT_TRUE(scene.overlays().back().popup);
    scene.close_top();

    auto context = scene.find("control.ContextMenu");
    show(context);
    run.right_click(centre(*context));
    ASSERT_EQ(scene.overlays().size(), 1u);
    EXPECT_STREQ(scene.overlays().back().widget->class_name(), "ContextMenu");
}

} // namespace
