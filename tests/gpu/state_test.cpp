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

// The settings that changed, by enum, e.g. "2978[2] 40->128; " for the viewport's width.
std::string changes(const HostState& before, const HostState& after) {
    std::string out;
    for (std::size_t i = 0; i < before.size() && i < after.size(); ++i)
        if (before[i] != after[i])
            out += before[i].first + " " + std::to_string(before[i].second) + "->" +
                   std::to_string(after[i].second) + "; ";
    return out;
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
        for (int i = 0; i < 2; ++i) {
            const GLenum target = i ? GL_PIXEL_PACK_BUFFER : GL_PIXEL_UNPACK_BUFFER;
            glBindBuffer(target, buffers[i]);
            glBufferData(target, 1 << 20, nullptr, i ? GL_STREAM_READ : GL_STREAM_DRAW);
            glBindBuffer(target, 0);
        }
        glGenVertexArrays(1, &vertex_array);
        glGenRenderbuffers(1, &renderbuffer);
        glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer);
        glBindRenderbuffer(GL_RENDERBUFFER, 0);
        program = glCreateProgram();
        for (auto [stage, text] : {std::pair{GL_VERTEX_SHADER, "void main() { gl_Position = vec4(0.0); }\n"},
                                   {GL_FRAGMENT_SHADER, "out vec4 c;\nvoid main() { c = vec4(1.0); }\n"}}) {
            const char* texts[] = {"#version 330 core\n", text};
            const GLuint shader = glCreateShader(stage);
            glShaderSource(shader, 2, texts, nullptr);
            glCompileShader(shader);
            glAttachShader(program, shader);
            glDeleteShader(shader); // goes with the program
        }
        glLinkProgram(program);
    }

    void TearDown() override {
        set_state(nullptr);
        glDeleteProgram(program);
        glDeleteVertexArrays(1, &vertex_array);
        glDeleteRenderbuffers(1, &renderbuffer);
        glDeleteBuffers(2, buffers);
        glDeleteSamplers(2, samplers);
        glDeleteFramebuffers(1, &fbo);
        glDeleteTextures(4, textures);
    }

    // Sets every setting the backend promises to keep, and a range of those it never touches.
    // With `rng` each is drawn from values that would spoil the drawing if they leaked in
    // (defaults included); without, each gets GL's default, which the other tests expect.
    void set_state(std::mt19937* rng) {
        auto number = [&](int lo, int hi, int fallback) {
            return rng ? lo + static_cast<int>((*rng)() % static_cast<unsigned>(hi - lo + 1)) : fallback;
        };
        auto pick = [&](auto... values) { // the first is the default
            const GLenum all[] = {static_cast<GLenum>(values)...};
            return all[number(0, sizeof...(values) - 1, 0)];
        };
        auto coin = [&] { return number(0, 1, 1) == 0; }; // false by default
        auto eighth = [&](int fallback) { return static_cast<float>(number(0, 8, fallback)) / 8; };

        glUseProgram(coin() ? program : 0);
        glBindVertexArray(coin() ? vertex_array : 0);
        // The default framebuffer's draw buffer stays at GL_BACK: the background leaves it there.
        const bool draw_fbo = coin();
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, draw_fbo ? fbo : 0);
        glDrawBuffer(draw_fbo ? pick(GL_COLOR_ATTACHMENT1, GL_NONE, GL_COLOR_ATTACHMENT0) : GL_BACK);
        const bool read_fbo = coin();
        glBindFramebuffer(GL_READ_FRAMEBUFFER, read_fbo ? fbo : 0);
        glReadBuffer(read_fbo ? pick(GL_COLOR_ATTACHMENT1, GL_NONE) : pick(GL_BACK, GL_FRONT));
        glViewport(number(-20, 60, 0), number(-20, 60, 0), number(0, 300, size), number(0, 300, size));
        // A host scissor that is on cuts submissions on purpose; it covers the frame here.
        glScissor(number(-20, 0, 0), number(-20, 0, 0), number(size + 20, 300, size),
                  number(size + 20, 300, size));
        if (context->compatibility()) {
            glPolygonMode(GL_FRONT, pick(GL_FILL, GL_LINE, GL_POINT));
            glPolygonMode(GL_BACK, pick(GL_FILL, GL_LINE, GL_POINT));
        } else {
            glPolygonMode(GL_FRONT_AND_BACK, pick(GL_FILL, GL_LINE, GL_POINT));
        }
        glColorMaski(0, !coin(), !coin(), !coin(), !coin());
        auto factor = [&](GLenum fallback) {
            return rng ? pick(GL_ZERO, GL_ONE, GL_SRC_COLOR, GL_DST_COLOR, GL_ONE_MINUS_SRC_ALPHA,
                              GL_CONSTANT_COLOR, GL_SRC_ALPHA_SATURATE)
                       : fallback;
        };
        const GLenum src_rgb = factor(GL_ONE), dst_rgb = factor(GL_ZERO), src_alpha = factor(GL_ONE),
                     dst_alpha = factor(GL_ZERO);
        glBlendFuncSeparate(src_rgb, dst_rgb, src_alpha, dst_alpha);
        auto equation = [&] {
            return pick(GL_FUNC_ADD, GL_FUNC_SUBTRACT, GL_FUNC_REVERSE_SUBTRACT, GL_MIN, GL_MAX);
        };
        const GLenum rgb = equation();
        glBlendEquationSeparate(rgb, equation());
        glSampleCoverage(static_cast<float>(number(0, 4, 4)) / 4, coin());
        glSampleMaski(0, coin() ? 0u : 0xFFFFFFFFu);
        for (GLenum flag : flags()) // by default all are off but these two
            ((rng ? coin() : flag == GL_DITHER || flag == GL_MULTISAMPLE) ? glEnable : glDisable)(flag);
        if (context->compatibility()) (coin() ? glEnable : glDisable)(GL_ALPHA_TEST);
        for (GLuint unit = 0; unit < 4; ++unit) {
            glActiveTexture(GL_TEXTURE0 + unit);
            glBindTexture(GL_TEXTURE_2D, coin() ? textures[number(0, 3, 0)] : 0);
            glBindSampler(unit, coin() ? samplers[number(0, 1, 0)] : 0);
        }
        glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(number(0, 3, 0)));
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, coin() ? buffers[0] : 0);
        glBindBuffer(GL_PIXEL_PACK_BUFFER, coin() ? buffers[1] : 0);
        for (GLenum e : {GL_UNPACK_ALIGNMENT, GL_PACK_ALIGNMENT}) glPixelStorei(e, pick(4, 1, 2, 8));
        for (GLenum e : {GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_PIXELS, GL_UNPACK_SKIP_ROWS, GL_PACK_ROW_LENGTH,
                         GL_PACK_SKIP_PIXELS, GL_PACK_SKIP_ROWS})
            glPixelStorei(e, coin() ? number(1, 17, 0) : 0);

        // Never touched by the backend.
        glDepthFunc(pick(GL_LESS, GL_NEVER, GL_GREATER, GL_ALWAYS));
        glDepthMask(!coin());
        glDepthRange(number(0, 4, 0) / 8.0, number(4, 8, 8) / 8.0);
        glStencilFuncSeparate(GL_FRONT, pick(GL_ALWAYS, GL_NEVER, GL_EQUAL), number(0, 255, 0),
                              static_cast<GLuint>(number(0, 255, -1)));
        glStencilOpSeparate(GL_BACK, pick(GL_KEEP, GL_ZERO, GL_INVERT), pick(GL_KEEP, GL_INCR),
                            pick(GL_KEEP, GL_DECR));
        glStencilMask(static_cast<GLuint>(number(0, 255, -1)));
        glClearColor(eighth(0), eighth(0), eighth(0), eighth(0));
        glClearDepth(eighth(8));
        glClearStencil(number(0, 255, 0));
        glBlendColor(eighth(0), eighth(0), eighth(0), eighth(0));
        glPolygonOffset(static_cast<float>(number(-4, 4, 0)), static_cast<float>(number(-4, 4, 0)));
        glFrontFace(pick(GL_CCW, GL_CW));
        glCullFace(pick(GL_BACK, GL_FRONT, GL_FRONT_AND_BACK));
        glLogicOp(pick(GL_COPY, GL_CLEAR, GL_INVERT, GL_XOR));
        glProvokingVertex(pick(GL_LAST_VERTEX_CONVENTION, GL_FIRST_VERTEX_CONVENTION));
        glPrimitiveRestartIndex(static_cast<GLuint>(number(0, 6, 0)));
        glPointSize(static_cast<float>(number(1, 8, 1)));
        glHint(GL_FRAGMENT_SHADER_DERIVATIVE_HINT, pick(GL_DONT_CARE, GL_FASTEST, GL_NICEST));
        glBindBuffer(GL_ARRAY_BUFFER, coin() ? buffers[0] : 0);
        // Binding point 0 of uniform buffers, a range of a buffer or none, then the generic one.
        glBindBufferRange(GL_UNIFORM_BUFFER, 0, coin() ? buffers[0] : 0, 256 * number(0, 3, 0), 512);
        glBindBuffer(GL_UNIFORM_BUFFER, coin() ? buffers[1] : 0);
        glBindBuffer(GL_COPY_READ_BUFFER, coin() ? buffers[0] : 0);
        glBindRenderbuffer(GL_RENDERBUFFER, coin() ? renderbuffer : 0);
    }

    // The enables the backend saves, and those it never touches.
    static std::vector<GLenum> flags() {
        static constexpr GLenum rows[5][6] = {
            {GL_BLEND, GL_DEPTH_TEST, GL_STENCIL_TEST, GL_CULL_FACE, GL_SCISSOR_TEST, GL_COLOR_LOGIC_OP},
            {GL_SAMPLE_COVERAGE, GL_SAMPLE_MASK, GL_FRAMEBUFFER_SRGB, GL_RASTERIZER_DISCARD, GL_DITHER,
             GL_MULTISAMPLE},
            {GL_SAMPLE_ALPHA_TO_COVERAGE, GL_SAMPLE_ALPHA_TO_ONE, GL_POLYGON_OFFSET_FILL, GL_DEPTH_CLAMP,
             GL_LINE_SMOOTH, GL_POLYGON_SMOOTH},
            {GL_POLYGON_OFFSET_LINE, GL_PRIMITIVE_RESTART, GL_PROGRAM_POINT_SIZE,
             GL_TEXTURE_CUBE_MAP_SEAMLESS, GL_CLIP_DISTANCE0, GL_CLIP_DISTANCE1},
            {GL_CLIP_DISTANCE2, GL_CLIP_DISTANCE3, GL_CLIP_DISTANCE4, GL_CLIP_DISTANCE5, GL_CLIP_DISTANCE6,
             GL_CLIP_DISTANCE7}};
        return std::vector<GLenum>(&rows[0][0], &rows[0][0] + 30);
    }

    // Every setting above, named by its enum (and the texture unit where it has one).
    HostState capture() const {
        HostState s;
        auto add = [&](GLenum query, int count, const auto* v, float scale, const std::string& prefix = "") {
            for (int i = 0; i < count; ++i)
                s.emplace_back(prefix + std::to_string(query) + "[" + std::to_string(i) + "]",
                               static_cast<GLint>(v[i] * scale));
        };
        auto get = [&](GLenum query, int count = 1, const std::string& prefix = "") {
            GLint v[4] = {-7, -7, -7, -7};
            glGetIntegerv(query, v);
            add(query, count, v, 1, prefix);
        };
        auto real = [&](GLenum query, int count = 1) {
            GLfloat v[4] = {-7, -7, -7, -7};
            glGetFloatv(query, v);
            add(query, count, v, 1000);
        };
        static constexpr GLenum queries[9][5] = {
            {GL_CURRENT_PROGRAM, GL_VERTEX_ARRAY_BINDING, GL_DRAW_FRAMEBUFFER_BINDING,
             GL_READ_FRAMEBUFFER_BINDING, GL_DRAW_BUFFER0},
            {GL_DRAW_BUFFER1, GL_READ_BUFFER, GL_BLEND_SRC_RGB, GL_BLEND_DST_RGB, GL_BLEND_SRC_ALPHA},
            {GL_BLEND_DST_ALPHA, GL_BLEND_EQUATION_RGB, GL_BLEND_EQUATION_ALPHA, GL_ACTIVE_TEXTURE,
             GL_PIXEL_UNPACK_BUFFER_BINDING},
            {GL_PIXEL_PACK_BUFFER_BINDING, GL_UNPACK_ALIGNMENT, GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_PIXELS,
             GL_UNPACK_SKIP_ROWS},
            {GL_PACK_ALIGNMENT, GL_PACK_ROW_LENGTH, GL_PACK_SKIP_PIXELS, GL_PACK_SKIP_ROWS, GL_DEPTH_FUNC},
            {GL_DEPTH_WRITEMASK, GL_STENCIL_FUNC, GL_STENCIL_REF, GL_STENCIL_VALUE_MASK,
             GL_STENCIL_WRITEMASK},
            {GL_STENCIL_BACK_FAIL, GL_STENCIL_BACK_PASS_DEPTH_FAIL, GL_STENCIL_BACK_PASS_DEPTH_PASS,
             GL_STENCIL_CLEAR_VALUE, GL_FRONT_FACE},
            {GL_CULL_FACE_MODE, GL_LOGIC_OP_MODE, GL_PROVOKING_VERTEX, GL_PRIMITIVE_RESTART_INDEX,
             GL_FRAGMENT_SHADER_DERIVATIVE_HINT},
            {GL_SAMPLE_COVERAGE_INVERT, GL_ARRAY_BUFFER_BINDING, GL_UNIFORM_BUFFER_BINDING,
             GL_COPY_READ_BUFFER_BINDING, GL_RENDERBUFFER_BINDING}};
        for (const auto& row : queries)
            for (GLenum q : row) get(q);
        get(GL_VIEWPORT, 4);
        get(GL_SCISSOR_BOX, 4);
        get(GL_POLYGON_MODE, context->compatibility() ? 2 : 1);
        for (GLenum q : {GL_DEPTH_CLEAR_VALUE, GL_POLYGON_OFFSET_FACTOR, GL_POLYGON_OFFSET_UNITS,
                         GL_POINT_SIZE, GL_SAMPLE_COVERAGE_VALUE})
            real(q);
        real(GL_DEPTH_RANGE, 2);
        real(GL_COLOR_CLEAR_VALUE, 4);
        real(GL_BLEND_COLOR, 4);
        GLint indexed[8] = {};
        glGetIntegeri_v(GL_COLOR_WRITEMASK, 0, indexed);
        glGetIntegeri_v(GL_SAMPLE_MASK_VALUE, 0, indexed + 4);
        glGetIntegeri_v(GL_UNIFORM_BUFFER_BINDING, 0, indexed + 5);
        glGetIntegeri_v(GL_UNIFORM_BUFFER_START, 0, indexed + 6);
        glGetIntegeri_v(GL_UNIFORM_BUFFER_SIZE, 0, indexed + 7);
        add(GL_COLOR_WRITEMASK, 8, indexed, 1);
        std::vector<GLenum> enables = flags();
        if (context->compatibility()) enables.push_back(GL_ALPHA_TEST);
        for (GLenum e : enables) s.emplace_back("enabled " + std::to_string(e), glIsEnabled(e));
        GLint active = 0;
        glGetIntegerv(GL_ACTIVE_TEXTURE, &active);
        for (GLuint unit = 0; unit < 4; ++unit) {
            glActiveTexture(GL_TEXTURE0 + unit);
            for (GLenum q : {GL_TEXTURE_BINDING_2D, GL_SAMPLER_BINDING})
                get(q, 1, "unit " + std::to_string(unit) + " ");
        }
        glActiveTexture(static_cast<GLenum>(active));
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
        set_state(nullptr); // the clear below must reach every pixel
        restart();
        set_state(&rng);
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
