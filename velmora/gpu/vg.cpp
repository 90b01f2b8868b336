// The GPU backend: device, entry points and programs; frame submission; textures, background
// and read-back. Plain functions over file-scope state; nothing here throws.
//
// Index:
//   GL types and constants      the few enumerants used, so no GL header is needed
//   entry points                `<name>_` pointers for the list in gl_entry_points.hpp
//   backend state               everything vg_open creates
//   errors and resolving        last_error, proc, make_program
//   device                      vg_open, vg_close, vg_device, vg_error, vg_gl_error
//   host state                  GlState, save_state, prepare_state, restore_state
//   frozen scene                resize_textures, snapshot
//   frame submission            plan (runs of commands), vg_submit
//   textures and read-back      vg_background, vg_texture, vg_upload, vg_delete_texture,
//                               vg_read_pixels
#include "velmora/gpu/vg.hpp"

#include "velmora/gpu/gl_entry_points.hpp"
#include "velmora/gpu/gl_loader.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <numeric>

namespace {

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

#define VG_DECLARE_ENTRY(ret, name, args) ret(VG_APIENTRY* name##_) args = nullptr;
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
unsigned clip_serial = 0, frame_serial = 0;

// Floats become pixel or texel indices only through these: clamped before the conversion,
// which is undefined for a value beyond int (a widget scrolled far away makes one). A NaN
// goes to the low end.
int pixel(float v) {
    constexpr float limit = 1 << 30;
    return static_cast<int>(v > -limit ? (v < limit ? v : limit) : -limit);
}
int pixel_floor(float v) { return pixel(std::floor(v)); }
int pixel_ceil(float v) { return pixel(std::ceil(v)); }

// A command's kind as every stage reads it, truncated: a kind in (-1, 1) is glass everywhere.
// Only for commands that commands_valid has let through.
int kind_of(const float* c) { return static_cast<int>(c[0]); }

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
GLuint command_buffer = 0;
int window_commands = 0;          // commands in one window: the block's size
std::size_t window_alignment = 1; // of a window's start, in commands
Pool<float> command_data;
Pool<Run> runs;

constexpr int max_clips = 32;
constexpr std::size_t error_capacity = 2048;

bool opened = false;
bool resources_ready = false;
// True while the resolved pointers point into a loaded library.
bool entry_points_live = false;
char last_error[error_capacity] = "";

GLuint vao = 0;
GLuint program_bg = 0, program_blur = 0;
GLint bg_res = -1, bg_time = -1, bg_grid = -1, bg_palette = -1, bg_color = -1, bg_accent = -1;
GLint bl_src = -1, bl_step = -1, bl_sigma = -1;
Material materials[stage_count][variant_count]{};
GLuint scene_tex = 0, scene_fbo = 0;
GLuint blur_a_tex = 0, blur_a_fbo = 0, blur_b_tex = 0, blur_b_fbo = 0;
int tex_w = 0, tex_h = 0;
int blur_w = 0, blur_h = 0;
BlendFuncIndexed blendFuncIndexed = nullptr;
BlendEquationIndexed blendEquationIndexed = nullptr;

// ---- errors and resolving -----------------------------------------------------------------

void set_error(const char* text) {
    std::size_t n = std::min(std::strlen(text), error_capacity - 1);
    std::memcpy(last_error, text, n);
    last_error[n] = '\0';
}

// Context resolvers of some drivers answer small sentinels instead of null for names they
// do not know; those fall through to the library's own export.
velmora::gpu::GlProc proc(const char* name) {
    velmora::gpu::GlProc p = velmora::gpu::gl_context_proc(name);
    auto bits = reinterpret_cast<std::intptr_t>(p);
    if (bits != 0 && bits != 1 && bits != 2 && bits != 3 && bits != -1) return p;
    return velmora::gpu::gl_library_proc(name);
}

template <typename F> F proc_as(const char* name) { return reinterpret_cast<F>(proc(name)); }

// Copies a driver info log into last_error as it stands.
template <typename Getter> void log_error(Getter get_log, GLuint object) {
    char log[error_capacity];
    GLsizei length = 0;
    get_log(object, static_cast<GLsizei>(error_capacity), &length, log);
    length = std::clamp(length, 0, static_cast<GLsizei>(error_capacity - 1));
    log[length] = '\0';
    set_error(log);
}

// `defines` go in after the first line, the #version line.
GLuint compile_shader(GLenum stage, const char* text, const char* defines) {
    const char* rest = std::strchr(text, '\n');
    const char* parts[3] = {text, rest ? defines : "", rest ? rest + 1 : ""};
    const GLint lengths[3] = {rest ? static_cast<GLint>(rest + 1 - text) : -1, -1, -1};
    GLuint shader = glCreateShader_(stage);
    glShaderSource_(shader, 3, parts, lengths);
    glCompileShader_(shader);
    GLint ok = 0;
    glGetShaderiv_(shader, GL_COMPILE_STATUS, &ok);
    if (ok) return shader;
    log_error(glGetShaderInfoLog_, shader);
    glDeleteShader_(shader);
    return 0;
}

GLuint make_program(const char* vertex, const char* fragment, const char* defines = "",
                    const char* vertex_defines = "") {
    GLuint vs = compile_shader(GL_VERTEX_SHADER, vertex, vertex_defines);
    if (!vs) return 0;
    GLuint fs = compile_shader(GL_FRAGMENT_SHADER, fragment, defines);
    if (!fs) {
        glDeleteShader_(vs);
        return 0;
    }
    GLuint program = glCreateProgram_();
    glAttachShader_(program, vs);
    glAttachShader_(program, fs);
    glLinkProgram_(program);
    // Detached, the shaders' compiled forms are freed now instead of living as long as the
    // program: about a megabyte each on a software rasteriser.
    glDetachShader_(program, vs);
    glDetachShader_(program, fs);
    glDeleteShader_(vs);
    glDeleteShader_(fs);
    GLint ok = 0;
    glGetProgramiv_(program, GL_LINK_STATUS, &ok);
    if (ok) return program;
    log_error(glGetProgramInfoLog_, program);
    glDeleteProgram_(program);
    return 0;
}

MaterialUniforms material_uniforms(GLuint program) {
    auto at = [program](const char* name) { return glGetUniformLocation_(program, name); };
    return {at("view"), at("pointerv"), at("shapeClips[0]")};
}

bool has_extension(const char* name) {
    GLint count = 0;
    glGetIntegerv_(GL_NUM_EXTENSIONS, &count);
    for (GLint i = 0; i < count; ++i) {
        auto ext = reinterpret_cast<const char*>(glGetStringi_(GL_EXTENSIONS, static_cast<GLuint>(i)));
        if (ext && std::strcmp(ext, name) == 0) return true;
    }
    return false;
}

void set_sampler(GLuint program, const char* name, GLint unit) {
    glUseProgram_(program);
    glUniform1i_(glGetUniformLocation_(program, name), unit);
}

// Builds one variant of a material stage from the rect vertex text and the stage's fragment
// text, its command block read from binding point 0; false, with the log in last_error, on
// failure.
bool build_material(int stage, int variant, const char* vertex, const char* fragment) {
    char window[48];
    std::snprintf(window, sizeof window, "#define COMMAND_SLOTS %d\n", window_commands * command_floats / 4);
    char defines[192];
    const int common = (variant & variant_common) != 0;
    std::snprintf(defines, sizeof defines,
                  "#define CUBIC_CORNERS %d\n#define SHAPED_CLIPS %d\n#define CUBIC_CLIPS %d\n"
                  "#define BOXES_ONLY %d\n#define BITMAP_GLYPHS %d\n#define GLASS_INSIDE %d\n",
                  (variant & variant_cubic) != 0, (variant & variant_clips) != 0,
                  (variant & variant_cubic_clips) != 0, common, common, common);
    Material& m = materials[stage][variant];
    m.program = make_program(vertex, fragment, defines, window);
    if (!m.program) return false;
    m.u = material_uniforms(m.program);
    glUniformBlockBinding_(m.program, glGetUniformBlockIndex_(m.program, "Commands"), 0);
    if (stage == 0) {
        set_sampler(m.program, "sharpTex", 0);
        set_sampler(m.program, "blurTex", 1);
    } else if (stage == 2) {
        set_sampler(m.program, "atlas", 0);
    }
    return true;
}

// The one variant of `stage` that serves the switches in `variant`.
int distinct_variant(int stage, int variant) {
    // No corner search for glyphs, which have no contour of their own, for the inside of glass,
    // which holds no corner, nor for the shapes that are not boxes.
    const bool common = (variant & variant_common) != 0;
    if (stage == 2 || (stage == 0 && common) || (stage == 1 && !common)) variant &= ~variant_cubic;
    if (!(variant & variant_clips)) variant &= ~variant_cubic_clips;
    // Signed-distance glyphs always, and shapes other than boxes wherever a clip reaches them,
    // take the whole clip loop: the cheaper programs would serve none of the 21,000 commands of
    // a render-all run (the Renderer draws bitmap glyphs) and cost about 1.5 MiB each.
    if (stage == 2 && !common) return variant_clips | variant_cubic_clips;
    if (stage == 1 && !common && (variant & variant_clips)) variant |= variant_cubic_clips;
    return variant;
}

// The variant of `stage` a draw needs; the full one should it have failed to build.
Material& material(int stage, int variant) {
    Material& m = materials[stage][distinct_variant(stage, variant)];
    return m.program ? m : materials[stage][variant_all];
}

// Per-draw-buffer blending is core from 4.0 and an extension before.
void resolve_indexed_blending(GLint major) {
    if (major <= 3 && !has_extension("GL_ARB_draw_buffers_blend")) return;
    blendFuncIndexed = proc_as<BlendFuncIndexed>("glBlendFuncSeparatei");
    blendEquationIndexed = proc_as<BlendEquationIndexed>("glBlendEquationSeparatei");
    if (blendFuncIndexed && blendEquationIndexed) return;
    blendFuncIndexed = proc_as<BlendFuncIndexed>("glBlendFuncSeparateiARB");
    blendEquationIndexed = proc_as<BlendEquationIndexed>("glBlendEquationSeparateiARB");
    if (!blendEquationIndexed) blendFuncIndexed = nullptr;
}

void unload_library() {
    velmora::gpu::gl_library_free();
    entry_points_live = false;
}

void delete_resources() {
    if (!resources_ready) return;
    GLuint fbos[] = {scene_fbo, blur_a_fbo, blur_b_fbo};
    GLuint textures[] = {scene_tex, blur_a_tex, blur_b_tex};
    glDeleteFramebuffers_(3, fbos);
    glDeleteTextures_(3, textures);
    for (GLuint program : {program_bg, program_blur}) glDeleteProgram_(program);
    for (auto& stage : materials)
        for (Material& m : stage) {
            if (m.program) glDeleteProgram_(m.program);
            m = {};
        }
    glDeleteVertexArrays_(1, &vao);
    glDeleteBuffers_(1, &command_buffer);
    command_data.release();
    runs.release();
    resources_ready = false;
    scene_fbo = blur_a_fbo = blur_b_fbo = scene_tex = blur_a_tex = blur_b_tex = 0;
    program_bg = program_blur = vao = command_buffer = 0;
    tex_w = tex_h = 0;
    blendFuncIndexed = nullptr;
    blendEquationIndexed = nullptr;
}

// ---- host state ---------------------------------------------------------------------------

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

// ---- frozen scene -------------------------------------------------------------------------

// Defines the storage of one colour target and attaches it; false when incomplete.
bool define_target(GLuint texture, GLuint framebuffer, int width, int height) {
    glBindTexture_(GL_TEXTURE_2D, texture);
    glTexParameteri_(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri_(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri_(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri_(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexImage2D_(GL_TEXTURE_2D, 0, GL_RGBA8, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    glBindFramebuffer_(GL_FRAMEBUFFER, framebuffer);
    glFramebufferTexture2D_(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    glDrawBuffer_(GL_COLOR_ATTACHMENT0);
    return glCheckFramebufferStatus_(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
}

bool resize_textures(int width, int height) {
    if (width == tex_w && height == tex_h) return true;
    GLint max_size = 0;
    glGetIntegerv_(GL_MAX_TEXTURE_SIZE, &max_size);
    if (width > max_size || height > max_size) {
        set_error("Framebuffer exceeds GL_MAX_TEXTURE_SIZE");
        return false;
    }
    glActiveTexture_(GL_TEXTURE0);
    // An odd size rounds the half size up.
    int half_w = (width + 1) / 2, half_h = (height + 1) / 2;
    if (!define_target(scene_tex, scene_fbo, width, height) ||
        !define_target(blur_a_tex, blur_a_fbo, half_w, half_h) ||
        !define_target(blur_b_tex, blur_b_fbo, half_w, half_h)) {
        set_error("Internal LiquidGlass framebuffer is incomplete.");
        return false;
    }
    tex_w = width;
    tex_h = height;
    blur_w = half_w;
    blur_h = half_h;
    return true;
}

void enable_premultiplied_blending() {
    glEnablei_(GL_BLEND, 0);
    if (blendFuncIndexed) {
        blendFuncIndexed(0, GL_ONE, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
        blendEquationIndexed(0, GL_FUNC_ADD, GL_FUNC_ADD);
    } else {
        glBlendFuncSeparate_(GL_ONE, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
        glBlendEquationSeparate_(GL_FUNC_ADD, GL_FUNC_ADD);
    }
}

// The mapping of one vg_submit: target size, logical-to-pixel scale and the host's scissor.
struct Frame {
    int width, height;
    float fw, fh, sx, sy;
    bool host_scissor;
    float host_left, host_right, host_top, host_bottom; // y-down pixels

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

// The half-size areas whose blurred values glass will read, as few rectangles as keeps the
// blurred surface small. Lives on the stack of each backdrop.
struct BlurAreas {
    static constexpr int capacity = 16;
    Area areas[capacity];
    int count = 0;

    // Adds `a`, merging rectangles whenever their bounding box (grown by the kernel) costs no
    // more than the two apart, and into the cheapest neighbour when full.
    void add(Area a, int gx, int gy) {
        for (;;) {
            int best = -1;
            long long best_cost = 0;
            const Area ga = a.grown(gx, gy, blur_w, blur_h);
            for (int i = 0; i < count; ++i) {
                const Area gi = areas[i].grown(gx, gy, blur_w, blur_h);
                const long long extra = ga.joined(gi).size() - ga.size() - gi.size();
                if (best < 0 || extra < best_cost) {
                    best = i;
                    best_cost = extra;
                }
            }
            if (best < 0 || (best_cost > 0 && count < capacity)) break;
            a = a.joined(areas[best]);
            areas[best] = areas[--count];
        }
        areas[count++] = a;
    }
};

// Refraction moves a glass sample at most 4/5 of the widest bevel, 10 units, along the normal.
constexpr float max_refraction = 8.0f;

// Collects what the glass commands up to the next backdrop read of the blurred scene, as
// V-pass areas in half-size texels. Glass with no blur weight reads none.
void collect_blur_areas(const Frame& f, const float* commands, int count, int gx, int gy, BlurAreas& out) {
    const float kx = static_cast<float>(blur_w) / f.fw, ky = static_cast<float>(blur_h) / f.fh;
    for (int i = 0; i < count; ++i) {
        const float* c = commands + static_cast<std::size_t>(i) * 64;
        if (kind_of(c) == 9) break;
        float left, top, right, bottom;
        if (kind_of(c) != 0 || !f.clip(c, left, top, right, bottom) || c[22] <= 0) continue;
        // The quad overreaches the surface by 2 units; an odd size reads from anywhere.
        if (c[3] >= 0 && c[4] >= 0) {
            left = std::max(left, (c[1] - 2) * f.sx);
            right = std::min(right, (c[1] + c[3] + 2) * f.sx);
            top = std::max(top, (c[2] - 2) * f.sy);
            bottom = std::min(bottom, (c[2] + c[4] + 2) * f.sy);
            if (!(right > left) || !(bottom > top)) continue;
            const float rx = max_refraction * f.sx, ry = max_refraction * f.sy;
            left -= rx;
            right += rx;
            top -= ry;
            bottom += ry;
        } else {
            left = top = 0;
            right = f.fw;
            bottom = f.fh;
        }
        // One texel more on each side for the bilinear footprint.
        const Area a{pixel_floor(left * kx) - 1, pixel_floor((f.fh - bottom) * ky) - 1,
                     pixel_ceil(right * kx) + 1, pixel_ceil((f.fh - top) * ky) + 1};
        const Area inside = a.grown(0, 0, blur_w, blur_h);
        if (inside.x1 > inside.x0 && inside.y1 > inside.y0) out.add(inside, gx, gy);
    }
}

// The reach of one blur pass in texels: its last tap, and one more should the shader round
// 3 sigma up past it.
int kernel_reach(float texel_sigma) { return std::min(pixel_ceil(3.0f * texel_sigma), 64) + 1; }

void blur_pass(GLuint target, GLuint source, float step_x, float step_y, float texel_sigma, const Area* areas,
               int count, int gx, int gy) {
    glBindFramebuffer_(GL_DRAW_FRAMEBUFFER, target);
    glViewport_(0, 0, blur_w, blur_h);
    glActiveTexture_(GL_TEXTURE0);
    glBindTexture_(GL_TEXTURE_2D, source);
    glUseProgram_(program_blur);
    glUniform2f_(bl_step, step_x, step_y);
    glUniform1f_(bl_sigma, texel_sigma);
    for (int i = 0; i < count; ++i) {
        areas[i].grown(gx, gy, blur_w, blur_h).scissor();
        glDrawArrays_(GL_TRIANGLES, 0, 3);
    }
}

// Freezes the target into scene_tex and, with sigma on, blurs a half-size copy where the glass
// up to the next backdrop (`next`, `count` commands on) will read it; returns the texture glass
// reads as its blurred scene. Leaves the target bound for drawing with premultiplied blending.
GLuint snapshot(GLuint framebuffer, GLenum buffer, const Frame& f, const float* next, int count,
                float sigma) {
    glDisable_(GL_SCISSOR_TEST);
    glDisablei_(GL_BLEND, 0);
    glBindFramebuffer_(GL_READ_FRAMEBUFFER, framebuffer);
    glReadBuffer_(buffer);
    glBindFramebuffer_(GL_DRAW_FRAMEBUFFER, scene_fbo);
    glBlitFramebuffer_(0, 0, f.width, f.height, 0, 0, f.width, f.height, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    GLuint result = scene_tex;
    if (sigma > .01f) {
        const auto bw = static_cast<float>(blur_w), bh = static_cast<float>(blur_h);
        const float sigma_x = sigma * bw / f.fw, sigma_y = sigma * bh / f.fh;
        const int rx = kernel_reach(sigma_x), ry = kernel_reach(sigma_y);
        BlurAreas blur;
        collect_blur_areas(f, next, count, rx, ry, blur);
        // Downsample what the horizontal pass reads, which reads what the vertical pass reads.
        glEnable_(GL_SCISSOR_TEST);
        glBindFramebuffer_(GL_READ_FRAMEBUFFER, scene_fbo);
        glReadBuffer_(GL_COLOR_ATTACHMENT0);
        glBindFramebuffer_(GL_DRAW_FRAMEBUFFER, blur_a_fbo);
        for (int i = 0; i < blur.count; ++i) {
            blur.areas[i].grown(rx, ry, blur_w, blur_h).scissor();
            glBlitFramebuffer_(0, 0, f.width, f.height, 0, 0, blur_w, blur_h, GL_COLOR_BUFFER_BIT, GL_LINEAR);
        }
        blur_pass(blur_b_fbo, blur_a_tex, 1.0f / bw, 0.0f, sigma_x, blur.areas, blur.count, 0, ry);
        blur_pass(blur_a_fbo, blur_b_tex, 0.0f, 1.0f / bh, sigma_y, blur.areas, blur.count, 0, 0);
        result = blur_a_tex;
    }
    glBindFramebuffer_(GL_DRAW_FRAMEBUFFER, framebuffer);
    glDrawBuffer_(buffer);
    glViewport_(0, 0, f.width, f.height);
    enable_premultiplied_blending();
    return result;
}

} // namespace

// ---- device -------------------------------------------------------------------------------

int vg_open(const char* const* shaders) {
    last_error[0] = '\0';
    if (opened) {
        set_error("Only one VelmoraUI renderer per process.");
        return 0;
    }
    if (!shaders) {
        set_error("Invalid shader table");
        return 0;
    }
    if (!velmora::gpu::gl_library_load()) {
        set_error(velmora::gpu::gl_library_missing);
        return 0;
    }
    auto fail = [](const char* message) {
        if (message) set_error(message);
        unload_library();
        return 0;
    };

    char missing[128];
#define VG_RESOLVE_ENTRY(ret, name, args)                                                                    \
    name##_ = proc_as<ret(VG_APIENTRY*) args>(#name);                                                        \
    if (!name##_) {                                                                                          \
        std::strcpy(missing, "Missing OpenGL entry point: " #name);                                          \
        return fail(missing);                                                                                \
    }
    VG_REQUIRED_ENTRY_POINTS(VG_RESOLVE_ENTRY)
#undef VG_RESOLVE_ENTRY
    entry_points_live = true;

    GLint major = 0, minor = 0;
    glGetIntegerv_(GL_MAJOR_VERSION, &major);
    glGetIntegerv_(GL_MINOR_VERSION, &minor);
    if (major < 3 || (major == 3 && minor < 3))
        return fail(
            "The active driver exposes less than OpenGL 3.3. Update the GPU driver or use a machine with "
            "desktop OpenGL 3.3+.");

    GlState host;
    save_state(host);
    resources_ready = true;
    glGenVertexArrays_(1, &vao);
    glGenBuffers_(1, &command_buffer);
    // A window as large as the driver takes, up to 64 KiB, which holds 256 commands.
    GLint block_size = 0, alignment = 0;
    glGetIntegerv_(GL_MAX_UNIFORM_BLOCK_SIZE, &block_size);
    glGetIntegerv_(GL_UNIFORM_BUFFER_OFFSET_ALIGNMENT, &alignment);
    window_commands = std::min(block_size, 65536) / (command_floats * 4);
    window_alignment = std::lcm(static_cast<std::size_t>(std::max(alignment, 1)), std::size_t{256}) / 256;

    const char* fullscreen = shaders[0];
    const char* rect = shaders[3];
    // Every program, so that no frame compiles, even after a failure. A variant that fails is
    // served by the texts as given, built only then; should those fail too, so does vg_open, with
    // the last log in last_error.
    program_bg = make_program(fullscreen, shaders[1]);
    program_blur = make_program(fullscreen, shaders[2]);
    bool built = program_bg && program_blur;
    for (int stage = 0; stage < stage_count; ++stage) {
        bool variants = true;
        for (int variant = 0; variant < variant_count; ++variant)
            if (distinct_variant(stage, variant) == variant)
                variants = build_material(stage, variant, rect, shaders[4 + stage]) && variants;
        if (!variants && !materials[stage][variant_all].program)
            built = build_material(stage, variant_all, rect, shaders[4 + stage]) && built;
    }
    if (!built) {
        restore_state(host);
        delete_resources();
        return fail(nullptr);
    }
    last_error[0] = '\0';

    auto at = [](GLuint program, const char* name) { return glGetUniformLocation_(program, name); };
    bg_res = at(program_bg, "res");
    bg_time = at(program_bg, "time");
    bg_grid = at(program_bg, "grid");
    bg_palette = at(program_bg, "palette");
    bg_color = at(program_bg, "backgroundColor");
    bg_accent = at(program_bg, "backgroundAccent");
    bl_src = at(program_blur, "src");
    bl_step = at(program_blur, "stepv");
    bl_sigma = at(program_blur, "sigma");

    glUseProgram_(program_blur);
    glUniform1i_(bl_src, 0);

    GLuint textures[3], fbos[3];
    glGenTextures_(3, textures);
    glGenFramebuffers_(3, fbos);
    scene_tex = textures[0];
    blur_a_tex = textures[1];
    blur_b_tex = textures[2];
    scene_fbo = fbos[0];
    blur_a_fbo = fbos[1];
    blur_b_fbo = fbos[2];

    resolve_indexed_blending(major);

    restore_state(host);
    opened = true;
    return 1;
}

void vg_close() {
    delete_resources();
    opened = false;
    unload_library();
}

const char* vg_device() {
    if (!opened) return "not initialized";
    auto text = reinterpret_cast<const char*>(glGetString_(GL_RENDERER));
    return text ? text : "";
}

const char* vg_error() { return last_error; }

void vg_clear_error() { last_error[0] = '\0'; }

unsigned vg_gl_error() { return opened ? glGetError_() : 0u; }

// ---- frame submission ---------------------------------------------------------------------

namespace {

// The shaped clip stack of one frame, uploaded lazily per program as the shaders read it: the
// depth, then per clip 16 floats, its box, radii, handles and info (cubic, coverage mode).
struct ClipStack {
    float data[4 + max_clips * 16] = {};
    int depth = 0;
    int cubic = 0; // how many of them have cubic corners

    const float* clip(int i) const { return data + 4 + i * 16; }
    // Takes a push (kind 10) or a pop (kind 11), which commands_valid has balanced.
    void apply(const float* c, int kind) {
        if (kind == 11) {
            --depth;
            cubic -= clip(depth)[12] > .5f;
        } else {
            float* at = data + 4 + depth * 16;
            std::memcpy(at, c + 1, 4 * sizeof(float));
            std::memcpy(at + 4, c + 28, 4 * sizeof(float));
            std::memcpy(at + 8, c + 32, 4 * sizeof(float));
            at[12] = c[44];
            at[13] = c[27];
            at[14] = at[15] = 0;
            cubic += c[44] > .5f;
            ++depth;
        }
        data[0] = static_cast<float>(depth);
    }

    // What clip `i` asks of fragments that lie in `r` (logical x0, y0, x1, y1). It is exactly 1
    // over fragments at least `margin` inside its sides and outside its corner squares: nothing
    // (0). It is exactly 0 at least `margin` outside a side, unless a cubic corner search could
    // reach there: `hidden`. Else the loop, with the corner search where `r` reaches the corner
    // square of a cubic clip. `unknown` for values that are not plain numbers or an empty clip.
    static constexpr int hidden = -1, unknown = -2;
    int work(int i, const float* r, float margin) const {
        const float* b = clip(i);
        const float* radius = b + 4;
        if (!(b[2] > 0 && b[3] > 0)) return unknown; // an empty clip hides everything
        const float x0 = b[0], y0 = b[1], x1 = b[0] + b[2], y1 = b[1] + b[3];
        const float limit = std::min(b[2], b[3]) * .5f;
        bool corner = false;
        for (int k = 0; k < 4; ++k) {
            if (!std::isfinite(radius[k])) return unknown;
            const float rk = std::clamp(radius[k], 0.0f, limit);
            if (!(rk > 1e-5f)) continue;
            const float reach = rk + margin;
            const bool horizontal = k == 0 || k == 3 ? r[0] < x0 + reach : r[2] > x1 - reach;
            const bool vertical = k < 2 ? r[1] < y0 + reach : r[3] > y1 - reach;
            corner = corner || (horizontal && vertical);
        }
        const bool search = b[12] > .5f;
        if (r[2] <= x0 - margin || r[0] >= x1 + margin || r[3] <= y0 - margin || r[1] >= y1 + margin)
            return corner && search ? variant_clips | variant_cubic_clips : hidden;
        const bool inside =
            r[0] >= x0 + margin && r[2] <= x1 - margin && r[1] >= y0 + margin && r[3] <= y1 - margin;
        if (inside && !corner) return 0;
        return variant_clips | (corner && search ? variant_cubic_clips : 0);
    }

    // The clip work a draw whose fragments lie in `r` needs: the variant bits, or `hidden` when
    // some clip hides all of them.
    int variant_for(const float* r, float margin) const {
        if (depth == 0) return 0;
        const int all = variant_clips | (cubic ? variant_cubic_clips : 0);
        for (int i = 0; i < 4; ++i)
            if (!std::isfinite(r[i])) return all;
        int variant = 0;
        bool none = false;
        for (int i = 0; i < depth; ++i) {
            const int w = work(i, r, margin);
            if (w == unknown) return all;
            if (w == hidden)
                none = true;
            else
                variant |= w;
        }
        return none ? hidden : variant;
    }
};

// A draw's pixels cut along the shaped clips it crosses, so that only those near a clip's
// edge take the clip loop and only those near a cubic clip corner its search: the clip loop
// costs every fragment it is compiled into, and a scissor cut costs none. Cut only where a
// clip is exactly 0 or 1 over the whole piece, so the pixels are those of the loop.
struct ClipPieces {
    static constexpr int most_clips = 3;                 // that cut one draw
    static constexpr int most_cuts = 2 + 8 * most_clips; // per axis
    static constexpr int most = (most_cuts - 1) * (most_cuts - 1);
    Area at[most];
    int variant[most];
    int count = 0;
};

// Cuts `area` (y-up pixels of the frame's target) along the clips it crosses; pieces get `base`
// and the clip work they need, and pieces that a clip hides are left out. One piece, the whole
// area, where the cut would save too few clip-loop pixels to pay for the draws it adds. False
// when the clips cannot be judged: values that are not plain numbers, too many clips crossed.
bool split_clips(const ClipStack& clips, const Area& area, int base, const Frame& frame, float margin,
                 ClipPieces& out) {
    const float sx = frame.sx, sy = frame.sy;
    const int height = frame.height;
    auto logical = [&](const Area& a, float* r) {
        r[0] = static_cast<float>(a.x0) / sx;
        r[1] = static_cast<float>(height - a.y1) / sy;
        r[2] = static_cast<float>(a.x1) / sx;
        r[3] = static_cast<float>(height - a.y0) / sy;
    };
    if (area.x1 <= area.x0 || area.y1 <= area.y0) return false;
    float r[4];
    logical(area, r);
    int crossed[ClipPieces::most_clips], n = 0, whole = 0;
    for (int i = 0; i < clips.depth; ++i) {
        const int w = clips.work(i, r, margin);
        if (w == ClipStack::unknown || (w > 0 && n == ClipPieces::most_clips)) return false;
        if (w == ClipStack::hidden) {
            out.count = 0;
            return true;
        }
        if (w > 0) crossed[n++] = i;
        whole |= w;
    }
    out.count = 1;
    out.at[0] = area;
    out.variant[0] = base | whole;
    if (n == 0) return true;
    // The lines where a crossed clip's work may change: its sides, grown and shrunk by the
    // margin, and the inner sides of its corner squares. Each is rounded to the pixel edge past
    // it, away from the region that begins there (logical x and y grow right and down; pixel y
    // grows up), so that the region's cells lie wholly in it.
    int xs[ClipPieces::most_cuts], ys[ClipPieces::most_cuts], nx = 0, ny = 0;
    auto cut = [](int* at, int& count, int lo, int hi, float v, bool up) {
        if (!(v > static_cast<float>(lo) && v < static_cast<float>(hi))) return;
        at[count++] = up ? pixel_ceil(v) : pixel_floor(v);
    };
    xs[nx++] = area.x0;
    xs[nx++] = area.x1;
    ys[ny++] = area.y0;
    ys[ny++] = area.y1;
    const auto fh = static_cast<float>(height);
    for (int k = 0; k < n; ++k) {
        const float* b = clips.clip(crossed[k]);
        const float limit = std::min(b[2], b[3]) * .5f;
        const float x0 = b[0], y0 = b[1], x1 = b[0] + b[2], y1 = b[1] + b[3];
        float reach[4];
        for (int c = 0; c < 4; ++c) reach[c] = std::clamp(b[4 + c], 0.0f, limit) + margin;
        for (float v : {x0 + margin, x0 + reach[0], x0 + reach[3], x1 + margin})
            cut(xs, nx, area.x0, area.x1, v * sx, true);
        for (float v : {x0 - margin, x1 - reach[1], x1 - reach[2], x1 - margin})
            cut(xs, nx, area.x0, area.x1, v * sx, false);
        for (float v : {y0 + margin, y0 + reach[0], y0 + reach[1], y1 + margin})
            cut(ys, ny, area.y0, area.y1, fh - v * sy, false);
        for (float v : {y0 - margin, y1 - reach[3], y1 - reach[2], y1 - margin})
            cut(ys, ny, area.y0, area.y1, fh - v * sy, true);
    }
    std::sort(xs, xs + nx);
    std::sort(ys, ys + ny);
    nx = static_cast<int>(std::unique(xs, xs + nx) - xs);
    ny = static_cast<int>(std::unique(ys, ys + ny) - ys);
    // The work of each cell of the grid, then the cells merged greedily into rectangles of equal
    // work: along a row, then down while the rows below match.
    int work[ClipPieces::most];
    const int columns = nx - 1;
    long long looped = 0;
    for (int j = 0; j + 1 < ny; ++j)
        for (int i = 0; i < columns; ++i) {
            const Area cell{xs[i], ys[j], xs[i + 1], ys[j + 1]};
            logical(cell, r);
            int w = 0;
            for (int k = 0; k < n && w != ClipStack::hidden; ++k) {
                const int v = clips.work(crossed[k], r, margin);
                w = v == ClipStack::hidden ? v : w | v;
            }
            work[j * columns + i] = w;
            if (w > 0) looped += cell.size();
        }
    // Below this many pixels of the loop saved, the draws the cut adds cost more.
    constexpr long long worth = 4096;
    if (area.size() - looped < worth) return true;
    out.count = 0;
    bool taken[ClipPieces::most] = {};
    for (int j = 0; j + 1 < ny; ++j)
        for (int i = 0; i < columns; ++i) {
            const int w = work[j * columns + i];
            if (taken[j * columns + i]) continue;
            int i1 = i + 1;
            while (i1 < columns && !taken[j * columns + i1] && work[j * columns + i1] == w) ++i1;
            int j1 = j + 1;
            for (; j1 + 1 < ny; ++j1) {
                bool same = true;
                for (int c = i; c < i1 && same; ++c)
                    same = !taken[j1 * columns + c] && work[j1 * columns + c] == w;
                if (!same) break;
            }
            for (int row = j; row < j1; ++row)
                for (int c = i; c < i1; ++c) taken[row * columns + c] = true;
            if (w == ClipStack::hidden) continue;
            out.at[out.count] = {xs[i], ys[j], xs[i1], ys[j1]};
            out.variant[out.count++] = base | w;
        }
    return true;
}

// The logical box (x0, y0, x1, y1) that holds the quad the vertex stage makes for command `c`,
// padded as it pads it.
void quad_bounds(const float* c, float* r) {
    const int kind = kind_of(c);
    const float pad = kind == 2 || kind == 5 ? 0.0f : kind == 4 ? std::max(2.0f, c[10] * .5f + 2) : 2.0f;
    r[0] = std::min(c[1], c[1] + c[3]) - pad;
    r[1] = std::min(c[2], c[2] + c[4]) - pad;
    r[2] = std::max(c[1], c[1] + c[3]) + pad;
    r[3] = std::max(c[2], c[2] + c[4]) + pad;
}

// The texture units and the scissor as the run loop set them, so that consecutive runs with
// the same textures or box set them once. Forgotten at each backdrop, which sets its own.
struct Bindings {
    GLuint texture[2];
    int active; // the active unit, -1 when unknown
    bool scissor;
    Area box;

    void forget() {
        texture[0] = texture[1] = ~0u;
        active = -1;
        scissor = false;
        box = {};
    }
    void bind(int unit, GLuint name) {
        if (texture[unit] == name) return;
        if (active != unit) glActiveTexture_(GL_TEXTURE0 + static_cast<GLenum>(unit));
        active = unit;
        glBindTexture_(GL_TEXTURE_2D, name);
        texture[unit] = name;
    }
    void cut(const Area& a) {
        if (scissor && a == box) return;
        if (!scissor) glEnable_(GL_SCISSOR_TEST);
        scissor = true;
        box = a;
        a.scissor();
    }
};

// The pixels of a surface in pieces (y-up pixel boxes), each drawn as the quad cut to its box,
// each with the variant it needs: the corner squares, grown by a unit so that rounding never puts
// a fragment that needs the search outside them; for glass the inside past its rim; and the rest.
struct Pieces {
    Area at[9];
    int variant[9];
    int count = 0;
};

// How far inside its sides glass is past its rim, in units: beyond the widest bevel (10), where
// the rim light has decayed below what can change a colour (4 edge widths, an edge width being
// at most 0.85 * sqrt(2) pixels or 0.65 units), and outside the corner squares. 0 for none.
float glass_inside(const float* c, float sx, float sy) {
    const float edge_width = std::max(.65f, .85f * 1.4143f / std::min(sx, sy));
    float largest = 0;
    for (int i = 28; i < 32; ++i) largest = std::max(largest, c[i]);
    return std::max({10.0f, 4 * edge_width, largest + 1}) + 1;
}

// Splits the surface of `c` (pixels y-down, scaled by sx, sy) within `clip`, y-up pixels of a
// target `height` high. Corners get `base | corner`, the inside (when `inside` >
// 0) the common variant, the rest `base`. False when it is better drawn whole: sizes or radii that are not
// plain numbers, or corners so large that their squares would meet.
bool split_surface(const float* c, float sx, float sy, int height, const Area& clip, int base, int corner,
                   float inside, Pieces& out) {
    for (int i : {1, 2, 3, 4, 28, 29, 30, 31})
        if (!std::isfinite(c[i])) return false;
    if (c[3] < 0 || c[4] < 0) return false;
    // The quad as the vertex stage makes it, 2 units of pad, cut to the clip.
    const int qx0 = std::max(pixel_floor((c[1] - 2) * sx), clip.x0),
              qx1 = std::min(pixel_ceil((c[1] + c[3] + 2) * sx), clip.x1);
    const int qy0 = std::max(pixel_floor((c[2] - 2) * sy), height - clip.y1),
              qy1 = std::min(pixel_ceil((c[2] + c[4] + 2) * sy), height - clip.y0);
    if (qx1 <= qx0 || qy1 <= qy0) return false;
    const float limit = std::min(c[3], c[4]) * .5f, x0 = c[1], y0 = c[2], x1 = c[1] + c[3], y1 = c[2] + c[4];
    auto x = [&](float v, bool up) {
        return std::clamp(up ? pixel_ceil(v * sx) : pixel_floor(v * sx), qx0, qx1);
    };
    auto y = [&](float v, bool up) {
        return std::clamp(up ? pixel_ceil(v * sy) : pixel_floor(v * sy), qy0, qy1);
    };
    // How far in from the sides the square of corner i (0 top left, clockwise) reaches, in units.
    float reach[4];
    for (int i = 0; i < 4; ++i) {
        const float r = std::clamp(c[28 + i], 0.0f, limit);
        reach[i] = r > 1e-5f ? r + 1 : -1;
    }
    // Corner squares, y-down: left or right edge a, top or bottom edge b; empty without a radius.
    const int a0 = reach[0] < 0 ? qx0 : x(x0 + reach[0], true),
              b0 = reach[0] < 0 ? qy0 : y(y0 + reach[0], true);
    const int a1 = reach[1] < 0 ? qx1 : x(x1 - reach[1], false),
              b1 = reach[1] < 0 ? qy0 : y(y0 + reach[1], true);
    const int a2 = reach[2] < 0 ? qx1 : x(x1 - reach[2], false),
              b2 = reach[2] < 0 ? qy1 : y(y1 - reach[2], false);
    const int a3 = reach[3] < 0 ? qx0 : x(x0 + reach[3], true),
              b3 = reach[3] < 0 ? qy1 : y(y1 - reach[3], false);
    if (std::max(a0, a3) > std::min(a1, a2) || std::max(b0, b1) > std::min(b2, b3)) return false;
    // The inside, if any, between the top band (corners 0 and 1) and the bottom one (2 and 3).
    const int ix0 = x(x0 + inside, true), ix1 = x(x1 - inside, false);
    const int top = y(y0 + inside, true), bottom = y(y1 - inside, false);
    const bool has_inside = inside > 0 && ix0 < ix1 && top < bottom && top >= std::max(b0, b1) &&
                            bottom <= std::min(b2, b3) && ix0 >= std::max(a0, a3) && ix1 <= std::min(a1, a2);
    auto add = [&](int left, int upper, int right, int lower, int variant) {
        if (right <= left || lower <= upper) return;
        out.at[out.count] = {left, height - lower, right, height - upper};
        out.variant[out.count++] = variant;
    };
    // A 3 x 3 grid: the corner cells hold the corner squares and take the search, which is right
    // everywhere; the middle cell is the inside when there is one, else one band with its sides.
    const int xl = has_inside ? ix0 : std::max(a0, a3), xr = has_inside ? ix1 : std::min(a1, a2);
    const int yt = has_inside ? top : std::max(b0, b1), yb = has_inside ? bottom : std::min(b2, b3);
    add(qx0, qy0, xl, yt, base | corner);
    add(xr, qy0, qx1, yt, base | corner);
    add(xr, yb, qx1, qy1, base | corner);
    add(qx0, yb, xl, qy1, base | corner);
    add(xl, qy0, xr, yt, base);
    add(xl, yb, xr, qy1, base);
    if (!has_inside) {
        add(qx0, yt, qx1, yb, base);
        return true;
    }
    add(qx0, yt, xl, yb, base);
    add(xr, yt, qx1, yb, base);
    add(xl, yt, xr, yb, variant_common);
    return true;
}

// The kind is truncated to an integer; kinds beyond those a Canvas writes draw through the
// shape program. Only a kind the truncation is undefined for (NaN, beyond int) is refused.
bool kind_valid(float kind) { return kind > -2147483648.0f && kind < 2147483648.0f; }

bool commands_valid(const float* commands, int count) {
    int depth = 0;
    for (int i = 0; i < count; ++i) {
        const float slot = commands[static_cast<std::size_t>(i) * 64];
        if (!kind_valid(slot)) {
            set_error("Unknown command kind");
            return false;
        }
        const int kind = static_cast<int>(slot);
        if (kind == 11) {
            if (depth < 1) {
                set_error("Unbalanced shaped clip pop");
                return false;
            }
            --depth;
        } else if (kind == 10) {
            if (depth == max_clips) {
                set_error("Shaped clip depth exceeds 32");
                return false;
            }
            ++depth;
        }
    }
    if (depth != 0) {
        set_error("Unbalanced shaped clip pushes");
        return false;
    }
    return true;
}

// Turns the frame into command data and runs before anything is drawn: each drawing command
// joins the open run whenever it can share its draw, and a split surface or a draw cut along
// the shaped clips adds a run for each of its pieces; one that a clip hides whole is left out.
// A backdrop closes the run. False when the heap is exhausted.
bool plan(const Frame& frame, const float* commands, int count, float sigma) {
    command_data.size = 0;
    runs.size = 0;
    const Area whole{0, 0, frame.width, frame.height};
    // Two units and two pixels: past anti-aliasing and rounding at any scale.
    const float clip_margin = 2 + 2 / std::min(frame.sx, frame.sy);
    // A run fits in a window that starts at an aligned command at or before its first.
    const int run_capacity = std::max(window_commands - static_cast<int>(window_alignment) + 1, 1);
    ClipStack clips;
    unsigned clip_stamp = 0;
    bool open = false, reverse = false;
    // Whether `a` holds all of `e` (x0, y0, x1, y1, y-up pixels); false for NaN.
    auto holds = [](const Area& a, const float* e) {
        return e[0] >= static_cast<float>(a.x0) && e[1] >= static_cast<float>(a.y0) &&
               e[2] <= static_cast<float>(a.x1) && e[3] <= static_cast<float>(a.y1);
    };
    // Draws the last command of the data, whose quad reaches `extent`, under a scissor `box`
    // that it needs unless it lies `inside` it.
    auto draw = [&](int i, Material& m, int stage, GLuint texture, const float* extent, bool inside,
                    const Area& box) {
        const std::size_t at = command_data.size / command_floats - 1;
        Run* run = open ? runs.data + runs.size - 1 : nullptr;
        if (run && (run->material != &m || run->texture != texture || run->first + run->count != at ||
                    run->count == run_capacity || (m.u.clips >= 0 && run->clips != clip_stamp)))
            run = nullptr;
        if (run && inside && !holds(run->box, extent)) run = nullptr;
        if (run && !inside && !(run->box == box)) {
            if (run->box == whole && holds(box, run->bounds))
                run->box = box;
            else
                run = nullptr;
        }
        if (!run) {
            run = runs.grow(1);
            if (!run) return false;
            *run = {&m,
                    stage,
                    texture,
                    clip_stamp,
                    i,
                    inside ? whole : box,
                    {extent[0], extent[1], extent[2], extent[3]},
                    at,
                    0};
            open = true;
        }
        for (int k = 0; k < 2; ++k) {
            run->bounds[k] = std::min(run->bounds[k], extent[k]);
            run->bounds[k + 2] = std::max(run->bounds[k + 2], extent[k + 2]);
        }
        run->last = i;
        ++run->count;
        return true;
    };

    // Draws the last command within `a` alone, as a run of its own.
    auto draw_piece = [&](int i, int stage, GLuint texture, const Area& a, int variant) {
        const float extent[4] = {static_cast<float>(a.x0), static_cast<float>(a.y0), static_cast<float>(a.x1),
                                 static_cast<float>(a.y1)};
        open = false;
        return draw(i, material(stage, variant), stage, texture, extent, false, a);
    };
    ClipPieces cut;
    auto draw_cut = [&](int i, int stage, GLuint texture) {
        for (int n = 0; n < cut.count; ++n)
            if (!draw_piece(i, stage, texture, cut.at[n], cut.variant[n])) return false;
        return true;
    };

    for (int i = 0; i < count; ++i) {
        const float* c = commands + static_cast<std::size_t>(i) * 64;
        const int kind = kind_of(c);
        if (kind == 9) {
            open = false;
            continue;
        }
        if (kind == 10 || kind == 11) {
            clips.apply(c, kind);
            ++clip_stamp;
            continue;
        }
        float left, top, right, bottom;
        if (!frame.clip(c, left, top, right, bottom)) continue;
        float* data = command_data.grow(command_floats);
        if (!data) return false;
        std::memcpy(data, c, command_floats * sizeof(float));
        data[22] = sigma > .01f ? c[22] : 0.0f; // the blur weight, none without a blurred scene
        // Truncating the low edges and rounding up the high ones keeps every touched pixel.
        const Area box{pixel(left), pixel(frame.fh - bottom), pixel(right + .999f),
                       pixel((frame.fh - top) + .999f)};
        GLuint texture = 0;
        if (kind == 2) std::memcpy(&texture, c + 17, sizeof texture);
        const int stage = kind == 0 ? 0 : kind == 2 ? 2 : 1;
        float quad[4];
        quad_bounds(c, quad);
        const float bounds[4] = {std::max(quad[0], left / frame.sx), std::max(quad[1], top / frame.sy),
                                 std::min(quad[2], right / frame.sx), std::min(quad[3], bottom / frame.sy)};
        const int clip_variant = clips.variant_for(bounds, clip_margin);
        if (clip_variant == ClipStack::hidden) {
            command_data.size -= command_floats;
            continue;
        }
        const int corner = (kind == 0 || kind == 1) && c[44] > .5f ? variant_cubic : 0;
        const int common = kind == 1 || (kind == 2 && !(c[11] > .5f)) ? variant_common : 0;
        const float inside = kind == 0 ? glass_inside(c, frame.sx, frame.sy) : 0.0f;
        Pieces pieces;
        if ((corner == 0 && kind != 0) ||
            !split_surface(c, frame.sx, frame.sy, frame.height, box, common, corner, inside, pieces)) {
            const float extent[4] = {quad[0] * frame.sx, frame.fh - quad[3] * frame.sy, quad[2] * frame.sx,
                                     frame.fh - quad[1] * frame.sy};
            // The quad's pixels within the box; a NaN edge leaves the box's.
            const Area reach{pixel_floor(std::max(static_cast<float>(box.x0), extent[0])),
                             pixel_floor(std::max(static_cast<float>(box.y0), extent[1])),
                             pixel_ceil(std::min(static_cast<float>(box.x1), extent[2])),
                             pixel_ceil(std::min(static_cast<float>(box.y1), extent[3]))};
            // Uncut, the draw may join a run whatever the pieces' boxes.
            int variant = clip_variant | common | corner;
            if (clip_variant != 0 && split_clips(clips, reach, common | corner, frame, clip_margin, cut)) {
                if (cut.count != 1 || !(cut.at[0] == reach)) {
                    if (!draw_cut(i, stage, texture)) return false;
                    open = false;
                    continue;
                }
                variant = cut.variant[0];
            }
            if (!draw(i, material(stage, variant), stage, texture, extent, holds(box, extent), box))
                return false;
            continue;
        }
        // Every other surface takes its pieces backwards, so that one program serves the last
        // pieces of a surface and the first of the next.
        reverse = !reverse;
        for (int n = 0; n < pieces.count; ++n) {
            const int p = reverse ? pieces.count - 1 - n : n;
            const Area& a = pieces.at[p];
            const bool cut_up =
                clip_variant != 0 && split_clips(clips, a, pieces.variant[p], frame, clip_margin, cut);
            if (cut_up ? !draw_cut(i, stage, texture)
                       : !draw_piece(i, stage, texture, a, clip_variant | pieces.variant[p]))
                return false;
        }
        open = false;
    }
    return true;
}

// The host's uniform buffer bindings that the command block takes: the generic one and
// binding point 0.
struct UniformBinding {
    GLint generic, buffer;
    GLint64 start, size;

    void save() {
        glGetIntegerv_(GL_UNIFORM_BUFFER_BINDING, &generic);
        glGetIntegeri_v_(GL_UNIFORM_BUFFER_BINDING, 0, &buffer);
        glGetInteger64i_v_(GL_UNIFORM_BUFFER_START, 0, &start);
        glGetInteger64i_v_(GL_UNIFORM_BUFFER_SIZE, 0, &size);
    }
    void restore() const {
        const auto name = static_cast<GLuint>(buffer);
        if (name != 0 && size > 0)
            glBindBufferRange_(GL_UNIFORM_BUFFER, 0, name, static_cast<GLintptr>(start),
                               static_cast<GLsizeiptr>(size));
        else
            glBindBufferBase_(GL_UNIFORM_BUFFER, 0, name);
        glBindBuffer_(GL_UNIFORM_BUFFER, static_cast<GLuint>(generic));
    }
};

} // namespace

void vg_submit(const float* commands, std::size_t float_count, int command_count, unsigned framebuffer,
               unsigned buffer, int width, int height, float logical_width, float logical_height, float sigma,
               float pointer_x, float pointer_y) {
    if (!opened) {
        set_error("Renderer is not initialized");
        return;
    }
    // Written as negated ranges so that NaN fails too.
    if (!commands || command_count < 0 || float_count < static_cast<std::size_t>(command_count) * 64 ||
        width < 1 || height < 1 || !(logical_width > 0) || !(logical_height > 0) ||
        !(sigma >= 0 && sigma <= 32)) {
        set_error("Invalid draw buffer or framebuffer parameters");
        return;
    }
    if (!commands_valid(commands, command_count)) return;

    GlState host;
    save_state(host);
    glBindFramebuffer_(GL_DRAW_FRAMEBUFFER, framebuffer);
    GLint samples = 0;
    glGetIntegerv_(GL_SAMPLE_BUFFERS, &samples);
    if (samples > 0) {
        restore_state(host);
        set_error("Resolve MSAA to a single-sample framebuffer before drawing UI");
        return;
    }
    glBindFramebuffer_(GL_READ_FRAMEBUFFER, framebuffer);
    GLint read_buffer = 0, draw_buffer_count = 0;
    GLenum draw_buffers[32];
    glGetIntegerv_(GL_READ_BUFFER, &read_buffer);
    glGetIntegerv_(GL_MAX_DRAW_BUFFERS, &draw_buffer_count);
    if (draw_buffer_count > 32) {
        restore_state(host);
        set_error("More than 32 draw buffers is not supported");
        return;
    }
    for (GLint i = 0; i < draw_buffer_count; ++i) {
        GLint value = 0;
        glGetIntegerv_(GL_DRAW_BUFFER0 + static_cast<GLenum>(i), &value);
        draw_buffers[i] = static_cast<GLenum>(value);
    }
    prepare_state(host);
    if (!resize_textures(width, height)) {
        restore_state(host);
        return;
    }
    const float fw = static_cast<float>(width), fh = static_cast<float>(height);
    // The host's scissor box in y-down pixels, applied on top of each command's clip.
    const Frame frame{width,
                      height,
                      fw,
                      fh,
                      fw / logical_width,
                      fh / logical_height,
                      host.enabled[scissor_flag] != 0,
                      static_cast<float>(host.scissor[0]),
                      static_cast<float>(host.scissor[0] + host.scissor[2]),
                      fh - static_cast<float>(host.scissor[1] + host.scissor[3]),
                      fh - static_cast<float>(host.scissor[1])};
    if (!plan(frame, commands, command_count, sigma)) {
        set_error("Out of memory");
        restore_state(host);
        return;
    }
    GLuint blurred = snapshot(framebuffer, buffer, frame, commands, command_count, sigma);
    UniformBinding host_uniforms{};
    const auto window_bytes = static_cast<GLsizeiptr>(window_commands) * command_floats * 4;
    if (runs.size > 0) {
        host_uniforms.save();
        const auto bytes = static_cast<GLsizeiptr>(command_data.size * sizeof(float));
        glBindBuffer_(GL_UNIFORM_BUFFER, command_buffer);
        // A fresh store, which no draw still queued reads, with room for a whole window from
        // any command on.
        glBufferData_(GL_UNIFORM_BUFFER, bytes + window_bytes, nullptr, GL_STREAM_DRAW);
        glBufferSubData_(GL_UNIFORM_BUFFER, 0, bytes, command_data.data);
    }
    ClipStack clips;
    ++clip_serial;
    ++frame_serial;
    GLuint current = 0;
    Bindings bindings;
    bindings.forget();
    std::size_t window = 0; // the first command of the bound window
    bool window_bound = false;
    auto draw = [&](const Run& r) {
        Material& m = *r.material;
        const MaterialUniforms& u = m.u;
        if (m.program != current) {
            current = m.program;
            glUseProgram_(current);
        }
        if (m.frame_serial != frame_serial) {
            glUniform2f_(u.view, logical_width, logical_height);
            if (u.pointer >= 0) glUniform4f_(u.pointer, pointer_x, pointer_y, 1, 0);
            m.frame_serial = frame_serial;
        }
        if (u.clips >= 0 && m.clip_serial != clip_serial) { // a variant without clips has none
            glUniform4fv_(u.clips, 1 + clips.depth * 4, clips.data);
            m.clip_serial = clip_serial;
        }
        if (r.stage == 0) {
            bindings.bind(0, scene_tex);
            bindings.bind(1, blurred);
        } else if (r.stage == 2) {
            bindings.bind(0, r.texture);
        }
        bindings.cut(r.box);
        const auto end = r.first + static_cast<std::size_t>(r.count);
        if (!window_bound || r.first < window || end > window + static_cast<std::size_t>(window_commands)) {
            window = r.first / window_alignment * window_alignment;
            window_bound = true;
            glBindBufferRange_(GL_UNIFORM_BUFFER, 0, command_buffer,
                               static_cast<GLintptr>(window * command_floats * sizeof(float)), window_bytes);
        }
        glDrawArrays_(GL_TRIANGLES, static_cast<GLint>(r.first - window) * 6, r.count * 6);
    };

    // The commands again, for the clip stack and the backdrops; each run is drawn after its last
    // command.
    std::size_t next = 0;
    for (int i = 0; i < command_count && next < runs.size; ++i) {
        const float* c = commands + static_cast<std::size_t>(i) * 64;
        const int kind = kind_of(c);
        if (kind == 9) {
            blurred = snapshot(framebuffer, buffer, frame, c + 64, command_count - i - 1, sigma);
            current = 0;
            bindings.forget();
        } else if (kind == 10 || kind == 11) {
            clips.apply(c, kind);
            ++clip_serial;
        }
        for (; next < runs.size && runs.data[next].last == i; ++next) draw(runs.data[next]);
    }
    if (runs.size > 0) host_uniforms.restore();

    glBindFramebuffer_(GL_READ_FRAMEBUFFER, framebuffer);
    glReadBuffer_(static_cast<GLenum>(read_buffer));
    glBindFramebuffer_(GL_DRAW_FRAMEBUFFER, framebuffer);
    if (framebuffer == 0) {
        glDrawBuffer_(draw_buffers[0]);
    } else {
        glDrawBuffers_(draw_buffer_count, draw_buffers);
    }
    restore_state(host);
}

// ---- textures and read-back ---------------------------------------------------------------

void vg_background(int width, int height, float time, int grid, int palette, unsigned color,
                   unsigned accent) {
    if (!opened) return;
    GlState host;
    save_state(host);
    prepare_state(host);
    glBindFramebuffer_(GL_DRAW_FRAMEBUFFER, 0);
    glDrawBuffer_(GL_BACK);
    glViewport_(0, 0, width, height);
    glUseProgram_(program_bg);
    glUniform2f_(bg_res, static_cast<float>(width), static_cast<float>(height));
    glUniform1f_(bg_time, time);
    glUniform1f_(bg_grid, grid != 0 ? 1.0f : 0.0f);
    glUniform1f_(bg_palette, palette != 0 ? 1.0f : 0.0f);
    // The packed alpha is ignored: the background is always opaque.
    auto channel = [](unsigned packed, int shift) {
        return static_cast<float>((packed >> shift) & 0xFFu) / 255.0f;
    };
    glUniform4f_(bg_color, channel(color, 16), channel(color, 8), channel(color, 0), 1);
    glUniform4f_(bg_accent, channel(accent, 16), channel(accent, 8), channel(accent, 0), 1);
    glDrawArrays_(GL_TRIANGLES, 0, 3);
    restore_state(host);
}

unsigned vg_texture(int width, int height) {
    if (width < 1 || height < 1 || !opened) {
        set_error("Invalid texture creation");
        return 0;
    }
    GLint active = 0, bound = 0, unpack = 0;
    glGetIntegerv_(GL_ACTIVE_TEXTURE, &active);
    glActiveTexture_(GL_TEXTURE0);
    glGetIntegerv_(GL_TEXTURE_BINDING_2D, &bound);
    glGetIntegerv_(GL_PIXEL_UNPACK_BUFFER_BINDING, &unpack);
    glBindBuffer_(GL_PIXEL_UNPACK_BUFFER, 0);
    GLuint texture = 0;
    glGenTextures_(1, &texture);
    glBindTexture_(GL_TEXTURE_2D, texture);
    glTexParameteri_(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri_(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri_(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri_(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexImage2D_(GL_TEXTURE_2D, 0, GL_RGBA8, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    glBindTexture_(GL_TEXTURE_2D, static_cast<GLuint>(bound));
    glBindBuffer_(GL_PIXEL_UNPACK_BUFFER, static_cast<GLuint>(unpack));
    glActiveTexture_(static_cast<GLenum>(active));
    return texture;
}

namespace {

// Pixel store settings of one direction (pack or unpack), saved, zeroed and put back.
struct PixelStore {
    GLenum names[4];
    GLint values[4];

    void save() {
        for (int i = 0; i < 4; ++i) glGetIntegerv_(names[i], &values[i]);
    }
    // Tightly packed rows: alignment 1, no row length, no skips.
    void tighten() const {
        glPixelStorei_(names[0], 1);
        for (int i = 1; i < 4; ++i) glPixelStorei_(names[i], 0);
    }
    void restore() const {
        for (int i = 0; i < 4; ++i) glPixelStorei_(names[i], values[i]);
    }
};

// The guard of the calls that move pixels between client memory and GL: a buffer that holds
// the rectangle (else `refusal`), and entry points into a loaded library. The open device is
// not required.
bool can_move_pixels(int width, int height, const void* pixels, std::size_t size, const char* refusal) {
    if (width < 1 || height < 1 || !pixels ||
        size < static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4) {
        set_error(refusal);
        return false;
    }
    if (!entry_points_live) {
        set_error("Renderer is not initialized");
        return false;
    }
    return true;
}

} // namespace

void vg_upload(unsigned texture, int x, int y, int width, int height, const void* pixels, std::size_t size) {
    if (!can_move_pixels(width, height, pixels, size, "Invalid texture upload buffer")) return;
    GLint active = 0, bound = 0, unpack = 0;
    PixelStore store{{GL_UNPACK_ALIGNMENT, GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_PIXELS, GL_UNPACK_SKIP_ROWS},
                     {}};
    glGetIntegerv_(GL_ACTIVE_TEXTURE, &active);
    glActiveTexture_(GL_TEXTURE0);
    glGetIntegerv_(GL_TEXTURE_BINDING_2D, &bound);
    glGetIntegerv_(GL_PIXEL_UNPACK_BUFFER_BINDING, &unpack);
    store.save();
    glBindBuffer_(GL_PIXEL_UNPACK_BUFFER, 0);
    store.tighten();
    glBindTexture_(GL_TEXTURE_2D, texture);
    glTexSubImage2D_(GL_TEXTURE_2D, 0, x, y, width, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels);
    store.restore();
    glBindBuffer_(GL_PIXEL_UNPACK_BUFFER, static_cast<GLuint>(unpack));
    glBindTexture_(GL_TEXTURE_2D, static_cast<GLuint>(bound));
    glActiveTexture_(static_cast<GLenum>(active));
}

void vg_delete_texture(unsigned texture) {
    if (entry_points_live) glDeleteTextures_(1, &texture);
}

void vg_read_pixels(int width, int height, void* pixels, std::size_t size) {
    if (!can_move_pixels(width, height, pixels, size, "Screenshot buffer is too small")) return;
    GLint read_framebuffer = 0, pack = 0, read_buffer = 0;
    PixelStore store{{GL_PACK_ALIGNMENT, GL_PACK_ROW_LENGTH, GL_PACK_SKIP_PIXELS, GL_PACK_SKIP_ROWS}, {}};
    glGetIntegerv_(GL_READ_FRAMEBUFFER_BINDING, &read_framebuffer);
    glGetIntegerv_(GL_PIXEL_PACK_BUFFER_BINDING, &pack);
    store.save();
    glBindFramebuffer_(GL_READ_FRAMEBUFFER, 0);
    glGetIntegerv_(GL_READ_BUFFER, &read_buffer);
    glReadBuffer_(GL_BACK);
    glBindBuffer_(GL_PIXEL_PACK_BUFFER, 0);
    store.tighten();
    glReadPixels_(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels);
    store.restore();
    glBindBuffer_(GL_PIXEL_PACK_BUFFER, static_cast<GLuint>(pack));
    glReadBuffer_(static_cast<GLenum>(read_buffer));
    glBindFramebuffer_(GL_READ_FRAMEBUFFER, static_cast<GLuint>(read_framebuffer));
}
