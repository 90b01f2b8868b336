#include "velmora/platform/input.hpp"

#include <utility>

namespace velmora::ui {

void begin_poll(Input& in) {
    Input kept = std::move(in);
    in = Input{};
    in.mouse = kept.mouse;
    in.mouse_down = kept.mouse_down;
    in.composition = std::move(kept.composition);
    in.composition_cursor = kept.composition_cursor;
}

namespace {

bool command_key(unsigned code, bool ctrl) {
    if (ctrl) return true;
    for (const KeyFlag& k : key_flags)
        if (k.code == code) return true;
    return false;
}

bool clicked(const Input& in) {
    return in.mouse_pressed || in.mouse_released || in.right_pressed || in.right_released;
}

} // namespace

bool fits_key(const Input& in, unsigned code, bool ctrl) {
    if (modifier_key(code)) return true;
    if (in.key == 0 && in.text.empty() && in.paste.empty()) return true;
    // The record's ctrl is as at its last key-down, so its key can be judged the same way.
    return !command_key(code, ctrl) && (in.key == 0 || !command_key(in.key, in.ctrl)) && in.paste.empty();
}

bool fits_press(const Input& in) {
    return !clicked(in) && in.key == 0 && in.text.empty() && in.paste.empty();
}

bool fits_motion(const Input& in) { return !clicked(in); }

bool apply_key(Input& in, unsigned code) {
    in.key = code;
    for (const KeyFlag& k : key_flags)
        if (k.code == code) in.*k.flag = true;
    // Assignments, not settings: a plain letter later in the same poll takes a shortcut back.
    const bool ctrl = in.ctrl;
    switch (code) {
    case vk::a:
        in.select_all = ctrl;
        break;
    case vk::c:
        in.copy = ctrl;
        break;
    case vk::x:
        in.cut = ctrl;
        break;
    case vk::y:
        in.redo = ctrl;
        break;
    case vk::z:
        in.undo = ctrl && !in.shift;
        in.redo = ctrl && in.shift;
        break;
    case vk::v:
        return ctrl;
    default:
        break;
    }
    return false;
}

} // namespace velmora::ui
