// The backend's seam to the system OpenGL library: load it, resolve names, unload it.
// One implementation file per platform (gl_loader_posix.cpp here); device.cpp decides which
// answers of the context resolver it accepts.
#pragma once

namespace velmora::gpu {

using GlProc = void (*)();

// Loads the system OpenGL library and its context-aware resolver. False when the library
// cannot be loaded; the resolver alone may be missing.
bool gl_library_load();

// Asks the resolver that matches the current context. Null when there is none; otherwise
// its raw answer, which some drivers fill with small sentinel values instead of null.
GlProc gl_context_proc(const char* name);

// What vg_open reports when gl_library_load fails, naming the library it looked for.
extern const char* const gl_library_missing;

// The library's own export of `name`, or null.
GlProc gl_library_proc(const char* name);

// Unloads the library. Safe when nothing is loaded.
void gl_library_free();

} // namespace velmora::gpu
