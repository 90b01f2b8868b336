// velmora-gallery: the demonstration program.
//
//     velmora-gallery                       interactive window
//     velmora-gallery --smoke               three complete frames on a hidden window
//     velmora-gallery --render-all [x dir]  every page and overlay to PNG, and a report
//
// Exit codes: 0 normal, 1 an exception, 2 render-all missed its targets.
#include "gallery/gallery.hpp"
#include "gallery/render_all.hpp"

#include "velmora/core/canvas.hpp"
#include "velmora/platform/window.hpp"
#include "velmora/renderer/renderer.hpp"

#include <chrono>
#include <exception>
#include <iostream>
#include <string>
#include <thread>

namespace {

using namespace velmora::ui;

constexpr unsigned back_buffer = 0x0405; // GL_BACK

} // namespace

int main(int argc, char** argv) {
    try {
        const std::string mode = argc > 1 ? argv[1] : "";
        const bool smoke = mode == "--smoke";
        const bool render_all = mode == "--render-all";
        const std::string directory = argc >= 3 ? argv[2] : "gallery-renders";

        WindowOptions options;
        options.title = std::string("VelmoraUI C++ / 68 controls / ") + gallery::version;
        options.width = render_all ? 1920 : 1280;
        options.height = render_all ? 1200 : 800;
        options.visible = !smoke && !render_all;
        Window window(options);
        Renderer renderer;
        Canvas canvas;
        gallery::Gallery scene;
        // The one road from the controls to the system clipboard.
        scene.clipboard([&window](const std::string& text) { window.clipboard_text(text); });

        std::cout << "VelmoraUI " << gallery::version << " / " << renderer.device() << '\n';
        const auto start = std::chrono::steady_clock::now();
        if (render_all) return gallery::render_all(window, renderer, canvas, scene, directory);

        for (int frame = 1; window.poll(); ++frame) {
            const double t = static_cast<double>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                                     std::chrono::steady_clock::now() - start)
                                                     .count()) /
                             1000000000.0;
            // The window reports the pointer in its own units; the scene works in the fixed
            // logical canvas, whatever the window's size.
            Input input = window.input();
            input.mouse = window.to_logical(input.mouse, {gallery::logical_width, gallery::logical_height});

            renderer.background(window.width(), window.height(), static_cast<float>(t), scene.theme, true);
            renderer.begin(canvas, window.width(), window.height(), gallery::logical_width,
                           gallery::logical_height, scene.theme);
            scene.frame(canvas, input, t);
            renderer.render(canvas, window.width(), window.height(), input.mouse, 0, back_buffer);
            window.text_input(scene.wants_text_input());
            // The input method's candidate window follows the caret, back in window units.
            const Rect caret = scene.text_input_rect();
            if (caret.h > 0) {
                const Vec2 unit =
                    window.to_logical({1, 1}, {gallery::logical_width, gallery::logical_height});
                window.text_input_rect(
                    {caret.x / unit.x, caret.y / unit.y, caret.w / unit.x, caret.h / unit.y});
            }
            window.swap();
            if (smoke && frame == 3) return 0;
            std::this_thread::sleep_for(std::chrono::milliseconds(4));
        }
        return 0;
    } catch (const std::exception& e) {
        std::cerr << e.what() << '\n';
        return 1;
    }
}
