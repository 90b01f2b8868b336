// The file system's roots, as the file browser offers them for quick navigation.
//
// The one system service the widgets need outside the standard library sits behind this seam,
// one source file per platform: drive letters where the system has them, and elsewhere the
// root, the user's home directory and the mounted volumes.
#pragma once

#include "velmora/core/export.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace velmora::ui {

// UTF-8 paths, most general first, without duplicates. Never throws for a system failure: a
// root that can't be found is left out.
VELMORA_API std::vector<std::string> drive_roots();

namespace detail {
// The mount points of a mount table in the /proc/self/mounts format that a user would browse:
// pseudo and in-memory file systems and the system's own mounts are left out, and the octal
// escapes of the table are decoded.
std::vector<std::string> mounted_volumes(std::string_view table);
} // namespace detail

} // namespace velmora::ui
