// Ui frames driven by Input records on a Canvas without a renderer (text measures 0.6 em, so
// 8.4 units per code point at 14): what fires, who holds focus and the press, and what each
// control reports.
#include "velmora/immediate/ui.hpp"

#include "../thrown.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmora::ui {
namespace {

Input at(float x, float y, bool down = false, bool pressed = false, bool released = false) {
    Input in;
    in.mouse = {x, y};
    in.mouse_down = down;
    in.mouse_pressed = pressed;
    in.mouse_released = released;
    return in;
}
Input press(float x, float y) { return at(x, y, true, true); }
Input drag(float x, float y) { return at(x, y, true); }
Input release(float x, float y) { return at(x, y, false, false, true); }
Input keys(bool Input::*flag, bool shift = false) {
    Input in;
    in.*flag = true;
    in.shift = shift;
    return in;
}
Input typed(std::string text) {
    Input in;
    in.text = std::move(text);
    return in;
}

struct Harness {
    Canvas canvas;
    Ui ui;

    template <class Controls> void frame(const Input& in, Controls&& controls) {
        canvas.begin(800, 600, Theme{});
        ui.begin(canvas, in);
        controls();
        ui.end();
    }
    // A press and a release at one point; returns how often the controls reported true.
    template <class Controls> int click(float x, float y, Controls&& controls) {
        int fired = 0;
        frame(press(x, y), [&] { fired += controls(); });
        frame(release(x, y), [&] { fired += controls(); });
        return fired;
    }
};

const Rect a_rect{10, 10, 100, 30};
const Rect b_rect{10, 50, 100, 30};

TEST(UiFrame, MisuseAndBadArgumentsAreReportedByName) {
    Harness h;
    EXPECT_EQ(test::thrown<std::logic_error>([&] { h.ui.end(); }), "Ui::begin() missing");
    EXPECT_EQ(test::thrown<std::logic_error>([&] { h.ui.button("a", a_rect, "A"); }),
              "Controls require Ui::begin()");
    h.canvas.begin(800, 600, Theme{});
    h.ui.begin(h.canvas, Input{});
    EXPECT_EQ(test::thrown<std::logic_error>([&] { h.ui.begin(h.canvas, Input{}); }), "Ui::end() missing");
    EXPECT_EQ(test::thrown<std::invalid_argument>([&] { h.ui.button("", a_rect, "A"); }), "Empty widget ID");
    h.ui.button("a", a_rect, "A");
    bool on = false;
    EXPECT_EQ(test::thrown<std::logic_error>([&] { h.ui.checkbox("a", b_rect, "A", on); }),
              "Duplicate widget ID: a");
    double v = 0;
    auto refused = [](const char* message, auto call) {
        EXPECT_EQ(test::thrown<std::invalid_argument>(call), message);
    };
    refused("slider range", [&] { h.ui.slider("s2", a_rect, v, 0.0, std::nan("")); });
    refused("Progress value", [&] { h.ui.progress(a_rect, std::nanf("")); });
    v = std::nan("");
    refused("slider value", [&] { h.ui.slider("s3", a_rect, v, 0.0, 1.0); });
    h.ui.end();
    h.frame(Input{}, [&] { EXPECT_NO_THROW(h.ui.button("a", a_rect, "A")); }); // IDs are per frame
}

TEST(UiPointer, OnlyAPressAndReleaseOnTheSameControlFireAndTheFirstCalledTakesThePress) {
    Harness h;
    int a = 0;
    int b = 0;
    auto both = [&] {
        a += h.ui.button("a", a_rect, "A");
        b += h.ui.button("b", b_rect, "B");
    };
    h.frame(press(20, 20), [&] {
        const std::size_t before = h.canvas.commands().size();
        both();
        EXPECT_GE(h.canvas.commands().size(), before + 2); // each draws its face
    });
    EXPECT_EQ(h.ui.active(), "a");
    EXPECT_EQ(a, 0);
    h.frame(release(20, 20), both);
    EXPECT_EQ(a, 1);
    h.frame(press(20, 20), both);
    h.frame(drag(20, 60), both);
    h.frame(release(20, 60), both);
    EXPECT_EQ(a + b, 1);
    EXPECT_EQ(h.ui.active(), "");

    int first = 0;
    int second = 0;
    h.click(30, 25, [&] {
        first += h.ui.button("first", a_rect, "1");
        second += h.ui.button("second", {20, 20, 100, 30}, "2"); // overlaps the first
        return 0;
    });
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 0);
}

TEST(UiFocus, TabFollowsLastFramesCallOrderAndWrapsAndEnterOrSpaceFiresTheFocus) {
    Harness h;
    std::string fired;
    auto three = [&] {
        for (const char* id : {"a", "b", "c"})
            if (h.ui.button(id, a_rect, id)) fired += id;
    };
    const std::vector<std::pair<Input, std::string>> steps{
        {keys(&Input::tab), ""}, // first frame: no order known yet
        {keys(&Input::tab), "a"},       {keys(&Input::tab), "b"},       {keys(&Input::tab), "c"},
        {keys(&Input::tab), "a"},       {keys(&Input::tab, true), "c"}, {keys(&Input::escape), ""},
        {keys(&Input::tab, true), "c"},
    };
    for (const auto& [in, focus] : steps) {
        h.frame(in, three);
        EXPECT_EQ(h.ui.focus(), focus);
    }
    h.frame(keys(&Input::enter), three);
    h.frame(keys(&Input::space), three);
    EXPECT_EQ(fired, "cc");
}

struct ComboScene {
    Harness h;
    std::vector<std::string> items{"Red", "Green", "Blue"};
    int choice = 2;
    int under = 0; // a button called before the combo, beneath its first option
    int aside = 0; // a button called after it, away from the popup
    bool changed = false;

    void run(const Input& in) {
        h.frame(in, [&] {
            under += h.ui.button("under", {10, 44, 160, 30}, "Under");
            changed = h.ui.combo("colour", {10, 10, 160, 30}, items, choice);
            aside += h.ui.button("aside", {300, 10, 100, 30}, "Aside");
        });
    }
    void click(float x, float y) {
        run(press(x, y));
        run(release(x, y));
    }
};

TEST(UiPopup, AnOptionOverAnEarlierControlWinsAndControlsOutsideAreHeldUntilItCloses) {
    ComboScene s;
    s.click(20, 20);
    EXPECT_EQ(s.h.ui.open_popup(), "colour");
    s.click(20, 60);
    EXPECT_EQ(s.choice, 0);
    EXPECT_TRUE(s.changed);
    EXPECT_EQ(s.under, 0);
    EXPECT_EQ(s.h.ui.open_popup(), "");
    EXPECT_EQ(s.h.ui.focus(), "colour");

    s.click(20, 20);
    s.run(press(310, 20));
    EXPECT_EQ(s.h.ui.active(), "");
    EXPECT_EQ(s.h.ui.open_popup(), ""); // a press nothing took closes it
    s.run(release(310, 20));
    EXPECT_EQ(s.aside, 0);
    s.click(310, 20);
    EXPECT_EQ(s.aside, 1);
    s.click(20, 20);
    s.run(keys(&Input::escape));
    EXPECT_EQ(s.h.ui.open_popup(), "");
}

TEST(UiControls, SliderFollowsTheDragAndTheKeys) {
    Harness h;
    const Rect r{100, 100, 218, 30}; // track from 109 to 309
    double value = 0;
    bool changed = false;
    auto control = [&] { changed = h.ui.slider("s", r, value, 0.0, 10.0); };
    h.frame(press(209, 110), control);
    EXPECT_TRUE(changed);
    EXPECT_DOUBLE_EQ(value, 5);
    h.frame(drag(1000, 110), control);
    EXPECT_DOUBLE_EQ(value, 10);
    h.frame(drag(1000, 110), control);
    EXPECT_FALSE(changed);
    h.frame(release(1000, 110), control);
    h.frame(at(109, 110), control); // hovering moves nothing
    EXPECT_DOUBLE_EQ(value, 10);

    float f = 0.5f;
    h.ui.focus("f");
    h.frame(keys(&Input::right), [&] { changed = h.ui.slider("f", r, f, 0.0f, 1.0f, 0.25f); });
    EXPECT_FLOAT_EQ(f, 0.75f);
    h.frame(keys(&Input::home), [&] { h.ui.slider("f", r, f, 0.0f, 1.0f, 0.25f); });
    EXPECT_FLOAT_EQ(f, 0);
}

TEST(UiControls, ListPicksTheClickedRowAndClampsTheSelection) {
    Harness h;
    const std::vector<std::string> items{"Red", "Green", "Blue"};
    int selected = 42;
    auto list = [&] { return h.ui.list("l", {0, 0, 200, 120}, items, selected); };
    h.frame(Input{}, list);
    EXPECT_EQ(selected, 2);
    EXPECT_EQ(h.click(50, 5, list), 1); // rows are 30 high
    EXPECT_EQ(selected, 0);
}

struct FieldScene {
    Harness h;
    std::string text;
    int changes = 0;

    explicit FieldScene(std::string initial = {}) : text(std::move(initial)) {}
    void run(const Input& in) { // text starts at x = 110
        h.frame(in, [&] { changes += h.ui.text_field("name", {100, 100, 300, 34}, text, "Name"); });
    }
    void click(float x) {
        run(press(x, 110));
        run(release(x, 110));
    }
};

TEST(UiTextField, EditsInWholeCodePointsOnlyWhenFocusedAndThePointerPlacesTheCaret) {
    FieldScene s;
    s.run(typed("ignored"));
    EXPECT_FALSE(s.h.ui.text_input());
    s.click(390);
    EXPECT_TRUE(s.h.ui.text_input());
    s.run(typed("你好"));
    s.run(keys(&Input::backspace));
    EXPECT_EQ(s.text, "你");
    s.run(Input{});
    EXPECT_EQ(s.changes, 2);

    s.text = "abcdef";
    s.click(110 + 8.4f * 2 + 1); // past the middle of "b"
    s.run(typed("X"));
    EXPECT_EQ(s.text, "abXcdef");
    s.run(press(110, 110));
    s.run(drag(110 + 8.4f * 3, 110));
    s.run(typed("-"));
    EXPECT_EQ(s.text, "-cdef");
}

TEST(UiTextField, ClipboardHookPasteUndoAndOutsideChanges) {
    FieldScene s("hello");
    std::vector<std::string> clipboard;
    s.h.ui.clipboard([&](const std::string& t) { clipboard.push_back(t); });
    s.click(390);
    Input copy_all = keys(&Input::select_all);
    copy_all.copy = true;
    s.run(copy_all);
    s.run(keys(&Input::cut));
    EXPECT_EQ(clipboard, (std::vector<std::string>{"hello", "hello"}));
    Input paste;
    paste.paste = "a\r\nb";
    s.run(paste);
    EXPECT_EQ(s.text, "ab"); // a single line drops the break
    s.run(keys(&Input::undo));
    EXPECT_EQ(s.text, "");
    s.text = "new";
    s.run(typed("!"));
    EXPECT_EQ(s.text, "new!");
    s.text = "\xff";
    EXPECT_THROW(s.run(Input{}), std::invalid_argument);
}

TEST(UiNumberField, TypedTextSettlesOnEnterAndWhenFocusLeaves) {
    Harness h;
    double value = 5;
    int changes = 0;
    auto run = [&](const Input& in) {
        h.frame(in, [&] {
            changes += h.ui.number_field("n", {10, 10, 200, 34}, value, 0, 100, 2);
            h.ui.button("elsewhere", {10, 300, 100, 30}, "Elsewhere");
        });
    };
    run(press(20, 20));
    run(release(20, 20));
    Input replace = typed("250");
    replace.select_all = true;
    run(replace);
    EXPECT_EQ(value, 5); // nothing settles while typing
    run(keys(&Input::enter));
    EXPECT_EQ(value, 100); // clamped
    run(keys(&Input::down));
    EXPECT_EQ(value, 98);
    run(typed("7"));
    run(press(20, 310));
    run(release(20, 310));
    EXPECT_EQ(value, 100); // "987" settled by leaving, clamped again
    EXPECT_EQ(changes, 3);
}

} // namespace
} // namespace velmora::ui
