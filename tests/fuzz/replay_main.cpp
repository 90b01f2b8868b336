// Runs a fuzz target over files instead of under libFuzzer, so the checked-in corpora replay
// as ordinary tests in any build. Each argument is a file or a folder of files; folders are
// read in name order so a failure always points at the same input.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

int replay(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "replay: cannot read %s\n", file.string().c_str());
        return 1;
    }
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    // Printed first, so that a trap inside the target leaves the culprit's name behind.
    std::fprintf(stderr, "replay: %s\n", file.string().c_str());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    std::size_t count = 0;
    int failed = 0;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path path(argv[i]);
        std::vector<std::filesystem::path> files;
        if (std::filesystem::is_directory(path)) {
            for (const auto& entry : std::filesystem::directory_iterator(path))
                if (entry.is_regular_file()) files.push_back(entry.path());
            std::sort(files.begin(), files.end());
        } else {
            files.push_back(path);
        }
        for (const auto& file : files) {
            failed |= replay(file);
            ++count;
        }
    }
    std::printf("replay: %zu inputs\n", count);
    return failed;
}
