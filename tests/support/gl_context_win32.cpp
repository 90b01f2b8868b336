// GlTestContext on Windows: a hidden toolkit Window, which makes the WGL context the same way
// the program does, so the tests exercise the real context set-up too.
#include "gl_context.hpp"

#include "velmora/platform/window.hpp"

#include <GL/gl.h>
#include <GL/glext.h>

namespace velmora::test {

GlTestContext::GlTestContext(int width, int height) : width_(width), height_(height) {
    ui::WindowOptions options;
    options.title = "velmora-test";
    options.width = width < 64 ? 64 : width;
    options.height = height < 64 ? 64 : height;
    options.visible = false;
    auto* window = new ui::Window(options);
    window_ = window;
    context_ = window->native_handle();
    GLint mask = 0;
    glGetIntegerv(GL_CONTEXT_PROFILE_MASK, &mask);
    // A legacy context reports no mask at all and is a compatibility one.
    compatibility_ = mask == 0 || (mask & GL_CONTEXT_COMPATIBILITY_PROFILE_BIT) != 0;
    glGetError(); // GL_CONTEXT_PROFILE_MASK is unknown below 3.2
}

GlTestContext::~GlTestContext() { delete static_cast<ui::Window*>(window_); }

void GlTestContext::finish() const { glFinish(); }

} // namespace velmora::test
