// velmora-gallery: the demonstration program.
//
//     velmora-gallery                       interactive window
//     velmora-gallery --smoke               three complete frames on a hidden window
//     velmora-gallery --render-all [x dir]  every page and overlay to PNG, and a report
//
// Exit codes: 0 normal, 1 an exception, 2 render-all missed its targets.
#include "gallery/gallery.hpp"
#include "gallery/render_all.hpp"

#include "velmora/app/app.hpp"

#include <exception>
#include <iostream>
#include <string>

int main(int argc, char** argv) {
    using namespace velmora::ui;
    try {
        const std::string mode = argc > 1 ? argv[1] : "";
        const bool smoke = mode == "--smoke";
        const bool render_all = mode == "--render-all";
        const std::string directory = argc >= 3 ? argv[2] : "gallery-renders";

        AppOptions options;
        options.title = std::string("VelmoraUI C++ / 68 controls / ") + gallery::version;
        options.width = render_all ? 1920 : 1280;
        options.height = render_all ? 1200 : 800;
        options.logical = {gallery::logical_width, gallery::logical_height};
        options.visible = !smoke && !render_all;
        options.grid = true;
        options.animate_background = true;
        options.frames = smoke ? 3 : 0;
        App app(options);
        gallery::Gallery scene;
        // The one road from the controls to the system clipboard.
        scene.clipboard([&app](const std::string& text) { app.window().clipboard_text(text); });

        std::cout << "VelmoraUI " << gallery::version << " / " << app.renderer().device() << '\n';
        if (render_all)
            return gallery::render_all(app.window(), app.renderer(), app.canvas(), scene, directory);
        app.run(scene);
        return 0;
    } catch (const std::exception& e) {
        std::cerr << e.what() << '\n';
        return 1;
    }
}
