// Costs of the GPU backend: the processor time vg_submit spends per command, the GL calls and
// the main thread's time of a gallery frame, vg_open, the frame time of a full-screen glass
// surface with and without blur, the floor under every frame, what a tooltip and the shaped
// clips add to a gallery frame, and partial redraw. "CPU" of the frame benchmarks is the whole process's, the
// rasteriser's threads included: on a busy machine it is steadier than the wall clock.
#include "gl_context.hpp"
#include "velmora/core/canvas.hpp"
#include "velmora/gpu/gl_entry_points.hpp"
#include "velmora/gpu/gl_loader.hpp"
#include "velmora/gpu/vg.hpp"

#include <benchmark/benchmark.h>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "velmora/renderer/renderer.hpp"
#include "velmora/scene/scene.hpp"
#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/text_field.hpp"

#include <string>

#if defined(VELMORA_GALLERY)
#include "gallery/gallery.hpp"
#endif

// ---- GL call counter -------------------------------------------------------------------------
// The link wraps the loader's two resolvers (--wrap), so every entry point of the required list
// that vg_open resolves is handed out as a wrapper that counts its calls. The library itself is
// unchanged. The optional per-buffer blend and draw-buffer entries stay uncounted: a few calls
// per submit.

namespace {

long long gl_calls = 0;

template <typename Tag, typename F> struct Counted;
template <typename Tag, typename R, typename... A> struct Counted<Tag, R(VG_APIENTRY*)(A...)> {
    static inline R(VG_APIENTRY* real)(A...) = nullptr;
    static R VG_APIENTRY call(A... a) {
        ++gl_calls;
        return real(a...);
    }
};

using velmora::gpu::GlProc;

GlProc counting(const char* name, GlProc real) {
    if (reinterpret_cast<std::uintptr_t>(real) < 4 || reinterpret_cast<std::intptr_t>(real) == -1)
        return real;
#define VG_COUNT_ENTRY(ret, entry, args)                                                                     \
    if (std::strcmp(name, #entry) == 0) {                                                                    \
        struct entry##_tag;                                                                                  \
        using Wrapper = Counted<entry##_tag, ret(VG_APIENTRY*) args>;                                        \
        Wrapper::real = reinterpret_cast<ret(VG_APIENTRY*) args>(real);                                      \
        return reinterpret_cast<GlProc>(&Wrapper::call);                                                     \
    }
    VG_REQUIRED_ENTRY_POINTS(VG_COUNT_ENTRY)
#undef VG_COUNT_ENTRY
    return real;
}

} // namespace

extern "C" GlProc __real__ZN7velmora3gpu15gl_context_procEPKc(const char* name);
extern "C" GlProc __real__ZN7velmora3gpu15gl_library_procEPKc(const char* name);
extern "C" GlProc __wrap__ZN7velmora3gpu15gl_context_procEPKc(const char* name) {
    return counting(name, __real__ZN7velmora3gpu15gl_context_procEPKc(name));
}
extern "C" GlProc __wrap__ZN7velmora3gpu15gl_library_procEPKc(const char* name) {
    return counting(name, __real__ZN7velmora3gpu15gl_library_procEPKc(name));
}

namespace {

using velmora::test::GlTestContext;
namespace ui = velmora::ui;

// A context with the backend open on it, for the length of one benchmark run.
struct Device {
    GlTestContext context;
    Device(int width, int height) : context(width, height) {
        vg_clear_error();
        if (!vg_open(velmora_shaders)) throw std::runtime_error(vg_error());
    }
    ~Device() { vg_close(); }

    void submit(const ui::Canvas& canvas, float sigma) const {
        const auto& commands = canvas.commands();
        vg_submit(commands.front().slot, commands.size() * 64, static_cast<int>(commands.size()), 0,
                  vg_back_buffer, context.width(), context.height(), canvas.width(), canvas.height(), sigma,
                  100, 100);
    }
};

// Small boxes in a grid, with a shaped clip every 64 commands, so the per-command work
// (scissor, uniforms, one draw) dominates and the rasteriser has little to do.
void BM_SubmitPerCommand(benchmark::State& state) {
    Device device(256, 256);
    ui::Canvas canvas;
    canvas.begin(256, 256, ui::Theme{});
    const auto count = static_cast<int>(state.range(0));
    for (int i = 0; i < count; ++i) {
        float x = static_cast<float>(i % 120) * 2, y = static_cast<float>(i / 120 % 120) * 2;
        if (i % 64 == 0) canvas.push_clip({x, y, 40, 40}, 6);
        canvas.fill({x, y, 2, 2}, 0xFF80C0FFu, 1);
        if (i % 64 == 63 || i == count - 1) canvas.pop_clip();
    }
    long long calls = 0;
    for (auto _ : state) {
        const long long before = gl_calls;
        device.submit(canvas, 0);
        calls = gl_calls - before;
        state.PauseTiming();
        device.context.finish();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(canvas.commands().size()));
    state.counters["GL calls/frame"] = static_cast<double>(calls);
}
BENCHMARK(BM_SubmitPerCommand)->Arg(1000)->Arg(4000)->Unit(benchmark::kMicrosecond);

// vg_open on a fresh context: entry points, programs and objects, until it returns. The
// rasteriser compiles a program's machine code at its first draw, which the first frame pays.
void BM_Open(benchmark::State& state) {
    GlTestContext context(64, 64);
    for (auto _ : state) {
        vg_clear_error();
        if (!vg_open(velmora_shaders)) state.SkipWithError(vg_error());
        state.PauseTiming();
        vg_close();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_Open)->Unit(benchmark::kMillisecond)->Iterations(5);

#if defined(VELMORA_GALLERY)
// The first section of the gallery at 1280x800 through the Renderer, as the program draws it:
// "CPU" is the main thread's time inside Renderer::render alone, the counters what one frame
// (background and render) asks of GL.
void BM_GalleryFrame(benchmark::State& state) {
    namespace gallery = ::gallery;
    GlTestContext context(1280, 800);
    ui::Renderer renderer;
    ui::Canvas canvas;
    gallery::Gallery scene;
    scene.select(static_cast<int>(state.range(0)));
    double time = 1;
    long long calls = 0;
    auto record = [&] {
        renderer.background(1280, 800, static_cast<float>(time), scene.theme, true);
        renderer.begin(canvas, 1280, 800, gallery::logical_width, gallery::logical_height, scene.theme);
        scene.frame(canvas, ui::Input{}, time);
        time += 1.0 / 60;
    };
    for (int i = 0; i < 5; ++i) { // lays the section out, fills the atlases, compiles the shaders
        record();
        renderer.render(canvas, 1280, 800, {-1, -1}, 0, vg_back_buffer);
    }
    context.finish();
    for (auto _ : state) {
        state.PauseTiming();
        const long long before = gl_calls;
        record();
        state.ResumeTiming();
        renderer.render(canvas, 1280, 800, {-1, -1}, 0, vg_back_buffer);
        state.PauseTiming();
        calls = gl_calls - before;
        context.finish();
        state.ResumeTiming();
    }
    state.counters["GL calls/frame"] = static_cast<double>(calls);
    state.counters["commands/frame"] = static_cast<double>(canvas.commands().size());
}
BENCHMARK(BM_GalleryFrame)->Arg(0)->Unit(benchmark::kMillisecond);

// A gallery section on its own context, drawn frame after frame and waited for.
struct GalleryStage {
    GlTestContext context{1280, 800};
    ui::Renderer renderer;
    ui::Canvas canvas;
    gallery::Gallery scene;
    double time = 1;

    explicit GalleryStage(int section) { scene.select(section); }
    void record(const ui::Input& input) {
        renderer.background(1280, 800, static_cast<float>(time), scene.theme, true);
        renderer.begin(canvas, 1280, 800, gallery::logical_width, gallery::logical_height, scene.theme);
        scene.frame(canvas, input, time);
        time += 1.0 / 60;
    }
    void submit(const std::vector<ui::Command>& commands) {
        vg_submit(commands.front().slot, commands.size() * 64, static_cast<int>(commands.size()), 0,
                  vg_back_buffer, 1280, 800, gallery::logical_width, gallery::logical_height, 18, -1, -1);
        context.finish();
    }
};

// The first control with a tooltip, depth first.
const ui::Widget* with_tooltip(const ui::Widget& w) {
    if (!w.tooltip.empty() && w.visible && w.screen_bounds.w > 0) return &w;
    for (const auto& child : w.children)
        if (const ui::Widget* found = with_tooltip(*child)) return found;
    return nullptr;
}

// The tooltip's cost: the section holding the first control with a tooltip, the pointer away
// (arg 0) or resting on that control past the delay, so the tooltip and its backdrop are up.
void BM_TooltipFrame(benchmark::State& state) {
    GalleryStage stage(0);
    for (int section = 0; section < 10; ++section) {
        stage.scene.select(section);
        stage.record({});
        if (with_tooltip(*stage.scene.root())) break;
    }
    const ui::Widget* tip = with_tooltip(*stage.scene.root());
    if (!tip) {
        state.SkipWithError("no control with a tooltip");
        return;
    }
    ui::Input input;
    if (state.range(0))
        input.mouse = {tip->screen_bounds.x + tip->screen_bounds.w / 2,
                       tip->screen_bounds.y + tip->screen_bounds.h / 2};
    for (int i = 0; i < 60; ++i) stage.record(input); // a second: past the delay
    stage.submit(stage.canvas.commands());            // the rasteriser compiles at first draw
    for (auto _ : state) {
        stage.record(input);
        stage.submit(stage.canvas.commands());
    }
    state.SetLabel(state.range(0) ? "tooltip up" : "no tooltip");
}
BENCHMARK(BM_TooltipFrame)
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

// The shaped clips' cost: section 6 recorded once and submitted as it is (arg 1) or without
// its push and pop commands (arg 0), which the rest of the frame doesn't depend on.
void BM_ShapedClips(benchmark::State& state) {
    GalleryStage stage(6);
    for (int i = 0; i < 5; ++i) stage.record({});
    std::vector<ui::Command> commands;
    long long clips = 0;
    for (const ui::Command& c : stage.canvas.commands()) {
        const int kind = static_cast<int>(c.slot[0]);
        const bool clip = kind == ui::kind_push_clip || kind == ui::kind_pop_clip;
        clips += clip;
        if (state.range(0) || !clip) commands.push_back(c);
    }
    stage.submit(commands);
    for (auto _ : state) stage.submit(commands);
    state.counters["clip commands"] = static_cast<double>(clips);
    state.SetLabel(state.range(0) ? "with shaped clips" : "clips left out");
}
BENCHMARK(BM_ShapedClips)
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
#endif

// The background, then one submit of `canvas`, waited for until the GPU is done.
void glass_frames(benchmark::State& state, const ui::Canvas& canvas, int width, int height, float sigma) {
    Device device(width, height);
    auto frame = [&] {
        vg_background(width, height, 1, 1, 0, 0xFF151515u, 0xFF434343u);
        device.submit(canvas, sigma);
        device.context.finish();
    };
    frame(); // the rasteriser compiles its shaders at their first draw
    for (auto _ : state) frame();
}

// One full-screen glass surface on the background.
void BM_GlassFrame(benchmark::State& state) {
    ui::Canvas canvas;
    canvas.begin(1280, 800, ui::Theme{});
    canvas.glass({0, 0, 1280, 800}, ui::Theme{}, 18);
    glass_frames(state, canvas, static_cast<int>(state.range(0)), static_cast<int>(state.range(1)),
                 static_cast<float>(state.range(2)));
}
BENCHMARK(BM_GlassFrame)
    ->Args({1280, 800, 0})
    ->Args({1280, 800, 18})
    ->Args({1920, 1200, 0})
    ->Args({1920, 1200, 18})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

// The floor under every frame at 1280x800: the background alone (0), with one 1x1 glass
// surface and the frozen-scene copy it needs (1), and with that surface's blur at sigma 18 (2).
void BM_Floor(benchmark::State& state) {
    const auto variant = state.range(0);
    if (variant == 0) {
        Device device(1280, 800);
        for (auto _ : state) {
            vg_background(1280, 800, 1, 1, 0, 0xFF151515u, 0xFF434343u);
            device.context.finish();
        }
        return;
    }
    ui::Canvas canvas;
    canvas.begin(1280, 800, ui::Theme{});
    canvas.glass({600, 400, 1, 1}, ui::Theme{}, 0);
    glass_frames(state, canvas, 1280, 800, variant == 2 ? 18.0f : 0.0f);
}
BENCHMARK(BM_Floor)->DenseRange(0, 2)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

// Partial redraw of a static form at 1280x800 (labels, buttons, a focused text field) through
// the Renderer: the whole frame drawn every time (0); with partial redraw, a frame whose only
// change is the caret's blink (1), the pointer going on and off a button (2), and no change at
// all (3). "CPU" is the whole process's; the counters what one frame asks of GL and the share of
// the frame redrawn.
void BM_PartialFrame(benchmark::State& state) {
    const auto variant = state.range(0);
    GlTestContext context(1280, 800);
    ui::Renderer renderer;
    ui::Canvas canvas;
    ui::Scene scene;
    for (int row = 0; row < 12; ++row) {
        auto label = scene.root()->emplace<ui::Label>("Field " + std::to_string(row));
        label->bounds = {40, 40.0f + 56 * row, 200, 36};
        auto button = scene.root()->emplace<ui::Button>("Apply " + std::to_string(row));
        button->bounds = {560, 40.0f + 56 * row, 140, 36};
    }
    auto field = scene.root()->emplace<ui::TextField>();
    field->bounds = {240, 40, 280, 36};
    field->value("Some text");
    scene.focus(field);
    renderer.partial(variant > 0);
    double time = 10.1;
    ui::Input input;
    const ui::Vec2 on_button{630, 58}, away{1000, 700};
    input.mouse = away;
    long long calls = 0;
    auto frame = [&](int k) {
        if (variant == 1) time = 10 + k + (k % 2 ? 0.7 : 0.1); // the caret on, then off
        if (variant == 2) input.mouse = k % 2 ? on_button : away;
        renderer.begin(canvas, 1280, 800, 1280, 800, scene.theme);
        scene.frame(canvas, input, time);
        renderer.background(1280, 800, 0, scene.theme, false);
        const long long before = gl_calls;
        renderer.render(canvas, 1280, 800, input.mouse, 0, vg_back_buffer);
        calls = gl_calls - before;
        context.finish();
    };
    for (int k = 0; k < 4; ++k) frame(k); // compiles the shaders, fills the atlases
    int k = 0;
    for (auto _ : state) frame(k++);
    state.counters["GL calls/frame"] = static_cast<double>(calls);
    const char* labels[] = {"full frame", "caret blink", "pointer over a button", "nothing changed"};
    state.SetLabel(labels[variant]);
}
BENCHMARK(BM_PartialFrame)
    ->DenseRange(0, 3)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

} // namespace

BENCHMARK_MAIN();
