// Table costs: one whole Scene::frame painting a table of 100 or 10,000 rows scrolled to the
// middle (painting visits only the visible rows, so both should cost about the same), and a
// stable sort of 10,000 rows on a numeric and on a text column.
#include "velmora/core/canvas.hpp"
#include "velmora/platform/input.hpp"
#include "velmora/scene/scene.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/table.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <random>
#include <string>

using namespace velmora::ui;

namespace {

// Numbers in the first column, mixed-case words with repeats in the second, so the text sort
// folds case and has equal keys to keep in order.
void fill(Table& table, int count) {
    std::mt19937 random(7);
    const char* const words[] = {"Alpha", "beta", "Gamma", "delta", "名称", "Épsilon", "zeta"};
    table.columns = {"number", "word", "note"};
    for (int i = 0; i < count; ++i)
        table.row({std::to_string(random() % 100000),
                   std::string(words[random() % 7]) + std::to_string(i % 50), "row " + std::to_string(i)});
}

// Stands in for the renderer's text so that the cells' text reaches a text engine, as it would.
class CountingText : public TextEngine {
public:
    std::size_t drawn = 0;
    void draw_text(Canvas&, const std::string&, Vec2, float, unsigned, int) override { ++drawn; }
    float measure(const std::string& text, float size, int) const override {
        return size * 0.6f * static_cast<float>(text.size());
    }
};

void table_frame(benchmark::State& state) {
    Scene scene;
    auto table = scene.root()->emplace<Table>();
    table->bounds = {40, 40, 1200, 720};
    fill(*table, static_cast<int>(state.range(0)));
    table->scroll(static_cast<float>(state.range(0)) * Table::row_height / 2);
    table->select(static_cast<int>(state.range(0)) / 2);
    Canvas canvas;
    CountingText text;
    canvas.renderer(&text);
    Input input;
    input.mouse = {-1, -1};
    double now = 0;
    for (auto _ : state) {
        now += 1.0 / 60;
        canvas.begin(1280, 800, scene.theme);
        scene.frame(canvas, input, now);
        benchmark::DoNotOptimize(canvas.commands().data());
    }
    state.counters["commands/frame"] = static_cast<double>(canvas.commands().size());
    state.counters["texts/frame"] = static_cast<double>(text.drawn) / static_cast<double>(state.iterations());
}

// Each run sorts a freshly shuffled copy, so no run starts from the previous run's order.
void table_sort(benchmark::State& state) {
    Table table;
    fill(table, 10000);
    const int column = static_cast<int>(state.range(0));
    auto shuffled = table.rows;
    std::mt19937 random(11);
    for (auto _ : state) {
        state.PauseTiming();
        std::shuffle(shuffled.begin(), shuffled.end(), random);
        table.rows = shuffled;
        table.sort_column = -1;
        state.ResumeTiming();
        table.sort(column);
        benchmark::DoNotOptimize(table.rows.data());
    }
    state.SetLabel(column == 0 ? "numeric" : "text");
    state.SetItemsProcessed(state.iterations() * 10000);
}

} // namespace

BENCHMARK(table_frame)->Arg(100)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(table_sort)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
