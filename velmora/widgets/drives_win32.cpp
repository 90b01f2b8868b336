// Roots on Windows: one per drive letter that the system reports, "A:\" first.
#include "velmora/widgets/drives.hpp"

#include <windows.h>

namespace velmora::ui {

std::vector<std::string> drive_roots() {
    std::vector<std::string> roots;
    const DWORD mask = GetLogicalDrives(); // 0 on failure: no roots rather than an exception
    for (int letter = 0; letter < 26; ++letter)
        if (mask & (DWORD{1} << letter))
            roots.push_back(std::string{static_cast<char>('A' + letter), ':', '\\'});
    return roots;
}

} // namespace velmora::ui
