// Render-all: still frames, shots, the picker, table and palette overlays, the refraction
// proof and the report.
#include "gallery/render_all.hpp"

#include "velmora/renderer/png.hpp"
#include "velmora/widgets/file_browser.hpp"
#include "velmora/widgets/glass_settings.hpp"
#include "velmora/widgets/table.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <thread>

namespace gallery {

namespace {

using namespace velmora::ui;
namespace fs = std::filesystem;

constexpr unsigned back_buffer = 0x0405; // GL_BACK
constexpr float scroll_stop = 540;

class Run {
public:
    Run(Window& w, Renderer& r, Canvas& c, Gallery& g, std::string dir)
        : window(w), renderer(r), canvas(c), gallery(g), directory(std::move(dir)) {}

    Window& window;
    Renderer& renderer;
    Canvas& canvas;
    Gallery& gallery;
    std::string directory;

    // A still frame at time 1 with no swap; blank input has the pointer at (-1, -1).
    void frame(const Input& input = {}) {
        const int w = window.width();
        const int h = window.height();
        renderer.background(w, h, 1.0f, gallery.theme, true);
        renderer.begin(canvas, w, h, logical_width, logical_height, gallery.theme);
        gallery.frame(canvas, input, 1.0);
        renderer.render(canvas, w, h, input.mouse, 0, back_buffer);
    }
    Pixels pixels() { return renderer.read_pixels(window.width(), window.height()); }
    void shot(const std::string& name) { save_png(directory + name, pixels()); }
    void save(const std::string& name, const Pixels& p) { save_png(directory + name, p); }
};

// Opens the picker the way a user would, by Enter on the focused control, and waits for a
// file browser to finish its first listing.
void open_picker(Run& run, const std::string& name) {
    run.gallery.select(3);
    run.frame();
    auto picker = run.gallery.find("control." + name);
    if (!picker) throw std::runtime_error("Picker missing from gallery");
    if (auto* file = dynamic_cast<FilePicker*>(picker.get())) {
        const fs::path here = fs::current_path();
        fs::path path = here / "cpp" / "examples";
        if (!fs::exists(path)) path = here / "examples";
        if (fs::is_directory(path)) file->path(path);
    }
    run.gallery.focus(picker);
    Input enter;
    enter.enter = true;
    run.frame(enter);
    run.frame();
    if (auto* browser = dynamic_cast<FileBrowser*>(run.gallery.find("file-browser").get())) {
        for (int i = 0; i < 200 && browser->loading; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            run.frame();
        }
        if (browser->loading) throw std::runtime_error("File browser did not become ready");
    }
    run.shot("/overlay-" + name + ".png");
}

// Pixels whose RGB moved by 21 or more in sum, inside the window over the refraction card.
int changed_pixels(const Pixels& a, const Pixels& b) {
    int changed = 0;
    for (int y = 180; y <= 849 && y < a.height && y < b.height; ++y)
        for (int x = 1080; x <= 1779 && x < a.width && x < b.width; ++x) {
            const std::size_t i = (static_cast<std::size_t>(y) * static_cast<std::size_t>(a.width) +
                                   static_cast<std::size_t>(x)) *
                                  4;
            const std::size_t j = (static_cast<std::size_t>(y) * static_cast<std::size_t>(b.width) +
                                   static_cast<std::size_t>(x)) *
                                  4;
            int sum = 0;
            for (int c = 0; c < 3; ++c) sum += std::abs(int{a.data[i + c]} - int{b.data[j + c]});
            changed += sum >= 21;
        }
    return changed;
}

} // namespace

int render_all(Window& window, Renderer& renderer, Canvas& canvas, Gallery& gallery,
               const std::string& directory) {
    fs::create_directories(fs::path(directory));
    Run run(window, renderer, canvas, gallery, directory);
    gallery.forget_rendered();

    int gallery_shots = 0;
    for (int i = 0; i < static_cast<int>(gallery.sections().size()); ++i) {
        gallery.select(i);
        run.frame();
        const float m = gallery.content()->max_scroll();
        const int n = static_cast<int>(std::ceil(m / scroll_stop));
        for (int s = 0; s <= n; ++s) {
            gallery.content()->scroll(std::min(static_cast<float>(s) * scroll_stop, m));
            run.frame();
            run.shot("/gallery-" + std::to_string(i + 1) + "-" + std::to_string(s + 1) + ".png");
        }
        gallery_shots += n + 1;
    }

    for (const char* name : {"ColorPicker", "DatePicker", "FilePicker", "DirectoryPicker"})
        open_picker(run, name);

    gallery.select(6);
    run.frame();
    if (auto table = std::dynamic_pointer_cast<Table>(gallery.find("control.Table"))) {
        table->select(0);
        gallery.focus(table);
    }
    Input enter;
    enter.enter = true;
    run.frame(enter);
    run.shot("/overlay-Table.png");

    gallery.select(0);
    Input palette;
    palette.key = 75;
    palette.ctrl = true;
    run.frame(palette);
    run.frame();
    run.shot("/overlay-CommandPalette.png");

    gallery.select(material_page);
    Theme& theme = gallery.theme;
    theme.blur = 0;
    theme.sigma = 0;
    theme.tint = 0;
    theme.refraction = 0;
    auto& panel = dynamic_cast<GlassSettingsPanel&>(*gallery.content()->children.front());
    panel.sync();
    run.frame();
    const Pixels flat = run.pixels();
    run.save("/refraction-0.png", flat);
    theme.refraction = 30;
    panel.sync();
    run.frame();
    const Pixels bent = run.pixels();
    run.save("/refraction-30.png", bent);
    const int changed = changed_pixels(flat, bent);

    std::string controls;
    int rendered = 0;
    for (const ControlDescriptor& row : control_registry()) {
        if (!gallery.rendered_names().count(row.name)) {
            std::cerr << "NOT RENDERED: " << row.name << '\n';
            continue;
        }
        controls += (rendered++ ? ",\"" : "\"") + std::string(row.name) + "\"";
    }
    std::ofstream report(fs::path(directory + "/gallery-report.json"), std::ios::binary);
    report << "{\"version\":\"" << version << "\",\"width\":" << window.width()
           << ",\"height\":" << window.height() << ",\"galleryScreenshots\":" << gallery_shots
           << ",\"overlayScreenshots\":6,\"controls\":[" << controls
           << "],\"renderedControlCount\":" << rendered << ",\"tint\":0,\"blur\":0,\"sigma\":0"
           << ",\"refractionChangedPixels\":" << changed << "}";
    report.close();
    if (!report) throw std::runtime_error("Report output");
    std::cout << "Gallery rendered " << rendered << " / 68; refraction changed " << changed << " pixels\n";
    return rendered != 68 || changed < 1001 ? 2 : 0;
}

} // namespace gallery
