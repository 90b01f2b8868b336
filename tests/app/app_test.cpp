// App draws a frame when input arrives (and once after it), when the scene asked for one, and
// at no other time; the input comes through SDL's queue from another thread, as the system's would.
#include "velmora/app/app.hpp"
#include "velmora/scene/scene.hpp"
#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/file_browser.hpp"
#include "velmora/widgets/text_field.hpp"

#include <SDL.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace {

using namespace velmora::ui;

// Draws nothing; calls `seen` at each frame it is painted in.
struct FrameProbe : Widget {
    std::function<void(double)> seen;
    void paint(PaintContext& context) override { seen(context.time); }
};

// Puts an event into the queue `seconds` from now.
std::jthread later(double seconds, Uint32 type) {
    return std::jthread([seconds, type] {
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
        SDL_Event e{};
        e.type = type;
        if (type == SDL_MOUSEMOTION) e.motion.x = e.motion.y = 20;
        SDL_PushEvent(&e);
    });
}

App hidden() { return App({.title = "app", .width = 320, .height = 240, .visible = false}); }

TEST(AppFrames, ComeWithInputACaretBlinkAndANoticeExpiringAndNotOtherwise) {
    App app = hidden();
    Scene scene;
    std::vector<double> times;
    scene.root()->emplace<FrameProbe>()->seen = [&](double t) {
        if (times.empty()) std::make_shared<Notification>("Saved", "")->show(scene, 0.8);
        times.push_back(t);
    };
    auto field = scene.root()->emplace<TextField>();
    field->bounds = {10, 60, 200, 36};
    scene.focus(field);

    {
        const auto move = later(1.3, SDL_MOUSEMOTION);
        const auto quit = later(1.45, SDL_QUIT);
        app.run(scene);
    }
    // The first frame and the one after it; the caret going off; the notice going; the caret
    // coming back; the input and the frame after it (its thread's clock started a little before
    // the run's). The caret's next change, at 1.6 s, comes after the window closed.
    const std::vector<double> due{0, 0, 0.6, 0.8, 1.0, 1.28, 1.28};
    ASSERT_EQ(times.size(), due.size()) << ::testing::PrintToString(times);
    // The first frame of a run is slow (shaders, glyphs), and the second waits for it.
    EXPECT_LT(times[1], 0.5);
    for (std::size_t i = 2; i < due.size(); ++i) {
        EXPECT_GE(times[i], due[i]) << "frame " << i;
        EXPECT_LT(times[i], due[i] + 0.25) << "frame " << i;
    }
}

TEST(AppFrames, PickUpAWorkersResultAndThenRest) {
    App app = hidden();
    Scene scene;
    auto browser = scene.root()->emplace<FileBrowser>(false, "/usr/bin");
    std::vector<bool> loading;
    scene.root()->emplace<FrameProbe>()->seen = [&](double) { loading.push_back(browser->loading); };
    {
        const auto quit = later(1.5, SDL_QUIT); // a first frame takes up to a second on a busy machine
        app.run(scene);
    }
    const auto first = std::find(loading.begin(), loading.end(), false);
    ASSERT_NE(first, loading.end()) << "the listing never arrived";
    // The worker wakes the loop: no frames while it reads, but the first and the one after it.
    EXPECT_LE(first - loading.begin(), 2);
    // Then the loop rests: nothing follows but, at most, the one frame after that one.
    EXPECT_LE(loading.end() - first, 2);
}

} // namespace
