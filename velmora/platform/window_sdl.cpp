// Window on SDL2: video start-up, the GL context, events into Input, clipboard.
//
//   platform_error        the SDL form of a system failure
//   keys                  SDL key symbols to virtual-key codes, one table
//   video start-up        a display when one can be reached, else the headless EGL driver;
//                         the Wayland driver tried in a child first; the window class name
//   event routing         several windows share SDL's one queue
//   Impl                  the window's state and the event rules
//   Window                the public calls
#include "velmora/platform/window.hpp"
#include "velmora/platform/window_state.hpp"

#include "velmora/core/utf8.hpp"
#include "velmora/platform/error.hpp"

#include <SDL.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <mutex>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace velmora::ui {

void platform_error(std::string_view step) { system_error(step, std::string("SDL: ") + SDL_GetError()); }

namespace {

// ---- keys -------------------------------------------------------------------

// A run of `count` consecutive SDL key symbols starting at `first`, mapped to consecutive
// virtual-key codes starting at `code`. Letters follow the keyboard layout, as on Windows.
struct KeyRun {
    SDL_Keycode first;
    unsigned code;
    int count = 1;
};

constexpr KeyRun key_runs[] = {
    {SDLK_a, vk::a, 26},
    {SDLK_0, vk::digit_0, 10},
    {SDLK_F1, vk::f1, 12},
    {SDLK_F13, vk::f1 + 12, 12},
    {SDLK_KP_1, vk::numpad_0 + 1, 9},
    {SDLK_KP_0, vk::numpad_0},
    {SDLK_BACKSPACE, vk::backspace},
    {SDLK_TAB, vk::tab},
    {SDLK_RETURN, vk::enter},
    {SDLK_KP_ENTER, vk::enter},
    {SDLK_ESCAPE, vk::escape},
    {SDLK_SPACE, vk::space},
    {SDLK_PAGEUP, vk::page_up},
    {SDLK_PAGEDOWN, vk::page_down},
    {SDLK_END, vk::end},
    {SDLK_HOME, vk::home},
    {SDLK_LEFT, vk::left},
    {SDLK_UP, vk::up},
    {SDLK_RIGHT, vk::right},
    {SDLK_DOWN, vk::down},
    {SDLK_INSERT, vk::insert},
    {SDLK_DELETE, vk::delete_key},
    {SDLK_PRINTSCREEN, vk::print_screen},
    {SDLK_PAUSE, vk::pause},
    {SDLK_CAPSLOCK, vk::caps_lock},
    {SDLK_NUMLOCKCLEAR, vk::num_lock},
    {SDLK_SCROLLLOCK, vk::scroll_lock},
    {SDLK_LSHIFT, vk::shift},
    {SDLK_RSHIFT, vk::shift},
    {SDLK_LCTRL, vk::control},
    {SDLK_RCTRL, vk::control},
    {SDLK_LALT, vk::alt},
    {SDLK_RALT, vk::alt},
    {SDLK_LGUI, vk::left_super},
    {SDLK_RGUI, vk::right_super},
    {SDLK_APPLICATION, vk::menu},
    {SDLK_KP_MULTIPLY, vk::multiply},
    {SDLK_KP_PLUS, vk::add},
    {SDLK_KP_MINUS, vk::subtract},
    {SDLK_KP_PERIOD, vk::decimal},
    {SDLK_KP_DIVIDE, vk::divide},
    {SDLK_SEMICOLON, vk::oem_1},
    {SDLK_EQUALS, vk::oem_plus},
    {SDLK_COMMA, vk::oem_comma},
    {SDLK_MINUS, vk::oem_minus},
    {SDLK_PERIOD, vk::oem_period},
    {SDLK_SLASH, vk::oem_2},
    {SDLK_BACKQUOTE, vk::oem_3},
    {SDLK_LEFTBRACKET, vk::oem_4},
    {SDLK_BACKSLASH, vk::oem_5},
    {SDLK_RIGHTBRACKET, vk::oem_6},
    {SDLK_QUOTE, vk::oem_7},
};

// 0 for a key with no virtual-key code.
unsigned virtual_key(SDL_Keycode sym) {
    for (const KeyRun& run : key_runs)
        if (sym >= run.first && sym < run.first + run.count)
            return run.code + static_cast<unsigned>(sym - run.first);
    return 0;
}

// ---- video start-up ---------------------------------------------------------

// Whether the compositor socket WAYLAND_DISPLAY names is there. Without it SDL's Wayland driver
// can only fail, and libwayland says so on standard error first.
bool wayland_socket() {
    const char* name = std::getenv("WAYLAND_DISPLAY");
    const char* dir = std::getenv("XDG_RUNTIME_DIR");
    if (!name || (name[0] != '/' && !dir)) return false;
    const std::string path = name[0] == '/' ? name : std::string(dir) + '/' + name;
    struct stat st {};
    return stat(path.c_str(), &st) == 0 && S_ISSOCK(st.st_mode);
}

bool display_reachable() { return std::getenv("DISPLAY") || wayland_socket(); }

bool headless_driver() {
    const char* driver = SDL_GetCurrentVideoDriver();
    return driver && (std::string_view(driver) == "offscreen" || std::string_view(driver) == "dummy");
}

// How long the child may take: sanitized builds start video many times slower.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int child_limit_ms = 30000;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
constexpr int child_limit_ms = 30000;
#else
constexpr int child_limit_ms = 5000;
#endif
#else
constexpr int child_limit_ms = 5000;
#endif

// Whether `start` returns in a child process within the limit. The child says so through a
// pipe rather than its exit status, which a host that reaps its own children (SIGCHLD ignored
// or handled) takes away. It leaves through _exit, touching nothing of ours, dies of a crash
// with the system's default action whatever handlers the host installed (a sanitizer's would
// turn it into an ordinary exit), and leaves no core file.
bool survives_in_child(bool (*start)()) {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) return true; // no way to tell: let the real start decide
    const pid_t child = fork();
    if (child < 0) {
        close(fds[0]);
        close(fds[1]);
        return true;
    }
    if (child == 0) {
        for (int crash : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT}) signal(crash, SIG_DFL);
        const rlimit no_core{0, 0};
        setrlimit(RLIMIT_CORE, &no_core);
        start();
        const char returned = 1;
        _exit(write(fds[1], &returned, 1) == 1 ? 0 : 1);
    }
    close(fds[1]);
    pollfd readable{fds[0], POLLIN, 0};
    int ready;
    do ready = poll(&readable, 1, child_limit_ms);
    while (ready < 0 && errno == EINTR);
    char byte = 0;
    const bool returned = ready > 0 && read(fds[0], &byte, 1) == 1;
    // A child that has not answered is still running, so nobody can have reaped it yet.
    if (ready == 0) kill(child, SIGKILL);
    close(fds[0]);
    // ECHILD when the host reaps its own children.
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    return returned;
}

// SDL 2.26's Wayland driver can crash inside its own start-up (under Weston's headless
// backend it dies of SIGSEGV on the output's first `done` event), where no error code could
// tell us. So before SDL first tries that driver in this process, it starts it once in a
// child; if the child dies or hangs, the driver is left out for the life of the process.
bool wayland_usable() {
    static const bool usable = [] {
        if (!wayland_socket()) return true; // nothing to probe
        // Unasked, SDL 2 picks X11 whenever it can reach an X display.
        const char* asked = SDL_GetHint(SDL_HINT_VIDEODRIVER);
        if (asked ? !std::strstr(asked, "wayland") : std::getenv("DISPLAY") != nullptr) return true;
        if (survives_in_child([] { return SDL_VideoInit("wayland") == 0; })) return true;
        std::fprintf(stderr, "VelmoraUI: SDL's Wayland video driver crashed or hung on start-up; using %s\n",
                     std::getenv("DISPLAY") ? "X11" : "the offscreen driver for hidden windows");
        return false;
    }();
    return usable;
}

// Starts (or joins) SDL's video. A hidden window falls back to the offscreen driver, which
// renders through EGL without any display; a visible one needs a display.
void start_video(bool visible) {
    const bool running = SDL_WasInit(SDL_INIT_VIDEO) != 0;
    bool reachable = display_reachable();
    if (!running && !wayland_usable()) {
        if (std::getenv("DISPLAY"))
            SDL_SetHintWithPriority(SDL_HINT_VIDEODRIVER, "x11", SDL_HINT_OVERRIDE);
        else if (visible)
            system_error("No display",
                         "the Wayland video driver crashed or hung on start-up and there is no X display");
        else
            reachable = false;
    }
    // Unasked, SDL would try every driver and settle on a headless one.
    if (visible && !reachable && !running && !SDL_GetHint(SDL_HINT_VIDEODRIVER))
        system_error("No display", "neither DISPLAY nor WAYLAND_DISPLAY names one that is there");
    if (running || visible || reachable) {
        if (SDL_InitSubSystem(SDL_INIT_VIDEO) == 0) {
            if (visible && headless_driver()) {
                SDL_QuitSubSystem(SDL_INIT_VIDEO);
                system_error("No display", "a visible window cannot use the headless video driver");
            }
            return;
        }
        if (running) platform_error("Video start");
        if (visible) platform_error("No display");
    }
    // Override, so that an SDL_VIDEODRIVER naming an unreachable display doesn't stop us;
    // reset afterwards, so a later start can find a display again.
    SDL_SetHintWithPriority(SDL_HINT_VIDEODRIVER, "offscreen", SDL_HINT_OVERRIDE);
    const bool started = SDL_InitSubSystem(SDL_INIT_VIDEO) == 0;
    SDL_ResetHint(SDL_HINT_VIDEODRIVER);
    if (!started) platform_error("Video start");
}

// The name window managers group and match our windows by (X11 WM_CLASS, Wayland app id).
// Set once per process, at normal priority, so an environment setting of the same hint wins.
constexpr const char* class_name = "VelmoraUI.Cpp.0.1";
std::once_flag registered;

void register_class() {
    std::call_once(registered, [] {
        SDL_SetHint("SDL_VIDEO_X11_WMCLASS", class_name);
        SDL_SetHint("SDL_VIDEO_WAYLAND_WMCLASS", class_name);
    });
}

// ---- event routing ----------------------------------------------------------

// SDL has one event queue per process. Events for another Window are set aside for that
// window's own poll, so no window eats another's input.
struct Routing {
    std::mutex mutex;
    std::unordered_map<Uint32, std::vector<SDL_Event>*> deferred; // by SDL window id
};

Routing& routing() {
    static Routing r;
    return r;
}

} // namespace

// ---- Impl -------------------------------------------------------------------

struct Window::Impl : WindowState {
    SDL_Window* window = nullptr;
    SDL_GLContext context = nullptr;
    SDL_Window* previous_window = nullptr; // current before this window, put back at the end
    SDL_GLContext previous_context = nullptr;
    bool video = false;
    Uint32 id = 0;
    Uint16 mods = 0; // modifier state as of the last key event taken
    std::vector<SDL_Event> deferred;

    ~Impl();
    void create(const WindowOptions& options);
    void update_scale();
    bool fits(const SDL_Event& e) const;
    void handle(const SDL_Event& e);
    void key_down(const SDL_Keysym& key);
    void modifiers(Uint16 state, bool press);
    void typed(const char* text);
    void composing(const char* preedit, int cursor);
    void end_composition();
    void release_press();
};

void Window::Impl::create(const WindowOptions& options) {
    static_cast<void>(wide(options.title)); // the same UTF-8 check as every later title
    register_class();
    start_video(options.visible);
    video = true;
    mods = static_cast<Uint16>(SDL_GetModState());

    previous_window = SDL_GL_GetCurrentWindow();
    previous_context = SDL_GL_GetCurrentContext();

    SDL_GL_ResetAttributes();
    SDL_GL_SetAttribute(SDL_GL_RED_SIZE, 8);
    SDL_GL_SetAttribute(SDL_GL_GREEN_SIZE, 8);
    SDL_GL_SetAttribute(SDL_GL_BLUE_SIZE, 8);
    SDL_GL_SetAttribute(SDL_GL_ALPHA_SIZE, 8);
    SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, 24);
    SDL_GL_SetAttribute(SDL_GL_STENCIL_SIZE, 8);
    SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 1);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MAJOR_VERSION, 3);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MINOR_VERSION, 3);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, SDL_GL_CONTEXT_PROFILE_COMPATIBILITY);

    const Uint32 flags = SDL_WINDOW_OPENGL | SDL_WINDOW_RESIZABLE | SDL_WINDOW_ALLOW_HIGHDPI |
                         (options.visible ? SDL_WINDOW_SHOWN : SDL_WINDOW_HIDDEN);
    window = SDL_CreateWindow(options.title.c_str(), SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED,
                              options.width, options.height, flags);
    if (!window) platform_error("CreateWindow");
    id = SDL_GetWindowID(window);
    {
        std::lock_guard lock(routing().mutex);
        routing().deferred[id] = &deferred;
    }

    // Compatibility first, for hosts that mix in fixed-function GL; core where only that exists.
    context = SDL_GL_CreateContext(window);
    if (!context) {
        SDL_GL_SetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, SDL_GL_CONTEXT_PROFILE_CORE);
        context = SDL_GL_CreateContext(window);
    }
    if (!context) platform_error("Create GL context");
    if (SDL_GL_MakeCurrent(window, context) != 0) platform_error("Create GL context");
    // Where the driver refuses, presentation simply doesn't wait. A hidden window never waits.
    SDL_GL_SetSwapInterval(options.vsync && options.visible ? 1 : 0);

    // SDL turns text input on when video starts; typed text waits for text_input(true).
    SDL_StopTextInput();

    // The client area must be the requested size in pixels, whatever the density.
    update_scale();
    int w = 0, h = 0;
    SDL_GL_GetDrawableSize(window, &w, &h);
    if (w != options.width || h != options.height)
        SDL_SetWindowSize(window, static_cast<int>(std::lround(options.width / dpi_scale)),
                          static_cast<int>(std::lround(options.height / dpi_scale)));
}

Window::Impl::~Impl() {
    if (context) {
        if (SDL_GL_GetCurrentContext() == context) SDL_GL_MakeCurrent(window, nullptr);
        SDL_GL_DeleteContext(context);
    }
    if (previous_context) SDL_GL_MakeCurrent(previous_window, previous_context);
    if (window) {
        {
            std::lock_guard lock(routing().mutex);
            routing().deferred.erase(id);
        }
        SDL_DestroyWindow(window);
    }
    if (video) SDL_QuitSubSystem(SDL_INIT_VIDEO);
}

// Pixels per window unit. SDL reports the pointer in window units, so once pixels are
// divided by this factor the pointer is in logical units as it comes.
void Window::Impl::update_scale() {
    int ww = 0, wh = 0, pw = 0, ph = 0;
    SDL_GetWindowSize(window, &ww, &wh);
    SDL_GL_GetDrawableSize(window, &pw, &ph);
    if (ww > 0 && pw > 0) dpi_scale = static_cast<float>(pw) / static_cast<float>(ww);
}

void Window::Impl::modifiers(Uint16 state, bool press) {
    mods = state;
    WindowState::modifiers((state & KMOD_CTRL) != 0, (state & KMOD_SHIFT) != 0, press);
}

// A press that ends without its button coming up (focus or capture taken away) is released
// here exactly once; the button's own up event later finds nothing held.
void Window::Impl::release_press() {
    input.mouse_down = false;
    input.mouse_released = true;
    SDL_CaptureMouse(SDL_FALSE);
}

void Window::Impl::key_down(const SDL_Keysym& key) {
    // Alt without Ctrl makes a system key: menus' business, not the controls'. Ctrl+Alt
    // (how some layouts type extra characters) stays an ordinary key.
    if ((key.mod & KMOD_ALT) && !(key.mod & KMOD_CTRL)) {
        mods = key.mod;
        return;
    }
    const unsigned code = virtual_key(key.sym);
    modifiers(key.mod, !modifier_key(code));
    input.alt = (key.mod & KMOD_ALT) != 0;
    if (code == 0) return;
    if (apply_key(input, code) && text_on) {
        // Never throws: an unreadable or malformed clipboard pastes nothing.
        if (char* clip = SDL_GetClipboardText()) {
            if (valid_utf8(clip)) input.paste += clip;
            SDL_free(clip);
        }
    }
}

// SDL delivers whole code points, so no surrogate is ever left waiting for its partner.
// Control characters (tab, enter, backspace, delete) are keys, not text.
// SDL counts the preedit cursor in code points; Input carries byte offsets like every text
// position of the toolkit.
void Window::Impl::composing(const char* preedit, int cursor) {
    if (!text_on) return;
    const std::string_view s(preedit);
    if (!valid_utf8(s)) return;
    std::size_t at = 0;
    char32_t cp;
    for (int i = 0; i < cursor && at < s.size(); ++i) at += decode_utf8(s, at, cp);
    input.composition.assign(s);
    input.composition_cursor = at;
}

void Window::Impl::end_composition() {
    input.composition.clear();
    input.composition_cursor = 0;
}

void Window::Impl::typed(const char* text) {
    if (!text_on || input.ctrl || ((mods & KMOD_ALT) && !(mods & KMOD_CTRL))) return;
    const std::string_view s(text);
    if (!valid_utf8(s)) return;
    char32_t cp = 0;
    for (std::size_t at = 0; at < s.size();) {
        at += decode_utf8(s, at, cp);
        if (cp >= 0x20 && cp != 0x7F) append_utf8(input.text, cp);
    }
}

bool Window::Impl::fits(const SDL_Event& e) const {
    switch (e.type) {
    case SDL_KEYDOWN: {
        const SDL_Keysym& key = e.key.keysym;
        if ((key.mod & KMOD_ALT) && !(key.mod & KMOD_CTRL)) return true; // recorded nowhere
        const unsigned code = virtual_key(key.sym);
        return code == 0 || fits_key(input, code, (key.mod & KMOD_CTRL) != 0);
    }
    case SDL_MOUSEBUTTONDOWN:
        return (e.button.button != SDL_BUTTON_LEFT && e.button.button != SDL_BUTTON_RIGHT) ||
               fits_press(input);
    case SDL_MOUSEMOTION:
        return fits_motion(input);
    default:
        return true;
    }
}

void Window::Impl::handle(const SDL_Event& e) {
    switch (e.type) {
    case SDL_QUIT:
        open = false;
        break;
    case SDL_WINDOWEVENT:
        switch (e.window.event) {
        case SDL_WINDOWEVENT_CLOSE:
            open = false;
            break;
        case SDL_WINDOWEVENT_FOCUS_LOST:
            release_press();
            input.focus_lost = true;
            end_composition();
            break;
        case SDL_WINDOWEVENT_SIZE_CHANGED:
        case SDL_WINDOWEVENT_DISPLAY_CHANGED:
            update_scale();
            break;
        default:
            break;
        }
        break;
    case SDL_KEYDOWN:
        key_down(e.key.keysym);
        break;
    case SDL_KEYUP:
        modifiers(e.key.keysym.mod, false);
        break;
    case SDL_TEXTINPUT:
        end_composition(); // the committed text arrives here
        typed(e.text.text);
        break;
    case SDL_TEXTEDITING:
        composing(e.edit.text, e.edit.start);
        break;
    case SDL_MOUSEMOTION:
        input.mouse = {static_cast<float>(e.motion.x), static_cast<float>(e.motion.y)};
        break;
    case SDL_MOUSEBUTTONDOWN:
        input.mouse = {static_cast<float>(e.button.x), static_cast<float>(e.button.y)};
        modifiers(mods, true); // a shift-click quicker than a frame keeps its Shift
        if (e.button.button == SDL_BUTTON_LEFT) {
            input.mouse_down = true;
            input.mouse_pressed = true;
            SDL_CaptureMouse(SDL_TRUE); // a drag keeps reporting outside the window
        } else if (e.button.button == SDL_BUTTON_RIGHT) {
            input.right_pressed = true;
        }
        break;
    case SDL_MOUSEBUTTONUP:
        input.mouse = {static_cast<float>(e.button.x), static_cast<float>(e.button.y)};
        if (e.button.button == SDL_BUTTON_LEFT) {
            if (input.mouse_down) release_press();
        } else if (e.button.button == SDL_BUTTON_RIGHT) {
            input.right_released = true;
        }
        break;
    case SDL_MOUSEWHEEL: {
        const float notches = e.wheel.preciseY;
        input.wheel += e.wheel.direction == SDL_MOUSEWHEEL_FLIPPED ? -notches : notches;
        break;
    }
    default:
        break;
    }
}

// ---- Window -----------------------------------------------------------------

namespace {

// The window an event belongs to; 0 for process-wide events such as SDL_QUIT.
Uint32 event_window(const SDL_Event& e) {
    switch (e.type) {
    case SDL_WINDOWEVENT:
        return e.window.windowID;
    case SDL_KEYDOWN:
    case SDL_KEYUP:
        return e.key.windowID;
    case SDL_TEXTINPUT:
        return e.text.windowID;
    case SDL_TEXTEDITING:
        return e.edit.windowID;
    case SDL_MOUSEMOTION:
        return e.motion.windowID;
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP:
        return e.button.windowID;
    case SDL_MOUSEWHEEL:
        return e.wheel.windowID;
    default:
        return 0;
    }
}

} // namespace

Window::Window(const WindowOptions& options) : impl_(std::make_unique<Impl>()) {
    WindowState::check_size(options);
    impl_->create(options);
}

Window::~Window() { impl_->check_destroy(); }

bool Window::poll() {
    impl_->check();
    Impl& w = *impl_;
    w.begin();
    // As of the last key event taken, not SDL_GetModState(): a wait may already have pumped a
    // release that comes after a click still in the queue.
    w.modifiers(w.mods, false);

    // An event that does not fit the record goes back to the front of this window's own
    // queue, with the set-aside ones after it, and the poll ends there.
    std::vector<SDL_Event> events;
    {
        std::lock_guard lock(routing().mutex);
        events.swap(w.deferred);
    }
    const auto hold_back = [&w, &events](std::size_t from) {
        std::lock_guard lock(routing().mutex);
        w.deferred.insert(w.deferred.begin(), events.begin() + static_cast<std::ptrdiff_t>(from),
                          events.end());
    };
    for (std::size_t i = 0; i < events.size(); ++i) {
        if (!w.fits(events[i])) {
            hold_back(i);
            return w.open;
        }
        w.handle(events[i]);
    }
    SDL_Event e;
    while (SDL_PollEvent(&e)) {
        const Uint32 target = event_window(e);
        if (target == 0 || target == w.id) {
            if (!w.fits(e)) {
                events.assign(1, e);
                hold_back(0);
                break;
            }
            w.handle(e);
            continue;
        }
        std::lock_guard lock(routing().mutex);
        auto other = routing().deferred.find(target);
        if (other != routing().deferred.end()) other->second->push_back(e);
    }
    return w.open;
}

bool Window::wait(double seconds) {
    impl_->check();
    if (!(seconds >= 0)) throw std::invalid_argument("Wait time");
    if (!impl_->open) return true;
    {
        std::lock_guard lock(routing().mutex);
        if (!impl_->deferred.empty()) return true;
    }
    if (std::isinf(seconds)) {
        // 0 here is a failure, which would otherwise return at once forever.
        if (SDL_WaitEvent(nullptr) != 1) platform_error("Wait for events");
        return true;
    }
    // Rounded up, so that the wait never ends before the time asked for.
    const int ms = seconds < 1e6 ? static_cast<int>(std::ceil(seconds * 1000)) : 1000000000;
    return SDL_WaitEventTimeout(nullptr, ms) == 1;
}

void Window::swap() {
    impl_->check();
    SDL_GL_SwapWindow(impl_->window);
}

void Window::close() {
    impl_->check();
    impl_->open = false;
}

std::function<void()> Window::waker() const {
    impl_->check();
    // SDL's queue takes events from any thread, and refuses them once video has stopped.
    return [] {
        SDL_Event e{};
        e.type = SDL_USEREVENT;
        SDL_PushEvent(&e);
    };
}

void Window::make_current() {
    impl_->check();
    if (SDL_GL_MakeCurrent(impl_->window, impl_->context) != 0) platform_error("Make GL context current");
}

int Window::width() const {
    impl_->check();
    int w = 0;
    SDL_GL_GetDrawableSize(impl_->window, &w, nullptr);
    return w;
}

int Window::height() const {
    impl_->check();
    int h = 0;
    SDL_GL_GetDrawableSize(impl_->window, nullptr, &h);
    return h;
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
    static_cast<void>(wide(text));
    SDL_SetWindowTitle(impl_->window, text.c_str());
}

void Window::text_input(bool on) {
    impl_->check();
    if (impl_->text_on == on) return;
    impl_->text_on = on;
    if (on) {
        SDL_StartTextInput();
    } else {
        SDL_StopTextInput(); // cancels any composition
        impl_->end_composition();
    }
}

void Window::text_input_rect(Rect caret) {
    impl_->check();
    const Rect r = WindowState::caret_area(caret);
    SDL_Rect area{static_cast<int>(r.x), static_cast<int>(r.y), static_cast<int>(std::ceil(r.w)),
                  static_cast<int>(std::ceil(r.h))};
    SDL_SetTextInputRect(&area);
}

void Window::clipboard_text(const std::string& text) {
    impl_->check();
    static_cast<void>(wide(text));
    SDL_SetClipboardText(text.c_str()); // a clipboard that refuses stays as it was
}

void* Window::native_handle() const {
    impl_->check();
    return impl_->window;
}

} // namespace velmora::ui
