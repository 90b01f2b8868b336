// Start-up of the gallery: from `main` to the end of the first presented frame, in phases, and
// the peak memory of a `--smoke` run. Each measurement runs in a fresh child process, since a
// process opens one GL device once and its shader cache and font caches warm up after that.
//
// POSIX only: the children are forked.
#include "gallery/gallery.hpp"

#include "velmora/app/app.hpp"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace velmora::ui;
using Clock = std::chrono::steady_clock;

// The phases of a start, in milliseconds, as the child reports them.
struct Phases {
    double app = 0;      // the hidden window, its GL context and the renderer's device
    double scene = 0;    // the gallery's controls
    double frame = 0;    // the first frame drawn, presented and finished
    double to_frame = 0; // all of the above
    double app_peak = 0; // peak resident memory after the first phase, MiB
};

double peak_mib() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

double ms_since(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// Runs the gallery's start in a child, the way `velmora-gallery` starts, with the shader cache
// on or off. Returns false when the child failed; `peak` is its maximum resident set in KiB.
bool start_in_child(bool cold, Phases& phases, long& peak) {
    int link[2];
    if (pipe(link) != 0) return false;
    const pid_t child = fork();
    if (child < 0) return false;
    if (child == 0) {
        close(link[0]);
        if (cold) setenv("MESA_SHADER_CACHE_DISABLE", "true", 1);
        Phases p;
        const auto start = Clock::now();
        try {
            AppOptions options;
            options.width = 1280;
            options.height = 800;
            options.logical = {gallery::logical_width, gallery::logical_height};
            options.visible = false;
            options.grid = true;
            options.animate_background = true;
            options.frames = 1;
            App app(options);
            p.app = ms_since(start);
            p.app_peak = peak_mib();
            gallery::Gallery scene;
            p.scene = ms_since(start) - p.app;
            app.run(scene);
            benchmark::DoNotOptimize(app.renderer().read_pixels(1, 1)); // waits for the GPU
            p.to_frame = ms_since(start);
            p.frame = p.to_frame - p.app - p.scene;
        } catch (...) {
            _exit(1);
        }
        const bool sent = write(link[1], &p, sizeof p) == static_cast<ssize_t>(sizeof p);
        _exit(sent ? 0 : 1);
    }
    close(link[1]);
    const bool got = read(link[0], &phases, sizeof phases) == static_cast<ssize_t>(sizeof phases);
    close(link[0]);
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) != child) return false;
    peak = usage.ru_maxrss;
    return got && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Arg 0: shader cache as it is (warm after the first run); 1: disabled (cold).
void BM_FirstFrame(benchmark::State& state) {
    const bool cold = state.range(0) != 0;
    Phases sum;
    long peak = 0;
    for (auto _ : state) {
        Phases p;
        long kib = 0;
        if (!start_in_child(cold, p, kib)) {
            state.SkipWithError("the child failed to start the gallery");
            return;
        }
        state.SetIterationTime(p.to_frame / 1000);
        sum.app += p.app;
        sum.scene += p.scene;
        sum.frame += p.frame;
        sum.app_peak = std::max(sum.app_peak, p.app_peak);
        peak = std::max(peak, kib);
    }
    const double n = static_cast<double>(state.iterations());
    state.counters["app_ms"] = sum.app / n;
    state.counters["scene_ms"] = sum.scene / n;
    state.counters["frame_ms"] = sum.frame / n;
    state.counters["app_peak_MiB"] = sum.app_peak;
    state.counters["peak_MiB"] = static_cast<double>(peak) / 1024;
    state.SetLabel(cold ? "cold shader cache" : "warm shader cache");
}
BENCHMARK(BM_FirstFrame)->Arg(0)->Arg(1)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);

// The program's own three-frame run, for its peak resident memory.
void BM_SmokePeakMemory(benchmark::State& state) {
    long peak = 0;
    for (auto _ : state) {
        const pid_t child = fork();
        if (child == 0) {
            const int quiet = open("/dev/null", O_WRONLY); // its banner would land in the report
            if (quiet >= 0) dup2(quiet, STDOUT_FILENO);
            execl(VELMORA_GALLERY_PROGRAM, VELMORA_GALLERY_PROGRAM, "--smoke", static_cast<char*>(nullptr));
            _exit(127);
        }
        int status = 0;
        rusage usage{};
        if (child < 0 || wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) ||
            WEXITSTATUS(status) != 0) {
            state.SkipWithError("velmora-gallery --smoke failed");
            return;
        }
        peak = std::max(peak, usage.ru_maxrss);
    }
    state.counters["peak_MiB"] = static_cast<double>(peak) / 1024;
}
BENCHMARK(BM_SmokePeakMemory)->Iterations(3)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
