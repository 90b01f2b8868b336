// File browser and file pickers.
//
//   - paths as UTF-8
//   - the worker: reading and sorting one directory
//   - FileBrowser: construction, layout, navigation, loads, accepting
//   - FilePicker, DirectoryPicker
#include "velmora/widgets/file_browser.hpp"

#include "velmora/core/utf8.hpp"
#include "velmora/scene/scene.hpp"
#include "velmora/widgets/drives.hpp"
#include "velmora/widgets/lists.hpp"
#include "velmora/widgets/text_field.hpp"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

namespace velmora::ui {

namespace fs = std::filesystem;

namespace {

const std::string status_reading = "读取目录…";
const std::string hard_failure = "目录无法读取：";

// ---- paths as UTF-8 -------------------------------------------------------------------------

std::string raw_utf8(const fs::path& p) {
    const auto bytes = p.u8string();
    return {bytes.begin(), bytes.end()};
}

// Names need not be valid UTF-8 on every system; what doesn't decode shows as U+FFFD, so the
// text can go into any control.
std::string shown(const fs::path& p) {
    const std::string raw = raw_utf8(p);
    std::string out;
    for (std::size_t i = 0; i < raw.size();) {
        char32_t cp = 0;
        const std::size_t n = decode_utf8(raw, i, cp);
        if (n == 0) {
            append_utf8(out, 0xFFFD);
            ++i;
        } else {
            out.append(raw, i, n);
            i += n;
        }
    }
    return out;
}

fs::path path_of(const std::string& text) { return fs::path(std::u8string(text.begin(), text.end())); }

// ASCII-only folding keeps the order byte-exact for every other script.
std::string sort_key(const fs::path& p) {
    std::string key = raw_utf8(p.filename());
    for (char& c : key) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 128) c = static_cast<char>(std::tolower(byte));
    }
    return key;
}

} // namespace

// ---- the worker ----------------------------------------------------------------------------------

FileBrowser::Result FileBrowser::read_directory(const fs::path& path, bool directories_only) {
    Result result;
    result.path = path;
    std::error_code ec;
    fs::directory_iterator it(path, ec);
    if (ec) {
        result.error = hard_failure + ec.message();
        return result;
    }
    std::size_t count = 0;
    for (const fs::directory_iterator end; it != end && count < entry_limit;) {
        std::error_code kind_error;
        const bool directory = it->is_directory(kind_error);
        if (!kind_error && (directory || !directories_only))
            result.entries.push_back({it->path(), directory});
        it.increment(ec);
        if (ec) {
            result.error = "部分条目无法读取";
            break;
        }
        ++count;
    }
    if (count >= entry_limit) result.error = "目录超过 4096 项，仅展示前 4096 项";

    // Keys are computed once; comparing them builds no strings.
    std::vector<std::pair<std::string, Entry>> keyed;
    keyed.reserve(result.entries.size());
    for (auto& entry : result.entries) keyed.emplace_back(sort_key(entry.path), std::move(entry));
    std::sort(keyed.begin(), keyed.end(), [](const auto& a, const auto& b) {
        if (a.second.directory != b.second.directory) return a.second.directory;
        return std::lexicographical_compare(
            a.first.begin(), a.first.end(), b.first.begin(), b.first.end(),
            [](char x, char y) { return static_cast<unsigned char>(x) < static_cast<unsigned char>(y); });
    });
    result.entries.clear();
    for (auto& item : keyed) result.entries.push_back(std::move(item.second));
    return result;
}

// ---- FileBrowser -----------------------------------------------------------------------------------

FileBrowser::FileBrowser(bool pick_directories, fs::path start, std::function<void(const fs::path&)> accepted)
    : Modal(pick_directories ? "选择目录" : "选择文件"), directories(pick_directories),
      on_accept(std::move(accepted)) {
    bounds = {0, 0, 720, 500};
    id = "file-browser";

    // Children reach the browser through their parent link, so one taken out of it does nothing.
    path_field = emplace<TextField>();
    path_field->max_length = 32768;
    path_field->on_submit = [field = path_field.get()](const std::string& typed) {
        if (auto* browser = dynamic_cast<FileBrowser*>(field->parent)) browser->navigate(path_of(typed));
    };
    up_button = emplace<Button>("上一级");
    up_button->on_activate = [](Widget& w) {
        if (auto* browser = dynamic_cast<FileBrowser*>(w.parent))
            browser->navigate(browser->current.parent_path());
    };
    list = emplace<ListBox>();
    list->on_item_activate = [box = list.get()](int index) {
        auto* browser = dynamic_cast<FileBrowser*>(box->parent);
        if (!browser || index < 0 || static_cast<std::size_t>(index) >= browser->entries.size()) return;
        const Entry entry = browser->entries[static_cast<std::size_t>(index)];
        if (entry.directory)
            browser->navigate(entry.path);
        else if (!browser->directories)
            browser->accept();
    };
    accept_button = emplace<Button>(text);
    accept_button->accent = true;
    accept_button->on_activate = [](Widget& w) {
        if (auto* browser = dynamic_cast<FileBrowser*>(w.parent)) browser->accept();
    };
    cancel_button = emplace<Button>("取消");
    cancel_button->on_activate = [](Widget& w) {
        if (auto* browser = dynamic_cast<FileBrowser*>(w.parent)) browser->close();
    };
    status = emplace<Label>(status_reading);
    status->font_size = 12;
    drives = emplace<ComboSelect>(drive_roots());
    drives->on_change = [](Widget& w) {
        auto* browser = dynamic_cast<FileBrowser*>(w.parent);
        if (browser) browser->navigate(path_of(static_cast<ComboSelect&>(w).value()));
    };

    std::error_code ec;
    if (start.empty()) start = fs::current_path(ec);
    if (fs::is_regular_file(start, ec)) start = start.parent_path();
    navigate(start);
}

void FileBrowser::layout(Scene&) {
    const float w = bounds.w;
    const float h = bounds.h;
    path_field->bounds = {16, 58, std::max(w - 132, 0.0f), 36};
    up_button->bounds = {w - 106, 58, 90, 36};
    drives->bounds = {16, 104, 120, 32};
    status->bounds = {148, 104, std::max(w - 164, 0.0f), 32};
    list->bounds = {16, 146, std::max(w - 32, 0.0f), std::max(h - 210, 0.0f)};
    cancel_button->bounds = {w - 238, h - 46, 96, 32};
    accept_button->bounds = {w - 132, h - 46, 116, 32};
}

void FileBrowser::show_status(const std::string& line) { status->text = line; }

void FileBrowser::select(int index) { list->select(index); }

void FileBrowser::navigate(const fs::path& path) {
    std::error_code ec;
    fs::path target = fs::absolute(path.empty() ? current : path, ec);
    if (ec) {
        error = "目录不存在或无访问权限";
        show_status(error);
        return;
    }
    target = target.lexically_normal();
    // "/a/b/" and "/a/b" are one directory; keeping one spelling keeps "up" and captions right.
    if (!target.has_filename() && target.has_relative_path()) target = target.parent_path();
    requested = std::move(target);
    // A running worker is left alone; tick sees that it read an older wish and reads again.
    if (!pending.valid()) start_load();
}

void FileBrowser::start_load() {
    loading = true;
    error.clear();
    show_status(status_reading);
    auto promise = std::make_shared<std::promise<Result>>();
    pending = promise->get_future();
    try {
        std::thread([promise, path = requested, only_directories = directories, wake = wake] {
            try {
                promise->set_value(read_directory(path, only_directories));
            } catch (...) {
                promise->set_exception(std::current_exception());
            }
            std::lock_guard lock(wake->mutex);
            if (wake->call) wake->call();
        }).detach();
    } catch (const std::system_error& failure) {
        pending = {};
        loading = false;
        throw std::system_error(failure.code(), "thread constructor failed");
    }
}

void FileBrowser::tick(Scene& owner) {
    if (!pending.valid()) return;
    // Handed over before the result is looked at: a worker that finishes after the look wakes.
    const std::function<void()>& waker = owner.waker();
    {
        std::lock_guard lock(wake->mutex);
        if (waker && !wake->call) wake->call = waker;
    }
    if (pending.wait_until(std::chrono::steady_clock::now()) != std::future_status::ready) {
        if (!waker) owner.redraw_at(owner.time() + 0.05); // nothing can wake this loop: look again
        return;
    }
    Result result;
    try {
        result = pending.get();
    } catch (const std::exception& failure) {
        error = failure.what();
        show_status(error);
        loading = false;
        return;
    }
    if (result.path != requested) {
        start_load();
        return;
    }
    if (result.error.starts_with(hard_failure)) {
        // The last good listing stays on show.
        error = std::move(result.error);
        show_status(error);
        loading = false;
        return;
    }
    commit(std::move(result));
}

void FileBrowser::commit(Result result) {
    current = std::move(result.path);
    entries = std::move(result.entries);
    error = std::move(result.error);
    std::vector<std::string> rows;
    rows.reserve(entries.size());
    for (const Entry& entry : entries)
        rows.push_back((entry.directory ? "[目录]  " : "[文件]  ") + shown(entry.path.filename()));
    list->items = std::move(rows);
    list->select(-1);
    list->scroll(0);
    path_field->value(shown(current));
    show_status(error.empty() ? std::to_string(entries.size()) + " 项 · 只读浏览，不创建或删除文件" : error);
    loading = false;
}

void FileBrowser::accept() {
    if (loading) return;
    fs::path candidate = current;
    const int index = list->selected();
    if (index >= 0 && static_cast<std::size_t>(index) < entries.size()) {
        const Entry& entry = entries[static_cast<std::size_t>(index)];
        if (!directories && entry.directory) {
            navigate(entry.path);
            return;
        }
        candidate = entry.path;
    }
    std::error_code ec;
    const fs::file_status kind_of = fs::status(candidate, ec);
    const bool fits = !ec && (directories ? fs::is_directory(kind_of) : fs::is_regular_file(kind_of));
    if (!fits) {
        error = std::string("请选择有效的") + (directories ? "目录" : "文件");
        show_status(error);
        return;
    }
    auto callback = on_accept; // closing may destroy the browser
    close();
    if (callback) callback(candidate);
}

// ---- FilePicker, DirectoryPicker ---------------------------------------------------------------------

FilePicker::FilePicker() : Button("选择文件…") { bounds.w = 260; }

void FilePicker::path(fs::path value) {
    path_ = std::move(value);
    if (path_.empty()) {
        text = directories ? "选择目录…" : "选择文件…";
    } else {
        text = shown(path_.filename());
        if (text.empty()) text = shown(path_); // a root has no last component
    }
    changed();
    if (!on_path) return;
    auto callback = on_path;
    const fs::path chosen = path_;
    callback(chosen);
}

void FilePicker::event(Event& e) {
    if (!trigger(e)) return;
    e.handled = true;
    if (!scene) return;
    // The browser is made afresh and owned by the overlay stack alone; it may outlive us.
    std::weak_ptr<FilePicker> self = std::static_pointer_cast<FilePicker>(shared_from_this());
    auto browser = std::make_shared<FileBrowser>(directories, path_, [self](const fs::path& chosen) {
        if (auto picker = self.lock()) picker->path(chosen);
    });
    browser->open(*scene);
    scene->focus(browser->path_field);
}

DirectoryPicker::DirectoryPicker() {
    directories = true;
    text = "选择目录…";
}

} // namespace velmora::ui
