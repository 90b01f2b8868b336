// Determinism within one process: a page rendered again after every other page has been
// through the renderer (new glyphs, a fuller atlas, other backdrops) gives the same PNG bytes.
// Two processes are compared by the render-all test, which runs the gallery twice.
#include "gallery/gallery.hpp"

#include "gl_context.hpp"
#include "velmora/core/canvas.hpp"
#include "velmora/renderer/png.hpp"
#include "velmora/renderer/renderer.hpp"
#include "velmora/widgets/containers.hpp"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace ui = velmora::ui;
namespace fs = std::filesystem;

constexpr int width = 640;
constexpr int height = 400;

class Pages {
public:
    velmora::test::GlTestContext context{width, height};
    ui::Renderer renderer;
    ui::Canvas canvas;
    gallery::Gallery scene;
    fs::path directory = fs::temp_directory_path() / "velmora-determinism";

    // The page at the foot of its scroll range, so that the scroll pane's clip and the lower
    // cards are part of the picture; a still frame at a fixed time.
    std::string render(int page, const std::string& name) {
        scene.select(page);
        for (int i = 0; i < 2; ++i) {
            scene.content()->scroll(scene.content()->max_scroll());
            renderer.background(width, height, 1.0f, scene.theme, true);
            renderer.begin(canvas, width, height, gallery::logical_width, gallery::logical_height,
                           scene.theme);
            scene.frame(canvas, {}, 1.0);
            renderer.render(canvas, width, height, {-1, -1}, 0, GL_BACK);
        }
        fs::create_directories(directory);
        const fs::path path = directory / (name + ".png");
        ui::save_png(path.string(), renderer.read_pixels(width, height));
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }
};

TEST(Determinism, EveryPageRendersToTheSameBytesAfterAllTheOthers) {
    Pages pages;
    const int count = static_cast<int>(pages.scene.sections().size());
    std::vector<std::string> first;
    for (int i = 0; i < count; ++i) first.push_back(pages.render(i, "first-" + std::to_string(i)));
    // In reverse, so that each page follows a different one than the first time.
    for (int i = count - 1; i >= 0; --i) {
        const std::string again = pages.render(i, "again-" + std::to_string(i));
        EXPECT_TRUE(again.size() > 1000 && again == first[static_cast<std::size_t>(i)])
            << "page " << i + 1 << " changed; see " << pages.directory;
    }
    if (!HasFailure()) fs::remove_all(pages.directory);
}

} // namespace
