// The Win32 window: real messages posted to a real (hidden) window, read back through Input.
//
// Posted messages are dispatched by the next poll, after it has reset the record, so each
// test posts first and polls once. What Input makes of keys and modifiers is shared with the
// other platforms and tested there; here, only what Win32 encodes its own way.
#include "velmora/platform/error.hpp"
#include "velmora/platform/window.hpp"

#include <windows.h>
// after windows.h, which it needs
#include <GL/gl.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>

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
        window->poll(); // whatever creation left in the queue
    }

    void post(UINT message, WPARAM wparam = 0, LPARAM lparam = 0) {
        ASSERT_TRUE(PostMessageW(handle, message, wparam, lparam));
    }
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

// The size and thread checks are shared with the other platforms and tested there.
TEST_F(WindowWin32, HiddenWindowHasTheRequestedClientSizeAndOneClass) {
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
}

// Win32's own encodings: signed 16-bit coordinates of a captured pointer, wheel deltas in
// 120ths of a notch, and a lost capture that releases the held button exactly once.
TEST_F(WindowWin32, CapturedCoordinatesWheelDeltasAndALostCapture) {
    post(WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(10, 20));
    post(WM_MOUSEWHEEL, MAKEWPARAM(0, 120));
    post(WM_MOUSEWHEEL, MAKEWPARAM(0, static_cast<WORD>(-60)));
    const Input& in = poll();
    EXPECT_FLOAT_EQ(in.wheel, 0.5f);
    EXPECT_TRUE(in.mouse_down && in.mouse_pressed);
    post(WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(30, 30));
    post(WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(static_cast<WORD>(-5), 40)); // the last position wins
    const Input& moved = poll();
    const float s = window->dpi_scale();
    EXPECT_FLOAT_EQ(moved.mouse.x, -5 / s);
    EXPECT_FLOAT_EQ(moved.mouse.y, 40 / s);
    EXPECT_TRUE(moved.mouse_down); // kept across polls

    post(WM_CAPTURECHANGED);
    post(WM_CAPTURECHANGED);
    const Input& lost = poll();
    EXPECT_TRUE(lost.mouse_released);
    EXPECT_FALSE(lost.mouse_down);
    post(WM_CAPTURECHANGED);
    EXPECT_FALSE(poll().mouse_released); // nothing held any more
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
    post(WM_KEYDOWN, VK_BACK, 1);
    EXPECT_EQ(poll().text, " ");
    EXPECT_TRUE(poll().backspace); // a key after text waits for the next poll
}

TEST_F(WindowWin32, ASecondCommandOrPressWaitsInTheQueue) {
    post(WM_KEYDOWN, VK_END, 1);
    post(WM_KEYDOWN, VK_HOME, 1);
    for (int click = 0; click < 2; ++click) {
        post(WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(5, 5));
        post(WM_LBUTTONUP, 0, MAKELPARAM(5, 5));
    }
    const Input& end = poll();
    EXPECT_TRUE(end.end && !end.home);
    EXPECT_TRUE(window->wait(0));
    const Input& home = poll();
    EXPECT_TRUE(home.home && !home.mouse_pressed);
    for (int click = 0; click < 2; ++click) {
        const Input& in = poll();
        EXPECT_TRUE(in.mouse_pressed && in.mouse_released) << click;
    }
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
