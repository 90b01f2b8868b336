// Rasterizer: the platform's text services under the Renderer's glyph atlas (internal).
//
// The Renderer asks it to make a font, measure one code point, and draw one code point white on
// black into a coverage buffer: that serves text that needs no shaping. Text that does (joining
// scripts, marks, emoji sequences) is shaped run by run into glyphs of the faces the fallback
// picks, and each such glyph is drawn into texels of its own size, in colour where it has colour. One
// implementation file per platform stands behind this header (rasterizer_freetype.cpp with fontconfig on
// Linux), so the header names no platform type.
//
// Sizes are pixels. A font's size is its character height (the em, not the line), and its
// line height is the face's ascent plus descent at that size.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

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

// A glyph of a shaped run, positioned in pixels relative to the run's pen.
struct ShapedGlyph {
    std::uint32_t face = 0;    // the Rasterizer's id of the face it comes from
    std::uint32_t index = 0;   // the glyph in that face
    std::uint32_t cluster = 0; // byte offset of the first character it shows
    float x = 0;
    float y = 0; // downwards
    float advance = 0;
    bool rtl = false; // from a right-to-left run
};

// A shaped glyph's texels: `width` x `height` RGBA, premultiplied, rows top first, placed with
// its top left at (left, top) from the pen and the top of the line.
struct GlyphImage {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
    bool colour = false; // false: white with the coverage in alpha
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

    // Shapes bytes [start, end) of a one-line paragraph of valid UTF-8, all of one direction
    // (the rest of the paragraph is context, for joining), and appends its glyphs left to right.
    // Each run of one script that one face covers is shaped with that face: the font's own when it
    // has the run's characters, else the first fallback that has them all. Returns the advance.
    float shape(RasterFont& font, std::string_view paragraph, std::size_t start, std::size_t end, bool rtl,
                std::vector<ShapedGlyph>& out);

    // Draws a shaped glyph, scaled to the font's size where its face has bitmaps of fixed sizes,
    // into `texels` (resized), with Rasterizer::border empty texels around its ink.
    GlyphImage draw(RasterFont& font, std::uint32_t face, std::uint32_t index,
                    std::vector<std::uint8_t>& texels);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace velmora::ui
