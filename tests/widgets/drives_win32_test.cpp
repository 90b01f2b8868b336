// Drive roots on Windows: drive letters that the file browser can open directly.
#include "velmora/widgets/drives.hpp"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace velmora::ui {
namespace {

TEST(DriveRoots, LettersInOrderIncludingTheSystemDrive) {
    const std::vector<std::string> roots = drive_roots();
    for (const std::string& root : roots) EXPECT_TRUE(root.size() == 3 && root.substr(1) == ":\\") << root;
    EXPECT_TRUE(std::is_sorted(roots.begin(), roots.end()));
    wchar_t system[MAX_PATH]{};
    ASSERT_GT(GetSystemWindowsDirectoryW(system, MAX_PATH), 0u);
    const std::string drive = std::string(1, static_cast<char>(system[0])) + ":\\";
    EXPECT_NE(std::find(roots.begin(), roots.end(), drive), roots.end()) << drive;
}

} // namespace
} // namespace velmora::ui
