// Drive roots on Windows: drive letters as roots that the file browser can open directly.
#include "velmora/widgets/drives.hpp"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

namespace velmora::ui {
namespace {

TEST(DriveRoots, LettersInOrderIncludingTheSystemDrive) {
    const std::vector<std::string> roots = drive_roots();
    for (const std::string& root : roots) {
        ASSERT_EQ(root.size(), 3u) << root;
        EXPECT_TRUE(root[0] >= 'A' && root[0] <= 'Z') << root;
        EXPECT_EQ(root.substr(1), ":\\");
    }
    EXPECT_TRUE(std::is_sorted(roots.begin(), roots.end()));
    EXPECT_EQ(std::adjacent_find(roots.begin(), roots.end()), roots.end());

    wchar_t system[MAX_PATH]{};
    ASSERT_GT(GetSystemWindowsDirectoryW(system, MAX_PATH), 0u);
    const std::string drive = std::string(1, static_cast<char>(system[0])) + ":\\";
    EXPECT_NE(std::find(roots.begin(), roots.end(), drive), roots.end()) << drive;
    EXPECT_TRUE(std::filesystem::is_directory(drive));
}

} // namespace
} // namespace velmora::ui
