// OpenGL loading on Linux and other dlopen systems. The GLX resolver answers for GLX
// contexts; an EGL context (SDL's offscreen and Wayland drivers) needs eglGetProcAddress,
// which is chosen whenever EGL reports a current context.
#include "velmora/gpu/gl_loader.hpp"

#include <dlfcn.h>

namespace velmora::gpu {

namespace {

using Resolver = GlProc (*)(const char*);
using CurrentContext = void* (*)();

void* gl_lib = nullptr;
void* egl_lib = nullptr;
Resolver glx_resolver = nullptr;
Resolver egl_resolver = nullptr;
CurrentContext egl_current = nullptr;

template <typename F> F symbol(void* library, const char* name) {
    return library ? reinterpret_cast<F>(dlsym(library, name)) : nullptr;
}

} // namespace

const char* const gl_library_missing = "Cannot load system OpenGL library.";

bool gl_library_load() {
    gl_lib = dlopen("libGL.so.1", RTLD_NOW | RTLD_LOCAL);
    if (!gl_lib) gl_lib = dlopen("libOpenGL.so.0", RTLD_NOW | RTLD_LOCAL);
    if (!gl_lib) return false;
    glx_resolver = symbol<Resolver>(gl_lib, "glXGetProcAddressARB");
    egl_lib = dlopen("libEGL.so.1", RTLD_NOW | RTLD_LOCAL);
    egl_resolver = symbol<Resolver>(egl_lib, "eglGetProcAddress");
    egl_current = symbol<CurrentContext>(egl_lib, "eglGetCurrentContext");
    return true;
}

GlProc gl_context_proc(const char* name) {
    if (egl_resolver && egl_current && egl_current()) return egl_resolver(name);
    return glx_resolver ? glx_resolver(name) : nullptr;
}

GlProc gl_library_proc(const char* name) { return symbol<GlProc>(gl_lib, name); }

void gl_library_free() {
    if (egl_lib) dlclose(egl_lib);
    if (gl_lib) dlclose(gl_lib);
    gl_lib = egl_lib = nullptr;
    glx_resolver = egl_resolver = nullptr;
    egl_current = nullptr;
}

} // namespace velmora::gpu
