// The derived text fields. Each is a TextField that changes the editor only through its
// virtual hooks (accepts, insets, submit) and a few events of its own.
//
//   TextArea          multi-line, 140 high, 64 KiB, page keys and a scroll indicator
//   PasswordField     masked, no copy or cut, optional hold-to-reveal button
//   SearchField       search mark at the left, clear mark at the right; leaves Enter,
//                     Escape, Up and Down to its parents
//   NumberField       accepts only text on its way to a number; range, step, Up/Down
//   Spinner           NumberField with - and + buttons that repeat while held
//   KeyBindingField   captures the next key combination, e.g. "Ctrl+Shift+K"
//   AutoComplete      SearchField with a popup list of matching suggestions
//   ComboBox          AutoComplete with a drop button listing every option
#pragma once

#include "velmora/core/export.hpp"
#include "velmora/scene/widget.hpp"
#include "velmora/widgets/control_kind.hpp"
#include "velmora/widgets/text_field.hpp"

#include <memory>
#include <string>
#include <vector>

namespace velmora::ui {

class VELMORA_API TextArea : public TextField {
public:
    explicit TextArea(std::string initial = {});

    ControlKind kind() const override { return ControlKind::TextArea; }
    const char* class_name() const override { return "TextArea"; }
    void event(Event& e) override;
    void paint(PaintContext& context) override;
};

class VELMORA_API PasswordField : public TextField {
public:
    explicit PasswordField(std::string initial = {});

    bool reveal_button = false; // an eye at the right that shows the text while held

    ControlKind kind() const override { return ControlKind::PasswordField; }
    const char* class_name() const override { return "PasswordField"; }
    void event(Event& e) override;
    void paint(PaintContext& context) override;
    float inset_right() const override { return reveal_button ? 34 : 10; }

    bool revealing() const { return revealing_; }

private:
    void conceal();
    bool revealing_ = false;
};

class VELMORA_API SearchField : public TextField {
public:
    explicit SearchField(std::string initial = {});

    ControlKind kind() const override { return ControlKind::SearchField; }
    const char* class_name() const override { return "SearchField"; }
    void event(Event& e) override;
    void paint(PaintContext& context) override;
    float inset_left() const override { return 32; }
    float inset_right() const override { return 30; }

protected:
    // Empties the field as one undoable edit.
    void clear_text();
};

class VELMORA_API NumberField : public TextField {
public:
    explicit NumberField(double initial = 0);

    ControlKind kind() const override { return ControlKind::NumberField; }
    const char* class_name() const override { return "NumberField"; }
    void describe(AccessibleNode& node) const override;
    bool accessible_value(double v) override;
    void event(Event& e) override;
    using TextField::value;
    // Also takes the number from the text, clamped; text without one keeps the last number.
    void value(std::string v) override;
    bool accepts(const std::string& candidate) const override;
    // Parses the text, clamps it into the range and writes it back in its shortest form; text
    // that holds no number yet ("", "-", ".") falls back to the present number.
    void submit() override;

    double number() const { return number_; }
    // Clamps into the range; throws std::invalid_argument "Invalid number" for NaN or infinity.
    void number(double v);
    double minimum() const { return minimum_; }
    double maximum() const { return maximum_; }
    // Throws std::invalid_argument "Invalid range" unless both are finite and lo <= hi.
    void range(double lo, double hi);
    double step() const { return step_; }
    // Throws std::invalid_argument "Invalid step" unless finite and above 0.
    void step(double v);
    // Moves the number by `steps` steps as one undoable edit, clamped into the range.
    void step_by(int steps);

    static std::string format(double v);

private:
    double parsed() const;
    void commit(double v);

    double number_ = 0;
    double minimum_ = -1e9;
    double maximum_ = 1e9;
    double step_ = 1;
};

class VELMORA_API Spinner : public NumberField {
public:
    static constexpr double repeat_delay = 0.4;     // seconds held before the first repeat
    static constexpr double repeat_interval = 0.08; // seconds between repeats

    explicit Spinner(double initial = 0);

    ControlKind kind() const override { return ControlKind::Spinner; }
    const char* class_name() const override { return "Spinner"; }
    void event(Event& e) override;
    void tick(Scene& scene) override;
    void paint(PaintContext& context) override;
    float inset_left() const override { return 36; }
    float inset_right() const override { return 36; }

    // -1 while the minus button is held, +1 for plus, 0 when neither.
    int held() const { return held_; }

private:
    int held_ = 0;
    double next_repeat_ = 0;
};

class VELMORA_API KeyBindingField : public TextField {
public:
    explicit KeyBindingField(std::string binding = {});

    ControlKind kind() const override { return ControlKind::KeyBindingField; }
    const char* class_name() const override { return "KeyBindingField"; }
    void event(Event& e) override;
    // Captured keys aren't text: no input method, no typed characters.
    bool text_input() const override { return false; }

    // "Ctrl+Shift+K" for a key code and modifiers; empty for a bare modifier key.
    static std::string describe_keys(unsigned key, bool ctrl, bool shift, bool alt);
};

class SuggestionList;

class VELMORA_API AutoComplete : public SearchField {
public:
    static constexpr std::size_t match_limit = 8;

    explicit AutoComplete(std::vector<std::string> options = {});
    ~AutoComplete() override;

    std::vector<std::string> suggestions;

    ControlKind kind() const override { return ControlKind::AutoComplete; }
    const char* class_name() const override { return "AutoComplete"; }
    void event(Event& e) override;

    // Suggestions that contain the query, ASCII case folded; the whole list for an empty query.
    std::vector<std::string> matches(const std::string& query) const;
    // Shows the items as a popup under the field that leaves the focus in the field; an empty
    // list, or a field outside a scene, closes it instead.
    void open_suggestions(std::vector<std::string> items);
    void close_suggestions();
    bool suggestions_open() const;
    // The items shown and the highlighted one (-1 for none), empty when closed.
    std::vector<std::string> shown() const;
    int highlighted() const;
    // Replaces the value with an item as one undoable edit and closes the list.
    void accept(const std::string& item);

protected:
    // Refreshes the list after the user changed the text.
    void refresh();

private:
    std::shared_ptr<SuggestionList> list_;
};

class VELMORA_API ComboBox : public AutoComplete {
public:
    explicit ComboBox(std::vector<std::string> items = {});

    ControlKind kind() const override { return ControlKind::ComboBox; }
    const char* class_name() const override { return "ComboBox"; }
    void event(Event& e) override;
    void paint(PaintContext& context) override;
    float inset_left() const override { return 10; }
    float inset_right() const override { return 34; }
};

} // namespace velmora::ui
