// save_png: the checks every platform's encoder shares.
#include "velmora/renderer/png.hpp"

#include "velmora/renderer/png_writer.hpp"

#include <stdexcept>

namespace velmora::ui {

void save_png(const std::string& path, const Pixels& pixels) {
    // Divided rather than multiplied, so that no int sizes can make the product wrap.
    const std::size_t texels = pixels.data.size() / 4;
    if (pixels.width <= 0 || pixels.height <= 0 || pixels.data.size() % 4 != 0 ||
        texels % static_cast<std::size_t>(pixels.width) != 0 ||
        texels / static_cast<std::size_t>(pixels.width) != static_cast<std::size_t>(pixels.height))
        throw std::invalid_argument("PNG dimensions");
    write_png(path, pixels);
}

} // namespace velmora::ui
