// File browser: listing order, failures, accepting, the mount table, and the lifetime rules
// between pickers, browsers and their workers, each in its own temporary tree.
#include "../scene/frame_driver.hpp"

#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/drives.hpp"
#include "velmora/widgets/file_browser.hpp"
#include "velmora/widgets/lists.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <thread>

#include <unistd.h>

namespace velmora::test {
namespace {

namespace fs = std::filesystem;
using ui::FileBrowser;
using Strings = std::vector<std::string>;

struct FileBrowserTest : ::testing::Test {
    fs::path root;
    ui::Scene scene;
    FrameDriver run{scene, 1280, 800};

    FileBrowserTest() {
        static std::atomic<int> serial{0};
        root = fs::temp_directory_path() /
               ("velmora-files-" + std::to_string(::getpid()) + "-" + std::to_string(serial++));
        fs::create_directories(root);
    }
    ~FileBrowserTest() override {
        std::error_code ec;
        fs::remove_all(root, ec);
    }

    // A directory under the root holding the given files and `numbered` more.
    fs::path dir(const std::string& name, Strings files = {}, int numbered = 0) {
        const fs::path d = root / name;
        fs::create_directories(d);
        for (const auto& f : files) std::ofstream(d / f) << "x";
        for (int i = 0; i < numbered; ++i) std::ofstream(d / ("f" + std::to_string(i)));
        return d;
    }
    std::shared_ptr<FileBrowser> open(const fs::path& start, std::function<void(const fs::path&)> take = {}) {
        auto browser = std::make_shared<FileBrowser>(false, start, std::move(take));
        browser->open(scene);
        return browser;
    }
    // Frames until the browser has taken its result; the worker runs freely meanwhile.
    bool settle(const FileBrowser& browser) {
        for (int i = 0; i < 20000 && browser.loading; ++i) {
            run.frame();
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
        return !browser.loading;
    }
    std::shared_ptr<FileBrowser> opened() const {
        return std::dynamic_pointer_cast<FileBrowser>(scene.find("file-browser"));
    }
};

TEST_F(FileBrowserTest, ListsDirectoriesFirstAndAFailureKeepsTheLastGoodListing) {
    const fs::path d = dir("sorted", {"b.txt", "A.txt", "c.TXT", "_x", "\u00DCber", "Zeta"});
    fs::create_directory(d / "beta");
    fs::create_directory(d / "Alpha");
    auto browser = open(d);
    ASSERT_TRUE(settle(*browser));
    // '_' sorts before the folded letters; bytes from 128 up are compared unfolded, after ASCII.
    const Strings listed{"[目录]  Alpha", "[目录]  beta",  "[文件]  _x",   "[文件]  A.txt",
                         "[文件]  b.txt", "[文件]  c.TXT", "[文件]  Zeta", "[文件]  \u00DCber"};
    EXPECT_EQ(browser->list->items, listed);
    EXPECT_EQ(browser->status->text, "8 项 · 只读浏览，不创建或删除文件");
    browser->navigate(d / "missing");
    ASSERT_TRUE(settle(*browser));
    EXPECT_EQ(browser->status->text,
              "目录无法读取：" + std::make_error_code(std::errc::no_such_file_or_directory).message());
    EXPECT_EQ(browser->list->items, listed);
    EXPECT_FALSE(scene.overlays().empty());
}

TEST_F(FileBrowserTest, AcceptingPicksTheRightKindOrOpensDirectories) {
    const fs::path d = dir("pick", {"file.txt"}), sub = dir("pick/sub");
    std::vector<fs::path> accepted;
    auto take = [&](const fs::path& p) { accepted.push_back(p); };
    auto browser = open(d, take);
    ASSERT_TRUE(settle(*browser));
    browser->accept(); // nothing selected in file mode: the directory on show is the wrong kind
    EXPECT_EQ(browser->status->text, "请选择有效的文件");
    scene.focus(browser->list);
    run.key(ui::vk::down);
    run.key(ui::vk::enter); // a directory row is opened, not accepted
    browser->accept();      // ignored during the load
    ASSERT_TRUE(settle(*browser));
    EXPECT_EQ(browser->current, sub);
    EXPECT_TRUE(accepted.empty());
    browser->navigate(d);
    ASSERT_TRUE(settle(*browser));
    scene.focus(browser->list);
    browser->select(1);
    run.key(ui::vk::enter); // a file row accepts it
    EXPECT_EQ(accepted, (std::vector<fs::path>{d / "file.txt"}));
    EXPECT_TRUE(scene.overlays().empty());
}

TEST(Drives, MountTableKeepsUserVolumesOnly) {
    // The root and system mounts are left out, escapes decoded, repeats and junk dropped.
    const std::string table = "/dev/sda2 / ext4 rw 0 0\n"
                              "proc /proc proc rw 0 0\n"
                              "/dev/sdb1 /mnt/My\\040Disk ext4 rw 0 0\n"
                              "/dev/sdc1 /run/media/user/USB vfat rw 0 0\n"
                              "/dev/sdb1 /mnt/My\\040Disk ext4 rw 0 0\n"
                              "garbage\n";
    EXPECT_EQ(ui::detail::mounted_volumes(table), (Strings{"/mnt/My Disk", "/run/media/user/USB"}));
}

TEST_F(FileBrowserTest, ClosingOrLosingThePickerDuringALoadRunsNothing) {
    auto picker = scene.root()->emplace<ui::FilePicker>();
    picker->path(dir("closing", {}, 2000));
    int paths = 0;
    picker->on_path = [&](const fs::path&) { ++paths; };
    run.frame();
    scene.focus(picker);
    run.key(ui::vk::space);
    auto browser = opened();
    ASSERT_TRUE(browser && browser->loading);
    browser->cancel_button->activate();
    EXPECT_TRUE(scene.overlays().empty());
    // Dropping the last reference during another load doesn't wait for the worker.
    run.key(ui::vk::space);
    ASSERT_TRUE(opened());
    scene.close_top();
    browser.reset();
    run.idle(0.2);
    // Opened without the focus on the picker, the overlay keeps nothing alive: the picker goes
    // while the browser is open, and an accept afterwards must not reach it.
    scene.focus(nullptr);
    ui::Event release = release_event({picker->screen_bounds.x + 5, picker->screen_bounds.y + 5});
    picker->event(release);
    browser = opened();
    ASSERT_TRUE(browser);
    std::weak_ptr<ui::FilePicker> gone = picker;
    scene.root()->remove(picker);
    picker.reset();
    ASSERT_TRUE(gone.expired());
    ASSERT_TRUE(settle(*browser));
    browser->select(0);
    browser->accept();
    EXPECT_TRUE(scene.overlays().empty());
    EXPECT_EQ(paths, 0);
}

} // namespace
} // namespace velmora::test
