// Shared set-up of the GL tests: a hidden context with the backend open on it, and pixel
// access in top-down logical order.
#pragma once

#include "gl_context.hpp"
#include "velmora/core/canvas.hpp"
#include "velmora/gpu/vg.hpp"

#include <GL/gl.h>
#include <GL/glext.h>
#include <array>
#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace velmora::test {

using Rgba = std::array<int, 4>;

// Pixels as vg_read_pixels returns them (bottom row first), addressed top-down.
struct Image {
    int width = 0, height = 0;
    std::vector<std::uint8_t> bytes;

    Rgba at(int x, int y) const {
        const std::uint8_t* p = &bytes[(static_cast<std::size_t>(height - 1 - y) * width + x) * 4];
        return {p[0], p[1], p[2], p[3]};
    }
};

class GpuTest : public ::testing::Test {
protected:
    static constexpr int size = 128;

    static void SetUpTestSuite() {
        context = std::make_unique<GlTestContext>(size, size);
        vg_clear_error();
        ASSERT_EQ(vg_open(velmora_shaders), 1) << vg_error();
    }
    static void TearDownTestSuite() {
        vg_close();
        context.reset();
    }

    void SetUp() override {
        vg_clear_error();
        restart();
    }

    // A black back buffer and the canvas begun afresh, for the next frame of a test.
    void restart(const ui::Theme& theme = analytic()) {
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        glDisable(GL_SCISSOR_TEST);
        glClearColor(0, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        canvas.begin(size, size, theme);
    }

    // The default theme with analytic coverage, whose edges fall exactly on pixel boundaries:
    // a pixel centre half a unit inside is fully covered, half a unit outside not at all.
    static ui::Theme analytic() {
        ui::Theme theme;
        theme.antialiasing = 1;
        return theme;
    }

    // Submits the canvas to the default framebuffer at one pixel per logical unit.
    void submit(float sigma = 0, int pixels = size) {
        static const float no_commands[64] = {};
        const auto& commands = canvas.commands();
        vg_submit(commands.empty() ? no_commands : commands.front().slot, commands.size() * 64,
                  static_cast<int>(commands.size()), 0, vg_back_buffer, pixels, pixels, canvas.width(),
                  canvas.height(), sigma, -1, -1);
    }

    static Image read() {
        Image image{size, size, std::vector<std::uint8_t>(size * size * 4)};
        vg_read_pixels(size, size, image.bytes.data(), image.bytes.size());
        return image;
    }

    static inline std::unique_ptr<GlTestContext> context;
    ui::Canvas canvas;
};

} // namespace velmora::test
