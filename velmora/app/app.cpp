// App: the frame, the loop that draws on demand, and the headless runs.
#include "velmora/app/app.hpp"

#include "velmora/gpu/vg.hpp"
#include "velmora/immediate/ui.hpp"
#include "velmora/renderer/png.hpp"
#include "velmora/scene/scene.hpp"

#include <algorithm>
#include <chrono>
#include <limits>
#include <stdexcept>
#include <utility>

namespace velmora::ui {

namespace {

constexpr double frame_gap = 0.004; // seconds at least between the starts of two frames
constexpr double never = std::numeric_limits<double>::infinity();

WindowOptions window_options(const AppOptions& options) {
    if (!in_range(options.logical.x, 0, 16384) || !in_range(options.logical.y, 0, 16384) ||
        options.frames < 0)
        throw std::invalid_argument("App options");
    WindowOptions w;
    w.title = options.title;
    w.width = options.width;
    w.height = options.height;
    w.visible = options.visible;
    return w;
}

} // namespace

// What the loop needs of what it draws, a scene, the immediate layer or a plain painter.
struct App::Client {
    std::function<const Theme&()> theme;
    std::function<void(const Input&, double)> record; // between Renderer::begin and render
    std::function<bool()> text_input;
    std::function<Rect()> caret; // logical units; empty when none
    std::function<double()> due; // the next frame the drawing asked for
};

App::App(AppOptions options)
    : options_(std::move(options)), window_(window_options(options_)), renderer_(), canvas_() {}

App::~App() {
    // The renderer releases its GL objects in this window's context, whatever another window made current.
    try {
        window_.make_current();
    } catch (const std::exception&) {
    }
}

Vec2 App::logical() const {
    if (options_.logical.x > 0 && options_.logical.y > 0) return options_.logical;
    const float scale = window_.dpi_scale();
    return {static_cast<float>(window_.width()) / scale, static_cast<float>(window_.height()) / scale};
}

void App::draw(const Client& client, Input input, double t) {
    const int w = window_.width(), h = window_.height();
    const Vec2 size = logical();
    const Theme& theme = client.theme();
    window_.make_current(); // another Window may have taken the thread's context
    // The background is drawn first, straight into the back buffer: it is what the glass refracts.
    renderer_.background(w, h, options_.animate_background ? static_cast<float>(t) : 0.0f, theme,
                         options_.grid);
    renderer_.begin(canvas_, w, h, size.x, size.y, theme);
    client.record(input, t);
    renderer_.render(canvas_, w, h, input.mouse, 0, vg_back_buffer);
}

void App::loop(const Client& client) {
    const auto start = std::chrono::steady_clock::now();
    const auto clock = [start] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    double due = -never; // the first frame comes at once
    double last = -never;
    for (int frame = 1;; ++frame) {
        const double at = std::max(due, last + frame_gap);
        bool woken = window_.wait(std::max(at - clock(), 0.0));
        // The platform's timer may be coarser than the clock; a frame never comes early.
        for (double now = clock(); !woken && now < at; now = clock()) woken = window_.wait(at - now);
        if (!window_.poll()) return;
        const double t = clock();
        // The window reports the pointer in its own units; the drawing works in logical ones.
        Input input = window_.input();
        const Vec2 size = logical();
        input.mouse = window_.to_logical(input.mouse, size);
        draw(client, input, t);
        window_.text_input(client.text_input());
        // The input method's candidate window follows the caret, back in window units.
        if (const Rect caret = client.caret(); caret.h > 0) {
            const Vec2 unit = window_.to_logical({1, 1}, size);
            window_.text_input_rect({caret.x / unit.x, caret.y / unit.y, caret.w / unit.x, caret.h / unit.y});
        }
        window_.swap();
        if (frame == options_.frames) return;
        last = t;
        // A counted run draws its frames back to back: waiting on a still scene would never end.
        const bool at_once = options_.animate_background || options_.frames > 0 || woken || frame == 1;
        due = at_once ? -never : client.due();
    }
}

void App::save(const Client& client, const std::string& path, const std::vector<ScriptedFrame>& script) {
    if (script.empty()) throw std::invalid_argument("Empty script");
    for (const ScriptedFrame& frame : script) draw(client, frame.input, frame.time);
    save_png(path, renderer_.read_pixels(window_.width(), window_.height()));
}

// ---- the three kinds of drawing ---------------------------------------------------------------------

App::Client App::client(Scene& scene) {
    return {[&scene]() -> const Theme& { return scene.theme; },
            [this, &scene](const Input& input, double t) { scene.frame(canvas_, input, t); },
            [&scene] { return scene.wants_text_input(); }, [&scene] { return scene.text_input_rect(); },
            [&scene] { return scene.redraw_due(); }};
}

App::Client App::client(Ui& ui, const std::function<void(Ui&)>& build) {
    ui.clipboard([this](const std::string& text) { window_.clipboard_text(text); });
    return {[this]() -> const Theme& { return options_.theme; },
            [this, &ui, &build](const Input& input, double) {
                ui.begin(canvas_, input);
                build(ui);
                ui.end();
            },
            [&ui] { return ui.text_input(); }, [] { return Rect{}; }, [] { return never; }};
}

App::Client App::client(const std::function<void(Canvas&, double)>& paint) {
    return {[this]() -> const Theme& { return options_.theme; },
            [this, &paint](const Input&, double t) { paint(canvas_, t); }, [] { return false; },
            [] { return Rect{}; }, [] { return never; }};
}

void App::run(Scene& scene) {
    // The window's writer is lent for the run only: the scene may outlive this App.
    struct Lent {
        Scene* scene = nullptr;
        ~Lent() {
            if (scene) scene->clipboard(nullptr);
        }
    } lent;
    if (!scene.clipboard()) {
        scene.clipboard([this](const std::string& text) { window_.clipboard_text(text); });
        lent.scene = &scene;
    }
    loop(client(scene));
}

void App::run(const std::function<void(Ui&)>& build) {
    Ui ui;
    loop(client(ui, build));
}

void App::run(const std::function<void(Canvas&, double)>& paint) { loop(client(paint)); }

void App::render_png(Scene& scene, const std::string& path, const std::vector<ScriptedFrame>& script) {
    save(client(scene), path, script);
}

void App::render_png(const std::function<void(Ui&)>& build, const std::string& path,
                     const std::vector<ScriptedFrame>& script) {
    Ui ui;
    save(client(ui, build), path, script);
}

void App::render_png(const std::function<void(Canvas&, double)>& paint, const std::string& path,
                     const std::vector<ScriptedFrame>& script) {
    save(client(paint), path, script);
}

} // namespace velmora::ui
