// The backend's device: errors, resolving the entry points, the programs and their variants,
// vg_open and vg_close.
#include "velmora/gpu/backend.hpp"

#include <cstdio>
#include <numeric>

namespace velmora::gpu::backend {

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
    if (kept_fbo) {
        glDeleteFramebuffers_(1, &kept_fbo);
        glDeleteTextures_(1, &kept_tex);
    }
    kept_fbo = kept_tex = 0;
    kept_w = kept_h = 0;
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

} // namespace velmora::gpu::backend

using namespace velmora::gpu::backend;

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
