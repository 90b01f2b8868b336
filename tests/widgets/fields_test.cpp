// The derived text fields: what each one changes about the editor.
#include "field_harness.hpp"

#include "velmora/widgets/fields.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace velmora::test {
namespace {

using Strings = std::vector<std::string>;
constexpr ui::Rect box{20, 20, 240, 36};

// The middle of a field's right inset, where its button sits.
ui::Vec2 right_inset(const ui::TextField& f) {
    const auto& b = f.screen_bounds;
    return {b.x + b.w - f.inset_right() / 2, b.y + b.h / 2};
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

} // namespace
} // namespace velmora::test
