// A host that owns the OpenGL frame draws triangles with its own program, vertex array and depth
// test, lets the toolkit lay glass over them mid-frame, and checks its GL state is as it left it.
//
//     embed_demo               opens the window and animates until it is closed
//     embed_demo --check [F]   three hidden frames; exits 1 if any host state changed; F: a PNG
#include "velmora/core/canvas.hpp"
#include "velmora/gpu/vg.hpp"
#include "velmora/platform/window.hpp"
#include "velmora/renderer/png.hpp"
#include "velmora/renderer/renderer.hpp"

#include <GL/gl.h>
#include <GL/glext.h>
#include <cmath>
#include <iostream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using namespace velmora::ui;

// Three overlapping triangles, made from the vertex index alone: each turned a third further
// and drawn nearer than the one before, one corner red, one green, one blue.
const char* const sources[] = {R"(#version 330 core
uniform float turn; out vec3 colour;
void main() { int i = gl_VertexID / 3, k = gl_VertexID % 3;
    float a = 0.7 * i + 2.0944 * k + turn, r = 0.9 - 0.25 * i;
    colour = vec3(k == 0 ? 1.0 : 0.2, k == 1 ? 0.9 : 0.3, k == 2 ? 1.0 : 0.2);
    gl_Position = vec4(r * cos(a), r * sin(a), 0.5 - 0.5 * i, 1); })",
                               R"(#version 330 core
in vec3 colour; out vec4 o; void main() { o = vec4(colour, 1); })"};

GLuint program() {
    const GLuint p = glCreateProgram();
    for (GLenum type : {GL_VERTEX_SHADER, GL_FRAGMENT_SHADER}) {
        const GLuint s = glCreateShader(type);
        glShaderSource(s, 1, &sources[type == GL_FRAGMENT_SHADER], nullptr);
        glCompileShader(s);
        glAttachShader(p, s);
        glDeleteShader(s);
    }
    glLinkProgram(p);
    return p;
}

// The host state the toolkit must leave alone: glGetIntegerv values, or (count 0) enable flags.
using State = std::vector<std::pair<std::string, std::string>>;
// clang-format off
#define HOST_STATE(e, n) {#e, e, n}

State snapshot() {
    const std::tuple<const char*, GLenum, int> items[] = {
        HOST_STATE(GL_CURRENT_PROGRAM, 1), HOST_STATE(GL_VERTEX_ARRAY_BINDING, 1),
        HOST_STATE(GL_ARRAY_BUFFER_BINDING, 1), HOST_STATE(GL_DRAW_FRAMEBUFFER_BINDING, 1),
        HOST_STATE(GL_READ_FRAMEBUFFER_BINDING, 1), HOST_STATE(GL_VIEWPORT, 4), HOST_STATE(GL_SCISSOR_BOX, 4),
        HOST_STATE(GL_COLOR_WRITEMASK, 4), HOST_STATE(GL_BLEND_SRC_RGB, 1), HOST_STATE(GL_BLEND_DST_ALPHA, 1),
        HOST_STATE(GL_BLEND_EQUATION_RGB, 1), HOST_STATE(GL_DEPTH_FUNC, 1), HOST_STATE(GL_DEPTH_WRITEMASK, 1),
        HOST_STATE(GL_BLEND, 0), HOST_STATE(GL_DEPTH_TEST, 0), HOST_STATE(GL_SCISSOR_TEST, 0),
        HOST_STATE(GL_CULL_FACE, 0), HOST_STATE(GL_STENCIL_TEST, 0), HOST_STATE(GL_ACTIVE_TEXTURE, 1)};
    // clang-format on
    State s;
    for (auto [name, e, n] : items) {
        GLint v[4] = {};
        n ? glGetIntegerv(e, v) : void(v[0] = glIsEnabled(e));
        std::string text;
        for (int i = 0; i < (n ? n : 1); ++i) text += ' ' + std::to_string(v[i]);
        s.emplace_back(name, text);
    }
    for (GLint unit : {0, 1}) { // looking at a unit means selecting it; the active one is put back below
        GLint texture = 0;
        glActiveTexture(static_cast<GLenum>(GL_TEXTURE0 + unit));
        glGetIntegerv(GL_TEXTURE_BINDING_2D, &texture);
        s.emplace_back("GL_TEXTURE_BINDING_2D " + std::to_string(unit), ' ' + std::to_string(texture));
    }
    glActiveTexture(static_cast<GLenum>(std::stoi(s[s.size() - 3].second)));
    return s;
}

} // namespace

int main(int argc, char** argv) try {
    const bool check = argc > 1 && std::string(argv[1]) == "--check";
    Window window({"VelmoraUI embedded", 800, 500, !check});
    Renderer renderer; // the toolkit's GL objects, in the window's context

    // The host's objects and settings, some unusual but legal, which the toolkit has to draw
    // through and put back: its program and (empty) vertex array, textures on units 0 and 1 with
    // unit 1 active, blending, depth test, a scissor box, and an offscreen framebuffer that stays
    // bound while the toolkit draws to the window.
    const GLuint shader = program();
    GLuint vao = 0, fbo = 0, textures[2] = {};
    glGenVertexArrays(1, &vao);
    glGenTextures(2, textures);
    for (int unit : {0, 1}) {
        glActiveTexture(static_cast<GLenum>(GL_TEXTURE0 + unit));
        glBindTexture(GL_TEXTURE_2D, textures[unit]);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 4, 4, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    }
    glGenFramebuffers(1, &fbo);
    glBindFramebuffer(GL_FRAMEBUFFER, fbo);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, textures[1], 0);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glScissor(3, 5, 70, 90);
    glEnable(GL_DEPTH_TEST);
    glClearColor(0.06f, 0.07f, 0.1f, 1);
    glUseProgram(shader);
    glBindVertexArray(vao);
    Canvas canvas;
    const Theme theme;
    for (int frame = 0; check ? frame < 3 : window.poll(); ++frame) {
        const int w = window.width(), h = window.height();
        const float t = float(frame) / 60.0f;
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        glViewport(0, 0, w, h);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glUniform1f(glGetUniformLocation(shader, "turn"), t * 0.5f);
        glDrawArrays(GL_TRIANGLES, 0, 9);
        glBindFramebuffer(GL_FRAMEBUFFER, fbo);
        glViewport(0, 0, 4, 4);
        const State before = snapshot();

        renderer.begin(canvas, w, h, 800, 500, theme);
        canvas.glass({60, 60, 370, 200}, theme, 28);
        canvas.text("Glass over the host's frame", {88, 90}, 20, theme.text, 600);
        canvas.glass({430, 220 + 40 * std::sin(t * 3), 300, 220}, Theme::liquid(), 110);
        renderer.render(canvas, w, h, {400, 200}, 0, vg_back_buffer);

        const State after = snapshot();
        bool intact = true;
        for (std::size_t i = 0; i < before.size(); ++i)
            if (before[i].second != after[i].second)
                std::cerr << "changed: " << before[i].first << before[i].second << " ->" << after[i].second
                          << '\n',
                    intact = false;
        if (const GLenum error = glGetError()) std::cerr << "GL error " << error << '\n', intact = false;
        if (!intact) return 1;
        if (check && frame == 2 && argc > 2) save_png(argv[2], renderer.read_pixels(w, h));
        if (!check) window.swap();
    }
    if (check) std::cout << "host GL state intact after 3 frames on " << renderer.device() << '\n';
    return 0;
} catch (const std::exception& e) {
    std::cerr << e.what() << '\n';
    return 1;
}
