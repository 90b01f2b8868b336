// Ui frames on a Canvas without a renderer (text measures 8.4 units per code point at 14): what
// fires, who holds focus and the press, and what each control reports.
#include "velmora/immediate/ui.hpp"

#include "../thrown.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmora::ui {
namespace {

using Strings = std::vector<std::string>;

Input at(float x, float y, bool down = false, bool pressed = false) {
    Input in;
    in.mouse = {x, y};
    in.mouse_down = down;
    in.mouse_pressed = pressed;
    in.mouse_released = !down;
    return in;
}
Input with(bool Input::*flag, bool shift = false) {
    Input in;
    in.*flag = true;
    in.shift = shift;
    return in;
}
Input typed(std::string text, bool select_all = false) {
    Input in;
    in.text = std::move(text);
    in.select_all = select_all;
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
    template <class Controls> void click(float x, float y, Controls&& controls) {
        frame(at(x, y, true, true), controls);
        frame(at(x, y), controls);
    }
};

const Rect a_rect{10, 10, 100, 30};

TEST(UiFrame, MisuseAndBadArgumentsAreReportedByName) {
    Harness h;
    const auto logic = [](auto f) { return test::thrown<std::logic_error>(f); };
    const auto argument = [](auto f) { return test::thrown<std::invalid_argument>(f); };
    EXPECT_EQ(logic([&] { h.ui.end(); }), "Ui::begin() missing");
    EXPECT_EQ(logic([&] { h.ui.button("a", a_rect, "A"); }), "Controls require Ui::begin()");
    h.canvas.begin(800, 600, Theme{});
    h.ui.begin(h.canvas, Input{});
    EXPECT_EQ(logic([&] { h.ui.begin(h.canvas, Input{}); }), "Ui::end() missing");
    EXPECT_EQ(argument([&] { h.ui.button("", a_rect, "A"); }), "Empty widget ID");
    h.ui.button("a", a_rect, "A");
    bool on = false;
    EXPECT_EQ(logic([&] { h.ui.checkbox("a", a_rect, "A", on); }), "Duplicate widget ID: a");
    double v = 0;
    EXPECT_EQ(argument([&] { h.ui.slider("s", a_rect, v, 0.0, std::nan("")); }), "slider range");
    EXPECT_EQ(argument([&] { h.ui.progress(a_rect, std::nanf("")); }), "Progress value");
    h.ui.end();
    h.frame(Input{}, [&] { EXPECT_NO_THROW(h.ui.button("a", a_rect, "A")); }); // IDs are per frame
}

TEST(UiPointer, APressAndReleaseOnOneControlFireAndTheFirstCalledTakesThePress) {
    Harness h;
    int a = 0, b = 0, over = 0;
    bool check = false, toggle = true;
    auto controls = [&] {
        a += h.ui.button("a", a_rect, "A");
        b += h.ui.button("b", {10, 50, 100, 30}, "B");
        over += h.ui.button("over", {20, 20, 100, 30}, "Over"); // overlaps a, called later
        h.ui.checkbox("check", {10, 100, 100, 30}, "Check", check);
        h.ui.toggle("toggle", {10, 140, 100, 30}, "Toggle", toggle);
    };
    h.click(30, 25, controls);
    h.frame(at(20, 20, true, true), controls);
    h.frame(at(20, 60), controls); // released over b
    EXPECT_EQ(a, 1);
    EXPECT_EQ(b + over, 0);
    h.click(20, 110, controls);
    h.click(20, 150, controls);
    EXPECT_TRUE(check);
    EXPECT_FALSE(toggle);
}

TEST(UiFocus, TabFollowsLastFramesCallOrderAndWrapsAndEnterFiresTheFocus) {
    Harness h;
    std::string fired;
    auto three = [&] {
        for (const char* id : {"a", "b", "c"})
            if (h.ui.button(id, a_rect, id)) fired += id;
    };
    for (auto [shift, focus] : {std::pair{false, ""}, {false, "a"}, {true, "c"}, {false, "a"}}) {
        h.frame(with(&Input::tab, shift), three); // the first frame knows no order yet
        EXPECT_EQ(h.ui.focus(), focus);
    }
    h.frame(with(&Input::enter), three);
    EXPECT_EQ(fired, "a");
}

TEST(UiChoices, ComboOptionsWinOverEarlierControlsListsClampAndSlidersDrag) {
    Harness h;
    const Strings items{"Red", "Green", "Blue"};
    int choice = 2, under = 0, aside = 0;
    bool changed = false;
    auto controls = [&] {
        under += h.ui.button("under", {10, 44, 160, 30}, "Under"); // beneath the first option
        changed = h.ui.combo("colour", {10, 10, 160, 30}, items, choice);
        aside += h.ui.button("aside", {300, 10, 100, 30}, "Aside");
    };
    h.click(20, 20, controls);
    EXPECT_EQ(h.ui.open_popup(), "colour");
    h.click(20, 60, controls);
    EXPECT_TRUE(changed);
    EXPECT_EQ(choice, 0);
    EXPECT_EQ(under, 0);
    EXPECT_EQ(h.ui.open_popup(), "");
    h.click(20, 20, controls);
    h.click(310, 20, controls);
    EXPECT_EQ(h.ui.open_popup(), "");
    EXPECT_EQ(aside, 0);
    double value = 0;
    auto slider = [&] { h.ui.slider("s", {100, 100, 218, 30}, value, 0.0, 10.0); }; // track 109 to 309
    h.frame(at(209, 110, true, true), slider);
    EXPECT_DOUBLE_EQ(value, 5);
    h.frame(at(1000, 110, true), slider);
    EXPECT_DOUBLE_EQ(value, 10);
    int selected = 42;
    auto list = [&] { h.ui.list("l", {0, 0, 200, 120}, items, selected); };
    h.frame(Input{}, list);
    EXPECT_EQ(selected, 2); // clamped
    h.click(50, 35, list);  // rows are 30 high
    EXPECT_EQ(selected, 1);
    h.frame(with(&Input::down), list);
    EXPECT_EQ(selected, 2);
}

TEST(UiTextField, EditsWholeCodePointsWhenFocusedAndNumbersSettleOnEnterOrLeaving) {
    Harness h;
    std::string text;
    Strings clipboard;
    h.ui.clipboard([&](const std::string& t) { clipboard.push_back(t); });
    auto field = [&] { h.ui.text_field("name", {100, 100, 300, 34}, text, "Name"); }; // text at x 110
    h.frame(typed("ignored"), field);
    h.click(390, 110, field);
    h.frame(typed("你好"), field);
    h.frame(with(&Input::backspace), field);
    EXPECT_EQ(text, "你");
    text = "abcdef";                         // changed from outside
    h.click(110 + 8.4f * 2 + 1, 110, field); // past the middle of "b"
    h.frame(typed("X"), field);
    EXPECT_EQ(text, "abXcdef");
    h.frame(with(&Input::select_all), field);
    h.frame(with(&Input::cut), field);
    EXPECT_EQ(clipboard, Strings{"abXcdef"});
    Input paste;
    paste.paste = "a\r\nb";
    h.frame(paste, field);
    EXPECT_EQ(text, "ab"); // a single line drops the break
    h.frame(with(&Input::undo), field);
    EXPECT_EQ(text, "");
    // A number field's typed text settles on Enter and when the focus leaves, not before.
    double value = 5;
    auto controls = [&] {
        h.ui.number_field("n", {10, 10, 200, 34}, value, 0, 100, 2);
        h.ui.button("elsewhere", {10, 300, 100, 30}, "Elsewhere");
    };
    h.click(20, 20, controls);
    h.frame(typed("250", true), controls);
    EXPECT_EQ(value, 5); // nothing settles while typing
    h.frame(with(&Input::enter), controls);
    EXPECT_EQ(value, 100); // clamped
    h.frame(typed("42", true), controls);
    h.click(20, 310, controls);
    EXPECT_EQ(value, 42);
    text = "\xff"; // last: the throw leaves the frame open
    EXPECT_THROW(h.frame(Input{}, field), std::invalid_argument);
}

} // namespace
} // namespace velmora::ui
