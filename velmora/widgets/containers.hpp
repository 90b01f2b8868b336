// Containers: widgets that arrange, reveal or frame their children.
//
//   Panel > GroupBox, Card, TabPage, MenuBar, ToolBar, Accordion, Tabs, SplitPane, ScrollPane
//   StatusBar, Breadcrumb, DragBar (plain widgets that live beside panels)
//
// A Panel lays its visible children out in one of four modes (free, row, column, grid),
// paints one glass face and clips its children to its rounded shape. The derived panels
// change how children are shown: Tabs shows one page, Accordion folds to its heading,
// SplitPane shares its extent between two children, ScrollPane shifts its content and
// draws a thumb over it. Every change made by the user is reported through on_change.
#pragma once

#include "velmora/core/export.hpp"
#include "velmora/core/geometry.hpp"
#include "velmora/core/theme.hpp"
#include "velmora/scene/widget.hpp"
#include "velmora/widgets/control_kind.hpp"

#include <functional>
#include <string>
#include <vector>

namespace velmora::ui {

class Scene;

// ---- panels ------------------------------------------------------------------------------------

enum LayoutMode : int { layout_free = 0, layout_row = 1, layout_column = 2, layout_grid = 3 };

class VELMORA_API Panel : public Widget {
public:
    explicit Panel(std::string label = {});

    int layout_mode = layout_free;
    float padding = 16;
    float gap = 10;
    int columns = 2; // grid mode; below 2 means one column
    bool glass = true;
    bool draggable = false; // the body moves the panel
    Vec2 body_press;        // pointer position at the press
    Vec2 body_start;        // bounds position at the press
    bool body_dragging = false;

    // Where the first child stands, measured from the panel's top.
    virtual float content_top() const { return padding; }

    ControlKind kind() const override { return ControlKind::Panel; }
    const char* class_name() const override { return "Panel"; }
    void layout(Scene& owner) override;
    void paint(PaintContext& context) override;
    void event(Event& e) override;
    float clip_radius(const Theme& theme) const override { return glass ? theme.panel_radius : 0; }
};

class VELMORA_API GroupBox : public Panel {
public:
    explicit GroupBox(std::string title = {});
    ControlKind kind() const override { return ControlKind::GroupBox; }
    const char* class_name() const override { return "GroupBox"; }
    void paint(PaintContext& context) override;
    float content_top() const override { return padding + 30; }
};

class VELMORA_API Card : public Panel {
public:
    explicit Card(std::string title = {}, std::string subtitle_text = {});
    std::string subtitle;

    ControlKind kind() const override { return ControlKind::Card; }
    const char* class_name() const override { return "Card"; }
    void paint(PaintContext& context) override;
    float content_top() const override { return padding + (subtitle.empty() ? 30.0f : 56.0f); }
};

// One page of a Tabs; its text is the tab's title.
class VELMORA_API TabPage : public Panel {
public:
    using Panel::Panel;
    ControlKind kind() const override { return ControlKind::TabPage; }
    const char* class_name() const override { return "TabPage"; }
    void describe(AccessibleNode& node) const override;
};

class VELMORA_API MenuBar : public Panel {
public:
    explicit MenuBar(std::string label = {});
    ControlKind kind() const override { return ControlKind::MenuBar; }
    const char* class_name() const override { return "MenuBar"; }
    void event(Event& e) override; // Left and Right walk the menus, wrapping
};

class VELMORA_API ToolBar : public Panel {
public:
    explicit ToolBar(std::string label = {});
    ControlKind kind() const override { return ControlKind::ToolBar; }
    const char* class_name() const override { return "ToolBar"; }
};

// ---- folding and switching -------------------------------------------------------------------------

// A panel that folds to its 40-unit heading. Folding remembers the height to unfold to.
class VELMORA_API Accordion : public Panel {
public:
    explicit Accordion(std::string title = {});
    float saved_height = 180;

    bool expanded() const { return expanded_; }
    // Folds or unfolds, resizing the panel, and runs on_change; the present state does nothing.
    void expanded(bool on);

    ControlKind kind() const override { return ControlKind::Accordion; }
    const char* class_name() const override { return "Accordion"; }
    void describe(AccessibleNode& node) const override;
    bool accessible_action(std::uint32_t action, std::int32_t item) override;
    void paint(PaintContext& context) override;
    void event(Event& e) override;
    bool children_active() const override { return expanded_; }
    float content_top() const override { return 44; }

private:
    bool expanded_ = true;
    std::string heading_; // kept from frame to frame, so that painting allocates nothing
};

// A strip of titles over the pages; only the selected child is visible.
class VELMORA_API Tabs : public Panel {
public:
    explicit Tabs(std::string label = {});

    int selected() const { return selected_; }
    // Clamps into the pages; runs on_change on a change. Visibility is refreshed always.
    void select(int index);

    ControlKind kind() const override { return ControlKind::Tabs; }
    const char* class_name() const override { return "Tabs"; }
    void layout(Scene& owner) override;
    void paint(PaintContext& context) override;
    void event(Event& e) override;

private:
    void show_selected();
    int selected_ = 0;
};

// Two children side by side (or stacked) with an 8-unit divider the user drags.
class VELMORA_API SplitPane : public Panel {
public:
    explicit SplitPane(std::string label = {});
    bool vertical = false; // stacked: the divider runs across
    bool dragging = false; // the divider is held

    float ratio() const { return ratio_; }
    // Not finite becomes 0; clamped to 0..1; runs on_change on a change.
    void ratio(float r);

    ControlKind kind() const override { return ControlKind::SplitPane; }
    const char* class_name() const override { return "SplitPane"; }
    void layout(Scene& owner) override;
    void paint_overlay(PaintContext& context) override;
    std::shared_ptr<Widget> hit(Vec2 point) override;
    void event(Event& e) override;

private:
    float extent() const { return vertical ? bounds.h : bounds.w; }
    float along(Vec2 p) const; // distance from the pane's start on the split axis
    bool on_divider(Vec2 p) const;
    float ratio_ = 0.5f;
};

// ---- scrolling ---------------------------------------------------------------------------------------

// Shows a window of its content, moved by the wheel, by the thumb, and by reveal() when the
// focus lands on a widget inside it. The right 13 units belong to the thumb when the
// content is taller than the pane.
class VELMORA_API ScrollPane : public Panel {
public:
    explicit ScrollPane(std::string label = {});
    float content_height = 0; // recomputed by layout
    float offset = 0;         // how far the content is scrolled up; set it through scroll()
    bool thumb_dragging = false;
    float grab_offset = 0; // pointer distance from the thumb's top while dragging

    // Not finite becomes 0; clamped to 0..max_scroll(); runs on_change on a change.
    void scroll(float y);
    float max_scroll() const;
    // Scrolls the least distance that shows `w` whole, or its top when it is taller than the
    // pane. Anything not inside this pane is ignored.
    void reveal(const Widget& w);
    Rect thumb() const;

    ControlKind kind() const override { return ControlKind::ScrollPane; }
    const char* class_name() const override { return "ScrollPane"; }
    void layout(Scene& owner) override;
    void paint_overlay(PaintContext& context) override;
    std::shared_ptr<Widget> hit(Vec2 point) override;
    void event(Event& e) override;
    Vec2 content_offset() const override { return {0, -offset}; }
    Rect children_clip() const override;

private:
    bool scrollable() const { return content_height > bounds.h; }
    bool in_strip(Vec2 p) const { return p.x > screen_bounds.x + screen_bounds.w - 13; }
    void drag_thumb(float y);
};

// ---- bars -----------------------------------------------------------------------------------------------

// A passive strip: status on the left (the widget's text), a note on the right.
class VELMORA_API StatusBar : public Widget {
public:
    explicit StatusBar(std::string left = {}, std::string right = {});
    std::string right_text;

    ControlKind kind() const override { return ControlKind::StatusBar; }
    const char* class_name() const override { return "StatusBar"; }
    void paint(PaintContext& context) override;
};

// A path of items; a click selects one at once, arrows prepare a choice that Enter confirms.
class VELMORA_API Breadcrumb : public Widget {
public:
    explicit Breadcrumb(std::vector<std::string> path = {});
    std::vector<std::string> items;
    std::function<void(int)> on_select;
    std::vector<float> starts; // item start x on screen, one more than items; rebuilt by paint
    int active = 0;

    ControlKind kind() const override { return ControlKind::Breadcrumb; }
    const char* class_name() const override { return "Breadcrumb"; }
    void paint(PaintContext& context) override;
    void event(Event& e) override;

private:
    void choose(int index); // runs on_select, if set
};

// A grip that moves its parent: dragging it shifts the parent's bounds by the pointer's travel.
class VELMORA_API DragBar : public Widget {
public:
    explicit DragBar(std::string label = {});
    Vec2 drag_origin; // pointer position at the press
    Vec2 drag_start;  // the parent's bounds position at the press
    bool dragging = false;

    ControlKind kind() const override { return ControlKind::DragBar; }
    const char* class_name() const override { return "DragBar"; }
    void paint(PaintContext& context) override;
    void event(Event& e) override;
};

} // namespace velmora::ui
