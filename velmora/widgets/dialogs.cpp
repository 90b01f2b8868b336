// Dialogs: opening and closing, the title-strip drag, and the message box.
#include "velmora/widgets/dialogs.hpp"

#include "velmora/scene/scene.hpp"

#include <algorithm>

namespace velmora::ui {

namespace {

constexpr float title_strip = 44; // also the size of the close corner

} // namespace

Dialog::Dialog(std::string title) : Panel(std::move(title)) {
    focusable = true;
    bounds = {0, 0, 500, 300};
}

void Dialog::open(Scene& owner) { owner.show(shared_from_this(), modal, false, {-1, -1}, false); }

void Dialog::close() {
    if (scene) scene->close(this);
}

void Dialog::event(Event& e) {
    const Rect r = screen_bounds;
    switch (e.type) {
    case pointer_down:
        if (e.position.y >= r.y + title_strip) return;
        dragging = true;
        drag_start = e.position;
        drag_origin = {bounds.x, bounds.y};
        e.handled = true;
        return;
    case pointer_move:
        if (!dragging) return;
        bounds.x = e.position.x + drag_origin.x - drag_start.x;
        bounds.y = e.position.y + drag_origin.y - drag_start.y;
        e.handled = true;
        return;
    case pointer_up:
        dragging = false;
        e.handled = true;
        // Any release over the close corner closes, a drag that ends there included.
        if (e.position.x > r.x + r.w - title_strip && e.position.y < r.y + title_strip && scene)
            scene->close(this);
        return;
    default:
        return;
    }
}

void Dialog::paint(PaintContext& context) {
    const Theme& theme = context.theme;
    const Rect r = screen_bounds;
    Panel::paint(context);
    context.canvas.text(text, {r.x + 16, r.y + 17}, 16, theme.text, 600);
    centered(context, "×", {r.x + r.w - 42, r.y + 6, 34, 34}, theme.muted, 22, 400);
    context.canvas.fill({r.x + 16, r.y + title_strip, std::max(0.0f, r.w - 32), 1}, theme.border, 0);
}

Modal::Modal(std::string title) : Dialog(std::move(title)) { modal = true; }

// ---- message box --------------------------------------------------------------------------------

MessageBox::MessageBox(std::string title, std::string text_of_message, std::function<void(bool)> on_answer)
    : Modal(std::move(title)), message(std::move(text_of_message)), on_close(std::move(on_answer)) {
    bounds = {0, 0, 460, 190};
    label = emplace<Label>(message);
    ok = emplace<Button>("确定");
    ok->accent = true;
    cancel = emplace<Button>("取消");
    // Through the parent link, so a button taken out of the box answers nothing.
    ok->on_activate = [](Widget& w) {
        if (auto* box = dynamic_cast<MessageBox*>(w.parent)) box->answer(true);
    };
    cancel->on_activate = [](Widget& w) {
        if (auto* box = dynamic_cast<MessageBox*>(w.parent)) box->answer(false);
    };
}

void MessageBox::answer(bool yes) {
    auto callback = on_close; // may destroy the box
    if (scene) scene->close(this);
    if (callback) callback(yes);
}

void MessageBox::event(Event& e) {
    if (e.type == key_down && (e.key == vk::escape || e.key == vk::enter)) {
        e.handled = true;
        answer(e.key == vk::enter);
        return;
    }
    Dialog::event(e);
}

void MessageBox::layout(Scene&) {
    const float w = bounds.w;
    const float h = bounds.h;
    label->text = message;
    label->bounds = {20, 62, std::max(w - 40, 0.0f), 60};
    cancel->bounds = {w - 210, h - 54, 90, 36};
    ok->bounds = {w - 110, h - 54, 90, 36};
}

} // namespace velmora::ui
