// The GL entry points above 1.1 that the tests call directly. opengl32.dll exports only 1.1,
// so these forward to the driver through wglGetProcAddress, looked up on each call because
// the answer belongs to the context current at the time.
#include <windows.h>

#include <GL/gl.h>
#include <GL/glext.h>

#include <cstdio>
#include <cstdlib>

namespace {

template <typename F> F resolve(const char* name) {
    PROC p = wglGetProcAddress(name);
    if (!p) {
        std::fprintf(stderr, "GL entry point missing: %s\n", name);
        std::abort();
    }
    return reinterpret_cast<F>(reinterpret_cast<void*>(p));
}

} // namespace

#define FORWARD(ret, name, params, args)                                                                     \
    extern "C" ret APIENTRY name params { return resolve<decltype(&name)>(#name) args; }

FORWARD(void, glActiveTexture, (GLenum a), (a))
FORWARD(void, glAttachShader, (GLuint a, GLuint b), (a, b))
FORWARD(void, glBindBuffer, (GLenum a, GLuint b), (a, b))
FORWARD(void, glBindBufferRange, (GLenum a, GLuint b, GLuint c, GLintptr d, GLsizeiptr e), (a, b, c, d, e))
FORWARD(void, glBindFramebuffer, (GLenum a, GLuint b), (a, b))
FORWARD(void, glBindRenderbuffer, (GLenum a, GLuint b), (a, b))
FORWARD(void, glBindSampler, (GLuint a, GLuint b), (a, b))
FORWARD(void, glBindVertexArray, (GLuint a), (a))
FORWARD(void, glBlendColor, (GLfloat a, GLfloat b, GLfloat c, GLfloat d), (a, b, c, d))
FORWARD(void, glBlendEquationSeparate, (GLenum a, GLenum b), (a, b))
FORWARD(void, glBlendFuncSeparate, (GLenum a, GLenum b, GLenum c, GLenum d), (a, b, c, d))
FORWARD(void, glBufferData, (GLenum a, GLsizeiptr b, const void* c, GLenum d), (a, b, c, d))
FORWARD(void, glColorMaski, (GLuint a, GLboolean b, GLboolean c, GLboolean d, GLboolean e), (a, b, c, d, e))
FORWARD(void, glCompileShader, (GLuint a), (a))
FORWARD(GLuint, glCreateProgram, (), ())
FORWARD(GLuint, glCreateShader, (GLenum a), (a))
FORWARD(void, glDeleteBuffers, (GLsizei a, const GLuint* b), (a, b))
FORWARD(void, glDeleteFramebuffers, (GLsizei a, const GLuint* b), (a, b))
FORWARD(void, glDeleteProgram, (GLuint a), (a))
FORWARD(void, glDeleteRenderbuffers, (GLsizei a, const GLuint* b), (a, b))
FORWARD(void, glDeleteSamplers, (GLsizei a, const GLuint* b), (a, b))
FORWARD(void, glDeleteShader, (GLuint a), (a))
FORWARD(void, glDeleteVertexArrays, (GLsizei a, const GLuint* b), (a, b))
FORWARD(void, glFramebufferTexture2D, (GLenum a, GLenum b, GLenum c, GLuint d, GLint e), (a, b, c, d, e))
FORWARD(void, glGenBuffers, (GLsizei a, GLuint* b), (a, b))
FORWARD(void, glGenFramebuffers, (GLsizei a, GLuint* b), (a, b))
FORWARD(void, glGenRenderbuffers, (GLsizei a, GLuint* b), (a, b))
FORWARD(void, glGenSamplers, (GLsizei a, GLuint* b), (a, b))
FORWARD(void, glGenVertexArrays, (GLsizei a, GLuint* b), (a, b))
FORWARD(void, glGetIntegeri_v, (GLenum a, GLuint b, GLint* c), (a, b, c))
FORWARD(void, glLinkProgram, (GLuint a), (a))
FORWARD(void, glPrimitiveRestartIndex, (GLuint a), (a))
FORWARD(void, glProvokingVertex, (GLenum a), (a))
FORWARD(void, glSampleCoverage, (GLfloat a, GLboolean b), (a, b))
FORWARD(void, glSampleMaski, (GLuint a, GLbitfield b), (a, b))
FORWARD(void, glSamplerParameteri, (GLuint a, GLenum b, GLint c), (a, b, c))
FORWARD(void, glShaderSource, (GLuint a, GLsizei b, const GLchar* const* c, const GLint* d), (a, b, c, d))
FORWARD(void, glStencilFuncSeparate, (GLenum a, GLenum b, GLint c, GLuint d), (a, b, c, d))
FORWARD(void, glStencilOpSeparate, (GLenum a, GLenum b, GLenum c, GLenum d), (a, b, c, d))
FORWARD(void, glUseProgram, (GLuint a), (a))
