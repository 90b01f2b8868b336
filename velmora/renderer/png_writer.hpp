// The PNG encoder seam (internal): one implementation file per platform (png_libpng.cpp,
// png_wic.cpp) behind save_png, which checks the image first.
#pragma once

#include "velmora/renderer/pixels.hpp"

#include <string>

namespace velmora::ui {

// Encodes a well-formed image to `path`. Throws std::runtime_error naming the failing step.
void write_png(const std::string& path, const Pixels& pixels);

} // namespace velmora::ui
