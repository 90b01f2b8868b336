// Widget: the node of the retained tree, and the two records that pass through its operations.
//
// A widget is always held by a std::shared_ptr (build it with std::make_shared or
// Widget::emplace). Parents own their children; `parent` and `scene` are plain non-owning
// pointers. The scene writes `hovered` and `pressed`; controls only read them.
//
// Placing and drawing:
//     place(scene, origin, clip)   layout(), then screen_bounds and clip, then the children
//     hit(point)                   the topmost visible, enabled widget under the point
//     draw(context)                paint(), the children (under a shaped clip if asked), paint_overlay()
//
// A control class overrides only the virtual operations that differ from the defaults here.
#pragma once

#include "velmora/core/canvas.hpp"
#include "velmora/core/export.hpp"
#include "velmora/core/geometry.hpp"
#include "velmora/core/theme.hpp"
#include "velmora/platform/accessibility.hpp"
#include "velmora/platform/input.hpp"
#include "velmora/widgets/control_kind.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velmora::ui {

class Scene;
class PopupMenu;

enum EventType : int {
    pointer_down = 0,     // left button pressed
    pointer_move = 1,     // pointer moved, or held still; sent every frame
    pointer_up = 2,       // left button released
    wheel_turned = 3,     // wheel turned, `wheel` in notches
    key_down = 4,         // a key or an editing command; `key` is 0 for a bare command
    text_entered = 5,     // typed or pasted text
    focus_gained = 6,     // the widget became the focus
    focus_lost_event = 7, // the widget stopped being the focus
};

struct VELMORA_API Event {
    int type = pointer_move;
    Vec2 position;  // logical screen coordinates, never translated on the way up
    Input input;    // the whole input of the frame, so any event can read modifiers
    int key = 0;    // virtual key code, 0 when none
    int button = 1; // always the left button
    int clicks = 1; // 2 for the second press of a double click
    float wheel = 0;
    std::string text;
    bool handled = false;
};

struct PaintContext {
    Canvas& canvas;
    Scene& scene;
    const Theme& theme;
    double time = 0; // seconds; the only clock that time-driven drawing may read
};

class VELMORA_API Widget : public std::enable_shared_from_this<Widget> {
public:
    explicit Widget(std::string label = {});
    virtual ~Widget();
    Widget(const Widget&) = delete;
    Widget& operator=(const Widget&) = delete;

    Rect bounds{0, 0, 160, 36}; // relative to the parent's content origin
    std::string id;
    std::string text;
    std::string tooltip;
    bool visible = true;
    bool enabled = true;
    bool focusable = false;
    bool clips_children = false;
    bool hit_through = false; // never the pointer target itself; its children still can be
    std::function<void(Widget&)> on_activate;
    std::function<void(Widget&)> on_change;
    std::shared_ptr<PopupMenu> context_menu;       // opened by the scene on a right click
    std::vector<std::shared_ptr<Widget>> children; // paint order, the last on top
    Widget* parent = nullptr;
    Scene* scene = nullptr; // set by place, cleared on detach
    Rect screen_bounds;
    Rect clip; // screen_bounds cut to the incoming clip
    bool hovered = false;
    bool pressed = false;
    // What assistive technology is told instead of what the control says of itself: a name for
    // an icon-only control, a description, a label standing beside the control that names it.
    std::string accessible_name;
    std::string accessible_description;
    std::weak_ptr<Widget> labelled_by;

    virtual ControlKind kind() const { return ControlKind{}; }
    virtual const char* class_name() const { return "Widget"; }
    virtual void event(Event&) {}
    virtual void layout(Scene&) {}
    virtual void tick(Scene&) {}
    virtual void paint(PaintContext&) {}
    virtual void paint_overlay(PaintContext&) {}
    virtual bool text_input() const { return false; }
    // Where an input method's candidate window belongs while this widget takes text: its caret,
    // in screen units. Empty for widgets without one.
    virtual Rect caret_rect() const { return {}; }
    virtual bool children_active() const { return true; }
    virtual Vec2 content_offset() const { return {}; }
    virtual Rect children_clip() const { return screen_bounds; }
    virtual std::shared_ptr<Widget> hit(Vec2 point);
    virtual float clip_radius(const Theme&) const { return 0; }

    // Fills in what the control is for assistive technology: role, name, description, states,
    // actions, value, text and items. The tree fills in id, parent, children and bounds; the
    // node arrives with its strings and lists emptied but not freed.
    virtual void describe(AccessibleNode& node) const;
    // One row of the control's items; false for an index out of range.
    virtual bool describe_item(std::int32_t, AccessibleItem&) const { return false; }
    // Does one of the actions describe() offered, on the control (item -1) or one of its items.
    // False when there is no such action or item. The default presses Space for press and
    // toggle, Enter for activate and expand, as a user would.
    virtual bool accessible_action(std::uint32_t action, std::int32_t item);
    // A value or text set by assistive technology; false when the control refuses it.
    virtual bool accessible_value(double) { return false; }
    virtual bool accessible_text(const std::string&) { return false; }
    virtual bool accessible_caret(std::size_t) { return false; }
    // Unique among all widgets for the life of the program; assistive technology's handle.
    std::uint64_t serial() const { return serial_; }

    // Throws std::invalid_argument "Widget cycle" or "Detach widget before reparenting".
    void add(std::shared_ptr<Widget> child);
    template <class T, class... Args> std::shared_ptr<T> emplace(Args&&... args) {
        auto child = std::make_shared<T>(std::forward<Args>(args)...);
        add(child);
        return child;
    }
    void remove(const std::shared_ptr<Widget>& child);
    void clear();

    bool focused() const;
    void activate(); // on_activate, only while enabled
    void changed();  // on_change, whatever the enabled state
    bool descendant_of(const Widget* w) const;

    // Throws std::invalid_argument "Invalid widget bounds".
    void place(Scene& owner, Vec2 origin, Rect outer);
    void draw(PaintContext& context);

    // The standard glass face of a control; a negative radius means the theme's.
    void surface(PaintContext& context, bool selected, float radius) const;
    // Text centred in a rectangle; wider text starts at the left edge. Size <= 0: the theme's.
    void centered(PaintContext& context, const std::string& label, Rect r, unsigned colour, float size,
                  int weight) const;
    // The downward chevron of the controls that drop a list, centred on `centre`.
    void chevron(PaintContext& context, Vec2 centre, unsigned colour) const;

private:
    std::uint64_t serial_;
    std::uint64_t rendered_epoch_ = 0; // the scene's rendered epoch when this last recorded itself
};

} // namespace velmora::ui
