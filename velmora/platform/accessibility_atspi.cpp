// AccessibilityBridge on Linux: the AT-SPI2 protocol over D-Bus, through sd-bus.
//
//   - the bridge: the session bus watched for org.a11y.Status, the accessibility bus while on
//   - the watcher thread that wakes the program's loop when a request arrives
//   - objects: paths, references, roles and states
//   - requests: Accessible, Component, Action, Value, Text, EditableText, Selection, Table,
//     Application, Properties and the Cache
//   - events
//
// A thread of its own answers the questions at once, even while the program draws a slow
// frame, from the tree as the last frame left it; the program holds the bridge (lock()) while it
// changes the scene and the tree. What changes the program (an action, a value, text) waits
// for the program's thread, in serve(), and is answered from there. A bus that goes away
// switches the bridge off, and nothing here waits for an answer longer than a second.
#include "velmora/platform/accessibility.hpp"

#include <systemd/sd-bus.h>

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string_view>
#include <thread>

namespace velmora::ui {

namespace {

constexpr const char* prefix = "/org/a11y/atspi/accessible";
constexpr const char* root_path = "/org/a11y/atspi/accessible/root";
constexpr const char* null_path = "/org/a11y/atspi/null";
constexpr const char* cache_path = "/org/a11y/atspi/cache";
constexpr const char* desktop = "desktop";      // stands for the desktop's path, on the registry's connection
constexpr std::uint64_t call_timeout = 1000000; // microseconds

// ---- roles, states, actions ---------------------------------------------------------------------

struct RoleName {
    std::uint32_t number;
    const char* name;
};

RoleName role_name(AccessibleRole role) {
    using R = AccessibleRole;
    switch (role) {
    case R::application:
        return {75, "application"};
    case R::window:
        return {23, "frame"};
    case R::dialog:
        return {16, "dialog"};
    case R::alert:
        return {2, "alert"};
    case R::panel:
        return {39, "panel"};
    case R::label:
        return {29, "label"};
    case R::image:
        return {27, "image"};
    case R::separator:
        return {50, "separator"};
    case R::push_button:
        return {43, "push button"};
    case R::toggle_button:
        return {62, "toggle button"};
    case R::check_box:
        return {7, "check box"};
    case R::radio_button:
        return {44, "radio button"};
    case R::slider:
        return {51, "slider"};
    case R::scroll_bar:
        return {48, "scroll bar"};
    case R::progress_bar:
        return {42, "progress bar"};
    case R::spin_button:
        return {52, "spin button"};
    case R::entry:
        return {79, "entry"};
    case R::password_text:
        return {40, "password text"};
    case R::text:
        return {61, "text"};
    case R::combo_box:
        return {11, "combo box"};
    case R::list_box:
        return {98, "list box"};
    case R::list_item:
        return {32, "list item"};
    case R::tree:
        return {65, "tree"};
    case R::tree_item:
        return {91, "tree item"};
    case R::table:
        return {55, "table"};
    case R::table_cell:
        return {56, "table cell"};
    case R::page_tab_list:
        return {38, "page tab list"};
    case R::page_tab:
        return {37, "page tab"};
    case R::menu_bar:
        return {34, "menu bar"};
    case R::menu:
        return {33, "menu"};
    case R::menu_item:
        return {35, "menu item"};
    case R::check_menu_item:
        return {8, "check menu item"};
    case R::tool_bar:
        return {63, "tool bar"};
    case R::status_bar:
        return {54, "status bar"};
    case R::tool_tip:
        return {64, "tool tip"};
    case R::notification:
        return {101, "notification"};
    case R::info_bar:
        return {102, "info bar"};
    case R::scroll_pane:
        return {49, "scroll pane"};
    case R::split_pane:
        return {53, "split pane"};
    case R::color_chooser:
        return {9, "color chooser"};
    case R::date_editor:
        return {12, "date editor"};
    case R::animation:
        return {3, "animation"};
    case R::unknown:
        break;
    }
    return {67, "unknown"};
}

// Our state bits, each with its AT-SPI state number and the name its change event carries.
struct StateName {
    std::uint32_t bit;
    std::uint32_t number;
    const char* name;
};

namespace st = accessible_state;
constexpr StateName state_names[] = {
    {st::enabled, 8, "enabled"},
    {st::enabled, 24, "sensitive"},
    {st::focusable, 11, "focusable"},
    {st::focused, 12, "focused"},
    {st::checkable, 41, "checkable"},
    {st::checked, 4, "checked"},
    {st::mixed, 32, "indeterminate"},
    {st::selectable, 22, "selectable"},
    {st::selected, 23, "selected"},
    {st::expandable, 9, "expandable"},
    {st::expanded, 10, "expanded"},
    {st::editable, 7, "editable"},
    {st::read_only, 43, "read-only"},
    {st::multi_line, 17, "multi-line"},
    {st::modal, 16, "modal"},
    {st::visible, 30, "visible"},
    {st::showing, 25, "showing"},
    {st::active, 1, "active"},
    {st::has_popup, 42, "has-popup"},
    {st::busy, 3, "busy"},
    {st::horizontal, 14, "horizontal"},
    {st::vertical, 29, "vertical"},
    {st::multi_selectable, 18, "multiselectable"},
};

struct ActionName {
    std::uint32_t bit;
    const char* name;
    const char* description;
};

namespace ac = accessible_action;
constexpr ActionName action_names[] = {
    {ac::press, "click", "Clicks the control"},
    {ac::toggle, "toggle", "Turns the control on or off"},
    {ac::activate, "activate", "Activates the control"},
    {ac::expand, "expand or contract", "Opens or closes the control"},
    {ac::select, "select", "Selects the item"},
};

// The bit of the n-th action a control offers; 0 past the last.
std::uint32_t nth_action(std::uint32_t actions, std::int32_t n) {
    for (const ActionName& a : action_names)
        if ((actions & a.bit) && n-- == 0) return a.bit;
    return 0;
}

int action_count(std::uint32_t actions) {
    int n = 0;
    for (const ActionName& a : action_names) n += (actions & a.bit) ? 1 : 0;
    return n;
}

// ---- text offsets: the bus counts characters, the tree bytes ------------------------------------

std::int32_t characters(std::string_view s, std::size_t bytes) {
    std::int32_t n = 0;
    for (std::size_t i = 0; i < std::min(bytes, s.size()); ++i)
        n += (static_cast<unsigned char>(s[i]) & 0xC0) != 0x80;
    return n;
}

// The byte where character `n` starts, clamped to the text.
std::size_t byte_of(std::string_view s, std::int64_t n) {
    if (n <= 0) return 0;
    for (std::size_t i = 0; i < s.size(); ++i)
        if ((static_cast<unsigned char>(s[i]) & 0xC0) != 0x80 && n-- == 0) return i;
    return s.size();
}

// ---- what a path names --------------------------------------------------------------------------

struct Target {
    bool application = false;
    std::uint64_t id = 0;
    std::int32_t item = -1;
};

bool parse(const char* path, Target& out) {
    if (!path) return false;
    if (std::strcmp(path, root_path) == 0) {
        out.application = true;
        return true;
    }
    const std::size_t n = std::strlen(prefix);
    if (std::strncmp(path, prefix, n) != 0 || path[n] != '/') return false;
    char* end = nullptr;
    errno = 0;
    out.id = std::strtoull(path + n + 1, &end, 10);
    if (errno || end == path + n + 1) return false;
    if (*end == '_') {
        const char* start = end + 1;
        const long index = std::strtol(start, &end, 10);
        if (end == start || index < 0 || index > INT32_MAX) return false;
        out.item = static_cast<std::int32_t>(index);
    }
    return *end == 0;
}

std::string path_of(std::uint64_t id, std::int32_t item = -1) {
    std::string p = std::string(prefix) + '/' + std::to_string(id);
    if (item >= 0) p += '_' + std::to_string(item);
    return p;
}

// One object's answers, whether a node of the tree, one of its items or the application.
struct View {
    AccessibleRole role = AccessibleRole::unknown;
    std::uint32_t states = 0;
    std::uint32_t actions = 0;
    std::string name, description, automation_id, parent_path;
    const char* class_name = "";
    Rect bounds;
    std::int32_t index = 0; // in the parent
    std::int32_t child_count = 0;
    std::int32_t level = -1;              // a tree row's depth
    const AccessibleNode* node = nullptr; // only for nodes
};

// ---- the bridge ---------------------------------------------------------------------------------

class AtspiBridge final : public AccessibilityBridge {
public:
    AtspiBridge(AccessibleHost& host, std::string application, std::function<void()> wake);
    ~AtspiBridge() override;

    bool listening() const override { return listening_; }
    bool serve() override;
    void publish(const std::vector<AccessibleChange>& changes) override;
    void lock() override { mutex_.lock(); }
    void unlock() override { mutex_.unlock(); }

private:
    // The watcher: polls the sockets while the program sleeps.
    void watch();
    void rewatch();
    // Answers `m` later, on the program's thread: `work` changes the program, and says whether
    // it could. `boolean`: the reply carries that answer, else a refusal is an error.
    int later(sd_bus_message* m, bool boolean, std::function<bool()> work);
    // Reads org.a11y.Status and connects or disconnects to match.
    void check_status();
    void connect();
    void disconnect();
    static int on_status(sd_bus_message* m, void* self, sd_bus_error*);
    static int on_embedded(sd_bus_message* m, void* self, sd_bus_error*);
    static int on_call(sd_bus_message* m, void* self, sd_bus_error* error);
    static int on_cache(sd_bus_message* m, void* self, sd_bus_error* error);

    bool view(const Target& t, View& out) const;
    std::string child_path(const AccessibleNode& n, std::int32_t i) const;
    int append_reference(sd_bus_message* m, const std::string& path) const;
    int append_states(sd_bus_message* m, std::uint32_t states) const;
    int append_interfaces(sd_bus_message* m, const Target& t, const View& v) const;
    int append_property(sd_bus_message* m, const Target& t, const View& v, std::string_view iface,
                        std::string_view property) const;
    int append_cache_item(sd_bus_message* m, const std::string& path, const View& v) const;
    int call(sd_bus_message* m, const Target& t, const View& v, std::string_view iface,
             std::string_view member);
    int text_call(sd_bus_message* m, const Target& t, const View& v, std::string_view member);
    void emit(const std::string& path, const char* iface, const char* member, const char* detail,
              std::int32_t one, std::int32_t two, char type, const void* data) const;

    AccessibleHost& host_;
    std::string application_;
    std::function<void()> wake_;
    sd_bus* session_ = nullptr;
    sd_bus* bus_ = nullptr; // the accessibility bus, while on
    std::string unique_name_;
    std::string desktop_name_ = "org.a11y.atspi.Registry";
    std::int32_t application_id_ = 0;
    bool embedded_ = false; // registered on the accessibility bus now open
    std::atomic<bool> listening_{false};

    struct Deferred {
        sd_bus_message* call;
        bool boolean;
        std::function<bool()> work;
    };
    std::vector<Deferred> deferred_;
    std::atomic<bool> ready_{false}; // deferred_ holds work
    bool fresh_ = false;             // switched on: the next frame describes the tree

    std::thread watcher_;
    int pipe_[2] = {-1, -1}; // wakes the watcher: to stop, or to watch other sockets
    std::atomic<bool> stop_{false};
    std::recursive_mutex mutex_; // the buses, the host's tree, deferred_
};

AtspiBridge::AtspiBridge(AccessibleHost& host, std::string application, std::function<void()> wake)
    : host_(host), application_(std::move(application)), wake_(std::move(wake)) {
    if (sd_bus_open_user(&session_) < 0) {
        session_ = nullptr;
        return;
    }
    sd_bus_set_method_call_timeout(session_, call_timeout);
    sd_bus_match_signal(session_, nullptr, "org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties",
                        "PropertiesChanged", &AtspiBridge::on_status, this);
    check_status();
    if (pipe(pipe_) != 0) return;
    watcher_ = std::thread([this] { watch(); });
}

AtspiBridge::~AtspiBridge() {
    if (watcher_.joinable()) {
        stop_ = true;
        rewatch();
        watcher_.join();
    }
    for (int fd : pipe_)
        if (fd >= 0) close(fd);
    for (const Deferred& d : deferred_) sd_bus_message_unref(d.call);
    disconnect();
    if (session_) sd_bus_close_unref(session_);
}

// ---- the watcher --------------------------------------------------------------------------------

void AtspiBridge::watch() {
    while (!stop_) {
        pollfd fds[3] = {{pipe_[0], POLLIN, 0}, {-1, 0, 0}, {-1, 0, 0}};
        {
            std::lock_guard hold(mutex_);
            // A failing bus is one that went away: the session takes the bridge off for good, the
            // accessibility bus until the status says otherwise.
            int r = 1;
            while (session_ && r > 0) r = sd_bus_process(session_, nullptr);
            if (session_ && r < 0) {
                disconnect();
                sd_bus_close_unref(session_);
                session_ = nullptr;
            }
            for (r = 1; bus_ && r > 0;) r = sd_bus_process(bus_, nullptr);
            if (bus_ && r < 0) disconnect();
            if (!deferred_.empty() || fresh_) {
                ready_ = true;
                wake_();
            }
            for (int k = 1; k < 3; ++k)
                if (sd_bus* bus = k == 1 ? session_ : bus_) {
                    fds[k].fd = sd_bus_get_fd(bus);
                    fds[k].events = static_cast<short>(std::max(sd_bus_get_events(bus), 0));
                }
        }
        if (poll(fds, 3, -1) < 0 && errno != EINTR) return;
        if (fds[0].revents) {
            char drained[16];
            [[maybe_unused]] const auto n = read(pipe_[0], drained, sizeof drained);
        }
    }
}

void AtspiBridge::rewatch() {
    if (pipe_[1] >= 0) [[maybe_unused]]
        const auto n = write(pipe_[1], "x", 1);
}

int AtspiBridge::later(sd_bus_message* m, bool boolean, std::function<bool()> work) {
    deferred_.push_back({sd_bus_message_ref(m), boolean, std::move(work)});
    return 1;
}

bool AtspiBridge::serve() {
    if (!ready_.exchange(false)) return false;
    std::lock_guard hold(mutex_);
    bool changed = fresh_;
    fresh_ = false;
    for (Deferred& d : deferred_) {
        const bool done = d.work();
        changed = changed || done;
        if (bus_ && d.boolean) sd_bus_reply_method_return(d.call, "b", done);
        if (bus_ && !d.boolean && done) sd_bus_reply_method_return(d.call, "");
        if (bus_ && !d.boolean && !done)
            sd_bus_reply_method_errorf(d.call, SD_BUS_ERROR_INVALID_ARGS, "Refused");
        sd_bus_message_unref(d.call);
    }
    deferred_.clear();
    rewatch(); // the replies may wait in the queue for the socket
    return changed;
}

// ---- switching on and off -----------------------------------------------------------------------

void AtspiBridge::check_status() {
    bool on = false;
    for (const char* property : {"IsEnabled", "ScreenReaderEnabled"}) {
        int value = 0;
        if (sd_bus_get_property_trivial(session_, "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Status",
                                        property, nullptr, 'b', &value) >= 0)
            on = on || value;
    }
    if (on && !bus_) connect();
    if (!on && bus_) disconnect();
}

int AtspiBridge::on_status(sd_bus_message*, void* self, sd_bus_error*) {
    static_cast<AtspiBridge*>(self)->check_status();
    return 0;
}

void AtspiBridge::connect() {
    std::string address;
    if (const char* given = std::getenv("AT_SPI_BUS_ADDRESS"); given && *given) {
        address = given;
    } else {
        sd_bus_message* reply = nullptr;
        const char* found = nullptr;
        if (sd_bus_call_method(session_, "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress",
                               nullptr, &reply, "") >= 0 &&
            sd_bus_message_read(reply, "s", &found) >= 0 && found)
            address = found;
        sd_bus_message_unref(reply);
    }
    if (address.empty()) return;
    sd_bus* bus = nullptr;
    if (sd_bus_new(&bus) < 0) return;
    const char* unique = nullptr;
    if (sd_bus_set_address(bus, address.c_str()) < 0 || sd_bus_set_bus_client(bus, 1) < 0 ||
        sd_bus_start(bus) < 0 || sd_bus_get_unique_name(bus, &unique) < 0) {
        sd_bus_unref(bus);
        return;
    }
    bus_ = bus;
    listening_ = true;
    unique_name_ = unique;
    fresh_ = true;
    sd_bus_set_method_call_timeout(bus_, call_timeout);
    sd_bus_add_fallback(bus_, nullptr, prefix, &AtspiBridge::on_call, this);
    sd_bus_add_object(bus_, nullptr, cache_path, &AtspiBridge::on_cache, this);
    rewatch();
}

int AtspiBridge::on_embedded(sd_bus_message* m, void* self, sd_bus_error*) {
    auto& bridge = *static_cast<AtspiBridge*>(self);
    const char* name = nullptr;
    const char* path = nullptr;
    if (!sd_bus_message_is_method_error(m, nullptr) && sd_bus_message_read(m, "(so)", &name, &path) >= 0 &&
        name)
        bridge.desktop_name_ = name;
    // The window is active from the start: a screen reader reads only the active window.
    const std::int32_t zero = 0;
    bridge.emit(path_of(bridge.host_.root()), "org.a11y.atspi.Event.Window", "Activate", "", 0, 0, 'i',
                &zero);
    return 0;
}

void AtspiBridge::disconnect() {
    if (!bus_) return;
    sd_bus_close_unref(bus_);
    bus_ = nullptr;
    listening_ = false;
    embedded_ = false;
    rewatch();
}

// ---- objects ------------------------------------------------------------------------------------

bool AtspiBridge::view(const Target& t, View& v) const {
    namespace st = accessible_state;
    if (t.application) {
        v.role = AccessibleRole::application;
        v.name = application_;
        v.parent_path = desktop;
        v.child_count = host_.node(host_.root()) ? 1 : 0;
        return true;
    }
    const AccessibleNode* n = host_.node(t.id);
    if (!n) return false;
    if (t.item >= 0) {
        AccessibleItem item;
        if (t.item >= n->items || !host_.item(t.id, t.item, item)) return false;
        v.role = item.role;
        v.states = item.states;
        v.actions = item.role == AccessibleRole::menu_item || item.role == AccessibleRole::check_menu_item
                        ? ac::press
                        : ac::select | (item.role == AccessibleRole::tree_item ? ac::expand : 0);
        v.name = std::move(item.name);
        v.bounds = item.bounds;
        v.parent_path = path_of(t.id);
        v.index = static_cast<std::int32_t>(n->children.size()) + t.item;
        v.level = item.role == AccessibleRole::tree_item ? item.level : -1;
        return true;
    }
    v.node = n;
    v.role = n->role;
    v.states = n->states;
    v.actions = n->actions;
    v.name = n->name;
    v.description = n->description;
    v.automation_id = n->automation_id;
    v.class_name = n->class_name;
    v.bounds = n->bounds;
    v.child_count = static_cast<std::int32_t>(n->children.size()) + n->items;
    if (const AccessibleNode* parent = host_.node(n->parent)) {
        v.parent_path = path_of(parent->id);
        const auto at = std::find(parent->children.begin(), parent->children.end(), n->id);
        v.index = static_cast<std::int32_t>(at - parent->children.begin());
    } else {
        v.parent_path = root_path;
    }
    if (n->has_text && !(n->states & st::multi_line) && (n->states & st::editable)) v.states |= st::editable;
    return true;
}

std::string AtspiBridge::child_path(const AccessibleNode& n, std::int32_t i) const {
    const auto own = static_cast<std::int32_t>(n.children.size());
    if (i < 0 || i >= own + n.items) return {};
    return i < own ? path_of(n.children[static_cast<std::size_t>(i)]) : path_of(n.id, i - own);
}

int AtspiBridge::append_reference(sd_bus_message* m, const std::string& path) const {
    if (path.empty()) return sd_bus_message_append(m, "(so)", "", null_path);
    if (path == desktop) return sd_bus_message_append(m, "(so)", desktop_name_.c_str(), root_path);
    return sd_bus_message_append(m, "(so)", unique_name_.c_str(), path.c_str());
}

int AtspiBridge::append_states(sd_bus_message* m, std::uint32_t states) const {
    std::uint32_t words[2] = {0, 0};
    for (const StateName& s : state_names)
        if (states & s.bit) words[s.number / 32] |= 1u << (s.number % 32);
    if (states & st::expandable && !(states & st::expanded)) words[0] |= 1u << 5; // collapsed
    if (!(states & st::multi_line) && (states & (st::editable | st::read_only))) words[0] |= 1u << 26;
    return sd_bus_message_append(m, "au", 2, words[0], words[1]);
}

constexpr const char* interface_names[] = {
    "org.a11y.atspi.Accessible",   "org.a11y.atspi.Component", "org.a11y.atspi.Application",
    "org.a11y.atspi.Action",       "org.a11y.atspi.Value",     "org.a11y.atspi.Text",
    "org.a11y.atspi.EditableText", "org.a11y.atspi.Selection", "org.a11y.atspi.Table",
};

// Whether the object answers an interface of interface_names.
bool has_interface(const Target& t, const View& v, std::string_view name) {
    const AccessibleNode* n = v.node;
    if (name == interface_names[0] || name == interface_names[1]) return true;
    if (name == interface_names[2]) return t.application;
    if (name == interface_names[3]) return v.actions != 0;
    if (name == interface_names[4]) return n && n->has_value;
    if (name == interface_names[5]) return n && n->has_text;
    if (name == interface_names[6]) return n && n->has_text && (n->states & st::editable);
    if (name == interface_names[7]) return n && n->items > 0;
    if (name == interface_names[8]) return n && n->columns > 0;
    return false;
}

int AtspiBridge::append_interfaces(sd_bus_message* m, const Target& t, const View& v) const {
    int r = sd_bus_message_open_container(m, 'a', "s");
    for (const char* name : interface_names)
        if (r >= 0 && has_interface(t, v, name)) r = sd_bus_message_append(m, "s", name);
    return r < 0 ? r : sd_bus_message_close_container(m);
}

int AtspiBridge::append_property(sd_bus_message* m, const Target& t, const View& v, std::string_view iface,
                                 std::string_view property) const {
    const AccessibleNode* n = v.node;
    const auto text = [m](const std::string& s) { return sd_bus_message_append(m, "v", "s", s.c_str()); };
    const auto number = [m](double d) { return sd_bus_message_append(m, "v", "d", d); };
    const auto integer = [m](std::int32_t i) { return sd_bus_message_append(m, "v", "i", i); };
    if (iface == "org.a11y.atspi.Accessible") {
        if (property == "Name") return text(v.name);
        if (property == "Description") return text(v.description);
        if (property == "Locale") return text("");
        if (property == "AccessibleId") return text(v.automation_id);
        if (property == "ChildCount") return integer(v.child_count);
        if (property == "Parent") {
            int r = sd_bus_message_open_container(m, 'v', "(so)");
            if (r >= 0) r = append_reference(m, v.parent_path);
            return r < 0 ? r : sd_bus_message_close_container(m);
        }
    } else if (iface == "org.a11y.atspi.Application" && t.application) {
        if (property == "ToolkitName") return text("VelmoraUI");
        if (property == "Version") return text("0.2");
        if (property == "AtspiVersion") return text("2.1");
        if (property == "Id") return integer(application_id_);
    } else if (iface == "org.a11y.atspi.Action" && v.actions) {
        if (property == "NActions") return integer(action_count(v.actions));
    } else if (iface == "org.a11y.atspi.Value" && n && n->has_value) {
        if (property == "CurrentValue") return number(n->value);
        if (property == "MinimumValue") return number(n->minimum);
        if (property == "MaximumValue") return number(n->maximum);
        if (property == "MinimumIncrement") return number(n->step);
        if (property == "Text") return text("");
    } else if (iface == "org.a11y.atspi.Text" && n && n->has_text) {
        if (property == "CharacterCount") return integer(characters(n->text, n->text.size()));
        if (property == "CaretOffset") return integer(characters(n->text, n->caret));
    } else if (iface == "org.a11y.atspi.Selection" && n && n->items > 0) {
        if (property == "NSelectedChildren") return integer(n->selected_item >= 0 ? 1 : 0);
    } else if (iface == "org.a11y.atspi.Table" && n && n->columns > 0) {
        if (property == "NRows") return integer(n->items / n->columns);
        if (property == "NColumns") return integer(n->columns);
        if (property == "NSelectedRows") return integer(n->selected_item >= 0 ? 1 : 0);
        if (property == "NSelectedColumns") return integer(0);
    }
    return -ENOENT;
}

// ---- requests -----------------------------------------------------------------------------------

int AtspiBridge::on_call(sd_bus_message* m, void* self, sd_bus_error* error) {
    auto& bridge = *static_cast<AtspiBridge*>(self);
    if (!sd_bus_message_is_method_call(m, nullptr, nullptr)) return 0;
    Target t;
    View v;
    if (!parse(sd_bus_message_get_path(m), t) || !bridge.view(t, v))
        return sd_bus_error_set(error, SD_BUS_ERROR_UNKNOWN_OBJECT, "No such object");
    const char* iface = sd_bus_message_get_interface(m);
    const char* member = sd_bus_message_get_member(m);
    if (!iface || !member) return 0;
    const int r = bridge.call(m, t, v, iface, member);
    if (r == -ENOENT) return sd_bus_error_set(error, SD_BUS_ERROR_UNKNOWN_METHOD, "No such method");
    if (r == -EINVAL) return sd_bus_error_set(error, SD_BUS_ERROR_INVALID_ARGS, "Invalid arguments");
    return r;
}

int AtspiBridge::call(sd_bus_message* m, const Target& t, const View& v, std::string_view iface,
                      std::string_view member) {
    const AccessibleNode* n = v.node;
    sd_bus_message* reply = nullptr;
    int r = 0;
    // Builds the reply, sends it and says the call is answered; -ENOENT for a method not here.
    const auto answer = [&](auto&& fill) {
        r = sd_bus_message_new_method_return(m, &reply);
        if (r >= 0) r = fill();
        if (r >= 0) r = sd_bus_send(nullptr, reply, nullptr);
        sd_bus_message_unref(reply);
        return r < 0 ? r : 1;
    };
    const auto boolean = [&](bool b) { return answer([&] { return sd_bus_message_append(reply, "b", b); }); };

    if (iface == "org.freedesktop.DBus.Properties") {
        const char* in = nullptr;
        const char* name = nullptr;
        if (member == "Get") {
            if (sd_bus_message_read(m, "ss", &in, &name) < 0) return -EINVAL;
            sd_bus_message_new_method_return(m, &reply);
            r = append_property(reply, t, v, in, name);
            if (r >= 0) r = sd_bus_send(nullptr, reply, nullptr);
            sd_bus_message_unref(reply);
            return r == -ENOENT ? -EINVAL : r < 0 ? r : 1;
        }
        if (member == "GetAll") {
            if (sd_bus_message_read(m, "s", &in) < 0) return -EINVAL;
            static constexpr std::string_view names[] = {
                "Name",         "Description",    "Parent",       "ChildCount",        "Locale",
                "AccessibleId", "ToolkitName",    "Version",      "AtspiVersion",      "Id",
                "NActions",     "CurrentValue",   "MinimumValue", "MaximumValue",      "MinimumIncrement",
                "Text",         "CharacterCount", "CaretOffset",  "NSelectedChildren", "NRows",
                "NColumns"};
            const bool known = has_interface(t, v, in);
            return answer([&] {
                int q = sd_bus_message_open_container(reply, 'a', "{sv}");
                for (std::string_view p : names) {
                    if (q < 0 || !known) break;
                    // Only the names this interface has: try each on a scratch message first.
                    sd_bus_message* probe = nullptr;
                    const bool here = sd_bus_message_new_method_return(m, &probe) >= 0 &&
                                      append_property(probe, t, v, in, p) != -ENOENT;
                    sd_bus_message_unref(probe);
                    if (!here) continue;
                    q = sd_bus_message_open_container(reply, 'e', "sv");
                    if (q >= 0) q = sd_bus_message_append(reply, "s", std::string(p).c_str());
                    if (q >= 0) q = append_property(reply, t, v, in, p);
                    if (q >= 0) q = sd_bus_message_close_container(reply);
                }
                return q < 0 ? q : sd_bus_message_close_container(reply);
            });
        }
        if (member == "Set") {
            if (sd_bus_message_read(m, "ss", &in, &name) < 0) return -EINVAL;
            if (std::string_view(in) == "org.a11y.atspi.Value" && std::string_view(name) == "CurrentValue") {
                double d = 0;
                if (sd_bus_message_read(m, "v", "d", &d) < 0) return -EINVAL;
                return later(m, false, [this, id = t.id, d] { return host_.value(id, d); });
            } else if (std::string_view(in) == "org.a11y.atspi.Application" &&
                       std::string_view(name) == "Id") {
                if (sd_bus_message_read(m, "v", "i", &application_id_) < 0) return -EINVAL;
            } else {
                return -EINVAL;
            }
            return answer([] { return 0; });
        }
        return -ENOENT;
    }

    if (iface == "org.a11y.atspi.Accessible") {
        if (member == "GetRole")
            return answer([&] { return sd_bus_message_append(reply, "u", role_name(v.role).number); });
        if (member == "GetRoleName" || member == "GetLocalizedRoleName")
            return answer([&] { return sd_bus_message_append(reply, "s", role_name(v.role).name); });
        if (member == "GetState") return answer([&] { return append_states(reply, v.states); });
        if (member == "GetInterfaces") return answer([&] { return append_interfaces(reply, t, v); });
        if (member == "GetIndexInParent")
            return answer([&] { return sd_bus_message_append(reply, "i", v.index); });
        if (member == "GetApplication") return answer([&] { return append_reference(reply, root_path); });
        if (member == "GetChildAtIndex") {
            std::int32_t i = 0;
            if (sd_bus_message_read(m, "i", &i) < 0) return -EINVAL;
            const std::string path = t.application
                                         ? (i == 0 && v.child_count ? path_of(host_.root()) : std::string())
                                     : n ? child_path(*n, i)
                                         : std::string();
            if (path.empty()) return -EINVAL;
            return answer([&] { return append_reference(reply, path); });
        }
        if (member == "GetChildren") {
            return answer([&] {
                int q = sd_bus_message_open_container(reply, 'a', "(so)");
                for (std::int32_t i = 0; q >= 0 && i < v.child_count; ++i)
                    q = append_reference(reply, t.application ? path_of(host_.root()) : child_path(*n, i));
                return q < 0 ? q : sd_bus_message_close_container(reply);
            });
        }
        if (member == "GetRelationSet") {
            return answer([&] {
                int q = sd_bus_message_open_container(reply, 'a', "(ua(so))");
                if (n && n->labelled_by && host_.node(n->labelled_by) && q >= 0) {
                    q = sd_bus_message_open_container(reply, 'r', "ua(so)");
                    if (q >= 0) q = sd_bus_message_append(reply, "u", 2u); // labelled by
                    if (q >= 0) q = sd_bus_message_open_container(reply, 'a', "(so)");
                    if (q >= 0) q = append_reference(reply, path_of(n->labelled_by));
                    if (q >= 0) q = sd_bus_message_close_container(reply);
                    if (q >= 0) q = sd_bus_message_close_container(reply);
                }
                return q < 0 ? q : sd_bus_message_close_container(reply);
            });
        }
        if (member == "GetAttributes") {
            return answer([&] {
                int q = sd_bus_message_open_container(reply, 'a', "{ss}");
                if (q >= 0 && *v.class_name) q = sd_bus_message_append(reply, "{ss}", "class", v.class_name);
                if (q >= 0 && v.level >= 0)
                    q = sd_bus_message_append(reply, "{ss}", "level", std::to_string(v.level + 1).c_str());
                return q < 0 ? q : sd_bus_message_close_container(reply);
            });
        }
        return -ENOENT;
    }

    if (iface == "org.a11y.atspi.Application" && t.application) {
        if (member == "GetLocale") return answer([&] { return sd_bus_message_append(reply, "s", "C"); });
        if (member == "GetApplicationBusAddress")
            return answer([&] { return sd_bus_message_append(reply, "s", ""); });
        return -ENOENT;
    }

    if (iface == "org.a11y.atspi.Component") {
        std::uint32_t coords = 0;
        const Rect b = v.bounds;
        const auto box = [&] {
            return sd_bus_message_append(reply, "(iiii)", static_cast<std::int32_t>(b.x),
                                         static_cast<std::int32_t>(b.y), static_cast<std::int32_t>(b.w),
                                         static_cast<std::int32_t>(b.h));
        };
        if (member == "GetExtents") {
            if (sd_bus_message_read(m, "u", &coords) < 0) return -EINVAL;
            return answer(box);
        }
        if (member == "GetPosition") {
            if (sd_bus_message_read(m, "u", &coords) < 0) return -EINVAL;
            return answer([&] {
                return sd_bus_message_append(reply, "ii", static_cast<std::int32_t>(b.x),
                                             static_cast<std::int32_t>(b.y));
            });
        }
        if (member == "GetSize")
            return answer([&] {
                return sd_bus_message_append(reply, "ii", static_cast<std::int32_t>(b.w),
                                             static_cast<std::int32_t>(b.h));
            });
        if (member == "Contains") {
            std::int32_t x = 0, y = 0;
            if (sd_bus_message_read(m, "iiu", &x, &y, &coords) < 0) return -EINVAL;
            return boolean(b.contains({static_cast<float>(x), static_cast<float>(y)}));
        }
        if (member == "GetAccessibleAtPoint") {
            std::int32_t x = 0, y = 0;
            if (sd_bus_message_read(m, "iiu", &x, &y, &coords) < 0) return -EINVAL;
            std::string found;
            for (std::int32_t i = 0; n && i < static_cast<std::int32_t>(n->children.size()); ++i)
                if (const AccessibleNode* c = host_.node(n->children[static_cast<std::size_t>(i)]);
                    c && c->bounds.contains({static_cast<float>(x), static_cast<float>(y)}))
                    found = path_of(c->id);
            return answer([&] { return append_reference(reply, found); });
        }
        if (member == "GetLayer")
            return answer([&] { return sd_bus_message_append(reply, "u", 3u); }); // widget
        if (member == "GetMDIZOrder") return answer([&] { return sd_bus_message_append(reply, "n", 0); });
        if (member == "GetAlpha") return answer([&] { return sd_bus_message_append(reply, "d", 1.0); });
        if (member == "GrabFocus") {
            if (t.application || t.item >= 0) return boolean(false);
            return later(m, true, [this, id = t.id] { return host_.focus(id); });
        }
        return -ENOENT;
    }

    if (iface == "org.a11y.atspi.Action" && v.actions) {
        std::int32_t i = 0;
        if (member == "GetActions") {
            return answer([&] {
                int q = sd_bus_message_open_container(reply, 'a', "(sss)");
                for (const ActionName& a : action_names)
                    if (q >= 0 && (v.actions & a.bit))
                        q = sd_bus_message_append(reply, "(sss)", a.name, a.description, "");
                return q < 0 ? q : sd_bus_message_close_container(reply);
            });
        }
        if (sd_bus_message_read(m, "i", &i) < 0) return -EINVAL;
        const std::uint32_t bit = nth_action(v.actions, i);
        if (!bit) return -EINVAL;
        const ActionName* a = std::find_if(std::begin(action_names), std::end(action_names),
                                           [bit](const ActionName& x) { return x.bit == bit; });
        if (member == "GetName" || member == "GetLocalizedName")
            return answer([&] { return sd_bus_message_append(reply, "s", a->name); });
        if (member == "GetDescription")
            return answer([&] { return sd_bus_message_append(reply, "s", a->description); });
        if (member == "GetKeyBinding") return answer([&] { return sd_bus_message_append(reply, "s", ""); });
        if (member == "DoAction") {
            // Answered before the action runs: it may open a dialog that asks the bus in turn.
            return later(m, true, [this, t, bit] { return host_.act(t.id, t.item, bit); });
        }
        return -ENOENT;
    }

    if (iface == "org.a11y.atspi.Value" && n && n->has_value) {
        if (member == "SetCurrentValue") {
            double d = 0;
            if (sd_bus_message_read(m, "d", &d) < 0) return -EINVAL;
            return later(m, false, [this, id = t.id, d] { return host_.value(id, d); });
        }
        return -ENOENT;
    }

    if ((iface == "org.a11y.atspi.Text" || iface == "org.a11y.atspi.EditableText") && n && n->has_text)
        return text_call(m, t, v, member);

    if (iface == "org.a11y.atspi.Selection" && n && n->items > 0) {
        const auto own = static_cast<std::int32_t>(n->children.size());
        std::int32_t i = 0;
        if (member == "GetSelectedChild") {
            if (sd_bus_message_read(m, "i", &i) < 0 || i != 0 || n->selected_item < 0) return -EINVAL;
            return answer([&] { return append_reference(reply, path_of(n->id, n->selected_item)); });
        }
        if (member == "SelectChild" || member == "IsChildSelected") {
            if (sd_bus_message_read(m, "i", &i) < 0 || i < own || i >= own + n->items) return -EINVAL;
            if (member == "IsChildSelected") return boolean(i - own == n->selected_item);
            return later(m, true,
                         [this, id = t.id, row = i - own] { return host_.act(id, row, ac::select); });
        }
        if (member == "SelectAll" || member == "ClearSelection" || member == "DeselectSelectedChild" ||
            member == "DeselectChild")
            return boolean(false); // one row is always chosen
        return -ENOENT;
    }

    if (iface == "org.a11y.atspi.Table" && n && n->columns > 0) {
        std::int32_t row = 0, column = 0;
        if (member == "GetAccessibleAt") {
            if (sd_bus_message_read(m, "ii", &row, &column) < 0 || row < 0 || column < 0 ||
                column >= n->columns || row >= n->items / n->columns)
                return -EINVAL;
            return answer([&] { return append_reference(reply, path_of(n->id, row * n->columns + column)); });
        }
        if (member == "IsRowSelected") {
            if (sd_bus_message_read(m, "i", &row) < 0) return -EINVAL;
            return boolean(n->selected_item >= 0 && row == n->selected_item / n->columns);
        }
        return -ENOENT;
    }
    return -ENOENT;
}

int AtspiBridge::text_call(sd_bus_message* m, const Target& t, const View&, std::string_view member) {
    const AccessibleNode& n = *host_.node(t.id);
    const std::string& s = n.text;
    const std::int32_t count = characters(s, s.size());
    sd_bus_message* reply = nullptr;
    const auto answer = [&](auto&& fill) {
        int r = sd_bus_message_new_method_return(m, &reply);
        if (r >= 0) r = fill();
        if (r >= 0) r = sd_bus_send(nullptr, reply, nullptr);
        sd_bus_message_unref(reply);
        return r < 0 ? r : 1;
    };
    const auto edit = [&](std::string changed) {
        return later(m, true,
                     [this, id = t.id, changed = std::move(changed)] { return host_.text(id, changed); });
    };
    // Offsets must lie in the text; -1 as an end means the end of the text.
    const auto range = [count](std::int32_t& from, std::int32_t& to) {
        if (to == -1) to = count;
        return from >= 0 && from <= to && to <= count;
    };
    std::int32_t from = 0, to = 0;
    if (member == "GetText") {
        if (sd_bus_message_read(m, "ii", &from, &to) < 0 || !range(from, to)) return -EINVAL;
        const std::size_t a = byte_of(s, from), b = byte_of(s, to);
        return answer([&] { return sd_bus_message_append(reply, "s", s.substr(a, b - a).c_str()); });
    }
    if (member == "SetCaretOffset") {
        if (sd_bus_message_read(m, "i", &from) < 0 || from < 0 || from > count) return -EINVAL;
        return later(m, true, [this, id = t.id, at = byte_of(s, from)] { return host_.caret(id, at); });
    }
    if (member == "GetCharacterAtOffset") {
        if (sd_bus_message_read(m, "i", &from) < 0 || from < 0 || from >= count) return -EINVAL;
        const std::size_t a = byte_of(s, from);
        std::uint32_t c = static_cast<unsigned char>(s[a]);
        const int extra = c >= 0xF0 ? 3 : c >= 0xE0 ? 2 : c >= 0xC0 ? 1 : 0;
        c &= extra ? 0x3Fu >> extra : 0x7Fu;
        for (int k = 1; k <= extra; ++k) c = (c << 6) | (static_cast<unsigned char>(s[a + k]) & 0x3F);
        return answer([&] { return sd_bus_message_append(reply, "i", static_cast<std::int32_t>(c)); });
    }
    if (member == "GetStringAtOffset" || member == "GetTextAtOffset" || member == "GetTextBeforeOffset" ||
        member == "GetTextAfterOffset") {
        std::uint32_t unit = 0;
        if (sd_bus_message_read(m, "iu", &from, &unit) < 0 || from < 0 || from > count) return -EINVAL;
        // Characters (0), words (1 and 2 in the older calls, 1 in GetStringAtOffset), else lines.
        const bool string_call = member == "GetStringAtOffset";
        const bool character = unit == 0;
        const bool word = string_call ? unit == 1 : unit == 1 || unit == 2;
        const std::size_t at = byte_of(s, from);
        std::size_t a = at, b = at;
        if (character) {
            b = byte_of(s, from + 1);
        } else {
            const auto edge = [word](char c) { return c == '\n' || (word && c == ' '); };
            while (a > 0 && !edge(s[a - 1])) --a;
            while (b < s.size() && !edge(s[b])) ++b;
            if (b < s.size()) ++b; // the separator belongs to the unit before it
        }
        if (member == "GetTextBeforeOffset") std::swap(a, b), a = 0, b = std::min(b, at);
        std::string piece = a <= b && b <= s.size() ? s.substr(a, b - a) : std::string();
        if (member == "GetTextAfterOffset") piece = s.substr(b), a = b, b = s.size();
        return answer([&] {
            return sd_bus_message_append(reply, "sii", piece.c_str(), characters(s, a), characters(s, b));
        });
    }
    if (member == "GetNSelections")
        return answer(
            [&] { return sd_bus_message_append(reply, "i", n.selection_start != n.selection_end ? 1 : 0); });
    if (member == "GetSelection") {
        if (sd_bus_message_read(m, "i", &from) < 0 || from != 0) return -EINVAL;
        return answer([&] {
            return sd_bus_message_append(reply, "ii", characters(s, n.selection_start),
                                         characters(s, n.selection_end));
        });
    }
    if (member == "GetDefaultAttributes" || member == "GetDefaultAttributeSet")
        return answer([&] { return sd_bus_message_append(reply, "a{ss}", 0); });
    if (member == "GetAttributes" || member == "GetAttributeRun") {
        if (sd_bus_message_read(m, "i", &from) < 0 || from < 0 || from > count) return -EINVAL;
        return answer([&] { return sd_bus_message_append(reply, "a{ss}ii", 0, 0, count); });
    }
    if (member == "GetCharacterExtents" || member == "GetRangeExtents") {
        const Rect b = n.bounds;
        return answer([&] {
            return sd_bus_message_append(reply, "iiii", static_cast<std::int32_t>(b.x),
                                         static_cast<std::int32_t>(b.y), 0, static_cast<std::int32_t>(b.h));
        });
    }
    if (member == "GetOffsetAtPoint") return answer([&] { return sd_bus_message_append(reply, "i", -1); });
    // Editing: every edit replaces the whole text, so the field checks it as if typed.
    if (member == "SetTextContents") {
        const char* all = nullptr;
        if (sd_bus_message_read(m, "s", &all) < 0) return -EINVAL;
        return edit(all);
    }
    if (member == "InsertText") {
        const char* add = nullptr;
        std::int32_t length = 0;
        if (sd_bus_message_read(m, "isi", &from, &add, &length) < 0 || from < 0 || from > count || length < 0)
            return -EINVAL;
        const std::string_view piece(add);
        std::string changed = s;
        changed.insert(byte_of(s, from), piece.substr(0, byte_of(piece, length)));
        return edit(std::move(changed));
    }
    if (member == "DeleteText") {
        if (sd_bus_message_read(m, "ii", &from, &to) < 0 || !range(from, to)) return -EINVAL;
        std::string changed = s;
        const std::size_t a = byte_of(s, from);
        changed.erase(a, byte_of(s, to) - a);
        return edit(std::move(changed));
    }
    return -ENOENT;
}

// ---- the cache ----------------------------------------------------------------------------------

int AtspiBridge::append_cache_item(sd_bus_message* m, const std::string& path, const View& v) const {
    int r = sd_bus_message_open_container(m, 'r', "(so)(so)(so)iiassusau");
    if (r >= 0) r = append_reference(m, path);
    if (r >= 0) r = append_reference(m, root_path);
    if (r >= 0) r = append_reference(m, v.parent_path);
    if (r >= 0) r = sd_bus_message_append(m, "ii", v.index, v.child_count);
    Target t;
    parse(path.c_str(), t);
    if (r >= 0) r = append_interfaces(m, t, v);
    if (r >= 0)
        r = sd_bus_message_append(m, "sus", v.name.c_str(), role_name(v.role).number, v.description.c_str());
    if (r >= 0) r = append_states(m, v.states);
    return r < 0 ? r : sd_bus_message_close_container(m);
}

int AtspiBridge::on_cache(sd_bus_message* m, void* self, sd_bus_error*) {
    auto& bridge = *static_cast<AtspiBridge*>(self);
    if (!sd_bus_message_is_method_call(m, "org.a11y.atspi.Cache", "GetItems")) return 0;
    sd_bus_message* reply = nullptr;
    int r = sd_bus_message_new_method_return(m, &reply);
    if (r >= 0) r = sd_bus_message_open_container(reply, 'a', "((so)(so)(so)iiassusau)");
    // The nodes only: rows are asked for one at a time, however many there are.
    std::vector<std::uint64_t> pending{bridge.host_.root()};
    while (r >= 0 && !pending.empty()) {
        const std::uint64_t id = pending.back();
        pending.pop_back();
        View v;
        if (!bridge.view({false, id, -1}, v)) continue;
        r = bridge.append_cache_item(reply, path_of(id), v);
        pending.insert(pending.end(), v.node->children.begin(), v.node->children.end());
    }
    if (r >= 0) r = sd_bus_message_close_container(reply);
    if (r >= 0) r = sd_bus_send(nullptr, reply, nullptr);
    sd_bus_message_unref(reply);
    return r < 0 ? r : 1;
}

// ---- events -------------------------------------------------------------------------------------

void AtspiBridge::emit(const std::string& path, const char* iface, const char* member, const char* detail,
                       std::int32_t one, std::int32_t two, char type, const void* data) const {
    if (!bus_) return;
    sd_bus_message* m = nullptr;
    int r = sd_bus_message_new_signal(bus_, &m, path.c_str(), iface, member);
    if (r >= 0) r = sd_bus_message_append(m, "sii", detail, one, two);
    if (r >= 0) {
        const char contents[2] = {type, 0};
        if (type == 'r') {
            r = sd_bus_message_open_container(m, 'v', "(so)");
            if (r >= 0) r = append_reference(m, *static_cast<const std::string*>(data));
            if (r >= 0) r = sd_bus_message_close_container(m);
        } else if (type == 's') {
            r = sd_bus_message_append(m, "v", "s", static_cast<const char*>(data));
        } else if (type == 'd') {
            r = sd_bus_message_append(m, "v", "d", *static_cast<const double*>(data));
        } else {
            r = sd_bus_message_append(m, "v", contents, *static_cast<const std::int32_t*>(data));
        }
    }
    if (r >= 0) r = sd_bus_message_append(m, "a{sv}", 0);
    if (r >= 0) sd_bus_send(bus_, m, nullptr); // a listener that went away is no error of ours
    sd_bus_message_unref(m);
}

void AtspiBridge::publish(const std::vector<AccessibleChange>& changes) {
    if (!bus_) return;
    // Registered once the tree stands, so that the first look finds the window.
    if (!embedded_) {
        embedded_ = sd_bus_call_method_async(bus_, nullptr, "org.a11y.atspi.Registry", root_path,
                                             "org.a11y.atspi.Socket", "Embed", &AtspiBridge::on_embedded,
                                             this, "(so)", unique_name_.c_str(), root_path) >= 0;
        return;
    }
    constexpr const char* object = "org.a11y.atspi.Event.Object";
    const std::int32_t zero = 0;
    for (const AccessibleChange& c : changes) {
        const std::string path = path_of(c.id);
        const AccessibleNode* n = host_.node(c.id);
        switch (c.kind) {
        case AccessibleChange::added:
        case AccessibleChange::removed: {
            const AccessibleNode* parent = host_.node(c.parent);
            if (!parent) break;
            const bool added = c.kind == AccessibleChange::added;
            const auto at = std::find(parent->children.begin(), parent->children.end(), c.id);
            const auto index = static_cast<std::int32_t>(at - parent->children.begin());
            emit(path_of(c.parent), object, "ChildrenChanged", added ? "add" : "remove", added ? index : -1,
                 0, 'r', &path);
            if (added && n) {
                View v;
                sd_bus_message* m = nullptr;
                if (view({false, c.id, -1}, v) &&
                    sd_bus_message_new_signal(bus_, &m, cache_path, "org.a11y.atspi.Cache",
                                              "AddAccessible") >= 0 &&
                    append_cache_item(m, path, v) >= 0)
                    sd_bus_send(bus_, m, nullptr);
                sd_bus_message_unref(m);
            }
            break;
        }
        case AccessibleChange::states:
            if (!n) break;
            for (const StateName& s : state_names)
                if ((c.detail & s.bit) && s.number != 24)
                    emit(path, object, "StateChanged", s.name, (n->states & s.bit) ? 1 : 0, 0, 'i', &zero);
            break;
        case AccessibleChange::focus:
            emit(path, object, "StateChanged", "focused", 1, 0, 'i', &zero);
            break;
        case AccessibleChange::name:
            if (n) emit(path, object, "PropertyChange", "accessible-name", 0, 0, 's', n->name.c_str());
            if (n)
                emit(path, object, "PropertyChange", "accessible-description", 0, 0, 's',
                     n->description.c_str());
            break;
        case AccessibleChange::value:
            if (n) emit(path, object, "PropertyChange", "accessible-value", 0, 0, 'd', &n->value);
            break;
        case AccessibleChange::text_inserted:
        case AccessibleChange::text_removed: {
            if (!n) break;
            // The text before the offset is the same before and after the change.
            const std::int32_t at = characters(n->text, c.offset);
            const std::int32_t length = characters(c.text, c.text.size());
            emit(path, object, "TextChanged", c.kind == AccessibleChange::text_inserted ? "insert" : "delete",
                 at, length, 's', c.text.c_str());
            break;
        }
        case AccessibleChange::caret:
            if (n) emit(path, object, "TextCaretMoved", "", characters(n->text, c.offset), 0, 'i', &zero);
            break;
        case AccessibleChange::text_selection:
            emit(path, object, "TextSelectionChanged", "", 0, 0, 'i', &zero);
            break;
        case AccessibleChange::selection:
            emit(path, object, "SelectionChanged", "", 0, 0, 'i', &zero);
            if (n && n->selected_item >= 0 && (n->states & st::focused)) {
                const std::string row = path_of(c.id, n->selected_item);
                emit(path, object, "ActiveDescendantChanged", "", 0, 0, 'r', &row);
            }
            break;
        case AccessibleChange::children:
            emit(path, object, "ChildrenChanged", "add", -1, 0, 'r', &path);
            break;
        }
    }
    if (bus_ && (sd_bus_get_events(bus_) & POLLOUT)) rewatch(); // the rest when the socket takes it
}

} // namespace

std::unique_ptr<AccessibilityBridge>
AccessibilityBridge::create(AccessibleHost& host, std::string application, std::function<void()> wake) {
    return std::make_unique<AtspiBridge>(host, std::move(application), std::move(wake));
}

} // namespace velmora::ui
