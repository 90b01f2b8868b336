// Renderer: the one-per-process rule, the thread and context checks, and the frame calls' limits.
#include "renderer_fixture.hpp"
#include "velmora/core/utf8.hpp"
#include "velmora/gpu/vg.hpp"

#include <SDL.h>
#include <cmath>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <thread>

#include <unistd.h>

namespace {

using velmora::test::RendererTest;
using velmora::test::thrown;
using namespace velmora::ui;

// Makes `context` current for its lifetime, then puts back the one that was current before.
class OtherContext {
public:
    OtherContext() : window_(SDL_GL_GetCurrentWindow()), previous_(SDL_GL_GetCurrentContext()) {}
    ~OtherContext() { SDL_GL_MakeCurrent(window_, previous_); }
    void none() { SDL_GL_MakeCurrent(window_, nullptr); }

private:
    SDL_Window* window_;
    SDL_GLContext previous_;
};

TEST_F(RendererTest, OneAtATimeOnlyWithAContextAndANewOneWorksAfterTheFirstIsGone) {
    EXPECT_EQ(thrown<std::logic_error>([] { Renderer second; }), "One renderer per process");
    renderer.reset();
    {
        OtherContext restore;
        restore.none();
        EXPECT_EQ(thrown<std::logic_error>([] { Renderer r; }),
                  "Make an OpenGL context current before Renderer construction");
    }
    renderer.emplace(); // made, destroyed, refused, made again: a fully working one
    renderer->begin(canvas, size, size, size, size, theme);
    canvas.text("重建 again", {4, 4}, 14, 0xFFFFFFFF, 400);
    EXPECT_GT(canvas.commands().size(), 0u);
    renderer->render(canvas, size, size, {-1, -1}, 0, vg_back_buffer);
    EXPECT_FALSE(renderer->device().empty());
}

TEST_F(RendererTest, CallsFromAnotherThreadOrUnderAnotherContextAreRefused) {
    std::string begin_message, measure_message;
    std::thread([&] {
        begin_message = thrown<std::logic_error>([&] { renderer->begin(canvas, 8, 8, 8, 8, theme); });
        measure_message = thrown<std::logic_error>([&] { renderer->measure("a", 12, 400); });
    }).join();
    EXPECT_EQ(begin_message, "Renderer thread violation");
    EXPECT_EQ(measure_message, "Renderer thread violation");
    {
        OtherContext restore;
        velmora::test::GlTestContext other(16, 16);
        EXPECT_EQ(thrown<std::logic_error>([&] { renderer->read_pixels(8, 8); }),
                  "Renderer context is no longer current");
        EXPECT_EQ(thrown<std::logic_error>([&] { canvas.text_width("a", 12, 400); }),
                  "Renderer context is no longer current");
    }
    EXPECT_NO_THROW(renderer->read_pixels(8, 8)); // accepted again once its own is back
}

TEST_F(RendererTest, FrameSizesAreCheckedAtTheirLimits) {
    EXPECT_NO_THROW(renderer->begin(canvas, 16384, 16384, 1280, 800, theme));
    for (auto [w, h] : {std::pair{16385, 10}, {10, 0}})
        EXPECT_EQ(thrown<std::invalid_argument>([&] { renderer->begin(canvas, w, h, 10, 10, theme); }),
                  "Pixel viewport");
    EXPECT_NO_THROW(renderer->read_pixels(16384, 1));
    for (auto [w, h] : {std::pair{1, 16385}, {0, 1}})
        EXPECT_EQ(thrown<std::invalid_argument>([&] { renderer->read_pixels(w, h); }),
                  "Screenshot dimensions");

    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (auto [w, t] : {std::pair{size, nan}, {0, 1.0f}})
        EXPECT_EQ(thrown<std::invalid_argument>([&] { renderer->background(w, size, t, theme, false); }),
                  "Background viewport/time");
    renderer->begin(canvas, size, size, size, size, theme);
    EXPECT_EQ(thrown<std::invalid_argument>([&] {
                  renderer->render(canvas, size, size, {nan, 0}, 0, vg_back_buffer);
              }),
              "Render viewport/pointer");
}

TEST_F(RendererTest, RenderNeedsTheCanvasBegunHereWithItsClipsClosedAndReportsTheBackendsError) {
    Canvas plain;
    plain.begin(size, size, theme);
    EXPECT_EQ(thrown<std::logic_error>([&] { renderer->render(plain, size, size, {}, 0, vg_back_buffer); }),
              "Call Renderer::begin first");
    EXPECT_EQ(canvas.renderer(), &*renderer);
    canvas.push_clip({0, 0, 10, 10}, 2);
    EXPECT_EQ(thrown<std::logic_error>([&] { renderer->render(canvas, size, size, {}, 0, vg_back_buffer); }),
              "Unbalanced shaped clip pushes");
    canvas.pop_clip();
    canvas.add(1, {0, 0, 1, 1}, 0).slot[0] = NAN; // a kind the backend refuses: its error comes back
    EXPECT_THROW(renderer->render(canvas, size, size, {}, 0, vg_back_buffer), std::runtime_error);
}

TEST_F(RendererTest, ReadPixelsGivesTheTopRowFirst) {
    renderer->background(size, size, 0, theme, false);
    canvas.fill({0, 0, size, 2}, 0xFFFF0000, 0);
    canvas.fill({0, 64, size, 1}, 0xFF00FF00, 0); // the middle row when 127 rows are read
    renderer->render(canvas, size, size, {-1, -1}, 0, vg_back_buffer);
    for (int height : {size, 127}) {
        // The bottom `height` rows of the frame: frame row f is row f + height - size.
        const Pixels shot = renderer->read_pixels(size, height);
        const auto at = [&](int row) { return &shot.data[(static_cast<std::size_t>(row) * size + 5) * 4]; };
        if (height == size) {
            EXPECT_GT(at(0)[0], 200);
            EXPECT_LT(at(0)[1], 60);
        }
        EXPECT_GT(at(64 + height - size)[1], 200) << height;
        EXPECT_LT(at(64 + height - size)[0], 60) << height;
        EXPECT_LT(at(height - 1)[0], 200) << height;
    }
}

// The process's address space in bytes, as the kernel counts it.
long mapped_bytes() {
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * sysconf(_SC_PAGESIZE);
}

// Font faces are opened once per file and size; one opened per glyph would map its file again
// for every new character, megabytes each for a CJK font.
TEST_F(RendererTest, NewGlyphsReuseTheOpenFontFaces) {
    renderer->begin(canvas, size, size, size, size, theme);
    renderer->measure("一", 14, 400);
    const long before = mapped_bytes();
    std::string text;
    for (char32_t c = 0x4E01; c < 0x4E01 + 300; ++c) append_utf8(text, c);
    renderer->measure(text, 14, 400);
    EXPECT_LT(mapped_bytes() - before, 64L << 20);
}

} // namespace
