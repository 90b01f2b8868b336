// Scene: one widget tree plus everything that is not a tree.
//
// It owns the root panel, the focus, the pointer's hovered and pressed widgets, a stack of
// overlays above the tree (popup menus, dialogs) and a list of timed notices. `frame` turns
// one Input snapshot into events, ticks, lays out and paints.
//
// Nothing here needs a frame just because time passes: whatever changes with the clock alone
// (a caret's blink, a spinner, a notice's expiry, a tooltip's delay, a worker's result) asks
// for its next frame through `redraw_at`, so a runner may sleep until then.
//
//     Scene scene;
//     scene.root()->emplace<Button>("OK");
//     canvas.begin(1280, 800, scene.theme);
//     scene.frame(canvas, input, seconds);
//
// Everything here may be called from inside an event handler: every walk over the overlays
// runs over a copy, and dispatch keeps the widgets it reaches alive until it returns.
#pragma once

#include "velmora/core/canvas.hpp"
#include "velmora/core/export.hpp"
#include "velmora/core/geometry.hpp"
#include "velmora/core/theme.hpp"
#include "velmora/platform/input.hpp"
#include "velmora/scene/widget.hpp"
#include "velmora/widgets/control_kind.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace velmora::ui {

class Panel;
class Dialog;
class Notification;
class Tooltip;

struct VELMORA_API Overlay {
    std::shared_ptr<Widget> widget;
    std::shared_ptr<Widget> previous_focus; // restored when the overlay closes with the focus inside
    bool modal = false;
    bool popup = false; // dismissed by a press outside, replaced by the next popup
    bool keep_focus = false;
};

struct Notice {
    std::shared_ptr<Notification> notification;
    double expires = 0; // seconds, on the frame clock
};

class VELMORA_API Scene {
public:
    Theme theme;

    Scene();
    virtual ~Scene();
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    std::shared_ptr<Panel>& root() { return root_; }

    // Ctrl+K opens the palette when one is installed.
    const std::shared_ptr<Dialog>& command_palette() const { return palette_; }
    void command_palette(std::shared_ptr<Dialog> palette) { palette_ = std::move(palette); }
    // The application's clipboard writer; controls that copy text call it when it is set.
    const std::function<void(const std::string&)>& clipboard() const { return clipboard_; }
    void clipboard(std::function<void(const std::string&)> writer) { clipboard_ = std::move(writer); }
    // Wakes the runner from any thread, at any time (Window::waker): a worker calls it when its
    // result is ready, and the frame it brings picks the result up. Without one, workers ask
    // for frames every 50 ms until they are done.
    const std::function<void()>& waker() const { return waker_; }
    void waker(std::function<void()> wake) { waker_ = std::move(wake); }

    const std::shared_ptr<Widget>& focus() const { return focus_; }
    void focus(std::shared_ptr<Widget> widget);
    const std::shared_ptr<Widget>& pressed() const { return pressed_; }
    const std::shared_ptr<Widget>& hovered() const { return hovered_; }
    const std::vector<Overlay>& overlays() const { return overlays_; }
    const std::vector<Notice>& notices() const { return notices_; }
    const std::set<ControlKind>& rendered_kinds() const { return rendered_kinds_; }
    const std::set<std::string>& rendered_names() const { return rendered_names_; }
    // Empties both rendered sets, for a count that starts afresh; the scene never does this itself.
    void forget_rendered();
    Canvas* canvas() const { return canvas_; } // only during frame
    const Input& input() const { return input_; }
    Vec2 size() const { return size_; }
    double time() const { return time_; }

    // Asks for a frame at `time` on the frame clock; the earliest request wins and NaN is
    // ignored. Each frame starts with none: whatever still needs a later frame asks again
    // while it ticks or paints.
    void redraw_at(double time);
    // The earliest frame asked for; infinity when none.
    double redraw_due() const { return redraw_due_; }

    std::vector<std::shared_ptr<Widget>> focus_order() const;
    void collect_focus(const std::shared_ptr<Widget>& widget,
                       std::vector<std::shared_ptr<Widget>>& out) const;
    std::shared_ptr<Widget> pointer_target(Vec2 point) const;
    bool dispatch(std::shared_ptr<Widget> target, Event event, bool bubble);
    std::shared_ptr<Widget> find(const std::string& id) const;
    void layout(float width, float height);

    // A negative coordinate centres on that axis. Throws std::invalid_argument
    // "Overlay must be unattached" for a null widget or one with a parent.
    void show(std::shared_ptr<Widget> widget, bool modal, bool popup, Vec2 position, bool keep_focus);
    // Where a popup of `popup` size opens for a control at `anchor` (screen units): 4 units
    // under it, or as far above it when only there it fits whole, so that the popup doesn't
    // cover the control; when it fits on neither side, the side with more room. show() clamps.
    Vec2 popup_position(Rect anchor, Vec2 popup) const;
    void close(const Widget* widget);
    void close_top();
    void notify(std::shared_ptr<Notification> notification, double seconds);
    bool wants_text_input() const;
    // The focused widget's caret while it takes text, for placing the input method's window.
    Rect text_input_rect() const;
    void tick_tree(const std::shared_ptr<Widget>& widget);

    void frame(Canvas& canvas, const Input& input, double now);

private:
    friend class Widget; // remove(), place() and draw() reach the pressed reference, the walk
                         // stack and the rendered sets

    // Strong copies that a walk keeps while what it calls may change the lists they came from
    // (children, overlays, notices), or destroy what it walks. They sit on a stack that keeps
    // its storage from frame to frame, so that a steady frame allocates nothing; walks nest,
    // and each takes its copies off again on leaving. An element reference is good only until
    // the next nested walk pushes: call through it, or copy it.
    template <class T> class Held {
    public:
        explicit Held(std::vector<T>& stack) : stack_(stack), first_(stack.size()) {}
        Held(std::vector<T>& stack, const std::vector<T>& items) : Held(stack) {
            stack.insert(stack.end(), items.begin(), items.end());
            size_ = items.size();
        }
        ~Held() { stack_.erase(stack_.begin() + static_cast<std::ptrdiff_t>(first_), stack_.end()); }
        Held(const Held&) = delete;
        Held& operator=(const Held&) = delete;

        void push(T item) {
            stack_.push_back(std::move(item));
            ++size_;
        }
        std::size_t size() const { return size_; }
        const T& operator[](std::size_t i) const { return stack_[first_ + i]; }

    private:
        std::vector<T>& stack_;
        std::size_t first_;
        std::size_t size_ = 0;
    };

    void pointer_events(std::shared_ptr<Widget> target, double now);
    void key_events();
    void paint(Canvas& canvas, double now);
    // Lets go of the hovered widget when it lies within a subtree that is leaving the scene, so
    // that nothing outside the tree is kept alive or sent a pointer-leave.
    void unhover(const Widget& leaving);
    // Whether the widget is in focus_order(), without building it.
    bool in_focus_order(const Widget& widget) const;

    std::shared_ptr<Dialog> palette_;
    std::function<void(const std::string&)> clipboard_;
    std::function<void()> waker_;
    std::shared_ptr<Panel> root_;
    std::shared_ptr<Widget> focus_;
    std::shared_ptr<Widget> pressed_;
    std::shared_ptr<Widget> hovered_;
    std::vector<Overlay> overlays_;
    std::vector<Notice> notices_;
    std::set<ControlKind> rendered_kinds_;
    std::set<std::string> rendered_names_;
    // Changes whenever the rendered sets are emptied, unique among all scenes: a widget that
    // recorded itself under the current value need not look the sets up again.
    std::uint64_t rendered_epoch_;
    std::vector<std::shared_ptr<Widget>> held_widgets_;
    std::vector<Overlay> held_overlays_;
    std::vector<Notice> held_notices_;
    std::shared_ptr<Tooltip> tooltip_; // the one tooltip, made on first use and reused
    Canvas* canvas_ = nullptr;
    Input input_;
    Vec2 size_{1, 1};
    double time_ = 0;
    double redraw_due_ = std::numeric_limits<double>::infinity();
    double last_press_time_ = -10;
    double hover_start_ = 0;
    Vec2 last_press_position_;
    const Widget* last_press_target_ = nullptr; // compared only, never followed
    bool ignore_release_ = false;
};

} // namespace velmora::ui
