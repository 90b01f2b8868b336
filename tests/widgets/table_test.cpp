// Table, property grid and paginator, driven by whole frames.
#include "../scene/frame_driver.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/dialogs.hpp"
#include "velmora/widgets/fields.hpp"
#include "velmora/widgets/table.hpp"

#include "../thrown.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

namespace velmora::test {
namespace {

using Strings = std::vector<std::string>;
using Edits = std::vector<std::tuple<int, int, std::string>>;

struct Tables : ::testing::Test {
    ui::Scene scene;
    FrameDriver run{scene};
    std::shared_ptr<ui::Table> table = scene.root()->emplace<ui::Table>();
    int changes = 0;
    Edits edits;

    Tables() {
        table->bounds = {20, 20, 400, 220};
        table->on_change = [this](ui::Widget&) { ++changes; };
        table->on_edit = [this](int r, int c, const std::string& t) { edits.emplace_back(r, c, t); };
    }

    void rows(const std::vector<std::vector<std::string>>& all) {
        for (const auto& r : all) table->row(r);
    }
    // The text of one column, top to bottom; "-" for a row too short to have it.
    std::vector<std::string> column(std::size_t c) const {
        std::vector<std::string> out;
        for (const auto& r : table->rows) out.push_back(c < r.size() ? r[c]->value() : "-");
        return out;
    }
    std::shared_ptr<ui::Modal> dialog() const {
        return scene.overlays().empty()
                   ? nullptr
                   : std::dynamic_pointer_cast<ui::Modal>(scene.overlays().back().widget);
    }
    void enter() { run.mark(&ui::Input::enter); }
};

// The order itself is the table fuzz target's; here, what sorting and editing report.
TEST_F(Tables, SortDropsTheSelectionAndBadIndexesAreRefused) {
    rows({{"a", "1"}, {"b"}});
    table->select(1);
    changes = 0;
    table->sort(0); // no row moves, and still the selection goes
    EXPECT_EQ(table->selected(), -1);
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(thrown<std::out_of_range>([&] { table->sort(2); }), "Table column");
    table->edit(0, 1, "one");
    EXPECT_EQ(table->rows[0][1]->value(), "one");
    EXPECT_EQ(edits, (Edits{{0, 1, "one"}}));
    for (auto [r, c] : {std::pair{-1, 0}, {2, 0}, {1, 1}})
        EXPECT_EQ(thrown<std::out_of_range>([&, r = r, c = c] { table->edit(r, c, "x"); }), "Table cell");
    EXPECT_EQ(changes, 2);
    // Only a NaN is no position: an infinity clamps like any number.
    for (int i = 0; i < 20; ++i) table->row({"r"});
    table->scroll(INFINITY);
    EXPECT_FLOAT_EQ(table->scroll(), 22 * 34 - table->bounds.h + 44);
    table->scroll(NAN);
    EXPECT_FLOAT_EQ(table->scroll(), 0);
}

TEST_F(Tables, EnterOnTheSelectedRowOpensTheEditorOnItsFirstCell) {
    rows({{"Alpha", "1"}, {"Beta", "2"}});
    run.frame();
    table->select(0);
    scene.focus(table);
    enter();
    auto modal = dialog();
    ASSERT_TRUE(modal);
    auto field = std::dynamic_pointer_cast<ui::TextField>(scene.focus());
    ASSERT_TRUE(field);
    EXPECT_EQ(field->selected_text(), "Alpha");
    run.type("Gamma");
    enter(); // the field's submit saves
    EXPECT_FALSE(dialog());
    EXPECT_EQ(table->rows[0][0]->value(), "Gamma");
    EXPECT_EQ(edits, (Edits{{0, 0, "Gamma"}}));
}

TEST_F(Tables, SaveFindsItsCellAfterAResortAndSurvivesTheTable) {
    rows({{"b"}, {"a"}, {"c"}});
    run.frame();
    table->edit_dialog(0, 0); // "b"
    run.frame();
    table->sort(0); // "b" moves to row 1
    run.type("z");
    auto button = std::dynamic_pointer_cast<ui::Button>(dialog()->children.back());
    ASSERT_TRUE(button);
    const ui::Rect b = button->screen_bounds;
    run.click({b.x + 5, b.y + 5});
    EXPECT_EQ(column(0), (Strings{"a", "z", "c"}));
    EXPECT_EQ(edits, (Edits{{1, 0, "z"}}));
    EXPECT_FALSE(dialog());
    // With the table gone the save writes nothing and still closes the dialog.
    table->edit_dialog(0, 0);
    run.frame();
    scene.root()->remove(table);
    table.reset();
    enter();
    EXPECT_FALSE(dialog());
}

TEST(PropertyGrid, EditorsStoreTheirValuesAndRedefiningKeepsTheRow) {
    ui::Scene scene;
    FrameDriver run{scene};
    auto grid = scene.root()->emplace<ui::PropertyGrid>();
    std::vector<std::string> reported;
    grid->on_property = [&](const std::string& name, const ui::PropertyValue&) { reported.push_back(name); };
    grid->property("flag", true);
    grid->property("size", 2.5);
    grid->property("name", std::string("box"));
    run.frame();
    // Half-typed numbers never reach the values; a submit stores the field's number.
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
    EXPECT_EQ(reported, (Strings{"size"})); // the submit, with the field's number
    std::dynamic_pointer_cast<ui::CheckBox>(grid->editor("flag"))->selected(false);
    EXPECT_FALSE(std::get<bool>(grid->values["flag"]));
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
