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

TEST(TextFieldEditing, PasteFiltersControlBytesAndRejectedInputChangesNothing) {
    Single s(line_box);
    s.focus();
    s.paste("a\r\nb\tc\x01\x7F");
    EXPECT_EQ(s.field->value(), "abc\x7F");
    Area area("");
    area.focus();
    area.paste("a\r\nb\tc");
    EXPECT_EQ(area.field->value(), "a\nb\tc");
    Single r(line_box, "abc");
    r.field->max_length = 5;
    r.focus();
    r.paste("def"); // dropped whole, not cut to fit
    for (const char* bad : {"\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE4\xBD"})
        r.field->replace_selection(bad);
    r.field->select(2, 3);
    r.run.type("c"); // retyping the selected letter is no edit
    EXPECT_EQ(r.field->value(), "abc");
    EXPECT_TRUE(r.field->undo_stack.empty());
    EXPECT_EQ(r.changes, 0);
    r.field->move(3, false);
    r.paste("de");
    EXPECT_EQ(r.field->value(), "abcde");
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

TEST(TextFieldEditing, ProgrammaticValuesAreCheckedNotFiltered) {
    EXPECT_EQ(thrown<std::invalid_argument>([] { ui::TextField bad("\xFF"); }), "Invalid UTF-8");
    ui::TextField field(std::string(10, 'a'));
    field.max_length = 4; // the initial text isn't held to the limit
    EXPECT_EQ(thrown<std::invalid_argument>([&] { field.value("abcde"); }), "Invalid field value");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { field.value("\xE4\xBD"); }), "Invalid field value");
    EXPECT_EQ(field.value(), std::string(10, 'a'));
    field.value("a\nb");
    EXPECT_EQ(field.value(), "a\nb");
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

TEST(TextFieldHistory, KeepsTheLastHundredStatesAndValueKeepsThemOnlyForTheSameText) {
    ui::TextField field;
    for (int i = 0; i < 101; ++i) field.replace_selection("x");
    EXPECT_EQ(field.undo_stack.size(), 100u);
    for (int i = 0; i < 101; ++i) field.undo();
    EXPECT_EQ(field.value(), "x"); // the state after the first edit; the empty start is gone
    for (int i = 0; i < 100; ++i) field.redo();
    EXPECT_EQ(field.value(), std::string(101, 'x'));
    field.move(1, false);
    field.value(std::string(101, 'x'));
    EXPECT_EQ(field.caret, 1u);
    EXPECT_EQ(field.undo_stack.size(), 100u);
    field.value("新的");
    EXPECT_EQ(field.caret, 6u);
    EXPECT_TRUE(field.undo_stack.empty());
}

TEST(TextFieldSelection, BoundariesWalkBackAndKeysExtendCollapseCopyAndCut) {
    ui::TextField field("a你b");
    EXPECT_EQ(field.boundary(3), 1u);
    EXPECT_EQ(field.boundary(99), 5u);
    field.value("foo  中文字 bar"); // foo 0-3, 中文字 5-14, bar 15-18
    EXPECT_EQ(field.word(6, 1), 15u);
    EXPECT_EQ(field.word(15, -1), 5u); // back past the white space
    Single s(line_box, "hello world");
    s.focus();
    s.key(36);
    s.keys({39, 39}, false, true);
    EXPECT_EQ(s.field->selected_text(), "he");
    s.key(37); // collapses to the smaller end instead of stepping
    EXPECT_EQ(s.field->caret, 0u);
    EXPECT_EQ(s.field->anchor, 0u);
    s.key(39, true, true);
    s.keys({67, 65, 88}, true);
    EXPECT_EQ(s.clipboard, (std::vector<std::string>{"hello ", "hello world"}));
    EXPECT_EQ(s.field->value(), "");
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
    // Midpoints decide: the left half of a code point is before it.
    EXPECT_EQ(s.field->position({s.at(0).x + glyph / 2 - 1.1f, 0}), 0u);
    EXPECT_EQ(s.field->position({s.at(0).x + glyph / 2 - 0.9f, 0}), 1u);
    s.field->value("one two  three");
    for (int k : {5, 7}) { // a word with its space; on white space, from the previous word's start
        s.double_click(s.at(k));
        EXPECT_EQ(s.field->anchor, 4u) << k;
        EXPECT_EQ(s.field->caret, 9u) << k;
    }
    s.field->value("你好世界");
    s.double_click(s.at(2));
    EXPECT_EQ(s.field->selected_text(), "你好世界");
}

TEST(TextFieldPointer, MultiLineRowsAndWheel) {
    std::string text;
    for (int i = 0; i < 12; ++i) text += "line" + std::to_string(i) + (i < 11 ? "\n" : "");
    Area s(text); // five rows show
    s.focus();    // a focused field ticks its composition every frame, which must not undo the wheel
    s.field->move(text.size(), false);
    EXPECT_EQ(s.field->first_row, 7);
    const ui::Vec2 inside{100, 60};
    s.run.wheel(inside, 2);
    s.run.frame();
    EXPECT_EQ(s.field->first_row, 1);
    s.run.wheel(inside, 5);
    EXPECT_EQ(s.field->first_row, 0);
    s.run.wheel(inside, -100);
    EXPECT_EQ(s.field->first_row, 7);
    s.run.wheel(inside, 100);
    s.run.click(s.at(2, 3));
    EXPECT_EQ(s.field->caret, std::string("line0\nline1\nline2\nli").size());
    EXPECT_EQ(s.field->position({inside.x, 1000}), text.size());
}

TEST(TextFieldKeys, MultiLineNavigationKeepsTheColumn) {
    Area s("abcd\nx\nefgh");
    s.focus();
    s.field->move(3, false);
    s.key(40);
    EXPECT_EQ(s.field->caret, 6u); // the end of the short line
    s.key(40);
    EXPECT_EQ(s.field->caret, 8u);
    s.key(38, false, true);
    EXPECT_EQ(s.field->anchor, 8u);
    EXPECT_EQ(s.field->caret, 6u);
    s.keys({36, 36}); // at a line start Home stays on the line
    EXPECT_EQ(s.field->caret, 5u);
    s.key(35, true);
    s.key(13);
    EXPECT_EQ(s.field->value(), "abcd\nx\nefgh\n");
}

TEST(TextFieldKeys, SingleLineLeavesVerticalKeysToParents) {
    Single s(line_box, "abc");
    int submitted = 0;
    s.field->on_submit = [&](const std::string& v) { submitted += v == "abc"; };
    s.focus();
    for (int code : {38, 40, 27, 75}) EXPECT_FALSE(s.scene.dispatch(s.field, key_event(code), false)) << code;
    EXPECT_TRUE(s.scene.dispatch(s.field, key_event(13), false));
    EXPECT_EQ(submitted, 1);
}

TEST(TextFieldPaint, CaretScrollsIntoViewAndMaskHidesTheText) {
    Single s({0, 0, 100, 36}, std::string(31, 'w'));
    s.focus();
    s.key(35);
    EXPECT_FLOAT_EQ(s.field->scroll_x, 31 * glyph - (100 - 20 - 3));
    s.field->bounds.w = 400; // grown until the text fits: nothing stays scrolled away
    s.run.frame();
    EXPECT_FLOAT_EQ(s.field->scroll_x, 0);
    s.field->bounds.w = 100; // shrunk again: the caret at the end comes back into view
    s.run.frame();
    EXPECT_FLOAT_EQ(s.field->scroll_x, 31 * glyph - (100 - 20 - 3));
    s.key(36);
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
    EXPECT_TRUE(s.field->undo_stack.empty());
    s.run.type("你"); // the platform clears the composition as the text arrives
    EXPECT_EQ(s.field->value(), "a你b");
    EXPECT_EQ(s.field->caret, 4u);
    EXPECT_TRUE(s.field->composition().text.empty());
    EXPECT_EQ(s.field->undo_stack.size(), 1u);
    EXPECT_EQ(s.changes, 1);
    s.scene.focus(nullptr);
    s.run.frame(preedit); // an unfocused field ignores compositions
    EXPECT_TRUE(s.field->composition().text.empty());
    EXPECT_EQ(s.scene.text_input_rect().w, 0);
}

TEST(TextFieldComposition, CancelLeavesNothingBehind) {
    Single s(line_box, "ab");
    s.focus();
    s.field->compose("zhong", 5);
    s.field->compose("zhong\xE4", 9); // invalid preedit is ignored
    EXPECT_EQ(s.field->composition().text, "zhong");
    s.field->compose("", 0);
    s.run.frame();
    EXPECT_EQ(s.field->value(), "ab");
    EXPECT_TRUE(s.field->undo_stack.empty());
    EXPECT_EQ(s.changes, 0);
    s.field->compose("中", 2); // a cursor inside a code point snaps back
    EXPECT_EQ(s.field->composition().cursor, 0u);
    s.scene.focus(nullptr); // leaving the field drops the composition
    EXPECT_TRUE(s.field->composition().text.empty());
}

} // namespace
} // namespace velmora::test
