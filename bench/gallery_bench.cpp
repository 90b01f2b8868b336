// Costs of the gallery: one whole unattended render-all run of the program, one interactive frame
// on each of the ten sections, the way the program's own loop makes it, and the processor's part
// of such a frame alone (Renderer::begin and Scene::frame recording the canvas) with its heap
// allocations and drawn widgets. Its instructions per frame come from scripts/frame-instructions,
// which runs that benchmark under callgrind (this machine's counters can't be read directly).
#include "gallery/gallery.hpp"

#include "velmora/core/canvas.hpp"
#include "velmora/platform/window.hpp"
#include "velmora/renderer/renderer.hpp"
#include "velmora/scene/accessibility_tree.hpp"

#include <atomic>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <new>
#include <string>

// Every allocation through operator new in this program is counted, so that a benchmark can
// report those of the code it times. The array and sized forms come here by default.
static std::atomic<long long> allocations{0};

// Out of line: inlined, GCC sees free() meet a pointer from operator new and warns falsely.
[[gnu::noinline]] void* operator new(std::size_t size) {
    ++allocations;
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* p) noexcept { std::free(p); }
[[gnu::noinline]] void operator delete(void* p, std::size_t) noexcept { std::free(p); }

namespace {

namespace fs = std::filesystem;
using namespace velmora::ui;

constexpr unsigned back_buffer = 0x0405; // GL_BACK

// The program itself, started as a child process so that the number includes what a user waits
// for: start-up, fonts, every page and overlay, encoding and writing the files.
void BM_RenderAll(benchmark::State& state) {
    const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
    const fs::path directory = fs::temp_directory_path() / ("velmora-render-all-" + std::to_string(stamp));
#if defined(_WIN32)
    const char* quiet = " > NUL";
#else
    const char* quiet = " > /dev/null";
#endif
    const std::string command = std::string("\"") + VELMORA_GALLERY_PROGRAM + "\" --render-all \"" +
                                directory.string() + "\"" + quiet;
    int status = 0;
    for (auto _ : state) status = std::system(command.c_str());
    std::size_t files = 0;
    if (fs::is_directory(directory))
        for (const auto& entry : fs::recursive_directory_iterator(directory))
            files += entry.is_regular_file();
    fs::remove_all(directory);
    if (status != 0) state.SkipWithError(("render-all exited with status " + std::to_string(status)).c_str());
    state.counters["files"] = static_cast<double>(files);
}
BENCHMARK(BM_RenderAll)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

// A hidden window with the gallery on it, made once for all sections of a size.
struct Stage {
    Window window;
    Renderer renderer;
    Canvas canvas;
    gallery::Gallery scene;
    double time = 1;

    Stage(int width, int height) : window({"bench", width, height, false}) {}

    // The interactive loop's work for one frame, waited for until the GPU is done: reading a
    // pixel back cannot finish before the frame's drawing has.
    void frame() {
        const int w = window.width(), h = window.height();
        renderer.background(w, h, static_cast<float>(time), scene.theme, true);
        renderer.begin(canvas, w, h, gallery::logical_width, gallery::logical_height, scene.theme);
        scene.frame(canvas, Input{}, time);
        renderer.render(canvas, w, h, {-1, -1}, 0, back_buffer);
        benchmark::DoNotOptimize(renderer.read_pixels(1, 1));
        time += 1.0 / 60;
    }
};

// The interactive size unless asked otherwise; a new size replaces the stage, since a process
// has one Renderer at a time.
Stage& stage(int width = 1280, int height = 800) {
    static std::unique_ptr<Stage> made;
    if (!made || made->window.width() != width || made->window.height() != height) {
        made.reset();
        made = std::make_unique<Stage>(width, height);
    }
    return *made;
}

// The widgets whose paint runs in a frame: visible, with something left of their clip, under
// parents that draw their children.
int drawn_widgets(const Widget& w) {
    if (!w.visible || w.clip.w <= 0 || w.clip.h <= 0) return 0;
    int n = 1;
    if (w.children_active())
        for (const auto& child : w.children) n += drawn_widgets(*child);
    return n;
}

// Arguments: the window's width (its height is 5/8 of it), then the section.
void BM_SectionFrame(benchmark::State& state) {
    Stage& s = stage(static_cast<int>(state.range(0)), static_cast<int>(state.range(0) * 5 / 8));
    const int section = static_cast<int>(state.range(1));
    s.scene.select(section);
    // The first frames after a rebuild lay the section out and fill the glyph atlases. Iterations
    // are counted by the clock: the main thread mostly waits for the rasteriser.
    for (int i = 0; i < 5; ++i) s.frame();
    for (auto _ : state) s.frame();
    state.SetLabel(s.scene.sections()[static_cast<std::size_t>(section)]);
}
BENCHMARK(BM_SectionFrame)
    ->ArgsProduct({{1280, 1920}, benchmark::CreateDenseRange(0, 9, 1)})
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

void record(Stage& s) {
    s.renderer.begin(s.canvas, s.window.width(), s.window.height(), gallery::logical_width,
                     gallery::logical_height, s.scene.theme);
    s.scene.frame(s.canvas, Input{}, s.time);
    s.time += 1.0 / 60;
}

// Out of line and called only by the timed loop below, so that callgrind can count it alone
// (--toggle-collect=*steady_record*).
[[gnu::noinline]] void steady_record(Stage& s) { record(s); }

void BM_SectionRecord(benchmark::State& state) {
    Stage& s = stage();
    const int section = static_cast<int>(state.range(0));
    s.scene.select(section);
    for (int i = 0; i < 5; ++i) record(s); // laid out, glyphs cached, buffers grown
    const long long before = allocations;
    for (auto _ : state) steady_record(s);
    const auto frames = static_cast<double>(state.iterations());
    state.counters["allocs/frame"] = static_cast<double>(allocations - before) / frames;
    state.counters["widgets/frame"] = drawn_widgets(*s.scene.root());
    state.counters["commands/frame"] = static_cast<double>(s.canvas.commands().size());
    state.SetLabel(s.scene.sections()[static_cast<std::size_t>(section)]);
}
BENCHMARK(BM_SectionRecord)->DenseRange(0, 9)->Unit(benchmark::kMicrosecond);

// The same with assistive technology listening: each frame also describes the tree and compares
// it with the last.
void BM_SectionRecordAccessible(benchmark::State& state) {
    Stage& s = stage();
    const int section = static_cast<int>(state.range(0));
    s.scene.select(section);
    AccessibilityTree tree(s.scene);
    for (int i = 0; i < 5; ++i) {
        record(s);
        tree.update("bench", 1);
    }
    const long long before = allocations;
    std::size_t changes = 0;
    for (auto _ : state) {
        steady_record(s);
        changes += tree.update("bench", 1).size();
    }
    const auto frames = static_cast<double>(state.iterations());
    state.counters["allocs/frame"] = static_cast<double>(allocations - before) / frames;
    state.counters["changes/frame"] = static_cast<double>(changes) / frames;
    state.SetLabel(s.scene.sections()[static_cast<std::size_t>(section)]);
}
BENCHMARK(BM_SectionRecordAccessible)->DenseRange(0, 9)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
