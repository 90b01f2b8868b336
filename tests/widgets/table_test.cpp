// Table and property grid, driven by whole frames.
#include "../scene/frame_driver.hpp"

#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/dialogs.hpp"
#include "velmora/widgets/fields.hpp"
#include "velmora/widgets/table.hpp"

#include "../thrown.hpp"

#include <gtest/gtest.h>

#include <tuple>

namespace velmora::test {
namespace {

using Strings = std::vector<std::string>;
using Edits = std::vector<std::tuple<int, int, std::string>>;

// The order itself is the table fuzz target's; here, what sorting and editing report.
TEST(Table, BadIndexesAreRefusedAndTheEditorSavesToItsCellAfterAResort) {
    ui::Scene scene;
    FrameDriver run{scene};
    auto table = scene.root()->emplace<ui::Table>();
    table->bounds = {20, 20, 400, 220};
    int changes = 0;
    Edits edits;
    table->on_change = [&](ui::Widget&) { ++changes; };
    table->on_edit = [&](int r, int c, const std::string& t) { edits.emplace_back(r, c, t); };
    for (const Strings& row : {Strings{"b", "2"}, {"a"}, {"c"}}) table->row(row);
    table->select(0);
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(thrown<std::out_of_range>([&] { table->sort(2); }), "Table column");
    for (auto [r, c] : {std::pair{-1, 0}, {3, 0}, {1, 1}})
        EXPECT_EQ(thrown<std::out_of_range>([&, r = r, c = c] { table->edit(r, c, "x"); }), "Table cell");
    run.frame();
    scene.focus(table);
    run.mark(&ui::Input::enter); // opens the editor on the selected row's first cell
    auto field = std::dynamic_pointer_cast<ui::TextField>(scene.focus());
    ASSERT_TRUE(field);
    EXPECT_EQ(field->selected_text(), "b");
    table->sort(0); // "b" moves to row 1, and the selection goes
    EXPECT_EQ(table->selected(), -1);
    EXPECT_EQ(changes, 2);
    run.type("z");
    run.mark(&ui::Input::enter); // the field's submit saves
    EXPECT_TRUE(scene.overlays().empty());
    EXPECT_EQ(table->rows[1][0]->value(), "z");
    EXPECT_EQ(edits, (Edits{{1, 0, "z"}}));
    // With the table gone the save button writes nothing and still closes the dialog.
    table->edit_dialog(0, 0);
    run.frame();
    auto button = std::dynamic_pointer_cast<ui::Button>(scene.overlays().back().widget->children.back());
    ASSERT_TRUE(button);
    scene.root()->remove(table);
    table.reset();
    run.click({button->screen_bounds.x + 5, button->screen_bounds.y + 5});
    EXPECT_TRUE(scene.overlays().empty());
}

TEST(PropertyGrid, EditorsStoreTheirValuesAndRedefiningKeepsTheRow) {
    ui::Scene scene;
    FrameDriver run{scene};
    auto grid = scene.root()->emplace<ui::PropertyGrid>();
    Strings reported;
    grid->on_property = [&](const std::string& name, const ui::PropertyValue&) { reported.push_back(name); };
    grid->property("flag", true);
    grid->property("size", 2.5);
    grid->property("name", std::string("box"));
    run.frame();
    // Half-typed numbers never reach the values; a submit reports the field's number.
    auto size = std::dynamic_pointer_cast<ui::NumberField>(grid->editor("size"));
    ASSERT_TRUE(size);
    scene.focus(size);
    size->select(0, size->value().size());
    run.type("-");
    EXPECT_EQ(std::get<double>(grid->values["size"]), 2.5);
    run.type("4");
    EXPECT_EQ(std::get<double>(grid->values["size"]), -4);
    reported.clear();
    run.key(ui::vk::enter);
    EXPECT_EQ(reported, (Strings{"size"}));
    // A new type swaps the editor but not the row; the old editor falls silent.
    auto old = grid->editor("size");
    grid->property("size", std::string("large"));
    EXPECT_EQ(grid->names, (Strings{"flag", "size", "name"}));
    reported.clear();
    std::dynamic_pointer_cast<ui::NumberField>(old)->number(9);
    EXPECT_TRUE(reported.empty());
    EXPECT_EQ(std::get<std::string>(grid->values["size"]), "large");
}

} // namespace
} // namespace velmora::test
