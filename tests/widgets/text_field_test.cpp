// TextField: editing, history, caret and selection, pointer and keys, painting, composition.
#include "field_harness.hpp"

#include "velmora/widgets/text_field.hpp"

#include "../thrown.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace ui = velmora::ui;
using velmora::test::command_color;
using velmora::test::command_kind;
using velmora::test::command_rect;
using velmora::test::glyph;
using velmora::test::key_event;
using velmora::test::TextLog;
using velmora::test::thrown;
using Single = velmora::test::FieldScene<ui::TextField>;

namespace {

constexpr ui::Rect line_box{20, 20, 300, 36};

struct Area : Single {
    explicit Area(std::string text) : Single({20, 20, 300, 140}, std::move(text)) {
        field->multi_line = true;
    }
};

} // namespace

// ---- editing --------------------------------------------------------------------------------

TEST(TextFieldEditing, TypesAndDeletesWholeCodePoints) {
    Single s(line_box);
    s.run.click(s.at(0));
    s.run.type("ab");
    s.run.type("你好");
    EXPECT_EQ(s.field->value(), "ab你好");
    EXPECT_EQ(s.field->caret, 8u);
    EXPECT_EQ(s.field->anchor, 8u);
    EXPECT_EQ(s.field->undo_stack.size(), 2u);
    EXPECT_EQ(s.changes, 2);
    s.key(8); // all three bytes of 好
    EXPECT_EQ(s.field->value(), "ab你");
    s.key(37);
    EXPECT_EQ(s.field->caret, 2u);
    s.key(46);
    EXPECT_EQ(s.field->value(), "ab");

    s.field->value("hello 世界 ok");
    s.key(8, true);
    EXPECT_EQ(s.field->value(), "hello 世界 ");
    s.key(8, true); // a run of Chinese text is one word
    EXPECT_EQ(s.field->value(), "hello ");
}

TEST(TextFieldEditing, PasteFiltersControlBytesByMode) {
    Single single(line_box);
    single.focus();
    single.paste("a\r\nb\tc\x01\x7F");
    EXPECT_EQ(single.field->value(), "abc\x7F");
    Area area("");
    area.focus();
    area.paste("a\r\nb\tc");
    EXPECT_EQ(area.field->value(), "a\nb\tc");
}

TEST(TextFieldEditing, RejectedInputChangesNothing) {
    Single s(line_box, "abc");
    s.field->max_length = 5;
    s.focus();
    s.paste("def"); // dropped whole, not cut to fit
    for (const char* bad : {"\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE4\xBD"})
        s.field->replace_selection(bad);
    s.field->select(2, 3);
    s.run.type("c"); // retyping the selected letter is no edit
    EXPECT_EQ(s.field->value(), "abc");
    EXPECT_TRUE(s.field->undo_stack.empty());
    EXPECT_EQ(s.changes, 0);
    s.field->move(3, false);
    s.paste("de");
    EXPECT_EQ(s.field->value(), "abcde");
}

TEST(TextFieldEditing, ReadOnlyBlocksEditsButCopies) {
    Single s(line_box, "固定 text");
    s.field->read_only = true;
    EXPECT_FALSE(s.field->text_input());
    s.focus();
    s.run.type("x");
    s.key(8);
    s.key(65, true);
    s.key(88, true);
    s.key(67, true);
    EXPECT_EQ(s.field->value(), "固定 text");
    EXPECT_EQ(s.clipboard, std::vector<std::string>{"固定 text"}); // from the copy; the cut copied nothing
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

// ---- history --------------------------------------------------------------------------------

TEST(TextFieldHistory, UndoAndRedoThroughKeysAndMarks) {
    Single s(line_box);
    s.focus();
    for (const char* c : {"a", "b", "c"}) s.run.type(c);
    s.key(90, true);
    EXPECT_EQ(s.field->value(), "ab");
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

TEST(TextFieldHistory, KeepsTheLastHundredStates) {
    ui::TextField field;
    for (int i = 0; i < 101; ++i) field.replace_selection("x");
    EXPECT_EQ(field.undo_stack.size(), 100u);
    for (int i = 0; i < 101; ++i) field.undo();
    EXPECT_EQ(field.value(), "x"); // the state after the first edit; the empty start is gone
    for (int i = 0; i < 100; ++i) field.redo();
    EXPECT_EQ(field.value(), std::string(101, 'x'));
}

TEST(TextFieldHistory, ValueKeepsHistoryOnlyForTheSameText) {
    ui::TextField field("ab");
    field.replace_selection("c");
    field.move(1, false);
    field.value("abc");
    EXPECT_EQ(field.caret, 1u);
    EXPECT_EQ(field.undo_stack.size(), 1u);
    field.value("新的");
    EXPECT_EQ(field.caret, 6u);
    EXPECT_TRUE(field.undo_stack.empty());
}

// ---- offsets, selection, clipboard ------------------------------------------------------------

TEST(TextFieldOffsets, BoundariesWalkBackAndWordsSplitOnAsciiSpace) {
    ui::TextField field("a你b");
    EXPECT_EQ(field.boundary(2), 1u);
    EXPECT_EQ(field.boundary(3), 1u);
    EXPECT_EQ(field.boundary(99), 5u);
    EXPECT_EQ(ui::detail::prev(field.value(), 4), 1u);
    EXPECT_EQ(ui::detail::next(field.value(), 1), 4u);
    field.select(3, 2);
    EXPECT_EQ(field.anchor, 1u);

    field.value("foo  中文字 bar"); // foo 0-3, 中文字 5-14, bar 15-18
    EXPECT_EQ(field.word(0, 1), 5u);
    EXPECT_EQ(field.word(6, 1), 15u);
    EXPECT_EQ(field.word(15, -1), 5u); // back past the white space
    EXPECT_EQ(field.word(4, -1), 0u);
}

TEST(TextFieldSelection, KeysExtendCollapseCopyAndCut) {
    Single s(line_box, "hello world");
    s.focus();
    s.key(36);
    s.key(39, false, true);
    s.key(39, false, true);
    EXPECT_EQ(s.field->selected_text(), "he");
    s.key(37); // collapses to the smaller end instead of stepping
    EXPECT_EQ(s.field->caret, 0u);
    EXPECT_EQ(s.field->anchor, 0u);
    s.key(39, true, true);
    EXPECT_EQ(s.field->caret, 6u);
    s.key(67, true);
    s.key(65, true);
    s.key(88, true);
    EXPECT_EQ(s.clipboard, (std::vector<std::string>{"hello ", "hello world"}));
    EXPECT_EQ(s.field->value(), "");
}

TEST(TextFieldSelection, MaskedFieldNeverReachesTheClipboard) {
    Single s(line_box, "秘密");
    s.field->masked = true;
    s.focus();
    for (unsigned code : {65u, 67u, 88u}) s.key(code, true);
    EXPECT_EQ(s.field->selected_text(), "");
    EXPECT_TRUE(s.clipboard.empty());
    EXPECT_EQ(s.field->value(), "秘密"); // and the cut removed nothing
}

// ---- pointer ----------------------------------------------------------------------------------

TEST(TextFieldPointer, ClickShiftClickAndDrag) {
    Single s(line_box, "abcdef");
    s.run.click(s.at(3));
    EXPECT_EQ(s.field->caret, 3u);
    s.pause();
    s.shift_click(s.at(5));
    EXPECT_EQ(s.field->anchor, 3u);
    EXPECT_EQ(s.field->caret, 5u);
    s.pause();
    s.run.press(s.at(1));
    s.run.move(s.at(4));
    s.run.move({400, s.at(0).y}); // past the end and outside the field
    s.run.release({400, s.at(0).y});
    EXPECT_FALSE(s.field->dragging);
    EXPECT_EQ(s.field->selected_text(), "bcdef");
    // Midpoints decide: the left half of a code point is before it.
    EXPECT_EQ(s.field->position({s.at(0).x + glyph / 2 - 1.1f, 0}), 0u);
    EXPECT_EQ(s.field->position({s.at(0).x + glyph / 2 - 0.9f, 0}), 1u);
}

TEST(TextFieldPointer, DoubleClickSelectsWordWithItsSpace) {
    Single s(line_box, "one two  three");
    s.double_click(s.at(5));
    EXPECT_EQ(s.field->anchor, 4u);
    EXPECT_EQ(s.field->caret, 9u);
    s.pause();
    s.double_click(s.at(7)); // on white space: from the previous word's start
    EXPECT_EQ(s.field->anchor, 4u);
    EXPECT_EQ(s.field->caret, 9u);
    s.pause();
    s.field->value("你好世界");
    s.double_click(s.at(2));
    EXPECT_EQ(s.field->selected_text(), "你好世界");
}

TEST(TextFieldPointer, MultiLineRowsAndWheel) {
    std::string text;
    for (int i = 0; i < 12; ++i) text += "line" + std::to_string(i) + (i < 11 ? "\n" : "");
    Area s(text); // five rows show
    s.field->move(text.size(), false);
    EXPECT_EQ(s.field->first_row, 7);
    const ui::Vec2 inside{100, 60};
    s.run.wheel(inside, 2);
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

// ---- keys -------------------------------------------------------------------------------------

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
    s.key(36);
    s.key(36); // at a line start Home stays on the line
    EXPECT_EQ(s.field->caret, 5u);
    s.key(35);
    EXPECT_EQ(s.field->caret, 6u);
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

// ---- painting ---------------------------------------------------------------------------------

TEST(TextFieldPaint, CaretBlinksWithTheFrameClockOnly) {
    Single s(line_box, "ab");
    s.focus();
    auto caret_drawn = [&](double time) {
        s.run.now = time - s.run.step;
        s.run.frame();
        for (const auto& c : s.run.canvas.commands())
            if (command_kind(c) == ui::kind_shape && command_rect(c).w == 1.5f &&
                command_color(c) == s.scene.theme.accent)
                return true;
        return false;
    };
    EXPECT_TRUE(caret_drawn(10.1));
    EXPECT_FALSE(caret_drawn(10.65));
    s.run.type("c"); // typing doesn't restart the blink
    EXPECT_FALSE(caret_drawn(10.9));
    EXPECT_TRUE(caret_drawn(11.2));
    s.scene.focus(nullptr);
    EXPECT_FALSE(caret_drawn(12.2));
}

TEST(TextFieldPaint, PlaceholderMaskAndSelections) {
    Area s("");
    TextLog log;
    s.run.canvas.renderer(&log);
    s.field->placeholder = "请输入";
    s.run.frame();
    ASSERT_NE(log.find("请输入"), nullptr);
    EXPECT_EQ(log.find("请输入")->color, s.scene.theme.muted);

    s.field->value("密码12\nab");
    s.field->masked = true;
    s.field->select(3, 9); // 码12 and the line feed: a sliver on the second line
    log.entries.clear();
    s.run.frame();
    EXPECT_NE(log.find("••••"), nullptr);
    EXPECT_EQ(log.find("请输入"), nullptr);
    std::vector<float> widths;
    for (const auto& c : s.run.canvas.commands())
        if (command_color(c) == s.scene.theme.selection) widths.push_back(command_rect(c).w);
    ASSERT_EQ(widths.size(), 2u);
    EXPECT_FLOAT_EQ(widths[0], 3 * glyph);
    EXPECT_EQ(widths[1], 2);
}

TEST(TextFieldPaint, ScrollsTheCaretIntoView) {
    Single s({0, 0, 100, 36}, std::string(30, 'w'));
    s.focus();
    s.key(35);
    EXPECT_FLOAT_EQ(s.field->scroll_x, 30 * glyph - (100 - 20 - 3));
    s.key(36);
    EXPECT_FLOAT_EQ(s.field->scroll_x, 0);
}

// ---- input method composition -----------------------------------------------------------------

TEST(TextFieldComposition, PreeditThenCommitMakesOneEdit) {
    Single s(line_box, "ab");
    TextLog log;
    s.run.canvas.renderer(&log);
    s.focus();
    s.field->move(1, false);
    const float caret_x = s.field->caret_rect().x;
    ui::Input preedit;
    for (const char* step : {"n", "ni", "你"}) {
        preedit.composition = step;
        preedit.composition_cursor = preedit.composition.size();
        s.run.frame(preedit);
    }
    EXPECT_FLOAT_EQ(s.field->caret_rect().x, caret_x + glyph);
    EXPECT_NE(log.find("a你b"), nullptr); // shown inline at the caret
    EXPECT_EQ(s.field->value(), "ab");
    EXPECT_TRUE(s.field->undo_stack.empty());

    s.run.type("你");
    EXPECT_EQ(s.field->value(), "a你b");
    EXPECT_EQ(s.field->caret, 4u);
    EXPECT_TRUE(s.field->composition().text.empty());
    EXPECT_EQ(s.field->undo_stack.size(), 1u);
    EXPECT_EQ(s.changes, 1);
}

TEST(TextFieldComposition, FollowsTheWindowsCompositionThroughInput) {
    Single s(line_box, "ab");
    s.focus();
    ui::Input composing;
    composing.composition = "ni";
    composing.composition_cursor = 2;
    s.run.frame(composing);
    s.run.frame(composing); // repeated every frame while it lasts: still no edit
    EXPECT_EQ(s.field->composition().text, "ni");
    EXPECT_EQ(s.scene.text_input_rect().x, s.field->caret_rect().x);
    EXPECT_GT(s.scene.text_input_rect().h, 0);

    s.run.type("你"); // the platform clears the composition as the text arrives
    EXPECT_EQ(s.field->value(), "ab你");
    EXPECT_TRUE(s.field->composition().text.empty());
    EXPECT_EQ(s.field->undo_stack.size(), 1u);

    s.scene.focus(nullptr);
    s.run.frame(composing); // an unfocused field ignores compositions
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
