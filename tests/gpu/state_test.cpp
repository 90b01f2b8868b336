// The backend is a guest in the host's GL state: whatever the host left set must neither
// reach the pixels nor be changed by any call. The host state is drawn at random each round,
// settings the backend never touches included; VELMORA_GL_STATE_SEED=N replays a run.
#include "gpu_fixture.hpp"

#include <cstdlib>
#include <functional>
#include <random>
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
        glGenRenderbuffers(1, &renderbuffer);
        glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer);
        glBindRenderbuffer(GL_RENDERBUFFER, 0);
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
        glDeleteRenderbuffers(1, &renderbuffer);
        glDeleteBuffers(2, buffers);
        glDeleteSamplers(2, samplers);
        glDeleteFramebuffers(1, &fbo);
        glDeleteTextures(4, textures);
    }

    // Every setting the backend promises to keep, and a range of those it never touches, each
    // drawn from values that would spoil the drawing if they leaked in (defaults included).
    void set_random_state(std::mt19937& rng) {
        auto pick = [&](auto... values) {
            const GLenum all[] = {static_cast<GLenum>(values)...};
            return all[rng() % sizeof...(values)];
        };
        auto number = [&](int lo, int hi) {
            return lo + static_cast<int>(rng() % static_cast<unsigned>(hi - lo + 1));
        };
        auto coin = [&] { return rng() % 2 == 0; };

        glUseProgram(coin() ? program : 0);
        glBindVertexArray(coin() ? vertex_array : 0);
        // The default framebuffer's draw buffer stays at GL_BACK: the background leaves it there.
        const bool draw_fbo = coin();
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, draw_fbo ? fbo : 0);
        if (draw_fbo) glDrawBuffer(pick(GL_COLOR_ATTACHMENT1, GL_NONE, GL_COLOR_ATTACHMENT0));
        const bool read_fbo = coin();
        glBindFramebuffer(GL_READ_FRAMEBUFFER, read_fbo ? fbo : 0);
        glReadBuffer(read_fbo ? pick(GL_COLOR_ATTACHMENT1, GL_NONE) : pick(GL_BACK, GL_FRONT));
        glViewport(number(-20, 60), number(-20, 60), number(0, 300), number(0, 300));
        // A host scissor that is on cuts submissions on purpose; it covers the frame here.
        glScissor(number(-20, 0), number(-20, 0), number(size + 20, 300), number(size + 20, 300));
        const GLenum modes[] = {GL_FILL, GL_LINE, GL_POINT};
        if (context->compatibility()) {
            glPolygonMode(GL_FRONT, modes[rng() % 3]);
            glPolygonMode(GL_BACK, modes[rng() % 3]);
        } else {
            glPolygonMode(GL_FRONT_AND_BACK, modes[rng() % 3]);
        }
        glColorMaski(0, coin(), coin(), coin(), coin());
        auto factor = [&] {
            return pick(GL_ZERO, GL_ONE, GL_SRC_COLOR, GL_DST_COLOR, GL_ONE_MINUS_SRC_ALPHA,
                        GL_CONSTANT_COLOR, GL_SRC_ALPHA_SATURATE);
        };
        const GLenum src_rgb = factor(), dst_rgb = factor(), src_alpha = factor(), dst_alpha = factor();
        glBlendFuncSeparate(src_rgb, dst_rgb, src_alpha, dst_alpha);
        auto equation = [&] {
            return pick(GL_FUNC_ADD, GL_FUNC_SUBTRACT, GL_FUNC_REVERSE_SUBTRACT, GL_MIN, GL_MAX);
        };
        const GLenum rgb = equation();
        glBlendEquationSeparate(rgb, equation());
        glSampleCoverage(static_cast<float>(number(0, 4)) / 4, coin());
        glSampleMaski(0, coin() ? 0u : 0xFFFFFFFFu);
        for (GLenum flag : saved_flags())
            if (coin())
                glEnable(flag);
            else
                glDisable(flag);
        if (context->compatibility()) (coin() ? glEnable : glDisable)(GL_ALPHA_TEST);
        for (GLuint unit = 0; unit < 4; ++unit) {
            glActiveTexture(GL_TEXTURE0 + unit);
            glBindTexture(GL_TEXTURE_2D, coin() ? textures[rng() % 4] : 0);
            glBindSampler(unit, coin() ? samplers[rng() % 2] : 0);
        }
        glActiveTexture(GL_TEXTURE0 + rng() % 4);
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, coin() ? buffers[0] : 0);
        glBindBuffer(GL_PIXEL_PACK_BUFFER, coin() ? buffers[1] : 0);
        for (GLenum e : {GL_UNPACK_ALIGNMENT, GL_PACK_ALIGNMENT}) glPixelStorei(e, pick(1, 2, 4, 8));
        for (GLenum e : {GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_PIXELS, GL_UNPACK_SKIP_ROWS, GL_PACK_ROW_LENGTH,
                         GL_PACK_SKIP_PIXELS, GL_PACK_SKIP_ROWS})
            glPixelStorei(e, coin() ? 0 : number(1, 17));

        // Never touched by the backend.
        glDepthFunc(pick(GL_NEVER, GL_LESS, GL_GREATER, GL_ALWAYS));
        glDepthMask(coin());
        glDepthRange(number(0, 4) / 8.0, number(4, 8) / 8.0);
        glStencilFuncSeparate(GL_FRONT, pick(GL_NEVER, GL_EQUAL, GL_ALWAYS), number(0, 255), number(0, 255));
        glStencilOpSeparate(GL_BACK, pick(GL_KEEP, GL_ZERO, GL_INVERT), pick(GL_KEEP, GL_INCR),
                            pick(GL_KEEP, GL_DECR));
        glStencilMask(static_cast<GLuint>(number(0, 255)));
        glClearColor(number(0, 8) / 8.0f, number(0, 8) / 8.0f, number(0, 8) / 8.0f, number(0, 8) / 8.0f);
        glClearDepth(number(0, 8) / 8.0);
        glClearStencil(number(0, 255));
        glBlendColor(number(0, 8) / 8.0f, number(0, 8) / 8.0f, number(0, 8) / 8.0f, number(0, 8) / 8.0f);
        glPolygonOffset(static_cast<float>(number(-4, 4)), static_cast<float>(number(-4, 4)));
        glFrontFace(pick(GL_CCW, GL_CW));
        glCullFace(pick(GL_FRONT, GL_BACK, GL_FRONT_AND_BACK));
        glLogicOp(pick(GL_CLEAR, GL_COPY, GL_INVERT, GL_XOR));
        glProvokingVertex(pick(GL_LAST_VERTEX_CONVENTION, GL_FIRST_VERTEX_CONVENTION));
        glPrimitiveRestartIndex(static_cast<GLuint>(number(0, 6)));
        glPointSize(static_cast<float>(number(1, 8)));
        glHint(GL_FRAGMENT_SHADER_DERIVATIVE_HINT, pick(GL_DONT_CARE, GL_FASTEST, GL_NICEST));
        for (GLenum flag : untouched_flags())
            if (coin())
                glEnable(flag);
            else
                glDisable(flag);
        glBindBuffer(GL_ARRAY_BUFFER, coin() ? buffers[0] : 0);
        glBindBuffer(GL_UNIFORM_BUFFER, coin() ? buffers[1] : 0);
        glBindBuffer(GL_COPY_READ_BUFFER, coin() ? buffers[0] : 0);
        glBindRenderbuffer(GL_RENDERBUFFER, coin() ? renderbuffer : 0);
    }

    // The enables the backend saves, and those it never touches.
    static std::vector<GLenum> saved_flags() {
        return {GL_BLEND,
                GL_DEPTH_TEST,
                GL_STENCIL_TEST,
                GL_CULL_FACE,
                GL_SCISSOR_TEST,
                GL_COLOR_LOGIC_OP,
                GL_SAMPLE_ALPHA_TO_COVERAGE,
                GL_SAMPLE_ALPHA_TO_ONE,
                GL_SAMPLE_COVERAGE,
                GL_SAMPLE_MASK,
                GL_FRAMEBUFFER_SRGB,
                GL_CLIP_DISTANCE0,
                GL_CLIP_DISTANCE0 + 3,
                GL_CLIP_DISTANCE0 + 7,
                GL_RASTERIZER_DISCARD};
    }
    static std::vector<GLenum> untouched_flags() {
        return {GL_DITHER,         GL_POLYGON_OFFSET_FILL,      GL_POLYGON_OFFSET_LINE, GL_DEPTH_CLAMP,
                GL_MULTISAMPLE,    GL_PRIMITIVE_RESTART,        GL_PROGRAM_POINT_SIZE,  GL_LINE_SMOOTH,
                GL_POLYGON_SMOOTH, GL_TEXTURE_CUBE_MAP_SEAMLESS};
    }

    void set_default_state() {
        glUseProgram(0);
        glBindVertexArray(0);
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        glDrawBuffer(GL_BACK);
        glReadBuffer(GL_BACK);
        glViewport(0, 0, size, size);
        glScissor(0, 0, size, size);
        glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
        glColorMaski(0, GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
        glBlendFuncSeparate(GL_ONE, GL_ZERO, GL_ONE, GL_ZERO);
        glBlendEquationSeparate(GL_FUNC_ADD, GL_FUNC_ADD);
        glSampleCoverage(1, GL_FALSE);
        glSampleMaski(0, 0xFFFFFFFFu);
        for (GLenum flag : saved_flags()) glDisable(flag);
        for (GLenum flag : untouched_flags()) glDisable(flag);
        glEnable(GL_DITHER);
        glEnable(GL_MULTISAMPLE);
        if (context->compatibility()) glDisable(GL_ALPHA_TEST);
        for (GLuint unit = 0; unit < 4; ++unit) {
            glActiveTexture(GL_TEXTURE0 + unit);
            glBindTexture(GL_TEXTURE_2D, 0);
            glBindSampler(unit, 0);
        }
        glActiveTexture(GL_TEXTURE0);
        for (GLenum target : {GL_PIXEL_UNPACK_BUFFER, GL_PIXEL_PACK_BUFFER, GL_ARRAY_BUFFER,
                              GL_UNIFORM_BUFFER, GL_COPY_READ_BUFFER})
            glBindBuffer(target, 0);
        glBindRenderbuffer(GL_RENDERBUFFER, 0);
        for (GLenum e : {GL_UNPACK_ALIGNMENT, GL_PACK_ALIGNMENT}) glPixelStorei(e, 4);
        for (GLenum e : {GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_PIXELS, GL_UNPACK_SKIP_ROWS, GL_PACK_ROW_LENGTH,
                         GL_PACK_SKIP_PIXELS, GL_PACK_SKIP_ROWS})
            glPixelStorei(e, 0);
        glDepthFunc(GL_LESS);
        glDepthMask(GL_TRUE);
        glDepthRange(0, 1);
        glStencilFunc(GL_ALWAYS, 0, 0xFFFFFFFFu);
        glStencilOp(GL_KEEP, GL_KEEP, GL_KEEP);
        glStencilMask(0xFFFFFFFFu);
        glClearColor(0, 0, 0, 0);
        glClearDepth(1);
        glClearStencil(0);
        glBlendColor(0, 0, 0, 0);
        glPolygonOffset(0, 0);
        glFrontFace(GL_CCW);
        glCullFace(GL_BACK);
        glLogicOp(GL_COPY);
        glProvokingVertex(GL_LAST_VERTEX_CONVENTION);
        glPrimitiveRestartIndex(0);
        glPointSize(1);
        glHint(GL_FRAGMENT_SHADER_DERIVATIVE_HINT, GL_DONT_CARE);
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
        for (GLuint unit = 0; unit < 4; ++unit) {
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

        auto real = [&](const std::string& name, GLenum query, int count = 1) {
            GLfloat v[4] = {-7, -7, -7, -7};
            glGetFloatv(query, v);
            for (int i = 0; i < count; ++i)
                s.emplace_back(name + "[" + std::to_string(i) + "]", static_cast<GLint>(v[i] * 1000));
        };
        get("depth func", GL_DEPTH_FUNC);
        get("depth mask", GL_DEPTH_WRITEMASK);
        real("depth range", GL_DEPTH_RANGE, 2);
        get("stencil func", GL_STENCIL_FUNC);
        get("stencil ref", GL_STENCIL_REF);
        get("stencil value mask", GL_STENCIL_VALUE_MASK);
        get("stencil write mask", GL_STENCIL_WRITEMASK);
        get("stencil back fail", GL_STENCIL_BACK_FAIL);
        get("stencil back depth fail", GL_STENCIL_BACK_PASS_DEPTH_FAIL);
        get("stencil back pass", GL_STENCIL_BACK_PASS_DEPTH_PASS);
        real("clear colour", GL_COLOR_CLEAR_VALUE, 4);
        real("clear depth", GL_DEPTH_CLEAR_VALUE);
        get("clear stencil", GL_STENCIL_CLEAR_VALUE);
        real("blend colour", GL_BLEND_COLOR, 4);
        real("polygon offset factor", GL_POLYGON_OFFSET_FACTOR);
        real("polygon offset units", GL_POLYGON_OFFSET_UNITS);
        get("front face", GL_FRONT_FACE);
        get("cull face mode", GL_CULL_FACE_MODE);
        get("logic op mode", GL_LOGIC_OP_MODE);
        get("provoking vertex", GL_PROVOKING_VERTEX);
        get("primitive restart index", GL_PRIMITIVE_RESTART_INDEX);
        real("point size", GL_POINT_SIZE);
        get("derivative hint", GL_FRAGMENT_SHADER_DERIVATIVE_HINT);
        real("sample coverage value", GL_SAMPLE_COVERAGE_VALUE);
        get("sample coverage invert", GL_SAMPLE_COVERAGE_INVERT);
        GLint sample_mask = 0;
        glGetIntegeri_v(GL_SAMPLE_MASK_VALUE, 0, &sample_mask);
        s.emplace_back("sample mask value", sample_mask);
        for (GLenum e : untouched_flags()) flag("enable " + std::to_string(e), e);
        get("array buffer", GL_ARRAY_BUFFER_BINDING);
        get("uniform buffer", GL_UNIFORM_BUFFER_BINDING);
        get("copy read buffer", GL_COPY_READ_BUFFER_BINDING);
        get("renderbuffer", GL_RENDERBUFFER_BINDING);
        return s;
    }

    // One frame that runs every path of the submission: each kind, shaped clips, a backdrop,
    // a glyph from an atlas uploaded here, and the blur.
    // `after` is called after each backend call with that call's name.
    Image draw_everything(const std::function<void(const char*)>& after = [](const char*) {}) {
        const std::vector<std::uint8_t> atlas(8 * 8 * 4, 200);
        unsigned texture = vg_texture(8, 8);
        after("vg_texture");
        vg_upload(texture, 0, 0, 8, 8, atlas.data(), atlas.size());
        after("vg_upload");
        vg_background(size, size, 1.5f, 1, 0, 0xFF202830u, 0xFFC0B0A0u);
        after("vg_background");
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
        after("vg_submit");
        Image image = read();
        after("vg_read_pixels");
        vg_delete_texture(texture);
        after("vg_delete_texture");
        EXPECT_STREQ(vg_error(), "");
        return image;
    }

    GLuint textures[4] = {}, samplers[2] = {}, buffers[2] = {}, fbo = 0, vertex_array = 0, program = 0,
           renderbuffer = 0;
};

unsigned state_seed() {
    if (const char* s = std::getenv("VELMORA_GL_STATE_SEED"))
        return static_cast<unsigned>(std::strtoul(s, nullptr, 10));
    return std::random_device{}();
}

TEST_F(HostStateTest, RandomHostStateIsKeptByEveryCallAndNeverReachesThePixels) {
    const Image clean = draw_everything();
    ASSERT_EQ(vg_gl_error(), 0u);
    // The frame really drew: the background and the filled box are both there.
    ASSERT_NE(clean.at(30, 15), clean.at(2, 64));

    const unsigned seed = state_seed();
    SCOPED_TRACE("VELMORA_GL_STATE_SEED=" + std::to_string(seed));
    std::mt19937 rng(seed);
    for (int round = 0; round < 40 && !HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        set_default_state(); // the clear below must reach every pixel
        restart();
        set_random_state(rng);
        ASSERT_EQ(glGetError(), GL_NO_ERROR);
        const HostState before = capture();
        std::string changed;
        auto check = [&](const char* call) {
            const std::string c = changes(before, capture());
            if (!c.empty()) changed += std::string(call) + ": " + c;
        };

        const Image image = draw_everything(check);
        canvas.begin(size, size, analytic());
        canvas.glass({10, 10, 100, 100}, ui::Theme{}, 20);
        canvas.push_clip({0, 0, 64, 64}, 8);
        canvas.fill({0, 0, 128, 128}, 0x80FF0000u, 0);
        canvas.pop_clip();
        const auto& commands = canvas.commands();
        vg_submit(commands.front().slot, commands.size() * 64, static_cast<int>(commands.size()), fbo,
                  GL_COLOR_ATTACHMENT1, size, size, size, size, 8, 0, 0);
        check("vg_submit to a framebuffer object");

        EXPECT_EQ(changed, "");
        EXPECT_STREQ(vg_error(), "");
        EXPECT_EQ(vg_gl_error(), 0u);
        int differing = 0;
        for (std::size_t i = 0; i < clean.bytes.size(); ++i) differing += clean.bytes[i] != image.bytes[i];
        EXPECT_EQ(differing, 0);
    }
}

} // namespace
} // namespace velmora::test
