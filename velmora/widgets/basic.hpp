// Basic controls: buttons and toggles, text and decoration, option groups, feedback surfaces.
//
//   Button > ToggleButton > CheckBox, RadioButton, Switch, ListItem;  Button > IconButton
//   Label > Badge;  Avatar;  Separator;  Callout > Notification;  Tooltip
//   Panel > ButtonGroup > RadioGroup, NavBar
//
// None of them animates: hover, press, selection and focus show in the next frame. Buttons
// trigger on a pointer-up inside them (wherever the press was) and on Space or Enter.
#pragma once

#include "velmora/core/export.hpp"
#include "velmora/scene/widget.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/control_kind.hpp"

#include <string>
#include <vector>

namespace velmora::ui {

class Scene;

// ---- buttons ----------------------------------------------------------------------------------

class VELMORA_API Button : public Widget {
public:
    explicit Button(std::string label = {});
    bool accent = false;

    ControlKind kind() const override { return ControlKind::Button; }
    const char* class_name() const override { return "Button"; }
    void event(Event& e) override;
    void paint(PaintContext& context) override;

protected:
    // A pointer-up inside the control, or Space or Enter, while enabled.
    bool trigger(const Event& e) const;
};

class VELMORA_API IconButton : public Button {
public:
    explicit IconButton(std::string label = {});
    ControlKind kind() const override { return ControlKind::IconButton; }
    const char* class_name() const override { return "IconButton"; }
};

class VELMORA_API ToggleButton : public Button {
public:
    explicit ToggleButton(std::string label = {});

    bool selected() const { return selected_; }
    // Runs on_change only when the state really changes.
    virtual void selected(bool on);

    ControlKind kind() const override { return ControlKind::ToggleButton; }
    const char* class_name() const override { return "ToggleButton"; }
    void describe(AccessibleNode& node) const override;
    void event(Event& e) override;
    void paint(PaintContext& context) override;

private:
    bool selected_ = false;
};

class VELMORA_API CheckBox : public ToggleButton {
public:
    using ToggleButton::ToggleButton;
    ControlKind kind() const override { return ControlKind::CheckBox; }
    const char* class_name() const override { return "CheckBox"; }
    void paint(PaintContext& context) override;
};

class VELMORA_API RadioButton : public ToggleButton {
public:
    using ToggleButton::ToggleButton;
    ControlKind kind() const override { return ControlKind::RadioButton; }
    const char* class_name() const override { return "RadioButton"; }
    void event(Event& e) override; // selects, never clears
    void paint(PaintContext& context) override;
};

class VELMORA_API Switch : public ToggleButton {
public:
    using ToggleButton::ToggleButton;
    ControlKind kind() const override { return ControlKind::Switch; }
    const char* class_name() const override { return "Switch"; }
    void paint(PaintContext& context) override;
};

class VELMORA_API ListItem : public ToggleButton {
public:
    using ToggleButton::ToggleButton;
    ControlKind kind() const override { return ControlKind::ListItem; }
    const char* class_name() const override { return "ListItem"; }
    void paint(PaintContext& context) override;
};

// ---- text and decoration ------------------------------------------------------------------------

class VELMORA_API Label : public Widget {
public:
    explicit Label(std::string label = {});
    float font_size = 14;
    int weight = 400;
    unsigned color = 0; // 0: the theme's text, muted when disabled

    ControlKind kind() const override { return ControlKind::Label; }
    const char* class_name() const override { return "Label"; }
    void paint(PaintContext& context) override;
};

class VELMORA_API Badge : public Label {
public:
    explicit Badge(std::string label = {});
    ControlKind kind() const override { return ControlKind::Badge; }
    const char* class_name() const override { return "Badge"; }
    void paint(PaintContext& context) override;
};

class VELMORA_API Avatar : public Widget {
public:
    explicit Avatar(std::string name = {});
    unsigned color = 0; // 0: the theme's selection

    ControlKind kind() const override { return ControlKind::Avatar; }
    const char* class_name() const override { return "Avatar"; }
    void paint(PaintContext& context) override;

    // The first two code points of the text.
    std::string initials() const;
};

class VELMORA_API Separator : public Widget {
public:
    explicit Separator(bool is_vertical = false);
    bool vertical = false;

    ControlKind kind() const override { return ControlKind::Separator; }
    const char* class_name() const override { return "Separator"; }
    void paint(PaintContext& context) override;
};

// ---- feedback ------------------------------------------------------------------------------------

// The title is the widget's text.
class VELMORA_API Callout : public Widget {
public:
    explicit Callout(std::string title = {}, std::string body_text = {});
    std::string body;

    ControlKind kind() const override { return ControlKind::Callout; }
    const char* class_name() const override { return "Callout"; }
    void describe(AccessibleNode& node) const override;
    void paint(PaintContext& context) override;
};

class VELMORA_API Notification : public Callout {
public:
    using Callout::Callout;
    ControlKind kind() const override { return ControlKind::Notification; }
    const char* class_name() const override { return "Notification"; }

    // Hands this notification to Scene::notify. Throws std::bad_weak_ptr unless it is
    // held by a shared pointer.
    void show(Scene& owner, double seconds);
};

class VELMORA_API Tooltip : public Widget {
public:
    explicit Tooltip(std::string label = {});
    ControlKind kind() const override { return ControlKind::Tooltip; }
    const char* class_name() const override { return "Tooltip"; }
    void paint(PaintContext& context) override;
};

// ---- option groups ---------------------------------------------------------------------------------

// A row of toggles of which at most one is on. Children that aren't toggles count in the
// index but are never selected.
class VELMORA_API ButtonGroup : public Panel {
public:
    explicit ButtonGroup(const std::vector<std::string>& items = {});

    int selected() const { return selected_; }
    // Clamps to -1 (none) .. n - 1; runs on_change once, after the children, on a change.
    void select(int index);
    // Appends an option; it is on when its index equals the current selection.
    virtual void option(std::string label);

    ControlKind kind() const override { return ControlKind::ButtonGroup; }
    const char* class_name() const override { return "ButtonGroup"; }
    void layout(Scene& owner) override;
    void event(Event& e) override; // the arrows choose and focus the next option, wrapping

protected:
    // Wires a freshly added option to this group's selection.
    void adopt(ToggleButton& child);

private:
    int selected_ = 0;
};

class VELMORA_API RadioGroup : public ButtonGroup {
public:
    explicit RadioGroup(const std::vector<std::string>& items = {});
    ControlKind kind() const override { return ControlKind::RadioGroup; }
    const char* class_name() const override { return "RadioGroup"; }
    void option(std::string label) override;
};

class VELMORA_API NavBar : public ButtonGroup {
public:
    using ButtonGroup::ButtonGroup;
    ControlKind kind() const override { return ControlKind::NavBar; }
    const char* class_name() const override { return "NavBar"; }
};

} // namespace velmora::ui
