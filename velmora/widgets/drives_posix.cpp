// Roots on systems without drive letters: "/", the home directory, and mounted volumes.
#include "velmora/widgets/drives.hpp"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace velmora::ui {

namespace {

// File systems that hold no user files, or only the system's own run-time state.
constexpr std::array<std::string_view, 28> pseudo_types{
    "autofs",   "binfmt_misc", "bpf",      "cgroup",  "cgroup2",         "configfs",    "debugfs",
    "devpts",   "devtmpfs",    "efivarfs", "fusectl", "hugetlbfs",       "mqueue",      "nsfs",
    "overlay",  "proc",        "pstore",   "ramfs",   "rpc_pipefs",      "securityfs",  "selinuxfs",
    "squashfs", "sysfs",       "tmpfs",    "tracefs", "fuse.gvfsd-fuse", "fuse.portal", "nfsd"};

// Mount points under these belong to the system, not to the user.
constexpr std::array<std::string_view, 7> system_trees{"/proc", "/sys",  "/dev",    "/run",
                                                       "/boot", "/snap", "/var/lib"};

bool under(std::string_view path, std::string_view tree) {
    return path.size() >= tree.size() && path.substr(0, tree.size()) == tree &&
           (path.size() == tree.size() || path[tree.size()] == '/');
}

// The table writes space, tab, line feed and backslash as a backslash and three octal digits.
std::string unescape(std::string_view field) {
    std::string out;
    for (std::size_t i = 0; i < field.size(); ++i) {
        const auto octal = [&](std::size_t at) {
            return at < field.size() && field[at] >= '0' && field[at] <= '7';
        };
        if (field[i] == '\\' && octal(i + 1) && octal(i + 2) && octal(i + 3)) {
            out += static_cast<char>((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 +
                                     (field[i + 3] - '0'));
            i += 3;
        } else {
            out += field[i];
        }
    }
    return out;
}

std::string home_directory() {
    if (const char* home = std::getenv("HOME"); home && *home) return home;
    if (const passwd* user = getpwuid(getuid()); user && user->pw_dir) return user->pw_dir;
    return {};
}

void add_unique(std::vector<std::string>& roots, std::string path) {
    if (!path.empty() && std::find(roots.begin(), roots.end(), path) == roots.end())
        roots.push_back(std::move(path));
}

} // namespace

std::vector<std::string> detail::mounted_volumes(std::string_view table) {
    std::vector<std::string> volumes;
    std::istringstream lines{std::string(table)};
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string device, mount_point, type;
        if (!(fields >> device >> mount_point >> type)) continue;
        const std::string path = unescape(mount_point);
        if (path == "/" || path.empty() || path[0] != '/') continue;
        if (std::find(pseudo_types.begin(), pseudo_types.end(), type) != pseudo_types.end()) continue;
        // Volumes that desktop sessions mount for the user live under /run/media.
        const bool removable = under(path, "/run/media");
        if (!removable && std::any_of(system_trees.begin(), system_trees.end(),
                                      [&](std::string_view tree) { return under(path, tree); }))
            continue;
        add_unique(volumes, path);
    }
    return volumes;
}

std::vector<std::string> drive_roots() {
    std::vector<std::string> roots{"/"};
    add_unique(roots, home_directory());
    std::ifstream file("/proc/self/mounts");
    if (file) {
        std::ostringstream table;
        table << file.rdbuf();
        for (auto& volume : detail::mounted_volumes(table.str())) add_unique(roots, std::move(volume));
    }
    return roots;
}

} // namespace velmora::ui
