// The GPU backend's shared parts (internal): the GL enumerants and entry points it uses, the
// state vg_open creates, and what the backend's files call of each other. Plain data and
// functions; nothing here throws.
#pragma once

#include "velmora/gpu/gl_entry_points.hpp"
#include "velmora/gpu/gl_loader.hpp"
#include "velmora/gpu/vg.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace velmora::gpu::backend {

// ---- GL types and constants ---------------------------------------------------------------

constexpr GLenum GL_ONE = 1;
constexpr GLenum GL_TRIANGLES = 0x0004;
constexpr GLenum GL_ONE_MINUS_SRC_ALPHA = 0x0303;
constexpr GLenum GL_FRONT = 0x0404;
constexpr GLenum GL_BACK = 0x0405;
constexpr GLenum GL_FRONT_AND_BACK = 0x0408;
constexpr GLenum GL_CULL_FACE = 0x0B44;
constexpr GLenum GL_POLYGON_MODE = 0x0B40;
constexpr GLenum GL_DEPTH_TEST = 0x0B71;
constexpr GLenum GL_STENCIL_TEST = 0x0B90;
constexpr GLenum GL_VIEWPORT = 0x0BA2;
constexpr GLenum GL_ALPHA_TEST = 0x0BC0;
constexpr GLenum GL_BLEND = 0x0BE2;
constexpr GLenum GL_COLOR_LOGIC_OP = 0x0BF2;
constexpr GLenum GL_READ_BUFFER = 0x0C02;
constexpr GLenum GL_SCISSOR_BOX = 0x0C10;
constexpr GLenum GL_COLOR_WRITEMASK = 0x0C23;
constexpr GLenum GL_SCISSOR_TEST = 0x0C11;
constexpr GLenum GL_UNPACK_ROW_LENGTH = 0x0CF2;
constexpr GLenum GL_UNPACK_SKIP_ROWS = 0x0CF3;
constexpr GLenum GL_UNPACK_SKIP_PIXELS = 0x0CF4;
constexpr GLenum GL_UNPACK_ALIGNMENT = 0x0CF5;
constexpr GLenum GL_PACK_ROW_LENGTH = 0x0D02;
constexpr GLenum GL_PACK_SKIP_ROWS = 0x0D03;
constexpr GLenum GL_PACK_SKIP_PIXELS = 0x0D04;
constexpr GLenum GL_PACK_ALIGNMENT = 0x0D05;
constexpr GLenum GL_MAX_CLIP_DISTANCES = 0x0D32;
constexpr GLenum GL_MAX_TEXTURE_SIZE = 0x0D33;
constexpr GLenum GL_TEXTURE_2D = 0x0DE1;
constexpr GLenum GL_UNSIGNED_BYTE = 0x1401;
constexpr GLenum GL_RGBA = 0x1908;
constexpr GLenum GL_FILL = 0x1B02;
constexpr GLenum GL_RENDERER = 0x1F01;
constexpr GLenum GL_EXTENSIONS = 0x1F03;
constexpr GLenum GL_LINEAR = 0x2601;
constexpr GLenum GL_NEAREST = 0x2600;
constexpr GLenum GL_TEXTURE_MAG_FILTER = 0x2800;
constexpr GLenum GL_TEXTURE_MIN_FILTER = 0x2801;
constexpr GLenum GL_TEXTURE_WRAP_S = 0x2802;
constexpr GLenum GL_TEXTURE_WRAP_T = 0x2803;
constexpr GLenum GL_CLIP_DISTANCE0 = 0x3000;
constexpr GLbitfield GL_COLOR_BUFFER_BIT = 0x4000;
constexpr GLenum GL_FUNC_ADD = 0x8006;
constexpr GLenum GL_BLEND_EQUATION_RGB = 0x8009;
constexpr GLenum GL_RGBA8 = 0x8058;
constexpr GLenum GL_TEXTURE_BINDING_2D = 0x8069;
constexpr GLenum GL_SAMPLE_ALPHA_TO_COVERAGE = 0x809E;
constexpr GLenum GL_SAMPLE_ALPHA_TO_ONE = 0x809F;
constexpr GLenum GL_SAMPLE_COVERAGE = 0x80A0;
constexpr GLenum GL_SAMPLE_BUFFERS = 0x80A8;
constexpr GLenum GL_BLEND_DST_RGB = 0x80C8;
constexpr GLenum GL_BLEND_SRC_RGB = 0x80C9;
constexpr GLenum GL_BLEND_DST_ALPHA = 0x80CA;
constexpr GLenum GL_BLEND_SRC_ALPHA = 0x80CB;
constexpr GLenum GL_CLAMP_TO_EDGE = 0x812F;
constexpr GLenum GL_MAJOR_VERSION = 0x821B;
constexpr GLenum GL_MINOR_VERSION = 0x821C;
constexpr GLenum GL_NUM_EXTENSIONS = 0x821D;
constexpr GLenum GL_TEXTURE0 = 0x84C0;
constexpr GLenum GL_ACTIVE_TEXTURE = 0x84E0;
constexpr GLenum GL_VERTEX_ARRAY_BINDING = 0x85B5;
constexpr GLenum GL_MAX_DRAW_BUFFERS = 0x8824;
constexpr GLenum GL_DRAW_BUFFER0 = 0x8825;
constexpr GLenum GL_BLEND_EQUATION_ALPHA = 0x883D;
constexpr GLenum GL_STREAM_DRAW = 0x88E0;
constexpr GLenum GL_PIXEL_PACK_BUFFER = 0x88EB;
constexpr GLenum GL_PIXEL_UNPACK_BUFFER = 0x88EC;
constexpr GLenum GL_PIXEL_PACK_BUFFER_BINDING = 0x88ED;
constexpr GLenum GL_PIXEL_UNPACK_BUFFER_BINDING = 0x88EF;
constexpr GLenum GL_SAMPLER_BINDING = 0x8919;
constexpr GLenum GL_UNIFORM_BUFFER = 0x8A11;
constexpr GLenum GL_UNIFORM_BUFFER_BINDING = 0x8A28;
constexpr GLenum GL_UNIFORM_BUFFER_START = 0x8A29;
constexpr GLenum GL_UNIFORM_BUFFER_SIZE = 0x8A2A;
constexpr GLenum GL_MAX_UNIFORM_BLOCK_SIZE = 0x8A30;
constexpr GLenum GL_UNIFORM_BUFFER_OFFSET_ALIGNMENT = 0x8A34;
constexpr GLenum GL_FRAGMENT_SHADER = 0x8B30;
constexpr GLenum GL_VERTEX_SHADER = 0x8B31;
constexpr GLenum GL_COMPILE_STATUS = 0x8B81;
constexpr GLenum GL_LINK_STATUS = 0x8B82;
constexpr GLenum GL_CURRENT_PROGRAM = 0x8B8D;
constexpr GLenum GL_RASTERIZER_DISCARD = 0x8C89;
constexpr GLenum GL_DRAW_FRAMEBUFFER_BINDING = 0x8CA6;
constexpr GLenum GL_READ_FRAMEBUFFER = 0x8CA8;
constexpr GLenum GL_DRAW_FRAMEBUFFER = 0x8CA9;
constexpr GLenum GL_READ_FRAMEBUFFER_BINDING = 0x8CAA;
constexpr GLenum GL_FRAMEBUFFER_COMPLETE = 0x8CD5;
constexpr GLenum GL_COLOR_ATTACHMENT0 = 0x8CE0;
constexpr GLenum GL_FRAMEBUFFER = 0x8D40;
constexpr GLenum GL_FRAMEBUFFER_SRGB = 0x8DB9;
constexpr GLenum GL_SAMPLE_MASK = 0x8E51;
constexpr GLenum GL_CONTEXT_PROFILE_MASK = 0x9126;
constexpr GLint GL_CONTEXT_COMPATIBILITY_PROFILE_BIT = 0x2;

// ---- entry points -------------------------------------------------------------------------

#define VG_DECLARE_ENTRY(ret, name, args) inline ret(VG_APIENTRY* name##_) args = nullptr;
VG_REQUIRED_ENTRY_POINTS(VG_DECLARE_ENTRY)
#undef VG_DECLARE_ENTRY

using BlendFuncIndexed = void(VG_APIENTRY*)(GLuint, GLenum, GLenum, GLenum, GLenum);
using BlendEquationIndexed = void(VG_APIENTRY*)(GLuint, GLenum, GLenum);

// ---- backend state ------------------------------------------------------------------------

// Locations of the per-frame uniforms of the three material programs; -1 where a program lacks
// the name, which makes the assignment a no-op. Each command's own values come from the
// command block.
struct MaterialUniforms {
    GLint view, pointer, clips;
};

// The material stages (glass, shape, glyph) come in variants, all built by vg_open: the corner
// search and the clip loop cost every fragment they are compiled into, taken or not.
constexpr int variant_cubic = 1;       // the surface's own corner search
constexpr int variant_clips = 2;       // the shaped-clip loop
constexpr int variant_cubic_clips = 4; // the corner search inside the clip loop
constexpr int variant_common = 8;      // only the common case: boxes, bitmap glyphs, glass past its rim
constexpr int variant_count = 16;
constexpr int variant_all = 7; // the texts as given, which serve where a variant failed to build
constexpr int stage_count = 3;

struct Material {
    GLuint program;
    MaterialUniforms u;
    unsigned clip_serial;  // of the clip stack its uniforms hold
    unsigned frame_serial; // of the submission whose view and pointer they hold
};
// Stamps of what the material uniforms hold, counted across frames so that a stamp never
// matches a previous frame's.
inline unsigned clip_serial = 0, frame_serial = 0;

// Floats become pixel or texel indices only through these: clamped before the conversion,
// which is undefined for a value beyond int (a widget scrolled far away makes one). A NaN
// goes to the low end.
inline int pixel(float v) {
    constexpr float limit = 1 << 30;
    return static_cast<int>(v > -limit ? (v < limit ? v : limit) : -limit);
}
inline int pixel_floor(float v) { return pixel(std::floor(v)); }
inline int pixel_ceil(float v) { return pixel(std::ceil(v)); }

// A command's kind as every stage reads it, truncated: a kind in (-1, 1) is glass everywhere.
// Only for commands that commands_valid has let through.
inline int kind_of(const float* c) { return static_cast<int>(c[0]); }

// A rectangle of texels or pixels, [x0, x1) x [y0, y1), y up as GL counts.
struct Area {
    int x0, y0, x1, y1;

    long long size() const { return static_cast<long long>(x1 - x0) * (y1 - y0); }
    Area grown(int dx, int dy, int w, int h) const {
        return {std::max(x0 - dx, 0), std::max(y0 - dy, 0), std::min(x1 + dx, w), std::min(y1 + dy, h)};
    }
    Area joined(const Area& o) const {
        return {std::min(x0, o.x0), std::min(y0, o.y0), std::max(x1, o.x1), std::max(y1, o.y1)};
    }
    void scissor() const { glScissor_(x0, y0, x1 - x0, y1 - y0); }
    bool operator==(const Area& o) const { return x0 == o.x0 && y0 == o.y0 && x1 == o.x1 && y1 == o.y1; }
};

// A growable array of plain records, kept from frame to frame; it reports an exhausted heap
// instead of throwing.
template <typename T> struct Pool {
    T* data = nullptr;
    std::size_t size = 0, capacity = 0;

    // Room for `n` more at the end, or null.
    T* grow(std::size_t n) {
        if (size + n > capacity) {
            const std::size_t want = std::max({capacity * 2, size + n, std::size_t{1024}});
            void* more = std::realloc(data, want * sizeof(T));
            if (!more) return nullptr;
            data = static_cast<T*>(more);
            capacity = want;
        }
        size += n;
        return data + size - n;
    }
    void release() {
        std::free(data);
        *this = {};
    }
};

// Consecutive commands that one draw covers: same program, same textures, same shaped clips
// where the program reads them, and a scissor box that cuts none of them differently than its
// own clip does. A piece of a split surface is a run of its own, its box the piece.
struct Run {
    Material* material;
    int stage;
    GLuint texture;    // the glyph atlas
    unsigned clips;    // the clip stack it was planned under
    int last;          // its last command, after which it is drawn
    Area box;          // the scissor box, the whole target when its commands need none
    float bounds[4];   // y-up pixels its quads reach
    std::size_t first; // its first command in the frame's command data
    int count;
};

// The frame's drawing commands are uploaded as they are, but for the blur weight; the programs
// read a window of them, bound at an offset the driver accepts.
constexpr int command_floats = 64;
inline GLuint command_buffer = 0;
inline int window_commands = 0;          // commands in one window: the block's size
inline std::size_t window_alignment = 1; // of a window's start, in commands
inline Pool<float> command_data;
inline Pool<Run> runs;

constexpr int max_clips = 32;
constexpr std::size_t error_capacity = 2048;

inline bool opened = false;
inline bool resources_ready = false;
// True while the resolved pointers point into a loaded library.
inline bool entry_points_live = false;
inline char last_error[error_capacity] = "";

inline GLuint vao = 0;
inline GLuint program_bg = 0, program_blur = 0;
inline GLint bg_res = -1, bg_time = -1, bg_grid = -1, bg_palette = -1, bg_color = -1, bg_accent = -1;
inline GLint bl_src = -1, bl_step = -1, bl_sigma = -1;
inline Material materials[stage_count][variant_count]{};
inline GLuint scene_tex = 0, scene_fbo = 0;
inline GLuint blur_a_tex = 0, blur_a_fbo = 0, blur_b_tex = 0, blur_b_fbo = 0;
inline int tex_w = 0, tex_h = 0;
// The kept frame of partial redraw, made on first use; while a partial frame is under way,
// the y-down pixel box that drawing into the back buffer is confined to.
inline GLuint kept_tex = 0, kept_fbo = 0;
inline int kept_w = 0, kept_h = 0;
inline bool confining = false;
inline int kept_box[4] = {};
inline int blur_w = 0, blur_h = 0;
inline BlendFuncIndexed blendFuncIndexed = nullptr;
inline BlendEquationIndexed blendEquationIndexed = nullptr;

constexpr GLenum saved_enables[] = {GL_DEPTH_TEST,
                                    GL_STENCIL_TEST,
                                    GL_CULL_FACE,
                                    GL_SCISSOR_TEST,
                                    GL_COLOR_LOGIC_OP,
                                    GL_RASTERIZER_DISCARD,
                                    GL_SAMPLE_ALPHA_TO_COVERAGE,
                                    GL_SAMPLE_ALPHA_TO_ONE,
                                    GL_SAMPLE_COVERAGE,
                                    GL_SAMPLE_MASK,
                                    GL_FRAMEBUFFER_SRGB};
constexpr int enable_count = sizeof(saved_enables) / sizeof(saved_enables[0]);
constexpr int scissor_flag = 3;
constexpr int max_clip_distances = 32;

// The host's state as a call found it; lives on the stack of each call.
struct GlState {
    GLint program, vertex_array, draw_framebuffer, read_framebuffer, active_unit, unpack_buffer;
    GLint viewport[4], scissor[4];
    GLint polygon_mode[2];
    GLint color_mask[4];
    GLint texture[2], sampler[2];
    GLint blend[6]; // source rgb, destination rgb, source alpha, destination alpha, equation rgb, alpha
    unsigned char enabled[enable_count];
    unsigned char blend_enabled;
    unsigned char alpha_test;
    GLint compatibility;
    unsigned char clip_distance[max_clip_distances];
    GLint clip_distance_count;
};

// The mapping of one vg_submit: target size, logical-to-pixel scale and the host's scissor.
struct Frame {
    int width, height;
    float fw, fh, sx, sy;
    bool host_scissor;
    float host_left, host_right, host_top, host_bottom; // y-down pixels
    // Drawing into the kept frame: the box it is confined to (y-up pixels). The frame is planned
    // as if drawn whole, so that every pixel inside comes out as a full redraw's would; each
    // draw is then cut to the box, and those outside it are left out.
    bool confined = false;
    Area confine{};

    // The y-down pixel box a drawing command may touch: its clip cut to the host's scissor.
    // False when the command draws nothing (empty clip, or an alpha that is not positive).
    bool clip(const float* c, float& left, float& top, float& right, float& bottom) const {
        left = std::max(c[18] * sx, 0.0f);
        right = std::min((c[18] + c[20]) * sx, fw);
        top = std::max(c[19] * sy, 0.0f);
        bottom = std::min((c[19] + c[21]) * sy, fh);
        if (host_scissor) {
            left = std::max(left, host_left);
            right = std::min(right, host_right);
            top = std::max(top, host_top);
            bottom = std::min(bottom, host_bottom);
        }
        // Negated, so that a NaN in the clip or the alpha skips the command too.
        return right > left && bottom > top && c[9] > 0;
    }
};

// Refraction moves a glass sample at most 4/5 of the widest bevel, 10 units, along the normal.
constexpr float max_refraction = 8.0f;

// ---- across the files ----------------------------------------------------------------------

// device.cpp
void set_error(const char* text);
velmora::gpu::GlProc proc(const char* name);
template <typename F> F proc_as(const char* name) { return reinterpret_cast<F>(proc(name)); }
// The variant of `stage` a draw needs; the full one should it have failed to build.
Material& material(int stage, int variant);

// host_state.cpp
void save_state(GlState& s);
void prepare_state(const GlState& s);
void restore_state(const GlState& s);

// frozen_scene.cpp
// Binds `texture` to the active unit and gives it RGBA8 storage, filtered linearly, clamped.
void define_texture(GLuint texture, int width, int height);
bool define_target(GLuint texture, GLuint framebuffer, int width, int height);
bool resize_textures(int width, int height);
void enable_premultiplied_blending();
int kernel_reach(float texel_sigma);
GLuint snapshot(GLuint framebuffer, GLenum buffer, const Frame& f, const float* next, int count, float sigma);
Area kept_area(int height);
Area intersection(const Area& a, const Area& b);

// submit.cpp
void quad_bounds(const float* c, float* r);
bool commands_valid(const float* commands, int count);

} // namespace velmora::gpu::backend
