// File browser: listing order, the entry cap, failures, bursts of navigation, accepting, and
// the lifetime rules between pickers, browsers and their workers. Each test works in its own
// temporary directory tree.
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
#include <set>
#include <thread>

#include <unistd.h>

namespace velmora::test {
namespace {

namespace fs = std::filesystem;
using ui::FileBrowser;

const std::string count_line = " 项 · 只读浏览，不创建或删除文件";

class FileBrowserTest : public ::testing::Test {
protected:
    void SetUp() override {
        static std::atomic<int> serial{0};
        root = fs::temp_directory_path() /
               ("velmora-files-" + std::to_string(::getpid()) + "-" + std::to_string(serial++));
        fs::create_directories(root);
    }
    void TearDown() override {
        std::error_code ec;
        fs::remove_all(root, ec);
    }

    fs::path dir(const std::string& name) {
        fs::create_directories(root / name);
        return root / name;
    }
    fs::path file(const fs::path& at) {
        std::ofstream(at) << "x";
        return at;
    }
    fs::path many_files(const std::string& name, int files, int subdirectories) {
        const fs::path d = dir(name);
        for (int i = 0; i < files; ++i) std::ofstream(d / ("f" + std::to_string(i)));
        for (int i = 0; i < subdirectories; ++i) fs::create_directory(d / ("d" + std::to_string(i)));
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
    std::vector<std::string> names(const FileBrowser& browser) {
        std::vector<std::string> out;
        for (const auto& e : browser.entries) out.push_back(e.path.filename().string());
        return out;
    }
    bool open_in_scene(const FileBrowser& browser) {
        for (const auto& o : scene.overlays())
            if (o.widget.get() == &browser) return true;
        return false;
    }

    fs::path root;
    ui::Scene scene;
    FrameDriver run{scene, 1280, 800};
};

TEST_F(FileBrowserTest, ListsDirectoriesFirstWithAsciiCaseFolding) {
    const fs::path d = dir("sorted");
    fs::create_directory(d / "beta");
    fs::create_directory(d / "Alpha");
    for (const char* name : {"b.txt", "A.txt", "c.TXT", "_x", "\u00DCber", "Zeta"}) file(d / name);

    auto browser = open(false, d);
    ASSERT_TRUE(settle(*browser));
    // '_' sorts before the folded letters; bytes from 128 up are compared unfolded, after ASCII.
    EXPECT_EQ(names(*browser), (std::vector<std::string>{"Alpha", "beta", "_x", "A.txt", "b.txt", "c.TXT",
                                                         "Zeta", "\u00DCber"}));
    EXPECT_EQ(browser->list->items.front(), "[目录]  Alpha");
    EXPECT_EQ(browser->list->items.back(), "[文件]  \u00DCber");
    EXPECT_EQ(browser->list->selected(), -1);
    EXPECT_EQ(browser->current, d);
    EXPECT_EQ(browser->path_field->value(), d.string());
    EXPECT_EQ(browser->status->text, "8" + count_line);
    EXPECT_TRUE(browser->error.empty());
}

TEST_F(FileBrowserTest, StartPathsAndEmptyDirectories) {
    const fs::path d = dir("start");
    const fs::path f = file(d / "note.txt");
    auto at_file = open(false, f);
    ASSERT_TRUE(settle(*at_file));
    EXPECT_EQ(at_file->current, d);

    // Trailing separators and dot segments name the same directory.
    const fs::path empty = dir("start/empty");
    auto browser = open(true, root / "start" / "." / "empty" / "");
    EXPECT_EQ(browser->status->text, "读取目录…");
    ASSERT_TRUE(settle(*browser));
    EXPECT_EQ(browser->current, empty);
    EXPECT_TRUE(browser->list->items.empty());
    EXPECT_EQ(browser->status->text, "0" + count_line);

    // Up goes to the parent.
    browser->up_button->activate();
    ASSERT_TRUE(settle(*browser));
    EXPECT_EQ(browser->current, d);
    EXPECT_EQ(names(*browser), (std::vector<std::string>{"empty"})); // files hidden when picking directories
}

TEST_F(FileBrowserTest, CapsTheListingAt4096Entries) {
    const fs::path big = many_files("big", 5000, 3);
    auto browser = open(false, big);
    ASSERT_TRUE(settle(*browser));
    EXPECT_EQ(browser->entries.size(), FileBrowser::entry_limit);
    EXPECT_EQ(browser->list->items.size(), FileBrowser::entry_limit);
    EXPECT_EQ(browser->error, "目录超过 4096 项，仅展示前 4096 项");
    EXPECT_EQ(browser->status->text, browser->error); // the warning replaces the count line
    EXPECT_EQ(browser->current, big);

    // Skipped files use up the count too, so some of the three directories may be missing.
    const auto only_directories = FileBrowser::read_directory(big, true);
    EXPECT_LE(only_directories.entries.size(), 3u);
    for (const auto& e : only_directories.entries) EXPECT_TRUE(e.directory);
    EXPECT_EQ(only_directories.error, "目录超过 4096 项，仅展示前 4096 项");
}

TEST_F(FileBrowserTest, FailuresKeepTheLastGoodListing) {
    const fs::path d = dir("good");
    file(d / "kept.txt");
    auto browser = open(false, d);
    ASSERT_TRUE(settle(*browser));
    const auto items = browser->list->items;

    browser->navigate(d / "missing");
    ASSERT_TRUE(settle(*browser));
    const std::string expected =
        "目录无法读取：" + std::make_error_code(std::errc::no_such_file_or_directory).message();
    EXPECT_EQ(browser->status->text, expected);
    EXPECT_EQ(browser->error, expected);
    EXPECT_EQ(browser->current, d);
    EXPECT_EQ(browser->list->items, items);
    EXPECT_EQ(names(*browser), (std::vector<std::string>{"kept.txt"}));

    // A file is no directory either; the dialog stays open through every failure.
    browser->navigate(d / "kept.txt");
    ASSERT_TRUE(settle(*browser));
    EXPECT_EQ(browser->status->text.rfind("目录无法读取：", 0), 0u);
    EXPECT_TRUE(open_in_scene(*browser));

    // Reloading with an empty path returns to the listing on show.
    browser->navigate({});
    ASSERT_TRUE(settle(*browser));
    EXPECT_EQ(browser->status->text, "1" + count_line);
}

TEST_F(FileBrowserTest, OnlyTheLastOfABurstOfNavigationsIsShown) {
    const fs::path big = many_files("slow", 2000, 0);
    const fs::path a = dir("a"), b = dir("b"), c = dir("c");
    file(c / "third.txt");
    const fs::path start = dir("start");
    auto browser = open(false, start);
    ASSERT_TRUE(settle(*browser));

    browser->navigate(big); // starts the one worker
    browser->navigate(a);   // these only change what is wanted
    browser->navigate(b);
    browser->navigate(c);
    EXPECT_EQ(browser->requested, c);

    std::set<fs::path> shown;
    for (int i = 0; i < 20000 && browser->loading; ++i) {
        run.frame();
        shown.insert(browser->current);
        if (browser->loading) std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
    ASSERT_FALSE(browser->loading);
    EXPECT_EQ(shown, (std::set<fs::path>{start, c}));
    EXPECT_EQ(names(*browser), (std::vector<std::string>{"third.txt"}));
}

TEST_F(FileBrowserTest, AcceptingPicksTheRightKindOrOpensDirectories) {
    const fs::path d = dir("pick");
    const fs::path sub = dir("pick/sub");
    const fs::path f = file(d / "file.txt");
    std::vector<fs::path> accepted;
    auto browser = open(false, d, [&](const fs::path& p) { accepted.push_back(p); });
    ASSERT_TRUE(settle(*browser));

    // Nothing selected in file mode: the directory on show is the wrong kind.
    browser->accept();
    EXPECT_EQ(browser->status->text, "请选择有效的文件");
    EXPECT_TRUE(open_in_scene(*browser));

    // A selected directory is opened, not accepted.
    browser->select(0);
    ASSERT_EQ(browser->entries[0].path, sub);
    browser->accept();
    EXPECT_TRUE(browser->loading);
    browser->accept(); // ignored during the load
    ASSERT_TRUE(settle(*browser));
    EXPECT_EQ(browser->current, sub);
    EXPECT_TRUE(accepted.empty());
    EXPECT_TRUE(open_in_scene(*browser));

    browser->navigate(d);
    ASSERT_TRUE(settle(*browser));
    browser->select(1);
    browser->accept_button->activate();
    EXPECT_EQ(accepted, (std::vector<fs::path>{f}));
    EXPECT_FALSE(open_in_scene(*browser));

    // In directory mode the directory on show can be taken as it stands.
    auto directories = open(true, sub, [&](const fs::path& p) { accepted.push_back(p); });
    ASSERT_TRUE(settle(*directories));
    directories->accept();
    EXPECT_EQ(accepted.back(), sub);
}

TEST_F(FileBrowserTest, ActivatingRowsByKeyboard) {
    const fs::path d = dir("keys");
    dir("keys/inner");
    const fs::path f = file(d / "z.txt");
    fs::path accepted;
    auto browser = open(false, d, [&](const fs::path& p) { accepted = p; });
    ASSERT_TRUE(settle(*browser));

    scene.focus(browser->list);
    run.key(ui::vk::down);
    run.key(ui::vk::enter); // a directory row opens it
    ASSERT_TRUE(settle(*browser));
    EXPECT_EQ(browser->current, d / "inner");

    browser->navigate(d);
    ASSERT_TRUE(settle(*browser));
    scene.focus(browser->list);
    browser->select(1);
    run.key(ui::vk::enter); // a file row accepts it
    EXPECT_EQ(accepted, f);
    EXPECT_FALSE(open_in_scene(*browser));
}

// ---- pickers ------------------------------------------------------------------------------------

TEST_F(FileBrowserTest, PickerOpensABrowserAndTakesItsAnswer) {
    const fs::path d = dir("picked");
    const fs::path f = file(d / "photo.png");
    auto picker = scene.root()->emplace<ui::FilePicker>();
    int paths = 0, changes = 0;
    picker->on_path = [&](const fs::path&) { ++paths; };
    picker->on_change = [&](ui::Widget&) { ++changes; };
    EXPECT_EQ(picker->text, "选择文件…");
    picker->path(d);
    EXPECT_EQ(picker->text, "picked");
    picker->path({});
    EXPECT_EQ(picker->text, "选择文件…");
    picker->path(d);

    run.frame();
    scene.focus(picker);
    run.mark(&ui::Input::enter);
    auto browser = std::dynamic_pointer_cast<FileBrowser>(scene.find("file-browser"));
    ASSERT_TRUE(browser);
    EXPECT_FALSE(browser->directories);
    EXPECT_EQ(scene.focus(), browser->path_field);
    ASSERT_TRUE(settle(*browser));
    EXPECT_EQ(browser->current, d);

    browser->select(0);
    browser->accept();
    EXPECT_EQ(picker->path(), f);
    EXPECT_EQ(picker->text, "photo.png");
    EXPECT_EQ(paths, 4);
    EXPECT_EQ(changes, 4);

    auto folders = scene.root()->emplace<ui::DirectoryPicker>();
    EXPECT_EQ(folders->text, "选择目录…");
    folders->path(fs::path("/"));
    EXPECT_EQ(folders->text, "/"); // a root has no last component
    scene.focus(folders);
    run.mark(&ui::Input::enter);
    auto directories = std::dynamic_pointer_cast<FileBrowser>(scene.find("file-browser"));
    ASSERT_TRUE(directories);
    EXPECT_TRUE(directories->directories);
    EXPECT_EQ(directories->text, "选择目录");
}

TEST_F(FileBrowserTest, ClosingDuringALoadRunsNothingAndTicksNoMore) {
    const fs::path big = many_files("closing", 2000, 0);
    auto picker = scene.root()->emplace<ui::FilePicker>();
    picker->path(big);
    int paths = 0;
    picker->on_path = [&](const fs::path&) { ++paths; };
    run.frame();
    scene.focus(picker);
    run.key(ui::vk::space);
    auto browser = std::dynamic_pointer_cast<FileBrowser>(scene.find("file-browser"));
    ASSERT_TRUE(browser && browser->loading);

    browser->cancel_button->activate();
    EXPECT_FALSE(open_in_scene(*browser));
    // The result arrives, but a closed browser gets no tick, so it waits in the future.
    browser->pending.wait();
    run.frame();
    run.frame();
    EXPECT_TRUE(browser->loading);
    EXPECT_TRUE(browser->entries.empty());
    EXPECT_EQ(paths, 0);

    // Dropping the last reference during another load doesn't wait for the worker.
    scene.focus(picker);
    run.key(ui::vk::space);
    ASSERT_TRUE(std::dynamic_pointer_cast<FileBrowser>(scene.find("file-browser")));
    scene.close_top();
    browser.reset();
    run.idle(0.2);
    EXPECT_EQ(paths, 0);
    EXPECT_TRUE(scene.overlays().empty());
}

TEST_F(FileBrowserTest, DestroyingThePickerMakesAnAcceptHarmless) {
    const fs::path d = dir("orphan");
    file(d / "left.txt");
    auto picker = scene.root()->emplace<ui::FilePicker>();
    picker->path(d);
    int paths = 0;
    picker->on_path = [&](const fs::path&) { ++paths; };
    run.frame();
    // Opened without the focus on the picker: an overlay keeps the widget focused before it alive.
    ui::Event release = release_event({picker->screen_bounds.x + 5, picker->screen_bounds.y + 5});
    picker->event(release);
    ASSERT_TRUE(release.handled);
    auto browser = std::dynamic_pointer_cast<FileBrowser>(scene.find("file-browser"));
    ASSERT_TRUE(browser);
    paths = 0;

    std::weak_ptr<ui::FilePicker> gone = picker;
    scene.root()->remove(picker);
    picker.reset();
    ASSERT_TRUE(gone.expired());
    ASSERT_TRUE(settle(*browser));
    browser->select(0);
    browser->accept();
    EXPECT_FALSE(open_in_scene(*browser));
    EXPECT_EQ(paths, 0);
}

// ---- drive roots ------------------------------------------------------------------------------------

#if !defined(_WIN32)

TEST(Drives, MountTableKeepsUserVolumesOnly) {
    const std::string table = "/dev/sda2 / ext4 rw 0 0\n"
                              "proc /proc proc rw 0 0\n"
                              "tmpfs /tmp tmpfs rw 0 0\n"
                              "/dev/sda1 /boot/efi vfat rw 0 0\n"
                              "/dev/sdb1 /mnt/My\\040Disk ext4 rw 0 0\n"
                              "/dev/sdc1 /run/media/user/USB vfat rw 0 0\n"
                              "/dev/sdc2 /run/user/1000/doc fuse.portal rw 0 0\n"
                              "/dev/sdb1 /mnt/My\\040Disk ext4 rw 0 0\n"
                              "garbage\n";
    EXPECT_EQ(ui::detail::mounted_volumes(table),
              (std::vector<std::string>{"/mnt/My Disk", "/run/media/user/USB"}));

    const auto roots = ui::drive_roots();
    ASSERT_FALSE(roots.empty());
    EXPECT_EQ(roots.front(), "/");
    if (const char* home = std::getenv("HOME"); home && *home) {
        EXPECT_NE(std::find(roots.begin(), roots.end(), std::string(home)), roots.end());
    }
}
#endif

} // namespace
} // namespace velmora::test
