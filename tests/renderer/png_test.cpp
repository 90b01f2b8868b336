// save_png: what lands in the file, and where failures are caught.
#include "velmora/renderer/png.hpp"

#include "../thrown.hpp"

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <gtest/gtest.h>
#include <png.h>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using velmora::test::thrown;
using velmora::ui::Pixels;
using velmora::ui::save_png;

struct PngTest : ::testing::Test {
    fs::path dir = fs::temp_directory_path() / ("velmora-png-" + std::to_string(getpid()));
    PngTest() { fs::create_directories(dir); }
    ~PngTest() override { fs::remove_all(dir); }

    // Every byte through libpng's own reader, as 8-bit RGBA.
    static Pixels load(const fs::path& path) {
        png_image image{};
        image.version = PNG_IMAGE_VERSION;
        EXPECT_TRUE(png_image_begin_read_from_file(&image, path.c_str())) << image.message;
        image.format = PNG_FORMAT_RGBA;
        Pixels out{static_cast<int>(image.width), static_cast<int>(image.height), {}};
        out.data.resize(PNG_IMAGE_SIZE(image));
        EXPECT_TRUE(png_image_finish_read(&image, nullptr, out.data.data(), 0, nullptr)) << image.message;
        return out;
    }
};

// Every channel takes values that differ per pixel, and some pixels are fully transparent.
Pixels pattern(int width, int height) {
    Pixels p{width, height, std::vector<std::uint8_t>(static_cast<std::size_t>(width) * height * 4)};
    for (std::size_t i = 0; i < p.data.size(); ++i) p.data[i] = static_cast<std::uint8_t>(i * 37 + i / 7);
    for (std::size_t i = 3; i < p.data.size(); i += 12) p.data[i] = 0;
    return p;
}

// Odd sizes catch stride mistakes; a name outside ASCII is written under that name.
TEST_F(PngTest, EveryByteRoundTripsUnderANonAsciiNameAndAnExistingFileIsReplaced) {
    const fs::path path = dir / "截图-ünïcode.png";
    save_png(path.string(), pattern(13, 7));
    const Pixels back = load(path);
    EXPECT_EQ(back.width, 13);
    EXPECT_EQ(back.height, 7);
    EXPECT_EQ(back.data, pattern(13, 7).data);
    EXPECT_EQ(fs::directory_iterator(dir)->path().filename(), path.filename());
    save_png(path.string(), pattern(2, 3));
    EXPECT_EQ(load(path).data, pattern(2, 3).data);
}

TEST_F(PngTest, ABadRecordIsRefusedBeforeAnyFileIsOpenedAndAMissingDirectoryWithTheSystemCode) {
    Pixels shorter = pattern(4, 4);
    shorter.data.pop_back();
    const fs::path path = dir / "never.png";
    for (const Pixels& bad : {shorter, Pixels{0, 4, {}}, Pixels{2, 2, std::vector<std::uint8_t>(17)}})
        EXPECT_EQ(thrown<std::invalid_argument>([&] { save_png(path.string(), bad); }), "PNG dimensions");
    EXPECT_FALSE(fs::exists(path));
    EXPECT_EQ(
        thrown<std::runtime_error>([&] { save_png((dir / "absent" / "x.png").string(), pattern(1, 1)); }),
        "PNG output (errno=" + std::to_string(ENOENT) + ")");
}

TEST_F(PngTest, AFailedWriteThrowsOurWordAndLeavesStandardErrorToTheProgram) {
    ::testing::internal::CaptureStderr();
    const std::string what = thrown<std::runtime_error>([] { save_png("/dev/full", pattern(256, 256)); });
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(what.rfind("PNG ", 0), 0u) << what;
}

} // namespace
