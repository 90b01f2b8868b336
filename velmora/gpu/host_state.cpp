// The host's GL state, saved before the backend works and put back after it.
#include "velmora/gpu/backend.hpp"

namespace velmora::gpu::backend {

// ---- host state ---------------------------------------------------------------------------

// What prepare_state sets unless the host had it so already.
bool mask_all_on(const GlState& s) {
    return s.color_mask[0] && s.color_mask[1] && s.color_mask[2] && s.color_mask[3];
}
bool fills(const GlState& s) { return s.polygon_mode[0] == GL_FILL && s.polygon_mode[1] == GL_FILL; }

constexpr GLenum blend_queries[6] = {GL_BLEND_SRC_RGB,   GL_BLEND_DST_RGB,      GL_BLEND_SRC_ALPHA,
                                     GL_BLEND_DST_ALPHA, GL_BLEND_EQUATION_RGB, GL_BLEND_EQUATION_ALPHA};

void save_state(GlState& s) {
    glGetIntegerv_(GL_CURRENT_PROGRAM, &s.program);
    glGetIntegerv_(GL_VERTEX_ARRAY_BINDING, &s.vertex_array);
    glGetIntegerv_(GL_DRAW_FRAMEBUFFER_BINDING, &s.draw_framebuffer);
    glGetIntegerv_(GL_READ_FRAMEBUFFER_BINDING, &s.read_framebuffer);
    glGetIntegerv_(GL_ACTIVE_TEXTURE, &s.active_unit);
    glGetIntegerv_(GL_PIXEL_UNPACK_BUFFER_BINDING, &s.unpack_buffer);
    glGetIntegerv_(GL_VIEWPORT, s.viewport);
    glGetIntegerv_(GL_SCISSOR_BOX, s.scissor);
    // Some core drivers report a single value; both faces then share it.
    s.polygon_mode[0] = s.polygon_mode[1] = -1;
    glGetIntegerv_(GL_POLYGON_MODE, s.polygon_mode);
    if (s.polygon_mode[1] == -1) s.polygon_mode[1] = s.polygon_mode[0];
    glGetIntegeri_v_(GL_COLOR_WRITEMASK, 0, s.color_mask);
    for (int i = 0; i < 6; ++i) {
        if (blendFuncIndexed)
            glGetIntegeri_v_(blend_queries[i], 0, &s.blend[i]);
        else
            glGetIntegerv_(blend_queries[i], &s.blend[i]);
    }
    for (int i = 0; i < enable_count; ++i) s.enabled[i] = glIsEnabled_(saved_enables[i]);
    s.blend_enabled = glIsEnabledi_(GL_BLEND, 0);
    glGetIntegerv_(GL_MAX_CLIP_DISTANCES, &s.clip_distance_count);
    s.clip_distance_count = std::clamp(s.clip_distance_count, 0, max_clip_distances);
    for (int i = 0; i < s.clip_distance_count; ++i)
        s.clip_distance[i] = glIsEnabled_(GL_CLIP_DISTANCE0 + static_cast<GLenum>(i));
    GLint profile = 0;
    glGetIntegerv_(GL_CONTEXT_PROFILE_MASK, &profile);
    s.compatibility = (profile & GL_CONTEXT_COMPATIBILITY_PROFILE_BIT) != 0;
    s.alpha_test = s.compatibility ? glIsEnabled_(GL_ALPHA_TEST) : 0;
    for (GLuint unit = 0; unit < 2; ++unit) {
        glActiveTexture_(GL_TEXTURE0 + unit);
        glGetIntegerv_(GL_TEXTURE_BINDING_2D, &s.texture[unit]);
        glGetIntegerv_(GL_SAMPLER_BINDING, &s.sampler[unit]);
    }
    glActiveTexture_(static_cast<GLenum>(s.active_unit));
}

// Everything a draw depends on is set here or by snapshot, so no host setting leaks in.
void prepare_state(const GlState& s) {
    for (int i = 0; i < enable_count; ++i)
        if (s.enabled[i]) glDisable_(saved_enables[i]);
    if (s.blend_enabled) glDisablei_(GL_BLEND, 0);
    for (int i = 0; i < s.clip_distance_count; ++i)
        if (s.clip_distance[i]) glDisable_(GL_CLIP_DISTANCE0 + static_cast<GLenum>(i));
    if (s.alpha_test) glDisable_(GL_ALPHA_TEST);
    if (!mask_all_on(s)) glColorMaski_(0, 1, 1, 1, 1);
    if (!fills(s)) glPolygonMode_(GL_FRONT_AND_BACK, GL_FILL);
    if (s.unpack_buffer) glBindBuffer_(GL_PIXEL_UNPACK_BUFFER, 0);
    for (GLuint unit = 0; unit < 2; ++unit)
        if (s.sampler[unit]) glBindSampler_(unit, 0);
    glBindVertexArray_(vao);
}

// Puts back what prepare_state and the work after it changed. Of the enables only the scissor
// test and blending are ever turned on while the backend works.
void restore_state(const GlState& s) {
    auto u = [](GLint v) { return static_cast<GLuint>(v); };
    auto e = [](GLint v) { return static_cast<GLenum>(v); };
    glUseProgram_(u(s.program));
    glBindVertexArray_(u(s.vertex_array));
    glBindFramebuffer_(GL_DRAW_FRAMEBUFFER, u(s.draw_framebuffer));
    glBindFramebuffer_(GL_READ_FRAMEBUFFER, u(s.read_framebuffer));
    glViewport_(s.viewport[0], s.viewport[1], s.viewport[2], s.viewport[3]);
    glScissor_(s.scissor[0], s.scissor[1], s.scissor[2], s.scissor[3]);
    if (s.polygon_mode[0] != s.polygon_mode[1]) {
        glPolygonMode_(GL_FRONT, e(s.polygon_mode[0]));
        glPolygonMode_(GL_BACK, e(s.polygon_mode[1]));
    } else if (!fills(s)) {
        glPolygonMode_(GL_FRONT_AND_BACK, e(s.polygon_mode[0]));
    }
    if (!mask_all_on(s))
        glColorMaski_(0, s.color_mask[0] != 0, s.color_mask[1] != 0, s.color_mask[2] != 0,
                      s.color_mask[3] != 0);
    if (blendFuncIndexed) {
        blendFuncIndexed(0, e(s.blend[0]), e(s.blend[1]), e(s.blend[2]), e(s.blend[3]));
        blendEquationIndexed(0, e(s.blend[4]), e(s.blend[5]));
    } else {
        glBlendFuncSeparate_(e(s.blend[0]), e(s.blend[1]), e(s.blend[2]), e(s.blend[3]));
        glBlendEquationSeparate_(e(s.blend[4]), e(s.blend[5]));
    }
    if (s.blend_enabled)
        glEnablei_(GL_BLEND, 0);
    else
        glDisablei_(GL_BLEND, 0);
    for (int i = 0; i < enable_count; ++i)
        if (s.enabled[i])
            glEnable_(saved_enables[i]);
        else if (i == scissor_flag)
            glDisable_(GL_SCISSOR_TEST);
    for (int i = 0; i < s.clip_distance_count; ++i)
        if (s.clip_distance[i]) glEnable_(GL_CLIP_DISTANCE0 + static_cast<GLenum>(i));
    if (s.alpha_test) glEnable_(GL_ALPHA_TEST);
    for (GLuint unit = 0; unit < 2; ++unit) {
        glActiveTexture_(GL_TEXTURE0 + unit);
        glBindTexture_(GL_TEXTURE_2D, u(s.texture[unit]));
        if (s.sampler[unit]) glBindSampler_(unit, u(s.sampler[unit]));
    }
    glActiveTexture_(e(s.active_unit));
    if (s.unpack_buffer) glBindBuffer_(GL_PIXEL_UNPACK_BUFFER, u(s.unpack_buffer));
}

} // namespace velmora::gpu::backend
