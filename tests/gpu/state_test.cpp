// The backend is a guest in the host's GL state: whatever the host left set must neither
// reach the pixels nor be changed by any call.
#include "gpu_fixture.hpp"

#include <string>
#include <utility>

namespace velmora::test {
namespace {

using HostState = std::vector<std::pair<std::string, GLint>>;

// The names of the settings that changed, e.g. "viewport[2] 40->128; ".
std::string changes(const HostState& before, const HostState& after) {
    std::string out;
    for (std::size_t i = 0; i < before.size() && i < after.size(); ++i)
        if (before[i] != after[i])
            out += before[i].first + " " + std::to_string(before[i].second) + "->" +
                   std::to_string(after[i].second) + "; ";
    return out;
}

GLuint compile(GLenum stage, const char* text) {
    GLuint shader = glCreateShader(stage);
    glShaderSource(shader, 1, &text, nullptr);
    glCompileShader(shader);
    return shader;
}

class HostStateTest : public GpuTest {
protected:
    void SetUp() override {
        GpuTest::SetUp();
        glGenTextures(4, textures);
        for (GLuint t : textures) {
            glBindTexture(GL_TEXTURE_2D, t);
            glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, size, size, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
        }
        glBindTexture(GL_TEXTURE_2D, 0);
        glGenFramebuffers(1, &fbo);
        glBindFramebuffer(GL_FRAMEBUFFER, fbo);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT1, GL_TEXTURE_2D, textures[3], 0);
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        glGenSamplers(2, samplers);
        for (GLuint s : samplers) {
            glSamplerParameteri(s, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
            glSamplerParameteri(s, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
            glSamplerParameteri(s, GL_TEXTURE_WRAP_S, GL_MIRRORED_REPEAT);
        }
        glGenBuffers(2, buffers);
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, buffers[0]);
        glBufferData(GL_PIXEL_UNPACK_BUFFER, 1 << 20, nullptr, GL_STREAM_DRAW);
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
        glBindBuffer(GL_PIXEL_PACK_BUFFER, buffers[1]);
        glBufferData(GL_PIXEL_PACK_BUFFER, 1 << 20, nullptr, GL_STREAM_READ);
        glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
        glGenVertexArrays(1, &vertex_array);
        program = glCreateProgram();
        GLuint vs =
            compile(GL_VERTEX_SHADER, "#version 330 core\nvoid main() { gl_Position = vec4(0.0); }\n");
        GLuint fs =
            compile(GL_FRAGMENT_SHADER, "#version 330 core\nout vec4 c;\nvoid main() { c = vec4(1.0); }\n");
        glAttachShader(program, vs);
        glAttachShader(program, fs);
        glLinkProgram(program);
        glDeleteShader(vs);
        glDeleteShader(fs);
    }

    void TearDown() override {
        set_default_state();
        glDeleteProgram(program);
        glDeleteVertexArrays(1, &vertex_array);
        glDeleteBuffers(2, buffers);
        glDeleteSamplers(2, samplers);
        glDeleteFramebuffers(1, &fbo);
        glDeleteTextures(4, textures);
    }

    // Every setting the backend promises to keep, each at a value no sane default has, and
    // each able to spoil the drawing if it leaked in.
    void set_hostile_state() {
        glUseProgram(program);
        glBindVertexArray(vertex_array);
        glBindFramebuffer(GL_FRAMEBUFFER, fbo);
        glDrawBuffer(GL_COLOR_ATTACHMENT1);
        glReadBuffer(GL_COLOR_ATTACHMENT1);
        glViewport(3, 5, 40, 50);
        glScissor(0, 0, 200, 300); // enabled, but wide enough not to cut the frame
        if (context->compatibility()) {
            glPolygonMode(GL_FRONT, GL_LINE);
            glPolygonMode(GL_BACK, GL_POINT);
        } else {
            glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
        }
        glColorMaski(0, GL_TRUE, GL_FALSE, GL_TRUE, GL_FALSE);
        glBlendFuncSeparate(GL_SRC_COLOR, GL_DST_COLOR, GL_ZERO, GL_ONE);
        glBlendEquationSeparate(GL_FUNC_SUBTRACT, GL_MAX);
        glDepthFunc(GL_NEVER);
        glStencilFunc(GL_NEVER, 0, 0);
        glCullFace(GL_FRONT_AND_BACK);
        glLogicOp(GL_CLEAR);
        glSampleCoverage(0.0f, GL_FALSE);
        glSampleMaski(0, 0);
        for (GLenum flag :
             {GL_BLEND, GL_DEPTH_TEST, GL_STENCIL_TEST, GL_CULL_FACE, GL_SCISSOR_TEST, GL_COLOR_LOGIC_OP,
              GL_SAMPLE_ALPHA_TO_COVERAGE, GL_SAMPLE_ALPHA_TO_ONE, GL_SAMPLE_COVERAGE, GL_SAMPLE_MASK,
              GL_FRAMEBUFFER_SRGB, GL_CLIP_DISTANCE0, GL_CLIP_DISTANCE0 + 3})
            glEnable(flag);
        if (context->compatibility()) glEnable(GL_ALPHA_TEST);
        for (GLuint unit = 0; unit < 2; ++unit) {
            glActiveTexture(GL_TEXTURE0 + unit);
            glBindTexture(GL_TEXTURE_2D, textures[unit]);
            glBindSampler(unit, samplers[unit]);
        }
        glActiveTexture(GL_TEXTURE0 + 2);
        glBindTexture(GL_TEXTURE_2D, textures[2]);
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, buffers[0]);
        glBindBuffer(GL_PIXEL_PACK_BUFFER, buffers[1]);
        glPixelStorei(GL_UNPACK_ALIGNMENT, 2);
        glPixelStorei(GL_UNPACK_ROW_LENGTH, 13);
        glPixelStorei(GL_UNPACK_SKIP_PIXELS, 1);
        glPixelStorei(GL_UNPACK_SKIP_ROWS, 3);
        glPixelStorei(GL_PACK_ALIGNMENT, 8);
        glPixelStorei(GL_PACK_ROW_LENGTH, 7);
        glPixelStorei(GL_PACK_SKIP_PIXELS, 2);
        glPixelStorei(GL_PACK_SKIP_ROWS, 5);
        // The rasterizer discard would also stop glClear-free tests from seeing anything.
        glEnable(GL_RASTERIZER_DISCARD);
    }

    void set_default_state() {
        glUseProgram(0);
        glBindVertexArray(0);
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        glViewport(0, 0, size, size);
        glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
        glColorMaski(0, GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
        for (GLenum flag :
             {GL_BLEND, GL_DEPTH_TEST, GL_STENCIL_TEST, GL_CULL_FACE, GL_SCISSOR_TEST, GL_COLOR_LOGIC_OP,
              GL_SAMPLE_ALPHA_TO_COVERAGE, GL_SAMPLE_ALPHA_TO_ONE, GL_SAMPLE_COVERAGE, GL_SAMPLE_MASK,
              GL_FRAMEBUFFER_SRGB, GL_CLIP_DISTANCE0, GL_CLIP_DISTANCE0 + 3, GL_RASTERIZER_DISCARD})
            glDisable(flag);
        if (context->compatibility()) glDisable(GL_ALPHA_TEST);
        for (GLuint unit = 0; unit < 3; ++unit) {
            glActiveTexture(GL_TEXTURE0 + unit);
            glBindTexture(GL_TEXTURE_2D, 0);
            glBindSampler(unit, 0);
        }
        glActiveTexture(GL_TEXTURE0);
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
        glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
        glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
        glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
        glPixelStorei(GL_UNPACK_SKIP_PIXELS, 0);
        glPixelStorei(GL_UNPACK_SKIP_ROWS, 0);
        glPixelStorei(GL_PACK_ALIGNMENT, 4);
        glPixelStorei(GL_PACK_ROW_LENGTH, 0);
        glPixelStorei(GL_PACK_SKIP_PIXELS, 0);
        glPixelStorei(GL_PACK_SKIP_ROWS, 0);
    }

    HostState capture() const {
        HostState s;
        auto get = [&](const std::string& name, GLenum query, int count = 1) {
            GLint v[4] = {-7, -7, -7, -7};
            glGetIntegerv(query, v);
            for (int i = 0; i < count; ++i) s.emplace_back(name + "[" + std::to_string(i) + "]", v[i]);
        };
        auto flag = [&](const std::string& name, GLenum e) { s.emplace_back(name, glIsEnabled(e)); };
        get("program", GL_CURRENT_PROGRAM);
        get("vertex array", GL_VERTEX_ARRAY_BINDING);
        get("draw framebuffer", GL_DRAW_FRAMEBUFFER_BINDING);
        get("read framebuffer", GL_READ_FRAMEBUFFER_BINDING);
        get("draw buffer 0", GL_DRAW_BUFFER0);
        get("draw buffer 1", GL_DRAW_BUFFER1);
        get("read buffer", GL_READ_BUFFER);
        get("viewport", GL_VIEWPORT, 4);
        get("scissor box", GL_SCISSOR_BOX, 4);
        get("polygon mode", GL_POLYGON_MODE, context->compatibility() ? 2 : 1);
        GLint mask[4] = {};
        glGetIntegeri_v(GL_COLOR_WRITEMASK, 0, mask);
        for (int i = 0; i < 4; ++i) s.emplace_back("colour mask " + std::to_string(i), mask[i]);
        get("blend src rgb", GL_BLEND_SRC_RGB);
        get("blend dst rgb", GL_BLEND_DST_RGB);
        get("blend src alpha", GL_BLEND_SRC_ALPHA);
        get("blend dst alpha", GL_BLEND_DST_ALPHA);
        get("blend equation rgb", GL_BLEND_EQUATION_RGB);
        get("blend equation alpha", GL_BLEND_EQUATION_ALPHA);
        flag("blend", GL_BLEND);
        flag("depth test", GL_DEPTH_TEST);
        flag("stencil test", GL_STENCIL_TEST);
        flag("cull face", GL_CULL_FACE);
        flag("scissor test", GL_SCISSOR_TEST);
        flag("logic op", GL_COLOR_LOGIC_OP);
        flag("rasterizer discard", GL_RASTERIZER_DISCARD);
        flag("alpha to coverage", GL_SAMPLE_ALPHA_TO_COVERAGE);
        flag("alpha to one", GL_SAMPLE_ALPHA_TO_ONE);
        flag("sample coverage", GL_SAMPLE_COVERAGE);
        flag("sample mask", GL_SAMPLE_MASK);
        flag("framebuffer srgb", GL_FRAMEBUFFER_SRGB);
        for (GLenum i = 0; i < 8; ++i) flag("clip distance " + std::to_string(i), GL_CLIP_DISTANCE0 + i);
        if (context->compatibility()) flag("alpha test", GL_ALPHA_TEST);
        GLint active = 0;
        glGetIntegerv(GL_ACTIVE_TEXTURE, &active);
        s.emplace_back("active unit", active);
        for (GLuint unit = 0; unit < 3; ++unit) {
            glActiveTexture(GL_TEXTURE0 + unit);
            get("texture of unit " + std::to_string(unit), GL_TEXTURE_BINDING_2D);
            get("sampler of unit " + std::to_string(unit), GL_SAMPLER_BINDING);
        }
        glActiveTexture(static_cast<GLenum>(active));
        get("unpack buffer", GL_PIXEL_UNPACK_BUFFER_BINDING);
        get("pack buffer", GL_PIXEL_PACK_BUFFER_BINDING);
        for (GLenum e :
             {GL_UNPACK_ALIGNMENT, GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_PIXELS, GL_UNPACK_SKIP_ROWS,
              GL_PACK_ALIGNMENT, GL_PACK_ROW_LENGTH, GL_PACK_SKIP_PIXELS, GL_PACK_SKIP_ROWS})
            get("pixel store " + std::to_string(e), e);
        return s;
    }

    // One frame that runs every path of the submission: each kind, shaped clips, a backdrop,
    // a glyph from an atlas uploaded here, and the blur.
    Image draw_everything() {
        const std::vector<std::uint8_t> atlas(8 * 8 * 4, 200);
        unsigned texture = vg_texture(8, 8);
        vg_upload(texture, 0, 0, 8, 8, atlas.data(), atlas.size());
        vg_background(size, size, 1.5f, 1, 0, 0xFF202830u, 0xFFC0B0A0u);
        canvas.fill({10, 10, 60, 40}, 0xFFE04020u, 12);
        canvas.push_clip({0, 0, 100, 100}, 30);
        canvas.glass({20, 20, 90, 80}, ui::Theme{}, 18);
        canvas.ring({60, 60, 50, 50}, 0xFF20E040u, 5, 0.7f, 0.1f);
        canvas.pop_clip();
        canvas.backdrop();
        canvas.glass({40, 5, 80, 40}, ui::Theme::liquid(), 12);
        canvas.line({5, 120}, {120, 90}, 0xC0FFFFFFu, 3);
        canvas.color_plane({90, 90, 30, 30}, 0.6f);
        canvas.stroke({2, 2, 124, 124}, 0xFF4060FFu, 2, 20);
        ui::Command& glyph = canvas.add(ui::kind_glyph, {70, 10, 16, 16}, 0xFFFFFFFFu);
        glyph.slot[15] = glyph.slot[16] = 1;
        glyph.texture(texture);
        submit(18);
        Image image = read();
        vg_delete_texture(texture);
        EXPECT_STREQ(vg_error(), "");
        return image;
    }

    GLuint textures[4] = {}, samplers[2] = {}, buffers[2] = {}, fbo = 0, vertex_array = 0, program = 0;
};

TEST_F(HostStateTest, EveryCallLeavesTheHostStateAsItFoundIt) {
    set_hostile_state();
    const HostState before = capture();

    unsigned texture = vg_texture(16, 16);
    EXPECT_EQ(changes(before, capture()), "") << "vg_texture";
    const std::vector<std::uint8_t> pixels(16 * 16 * 4, 99);
    vg_upload(texture, 4, 4, 8, 8, pixels.data(), pixels.size());
    EXPECT_EQ(changes(before, capture()), "") << "vg_upload";
    vg_background(size, size, 2, 1, 1, 0xFF000000u, 0xFFFFFFFFu);
    EXPECT_EQ(changes(before, capture()), "") << "vg_background";

    canvas.glass({10, 10, 100, 100}, ui::Theme{}, 20);
    canvas.push_clip({0, 0, 64, 64}, 8);
    canvas.fill({0, 0, 128, 128}, 0x80FF0000u, 0);
    canvas.pop_clip();
    canvas.backdrop();
    submit(18);
    EXPECT_EQ(changes(before, capture()), "") << "vg_submit to the default framebuffer";
    const auto& commands = canvas.commands();
    vg_submit(commands.front().slot, commands.size() * 64, static_cast<int>(commands.size()), fbo,
              GL_COLOR_ATTACHMENT1, size, size, size, size, 0, 0, 0);
    EXPECT_EQ(changes(before, capture()), "") << "vg_submit to a framebuffer object";

    std::vector<std::uint8_t> out(size * size * 4);
    vg_read_pixels(size, size, out.data(), out.size());
    EXPECT_EQ(changes(before, capture()), "") << "vg_read_pixels";

    vg_delete_texture(texture);
    EXPECT_STREQ(vg_error(), "");
    EXPECT_EQ(vg_gl_error(), 0u);
}

TEST_F(HostStateTest, HostileStateDoesNotReachThePixels) {
    const Image clean = draw_everything();
    ASSERT_EQ(vg_gl_error(), 0u);

    clear(0xFF000000u);
    canvas.begin(size, size, analytic());
    set_hostile_state();
    const Image hostile = draw_everything();
    EXPECT_EQ(vg_gl_error(), 0u);

    int differing = 0;
    for (std::size_t i = 0; i < clean.bytes.size(); ++i) differing += clean.bytes[i] != hostile.bytes[i];
    EXPECT_EQ(differing, 0);
    // The frame really drew: the background and the filled box are both there.
    EXPECT_NE(clean.at(30, 15), clean.at(2, 64));
}

} // namespace
} // namespace velmora::test
