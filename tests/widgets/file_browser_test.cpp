// File browser: listing order, the entry cap, failures, bursts of navigation, accepting, and
// the lifetime rules between pickers, browsers and their workers, each in its own temporary tree.
#include "../scene/frame_driver.hpp"

#include "velmora/scene/scene.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/drives.hpp"
#include "velmora/widgets/file_browser.hpp"
#include "velmora/widgets/lists.hpp"
#include "velmora/widgets/text_field.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <thread>

#include <unistd.h>

namespace velmora::test {
namespace {

namespace fs = std::filesystem;
using ui::FileBrowser;
using Paths = std::vector<fs::path>;
using Strings = std::vector<std::string>;

const std::string count_line = " 项 · 只读浏览，不创建或删除文件";

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

    // A directory under the root holding the given files, and `numbered` more named f0, f1, ...
    fs::path dir(const std::string& name, Strings files = {}, int numbered = 0) {
        const fs::path d = root / name;
        fs::create_directories(d);
        for (const auto& f : files) std::ofstream(d / f) << "x";
        for (int i = 0; i < numbered; ++i) std::ofstream(d / ("f" + std::to_string(i)));
        return d;
    }
    std::shared_ptr<FileBrowser> open(bool directories, const fs::path& start,
                                      std::function<void(const fs::path&)> accepted = {}) {
        auto browser = std::make_shared<FileBrowser>(directories, start, std::move(accepted));
        browser->open(scene);
        return browser;
    }
    // Frames until the browser has taken its result; the worker runs freely meanwhile.
    bool settle(const FileBrowser& browser) {
        for (int i = 0; i < 20000 && browser.loading; ++i) {
            run.frame();
            if (browser.loading) std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
        return !browser.loading;
    }
    static Strings names(const FileBrowser& browser) {
        Strings out;
        for (const auto& e : browser.entries) out.push_back(e.path.filename().string());
        return out;
    }
    bool showing(const FileBrowser& browser) const {
        for (const auto& o : scene.overlays())
            if (o.widget.get() == &browser) return true;
        return false;
    }
    std::shared_ptr<FileBrowser> opened() const {
        return std::dynamic_pointer_cast<FileBrowser>(scene.find("file-browser"));
    }
};

TEST_F(FileBrowserTest, ListsDirectoriesFirstWithAsciiCaseFolding) {
    const fs::path d = dir("sorted", {"b.txt", "A.txt", "c.TXT", "_x", "\u00DCber", "Zeta"});
    fs::create_directory(d / "beta");
    fs::create_directory(d / "Alpha");
    auto browser = open(false, d);
    ASSERT_TRUE(settle(*browser));
    // '_' sorts before the folded letters; bytes from 128 up are compared unfolded, after ASCII.
    EXPECT_EQ(names(*browser),
              (Strings{"Alpha", "beta", "_x", "A.txt", "b.txt", "c.TXT", "Zeta", "\u00DCber"}));
    EXPECT_EQ(browser->list->items.front(), "[目录]  Alpha");
    EXPECT_EQ(browser->list->items.back(), "[文件]  \u00DCber");
    EXPECT_EQ(browser->path_field->value(), d.string());
    EXPECT_EQ(browser->status->text, "8" + count_line);
}

TEST_F(FileBrowserTest, FailuresKeepTheLastGoodListingAndTheDialog) {
    const fs::path d = dir("good", {"kept.txt"});
    auto browser = open(false, d);
    ASSERT_TRUE(settle(*browser));
    browser->navigate(d / "missing");
    ASSERT_TRUE(settle(*browser));
    const std::string expected =
        "目录无法读取：" + std::make_error_code(std::errc::no_such_file_or_directory).message();
    EXPECT_EQ(browser->status->text, expected);
    EXPECT_EQ(browser->error, expected);
    EXPECT_EQ(browser->current, d);
    EXPECT_EQ(names(*browser), (Strings{"kept.txt"}));
    EXPECT_TRUE(showing(*browser));
    browser->navigate({}); // an empty path reloads the listing on show
    ASSERT_TRUE(settle(*browser));
    EXPECT_EQ(browser->status->text, "1" + count_line);
}

TEST_F(FileBrowserTest, AcceptingPicksTheRightKindOrOpensDirectories) {
    const fs::path d = dir("pick", {"file.txt"}), sub = dir("pick/sub");
    Paths accepted;
    auto take = [&](const fs::path& p) { accepted.push_back(p); };
    auto browser = open(false, d, take);
    ASSERT_TRUE(settle(*browser));
    browser->accept(); // nothing selected in file mode: the directory on show is the wrong kind
    EXPECT_EQ(browser->status->text, "请选择有效的文件");
    EXPECT_TRUE(showing(*browser));
    scene.focus(browser->list);
    run.key(ui::vk::down);
    run.key(ui::vk::enter); // a directory row is opened, not accepted
    EXPECT_TRUE(browser->loading);
    browser->accept(); // ignored during the load
    ASSERT_TRUE(settle(*browser));
    EXPECT_EQ(browser->current, sub);
    EXPECT_TRUE(accepted.empty());
    browser->navigate(d);
    ASSERT_TRUE(settle(*browser));
    scene.focus(browser->list);
    browser->select(1);
    run.key(ui::vk::enter); // a file row accepts it
    EXPECT_EQ(accepted, (Paths{d / "file.txt"}));
    EXPECT_FALSE(showing(*browser));
    auto directories = open(true, sub, take); // the directory on show can be taken as it stands
    ASSERT_TRUE(settle(*directories));
    directories->accept_button->activate();
    EXPECT_EQ(accepted.back(), sub);
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
    const auto roots = ui::drive_roots();
    ASSERT_FALSE(roots.empty());
    EXPECT_EQ(roots.front(), "/");
    if (const char* home = std::getenv("HOME"); home && *home) {
        EXPECT_NE(std::find(roots.begin(), roots.end(), std::string(home)), roots.end());
    }
}

TEST_F(FileBrowserTest, ClosingDuringALoadRunsNothingAndTicksNoMore) {
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
    EXPECT_FALSE(showing(*browser));
    // The result arrives, but a closed browser gets no tick, so it waits in the future.
    browser->pending.wait();
    run.frame();
    EXPECT_TRUE(browser->loading);
    EXPECT_TRUE(browser->entries.empty());
    // Dropping the last reference during another load doesn't wait for the worker.
    scene.focus(picker);
    run.key(ui::vk::space);
    ASSERT_TRUE(opened());
    scene.close_top();
    browser.reset();
    run.idle(0.2);
    EXPECT_EQ(paths, 0);
    EXPECT_TRUE(scene.overlays().empty());
}

TEST_F(FileBrowserTest, DestroyingThePickerMakesAnAcceptHarmless) {
    auto picker = scene.root()->emplace<ui::FilePicker>();
    picker->path(dir("orphan", {"left.txt"}));
    run.frame();
    // Opened without the focus on the picker: an overlay keeps the widget focused before it alive.
    ui::Event release = release_event({picker->screen_bounds.x + 5, picker->screen_bounds.y + 5});
    picker->event(release);
    auto browser = opened();
    ASSERT_TRUE(browser);
    int paths = 0;
    picker->on_path = [&](const fs::path&) { ++paths; };
    std::weak_ptr<ui::FilePicker> gone = picker;
    scene.root()->remove(picker);
    picker.reset();
    ASSERT_TRUE(gone.expired());
    ASSERT_TRUE(settle(*browser));
    browser->select(0);
    browser->accept();
    EXPECT_FALSE(showing(*browser));
    EXPECT_EQ(paths, 0);
}

} // namespace
} // namespace velmora::test
