// File browser: a read-only modal dialog that picks one file or one directory, and the two
// buttons that open it.
//
//   Modal > FileBrowser            lists a directory read on a worker thread
//   Button > FilePicker > DirectoryPicker
//
//     auto browser = std::make_shared<FileBrowser>(false, "", [](const std::filesystem::path& p) { ... });
//     browser->open(scene);
//
// Each load runs on one detached worker that owns copies of its inputs and a shared
// reference to a promise; the browser keeps only the future and polls it in `tick` without
// blocking. The worker never touches a widget, so closing or destroying the browser during a
// load is safe: the result is dropped when its last reference goes. Navigating while a load
// runs only records the wish; the stale result is dropped and the newest directory is read,
// so one browser never has more than one worker running.
#pragma once

#include "velmora/core/export.hpp"
#include "velmora/scene/widget.hpp"
#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/control_kind.hpp"
#include "velmora/widgets/dialogs.hpp"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace velmora::ui {

class ComboSelect;
class ListBox;
class Scene;
class TextField;

class VELMORA_API FileBrowser : public Modal {
public:
    // Entries stepped past by one load, skipped ones included; the rest of the directory is
    // not read, so listing, sorting and painting stay cheap.
    static constexpr std::size_t entry_limit = 4096;

    struct Entry {
        std::filesystem::path path;
        bool directory = false;
    };

    struct Result {
        std::vector<Entry> entries;
        std::string error; // empty, a warning, or a hard failure
        std::filesystem::path path;
    };

    // An empty start means the current directory; a file means its parent.
    FileBrowser(bool pick_directories = false, std::filesystem::path start = {},
                std::function<void(const std::filesystem::path&)> accepted = {});

    bool directories = false;
    bool loading = false;
    std::filesystem::path current;
    std::filesystem::path requested;
    std::vector<Entry> entries;
    std::future<Result> pending; // valid while a worker is outstanding
    // Whom the worker wakes when its result is ready: the scene's waker, handed over by tick,
    // since the first load starts before the browser has a scene.
    struct Wake {
        std::mutex mutex;
        std::function<void()> call;
    };
    std::shared_ptr<Wake> wake = std::make_shared<Wake>();
    std::string error;
    std::function<void(const std::filesystem::path&)> on_accept;
    std::shared_ptr<TextField> path_field;
    std::shared_ptr<ListBox> list;
    std::shared_ptr<Button> up_button, accept_button, cancel_button;
    std::shared_ptr<Label> status;
    std::shared_ptr<ComboSelect> drives;

    // An empty path reloads the directory on show.
    void navigate(const std::filesystem::path& path);
    // Throws std::system_error "thread constructor failed" when no worker can be started.
    void start_load();
    // Closes and answers with the selected item, or the directory on show; opens a selected
    // directory instead when picking files. Does nothing during a load.
    void accept();
    void select(int index);

    // What one worker does; runs on any thread and touches nothing but the file system.
    static Result read_directory(const std::filesystem::path& path, bool directories_only);

    ControlKind kind() const override { return ControlKind::Modal; }
    const char* class_name() const override { return "FileBrowser"; }
    void layout(Scene& owner) override;
    void tick(Scene& owner) override;

private:
    void show_status(const std::string& line);
    void commit(Result result);
};

class VELMORA_API FilePicker : public Button {
public:
    FilePicker();

    std::function<void(const std::filesystem::path&)> on_path;
    bool directories = false;

    const std::filesystem::path& path() const { return path_; }
    // Stores the path, captions the button with its last component, runs on_change, then on_path.
    void path(std::filesystem::path value);

    ControlKind kind() const override { return ControlKind::FilePicker; }
    const char* class_name() const override { return "FilePicker"; }
    // A release inside, Space or Enter opens a fresh browser over the scene.
    void event(Event& e) override;

private:
    std::filesystem::path path_;
};

class VELMORA_API DirectoryPicker : public FilePicker {
public:
    DirectoryPicker();
    ControlKind kind() const override { return ControlKind::DirectoryPicker; }
    const char* class_name() const override { return "DirectoryPicker"; }
};

} // namespace velmora::ui
