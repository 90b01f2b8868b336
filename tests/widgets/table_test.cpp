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

TEST_F(Tables, SortSwitchesBetweenNumericAndTextForTheWholeColumn) {
    rows({{"a", "10"}, {"b", "9"}, {"c", "2"}});
    table->sort(1);
    EXPECT_EQ(column(1), (Strings{"2", "9", "10"}));
    // One text cell turns the column to byte order, where "10" comes before "2"; a short row
    // sorts as empty text. Another column restarts ascending.
    table->row({"d", "x"});
    table->row({"e"});
    table->select(1);
    changes = 0;
    table->sort(0); // no row moves, and still the selection goes
    EXPECT_EQ(table->selected(), -1);
    EXPECT_EQ(changes, 1);
    table->sort(1);
    EXPECT_TRUE(table->sort_ascending);
    EXPECT_EQ(column(1), (Strings{"-", "10", "2", "9", "x"}));
    EXPECT_EQ(thrown<std::out_of_range>([&] { table->sort(2); }), "Table column");
    EXPECT_EQ(thrown<std::out_of_range>([&] { table->sort(-1); }), "Table column");
    EXPECT_EQ(table->sort_column, 1);
}

TEST_F(Tables, EditSetsTheCellAndReportsAfterwards) {
    rows({{"a", "1"}, {"b"}});
    table->edit(0, 1, "one");
    EXPECT_EQ(table->rows[0][1]->value(), "one");
    EXPECT_EQ(edits, (Edits{{0, 1, "one"}}));
    EXPECT_EQ(changes, 1);
    for (auto [r, c] : {std::pair{-1, 0}, {0, -1}, {2, 0}, {1, 1}})
        EXPECT_EQ(thrown<std::out_of_range>([&, r = r, c = c] { table->edit(r, c, "x"); }), "Table cell");
    EXPECT_EQ(changes, 1);
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

TEST_F(Tables, EditorOnlyForAnEditableAttachedExistingCell) {
    auto loose = std::make_shared<ui::Table>();
    loose->row({"x"});
    loose->edit_dialog(0, 0); // never placed in a scene
    rows({{"x"}});
    table->edit_dialog(0, 1);
    table->edit_dialog(-1, 0);
    run.frame();
    EXPECT_TRUE(scene.overlays().empty());
    // Enter is the table's even when nothing opens.
    scene.root()->remove(table);
    auto parent = scene.root()->emplace<Probe>("", ui::Rect{0, 0, 500, 300});
    parent->add(table);
    table->editable = false;
    run.frame();
    table->select(0);
    scene.focus(table);
    enter();
    EXPECT_TRUE(scene.overlays().empty());
    EXPECT_EQ(parent->count(ui::key_down), 0);
}

TEST_F(Tables, PointerAndKeysSelectSortScrollAndOpen) {
    for (int i = 0; i < 20; ++i) table->row({std::to_string(i), "v"});
    run.frame();
    run.click({30, 30}); // header, first column
    EXPECT_EQ(table->sort_column, 0);
    run.click({250, 20 + 40 + 34 + 5}); // second row
    EXPECT_EQ(table->selected(), 1);
    run.click({250, 20 + 40 + 34 + 5}); // double click: the clicked column
    ASSERT_TRUE(dialog());
    EXPECT_EQ(std::dynamic_pointer_cast<ui::TextField>(scene.focus())->value(), "v");
    scene.close_top();
    run.wheel({100, 100}, -100);
    EXPECT_FLOAT_EQ(table->scroll(), 20 * 34 - 220 + 44);
    run.wheel({100, 100}, 1);
    EXPECT_FLOAT_EQ(table->scroll(), 20 * 34 - 220 + 44 - 68);
    // Up from no selection lands on row 0 and brings it into view.
    table->sort(0);
    run.key(ui::vk::up);
    EXPECT_EQ(table->selected(), 0);
    EXPECT_FLOAT_EQ(table->scroll(), 0);
    for (int i = 0; i < 6; ++i) run.key(ui::vk::down);
    EXPECT_FLOAT_EQ(table->scroll(), 7 * 34 - 220 + 44);
    // Only a NaN is no position: an infinity clamps like any number.
    table->scroll(INFINITY);
    EXPECT_FLOAT_EQ(table->scroll(), 20 * 34 - 220 + 44);
    table->scroll(NAN);
    EXPECT_FLOAT_EQ(table->scroll(), 0);
    table->selected(99);
    EXPECT_EQ(table->selected(), 19);
}

TEST_F(Tables, PaintsOnlyVisibleRowsWithTheSortMark) {
    TextLog log;
    run.canvas.renderer(&log);
    for (int i = 0; i < 1000; ++i) table->row({"r" + std::to_string(i), "x"});
    table->sort(0);
    table->sort(0);
    run.frame();
    EXPECT_TRUE(log.find("名称 ↓"));
    EXPECT_TRUE(log.find("r999"));
    EXPECT_FALSE(log.find("r990"));
    EXPECT_EQ(log.entries.size(), 2u + 2 * 7); // headers, then 7 rows of two cells
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
    EXPECT_FALSE(grid->editor("none"));
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
    run.frame();
    EXPECT_EQ(grid->names, (Strings{"flag", "size", "name"}));
    auto text = std::dynamic_pointer_cast<ui::TextField>(grid->editor("size"));
    ASSERT_TRUE(text);
    reported.clear();
    std::dynamic_pointer_cast<ui::NumberField>(old)->number(9);
    EXPECT_TRUE(reported.empty());
    EXPECT_EQ(std::get<std::string>(grid->values["size"]), "large");
}

TEST(Paginator, ClampsStepsAndShowsThePage) {
    EXPECT_EQ(ui::Paginator(0).pages(), 1);
    ui::Scene scene;
    FrameDriver run{scene};
    TextLog log;
    run.canvas.renderer(&log);
    auto pager = scene.root()->emplace<ui::Paginator>(8);
    int changes = 0;
    pager->on_change = [&](ui::Widget&) { ++changes; };
    run.frame();
    run.click({10, 18}); // back from the first page: handled, nothing moves
    run.click({350, 18});
    run.click({180, 18});
    EXPECT_EQ(pager->page, 1);
    EXPECT_EQ(changes, 1);
    scene.focus(pager);
    run.key(ui::vk::end);
    run.key(ui::vk::right);
    EXPECT_EQ(pager->page, 7);
    changes = 0;
    pager->pages(3);
    EXPECT_EQ(pager->page, 2);
    EXPECT_EQ(changes, 1);
    log.entries.clear();
    run.frame();
    EXPECT_TRUE(log.find("3 / 3"));
}

} // namespace
} // namespace velmora::test
