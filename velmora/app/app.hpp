// App: the loop around a Window, a Renderer and a Canvas that every program would otherwise
// write, and that draws only when something changed.
//
//     App app({.title = "Hello", .width = 480, .height = 240});
//     Scene scene;
//     scene.root()->emplace<Button>("OK");
//     app.run(scene); // returns when the window closes
//
// A frame is drawn when input arrives; once more right after it, so that whatever the events
// changed and the next tick picks up shows; when the scene asked for one (Scene::redraw_at);
// and all the time with `animate_background`. Frames start at least 4 ms apart. In between,
// the runner sleeps in Window::wait. Unless the background animates, the renderer redraws only
// what changed (Renderer::partial), and a frame in which nothing changed draws and presents
// nothing. The pieces stay public: a program with its own loop does
// by hand what `run` does, with `window()`, `renderer()` and `canvas()`.
//
// Like the Window it owns, an App belongs to the thread that made it.
#pragma once

#include "velmora/core/canvas.hpp"
#include "velmora/core/export.hpp"
#include "velmora/core/geometry.hpp"
#include "velmora/core/theme.hpp"
#include "velmora/platform/input.hpp"
#include "velmora/platform/window.hpp"
#include "velmora/renderer/renderer.hpp"

#include <functional>
#include <string>
#include <vector>

namespace velmora::ui {

class Scene;
class Ui;

struct AppOptions {
    std::string title; // UTF-8
    int width = 1280;  // the window's client size in pixels
    int height = 800;
    Vec2 logical{};      // the drawing's size in logical units; zero: the window's size in its own units
    bool visible = true; // false: a hidden window, for unattended runs
    Theme theme{};       // the immediate layer's and a drawing's; a Scene draws with its own
    bool grid = false;   // the background's faint grid
    bool animate_background = false; // redraw all the time so the background keeps moving
    int frames = 0;    // stop after this many frames, drawn back to back; 0: when the window closes
    bool vsync = true; // a visible window presents at the display's refresh; hidden ones never wait
};

// One frame of a headless run: its time on the frame clock and what the user did, the pointer
// in logical units.
struct ScriptedFrame {
    double time = 0;
    Input input;
};

class VELMORA_API App {
public:
    // Throws std::invalid_argument "App options" for a logical size outside 0 to 16384 or a
    // negative frame count, and what Window and Renderer throw.
    explicit App(AppOptions options = {});
    ~App();
    App(const App&) = delete;
    App& operator=(const App&) = delete;

    Window& window() { return window_; }
    Renderer& renderer() { return renderer_; }
    Canvas& canvas() { return canvas_; }
    const AppOptions& options() const { return options_; }
    const Theme& theme() const { return options_.theme; }
    void theme(const Theme& theme) { options_.theme = theme; }

    // Draws the scene until the window closes. A scene without a clipboard writer gets the
    // window's for the run.
    void run(Scene& scene);
    // Calls `build` between Ui::begin and Ui::end for each frame, until the window closes.
    void run(const std::function<void(Ui&)>& build);
    // Draws with `paint` straight onto the canvas, for programs without controls.
    void run(const std::function<void(Canvas&, double)>& paint);
    // Draws the script's frames in turn, without polling or presenting, and saves the last as
    // a PNG. Throws std::invalid_argument "Empty script".
    void render_png(Scene& scene, const std::string& path, const std::vector<ScriptedFrame>& script);
    void render_png(const std::function<void(Ui&)>& build, const std::string& path,
                    const std::vector<ScriptedFrame>& script);
    void render_png(const std::function<void(Canvas&, double)>& paint, const std::string& path,
                    const std::vector<ScriptedFrame>& script);

private:
    struct Client;
    Client client(Scene& scene);
    Client client(Ui& ui, const std::function<void(Ui&)>& build);
    Client client(const std::function<void(Canvas&, double)>& paint);
    void loop(const Client& client);
    bool draw(const Client& client, Input input, double t);
    void save(const Client& client, const std::string& path, const std::vector<ScriptedFrame>& script);
    Vec2 logical() const;

    AppOptions options_;
    Window window_;
    Renderer renderer_;
    Canvas canvas_;
};

} // namespace velmora::ui
