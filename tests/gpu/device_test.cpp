// The device's life cycle and the checks that fail a call before it draws anything.
#include "gpu_fixture.hpp"

#include <string>

namespace velmora::test {
namespace {

// The error a call left, cleared for the next one.
template <class F> std::string error_of(F call) {
    vg_clear_error();
    call();
    std::string error = vg_error();
    vg_clear_error();
    return error;
}

TEST(GpuClosed, CallsBeforeOpeningAnswerWithoutTouchingGl) {
    vg_close(); // nothing open: harmless
    EXPECT_STREQ(vg_device(), "not initialized");
    EXPECT_EQ(error_of([] { vg_background(64, 64, 1, 1, 0, 0xFF000000u, 0xFFFFFFFFu); }), "");
    EXPECT_EQ(error_of([] { EXPECT_EQ(vg_texture(16, 16), 0u); }), "Invalid texture creation");
    EXPECT_EQ(error_of([] {
                  float command[64] = {};
                  vg_submit(command, 64, 1, 0, vg_back_buffer, 64, 64, 64, 64, 0, 0, 0);
              }),
              "Renderer is not initialized");
    EXPECT_EQ(vg_gl_error(), 0u);
}

TEST(GpuOpen, SyntaxErrorReportsTheDriverLogAndLeavesNothingOpen) {
    GlTestContext context(64, 64);
    const char* texts[vg_shader_count];
    for (int i = 0; i < vg_shader_count; ++i) texts[i] = velmora_shaders[i];
    texts[5] = "#version 330 core\nout vec4 color;\nvoid main() { color = vec4(1.0) }\n";
    vg_clear_error();
    EXPECT_EQ(vg_open(texts), 0);
    std::string log = vg_error();
    EXPECT_FALSE(log.empty());
    EXPECT_EQ(log.find("Missing OpenGL entry point"), std::string::npos) << log;
    EXPECT_STREQ(vg_device(), "not initialized");

    // The failure left nothing behind, so the real texts open at once.
    ASSERT_EQ(vg_open(velmora_shaders), 1) << vg_error();
    EXPECT_STREQ(vg_error(), "");
    vg_close();

    // A log longer than the error text is cut, not overrun.
    std::string many = "#version 330 core\nout vec4 color;\nvoid main() {\n";
    for (int i = 0; i < 400; ++i) many += "undeclared" + std::to_string(i) + " = 1.0;\n";
    texts[5] = (many += "}\n").c_str();
    EXPECT_EQ(vg_open(texts), 0);
    EXPECT_EQ(std::string(vg_error()).size(), 2047u);
}

TEST_F(GpuTest, ASecondOpenAndBadArgumentsFailWithoutHarmingTheFirstOrDrawing) {
    std::string device = vg_device();
    EXPECT_EQ(vg_open(velmora_shaders), 0);
    EXPECT_STREQ(vg_error(), "Only one VelmoraUI renderer per process.");
    EXPECT_EQ(vg_device(), device);

    canvas.fill({0, 0, size, size}, 0xFFFFFFFFu, 0);
    const float* c = canvas.commands().front().slot;
    const struct {
        std::size_t floats;
        int width;
        float logical, sigma;
    } bad[] = {{63, size, size, 0}, {64, 0, size, 0}, {64, size, 0, 0}, {64, size, size, 32.01f}};
    for (const auto& b : bad) {
        vg_clear_error();
        vg_submit(c, b.floats, 1, 0, vg_back_buffer, b.width, size, b.logical, size, b.sigma, 0, 0);
        EXPECT_STREQ(vg_error(), "Invalid draw buffer or framebuffer parameters")
            << b.floats << " " << b.width;
    }
    EXPECT_EQ(read().at(64, 64), (Rgba{0, 0, 0, 255}));
    vg_clear_error();
    submit();
    EXPECT_STREQ(vg_error(), "");
    EXPECT_EQ(read().at(64, 64), (Rgba{255, 255, 255, 255}));
}

TEST_F(GpuTest, TexturesRoundTripThroughAGlyphDrawAndShortBuffersAreRefused) {
    std::vector<std::uint8_t> pixels(16 * 16 * 4 - 1);
    std::uint8_t* p = pixels.data();
    const std::size_t n = pixels.size();
    EXPECT_EQ(error_of([] { vg_texture(0, 4); }), "Invalid texture creation");
    EXPECT_EQ(error_of([&] { vg_upload(0, 0, 0, 16, 16, p, n); }), "Invalid texture upload buffer");
    EXPECT_EQ(error_of([&] { vg_upload(0, 0, 0, 0, 16, p, n); }), "Invalid texture upload buffer");
    EXPECT_EQ(error_of([&] { vg_read_pixels(16, 16, p, n); }), "Screenshot buffer is too small");
    EXPECT_EQ(error_of([] { vg_read_pixels(1, 1, nullptr, 4); }), "Screenshot buffer is too small");

    unsigned texture = vg_texture(8, 8);
    ASSERT_NE(texture, 0u);
    // Opaque coverage in the right half of the atlas only.
    pixels.assign(8 * 8 * 4, 0);
    for (int y = 0; y < 8; ++y)
        for (int x = 4; x < 8; ++x) pixels[(y * 8 + x) * 4 + 3] = 255;
    vg_upload(texture, 0, 0, 8, 8, pixels.data(), pixels.size());
    ui::Command& glyph = canvas.add(ui::kind_glyph, {32, 32, 64, 64}, 0xFF00FF00u);
    glyph.slot[15] = glyph.slot[16] = 1;
    glyph.texture(texture);
    submit();
    EXPECT_STREQ(vg_error(), "");
    Image image = read();
    EXPECT_EQ(image.at(40, 64), (Rgba{0, 0, 0, 255}));
    EXPECT_EQ(image.at(88, 64), (Rgba{0, 255, 0, 255}));
    vg_delete_texture(texture);
    EXPECT_EQ(vg_gl_error(), 0u);
}

} // namespace
} // namespace velmora::test
