// Renderer: the one-per-process rule, the thread and context checks, and the frame calls' limits.
#include "renderer_fixture.hpp"
#include "velmora/core/utf8.hpp"
#include "velmora/gpu/vg.hpp"

#include <SDL.h>
#include <cmath>
#include <fstream>
#include <functional>
#include <limits>
#include <stdexcept>
#include <thread>

#include <unistd.h>

namespace {

using velmora::test::RendererTest;
using velmora::test::thrown;
using namespace velmora::ui;

TEST_F(RendererTest, OneAtATimeOnlyWithAContextAndANewOneWorksAfterTheFirstIsGone) {
    EXPECT_EQ(thrown<std::logic_error>([] { Renderer second; }), "One renderer per process");
    renderer.reset();
    SDL_Window* window = SDL_GL_GetCurrentWindow();
    SDL_GLContext own = SDL_GL_GetCurrentContext();
    SDL_GL_MakeCurrent(window, nullptr);
    EXPECT_EQ(thrown<std::logic_error>([] { Renderer r; }),
              "Make an OpenGL context current before Renderer construction");
    SDL_GL_MakeCurrent(window, own);
    renderer.emplace(); // made, destroyed, refused, made again: a fully working one
    renderer->begin(canvas, size, size, size, size, theme);
    canvas.text("重建 again", {4, 4}, 14, 0xFFFFFFFF, 400);
    EXPECT_GT(canvas.commands().size(), 0u);
    renderer->render(canvas, size, size, {-1, -1}, 0, vg_back_buffer);
    EXPECT_FALSE(renderer->device().empty());
}

TEST_F(RendererTest, CallsFromAnotherThreadOrUnderAnotherContextAreRefused) {
    std::string messages;
    std::thread([&] {
        messages = thrown<std::logic_error>([&] { renderer->begin(canvas, 8, 8, 8, 8, theme); }) + "; " +
                   thrown<std::logic_error>([&] { renderer->measure("a", 12, 400); });
    }).join();
    EXPECT_EQ(messages, "Renderer thread violation; Renderer thread violation");
    SDL_Window* window = SDL_GL_GetCurrentWindow();
    SDL_GLContext own = SDL_GL_GetCurrentContext();
    {
        velmora::test::GlTestContext other(16, 16);
        EXPECT_EQ(thrown<std::logic_error>([&] { renderer->read_pixels(8, 8); }) + "; " +
                      thrown<std::logic_error>([&] { canvas.text_width("a", 12, 400); }),
                  "Renderer context is no longer current; Renderer context is no longer current");
    }
    SDL_GL_MakeCurrent(window, own);
    EXPECT_NO_THROW(renderer->read_pixels(8, 8)); // accepted again once its own is back
}

TEST_F(RendererTest, FrameSizesAreCheckedAtTheirLimits) {
    EXPECT_NO_THROW(renderer->begin(canvas, 16384, 16384, 1280, 800, theme));
    EXPECT_NO_THROW(renderer->read_pixels(16384, 1));
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::pair<const char*, std::function<void()>> refused[] = {
        {"Pixel viewport", [&] { renderer->begin(canvas, 16385, 10, 10, 10, theme); }},
        {"Pixel viewport", [&] { renderer->begin(canvas, 10, 0, 10, 10, theme); }},
        {"Screenshot dimensions", [&] { renderer->read_pixels(1, 16385); }},
        {"Screenshot dimensions", [&] { renderer->read_pixels(0, 1); }},
        {"Background viewport/time", [&] { renderer->background(size, size, nan, theme, false); }},
        {"Background viewport/time", [&] { renderer->background(0, size, 1, theme, false); }},
        {"Render viewport/pointer", [&] {
             renderer->render(canvas, 8, 8, {nan, 0}, 0, vg_back_buffer);
         }}};
    for (const auto& [message, call] : refused) EXPECT_EQ(thrown<std::invalid_argument>(call), message);
}

TEST_F(RendererTest, RenderNeedsTheCanvasBegunHereWithItsClipsClosedAndReportsTheBackendsError) {
    Canvas plain;
    plain.begin(size, size, theme);
    EXPECT_EQ(thrown<std::logic_error>([&] { renderer->render(plain, size, size, {}, 0, vg_back_buffer); }),
              "Call Renderer::begin first");
    canvas.push_clip({0, 0, 10, 10}, 2);
    EXPECT_EQ(thrown<std::logic_error>([&] { renderer->render(canvas, size, size, {}, 0, vg_back_buffer); }),
              "Unbalanced shaped clip pushes");
    canvas.pop_clip();
    canvas.add(1, {0, 0, 1, 1}, 0).slot[0] = NAN; // a kind the backend refuses: its error comes back
    EXPECT_THROW(renderer->render(canvas, size, size, {}, 0, vg_back_buffer), std::runtime_error);
}

// Frame row f is row f + height - size of a read of the bottom `height` rows.
TEST_F(RendererTest, ReadPixelsGivesTheTopRowFirst) {
    renderer->background(size, size, 0, theme, false);
    canvas.fill({0, 0, size, 2}, 0xFFFF0000, 0);
    canvas.fill({0, 64, size, 1}, 0xFF00FF00, 0);
    renderer->render(canvas, size, size, {-1, -1}, 0, vg_back_buffer);
    for (int height : {size, 127}) {
        const Pixels shot = renderer->read_pixels(size, height);
        const auto at = [&](int row) { return &shot.data[(static_cast<std::size_t>(row) * size + 5) * 4]; };
        EXPECT_TRUE(height < size || (at(0)[0] > 200 && at(0)[1] < 60));
        EXPECT_TRUE(at(64 + height - size)[1] > 200 && at(64 + height - size)[0] < 60) << height;
        EXPECT_LT(at(height - 1)[0], 200) << height;
    }
}

// Font faces are opened once per file and size; one opened per glyph would map its file again
// for every new character, megabytes each for a CJK font.
TEST_F(RendererTest, NewGlyphsReuseTheOpenFontFaces) {
    auto mapped_bytes = [] {
        long pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        return pages * sysconf(_SC_PAGESIZE);
    };
    renderer->measure("一", 14, 400);
    const long before = mapped_bytes();
    std::string text;
    for (char32_t c = 0x4E01; c < 0x4E01 + 300; ++c) append_utf8(text, c);
    renderer->measure(text, 14, 400);
    EXPECT_LT(mapped_bytes() - before, 64L << 20);
}

} // namespace
