// CPU time of one Scene::frame: events, both layout passes and painting into a Canvas with no
// renderer, for trees of 100, 1,000 and 10,000 widgets spread over the whole canvas.
#include "velmora/core/canvas.hpp"
#include "velmora/platform/input.hpp"
#include "velmora/scene/scene.hpp"
#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/containers.hpp"

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>

using namespace velmora::ui;

namespace {

constexpr float canvas_w = 1280;
constexpr float canvas_h = 800;
constexpr int per_panel = 10; // controls in each grid panel

// Panels in free placement over the canvas, each laying its controls out as a grid.
void build(Scene& scene, int widgets) {
    const int panels = std::max(1, widgets / (per_panel + 1));
    const int across = static_cast<int>(std::ceil(std::sqrt(panels * canvas_w / canvas_h)));
    const int down = (panels + across - 1) / across;
    const float w = canvas_w / static_cast<float>(across);
    const float h = canvas_h / static_cast<float>(down);
    for (int p = 0; p < panels; ++p) {
        auto panel = scene.root()->emplace<Panel>("");
        panel->bounds = {static_cast<float>(p % across) * w, static_cast<float>(p / across) * h, w, h};
        panel->layout_mode = layout_grid;
        panel->columns = 5;
        panel->padding = 2;
        panel->gap = 1;
        for (int i = 0; i < per_panel; ++i) {
            std::shared_ptr<Widget> control;
            switch (i % 3) {
            case 0:
                control = panel->emplace<Button>("Button");
                break;
            case 1:
                control = panel->emplace<CheckBox>("Check");
                break;
            default:
                control = panel->emplace<Label>("Label");
                break;
            }
            control->bounds.h = std::max(1.0f, (h - 6) / 2);
        }
    }
}

void scene_frame(benchmark::State& state) {
    Scene scene;
    build(scene, static_cast<int>(state.range(0)));
    Canvas canvas;
    Input input;
    double now = 0;
    int frame = 0;
    std::size_t commands = 0;
    for (auto _ : state) {
        // Sweep the pointer, with a click every eighth frame and a wheel turn every fifth.
        input = {};
        input.mouse = {static_cast<float>(frame * 37 % 1280), static_cast<float>(frame * 23 % 800)};
        input.mouse_pressed = frame % 8 == 0;
        input.mouse_released = frame % 8 == 1;
        input.mouse_down = input.mouse_pressed;
        input.wheel = frame % 5 == 0 ? 1.0f : 0.0f;
        now += 1.0 / 60;
        ++frame;
        canvas.begin(canvas_w, canvas_h, scene.theme);
        scene.frame(canvas, input, now);
        commands = canvas.commands().size();
        benchmark::DoNotOptimize(canvas.commands().data());
    }
    state.counters["commands/frame"] = static_cast<double>(commands);
    state.counters["frames/s"] = benchmark::Counter(static_cast<double>(frame), benchmark::Counter::kIsRate);
}

} // namespace

BENCHMARK(scene_frame)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
