// Range controls: a number in a range, shown or edited.
//
//   Slider > ScrollBar, RangeSlider     draggable, keyboard-driven values
//   ProgressBar > RingProgress          a fraction, shown as a bar or a ring
//   SpinnerIndicator                    turns with the frame clock, holds no state
//
// A drag snaps to the step grid; keys move by whole steps from wherever the value stands
// and don't snap. Values set through the programming interface are checked and clamped;
// every change, whoever makes it, runs on_change.
#pragma once

#include "velmora/core/export.hpp"
#include "velmora/core/geometry.hpp"
#include "velmora/scene/widget.hpp"
#include "velmora/widgets/control_kind.hpp"

#include <string>

namespace velmora::ui {

// ---- sliders -----------------------------------------------------------------------------------

class VELMORA_API Slider : public Widget {
public:
    // The value is clamped to 0..1. Throws std::invalid_argument "Non-finite value".
    explicit Slider(double initial = 0);

    double minimum = 0; // set both ends through range()
    double maximum = 1;
    bool dragging = false;

    double value() const { return value_; }
    // Throws std::invalid_argument "Non-finite value"; clamps; runs on_change on a change.
    void value(double v);
    // Throws std::invalid_argument "Slider range" unless both are finite and lo < hi.
    void range(double lo, double hi);
    double step() const { return step_; }
    // Throws std::invalid_argument "Slider step" unless finite and positive.
    void step(double s);

    // Moves the value to the pointer.
    virtual void drag(Vec2 p);

    ControlKind kind() const override { return ControlKind::Slider; }
    const char* class_name() const override { return "Slider"; }
    void describe(AccessibleNode& node) const override;
    bool accessible_value(double v) override;
    void event(Event& e) override;
    void paint(PaintContext& context) override;

protected:
    // The track runs between the thumb's centres at either end, 9 in from each side.
    Rect track() const;
    // The value under x, on the step grid counted from minimum, inside the range.
    double grid_value(float x) const;
    float unit(double v) const;        // where v lies in the range, 0..1
    float position_of(double v) const; // screen x of a value's thumb centre
    void paint_thumb(PaintContext& context, float x, bool ring) const;
    // The value after a navigation key from `from`; false for any other key.
    bool key_target(int key, double from, double& to) const;

private:
    double value_ = 0;
    double step_ = 0.01;
};

class VELMORA_API ScrollBar : public Slider {
public:
    explicit ScrollBar(bool is_vertical = false);

    bool vertical = false;
    float page = 0.3f;     // the thumb's share of the track
    float grab_offset = 0; // pointer distance from the thumb's start while dragging

    Rect thumb() const;

    void drag(Vec2 p) override;
    ControlKind kind() const override { return ControlKind::ScrollBar; }
    const char* class_name() const override { return "ScrollBar"; }
    void event(Event& e) override;
    void paint(PaintContext& context) override;

private:
    float share() const; // page, made finite and kept to 0.01..1
    float thumb_size() const;
    float extent() const { return vertical ? screen_bounds.h : screen_bounds.w; }
    float along(Vec2 p) const { return vertical ? p.y - screen_bounds.y : p.x - screen_bounds.x; }
};

// Two thumbs on one track. A press takes the nearer thumb, which the keys then move too.
class VELMORA_API RangeSlider : public Slider {
public:
    RangeSlider();

    double low = 0.25; // set both through values()
    double high = 0.75;
    int active = 0; // the thumb that drags and keys move: 0 low, 1 high

    // Throws std::invalid_argument "Range value" unless both are finite. low is clamped to
    // the range, high to the upper end and up to low. Runs on_change when either moves.
    void values(double lo, double hi);

    void drag(Vec2 p) override;
    ControlKind kind() const override { return ControlKind::RangeSlider; }
    const char* class_name() const override { return "RangeSlider"; }
    void event(Event& e) override;
    void paint(PaintContext& context) override;

private:
    void move_active(double v); // moves the active thumb without passing the other one
};

// ---- progress ------------------------------------------------------------------------------------

class VELMORA_API ProgressBar : public Widget {
public:
    // Throws std::invalid_argument "Progress value" for a value that isn't finite.
    explicit ProgressBar(double initial = 0.65);

    bool percent = true; // caption the bar with its percentage

    double value() const { return value_; }
    // Throws std::invalid_argument "Progress value"; clamps to 0..1; runs on_change on a change.
    void value(double v);

    ControlKind kind() const override { return ControlKind::ProgressBar; }
    const char* class_name() const override { return "ProgressBar"; }
    void describe(AccessibleNode& node) const override;
    void paint(PaintContext& context) override;

private:
    double value_ = 0.65;
};

class VELMORA_API RingProgress : public ProgressBar {
public:
    explicit RingProgress(double initial = 0.65);
    ControlKind kind() const override { return ControlKind::RingProgress; }
    const char* class_name() const override { return "RingProgress"; }
    void paint(PaintContext& context) override;
};

// An endless busy mark: an arc whose angle is read from the frame's time alone.
class VELMORA_API SpinnerIndicator : public Widget {
public:
    explicit SpinnerIndicator(std::string label = {});
    float speed = 1; // turns per second

    ControlKind kind() const override { return ControlKind::SpinnerIndicator; }
    const char* class_name() const override { return "SpinnerIndicator"; }
    void paint(PaintContext& context) override;
};

} // namespace velmora::ui
