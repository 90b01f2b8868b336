// GlTestContext: a hidden window with a current OpenGL 3.3 context, for GL tests: compatibility
// profile where the driver has one, else core; with no display, SDL's "offscreen" driver (EGL,
// llvmpipe without a GPU). The default framebuffer is readable, so vg_read_pixels works on it.
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
    // Blocks until the GPU has finished all submitted work.
    void finish() const;

private:
    void* window_ = nullptr;
    void* context_ = nullptr;
    int width_;
    int height_;
    bool compatibility_ = false;
};

} // namespace velmora::test
