// current_gl_context on Windows: the WGL context current on this thread.
#include "velmora/platform/gl_context.hpp"

#include <windows.h>

namespace velmora::ui {

void* current_gl_context() { return wglGetCurrentContext(); }

} // namespace velmora::ui
