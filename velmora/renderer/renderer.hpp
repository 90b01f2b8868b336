// Renderer: the toolkit's face over the vg_ backend, with the glyph atlases of text.
//
// Usage, once per frame, on the thread and GL context that made the Renderer:
//     renderer.begin(canvas, pixel_w, pixel_h, 1280, 800, theme);  // binds canvas text to it
//     ... fill the canvas ...
//     renderer.background(pixel_w, pixel_h, seconds, theme, false); // optional
//     renderer.render(canvas, pixel_w, pixel_h, pointer, 0, vg_back_buffer);
//     Pixels shot = renderer.read_pixels(pixel_w, pixel_h);         // optional, before the swap
//
// One Renderer per process at a time. Every call but the destructor throws std::logic_error
// when made from another thread or with another GL context current; the destructor calls
// std::terminate in that case, since it cannot release GL objects of a context it cannot reach.
//
// Text is one glyph command per visible code point, sampled from 2048 x 2048 atlases that
// are filled on demand and never evicted. A line with a right-to-left script, combining marks,
// joiners or emoji is laid out by the bidi algorithm and shaped instead, one glyph command per
// glyph, and kept shaped for the next frames. A Renderer holds at most 24000 glyphs in 16
// atlases; past that it throws std::length_error, and a new Renderer starts empty.
#pragma once

#include "velmora/core/canvas.hpp"
#include "velmora/core/export.hpp"
#include "velmora/core/geometry.hpp"
#include "velmora/core/theme.hpp"
#include "velmora/renderer/pixels.hpp"

#include <cstddef>
#include <memory>
#include <string>
#include <thread>

namespace velmora::ui {

class VELMORA_API Renderer final : public TextEngine {
public:
    // Needs a current OpenGL 3.3 context, which the Renderer is then bound to.
    Renderer();
    ~Renderer() override;
    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;

    // Opens the canvas for a frame of the given pixel size (1 to 16384 each) showing a
    // logical frame of the given size. Text is rasterised for pixel_height / logical_height.
    void begin(Canvas& canvas, int pixel_width, int pixel_height, float logical_width, float logical_height,
               const Theme& theme);
    // Draws the animated background over the default framebuffer's back buffer; with partial
    // redraw on, render draws it where the frame changed.
    void background(int width, int height, float time, const Theme& theme, bool grid);
    // Executes the canvas into `framebuffer` colour buffer `buffer`; an empty canvas draws nothing.
    // The pointer, in logical units, must be finite even when outside the window. Returns false
    // when partial redraw found nothing changed: nothing was drawn and there is nothing to present.
    bool render(Canvas& canvas, int width, int height, Vec2 pointer, unsigned framebuffer, unsigned buffer);
    // Partial redraw, off at first. When on, render compares the canvas with the frame it drew
    // last and redraws only the area that changed (grown by what glass reads around it) over a
    // copy of that frame, which the backend keeps, in the default back buffer; that must be the
    // target (std::logic_error otherwise). The pixels are those of a full redraw, byte for byte.
    void partial(bool on);
    bool partial() const;
    // The back buffer of the default framebuffer, top row first; with partial redraw on, the
    // last frame drawn, copied there first.
    Pixels read_pixels(int width, int height);
    // The driver's renderer string.
    std::string device() const;

    // Text in UTF-8 at `position` (top left of the first line's box), size in logical units,
    // weight 400 regular to 700 bold. A newline starts a new line size + 5 units lower.
    void draw_text(Canvas& canvas, const std::string& text, Vec2 position, float size, unsigned color,
                   int weight) override;
    // The width of the widest line. Rasterises and uploads glyphs it has not seen.
    float measure(const std::string& text, float size, int weight) const override;
    // Text that needs shaping is measured as drawn, in visual order; other text by its widths.
    TextEdges edges(const std::string& line, std::size_t from, std::size_t to, float size,
                    int weight) const override;

    // Cache sizes, for diagnostics.
    std::size_t glyph_count() const;
    std::size_t atlas_count() const;

private:
    struct Impl;
    void check() const;

    std::unique_ptr<Impl> impl_;
    std::thread::id thread_;
};

// Throws std::runtime_error with the backend's error text, or "OpenGL error N" when the
// backend is clean but GL reports an error. Does nothing when both are clear.
VELMORA_API void gpu_error();

} // namespace velmora::ui
