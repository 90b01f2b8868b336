// PNG export: the toolkit's only image writer. Needs no window and no GL context.
#pragma once

#include "velmora/core/export.hpp"
#include "velmora/renderer/pixels.hpp"

#include <string>

namespace velmora::ui {

// Writes 8-bit RGBA with alpha kept as it stands, replacing an existing file. `path` is
// UTF-8 and used as given. Throws std::invalid_argument "PNG dimensions" for an empty image
// or a byte count other than width * height * 4, before any file is touched;
// std::runtime_error naming the failing step ("PNG output (errno=N)" when the file cannot
// be opened). A partly written file can remain after a failure.
VELMORA_API void save_png(const std::string& path, const Pixels& pixels);

} // namespace velmora::ui
