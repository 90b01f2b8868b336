// OpenGL loading on Windows. opengl32.dll exports only OpenGL 1.1; everything newer comes from
// the driver through wglGetProcAddress, which answers for the context current on this thread.
#include "velmora/gpu/gl_loader.hpp"

#include <windows.h>

namespace velmora::gpu {

namespace {

using Resolver = PROC(WINAPI*)(LPCSTR);

HMODULE gl_lib = nullptr;
Resolver wglGetProcAddress_ = nullptr;

template <typename F> F cast_proc(FARPROC p) {
    // FARPROC and the target are both plain function pointers; the detour through void*
    // keeps the compilers' cast-function-type warnings quiet.
    return reinterpret_cast<F>(reinterpret_cast<void*>(p));
}

} // namespace

const char* const gl_library_missing = "Cannot load system opengl32.dll.";

bool gl_library_load() {
    // Only the system's copy: never an opengl32.dll that lies beside the program.
    gl_lib = LoadLibraryExW(L"opengl32.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (!gl_lib) return false;
    wglGetProcAddress_ = cast_proc<Resolver>(GetProcAddress(gl_lib, "wglGetProcAddress"));
    return true;
}

GlProc gl_context_proc(const char* name) {
    return wglGetProcAddress_ ? cast_proc<GlProc>(wglGetProcAddress_(name)) : nullptr;
}

GlProc gl_library_proc(const char* name) {
    return gl_lib ? cast_proc<GlProc>(GetProcAddress(gl_lib, name)) : nullptr;
}

void gl_library_free() {
    if (gl_lib) FreeLibrary(gl_lib);
    gl_lib = nullptr;
    wglGetProcAddress_ = nullptr;
}

} // namespace velmora::gpu
