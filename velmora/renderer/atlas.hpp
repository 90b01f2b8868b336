// Glyph atlas arithmetic shared by the Renderer and its tests (internal): the atlas limits,
// the raster size of a text size and the shelf packer.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>

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

} // namespace velmora::ui::atlas
