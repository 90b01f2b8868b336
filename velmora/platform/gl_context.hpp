// The identity of the OpenGL context current on the calling thread.
//
// The Renderer remembers it at construction and compares on each call, so a host that
// switches contexts behind its back gets an error rather than drawing into the wrong one.
#pragma once

#include "velmora/core/export.hpp"

namespace velmora::ui {

// The platform's handle of the current GL context, or null when none is current.
// Needs no GL library at link time: the system libraries are looked up on first use.
VELMORA_API void* current_gl_context();

} // namespace velmora::ui
