// The device's life cycle and the checks that fail a call before it draws anything.
#include "gpu_fixture.hpp"

#include <string>

namespace velmora::test {
namespace {

TEST(GpuClosed, CallsBeforeOpeningAnswerWithoutTouchingGl) {
    vg_close(); // nothing open: harmless
    EXPECT_STREQ(vg_device(), "not initialized");
    EXPECT_EQ(vg_gl_error(), 0u);

    vg_clear_error();
    vg_background(64, 64, 1, 1, 0, 0xFF000000u, 0xFFFFFFFFu);
    EXPECT_STREQ(vg_error(), "");

    EXPECT_EQ(vg_texture(16, 16), 0u);
    EXPECT_STREQ(vg_error(), "Invalid texture creation");

    float command[64] = {};
    vg_clear_error();
    vg_submit(command, 64, 1, 0, vg_back_buffer, 64, 64, 64, 64, 0, 0, 0);
    EXPECT_STREQ(vg_error(), "Renderer is not initialized");
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
    EXPECT_LT(log.size(), 2048u);
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

TEST_F(GpuTest, SecondOpenFailsAndLeavesTheFirstWorking) {
    std::string device = vg_device();
    EXPECT_NE(device, "not initialized");

    EXPECT_EQ(vg_open(velmora_shaders), 0);
    EXPECT_STREQ(vg_error(), "Only one VelmoraUI renderer per process.");
    EXPECT_EQ(vg_device(), device);

    vg_clear_error();
    canvas.fill({0, 0, 8, 8}, 0xFFFF0000u, 0);
    submit();
    EXPECT_STREQ(vg_error(), "");
    EXPECT_EQ(read().at(4, 4), (Rgba{255, 0, 0, 255}));
    EXPECT_EQ(vg_gl_error(), 0u);
}

TEST_F(GpuTest, BadSubmitArgumentsFailWithoutDrawing) {
    canvas.fill({0, 0, size, size}, 0xFFFFFFFFu, 0);
    const float* c = canvas.commands().front().slot;
    const char* message = "Invalid draw buffer or framebuffer parameters";
    auto expect_rejected = [&](const float* commands, std::size_t floats, int count, int width, float logical,
                               float sigma) {
        vg_clear_error();
        vg_submit(commands, floats, count, 0, vg_back_buffer, width, size, logical, size, sigma, 0, 0);
        EXPECT_STREQ(vg_error(), message);
    };
    expect_rejected(c, 63, 1, size, size, 0);      // array shorter than the count says
    expect_rejected(c, 64, 1, 0, size, 0);         // no pixels
    expect_rejected(c, 64, 1, size, 0, 0);         // no logical size
    expect_rejected(c, 64, 1, size, size, 32.01f); // sigma out of range
    EXPECT_EQ(read().at(64, 64), (Rgba{0, 0, 0, 255}));
}

// A frame with a broken clip structure draws nothing, even the commands before the fault.
TEST_F(GpuTest, UnbalancedClipsFailTheFrameBeforeAnythingIsDrawn) {
    auto frame = [&](int pushes, int pops) {
        canvas.begin(size, size, ui::Theme{});
        canvas.fill({0, 0, size, size}, 0xFFFFFFFFu, 0);
        std::vector<ui::Command> commands = canvas.commands();
        ui::Command push{}, pop{};
        push.slot[0] = ui::kind_push_clip;
        push.slot[3] = push.slot[4] = size;
        pop.slot[0] = ui::kind_pop_clip;
        for (int i = 0; i < pushes; ++i) commands.push_back(push);
        for (int i = 0; i < pops; ++i) commands.push_back(pop);
        commands.push_back(commands.front()); // a draw after the fault
        vg_clear_error();
        vg_submit(commands.front().slot, commands.size() * 64, static_cast<int>(commands.size()), 0,
                  vg_back_buffer, size, size, size, size, 0, 0, 0);
        return std::string(vg_error());
    };
    EXPECT_EQ(frame(0, 1), "Unbalanced shaped clip pop");
    EXPECT_EQ(frame(33, 33), "Shaped clip depth exceeds 32");
    EXPECT_EQ(frame(2, 1), "Unbalanced shaped clip pushes");
    EXPECT_EQ(read().at(64, 64), (Rgba{0, 0, 0, 255}));

    EXPECT_EQ(frame(32, 32), "");
    EXPECT_EQ(read().at(64, 64), (Rgba{255, 255, 255, 255}));
}

TEST_F(GpuTest, TexturesRoundTripThroughAGlyphDrawAndShortBuffersAreRefused) {
    auto refused = [](const char* message) {
        EXPECT_STREQ(vg_error(), message);
        vg_clear_error();
    };
    EXPECT_EQ(vg_texture(0, 4), 0u);
    refused("Invalid texture creation");
    std::vector<std::uint8_t> pixels(16 * 16 * 4 - 1);
    vg_upload(0, 0, 0, 16, 16, pixels.data(), pixels.size());
    refused("Invalid texture upload buffer");
    vg_upload(0, 0, 0, 0, 16, pixels.data(), pixels.size());
    refused("Invalid texture upload buffer");
    vg_read_pixels(16, 16, pixels.data(), pixels.size());
    refused("Screenshot buffer is too small");
    vg_read_pixels(1, 1, nullptr, 4);
    refused("Screenshot buffer is too small");

    unsigned texture = vg_texture(8, 8);
    ASSERT_NE(texture, 0u);
    // Opaque coverage in the right half of the atlas only.
    pixels.assign(8 * 8 * 4, 0);
    for (int y = 0; y < 8; ++y)
        for (int x = 4; x < 8; ++x) pixels[(y * 8 + x) * 4 + 3] = 255;
    vg_upload(texture, 0, 0, 8, 8, pixels.data(), pixels.size());

    ui::Command& glyph = canvas.add(ui::kind_glyph, {32, 32, 64, 64}, 0xFF00FF00u);
    glyph.slot[13] = glyph.slot[14] = 0;
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
