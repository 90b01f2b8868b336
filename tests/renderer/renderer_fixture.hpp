// Shared set-up of the Renderer tests: one hidden GL context for the suite, a fresh Renderer
// for each test, and the canvas begun at one pixel per logical unit.
#pragma once

#include "../thrown.hpp"
#include "gl_context.hpp"
#include "velmora/core/canvas.hpp"
#include "velmora/renderer/renderer.hpp"

#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>

namespace velmora::test {

class RendererTest : public ::testing::Test {
protected:
    static constexpr int size = 128;

    static void SetUpTestSuite() { context = std::make_unique<GlTestContext>(size, size); }
    static void TearDownTestSuite() { context.reset(); }

    void SetUp() override {
        renderer.emplace();
        renderer->begin(canvas, size, size, size, size, theme);
    }
    void TearDown() override { renderer.reset(); }

    static inline std::unique_ptr<GlTestContext> context;
    ui::Theme theme;
    ui::Canvas canvas;
    std::optional<ui::Renderer> renderer;
};

} // namespace velmora::test
