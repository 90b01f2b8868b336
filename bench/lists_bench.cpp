// CPU time of painting one ListBox of 100 and of 100,000 items, scrolled to the middle. Only
// the rows in view are painted, so both sizes should cost the same. The same for assistive
// technology: one frame's tree update plus a question about one row, whose rows are described
// only when asked for.
#include "velmora/core/canvas.hpp"
#include "velmora/platform/input.hpp"
#include "velmora/scene/accessibility_tree.hpp"
#include "velmora/scene/scene.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/lists.hpp"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

using namespace velmora::ui;

namespace {

// Draws text nowhere, but makes every label cost a call as a real renderer would.
class NullText : public TextEngine {
public:
    std::size_t labels = 0;
    void draw_text(Canvas&, const std::string&, Vec2, float, unsigned, int) override { ++labels; }
    float measure(const std::string& text, float size, int) const override {
        return size * 0.6f * static_cast<float>(text.size());
    }
};

void list_paint(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    std::vector<std::string> items;
    items.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) items.push_back("Item " + std::to_string(i));

    Scene scene;
    auto list = scene.root()->emplace<ListBox>(std::move(items));
    list->bounds = {20, 20, 400, 600};
    Canvas canvas;
    NullText text;
    canvas.renderer(&text);
    canvas.begin(1280, 800, scene.theme);
    scene.frame(canvas, Input{}, 0); // places the list
    list->select(count / 2);         // scrolls it to the middle

    for (auto _ : state) {
        canvas.begin(1280, 800, scene.theme);
        PaintContext context{canvas, scene, scene.theme, 0};
        list->draw(context);
        benchmark::DoNotOptimize(canvas.commands().data());
    }
    state.counters["commands/paint"] = static_cast<double>(canvas.commands().size());
    state.counters["labels/paint"] =
        static_cast<double>(text.labels) / static_cast<double>(state.iterations() + 1);
}

void list_accessible(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    Scene scene;
    auto list =
        scene.root()->emplace<ListBox>(std::vector<std::string>(static_cast<std::size_t>(count), "Item"));
    list->bounds = {20, 20, 400, 600};
    Canvas canvas;
    NullText text;
    canvas.renderer(&text);
    canvas.begin(1280, 800, scene.theme);
    scene.frame(canvas, Input{}, 0);
    list->select(count / 2);
    AccessibilityTree tree(scene);
    tree.update("bench", 1);
    AccessibleItem row;
    for (auto _ : state) {
        benchmark::DoNotOptimize(tree.update("bench", 1).size());
        benchmark::DoNotOptimize(tree.item(list->serial(), count / 2, row));
    }
}

} // namespace

BENCHMARK(list_paint)->Arg(100)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(list_accessible)->Arg(100)->Arg(100000)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
