// Glyph atlas arithmetic shared by the Renderer and its tests (internal): the atlas limits,
// the raster size of a text size, the shelf packer and the walk over UTF-16 units.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string_view>

namespace velmora::ui::atlas {

inline constexpr int size = 2048;      // an atlas is size x size RGBA8 texels
inline constexpr int max_atlases = 16; // 256 MiB of atlases in all
inline constexpr int max_glyphs = 24000;
inline constexpr int border = 4; // empty texels around every glyph, so filtering never bleeds
inline constexpr int largest = size - 2 * border; // largest advance or line height that fits a cell

// Glyphs are rasterised at twice the device size. Capped so that absurd sizes still make a
// valid font request, and then fail on the glyph's extent instead.
inline int raster_size(float scale, float text_size) {
    const double raster =
        std::min(2.0 * static_cast<double>(scale) * static_cast<double>(text_size), 65535.0);
    return std::max(1, static_cast<int>(std::lround(raster)));
}

// Rows of cells filled left to right; the cursor only moves forward.
struct Shelf {
    int x = 0;
    int y = 0;
    int row_height = 0;

    // Starts a new row when the cell does not fit after x. False when the atlas is full.
    bool fit(int w, int h) {
        if (x + w > size) {
            x = 0;
            y += row_height;
            row_height = 0;
        }
        return y + h <= size;
    }
    void take(int w, int h) {
        x += w;
        row_height = std::max(row_height, h);
    }
};

// The code point at unit `i`, advancing `i` past it. A high surrogate takes the unit after it
// without testing that it is a low one; at the very end it stands for itself.
inline char32_t next_code_point(std::u16string_view text, std::size_t& i) {
    const char32_t unit = text[i++];
    if (unit >= 0xD800 && unit <= 0xDBFF && i < text.size())
        return 0x10000 + ((unit - 0xD800) << 10) + (static_cast<char32_t>(text[i++]) - 0xDC00);
    return unit;
}

} // namespace velmora::ui::atlas
