// Rasterizer: the platform's text services under the Renderer's glyph atlas (internal).
//
// The Renderer asks three things of it: make a font, measure one code point, and draw one
// code point white on black into a coverage buffer. One implementation file per platform
// stands behind this header (rasterizer_freetype.cpp with fontconfig on Linux), so the
// header names no platform type.
//
// Sizes are pixels. A font's size is its character height (the em, not the line), and its
// line height is the face's ascent plus descent at that size.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace velmora::ui {

// A font at one pixel size and weight. What it holds is the implementation's.
struct RasterFont;
struct RasterFontFree {
    void operator()(RasterFont* font) const;
};
using RasterFontPtr = std::unique_ptr<RasterFont, RasterFontFree>;

struct GlyphExtent {
    int advance = 0; // pen advance in whole pixels
    int line = 0;    // line height of the font in whole pixels
};

class Rasterizer {
public:
    // The padding that draw leaves above and left of the glyph's line box.
    static constexpr int border = 4;

    // Throws std::runtime_error "Font DC (...)" when the text services cannot start.
    Rasterizer();
    ~Rasterizer();
    Rasterizer(const Rasterizer&) = delete;
    Rasterizer& operator=(const Rasterizer&) = delete;

    // `family` is UTF-8 and may name a font that is not installed: the system's substitute
    // is used then. `weight` is 1 to 1000 with 400 regular and 700 bold; 0 means 400.
    // Throws std::runtime_error "CreateFont (...)". Fonts must not outlive the Rasterizer.
    RasterFontPtr font(const std::string& family, int size, int weight);

    // A code point the font lacks comes from another installed font that has it; one that
    // no font has is the font's missing-glyph box. Throws std::runtime_error
    // "Create glyph bitmap (...)".
    GlyphExtent extent(RasterFont& font, char32_t code_point);

    // Writes the glyph's coverage (0 to 255) into `coverage`, `width` * `height` bytes,
    // rows top first, with the pen at x = border and the top of the line at y = border.
    // Ink outside the buffer is cut off. Throws std::runtime_error "Create glyph bitmap (...)".
    void draw(RasterFont& font, char32_t code_point, int width, int height, std::uint8_t* coverage);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace velmora::ui
