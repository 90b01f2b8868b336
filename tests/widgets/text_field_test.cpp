// TextField: editing, history, caret and selection, pointer and keys, painting, composition.
#include "field_harness.hpp"

#include "velmora/widgets/text_field.hpp"

#include "../thrown.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace velmora::test {
namespace {

using Single = FieldScene<ui::TextField>;
constexpr ui::Rect line_box{20, 20, 300, 36};

struct Area : Single {
    explicit Area(std::string text) : Single({20, 20, 300, 140}, std::move(text)) {
        field->multi_line = true;
    }
};

TEST(TextFieldEditing, TypesAndDeletesWholeCodePointsAndWords) {
    Single s(line_box);
    s.run.click(s.at(0));
    s.run.type("ab");
    s.run.type("你好");
    EXPECT_EQ(s.field->caret, 8u);
    EXPECT_EQ(s.changes, 2);
    s.key(8); // all three bytes of 好
    s.key(37);
    s.key(46);
    EXPECT_EQ(s.field->value(), "ab");
    s.field->value("hello 世界 ok");
    s.key(8, true);
    EXPECT_EQ(s.field->value(), "hello 世界 ");
    s.key(8, true); // a run of Chinese text is one word
    EXPECT_EQ(s.field->value(), "hello ");
}

TEST(TextFieldEditing, ReadOnlyCopiesButMaskedNeverReachesTheClipboard) {
    Single s(line_box, "固定 text");
    s.field->read_only = true;
    EXPECT_FALSE(s.field->text_input());
    s.focus();
    s.run.type("x");
    s.key(8);
    s.keys({65, 88, 67}, true);
    EXPECT_EQ(s.field->value(), "固定 text");
    EXPECT_EQ(s.clipboard, std::vector<std::string>{"固定 text"}); // from the copy; the cut copied nothing
    s.field->read_only = false;
    s.field->masked = true;
    s.keys({65, 67, 88}, true);
    EXPECT_EQ(s.field->selected_text(), "");
    EXPECT_EQ(s.clipboard.size(), 1u);
    EXPECT_EQ(s.field->value(), "固定 text"); // and the cut removed nothing
}

TEST(TextFieldHistory, UndoAndRedoThroughKeysAndMarks) {
    Single s(line_box);
    s.focus();
    for (const char* c : {"a", "b", "c"}) s.run.type(c);
    s.key(90, true);
    s.run.mark(&ui::Input::undo); // the mark alone, as a menu command sends it
    EXPECT_EQ(s.field->value(), "a");
    EXPECT_EQ(s.field->caret, 1u);
    s.key(89, true);
    s.key(90, true, true);
    EXPECT_EQ(s.field->value(), "abc");
    s.key(90, true);
    s.run.type("x");
    EXPECT_EQ(s.field->value(), "abx");
    EXPECT_TRUE(s.field->redo_stack.empty());
    EXPECT_EQ(s.changes, 9);
}

TEST(TextFieldPointer, ClickShiftClickDragAndDoubleClick) {
    Single s(line_box, "abcdef");
    s.run.click(s.at(3));
    s.pause();
    ui::Input shift_click;
    shift_click.mouse_pressed = shift_click.mouse_released = shift_click.shift = true;
    s.run.state.mouse = s.at(5);
    s.run.frame(shift_click);
    EXPECT_EQ(s.field->anchor, 3u);
    EXPECT_EQ(s.field->caret, 5u);
    s.pause();
    s.run.press(s.at(1));
    s.run.move({400, s.at(0).y}); // past the end and outside the field
    s.run.release({400, s.at(0).y});
    EXPECT_FALSE(s.field->dragging);
    EXPECT_EQ(s.field->selected_text(), "bcdef");
    s.field->value("one two  three");
    s.double_click(s.at(5)); // a word with its space
    EXPECT_EQ(s.field->selected_text(), "two  ");
    s.field->value("你好世界");
    s.double_click(s.at(2));
    EXPECT_EQ(s.field->selected_text(), "你好世界");
}

TEST(TextFieldPaint, CaretScrollsIntoViewAndMaskHidesTheText) {
    Single s({0, 0, 100, 36}, std::string(31, 'w'));
    s.focus();
    s.key(35);
    EXPECT_GT(s.field->scroll_x, 0);
    s.field->bounds.w = 400; // grown until the text fits: nothing stays scrolled away
    s.run.frame();
    EXPECT_FLOAT_EQ(s.field->scroll_x, 0);
    TextLog log;
    s.run.canvas.renderer(&log);
    s.field->value("密码12");
    s.field->masked = true;
    s.run.frame();
    EXPECT_NE(log.find("••••"), nullptr);
    EXPECT_EQ(log.find("密码12"), nullptr);
}

TEST(TextFieldComposition, PreeditShowsInlineThenCommitMakesOneEdit) {
    Single s(line_box, "ab");
    TextLog log;
    s.run.canvas.renderer(&log);
    s.focus();
    s.field->move(1, false);
    const float caret_x = s.field->caret_rect().x;
    ui::Input preedit;
    for (const char* step : {"n", "ni", "你", "你"}) { // repeated every frame while it lasts
        preedit.composition = step;
        preedit.composition_cursor = preedit.composition.size();
        s.run.frame(preedit);
    }
    EXPECT_FLOAT_EQ(s.field->caret_rect().x, caret_x + glyph);
    EXPECT_EQ(s.scene.text_input_rect().x, s.field->caret_rect().x);
    EXPECT_NE(log.find("a你b"), nullptr);
    EXPECT_EQ(s.field->value(), "ab");
    s.run.type("你"); // the platform clears the composition as the text arrives
    EXPECT_EQ(s.field->value(), "a你b");
    EXPECT_EQ(s.field->undo_stack.size(), 1u);
    EXPECT_EQ(s.changes, 1);
    s.scene.focus(nullptr);
    s.run.frame(preedit); // an unfocused field ignores compositions
    EXPECT_TRUE(s.field->composition().text.empty());
    EXPECT_EQ(s.scene.text_input_rect().w, 0);
}

} // namespace
} // namespace velmora::test
