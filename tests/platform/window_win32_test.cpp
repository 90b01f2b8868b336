// The Win32 window: real messages posted to a real (hidden) window, read back through Input.
//
// Posted messages are dispatched by the next poll, after it has reset the record, so each
// test posts first and polls once. Modifier state comes from the thread's keyboard state,
// which the tests set directly.
#include "velmora/platform/error.hpp"
#include "velmora/platform/window.hpp"

#include <windows.h>
// after windows.h, which it needs
#include <GL/gl.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <thread>

namespace velmora::ui {
namespace {

class WindowWin32 : public ::testing::Test {
protected:
    void SetUp() override {
        WindowOptions options;
        options.title = "velmora window test";
        options.width = 320;
        options.height = 200;
        options.visible = false;
        window = std::make_unique<Window>(options);
        handle = static_cast<HWND>(window->native_handle());
        modifiers(false, false);
        window->poll(); // whatever creation left in the queue
    }
    void TearDown() override { modifiers(false, false); }

    static void modifiers(bool ctrl, bool shift) {
        BYTE keys[256]{};
        keys[VK_CONTROL] = ctrl ? 0x80 : 0;
        keys[VK_SHIFT] = shift ? 0x80 : 0;
        SetKeyboardState(keys);
    }

    void post(UINT message, WPARAM wparam = 0, LPARAM lparam = 0) {
        ASSERT_TRUE(PostMessageW(handle, message, wparam, lparam));
    }
    void key(unsigned code) { post(WM_KEYDOWN, code, 1); }
    void chars(std::initializer_list<wchar_t> units) {
        for (wchar_t u : units) post(WM_CHAR, u, 1);
    }
    const Input& poll() {
        window->poll();
        return window->input();
    }

    std::unique_ptr<Window> window;
    HWND handle = nullptr;
};

TEST_F(WindowWin32, HiddenWindowHasTheRequestedClientSizeAndSizesAreChecked) {
    EXPECT_EQ(window->width(), 320);
    EXPECT_EQ(window->height(), 200);
    EXPECT_FALSE(IsWindowVisible(handle)); // it draws offscreen
    wchar_t name[64]{};
    GetClassNameW(handle, name, 64);
    EXPECT_STREQ(name, L"VelmoraUI.Cpp.0.1");

    // Larger than the screen, a hidden window keeps its size and draws every pixel of it.
    WindowOptions options;
    options.visible = false;
    options.width = GetSystemMetrics(SM_CXVIRTUALSCREEN) + 300;
    options.height = GetSystemMetrics(SM_CYVIRTUALSCREEN) + 200;
    {
        Window large(options);
        ASSERT_EQ(large.width(), options.width);
        ASSERT_EQ(large.height(), options.height);
        glClearColor(0, 1, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        std::uint8_t near_corner[4]{}, far_corner[4]{};
        glReadBuffer(GL_BACK);
        glReadPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, near_corner);
        glReadPixels(options.width - 1, options.height - 1, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, far_corner);
        EXPECT_EQ(near_corner[1], 255);
        EXPECT_EQ(far_corner[0], 0);
        EXPECT_EQ(far_corner[1], 255);
        large.swap();
    }

    // A second window reuses the one registered class.
    options.width = 64;
    options.height = 16384;
    EXPECT_NO_THROW(Window second(options));
    options.height = 63;
    try {
        Window bad(options);
        FAIL() << "size accepted";
    } catch (const std::invalid_argument& e) {
        EXPECT_STREQ(e.what(), "Window size");
    }
}

TEST_F(WindowWin32, PointerStartsUnseenAndKeepsSignedCoordinates) {
    EXPECT_EQ(poll().mouse.x, -1);
    EXPECT_EQ(window->input().mouse.y, -1);
    // A captured pointer left of and above the window comes as negative 16-bit values.
    post(WM_MOUSEMOVE, 0, MAKELPARAM(static_cast<WORD>(-5), 40));
    const Input& in = poll();
    const float s = window->dpi_scale();
    EXPECT_FLOAT_EQ(in.mouse.x, -5 / s);
    EXPECT_FLOAT_EQ(in.mouse.y, 40 / s);
    EXPECT_FLOAT_EQ(poll().mouse.x, -5 / s); // kept across polls
}

TEST_F(WindowWin32, WheelNotchesAreSummedOverAPoll) {
    post(WM_MOUSEWHEEL, MAKEWPARAM(0, 120));
    post(WM_MOUSEWHEEL, MAKEWPARAM(0, 120));
    EXPECT_FLOAT_EQ(poll().wheel, 2);
    post(WM_MOUSEWHEEL, MAKEWPARAM(0, static_cast<WORD>(-60)));
    EXPECT_FLOAT_EQ(poll().wheel, -0.5f);
    EXPECT_FLOAT_EQ(poll().wheel, 0);
}

TEST_F(WindowWin32, ButtonsAndALostCaptureReleaseExactlyOnce) {
    post(WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(10, 20));
    post(WM_RBUTTONDOWN, MK_RBUTTON, MAKELPARAM(10, 20));
    const Input& down = poll();
    EXPECT_TRUE(down.mouse_down);
    EXPECT_TRUE(down.mouse_pressed);
    EXPECT_TRUE(down.right_pressed);
    EXPECT_FALSE(down.mouse_released);

    const Input& held = poll();
    EXPECT_TRUE(held.mouse_down); // kept across polls
    EXPECT_FALSE(held.mouse_pressed);

    post(WM_CAPTURECHANGED);
    post(WM_CAPTURECHANGED);
    const Input& lost = poll();
    EXPECT_TRUE(lost.mouse_released);
    EXPECT_FALSE(lost.mouse_down);

    post(WM_CAPTURECHANGED);
    EXPECT_FALSE(poll().mouse_released); // nothing held any more

    post(WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(1, 1));
    post(WM_LBUTTONUP, 0, MAKELPARAM(2, 2));
    post(WM_RBUTTONUP, 0, MAKELPARAM(2, 2));
    const Input& click = poll();
    EXPECT_TRUE(click.mouse_pressed);
    EXPECT_TRUE(click.mouse_released);
    EXPECT_FALSE(click.mouse_down);
    EXPECT_TRUE(click.right_released);
}

TEST_F(WindowWin32, SurrogatePairsJoinAcrossMessagesAndPolls) {
    window->text_input(true);
    chars({L'a', 0xD83D, 0xDE00, L'\u00e9'});
    EXPECT_EQ(poll().text, "a\xF0\x9F\x98\x80\xC3\xA9");

    // The high half in one poll, the low half in the next.
    chars({0xD83D});
    EXPECT_EQ(poll().text, "");
    chars({0xDE00});
    EXPECT_EQ(poll().text, "\xF0\x9F\x98\x80");

    // A lone low half, and a high half replaced by another, lose only the broken unit.
    chars({0xDE00, L'b', 0xD800, 0xD83D, 0xDE00});
    EXPECT_EQ(poll().text, "b\xF0\x9F\x98\x80");
}

TEST_F(WindowWin32, FocusLossDropsAPendingSurrogateAndReleasesThePress) {
    window->text_input(true);
    post(WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(5, 5));
    chars({0xD83D});
    post(WM_KILLFOCUS);
    chars({0xDE00});
    const Input& in = poll();
    EXPECT_TRUE(in.focus_lost);
    EXPECT_TRUE(in.mouse_released);
    EXPECT_FALSE(in.mouse_down);
    EXPECT_EQ(in.text, "");
}

TEST_F(WindowWin32, ControlCharactersAreKeysNotText) {
    window->text_input(true);
    chars({0x08, 0x09, 0x0D, 0x1B, 0x7F, L' '});
    key(VK_BACK);
    key(VK_RETURN);
    key(VK_DELETE);
    key(VK_NEXT);
    const Input& in = poll();
    EXPECT_EQ(in.text, " ");
    EXPECT_TRUE(in.backspace);
    EXPECT_TRUE(in.enter);
    EXPECT_TRUE(in.delete_key);
    EXPECT_TRUE(in.page_down);
    EXPECT_FALSE(in.page_up);
    EXPECT_EQ(in.key, static_cast<unsigned>(VK_NEXT));
}

TEST_F(WindowWin32, ShortcutsFollowTheModifiersAtEachKey) {
    modifiers(true, true);
    key('Z');
    const Input& redo = poll();
    EXPECT_TRUE(redo.ctrl);
    EXPECT_TRUE(redo.shift);
    EXPECT_TRUE(redo.redo);
    EXPECT_FALSE(redo.undo);

    modifiers(true, false);
    key('Z');
    key('A');
    key('C');
    const Input& undo = poll();
    EXPECT_TRUE(undo.undo);
    EXPECT_FALSE(undo.redo);
    EXPECT_TRUE(undo.select_all);
    EXPECT_TRUE(undo.copy);

    // Ctrl+Y, then a plain Y in the same poll, takes the shortcut back.
    key('Y');
    modifiers(false, false);
    key('Y');
    key('X');
    const Input& plain = poll();
    EXPECT_FALSE(plain.redo);
    EXPECT_FALSE(plain.cut);
    EXPECT_FALSE(plain.ctrl);
}

TEST_F(WindowWin32, TextAndPasteWaitForTextInput) {
    window->clipboard_text("h\xC3\xA9llo \xE4\xB8\x96\xE7\x95\x8C");
    chars({L'q'});
    modifiers(true, false);
    key('V');
    const Input& off = poll();
    EXPECT_EQ(off.text, "");
    EXPECT_EQ(off.paste, "");

    window->text_input(true);
    key('V');
    chars({L'q'}); // Ctrl held: a shortcut's character, not text
    const Input& on = poll();
    EXPECT_EQ(on.paste, "h\xC3\xA9llo \xE4\xB8\x96\xE7\x95\x8C");
    EXPECT_EQ(on.text, "");

    modifiers(false, false);
    chars({L'q'});
    EXPECT_EQ(poll().text, "q");
    window->text_input(false);
    chars({L'q'});
    EXPECT_EQ(poll().text, "");

    EXPECT_THROW(window->clipboard_text("\xFF"), std::invalid_argument);
}

TEST_F(WindowWin32, CloseEndsTheLoopForGood) {
    EXPECT_TRUE(window->poll());
    post(WM_CLOSE);
    EXPECT_FALSE(window->poll());
    EXPECT_TRUE(IsWindow(handle)); // the window stays until the Window goes
    EXPECT_FALSE(window->poll());
}

TEST_F(WindowWin32, OtherThreadsAreRefused) {
    std::string message;
    std::thread other([&] {
        try {
            window->poll();
        } catch (const std::logic_error& e) {
            message = e.what();
        }
    });
    other.join();
    EXPECT_EQ(message, "Window used from another thread");
}

TEST(Win32Error, StepComesFirstThenTheSystemCode) {
    SetLastError(ERROR_ACCESS_DENIED);
    try {
        platform_error("CreateWindow");
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "CreateWindow (Win32=5)");
    }
}

} // namespace
} // namespace velmora::ui
