#include "gl_context.hpp"

#include <GL/gl.h>
#include <SDL.h>
#include <cstdlib>
#include <string>

namespace velmora::test {

GlTestContext::GlTestContext(int width, int height) : width_(width), height_(height) {
    if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY"))
        SDL_SetHint(SDL_HINT_VIDEODRIVER, "offscreen");
    if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) {
        // A display variable that points nowhere: fall back to rendering without one.
        SDL_SetHint(SDL_HINT_VIDEODRIVER, "offscreen");
        if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0)
            throw std::runtime_error(std::string("SDL_Init (") + SDL_GetError() + ")");
    }
    for (int profile : {SDL_GL_CONTEXT_PROFILE_COMPATIBILITY, SDL_GL_CONTEXT_PROFILE_CORE}) {
        SDL_GL_ResetAttributes();
        SDL_GL_SetAttribute(SDL_GL_CONTEXT_MAJOR_VERSION, 3);
        SDL_GL_SetAttribute(SDL_GL_CONTEXT_MINOR_VERSION, 3);
        SDL_GL_SetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, profile);
        SDL_GL_SetAttribute(SDL_GL_ALPHA_SIZE, 8);
        SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, 24);
        SDL_GL_SetAttribute(SDL_GL_STENCIL_SIZE, 8);
        SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 1);
        SDL_Window* window =
            SDL_CreateWindow("velmora-test", SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED, width, height,
                             SDL_WINDOW_OPENGL | SDL_WINDOW_HIDDEN);
        SDL_GLContext context = window ? SDL_GL_CreateContext(window) : nullptr;
        if (!context) {
            if (window) SDL_DestroyWindow(window);
            continue;
        }
        window_ = window;
        context_ = context;
        compatibility_ = profile == SDL_GL_CONTEXT_PROFILE_COMPATIBILITY;
        SDL_GL_MakeCurrent(window, context);
        return;
    }
    std::string reason = SDL_GetError();
    SDL_QuitSubSystem(SDL_INIT_VIDEO);
    throw std::runtime_error("No OpenGL 3.3 context (" + reason + ")");
}

GlTestContext::~GlTestContext() {
    SDL_GL_MakeCurrent(static_cast<SDL_Window*>(window_), nullptr);
    SDL_GL_DeleteContext(context_);
    SDL_DestroyWindow(static_cast<SDL_Window*>(window_));
    SDL_QuitSubSystem(SDL_INIT_VIDEO);
}

void GlTestContext::finish() const { glFinish(); }

} // namespace velmora::test
