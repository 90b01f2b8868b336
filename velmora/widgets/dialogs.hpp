// Dialogs: a draggable panel with a title strip and a close glyph, shown on the overlay stack.
//
//     auto dialog = std::make_shared<Modal>("Settings");
//     dialog->emplace<Label>("...");
//     dialog->open(scene);   // centred, focus moved into it
//     dialog->close();
//
// Dialogs are reusable: closing only takes them off the stack, and every open re-centres.
// A message box answers once, through on_close, after it has left the scene.
#pragma once

#include "velmora/core/export.hpp"
#include "velmora/core/geometry.hpp"
#include "velmora/scene/widget.hpp"
#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/control_kind.hpp"

#include <functional>
#include <memory>
#include <string>

namespace velmora::ui {

class Scene;

class VELMORA_API Dialog : public Panel {
public:
    explicit Dialog(std::string title = {});

    bool modal = false;
    // The title-strip drag, apart from the Panel's body drag, which a dialog never uses.
    bool dragging = false;
    Vec2 drag_start;  // pointer position at the press
    Vec2 drag_origin; // local position at the press

    // Throws std::bad_weak_ptr unless the dialog is held by a shared pointer.
    void open(Scene& owner);
    void close();

    ControlKind kind() const override { return ControlKind::Dialog; }
    const char* class_name() const override { return "Dialog"; }
    void event(Event& e) override;
    void paint(PaintContext& context) override;
    float content_top() const override { return 54; }
};

class VELMORA_API Modal : public Dialog {
public:
    explicit Modal(std::string title = {});
    ControlKind kind() const override { return ControlKind::Modal; }
    const char* class_name() const override { return "Modal"; }
};

class VELMORA_API MessageBox : public Modal {
public:
    MessageBox(std::string title = {}, std::string text_of_message = {},
               std::function<void(bool)> on_answer = {});

    std::string message;
    std::function<void(bool)> on_close;
    std::shared_ptr<Label> label;
    std::shared_ptr<Button> ok;
    std::shared_ptr<Button> cancel;

    ControlKind kind() const override { return ControlKind::MessageBox; }
    const char* class_name() const override { return "MessageBox"; }
    void event(Event& e) override; // Enter answers true, Escape false
    void layout(Scene& owner) override;

private:
    void answer(bool yes);
};

} // namespace velmora::ui
