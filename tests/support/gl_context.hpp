// GlTestContext: a hidden SDL window with a current OpenGL 3.3 context, for GL tests.
//
// Asks for a 3.3 compatibility context (8 alpha, 24 depth, 8 stencil bits, double buffered) and
// falls back to 3.3 core. With no display to reach it uses SDL's "offscreen" driver, which
// renders through EGL (llvmpipe on a machine without a GPU). The default framebuffer is
// readable in both cases, so vg_read_pixels works against it.
//
// Include <GL/gl.h> and <GL/glext.h> after this header to call GL directly; the target defines
// GL_GLEXT_PROTOTYPES and links the GL dispatch library.
#pragma once

#include <stdexcept>

#if defined(_WIN32)
// <GL/gl.h> includes <windows.h>, which defines `near` and `far` as empty macros; taken in
// first here so that they can be removed before a test names a function after them.
#include <windows.h>
#undef near
#undef far
#endif

namespace velmora::test {

class GlTestContext {
public:
    // Throws std::runtime_error when no context can be made.
    GlTestContext(int width, int height);
    ~GlTestContext();
    GlTestContext(const GlTestContext&) = delete;
    GlTestContext& operator=(const GlTestContext&) = delete;

    int width() const { return width_; }
    int height() const { return height_; }
    // True for a compatibility profile context.
    bool compatibility() const { return compatibility_; }
    // The SDL video driver in use, e.g. "x11" or "offscreen".
    const char* driver() const;
    // Blocks until the GPU has finished all submitted work.
    void finish() const;
    void swap() const;

private:
    void* window_ = nullptr;
    void* context_ = nullptr;
    int width_;
    int height_;
    bool compatibility_ = false;
};

} // namespace velmora::test
