// A settings window built with the immediate-mode Ui alone.
//
//     immediate_settings                 opens the window (hidden when there is no display)
//     immediate_settings --png out.png   renders one frame headless and saves it
#include "velmora/app/app.hpp"
#include "velmora/immediate/ui.hpp"

#include <cstring>
#include <exception>
#include <iostream>
#include <string>
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

    App app({.title = "VelmoraUI immediate settings",
             .width = static_cast<int>(logical_w),
             .height = static_cast<int>(logical_h),
             .logical = {logical_w, logical_h},
             .visible = png.empty()});
    Settings settings;
    const auto build = [&](Ui& ui) {
        settings_window(ui, settings);
        app.theme(settings.theme); // the material settings edit it; the next frame draws with it
    };
    if (png.empty()) {
        app.run(build);
        return 0;
    }
    // Click the language list open and rest the pointer on an option, so the shot shows a popup.
    std::vector<ScriptedFrame> script(3);
    script[0].input.mouse = {200, 377};
    script[0].input.mouse_down = script[0].input.mouse_pressed = true;
    script[1].input.mouse = {200, 377};
    script[1].input.mouse_released = true;
    script[2].input.mouse = {200, 447};
    app.render_png(build, png, script);
    std::cout << "wrote " << png << '\n';
    return 0;
} catch (const std::exception& e) {
    std::cerr << e.what() << '\n';
    return 1;
}
