// Pixels: an image in client memory, as Renderer::read_pixels returns it and save_png writes it.
#pragma once

#include <cstdint>
#include <vector>

namespace velmora::ui {

struct Pixels {
    int width = 0;
    int height = 0;
    // width * height * 4 bytes of 8-bit RGBA, rows tightly packed, top row first.
    std::vector<std::uint8_t> data;
};

} // namespace velmora::ui
