// vg: the GPU backend. Plain functions over file-scope state, one open device per process.
//
// Usage:
//     // an OpenGL 3.3 context is current on this thread
//     vg_clear_error();
//     if (!vg_open(velmora_shaders)) fail(vg_error());
//     vg_background(w, h, seconds, 1, 0, 0xFF151515, 0xFF434343);
//     vg_submit(cmds, n * 64, n, 0, vg_back_buffer, w, h, 1280, 800, 18, px, py);
//     if (*vg_error() || vg_gl_error()) fail(...);
//     vg_close();                           // same context current as at vg_open
//
// Rules shared by every call:
// - The caller owns the context; it must be current on the calling thread for every call
//   except vg_error, vg_clear_error and (when nothing is open) vg_close, vg_device, vg_gl_error.
// - No call throws and none prints. A failing call writes a message (at most 2047 characters)
//   that vg_error returns; a successful call leaves the text as it found it, so clear it first.
// - Every call that touches GL is a guest in the host's state and puts back what it changed,
//   listed per call below. docs/gpu-backend.md is the full state contract.
//
// The host state that vg_submit, vg_background and vg_open save and restore ("the saved state"):
//   current program; vertex array; draw and read framebuffers; viewport; scissor box;
//   polygon mode (front and back); colour mask, blend factors, blend equations and GL_BLEND of
//   draw buffer 0; GL_DEPTH_TEST, GL_STENCIL_TEST, GL_CULL_FACE, GL_SCISSOR_TEST,
//   GL_COLOR_LOGIC_OP, GL_RASTERIZER_DISCARD, GL_SAMPLE_ALPHA_TO_COVERAGE,
//   GL_SAMPLE_ALPHA_TO_ONE, GL_SAMPLE_COVERAGE, GL_SAMPLE_MASK, GL_FRAMEBUFFER_SRGB;
//   GL_CLIP_DISTANCE0.. (up to 32); GL_ALPHA_TEST on a compatibility context; the 2D texture
//   and sampler bindings of units 0 and 1; the active texture unit; the pixel unpack buffer.
// Values the backend sets while it works, all of them put back: every enable above off
// (scissor on for each draw), colour mask all on, polygon fill, no unpack buffer, samplers
// 0 on units 0 and 1, its own vertex array and programs, premultiplied blending
// (ONE, ONE_MINUS_SRC_ALPHA, FUNC_ADD) on draw buffer 0.
// Not saved because never changed: depth and stencil functions and masks, clear values,
// uniforms of host programs, any binding on units above 1, pack state (vg_read_pixels saves
// its own), buffer bindings other than the unpack buffer (and the uniform buffer ones that
// vg_submit saves).
#pragma once

#include "velmora/core/export.hpp"

#include <cstddef>

// GL_BACK, for the `buffer` argument of vg_submit, so callers need no GL header.
inline constexpr unsigned vg_back_buffer = 0x0405u;

// The seven GLSL texts, in this order: full-screen vertex, background, blur, rect vertex,
// glass, shape, glyph. Each begins with "#version 330 core".
inline constexpr int vg_shader_count = 7;
extern VELMORA_API const char* const velmora_shaders[vg_shader_count];

// ---- device ------------------------------------------------------------------------------

// Loads the system OpenGL library, resolves the entry points, checks for OpenGL 3.3, builds
// the five programs (the glass, shape and glyph ones also in cheaper variants, parts of them
// switched off) and the internal objects. `shaders` points at seven texts in the order of
// velmora_shaders. Returns 1, or 0 with the reason in vg_error; a second vg_open while open
// fails and leaves the open device untouched. A failure leaves nothing loaded or created.
// Needs: a current context. GL state: the saved state is restored.
VELMORA_API int vg_open(const char* const* shaders);

// Deletes every object the backend made and unloads the library. Safe when nothing is open.
// Needs: the context that was current at vg_open. GL state: none changed besides deletions.
VELMORA_API void vg_close();

// GL_RENDERER of the driver, or "not initialized" when no device is open.
VELMORA_API const char* vg_device();

// The last error text; empty means none.
VELMORA_API const char* vg_error();
VELMORA_API void vg_clear_error();

// glGetError when open, else 0.
VELMORA_API unsigned vg_gl_error();

// ---- frame submission --------------------------------------------------------------------

// Executes `command_count` 64-float draw commands (the Canvas wire format) into `framebuffer`
// (0 = default framebuffer) colour buffer `buffer` (e.g. vg_back_buffer or
// GL_COLOR_ATTACHMENT0), `width` x `height` pixels, mapped from a logical frame of
// `logical_width` x `logical_height` units. `sigma` (0..32, pixels of the full-size scene) blurs
// the frozen backdrop of glass; the pointer (logical units) steers the glass highlights.
// The frame is checked before anything is drawn: bad arguments, a kind that cannot be
// truncated to an integer ("Unknown command kind": NaN, beyond int) and unbalanced shaped
// clips fail it whole. Kinds no Canvas writes draw as boxes through the shape program. The backdrop is frozen
// before the first command and again at each backdrop command.
// Needs: an open device, a current context, a single-sample target.
// GL state: the saved state, plus the read buffer and the draw buffers of `framebuffer` and the
// uniform buffer bindings (the generic one and binding point 0, with its range), are restored.
// The colour contents of the target are the only lasting change. The backend's own textures and
// framebuffers are (re)allocated when the size changes.
VELMORA_API void vg_submit(const float* commands, std::size_t float_count, int command_count,
                           unsigned framebuffer, unsigned buffer, int width, int height, float logical_width,
                           float logical_height, float sigma, float pointer_x, float pointer_y);

// ---- textures, background, read-back -----------------------------------------------------

// Draws the animated background over the whole back buffer of the default framebuffer,
// `width` x `height` pixels; `time` in seconds animates it. `grid` and `palette` (light when
// non-zero) are flags; colours are packed 0xAARRGGBB, their alpha ignored.
// Returns silently, without an error, when no device is open.
// Needs: a current context. GL state: the saved state is restored; draw buffer of the default
// framebuffer is left at GL_BACK.
VELMORA_API void vg_background(int width, int height, float time, int grid, int palette, unsigned color,
                               unsigned accent);

// Creates an RGBA8 texture, linear filtering, clamped to edge, contents undefined.
// Returns its name, or 0 with "Invalid texture creation" (size below 1, or no device open).
// GL state: active unit, unit 0's 2D binding and the pixel unpack buffer are restored.
VELMORA_API unsigned vg_texture(int width, int height);

// Replaces a sub-rectangle of `texture` with tightly packed RGBA rows, first row at `y`.
// `size` is the byte length of `pixels` and must hold width * height * 4.
// Fails with "Invalid texture upload buffer". Needs a current context (the open device is
// not checked). GL state: active unit, unit 0's 2D binding, the pixel unpack buffer and
// GL_UNPACK_ALIGNMENT / ROW_LENGTH / SKIP_PIXELS / SKIP_ROWS are restored.
VELMORA_API void vg_upload(unsigned texture, int x, int y, int width, int height, const void* pixels,
                           std::size_t size);

// glDeleteTextures for one name, unchecked. Needs an open device.
VELMORA_API void vg_delete_texture(unsigned texture);

// Reads `width` x `height` RGBA pixels from the back buffer of the default framebuffer into
// client memory, rows bottom first as OpenGL delivers them. `size` must hold width * height * 4.
// Fails with "Screenshot buffer is too small". GL state: the read framebuffer, its read
// buffer, the pixel pack buffer and GL_PACK_ALIGNMENT / ROW_LENGTH / SKIP_PIXELS / SKIP_ROWS
// are restored.
VELMORA_API void vg_read_pixels(int width, int height, void* pixels, std::size_t size);

// ---- partial redraw ----------------------------------------------------------------------

// The backend keeps a copy of the last frame drawn into the default back buffer, so that a host
// can redraw only what changed since: vg_damage finds the box, vg_partial_begin puts the kept
// frame back and confines drawing to the box, vg_partial_end keeps the result.

// Compares a frame's commands with those of the previous one (same size, logical size and sigma)
// and finds the pixel box (x, y, width, height, y-down) outside which both show the same pixels:
// what changed, grown wherever it meets glass by all that the glass reads around itself.
// `pointer_moved` counts every glass surface as changed, since its highlights follow the pointer.
// Returns 1 with the box written, 0 when nothing changed, -1 with the reason in vg_error (the
// command checks of vg_submit, on both frames). Touches no GL.
VELMORA_API int vg_damage(const float* previous, int previous_count, const float* commands, int command_count, int width,
              int height, float logical_width, float logical_height, float sigma, int pointer_moved,
              int* box);

// Begins a partial frame of `width` x `height` pixels: makes the kept frame that size (its pixels
// undefined after a change of size), copies it into the default framebuffer's back buffer unless
// the box (y-down pixels, cut to the frame) is the whole frame, and until vg_partial_end confines
// vg_background and vg_submit into that back buffer to the box. The pixels inside come out as a
// full redraw's would. Returns 1, or 0 with the reason in vg_error.
// GL state: the saved state and the default framebuffer's read buffer are restored; its draw
// buffer is left at GL_BACK.
VELMORA_API int vg_partial_begin(int width, int height, int x, int y, int box_width, int box_height);

// Ends a partial frame: copies the box from the back buffer into the kept frame. Nothing when no
// partial frame is under way. GL state: as vg_partial_begin.
VELMORA_API void vg_partial_end();
