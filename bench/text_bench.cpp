// Costs of text: drawing a string whose glyphs are all cached (the per-frame case), and
// rasterising and uploading glyphs seen for the first time (the first frame of a page); for
// shaped scripts, a 40-character label shaped for the first time (cold) and drawn again (warm).
#include "gl_context.hpp"
#include "velmora/core/canvas.hpp"
#include "velmora/core/utf8.hpp"
#include "velmora/renderer/renderer.hpp"

#include <benchmark/benchmark.h>
#include <optional>
#include <string>

namespace {

using velmora::test::GlTestContext;
namespace ui = velmora::ui;

// 40 code points, Chinese and Latin mixed as in the interface.
const std::string sample = "设置 Settings：界面缩放 Interface scale 125% ok";

void BM_CachedText(benchmark::State& state) {
    GlTestContext context(256, 256);
    ui::Renderer renderer;
    ui::Canvas canvas;
    renderer.begin(canvas, 1280, 800, 1280, 800, ui::Theme{});
    canvas.text(sample, {10, 10}, 14, 0xFFFFFFFF, 400); // every glyph cached from here on
    std::int64_t commands = 0;
    for (auto _ : state) {
        renderer.begin(canvas, 1280, 800, 1280, 800, ui::Theme{});
        for (int i = 0; i < 100; ++i) canvas.text(sample, {10, 10.0f + i}, 14, 0xFFFFFFFF, 400);
        commands += static_cast<std::int64_t>(canvas.commands().size());
    }
    // Items per second is commands per second: divide by a million for commands per microsecond.
    state.SetItemsProcessed(commands);
}
BENCHMARK(BM_CachedText)->Unit(benchmark::kMicrosecond);

void BM_First500CjkGlyphs(benchmark::State& state) {
    GlTestContext context(256, 256);
    std::string text;
    for (char32_t c = 0x4E00; c < 0x4E00 + 500; ++c) ui::append_utf8(text, c);
    std::optional<ui::Renderer> renderer;
    for (auto _ : state) {
        state.PauseTiming();
        renderer.reset();
        renderer.emplace(); // empty caches
        ui::Canvas canvas;
        renderer->begin(canvas, 1280, 800, 1280, 800, ui::Theme{});
        state.ResumeTiming();
        benchmark::DoNotOptimize(canvas.text_width(text, 14, 400));
    }
    state.SetItemsProcessed(state.iterations() * 500);
}
BENCHMARK(BM_First500CjkGlyphs)->Unit(benchmark::kMillisecond);

// 40 code points each, spaces included.
const std::string arabic = "مرحبا بالعالم، هذا نص عربي للتجربة الآن!";
const std::string devanagari = "नमस्ते दुनिया, यह परीक्षण का पाठ है अभी!";

const std::string& label(const benchmark::State& state) { return state.range(0) ? devanagari : arabic; }

// Bidi and shaping of a label the renderer has not seen, its fonts already open.
void BM_ShapedLabelCold(benchmark::State& state) {
    GlTestContext context(256, 256);
    std::optional<ui::Renderer> renderer;
    for (auto _ : state) {
        state.PauseTiming();
        renderer.reset();
        renderer.emplace();
        ui::Canvas canvas;
        renderer->begin(canvas, 1280, 800, 1280, 800, ui::Theme{});
        canvas.text_width(label(state).substr(0, label(state).find(' ')), 14, 400); // opens the faces
        state.ResumeTiming();
        benchmark::DoNotOptimize(canvas.text_width(label(state), 14, 400));
    }
    state.SetLabel(state.range(0) ? "Devanagari" : "Arabic");
}
BENCHMARK(BM_ShapedLabelCold)->Arg(0)->Arg(1)->Iterations(40)->Unit(benchmark::kMicrosecond);

// The label drawn 100 times a frame once shaped: what an unchanged label costs per frame.
void BM_ShapedLabelWarm(benchmark::State& state) {
    GlTestContext context(256, 256);
    ui::Renderer renderer;
    ui::Canvas canvas;
    renderer.begin(canvas, 1280, 800, 1280, 800, ui::Theme{});
    canvas.text(label(state), {10, 10}, 14, 0xFFFFFFFF, 400);
    for (auto _ : state) {
        renderer.begin(canvas, 1280, 800, 1280, 800, ui::Theme{});
        for (int i = 0; i < 100; ++i) canvas.text(label(state), {10, 10.0f + i}, 14, 0xFFFFFFFF, 400);
    }
    state.SetLabel(state.range(0) ? "Devanagari" : "Arabic");
}
BENCHMARK(BM_ShapedLabelWarm)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
