// The OpenGL entry points the backend resolves at vg_open, as one list that vg.cpp expands into
// its `<name>_` pointers and that a benchmark can expand into counting wrappers. Internal to
// the backend: not installed, and no public header includes it.
#pragma once

#include <cstddef>

#if defined(_WIN32) && !defined(_WIN64)
#define VG_APIENTRY __stdcall
#else
#define VG_APIENTRY
#endif

using GLenum = unsigned;
using GLuint = unsigned;
using GLint = int;
using GLsizei = int;
using GLboolean = unsigned char;
using GLfloat = float;
using GLchar = char;
using GLbitfield = unsigned;
using GLintptr = std::ptrdiff_t;
using GLsizeiptr = std::ptrdiff_t;
using GLint64 = long long;

// The required entry points in the order they are resolved; the first missing one fails
// vg_open by name.
#define VG_REQUIRED_ENTRY_POINTS(X)                                                                          \
    X(void, glActiveTexture, (GLenum))                                                                       \
    X(void, glAttachShader, (GLuint, GLuint))                                                                \
    X(void, glBindFramebuffer, (GLenum, GLuint))                                                             \
    X(void, glBindTexture, (GLenum, GLuint))                                                                 \
    X(void, glBindVertexArray, (GLuint))                                                                     \
    X(void, glBlendEquationSeparate, (GLenum, GLenum))                                                       \
    X(void, glBlendFuncSeparate, (GLenum, GLenum, GLenum, GLenum))                                           \
    X(void, glBlitFramebuffer, (GLint, GLint, GLint, GLint, GLint, GLint, GLint, GLint, GLbitfield, GLenum)) \
    X(void, glCompileShader, (GLuint))                                                                       \
    X(GLuint, glCreateProgram, ())                                                                           \
    X(GLuint, glCreateShader, (GLenum))                                                                      \
    X(void, glDeleteFramebuffers, (GLsizei, const GLuint*))                                                  \
    X(void, glDeleteProgram, (GLuint))                                                                       \
    X(void, glDeleteShader, (GLuint))                                                                        \
    X(void, glDeleteTextures, (GLsizei, const GLuint*))                                                      \
    X(void, glDeleteVertexArrays, (GLsizei, const GLuint*))                                                  \
    X(void, glDetachShader, (GLuint, GLuint))                                                                \
    X(void, glDisable, (GLenum))                                                                             \
    X(void, glDrawArrays, (GLenum, GLint, GLsizei))                                                          \
    X(void, glDrawBuffer, (GLenum))                                                                          \
    X(void, glDrawBuffers, (GLsizei, const GLenum*))                                                         \
    X(void, glEnable, (GLenum))                                                                              \
    X(void, glFramebufferTexture2D, (GLenum, GLenum, GLenum, GLuint, GLint))                                 \
    X(void, glGenFramebuffers, (GLsizei, GLuint*))                                                           \
    X(void, glGenTextures, (GLsizei, GLuint*))                                                               \
    X(void, glGenVertexArrays, (GLsizei, GLuint*))                                                           \
    X(GLenum, glCheckFramebufferStatus, (GLenum))                                                            \
    X(GLenum, glGetError, ())                                                                                \
    X(void, glGetIntegerv, (GLenum, GLint*))                                                                 \
    X(void, glGetProgramInfoLog, (GLuint, GLsizei, GLsizei*, GLchar*))                                       \
    X(void, glGetProgramiv, (GLuint, GLenum, GLint*))                                                        \
    X(void, glGetShaderInfoLog, (GLuint, GLsizei, GLsizei*, GLchar*))                                        \
    X(void, glGetShaderiv, (GLuint, GLenum, GLint*))                                                         \
    X(const unsigned char*, glGetString, (GLenum))                                                           \
    X(GLint, glGetUniformLocation, (GLuint, const GLchar*))                                                  \
    X(void, glLinkProgram, (GLuint))                                                                         \
    X(void, glReadBuffer, (GLenum))                                                                          \
    X(void, glShaderSource, (GLuint, GLsizei, const GLchar* const*, const GLint*))                           \
    X(void, glTexImage2D, (GLenum, GLint, GLint, GLsizei, GLsizei, GLint, GLenum, GLenum, const void*))      \
    X(void, glTexParameteri, (GLenum, GLenum, GLint))                                                        \
    X(void, glUniform4fv, (GLint, GLsizei, const GLfloat*))                                                  \
    X(void, glUniform1f, (GLint, GLfloat))                                                                   \
    X(void, glUniform1i, (GLint, GLint))                                                                     \
    X(void, glUniform2f, (GLint, GLfloat, GLfloat))                                                          \
    X(void, glUniform4f, (GLint, GLfloat, GLfloat, GLfloat, GLfloat))                                        \
    X(void, glUseProgram, (GLuint))                                                                          \
    X(void, glViewport, (GLint, GLint, GLsizei, GLsizei))                                                    \
    X(GLboolean, glIsEnabled, (GLenum))                                                                      \
    X(void, glScissor, (GLint, GLint, GLsizei, GLsizei))                                                     \
    X(void, glGetIntegeri_v, (GLenum, GLuint, GLint*))                                                       \
    X(void, glColorMaski, (GLuint, GLboolean, GLboolean, GLboolean, GLboolean))                              \
    X(GLboolean, glIsEnabledi, (GLenum, GLuint))                                                             \
    X(void, glEnablei, (GLenum, GLuint))                                                                     \
    X(void, glDisablei, (GLenum, GLuint))                                                                    \
    X(void, glBindBuffer, (GLenum, GLuint))                                                                  \
    X(void, glBindSampler, (GLuint, GLuint))                                                                 \
    X(void, glPixelStorei, (GLenum, GLint))                                                                  \
    X(void, glPolygonMode, (GLenum, GLenum))                                                                 \
    X(void, glTexSubImage2D, (GLenum, GLint, GLint, GLint, GLsizei, GLsizei, GLenum, GLenum, const void*))   \
    X(void, glReadPixels, (GLint, GLint, GLsizei, GLsizei, GLenum, GLenum, void*))                           \
    X(const unsigned char*, glGetStringi, (GLenum, GLuint))                                                  \
    X(void, glGenBuffers, (GLsizei, GLuint*))                                                                \
    X(void, glDeleteBuffers, (GLsizei, const GLuint*))                                                       \
    X(void, glBufferData, (GLenum, GLsizeiptr, const void*, GLenum))                                         \
    X(void, glBufferSubData, (GLenum, GLintptr, GLsizeiptr, const void*))                                    \
    X(void, glBindBufferRange, (GLenum, GLuint, GLuint, GLintptr, GLsizeiptr))                               \
    X(void, glBindBufferBase, (GLenum, GLuint, GLuint))                                                      \
    X(void, glGetInteger64i_v, (GLenum, GLuint, GLint64*))                                                   \
    X(GLuint, glGetUniformBlockIndex, (GLuint, const GLchar*))                                               \
    X(void, glUniformBlockBinding, (GLuint, GLuint, GLuint))
