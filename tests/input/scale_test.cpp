// A visible window on a Wayland output of scale 1 or 2 (VELMORA_TEST_SCALE), run through
// run-wayland --kiosk=1280x800 so that the window fills the output: it keeps 1280 x 800
// logical units, draws at scale times the pixels with its text rasterised for those pixels,
// and the pointer, moved on the X display under the compositor, reaches the control under it.
#include "velmora/core/canvas.hpp"
#include "velmora/platform/window.hpp"
#include "velmora/renderer/renderer.hpp"
#include "velmora/scene/scene.hpp"
#include "velmora/widgets/basic.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace {

namespace ui = velmora::ui;
using namespace std::chrono_literals;

constexpr ui::Vec2 logical{1280, 800};
constexpr unsigned back_buffer = 0x0405; // GL_BACK

// The gradient-weighted mean step between horizontal neighbours inside `crop` (in pixels), as
// a share of the crop's contrast. A glyph drawn small and magnified spreads each edge over
// twice the pixels, and its steps halve.
double sharpness(const ui::Pixels& p, int x0, int y0, int w, int h) {
    double squares = 0, sum = 0;
    int lo = 255, hi = 0;
    for (int y = y0; y < y0 + h; ++y)
        for (int x = x0; x < x0 + w; ++x) {
            const int g = p.data[(static_cast<std::size_t>(y) * p.width + x) * 4 + 1];
            const int d = std::abs(p.data[(static_cast<std::size_t>(y) * p.width + x + 1) * 4 + 1] - g);
            squares += d * d;
            sum += d;
            lo = std::min(lo, g);
            hi = std::max(hi, g);
        }
    return sum > 0 && hi > lo ? squares / sum / (hi - lo) : 0;
}

class Scaled : public ::testing::Test {
protected:
    void SetUp() override {
        const char* scale = std::getenv("VELMORA_TEST_SCALE");
        if (!scale || !std::getenv("VELMORA_X_DISPLAY")) GTEST_SKIP() << "needs run-wayland --kiosk=1280x800";
        s = std::atoi(scale);
        window = std::make_unique<ui::Window>(ui::WindowOptions{"scaled", 1280 * s, 800 * s, true});
        renderer = std::make_unique<ui::Renderer>(); // on the window's context
    }

    // One frame of logical 1280 x 800 over `pixels` (the window's own when zero), read back.
    ui::Pixels draw(const std::function<void(const ui::Input&)>& record, int pixel_w = 0, int pixel_h = 0) {
        const int w = pixel_w ? pixel_w : window->width(), h = pixel_h ? pixel_h : window->height();
        ui::Input input = window->input();
        input.mouse = window->to_logical(input.mouse, logical);
        renderer->background(w, h, 0, theme, false);
        renderer->begin(canvas, w, h, logical.x, logical.y, theme);
        record(input);
        renderer->render(canvas, w, h, input.mouse, 0, back_buffer);
        return renderer->read_pixels(w, h);
    }

    int s = 1;
    std::unique_ptr<ui::Window> window;
    std::unique_ptr<ui::Renderer> renderer;
    ui::Canvas canvas;
    ui::Theme theme;
};

TEST_F(Scaled, TheWindowKeepsItsLogicalSizeAndItsTextIsAsSharpAsAtScale1) {
    for (int i = 0; i < 5; ++i) {
        ASSERT_TRUE(window->poll());
        window->swap();
    }
    EXPECT_EQ(window->dpi_scale(), static_cast<float>(s));
    EXPECT_EQ(window->width(), 1280 * s);
    EXPECT_EQ(window->height(), 800 * s);
    const ui::Vec2 corner = window->to_logical({1280, 800}, logical); // window units are logical ones
    EXPECT_EQ(corner.x, logical.x);
    EXPECT_EQ(corner.y, logical.y);

    const auto text = [this](const ui::Input&) {
        canvas.fill({40, 40, 400, 60}, 0xFFFFFFFF, 0);
        canvas.text("Sharp edges 清晰", {50, 64}, 18, 0xFF000000, 400);
    };
    const ui::Pixels at_scale = draw(text);
    const ui::Pixels at_1 = draw(text, 1280, 800);
    const double sharp = sharpness(at_scale, 45 * s, 45 * s, 390 * s, 50 * s);
    const double reference = sharpness(at_1, 45, 45, 390, 50);
    EXPECT_GT(reference, 0.2);
    EXPECT_GT(sharp, 0.8 * reference) << sharp << " against " << reference << " at scale 1";
}

TEST_F(Scaled, ThePointerReachesTheControlUnderIt) {
    ui::Scene scene;
    int clicks[2] = {};
    std::shared_ptr<ui::Button> buttons[2];
    const ui::Rect at[2] = {{100, 300, 200, 60}, {900, 600, 200, 60}};
    for (int i = 0; i < 2; ++i) {
        buttons[i] = std::make_shared<ui::Button>("Button");
        buttons[i]->bounds = at[i];
        buttons[i]->on_activate = [&clicks, i](ui::Widget&) { ++clicks[i]; };
        scene.root()->add(buttons[i]);
    }
    const auto frame = [&] {
        ASSERT_TRUE(window->poll());
        draw([&](const ui::Input& input) { scene.frame(canvas, input, 0); });
        window->swap();
    };
    for (int n = 0; n < 5; ++n) frame(); // the window is on the output before the pointer comes
    for (int i : {1, 0}) {
        // X pixels of the compositor's output window, which sits at the X screen's corner.
        const std::string x = std::to_string(static_cast<int>((at[i].x + at[i].w / 2) * s));
        const std::string y = std::to_string(static_cast<int>((at[i].y + at[i].h / 2) * s));
        const std::string xdotool = "DISPLAY=\"$VELMORA_X_DISPLAY\" xdotool mousemove --sync ";
        ASSERT_EQ(std::system((xdotool + x + " " + y + " sleep 0.1 click 1").c_str()), 0);
        for (int n = 0; n < 100 && clicks[i] == 0; ++n) {
            std::this_thread::sleep_for(20ms);
            frame();
        }
        EXPECT_EQ(clicks[i], 1) << "button " << i;
    }
    EXPECT_EQ(clicks[0] + clicks[1], 2);
}

} // namespace
