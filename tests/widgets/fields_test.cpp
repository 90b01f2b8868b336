// The derived text fields: what each one changes about the editor.
#include "field_harness.hpp"

#include "velmora/widgets/fields.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmora::test {
namespace {

using Strings = std::vector<std::string>;
constexpr ui::Rect box{20, 20, 240, 36};

// The middle of a field's right or left inset, where its buttons sit.
ui::Vec2 right_inset(const ui::TextField& f) {
    const auto& b = f.screen_bounds;
    return {b.x + b.w - f.inset_right() / 2, b.y + b.h / 2};
}
ui::Vec2 left_inset(const ui::TextField& f) {
    return {f.screen_bounds.x + f.inset_left() / 2, f.screen_bounds.y + f.screen_bounds.h / 2};
}

// The middle of a row of the open suggestion list.
ui::Vec2 list_row(const ui::Scene& scene, int row) {
    const auto& b = scene.overlays().back().widget->screen_bounds;
    return {b.x + 20, b.y + 4 + 30.0f * static_cast<float>(row) + 15};
}

TEST(TextAreaField, PagesByVisibleRows) {
    std::string text;
    for (int i = 0; i < 20; ++i) text += std::to_string(i % 10) + "\n";
    FieldScene<ui::TextArea> s({20, 20, 300, 140}, text);
    s.focus();
    s.key(36, true);
    s.key(34); // five rows show
    EXPECT_EQ(s.field->caret, 10u);
    s.key(34, false, true);
    EXPECT_EQ(s.field->caret, 20u);
    EXPECT_EQ(s.field->anchor, 10u);
    EXPECT_EQ(s.field->first_row, 6);
    s.key(33);
    EXPECT_EQ(s.field->caret, 10u);
}

TEST(PasswordFieldBehaviour, RevealsOnlyWhileHeldAndNeverCopies) {
    FieldScene<ui::PasswordField> s(box, "秘密abc");
    TextLog log;
    s.run.canvas.renderer(&log);
    s.field->reveal_button = true;
    s.run.press(right_inset(*s.field));
    EXPECT_EQ(s.field->caret, s.field->value().size()); // the button press doesn't move the caret
    log.entries.clear();
    s.run.frame();
    EXPECT_NE(log.find("秘密abc"), nullptr);
    s.keys({65, 67, 88}, true); // not even while revealed
    EXPECT_TRUE(s.clipboard.empty());
    EXPECT_EQ(s.field->value(), "秘密abc");
    s.run.release(right_inset(*s.field));
    EXPECT_TRUE(s.field->masked);
    EXPECT_FALSE(s.field->revealing());
}

TEST(SearchFieldBehaviour, ClearMarkIsOneEditAndEnterEscapeArrowsGoToTheParent) {
    FieldScene<ui::SearchField> s(box);
    s.run.click(s.at(0));
    s.run.type("查询 text");
    s.pause();
    s.run.click(right_inset(*s.field));
    EXPECT_EQ(s.field->value(), "");
    EXPECT_EQ(s.changes, 2);
    s.key(90, true);
    EXPECT_EQ(s.field->value(), "查询 text");
    auto parent = s.scene.root()->emplace<Probe>("", ui::Rect{0, 100, 400, 100});
    auto field = parent->emplace<ui::SearchField>("q");
    int submits = 0;
    field->on_submit = [&](const std::string&) { ++submits; };
    s.run.frame();
    s.scene.focus(field);
    for (unsigned code : {13u, 27u, 38u, 40u}) s.run.key(code);
    EXPECT_EQ(submits, 1);
    EXPECT_EQ(parent->count(ui::key_down), 4);
}

TEST(NumberFieldBehaviour, AcceptsOnlyTextOnItsWayToANumber) {
    FieldScene<ui::NumberField> s(box);
    s.focus();
    s.key(65, true); // over the initial 0
    for (const char* c : {"-", "1", ".", "5", "e", "-", "3", "x", ".", "e", "+"}) s.run.type(c);
    EXPECT_EQ(s.field->value(), "-1.5e-3");
    ui::NumberField field;
    for (const char* good : {"", "+", "-", ".", "1.", ".5", "12e", "1E+", "007"})
        EXPECT_TRUE(field.accepts(good)) << good;
    for (const char* bad : {"e5", "1.2.3", "1e5.", "--1", " 1", "0x1", "1e2e3", "一"})
        EXPECT_FALSE(field.accepts(bad)) << bad;
    EXPECT_THROW(field.value("abc"), std::invalid_argument);
}

TEST(NumberFieldBehaviour, SubmitParsesClampsAndReformatsAsAnEdit) {
    FieldScene<ui::NumberField> s(box, 5.0);
    Strings submitted;
    s.field->on_submit = [&](const std::string& v) { submitted.push_back(v); };
    s.field->range(-10, 100);
    s.focus();
    for (const char* typed : {"12.50", "2e3", "-"}) { // no number yet: the last one comes back
        s.key(65, true);
        s.run.type(typed);
        s.key(13);
    }
    EXPECT_EQ(submitted, (Strings{"12.5", "100", "100"}));
    EXPECT_EQ(s.field->number(), 100);
    s.key(90, true); // the reformatting was an ordinary edit
    EXPECT_EQ(s.field->value(), "-");
}

TEST(NumberFieldBehaviour, ArrowsStepWithinTheRange) {
    FieldScene<ui::NumberField> s(box, 0.0);
    s.field->step(0.1);
    s.field->range(0, 0.25);
    s.focus();
    s.keys({38, 38});
    EXPECT_EQ(s.field->value(), "0.2"); // not 0.20000000000000001
    s.key(38);
    EXPECT_EQ(s.field->number(), 0.25);
    s.key(40);
    EXPECT_EQ(s.field->value(), "0.15");
    s.key(90, true);
    EXPECT_EQ(s.field->value(), "0.25");
}

TEST(NumberFieldBehaviour, ProgrammaticValuesAreChecked) {
    ui::NumberField field(7);
    EXPECT_THROW(field.number(std::nan("")), std::invalid_argument);
    EXPECT_THROW(field.number(std::numeric_limits<double>::infinity()), std::invalid_argument);
    EXPECT_THROW(field.range(2, 1), std::invalid_argument);
    EXPECT_THROW(field.step(0), std::invalid_argument);
    EXPECT_EQ(field.value(), "7");
    field.range(10, 20);
    EXPECT_EQ(field.value(), "10");
    field.range(-1, 1);
    field.number(-0.0);
    EXPECT_EQ(field.value(), "0");
    field.value("0.5"); // the text carries the number along
    field.value("-");
    EXPECT_EQ(field.number(), 0.5);
    EXPECT_EQ(ui::NumberField::format(1e21), "1e+21");
    EXPECT_EQ(ui::NumberField::format(0.1 + 0.2), "0.3");
}

TEST(SpinnerBehaviour, ButtonsStepAndRepeatWhileHeld) {
    FieldScene<ui::Spinner> s(box, 0.0);
    for (auto at : {right_inset(*s.field), left_inset(*s.field), left_inset(*s.field)}) {
        s.run.click(at);
        s.pause();
    }
    EXPECT_EQ(s.field->number(), -1);
    s.run.press(right_inset(*s.field));
    s.run.idle(0.3);
    EXPECT_EQ(s.field->number(), 0); // the first repeat waits
    s.run.idle(0.5);
    const double held = s.field->number();
    EXPECT_GE(held, 2);
    s.run.release(right_inset(*s.field));
    s.run.idle(0.5);
    EXPECT_EQ(s.field->number(), held);
    EXPECT_EQ(s.field->held(), 0);
}

TEST(KeyBindingFieldBehaviour, CapturesCombinationsInsteadOfText) {
    FieldScene<ui::KeyBindingField> s(box);
    EXPECT_FALSE(s.field->text_input());
    s.focus();
    s.key(75, true, true);
    s.run.type("k");
    s.key(17, true); // a modifier alone is no combination yet
    EXPECT_EQ(s.field->value(), "Ctrl+Shift+K");
    s.key(90, true); // Ctrl+Z is captured, not undone
    EXPECT_EQ(s.field->value(), "Ctrl+Z");
    s.key(112);
    EXPECT_EQ(s.field->value(), "F1");
    EXPECT_FALSE(s.scene.dispatch(s.field, key_event(27), false));
    s.key(8);
    EXPECT_EQ(s.field->value(), "");
    EXPECT_EQ(s.changes, 4);
    EXPECT_EQ(ui::KeyBindingField::describe_keys(191, false, false, true), "Alt+/");
}

TEST(AutoCompleteBehaviour, TypingOpensMatchesThatKeysNavigate) {
    FieldScene<ui::AutoComplete> s(box, Strings{"Velmora", "VelmoraUI", "C++", "Java"});
    s.run.click(s.at(0));
    s.run.type("vel");
    ASSERT_TRUE(s.field->suggestions_open());
    EXPECT_EQ(s.field->shown(), (Strings{"Velmora", "VelmoraUI"}));
    EXPECT_EQ(s.scene.focus(), s.field); // the popup keeps the focus in the field
    s.keys({40, 40, 40, 38});            // wraps to the first and back to the last
    EXPECT_EQ(s.field->highlighted(), 1);
    s.key(13);
    EXPECT_EQ(s.field->value(), "VelmoraUI");
    EXPECT_FALSE(s.field->suggestions_open());
    s.key(90, true);
    EXPECT_EQ(s.field->value(), "vel");
    s.run.type("m");
    s.key(27); // closes the list and nothing else
    EXPECT_FALSE(s.field->suggestions_open());
    EXPECT_EQ(s.field->value(), "velm");
    s.key(40);
    EXPECT_TRUE(s.field->suggestions_open());
    s.key(65, true);
    s.key(8); // nothing typed, nothing suggested
    EXPECT_FALSE(s.field->suggestions_open());
}

TEST(AutoCompleteBehaviour, ClickingASuggestionAcceptsIt) {
    FieldScene<ui::AutoComplete> s(box, Strings{"Velmora", "VelmoraUI", "C++", "Java"});
    s.run.click(s.at(0));
    s.run.type("A");
    ASSERT_EQ(s.field->shown(), (Strings{"Velmora", "VelmoraUI", "Java"}));
    s.run.move(list_row(s.scene, 2));
    EXPECT_EQ(s.field->highlighted(), 2);
    s.run.click(list_row(s.scene, 2));
    EXPECT_EQ(s.field->value(), "Java");
    EXPECT_EQ(s.field->caret, 4u);
    EXPECT_TRUE(s.scene.overlays().empty());
    EXPECT_EQ(s.scene.focus(), s.field);
    s.run.type("x");
    EXPECT_FALSE(s.field->suggestions_open()); // no match, no list
}

TEST(ComboBoxBehaviour, DropButtonListsEveryOption) {
    FieldScene<ui::ComboBox> s(box, Strings{"One", "Two", "Three"});
    s.field->value("Two");
    s.run.click(right_inset(*s.field));
    ASSERT_TRUE(s.field->suggestions_open());
    EXPECT_EQ(s.field->shown(), (Strings{"One", "Two", "Three"}));
    EXPECT_EQ(s.field->highlighted(), 1);
    s.run.click(list_row(s.scene, 2));
    EXPECT_EQ(s.field->value(), "Three");
    s.pause();
    s.run.click(right_inset(*s.field));
    s.pause();
    s.run.click(right_inset(*s.field)); // the press outside the popup closes it
    EXPECT_FALSE(s.field->suggestions_open());
    s.focus();
    s.key(65, true);
    s.run.type("t");
    EXPECT_EQ(s.field->shown(), (Strings{"Two", "Three"}));
}

} // namespace
} // namespace velmora::test
