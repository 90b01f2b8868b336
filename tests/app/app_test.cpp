// App draws a frame when input arrives (and once after it), when the scene asked for one, and
// at no other time; the input comes through SDL's queue, as the system's would. Each run has a
// watchdog that ends it after a minute, so that a loop that never wakes fails instead of hanging.
#include "velmora/app/app.hpp"
#include "velmora/scene/scene.hpp"
#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/file_browser.hpp"
#include "velmora/widgets/text_field.hpp"

#include <SDL.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using namespace velmora::ui;

// Draws nothing; calls `seen` at each frame it is painted in.
struct FrameProbe : Widget {
    std::function<void(double)> seen;
    void paint(PaintContext& context) override { seen(context.time); }
};

// An event; a key comes with Ctrl held.
void push(Uint32 type, SDL_Keycode key = 0) {
    SDL_Event e{};
    e.type = type;
    if (type == SDL_MOUSEMOTION) e.motion.x = e.motion.y = 20;
    if (type == SDL_KEYDOWN) {
        e.key.keysym.sym = key;
        e.key.keysym.mod = KMOD_LCTRL;
    }
    SDL_PushEvent(&e);
}

// Puts an event into the queue `seconds` from now, unless the thread is stopped first.
std::jthread later(double seconds, Uint32 type) {
    return std::jthread([seconds, type](std::stop_token stop) {
        std::mutex mutex;
        std::condition_variable_any stopped;
        std::unique_lock lock(mutex);
        if (!stopped.wait_for(lock, stop, std::chrono::duration<double>(seconds), [] { return false; }) &&
            !stop.stop_requested())
            push(type);
    });
}

AppOptions hidden(int frames = 0) {
    return {.title = "app", .width = 320, .height = 240, .visible = false, .frames = frames};
}

// Each frame is checked for a cause since the one before, never against a window of time: a
// busy machine makes frames late, and late is allowed.
TEST(AppFrames, ComeWithInputACaretBlinkAndANoticeExpiringAndNotOtherwise) {
    App app(hidden());
    Scene scene;
    std::vector<double> times;
    double expires = 0;
    std::size_t moved = 0; // the frame the pointer's move brought
    auto field = scene.root()->emplace<TextField>();
    field->bounds = {10, 60, 200, 36};
    scene.focus(field);
    scene.root()->emplace<FrameProbe>()->seen = [&](double t) {
        if (times.empty()) {
            std::make_shared<Notification>("Saved", "")->show(scene, 0.8);
            expires = t + 0.8;
        }
        times.push_back(t);
        // Once the caret is back after the notice went, the pointer moves; the frame after the
        // one that brings it ends the run.
        if (moved == 0 && t >= 1.0 && t >= expires) {
            push(SDL_MOUSEMOTION);
            moved = times.size();
        } else if (moved > 0 && times.size() == moved + 2) {
            push(SDL_QUIT);
        }
    };
    const auto watchdog = later(60, SDL_QUIT);
    app.run(scene);

    ASSERT_GT(moved, 0u) << "the run ended early";
    ASSERT_EQ(times.size(), moved + 2);
    // The caret turns off 0.6 s into each second and on at the next; the first frame, the
    // input's and the ones after them need nothing more.
    auto caused = [&](double from, double to) {
        for (double second = std::floor(from); second <= to; second += 1)
            for (double change : {second + 0.6, second + 1.0})
                if (change > from && change <= to) return true;
        return expires > from && expires <= to;
    };
    for (std::size_t i = 2; i < moved; ++i)
        EXPECT_TRUE(caused(times[i - 1], times[i]))
            << "frame " << i << ": " << ::testing::PrintToString(times);
    EXPECT_GE(moved, 5u) << "caret off, notice gone and caret on each bring a frame";
}

TEST(AppFrames, PickUpAWorkersResultAndThenRest) {
    App app(hidden());
    Scene scene;
    auto browser = scene.root()->emplace<FileBrowser>(false, "/usr/bin");
    std::vector<bool> loading;
    std::jthread quit;
    scene.root()->emplace<FrameProbe>()->seen = [&](double) {
        loading.push_back(browser->loading);
        if (!browser->loading && !quit.joinable()) quit = later(0.5, SDL_QUIT);
    };
    const auto watchdog = later(60, SDL_QUIT);
    app.run(scene);
    const auto first = std::find(loading.begin(), loading.end(), false);
    ASSERT_NE(first, loading.end()) << "the listing never arrived";
    // Then the loop rests: nothing follows but, at most, the one frame after that one.
    EXPECT_LE(loading.end() - first, 2);
}

TEST(AppRuns, EndAfterTheirFramesOrWhenAFrameClosesTheWindow) {
    Scene scene;
    int painted = 0;
    std::function<void()> each = [] {};
    scene.root()->emplace<FrameProbe>()->seen = [&](double) {
        ++painted;
        each();
    };
    {
        App app(hidden(3)); // nothing in the scene asks for a frame
        const auto watchdog = later(60, SDL_QUIT);
        app.run(scene);
        EXPECT_EQ(painted, 3);
    }
    painted = 0;
    App app(hidden());
    each = [&] {
        if (painted == 2) app.window().close();
    };
    const auto watchdog = later(60, SDL_QUIT);
    app.run(scene);
    EXPECT_EQ(painted, 2);
}

// A scene outlives the App that ran it; another window's context may be current when the App
// draws or goes.
TEST(AppRuns, InTurnOrBesideAnotherWindowEachUsesItsOwnWindow) {
    Scene scene;
    auto field = scene.root()->emplace<TextField>();
    field->bounds = {10, 10, 200, 36};
    field->value("copied");
    scene.focus(field);
    App(hidden(1)).run(scene);

    auto app = std::make_unique<App>(hidden());
    Window other({.title = "other", .width = 64, .height = 64, .visible = false});
    int painted = 0;
    scene.root()->emplace<FrameProbe>()->seen = [&](double) {
        ++painted;
        if (painted == 1) push(SDL_KEYDOWN, SDLK_a);
        if (painted == 3) push(SDL_KEYDOWN, SDLK_c);
        if (painted == 5) app->window().close();
    };
    app->run(scene);
    char* clip = SDL_GetClipboardText();
    EXPECT_STREQ(clip, "copied");
    SDL_free(clip);
    other.make_current();
    app.reset();
}

} // namespace
