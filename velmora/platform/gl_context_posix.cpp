// current_gl_context on dlopen systems. SDL makes EGL contexts (offscreen, Wayland, and X11
// when asked) or GLX ones, so both are asked, EGL first. The libraries are opened once and
// stay loaded for the life of the process.
#include "velmora/platform/gl_context.hpp"

#include <dlfcn.h>

namespace velmora::ui {

namespace {

using CurrentContext = void* (*)();

struct Lookup {
    CurrentContext egl = nullptr;
    CurrentContext glx = nullptr;

    Lookup() {
        egl = find("libEGL.so.1", "eglGetCurrentContext");
        glx = find("libGL.so.1", "glXGetCurrentContext");
    }

    static CurrentContext find(const char* library, const char* name) {
        void* handle = dlopen(library, RTLD_NOW | RTLD_LOCAL);
        return handle ? reinterpret_cast<CurrentContext>(dlsym(handle, name)) : nullptr;
    }
};

} // namespace

void* current_gl_context() {
    static const Lookup lookup;
    if (lookup.egl)
        if (void* context = lookup.egl()) return context;
    return lookup.glx ? lookup.glx() : nullptr;
}

} // namespace velmora::ui
