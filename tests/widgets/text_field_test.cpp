// TextField and the fields built on it: code points and words, clipboard rules, history, pointer
// selection, masking, input-method composition, and what each derived field changes.
// Without a renderer every code point is 0.6 em wide, 8.4 units at the default font size.
#include "../scene/frame_driver.hpp"

#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/fields.hpp"
#include "velmora/widgets/text_field.hpp"

#include <gtest/gtest.h>

#include <tuple>

namespace velmora::test {
namespace {

using Strings = std::vector<std::string>;
constexpr ui::Rect box{20, 20, 300, 36};

template <class Field> struct FieldScene {
    ui::Scene scene;
    FrameDriver run{scene};
    std::shared_ptr<Field> field;
    Strings clipboard;
    int changes = 0;

    template <class... Args> explicit FieldScene(Args&&... args) {
        field = scene.root()->emplace<Field>(std::forward<Args>(args)...);
        field->bounds = box;
        field->on_change = [this](ui::Widget&) { ++changes; };
        scene.clipboard([this](const std::string& s) { clipboard.push_back(s); });
        run.frame();
        scene.focus(field);
    }
    // Ctrl+A, Ctrl+C and Ctrl+X, each marked as the platform marks it.
    void select_copy_cut() {
        for (auto mark : {&ui::Input::select_all, &ui::Input::copy, &ui::Input::cut}) run.mark(mark);
    }
};
using Single = FieldScene<ui::TextField>;

TEST(TextFieldEditing, DeletesWholeCodePointsAndWordsAndANewEditDropsTheRedo) {
    Single s;
    s.run.type("ab");
    s.run.type("你好");
    s.run.key(8); // all three bytes of 好
    EXPECT_EQ(s.field->value(), "ab你");
    EXPECT_EQ(s.changes, 3);
    s.run.mark(&ui::Input::undo); // the mark alone, as a menu command sends it
    s.run.mark(&ui::Input::undo);
    EXPECT_EQ(s.field->value(), "ab");
    s.run.mark(&ui::Input::redo);
    EXPECT_EQ(s.field->value(), "ab你好");
    s.run.type("x");
    EXPECT_TRUE(s.field->redo_stack.empty());
    s.field->value("hello 世界 ok");
    s.run.key(8, true);
    s.run.key(8, true); // a run of Chinese text is one word
    EXPECT_EQ(s.field->value(), "hello ");
}

// Each kind of cluster that a code-point walk breaks apart, after "x" and before "y". Wine's
// Uniscribe, which the Windows build is tested under, clusters combining marks alone.
#ifdef _WIN32
const Strings clusters{"e\u0301"};
#else
const Strings clusters{"e\u0301", "👍🏽", "👨‍👩‍👧‍👦", "🇩🇪", "स्ते", "क्षि", "ก้"};
#endif

TEST(TextFieldEditing, ArrowsBackspaceDeleteAndShiftStepOverWholeClusters) {
    Single s;
    for (const std::string& cluster : clusters) {
        s.field->value("x" + cluster + "y");
        s.run.key(ui::vk::left);
        s.run.key(ui::vk::left);
        EXPECT_EQ(s.field->caret, 1u) << cluster;
        s.run.key(ui::vk::right, false, true);
        EXPECT_EQ(s.field->selected_text(), cluster);
        s.run.key(ui::vk::right); // collapses the selection at its end
        s.run.key(ui::vk::backspace);
        EXPECT_EQ(s.field->value(), "xy") << cluster;
        s.run.mark(&ui::Input::undo);
        s.field->select(0, 3); // inside the cluster: moved back to its start
        EXPECT_EQ(s.field->caret, 1u) << cluster;
        s.field->move(1, false);
        s.run.key(ui::vk::delete_key);
        EXPECT_EQ(s.field->value(), "xy") << cluster;
    }
    if (clusters.size() == 1) return;
    s.field->value("नमस्ते दुनिया"); // three characters, then a word
    s.field->move(0, false);
    for (int i = 0; i < 3; ++i) s.run.key(ui::vk::right);
    EXPECT_EQ(s.field->caret, std::string("नमस्ते").size());
}

TEST(TextFieldEditing, ReadOnlyCopiesButMaskedNeverReachesTheClipboardOrTheScreen) {
    Single s("固定 text");
    s.field->read_only = true;
    s.run.type("x");
    s.run.key(8);
    s.select_copy_cut();
    EXPECT_EQ(s.field->value(), "固定 text");
    EXPECT_EQ(s.clipboard, Strings{"固定 text"}); // from the copy; the cut copied nothing
    s.field->read_only = false;
    s.field->masked = true;
    TextLog log;
    s.run.canvas.renderer(&log);
    s.select_copy_cut();
    EXPECT_EQ(s.clipboard.size(), 1u);
    EXPECT_EQ(s.field->value(), "固定 text"); // and the cut removed nothing
    EXPECT_NE(log.find("•••••••"), nullptr);
    EXPECT_EQ(log.find("固定 text"), nullptr);
    s.field->value(clusters.back() + "e\u0301"); // one bullet per character the user typed
    s.run.frame();
    EXPECT_NE(log.find("••"), nullptr);
}

TEST(TextFieldPointer, DoubleClickSelectsAWordWithItsSpacesOrARunOfChinese) {
    Single s;
    // A word with its spaces; a run of Chinese is one word.
    // A word never ends inside a cluster, not even one that starts with a space.
    for (auto [text, at, word] : {std::tuple{"one two  three", 5, "two  "},
                                  {"你好世界", 2, "你好世界"},
                                  {"a \u0301b c", 0, "a \u0301"}}) {
        s.field->value(text);
        s.run.now += 1; // past the double-click time of the clicks before
        const ui::Vec2 p{box.x + s.field->inset_left() + 8.4f * at + 1, box.y + box.h / 2};
        s.run.click(p);
        s.run.click(p);
        EXPECT_EQ(s.field->selected_text(), word) << text;
    }
}

TEST(TextFieldComposition, PreeditShowsInlineThenCommitMakesOneEdit) {
    Single s("ab");
    TextLog log;
    s.run.canvas.renderer(&log);
    s.field->move(1, false);
    ui::Input preedit;
    for (const char* step : {"n", "ni", "你", "你"}) { // repeated every frame while it lasts
        preedit.composition = step;
        preedit.composition_cursor = preedit.composition.size();
        s.run.frame(preedit);
    }
    EXPECT_EQ(s.scene.text_input_rect().x, s.field->caret_rect().x); // the candidate window follows
    EXPECT_NE(log.find("a你b"), nullptr);
    EXPECT_EQ(s.field->value(), "ab");
    s.run.type("你"); // the platform clears the composition as the text arrives
    EXPECT_EQ(s.field->value(), "a你b");
    EXPECT_EQ(s.field->undo_stack.size(), 1u);
}

TEST(PasswordField, RevealsOnlyWhileHeldAndNeverCopies) {
    FieldScene<ui::PasswordField> s("秘密abc");
    TextLog log;
    s.run.canvas.renderer(&log);
    s.field->reveal_button = true;
    const ui::Vec2 button{box.x + box.w - s.field->inset_right() / 2, box.y + box.h / 2};
    s.run.press(button);
    s.select_copy_cut(); // not even while revealed
    EXPECT_NE(log.find("秘密abc"), nullptr);
    EXPECT_TRUE(s.clipboard.empty());
    s.run.release(button);
    EXPECT_FALSE(s.field->revealing());
}

TEST(NumberField, SubmitParsesClampsAndReformatsAsAnEdit) {
    FieldScene<ui::NumberField> s(5.0);
    Strings submitted;
    s.field->on_submit = [&](const std::string& v) { submitted.push_back(v); };
    s.field->range(-10, 100);
    for (const char* typed : {"12.50", "2e3", "-"}) { // no number yet: the last one comes back
        s.run.mark(&ui::Input::select_all);
        s.run.type(typed);
        s.run.key(13);
    }
    EXPECT_EQ(submitted, (Strings{"12.5", "100", "100"}));
    s.run.mark(&ui::Input::undo); // the reformatting was an ordinary edit
    EXPECT_EQ(s.field->value(), "-");
}

TEST(KeyBindingField, CapturesCombinationsInsteadOfText) {
    FieldScene<ui::KeyBindingField> s;
    s.run.key(75, true, true);
    s.run.type("k");
    s.run.key(17, true); // a modifier alone is no combination yet
    EXPECT_EQ(s.field->value(), "Ctrl+Shift+K");
    EXPECT_FALSE(s.scene.dispatch(s.field, key_event(27), false)); // Escape stays the scene's
    ui::Input undo;                                                // Ctrl+Z is captured, not undone
    undo.key = 90;
    undo.ctrl = undo.undo = true;
    s.run.frame(undo);
    EXPECT_EQ(s.field->value(), "Ctrl+Z");
    undo.key = 27; // Escape in the same frame as Ctrl+Z still reaches the scene and closes the popup
    undo.escape = true;
    s.scene.show(std::make_shared<ui::Widget>(), false, true, {}, true);
    s.run.frame(undo);
    EXPECT_TRUE(s.scene.overlays().empty());
    s.run.key(8);
    EXPECT_EQ(s.field->value(), "");
    EXPECT_EQ(s.changes, 3);
}

TEST(TextArea, TheViewFollowsTheCaretBothWays) {
    FieldScene<ui::TextArea> s(std::string(40, '\n')); // 41 rows, one in view
    s.run.key(35, true, false, &ui::Input::end);       // Ctrl+End
    EXPECT_EQ(s.field->first_row, 40);
    s.run.key(36, true, false, &ui::Input::home); // Ctrl+Home
    EXPECT_EQ(s.field->first_row, 0);
}

TEST(AutoComplete, TypingOpensMatchesThatKeysNavigate) {
    FieldScene<ui::AutoComplete> s(Strings{"Velmora", "VelmoraUI", "C++", "Java"});
    s.run.type("vel");
    EXPECT_EQ(s.field->shown(), (Strings{"Velmora", "VelmoraUI"}));
    EXPECT_EQ(s.scene.focus(), s.field); // the popup keeps the focus in the field
    s.run.key(27);                       // closes the list and nothing else
    EXPECT_FALSE(s.field->suggestions_open());
    EXPECT_EQ(s.field->value(), "vel");
    for (unsigned k : {40u, 40u, 40u, 40u, 38u, 13u}) s.run.key(k); // opens, wraps both ways
    EXPECT_EQ(s.field->value(), "VelmoraUI");
    EXPECT_FALSE(s.field->suggestions_open());
}

} // namespace
} // namespace velmora::test
