// A settings window built with the immediate-mode Ui alone.
//
//     immediate_settings                 opens the window (hidden when there is no display)
//     immediate_settings --png out.png   renders one frame headless and saves it
#include "velmora/core/canvas.hpp"
#include "velmora/gpu/vg.hpp"
#include "velmora/immediate/ui.hpp"
#include "velmora/platform/window.hpp"
#include "velmora/renderer/png.hpp"
#include "velmora/renderer/renderer.hpp"

#include <chrono>
#include <cstring>
#include <exception>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace velmora::ui;

constexpr float logical_w = 960;
constexpr float logical_h = 640;

struct Settings {
    std::string name = "张三";
    double scale = 1.25;
    float volume = 0.6f;
    bool notifications = true;
    bool autosave = false;
    int quality = 1;
    int language = 0;
    int section = 0;
    int recent = -1;
    Theme theme;
};

// The whole interface: called anew every frame.
void settings_window(Ui& ui, Settings& s) {
    ui.panel({24, 24, 450, 592}, "设置 Settings", true);
    ui.tabs("section", {44, 70, 410, 34}, {"General", "Audio", "About"}, s.section);

    float y = 124;
    const auto row = [&](float h = 34) {
        const Rect r{44, y, 410, h};
        y += h + 10;
        return r;
    };
    if (s.section == 0) {
        ui.label(row(20), "Name");
        ui.text_field("name", row(), s.name);
        ui.label(row(20), "Interface scale");
        ui.number_field("scale", row(), s.scale, 0.5, 3.0, 2);
        ui.checkbox("autosave", row(), "Save automatically", s.autosave);
        ui.toggle("notify", row(), "Notifications", s.notifications);
        const Rect language = row();
        ui.combo("language", language, {"中文", "English", "Deutsch"}, s.language);
        ui.tooltip(language, "Takes effect after a restart");
    } else if (s.section == 1) {
        ui.label(row(20), "Volume");
        ui.slider("volume", row(), s.volume, 0.0f, 1.0f);
        ui.progress(row(10), s.volume);
        ui.separator(row(1));
        const char* levels[] = {"Low", "Balanced", "High"};
        for (int i = 0; i < 3; ++i) ui.radio("quality" + std::to_string(i), row(28), levels[i], s.quality, i);
    } else {
        ui.label(row(20), "Recent files");
        ui.list("recent", row(200),
                {"notes.txt", "预算.xlsx", "photo.png", "draft.md", "plan.pdf", "todo.txt", "report.docx",
                 "music.flac"},
                s.recent);
        ui.badge({44, y, 70, 26}, "v0.2.0");
    }
    if (ui.button("reset", {44, 556, 130, 40}, "Reset")) s = Settings{};

    ui.panel({494, 24, 442, 430}, "Material", true);
    ui.material_settings("material", {514, 70, 402, 400}, s.theme);
}

} // namespace

int main(int argc, char** argv) try {
    std::string png;
    for (int i = 1; i + 1 < argc; ++i)
        if (std::strcmp(argv[i], "--png") == 0) png = argv[i + 1];

    WindowOptions options;
    options.title = "VelmoraUI immediate settings";
    options.width = static_cast<int>(logical_w);
    options.height = static_cast<int>(logical_h);
    options.visible = png.empty();
    Window window(options);
    Renderer renderer;
    Canvas canvas;
    Ui ui;
    Settings settings;
    ui.clipboard([&window](const std::string& text) { window.clipboard_text(text); });
    const auto start = std::chrono::steady_clock::now();

    const auto frame = [&](Input input) {
        const int w = window.width();
        const int h = window.height();
        const float t = std::chrono::duration<float>(std::chrono::steady_clock::now() - start).count();
        input.mouse = window.to_logical(input.mouse, {logical_w, logical_h});
        renderer.begin(canvas, w, h, logical_w, logical_h, settings.theme);
        ui.begin(canvas, input);
        settings_window(ui, settings);
        ui.end();
        renderer.background(w, h, t, settings.theme, false);
        renderer.render(canvas, w, h, input.mouse, 0, vg_back_buffer);
    };

    if (!png.empty()) {
        // Click the language list open and rest the pointer on an option, so the shot shows a popup.
        Input in;
        in.mouse = {200, 377};
        in.mouse_down = in.mouse_pressed = true;
        frame(in);
        in.mouse_down = in.mouse_pressed = false;
        in.mouse_released = true;
        frame(in);
        in.mouse_released = false;
        in.mouse = {200, 447};
        frame(in);
        save_png(png, renderer.read_pixels(window.width(), window.height()));
        std::cout << "wrote " << png << '\n';
        return 0;
    }
    while (window.poll()) {
        frame(window.input());
        window.text_input(ui.text_input());
        window.swap();
        std::this_thread::sleep_for(std::chrono::milliseconds(4));
    }
    return 0;
} catch (const std::exception& e) {
    std::cerr << e.what() << '\n';
    return 1;
}
