// Window on Win32 with a WGL context: messages into Input, clipboard, input methods.
//
// A hidden window is never shown: its context draws into a double-buffered pbuffer of the
// requested size, so unattended rendering neither depends on the screen's size nor reads
// back pixels of a window the system has clipped, covered or not yet mapped.
//
//   look-ups            entry points that older systems lack, found at run time
//   class               the window class, registered once per process
//   clipboard           reading CF_UNICODETEXT
//   Impl                the window's state, creation, the message procedure and its rules
//   Window              the public calls
#include "velmora/platform/window.hpp"
#include "velmora/platform/window_state.hpp"

#include "velmora/core/utf8.hpp"
#include "velmora/platform/error.hpp"
#include "velmora/platform/wstring_win32.hpp"

#include <windows.h>
// after windows.h, which they need
#include <GL/gl.h>
#include <imm.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <exception>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

namespace velmora::ui {

namespace {

// ---- look-ups ---------------------------------------------------------------

template <typename F> F lookup(const char* library, const char* name) {
    HMODULE module = GetModuleHandleA(library);
    if (!module) return nullptr;
    return reinterpret_cast<F>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

template <typename F> F wgl_lookup(const char* name) {
    return reinterpret_cast<F>(reinterpret_cast<void*>(wglGetProcAddress(name)));
}

using SetAwareness = BOOL(WINAPI*)(HANDLE);
using DpiForWindow = UINT(WINAPI*)(HWND);
using CreateContextAttribs = HGLRC(WINAPI*)(HDC, HGLRC, const int*);
using SwapInterval = BOOL(WINAPI*)(int);
using ChoosePixelFormatArb = BOOL(WINAPI*)(HDC, const int*, const FLOAT*, UINT, int*, UINT*);
DECLARE_HANDLE(HPBUFFERARB);
using CreatePbuffer = HPBUFFERARB(WINAPI*)(HDC, int, int, int, const int*);
using GetPbufferDC = HDC(WINAPI*)(HPBUFFERARB);
using ReleasePbufferDC = int(WINAPI*)(HPBUFFERARB, HDC);
using DestroyPbuffer = BOOL(WINAPI*)(HPBUFFERARB);

// DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2; older headers lack the name.
const HANDLE per_monitor_aware_v2 = reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-4));

constexpr int wgl_context_major_version = 0x2091;
constexpr int wgl_context_minor_version = 0x2092;
constexpr int wgl_context_profile_mask = 0x9126;
constexpr int wgl_context_core_profile = 0x1;
constexpr int wgl_context_compatibility_profile = 0x2;

// WGL_ARB_pixel_format attributes and values, for the pbuffer's format.
constexpr int wgl_draw_to_pbuffer = 0x202D;
constexpr int wgl_support_opengl = 0x2010;
constexpr int wgl_double_buffer = 0x2011;
constexpr int wgl_pixel_type = 0x2013;
constexpr int wgl_type_rgba = 0x202B;
constexpr int wgl_red_bits = 0x2015;
constexpr int wgl_green_bits = 0x2017;
constexpr int wgl_blue_bits = 0x2019;
constexpr int wgl_alpha_bits = 0x201B;
constexpr int wgl_depth_bits = 0x2022;
constexpr int wgl_stencil_bits = 0x2023;

// ---- class ------------------------------------------------------------------

constexpr const wchar_t* class_name = L"VelmoraUI.Cpp.0.1";
std::once_flag registered;

// ---- clipboard --------------------------------------------------------------

// Never throws: a clipboard that can't be opened or holds no text reads as empty.
std::string clipboard(HWND window) {
    if (!OpenClipboard(window)) return {};
    std::string text;
    if (HANDLE data = GetClipboardData(CF_UNICODETEXT)) {
        if (const auto* units = static_cast<const wchar_t*>(GlobalLock(data))) {
            try {
                text = utf8_w(units);
            } catch (...) {
                text.clear();
            }
            GlobalUnlock(data);
        }
    }
    CloseClipboard();
    return text;
}

bool held(int key) { return (GetKeyState(key) & 0x8000) != 0; }

} // namespace

// ---- Impl -------------------------------------------------------------------

struct Window::Impl : WindowState {
    HWND window = nullptr;
    HDC dc = nullptr;
    HGLRC context = nullptr;
    HDC previous_dc = nullptr; // current before this window, put back at the end
    HGLRC previous_context = nullptr;
    char16_t pending_high = 0;

    // A hidden window's drawing surface and its size; the entry points that free it.
    HPBUFFERARB pbuffer = nullptr;
    HDC pbuffer_dc = nullptr;
    int pbuffer_width = 0;
    int pbuffer_height = 0;
    ReleasePbufferDC release_pbuffer_dc = nullptr;
    DestroyPbuffer destroy_pbuffer = nullptr;

    ~Impl();
    void create(const WindowOptions& options);
    void make_context(const WindowOptions& options);
    void make_pbuffer(int width, int height);
    // Where the context draws: the pbuffer of a hidden window, else the window itself.
    HDC surface() const { return pbuffer_dc ? pbuffer_dc : dc; }
    SIZE client_size() const;
    void character(char16_t unit);
    void key_down(unsigned code);
    void modifiers(bool press);
    void mouse_at(LPARAM position);
    void release_press();
    void composing();
    void end_composition();
    LRESULT handle(UINT message, WPARAM wparam, LPARAM lparam);
    static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
};

void Window::Impl::create(const WindowOptions& options) {
    const std::wstring title = wide_w(options.title);

    if (auto aware = lookup<SetAwareness>("user32.dll", "SetProcessDpiAwarenessContext"))
        aware(per_monitor_aware_v2); // refused when the process has chosen already: no matter

    const HINSTANCE module = GetModuleHandleW(nullptr);
    bool class_failed = false;
    DWORD class_error = 0;
    std::call_once(registered, [&] {
        WNDCLASSEXW wc{};
        wc.cbSize = sizeof wc;
        wc.style = CS_OWNDC;
        wc.lpfnWndProc = &Impl::procedure;
        wc.hInstance = module;
        wc.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
        wc.lpszClassName = class_name;
        if (!RegisterClassExW(&wc) && GetLastError() != ERROR_CLASS_ALREADY_EXISTS) {
            class_failed = true;
            class_error = GetLastError();
        }
    });
    if (class_failed) {
        SetLastError(class_error);
        platform_error("RegisterClass");
    }

    RECT frame{0, 0, options.width, options.height};
    AdjustWindowRect(&frame, WS_OVERLAPPEDWINDOW, FALSE);

    previous_dc = wglGetCurrentDC();
    previous_context = wglGetCurrentContext();

    window =
        CreateWindowExW(0, class_name, title.c_str(), WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                        frame.right - frame.left, frame.bottom - frame.top, nullptr, nullptr, module, this);
    if (!window) platform_error("CreateWindow");

    if (auto dpi = lookup<DpiForWindow>("user32.dll", "GetDpiForWindow"))
        if (const UINT value = dpi(window)) dpi_scale = static_cast<float>(value) / 96.0f;

    dc = GetDC(window);
    if (!dc) platform_error("GetDC");
    make_context(options);

    // Input methods stay off until a field asks for text.
    ImmAssociateContextEx(window, nullptr, 0);

    // A hidden window stays unshown: it draws into its pbuffer, whose size is its own.
    if (!options.visible) return;
    ShowWindow(window, SW_SHOW);
    UpdateWindow(window);

    RECT client{};
    GetClientRect(window, &client);
    const int dw = options.width - (client.right - client.left);
    const int dh = options.height - (client.bottom - client.top);
    if (dw != 0 || dh != 0) {
        RECT outer{};
        GetWindowRect(window, &outer);
        SetWindowPos(window, nullptr, 0, 0, outer.right - outer.left + dw, outer.bottom - outer.top + dh,
                     SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    }
}

void Window::Impl::make_context(const WindowOptions& options) {
    PIXELFORMATDESCRIPTOR pfd{};
    pfd.nSize = sizeof pfd;
    pfd.nVersion = 1;
    pfd.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
    pfd.iPixelType = PFD_TYPE_RGBA;
    pfd.cColorBits = 32;
    pfd.cAlphaBits = 8;
    pfd.cDepthBits = 24;
    pfd.cStencilBits = 8;
    pfd.iLayerType = PFD_MAIN_PLANE;
    const int format = ChoosePixelFormat(dc, &pfd);
    if (format == 0 || !SetPixelFormat(dc, format, &pfd)) platform_error("Pixel format");

    context = wglCreateContext(dc);
    if (!context || !wglMakeCurrent(dc, context)) platform_error("Create WGL context");
    // The pbuffer's entry points are found through this first, current context.
    if (!options.visible) make_pbuffer(options.width, options.height);

    // The legacy context may already be 3.3 or newer; the backend's version check decides.
    // A 3.3 compatibility context is preferred, for hosts that mix in fixed-function GL, and
    // a core one where only that exists.
    if (auto create_attribs = wgl_lookup<CreateContextAttribs>("wglCreateContextAttribsARB")) {
        for (int profile : {wgl_context_compatibility_profile, wgl_context_core_profile}) {
            const int attributes[] = {wgl_context_major_version,
                                      3,
                                      wgl_context_minor_version,
                                      3,
                                      wgl_context_profile_mask,
                                      profile,
                                      0};
            HGLRC modern = create_attribs(surface(), nullptr, attributes);
            if (!modern) continue;
            if (wglMakeCurrent(surface(), modern)) {
                wglDeleteContext(context);
                context = modern;
                break;
            }
            wglDeleteContext(modern);
            wglMakeCurrent(surface(), context);
        }
    }

    if (auto interval = wgl_lookup<SwapInterval>("wglSwapIntervalEXT"))
        interval(1); // where the driver refuses, presentation simply doesn't wait
}

// The pbuffer has the window's pixel layout: double-buffered RGBA8 with depth and stencil,
// so drawing to and reading from GL_BACK work as on a shown window. The context moves to it.
void Window::Impl::make_pbuffer(int width, int height) {
    const auto choose = wgl_lookup<ChoosePixelFormatArb>("wglChoosePixelFormatARB");
    const auto create_pbuffer = wgl_lookup<CreatePbuffer>("wglCreatePbufferARB");
    const auto get_dc = wgl_lookup<GetPbufferDC>("wglGetPbufferDCARB");
    release_pbuffer_dc = wgl_lookup<ReleasePbufferDC>("wglReleasePbufferDCARB");
    destroy_pbuffer = wgl_lookup<DestroyPbuffer>("wglDestroyPbufferARB");
    if (!choose || !create_pbuffer || !get_dc || !release_pbuffer_dc || !destroy_pbuffer)
        system_error("Offscreen surface", "the driver offers no WGL_ARB_pbuffer");
    const int attributes[] = {wgl_draw_to_pbuffer,
                              1,
                              wgl_support_opengl,
                              1,
                              wgl_double_buffer,
                              1,
                              wgl_pixel_type,
                              wgl_type_rgba,
                              wgl_red_bits,
                              8,
                              wgl_green_bits,
                              8,
                              wgl_blue_bits,
                              8,
                              wgl_alpha_bits,
                              8,
                              wgl_depth_bits,
                              24,
                              wgl_stencil_bits,
                              8,
                              0};
    int format = 0;
    UINT count = 0;
    if (!choose(dc, attributes, nullptr, 1, &format, &count) || count == 0)
        system_error("Offscreen surface", "no double-buffered pbuffer format");
    const int no_attributes[] = {0};
    pbuffer = create_pbuffer(dc, format, width, height, no_attributes);
    if (!pbuffer) platform_error("Offscreen surface");
    pbuffer_dc = get_dc(pbuffer);
    if (!pbuffer_dc) platform_error("Offscreen surface");
    pbuffer_width = width;
    pbuffer_height = height;

    HGLRC own = wglCreateContext(pbuffer_dc);
    if (!own || !wglMakeCurrent(pbuffer_dc, own)) {
        if (own) wglDeleteContext(own);
        platform_error("Create WGL context");
    }
    wglDeleteContext(context);
    context = own;
}

Window::Impl::~Impl() {
    if (context) {
        if (wglGetCurrentContext() == context) wglMakeCurrent(nullptr, nullptr);
        wglDeleteContext(context);
    }
    if (pbuffer) {
        if (pbuffer_dc) release_pbuffer_dc(pbuffer, pbuffer_dc);
        destroy_pbuffer(pbuffer);
    }
    if (previous_context) wglMakeCurrent(previous_dc, previous_context);
    if (window) {
        if (dc) ReleaseDC(window, dc);
        // Messages sent during destruction must not reach this half-destroyed object.
        SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        DestroyWindow(window);
    }
}

void Window::Impl::modifiers(bool press) { WindowState::modifiers(held(VK_CONTROL), held(VK_SHIFT), press); }

void Window::Impl::mouse_at(LPARAM position) {
    // Signed: a captured pointer can leave the window on the left or top.
    const auto x = static_cast<short>(LOWORD(position));
    const auto y = static_cast<short>(HIWORD(position));
    input.mouse = {static_cast<float>(x) / dpi_scale, static_cast<float>(y) / dpi_scale};
}

// A press that ends without its button coming up (focus or capture taken away) is released
// here exactly once; the button's own up message later finds nothing held.
void Window::Impl::release_press() {
    input.mouse_down = false;
    input.mouse_released = true;
}

void Window::Impl::key_down(unsigned code) {
    modifiers(!modifier_key(code));
    input.alt = held(VK_MENU);
    if (apply_key(input, code) && text_on) input.paste += clipboard(window);
}

// Characters outside the basic plane arrive as two WM_CHAR messages, high surrogate first.
// Control characters (tab, enter, backspace) are keys, not text.
void Window::Impl::character(char16_t unit) {
    if (unit >= 0xDC00 && unit <= 0xDFFF) {
        if (pending_high != 0) {
            const char32_t cp =
                0x10000 + ((static_cast<char32_t>(pending_high) - 0xD800) << 10) + (unit - 0xDC00);
            append_utf8(input.text, cp);
        }
        pending_high = 0;
        return;
    }
    if (unit >= 0xD800 && unit <= 0xDBFF) {
        pending_high = unit;
        return;
    }
    pending_high = 0;
    if (unit >= 0x20 && unit != 0x7F) append_utf8(input.text, unit);
}

// The preedit text is shown by the focused field itself, with its cursor as a byte offset.
void Window::Impl::composing() {
    HIMC ime = ImmGetContext(window);
    if (!ime) return;
    const LONG bytes = ImmGetCompositionStringW(ime, GCS_COMPSTR, nullptr, 0);
    std::wstring units(bytes > 0 ? static_cast<std::size_t>(bytes) / sizeof(wchar_t) : 0, L'\0');
    if (!units.empty()) ImmGetCompositionStringW(ime, GCS_COMPSTR, units.data(), static_cast<DWORD>(bytes));
    const LONG cursor = ImmGetCompositionStringW(ime, GCS_CURSORPOS, nullptr, 0);
    ImmReleaseContext(window, ime);
    try {
        const std::size_t at = cursor > 0 ? std::min(static_cast<std::size_t>(cursor), units.size()) : 0;
        input.composition = utf8_w(units);
        input.composition_cursor = utf8_w(std::wstring_view(units).substr(0, at)).size();
    } catch (const std::exception&) {
        end_composition(); // a malformed preedit shows nothing
    }
}

void Window::Impl::end_composition() {
    input.composition.clear();
    input.composition_cursor = 0;
}

LRESULT Window::Impl::handle(UINT message, WPARAM wparam, LPARAM lparam) {
    switch (message) {
    case WM_CLOSE:
        open = false; // the window stays; the program ends its loop
        return 0;
    case WM_ERASEBKGND:
        return 1;
    case WM_GETMINMAXINFO: {
        auto* info = reinterpret_cast<MINMAXINFO*>(lparam);
        info->ptMaxTrackSize = {32768, 32768};
        return 0;
    }
    case WM_KILLFOCUS:
        input.mouse_down = false;
        input.mouse_released = true;
        input.focus_lost = true;
        pending_high = 0;
        end_composition();
        return 0;
    case WM_KEYDOWN:
        key_down(static_cast<unsigned>(wparam));
        return 0;
    case WM_KEYUP:
        modifiers(false);
        return 0;
    case WM_CHAR:
        if (text_on && !input.ctrl) character(static_cast<char16_t>(wparam));
        return 0;
    case WM_MOUSEMOVE:
        mouse_at(lparam);
        return 0;
    case WM_LBUTTONDOWN:
        mouse_at(lparam);
        modifiers(true); // a shift-click quicker than a frame keeps its Shift
        input.mouse_down = true;
        input.mouse_pressed = true;
        SetCapture(window); // a drag keeps reporting outside the window
        return 0;
    case WM_LBUTTONUP:
        mouse_at(lparam);
        input.mouse_down = false;
        input.mouse_released = true;
        ReleaseCapture();
        return 0;
    case WM_RBUTTONDOWN:
        mouse_at(lparam);
        modifiers(true);
        input.right_pressed = true;
        return 0;
    case WM_RBUTTONUP:
        mouse_at(lparam);
        input.right_released = true;
        return 0;
    case WM_MOUSEWHEEL:
        input.wheel += static_cast<float>(GET_WHEEL_DELTA_WPARAM(wparam)) / WHEEL_DELTA;
        return 0;
    case WM_CAPTURECHANGED:
        // ReleaseCapture in WM_LBUTTONUP lands here too, with the button already up.
        if (input.mouse_down) release_press();
        return 0;
    case WM_DPICHANGED: {
        dpi_scale = static_cast<float>(HIWORD(wparam)) / 96.0f;
        const auto* suggested = reinterpret_cast<const RECT*>(lparam);
        SetWindowPos(window, nullptr, suggested->left, suggested->top, suggested->right - suggested->left,
                     suggested->bottom - suggested->top, SWP_NOZORDER | SWP_NOACTIVATE);
        return 0;
    }
    case WM_IME_SETCONTEXT:
        // The field draws the composition inline; the system's own composition window stays hidden.
        lparam &= ~static_cast<LPARAM>(ISC_SHOWUICOMPOSITIONWINDOW);
        return DefWindowProcW(window, message, wparam, lparam);
    case WM_IME_STARTCOMPOSITION:
        return 0;
    case WM_IME_COMPOSITION:
        if (text_on) {
            if (lparam & GCS_RESULTSTR) end_composition(); // the result comes as WM_CHAR
            if (lparam & GCS_COMPSTR) composing();
        }
        return DefWindowProcW(window, message, wparam, lparam);
    case WM_IME_ENDCOMPOSITION:
        end_composition();
        return DefWindowProcW(window, message, wparam, lparam);
    default:
        return DefWindowProcW(window, message, wparam, lparam);
    }
}

LRESULT CALLBACK Window::Impl::procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message == WM_NCCREATE) {
        auto* self = static_cast<Impl*>(reinterpret_cast<CREATESTRUCTW*>(lparam)->lpCreateParams);
        self->window = window; // CreateWindowExW has not returned yet
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
        return DefWindowProcW(window, message, wparam, lparam);
    }
    auto* self = reinterpret_cast<Impl*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (!self) return DefWindowProcW(window, message, wparam, lparam);
    return self->handle(message, wparam, lparam);
}

// ---- Window -----------------------------------------------------------------

Window::Window(const WindowOptions& options) : impl_(std::make_unique<Impl>()) {
    WindowState::check_size(options);
    impl_->create(options);
}

Window::~Window() { impl_->check_destroy(); }

bool Window::poll() {
    impl_->check();
    Impl& w = *impl_;
    w.begin();
    w.modifiers(false);

    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) {
            w.open = false;
            continue;
        }
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return w.open;
}

bool Window::wait(double seconds) {
    impl_->check();
    if (!(seconds >= 0)) throw std::invalid_argument("Wait time");
    if (!impl_->open) return true;
    // Rounded up, so that the wait never ends before the time asked for.
    const DWORD ms =
        std::isinf(seconds) ? INFINITE : static_cast<DWORD>(std::min(std::ceil(seconds * 1000), 1e9));
    // Messages already in the queue count too, not only those that arrive during the wait.
    const DWORD woken = MsgWaitForMultipleObjectsEx(0, nullptr, ms, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    if (woken == WAIT_FAILED) platform_error("Wait for messages");
    return woken == WAIT_OBJECT_0;
}

void Window::swap() {
    impl_->check();
    // Nothing presents a pbuffer; its frames are read back before the swap.
    if (impl_->pbuffer) {
        glFlush();
        return;
    }
    if (!SwapBuffers(impl_->dc)) platform_error("SwapBuffers");
}

void Window::close() {
    impl_->check();
    impl_->open = false;
}

void Window::make_current() {
    impl_->check();
    if (wglGetCurrentContext() == impl_->context && wglGetCurrentDC() == impl_->surface()) return;
    if (!wglMakeCurrent(impl_->surface(), impl_->context)) platform_error("Make GL context current");
}

SIZE Window::Impl::client_size() const {
    if (pbuffer) return {pbuffer_width, pbuffer_height};
    RECT client{};
    GetClientRect(window, &client);
    return {client.right - client.left, client.bottom - client.top};
}

int Window::width() const {
    impl_->check();
    return impl_->client_size().cx;
}

int Window::height() const {
    impl_->check();
    return impl_->client_size().cy;
}

float Window::dpi_scale() const {
    impl_->check();
    return impl_->dpi_scale;
}

const Input& Window::input() const {
    impl_->check();
    return impl_->input;
}

void Window::title(const std::string& text) {
    impl_->check();
    SetWindowTextW(impl_->window, wide_w(text).c_str());
}

void Window::text_input(bool on) {
    impl_->check();
    if (impl_->text_on == on) return;
    impl_->text_on = on;
    ImmAssociateContextEx(impl_->window, nullptr, on ? IACE_DEFAULT : 0);
    if (!on) impl_->end_composition();
}

void Window::text_input_rect(Rect area) {
    impl_->check();
    const Rect r = WindowState::caret_area(area);
    HIMC context = ImmGetContext(impl_->window);
    if (!context) return; // input methods are off
    const float s = impl_->dpi_scale;
    const RECT caret{static_cast<LONG>(std::floor(r.x * s)), static_cast<LONG>(std::floor(r.y * s)),
                     static_cast<LONG>(std::ceil((r.x + r.w) * s)),
                     static_cast<LONG>(std::ceil((r.y + r.h) * s))};
    COMPOSITIONFORM composition{};
    composition.dwStyle = CFS_POINT;
    composition.ptCurrentPos = {caret.left, caret.top};
    ImmSetCompositionWindow(context, &composition);
    // The candidate list opens below the caret and never covers it.
    CANDIDATEFORM candidates{};
    candidates.dwIndex = 0;
    candidates.dwStyle = CFS_EXCLUDE;
    candidates.ptCurrentPos = {caret.left, caret.bottom};
    candidates.rcArea = caret;
    ImmSetCandidateWindow(context, &candidates);
    ImmReleaseContext(impl_->window, context);
}

void Window::clipboard_text(const std::string& text) {
    impl_->check();
    const std::wstring units = wide_w(text);
    const std::size_t bytes = (units.size() + 1) * sizeof(wchar_t);
    HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes);
    if (!memory) platform_error("Clipboard allocation");
    void* target = GlobalLock(memory);
    if (!target) {
        const DWORD code = GetLastError();
        GlobalFree(memory);
        SetLastError(code);
        platform_error("Clipboard lock");
    }
    std::memcpy(target, units.c_str(), bytes);
    GlobalUnlock(memory);
    // A clipboard held by another program stays as it was.
    if (!OpenClipboard(impl_->window)) {
        GlobalFree(memory);
        return;
    }
    // Once SetClipboardData succeeds, the memory belongs to the clipboard.
    if (!EmptyClipboard() || !SetClipboardData(CF_UNICODETEXT, memory)) GlobalFree(memory);
    CloseClipboard();
}

void* Window::native_handle() const {
    impl_->check();
    return impl_->window;
}

} // namespace velmora::ui
