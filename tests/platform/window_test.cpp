// Window tests: real SDL windows (hidden; offscreen EGL without a display, X11 under Xvfb),
// with input driven through SDL's own event queue.
#include "../thrown.hpp"
#include "velmora/platform/gl_context.hpp"
#include "velmora/platform/window.hpp"

#include <SDL.h>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <thread>

namespace ui = velmora::ui;
using velmora::test::thrown;

namespace {

ui::WindowOptions hidden(int w = 320, int h = 200) { return {"test", w, h, false}; }

// Pushes synthetic events addressed to one window, as the platform would deliver them.
class Events {
public:
    explicit Events(const ui::Window& w)
        : id_(SDL_GetWindowID(static_cast<SDL_Window*>(w.native_handle()))) {}

    void key(SDL_Keycode sym, Uint16 mod = KMOD_NONE, bool down = true) const {
        SDL_Event e = make(down ? SDL_KEYDOWN : SDL_KEYUP);
        e.key.state = down ? SDL_PRESSED : SDL_RELEASED;
        e.key.keysym.sym = sym;
        e.key.keysym.mod = mod;
        push(e);
    }
    void text(const char* utf8) const {
        SDL_Event e = make(SDL_TEXTINPUT);
        std::strncpy(e.text.text, utf8, sizeof e.text.text - 1);
        push(e);
    }
    void editing(const char* utf8, int cursor) const {
        SDL_Event e = make(SDL_TEXTEDITING);
        std::strncpy(e.edit.text, utf8, sizeof e.edit.text - 1);
        e.edit.start = cursor;
        push(e);
    }
    void motion(int x, int y) const {
        SDL_Event e = make(SDL_MOUSEMOTION);
        e.motion.x = x;
        e.motion.y = y;
        push(e);
    }
    void button(Uint8 which, bool down, int x = 10, int y = 20) const {
        SDL_Event e = make(down ? SDL_MOUSEBUTTONDOWN : SDL_MOUSEBUTTONUP);
        e.button.button = which;
        e.button.state = down ? SDL_PRESSED : SDL_RELEASED;
        e.button.x = x;
        e.button.y = y;
        push(e);
    }
    void wheel(float notches, bool flipped = false) const {
        SDL_Event e = make(SDL_MOUSEWHEEL);
        e.wheel.y = static_cast<Sint32>(notches);
        e.wheel.preciseY = notches;
        e.wheel.direction = flipped ? SDL_MOUSEWHEEL_FLIPPED : SDL_MOUSEWHEEL_NORMAL;
        push(e);
    }
    void window(SDL_WindowEventID what) const {
        SDL_Event e = make(SDL_WINDOWEVENT);
        e.window.event = what;
        push(e);
    }

private:
    // Every window event type keeps the window id in the initial sequence it shares with the others.
    SDL_Event make(Uint32 type) const {
        SDL_Event e{};
        e.type = type;
        e.window.windowID = id_;
        return e;
    }
    static void push(SDL_Event& e) { ASSERT_EQ(SDL_PushEvent(&e), 1) << SDL_GetError(); }
    Uint32 id_;
};

class WindowTest : public ::testing::Test {
protected:
    ui::Window window{hidden()};
    Events send{window};

    const ui::Input& poll() {
        EXPECT_TRUE(window.poll());
        return window.input();
    }
};

} // namespace

TEST(WindowCreate, RejectsSizesOutsideTheLimitsAndBadTitles) {
    for (auto [w, h] : {std::pair{63, 200}, {320, 16385}})
        EXPECT_EQ(thrown<std::invalid_argument>([&] { ui::Window window(hidden(w, h)); }), "Window size")
            << w << "x" << h;
    EXPECT_EQ(thrown<std::invalid_argument>([] {
                  ui::Window window({"\xC0\xAF", 320, 200, false});
              }),
              "Invalid UTF-8");
}

TEST(WindowCreate, ContextIsCurrentAndThePreviousOneComesBack) {
    ASSERT_EQ(ui::current_gl_context(), nullptr);
    {
        ui::Window outer(hidden());
        void* outer_context = ui::current_gl_context();
        ASSERT_NE(outer_context, nullptr);
        {
            ui::Window inner(hidden());
            EXPECT_NE(ui::current_gl_context(), nullptr);
            EXPECT_NE(ui::current_gl_context(), outer_context);
        }
        EXPECT_EQ(ui::current_gl_context(), outer_context);
    }
    EXPECT_EQ(ui::current_gl_context(), nullptr);
}

TEST_F(WindowTest, EveryCallChecksTheThread) {
    std::string messages[2];
    std::thread([&] {
        messages[0] = thrown<std::logic_error>([&] { window.title("x"); });
        messages[1] = thrown<std::logic_error>([&] { window.close(); });
    }).join();
    for (const std::string& m : messages) EXPECT_EQ(m, "Window used from another thread");
    EXPECT_TRUE(window.poll()); // the owner is unaffected
}

TEST_F(WindowTest, EventsReachOnlyTheirOwnWindowAndClosingIsFinal) {
    ui::Window second(hidden());
    Events(second).key(SDLK_ESCAPE);
    send.key(SDLK_TAB);
    const ui::Input& first = poll();
    EXPECT_TRUE(first.tab);
    EXPECT_FALSE(first.escape);
    ASSERT_TRUE(second.poll());
    EXPECT_TRUE(second.input().escape);
    EXPECT_FALSE(second.input().tab);

    send.window(SDL_WINDOWEVENT_CLOSE);
    EXPECT_FALSE(window.poll());
    EXPECT_FALSE(window.poll());
    second.close();
    EXPECT_FALSE(second.poll());
}

TEST_F(WindowTest, MouseIsUnknownUntilSeenThenKeptAndALeftPressHoldsUntilReleased) {
    EXPECT_EQ(poll().mouse.x, -1);
    EXPECT_EQ(window.input().mouse.y, -1);
    send.motion(30, 40);
    poll();
    const ui::Input& later = poll();
    EXPECT_EQ(later.mouse.x, 30);
    EXPECT_EQ(later.mouse.y, 40);

    send.button(SDL_BUTTON_LEFT, true, 5, 6);
    const ui::Input& pressed = poll();
    EXPECT_TRUE(pressed.mouse_pressed && pressed.mouse_down);
    EXPECT_EQ(pressed.mouse.x, 5);
    const ui::Input& held = poll();
    EXPECT_TRUE(held.mouse_down);
    EXPECT_FALSE(held.mouse_pressed);
    send.button(SDL_BUTTON_LEFT, false, 7, 8);
    const ui::Input& up = poll();
    EXPECT_TRUE(up.mouse_released);
    EXPECT_FALSE(up.mouse_down);
    EXPECT_EQ(up.mouse.y, 8);
}

TEST_F(WindowTest, LosingFocusMidDragReleasesTheButtonOnce) {
    send.button(SDL_BUTTON_LEFT, true);
    send.window(SDL_WINDOWEVENT_FOCUS_LOST);
    const ui::Input& lost = poll();
    EXPECT_TRUE(lost.mouse_pressed && lost.mouse_released && lost.focus_lost);
    EXPECT_FALSE(lost.mouse_down);
    // The button comes up later, outside our knowledge of the press: no second release.
    send.button(SDL_BUTTON_LEFT, false);
    const ui::Input& after = poll();
    EXPECT_FALSE(after.mouse_released || after.mouse_down || after.focus_lost);
}

TEST_F(WindowTest, RightButtonAndWheel) {
    send.button(SDL_BUTTON_RIGHT, true);
    send.button(SDL_BUTTON_RIGHT, false);
    send.wheel(1);
    send.wheel(1);
    const ui::Input& in = poll();
    EXPECT_TRUE(in.right_pressed && in.right_released);
    EXPECT_FALSE(in.mouse_down || in.mouse_pressed);
    EXPECT_FLOAT_EQ(in.wheel, 2);

    send.wheel(0.5f);
    send.wheel(1, true); // natural scrolling reports the other way round
    EXPECT_FLOAT_EQ(poll().wheel, -0.5f);
    EXPECT_FLOAT_EQ(poll().wheel, 0);
}

TEST_F(WindowTest, PlainKeysSetTheirFlagsTheLastVirtualKeyAndModifiersFollowKeyUp) {
    send.key(SDLK_LEFT);
    send.key(SDLK_PAGEDOWN);
    send.key(SDLK_KP_ENTER);
    send.key(SDLK_DELETE);
    send.key(SDLK_F5);
    const ui::Input& in = poll();
    EXPECT_TRUE(in.left && in.page_down && in.enter && in.delete_key);
    EXPECT_FALSE(in.right || in.up || in.escape || in.ctrl);
    EXPECT_EQ(in.key, 0x74u); // F5
    EXPECT_EQ(poll().key, 0u);

    send.key(SDLK_q);
    send.key(SDLK_7);
    EXPECT_EQ(poll().key, 0x37u);

    send.key(SDLK_LSHIFT, KMOD_LSHIFT);
    EXPECT_TRUE(poll().shift);
    send.key(SDLK_LSHIFT, KMOD_LSHIFT);
    send.key(SDLK_LSHIFT, KMOD_NONE, false);
    EXPECT_FALSE(poll().shift);

    // A chord pressed and let go within one poll keeps the modifiers of its key's press.
    send.key(SDLK_LCTRL, KMOD_LCTRL);
    send.key(SDLK_k, KMOD_LCTRL);
    send.key(SDLK_k, KMOD_LCTRL, false);
    send.key(SDLK_LCTRL, KMOD_NONE, false);
    const ui::Input& chord = poll();
    EXPECT_TRUE(chord.ctrl);
    EXPECT_EQ(chord.key, 0x4Bu);
    EXPECT_FALSE(poll().ctrl);
}

TEST_F(WindowTest, EditShortcutsFollowTheModifiersAndAltMakesASystemKeyUnlessCtrlIsHeld) {
    send.key(SDLK_z, KMOD_LCTRL);
    const ui::Input& undo = poll();
    EXPECT_TRUE(undo.undo && undo.ctrl);
    EXPECT_FALSE(undo.redo);
    send.key(SDLK_z, KMOD_LCTRL | KMOD_LSHIFT);
    const ui::Input& redo = poll();
    EXPECT_TRUE(redo.redo && redo.shift);
    EXPECT_FALSE(redo.undo);

    for (SDL_Keycode k : {SDLK_a, SDLK_c, SDLK_x, SDLK_y}) send.key(k, KMOD_RCTRL);
    const ui::Input& all = poll();
    EXPECT_TRUE(all.select_all && all.copy && all.cut && all.redo);

    // A plain letter later in the same poll takes the shortcut back.
    for (SDL_Keycode k : {SDLK_a, SDLK_z}) {
        send.key(k, KMOD_LCTRL);
        send.key(k);
    }
    const ui::Input& taken_back = poll();
    EXPECT_FALSE(taken_back.select_all || taken_back.undo || taken_back.redo || taken_back.ctrl);

    send.key(SDLK_LEFT, KMOD_LALT);
    const ui::Input& alt = poll();
    EXPECT_FALSE(alt.left || alt.alt);
    EXPECT_EQ(alt.key, 0u);
    send.key(SDLK_LEFT, KMOD_LALT | KMOD_LCTRL);
    const ui::Input& ctrl_alt = poll();
    EXPECT_TRUE(ctrl_alt.left && ctrl_alt.alt && ctrl_alt.ctrl);
}

TEST_F(WindowTest, TextArrivesOnlyWithTextInputOnAndNeitherCtrlNorAltHeld) {
    send.text("a");
    send.key(SDLK_v, KMOD_LCTRL);
    window.clipboard_text("clip");
    const ui::Input& off = poll();
    EXPECT_EQ(off.text, "");
    EXPECT_EQ(off.paste, "");

    window.text_input(true);
    send.text("a");
    send.key(SDLK_v, KMOD_LCTRL);
    const ui::Input& on = poll();
    EXPECT_EQ(on.text, "a");
    EXPECT_EQ(on.paste, "clip");

    for (Uint16 mod : {KMOD_LCTRL, KMOD_LALT, KMOD_NONE}) {
        send.key(SDLK_q, mod);
        send.text("q");
        EXPECT_EQ(poll().text, mod == KMOD_NONE ? "q" : "") << mod;
    }

    window.text_input(false);
    send.text("b");
    EXPECT_EQ(poll().text, "");
}

TEST_F(WindowTest, TypedTextKeepsAstralCharactersAndDropsControls) {
    window.text_input(true);
    send.text("\xF0\x9F\x98\x80"); // U+1F600, a surrogate pair on the wide side
    send.text("\t\r\x7F\b");
    send.text("\xC3\xA9\xC2\x85"); // é and NEL, a C1 control that is still text here
    send.text("\xED\xA0\x80");     // an encoded lone surrogate is no text at all
    EXPECT_EQ(poll().text, "\xF0\x9F\x98\x80\xC3\xA9\xC2\x85");
}

TEST_F(WindowTest, CompositionIsKeptUntilCommittedCancelledOrFocusIsLost) {
    send.editing("ni", 2);
    EXPECT_EQ(poll().composition, ""); // no input method while text input is off

    window.text_input(true);
    send.editing("你h", 1); // the cursor counts code points; Input carries bytes
    const ui::Input& first = poll();
    EXPECT_EQ(first.composition, "你h");
    EXPECT_EQ(first.composition_cursor, 3u);
    EXPECT_EQ(poll().composition, "你h"); // kept across polls with no event

    send.text("你好");
    const ui::Input& committed = poll();
    EXPECT_EQ(committed.text, "你好");
    EXPECT_EQ(committed.composition, "");

    send.editing("hao", 3);
    poll();
    send.window(SDL_WINDOWEVENT_FOCUS_LOST);
    EXPECT_EQ(poll().composition, "");

    // A caret rectangle is a hint: an odd one is clamped, never thrown at the loop.
    EXPECT_NO_THROW(window.text_input_rect({NAN, -1e9f, -1, INFINITY}));
}

TEST_F(WindowTest, ClipboardRoundTripAndValidation) {
    window.text_input(true);
    const std::string text = "\xE4\xBD\xA0\xE5\xA5\xBD \xF0\x9F\x98\x80";
    window.clipboard_text(text);
    send.key(SDLK_v, KMOD_LCTRL);
    send.key(SDLK_v, KMOD_LCTRL);
    EXPECT_EQ(poll().paste, text + text);
    EXPECT_EQ(thrown<std::invalid_argument>([&] { window.clipboard_text("\xFF"); }), "Invalid UTF-8");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { window.title("\xE4\xBD"); }), "Invalid UTF-8");
}
