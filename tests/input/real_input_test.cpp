// Real input, end to end: a visible window on a virtual X display, driven by real X11 events
// from xdotool and the real clipboard through xclip, with the scene's state read directly.
//
// Each action runs to completion while the program is not polling, and only then do frames
// run: everything the action sent arrives in one poll, as it does on a slow frame. So a chord
// pressed and let go within one frame is what every key test here sends.
//
// Needs DISPLAY (run it through tests/support/run-x11), xdotool and xclip. The input-method
// case also needs ibus with the libpinyin engine (tests/support/run-ibus) and skips without it.
#include "velmora/core/canvas.hpp"
#include "velmora/platform/window.hpp"
#include "velmora/renderer/renderer.hpp"
#include "velmora/scene/scene.hpp"
#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/fields.hpp"
#include "velmora/widgets/lists.hpp"
#include "velmora/widgets/menus.hpp"
#include "velmora/widgets/palette.hpp"
#include "velmora/widgets/range.hpp"
#include "velmora/widgets/table.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <string>
#include <thread>

namespace {

namespace ui = velmora::ui;
using namespace std::chrono_literals;

constexpr int width = 800, height = 600;
constexpr unsigned back_buffer = 0x0405; // GL_BACK

// The standard output of a shell command; empty when it fails.
std::string output(const std::string& command) {
    std::string out;
    if (FILE* pipe = popen(command.c_str(), "r")) {
        char buffer[256];
        while (std::fgets(buffer, sizeof buffer, pipe)) out += buffer;
        pclose(pipe);
    }
    while (!out.empty() && out.back() == '\n') out.pop_back();
    return out;
}

struct Gallery {
    ui::Window window{[] {
        ui::WindowOptions options;
        options.title = "VelmoraUI real input";
        options.width = width;
        options.height = height;
        return options;
    }()};
    ui::Renderer renderer;
    ui::Canvas canvas;
    ui::Scene scene;
    std::string xid;
    double now = 0;

    int clicks = 0, activated = -1;
    std::shared_ptr<ui::Button> button = add<ui::Button>({20, 20, 120, 40}, "Button");
    std::shared_ptr<ui::CheckBox> check = add<ui::CheckBox>({160, 20, 140, 40}, "Check");
    std::shared_ptr<ui::Tabs> tabs = add<ui::Tabs>({320, 20, 300, 120});
    std::shared_ptr<ui::Slider> slider = add<ui::Slider>({20, 80, 260, 40});
    std::shared_ptr<ui::SplitPane> split = add<ui::SplitPane>({20, 150, 300, 100});
    std::shared_ptr<ui::ListBox> list = add<ui::ListBox>({340, 150, 200, 120});
    std::shared_ptr<ui::Table> table = add<ui::Table>({560, 150, 220, 150});
    std::shared_ptr<ui::TextArea> area = add<ui::TextArea>({20, 280, 300, 100});
    std::shared_ptr<ui::TextField> field = add<ui::TextField>({340, 320, 300, 36});
    std::shared_ptr<ui::PopupMenu> menu = std::make_shared<ui::PopupMenu>();

    template <class T, class... Args> std::shared_ptr<T> add(ui::Rect at, Args&&... args) {
        auto widget = std::make_shared<T>(std::forward<Args>(args)...);
        widget->bounds = at;
        scene.root()->add(widget);
        return widget;
    }

    Gallery() {
        scene.clipboard([this](const std::string& text) { window.clipboard_text(text); });
        button->on_activate = [this](ui::Widget&) { ++clicks; };
        for (const char* page : {"A", "B", "C"}) tabs->add(std::make_shared<ui::Panel>(page));
        split->add(std::make_shared<ui::Panel>());
        split->add(std::make_shared<ui::Panel>());
        for (int i = 0; i < 50; ++i) list->items.push_back("item " + std::to_string(i));
        list->on_item_activate = [this](int i) { activated = i; };
        for (int i = 0; i < 30; ++i) table->row({std::to_string(i), "v"});
        std::string lines;
        for (int i = 0; i < 30; ++i) lines += "line " + std::to_string(i) + (i < 29 ? "\n" : "");
        area->value(lines);
        menu->item("Copy", {});
        field->context_menu = menu;
        auto palette = std::make_shared<ui::CommandPalette>();
        palette->command("Nothing", {});
        scene.command_palette(palette);
        frames(2);
        xid = output("xdotool search --sync --name '^VelmoraUI real input$' | head -n 1");
        std::system(("xdotool windowfocus --sync " + xid).c_str());
        frames(2);
    }

    // One frame as App's loop runs it (whose wait takes the events in from the system before
    // the poll), with the window's units as the logical ones.
    void frame() {
        window.wait(0);
        ASSERT_TRUE(window.poll());
        renderer.background(width, height, 0, scene.theme, false);
        renderer.begin(canvas, width, height, width, height, scene.theme);
        scene.frame(canvas, window.input(), now += 0.05);
        renderer.render(canvas, width, height, window.input().mouse, 0, back_buffer);
        window.text_input(scene.wants_text_input());
        if (const ui::Rect caret = scene.text_input_rect(); caret.h > 0) window.text_input_rect(caret);
        window.swap();
    }
    void frames(int n) {
        for (int i = 0; i < n; ++i) frame();
    }
    // Frames until `done` holds, for what arrives from another process at its own pace.
    template <class Done> bool until(Done done) {
        for (int i = 0; i < 100 && !done(); ++i) {
            std::this_thread::sleep_for(20ms);
            frame();
        }
        return done();
    }

    // Runs xdotool to the end, waits for the X server to deliver, then lets frames take it in.
    void act(const std::string& arguments, int settle = 2) {
        ASSERT_EQ(std::system(("xdotool " + arguments).c_str()), 0) << arguments;
        std::this_thread::sleep_for(50ms);
        frames(settle);
    }
    void move(float x, float y) {
        act("mousemove --sync --window " + xid + " " + std::to_string(static_cast<int>(x)) + " " +
            std::to_string(static_cast<int>(y)));
    }
    void click(float x, float y, const std::string& button_and_repeat = "1") {
        move(x, y);
        act("click " + button_and_repeat);
    }
    void drag(ui::Vec2 from, ui::Vec2 to) {
        move(from.x, from.y);
        act("mousedown 1");
        move((from.x + to.x) / 2, (from.y + to.y) / 2);
        move(to.x, to.y);
        act("mouseup 1");
    }

    // Runs a command that talks to this window over X (the clipboard) while frames keep
    // running, as a program that owns the selection must answer requests for it.
    std::string serve(const std::string& command) {
        auto result = std::async(std::launch::async, [&] { return output(command); });
        while (result.wait_for(0ms) != std::future_status::ready) frame();
        return result.get();
    }

    void focus_field(const std::string& text) {
        field->value(text);
        scene.focus(field);
        frames(1);
    }
};

class RealInput : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        if (!std::getenv("DISPLAY") || std::system("command -v xdotool xclip >/dev/null") != 0) return;
        gallery = new Gallery;
    }
    static void TearDownTestSuite() {
        delete gallery;
        gallery = nullptr;
    }
    void SetUp() override {
        if (!gallery) GTEST_SKIP() << "needs an X display, xdotool and xclip";
        g = gallery;
        g->scene.focus(nullptr);
        g->frames(1);
    }
    static Gallery* gallery;
    Gallery* g = nullptr;
};
Gallery* RealInput::gallery = nullptr;

TEST_F(RealInput, ClicksDragsAndTheWheelReachTheirControls) {
    g->click(80, 40);
    EXPECT_EQ(g->clicks, 1);
    g->click(230, 40);
    EXPECT_TRUE(g->check->selected());
    g->click(320 + 250, 40); // the third of three tabs
    EXPECT_EQ(g->tabs->selected(), 2);

    g->drag({30, 100}, {270, 100});
    EXPECT_GT(g->slider->value(), 0.9);
    g->drag({20 + 150, 200}, {20 + 240, 200}); // the divider sits at half the width
    EXPECT_GT(g->split->ratio(), 0.7f);

    g->move(440, 200);
    g->act("click --repeat 3 5");
    EXPECT_GT(g->list->scroll(), 0);
    g->move(670, 250);
    g->act("click --repeat 3 5");
    EXPECT_GT(g->table->scroll(), 0);

    // A double click, its presses a frame apart, activates the row under the pointer.
    g->list->scroll(0);
    g->click(440, 170);
    g->act("click 1");
    EXPECT_EQ(g->activated, 0);
}

TEST_F(RealInput, TheWheelScrollsAFocusedTextAreaAndTheViewHolds) {
    g->scene.focus(g->area);
    g->area->move(g->area->value().size(), false); // the caret on the last line
    g->frames(1);
    const int at_caret = g->area->first_row;
    ASSERT_GT(at_caret, 5);
    g->move(150, 330);
    g->act("click --repeat 2 4"); // away from the user: towards the first rows
    EXPECT_EQ(g->area->first_row, at_caret - 6);
    g->frames(3);
    EXPECT_EQ(g->area->first_row, at_caret - 6);
}

TEST_F(RealInput, TypingAtFullSpeedAndEveryChordWithinOneFrame) {
    g->focus_field("");
    g->act("type --delay 0 'Hello, world 123'");
    EXPECT_EQ(g->field->value(), "Hello, world 123");

    g->act("key ctrl+z");
    EXPECT_EQ(g->field->value(), "");
    g->act("key ctrl+shift+z");
    EXPECT_EQ(g->field->value(), "Hello, world 123");
    g->act("key ctrl+a");
    EXPECT_EQ(g->field->selected_text(), "Hello, world 123");

    // Shift held from an earlier frame, then a click and Shift let go in one: the click keeps
    // its Shift and extends from the caret.
    g->focus_field("Hello");
    g->act("mousemove --sync --window " + g->xid + " 341 338 keydown shift");
    g->act("click 1 keyup shift");
    EXPECT_EQ(g->field->selected_text(), "Hello");

    g->act("key shift+Tab");
    EXPECT_EQ(g->scene.focus().get(), g->area.get());
    g->act("key Tab");
    EXPECT_EQ(g->scene.focus().get(), g->field.get());

    g->act("key ctrl+k");
    ASSERT_EQ(g->scene.overlays().size(), 1u);
    EXPECT_EQ(g->scene.overlays().back().widget, g->scene.command_palette());
    g->act("key Escape");
    EXPECT_TRUE(g->scene.overlays().empty());
}

TEST_F(RealInput, SelectAllCopyCutAndPasteThroughTheSystemClipboard) {
    g->focus_field("copy me");
    g->act("key ctrl+a");
    g->act("key ctrl+c");
    EXPECT_EQ(g->serve("xclip -o -selection clipboard"), "copy me");
    g->act("key ctrl+a");
    g->act("key ctrl+x");
    EXPECT_EQ(g->field->value(), "");
    EXPECT_EQ(g->serve("xclip -o -selection clipboard"), "copy me");

    ASSERT_EQ(std::system("printf '粘贴 paste' | xclip -i -selection clipboard"), 0);
    g->act("key ctrl+v");
    EXPECT_EQ(g->field->value(), "粘贴 paste");
}

TEST_F(RealInput, ARightClickOpensTheContextMenuAndEscapeClosesIt) {
    g->click(490, 338, "3");
    ASSERT_EQ(g->scene.overlays().size(), 1u);
    EXPECT_EQ(g->scene.overlays().back().widget, g->menu);
    g->act("key Escape");
    EXPECT_TRUE(g->scene.overlays().empty());
}

// The input method takes the keys: "nihao" is composed inline, never typed, and reaches the
// value only when committed.
TEST_F(RealInput, PinyinComposesInlineCommitsAsOneEditAndEscapeCancels) {
    if (!std::getenv("VELMORA_TEST_IME")) GTEST_SKIP() << "needs ibus with libpinyin (run-ibus)";
    g->focus_field("ab");
    g->act("type --delay 30 nihao");
    const auto composing = [this] { return g->field->composition().text; };
    ASSERT_TRUE(g->until([&] { return composing() == "你好"; })) << g->field->value();
    EXPECT_EQ(g->field->value(), "ab");
    g->move(100, 500);
    g->move(120, 520);
    EXPECT_EQ(composing(), "你好");

    g->act("key space");
    ASSERT_TRUE(g->until([&] { return g->field->value() == "ab你好"; })) << g->field->value();
    EXPECT_EQ(composing(), "");
    g->act("key ctrl+z");
    EXPECT_EQ(g->field->value(), "ab");

    g->act("type --delay 30 ni");
    ASSERT_TRUE(g->until([&] { return !composing().empty(); }));
    g->act("key Escape");
    EXPECT_TRUE(g->until([&] { return composing().empty(); }));
    g->frames(3);
    EXPECT_EQ(g->field->value(), "ab");
    EXPECT_EQ(g->scene.focus().get(), g->field.get());
}

} // namespace
