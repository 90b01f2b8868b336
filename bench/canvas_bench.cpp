// Records a realistic frame of mixed commands and reports commands per second.
#include "velmora/core/canvas.hpp"

#include <benchmark/benchmark.h>

using namespace velmora::ui;

static void record_frame(benchmark::State& state) {
    Canvas canvas;
    const Theme theme;
    const int cards = static_cast<int>(state.range(0));
    std::size_t commands = 0;
    for (auto _ : state) {
        canvas.begin(1280, 800, theme);
        for (int i = 0; i < cards; ++i) {
            float x = float(i % 8) * 150, y = float(i / 8) * 60;
            canvas.glass({x, y, 140, 50}, theme, 9);
            canvas.push_clip({x, y, 140, 50}, 9);
            canvas.fill({x + 4, y + 4, 60, 20}, theme.control, 6);
            canvas.stroke({x + 4, y + 4, 60, 20}, theme.border, 1, 6);
            canvas.line({x, y + 30}, {x + 140, y + 30}, theme.border, 1);
            canvas.ring({x + 100, y + 10, 20, 20}, theme.accent, 3, 0.6f, 0);
            canvas.pop_clip();
        }
        canvas.backdrop();
        commands += canvas.commands().size();
        benchmark::DoNotOptimize(canvas.commands().data());
    }
    state.counters["commands/s"] = benchmark::Counter(double(commands), benchmark::Counter::kIsRate);
    state.counters["commands/frame"] = double(canvas.commands().size());
}
BENCHMARK(record_frame)->Arg(100)->Arg(500)->Arg(2000);

BENCHMARK_MAIN();
