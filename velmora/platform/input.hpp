// Input: everything the user did during one Window::poll, condensed into one plain record.
//
// Keys are identified by Windows virtual-key codes on every platform, so widgets, key
// bindings and tests share one vocabulary; the platform layer translates its own key
// symbols into these. `vk` names the codes the toolkit uses, and `key_flags` is the one
// table from a code to the field that a plain key-down sets.
#pragma once

#include "velmora/core/export.hpp"
#include "velmora/core/geometry.hpp"

#include <cstddef>
#include <string>

namespace velmora::ui {

struct VELMORA_API Input {
    Vec2 mouse{-1, -1};          // logical units; (-1, -1) until the pointer is first seen. Kept across polls
    bool mouse_down = false;     // left button held. Kept across polls
    bool mouse_pressed = false;  // left button went down during this poll
    bool mouse_released = false; // left button went up, or the press was lost, during this poll
    bool backspace = false;
    bool delete_key = false;
    bool left = false;
    bool right = false;
    bool home = false;
    bool end = false;
    bool enter = false;
    bool escape = false;
    bool tab = false;
    // Modifier state at the start of the poll and at each key message, until a key or button
    // goes down: from then on, the state at that press, so a chord quicker than a frame arrives whole.
    bool shift = false;
    bool ctrl = false;
    bool select_all = false; // Ctrl+A
    bool up = false;
    bool down = false;
    bool page_up = false;
    bool page_down = false;
    bool space = false;
    bool alt = false;  // Alt held at the last key-down of this poll
    bool copy = false; // Ctrl+C
    bool cut = false;  // Ctrl+X
    bool undo = false; // Ctrl+Z
    bool redo = false; // Ctrl+Y or Ctrl+Shift+Z
    bool right_pressed = false;
    bool right_released = false;
    bool focus_lost = false; // the window lost the keyboard focus during this poll
    unsigned key = 0;        // virtual-key code of the last key-down; 0 if none
    float wheel = 0;         // notches, positive away from the user, summed over the poll
    std::string text;        // UTF-8 typed during this poll (no control characters)
    std::string paste;       // the clipboard's text when Ctrl+V came during this poll
    // Input-method composition under way: the UTF-8 preedit text, empty when none, and the
    // byte offset of its cursor. Kept across polls until committed (the text then arrives in
    // `text`), cancelled, or the window loses focus.
    std::string composition;
    std::size_t composition_cursor = 0;
};

// Virtual-key codes. Letters and digits are their upper-case ASCII codes ('A' is 0x41).
namespace vk {
inline constexpr unsigned backspace = 0x08;
inline constexpr unsigned tab = 0x09;
inline constexpr unsigned enter = 0x0D;
inline constexpr unsigned shift = 0x10;
inline constexpr unsigned control = 0x11;
inline constexpr unsigned alt = 0x12;
inline constexpr unsigned pause = 0x13;
inline constexpr unsigned caps_lock = 0x14;
inline constexpr unsigned escape = 0x1B;
inline constexpr unsigned space = 0x20;
inline constexpr unsigned page_up = 0x21;
inline constexpr unsigned page_down = 0x22;
inline constexpr unsigned end = 0x23;
inline constexpr unsigned home = 0x24;
inline constexpr unsigned left = 0x25;
inline constexpr unsigned up = 0x26;
inline constexpr unsigned right = 0x27;
inline constexpr unsigned down = 0x28;
inline constexpr unsigned print_screen = 0x2C;
inline constexpr unsigned insert = 0x2D;
inline constexpr unsigned delete_key = 0x2E;
inline constexpr unsigned digit_0 = 0x30; // through 0x39
inline constexpr unsigned a = 0x41;       // through 0x5A
inline constexpr unsigned c = 0x43;
inline constexpr unsigned v = 0x56;
inline constexpr unsigned x = 0x58;
inline constexpr unsigned y = 0x59;
inline constexpr unsigned z = 0x5A;
inline constexpr unsigned left_super = 0x5B;
inline constexpr unsigned right_super = 0x5C;
inline constexpr unsigned menu = 0x5D;
inline constexpr unsigned numpad_0 = 0x60; // through 0x69
inline constexpr unsigned multiply = 0x6A;
inline constexpr unsigned add = 0x6B;
inline constexpr unsigned subtract = 0x6D;
inline constexpr unsigned decimal = 0x6E;
inline constexpr unsigned divide = 0x6F;
inline constexpr unsigned f1 = 0x70; // through f24 at 0x87
inline constexpr unsigned num_lock = 0x90;
inline constexpr unsigned scroll_lock = 0x91;
inline constexpr unsigned oem_1 = 0xBA; // ;:
inline constexpr unsigned oem_plus = 0xBB;
inline constexpr unsigned oem_comma = 0xBC;
inline constexpr unsigned oem_minus = 0xBD;
inline constexpr unsigned oem_period = 0xBE;
inline constexpr unsigned oem_2 = 0xBF; // /?
inline constexpr unsigned oem_3 = 0xC0; // `~
inline constexpr unsigned oem_4 = 0xDB; // [{
inline constexpr unsigned oem_5 = 0xDC; // \|
inline constexpr unsigned oem_6 = 0xDD; // ]}
inline constexpr unsigned oem_7 = 0xDE; // '"
} // namespace vk

// Shift, Ctrl, Alt, the left and right variants of each (0xA0 to 0xA5), and the system keys:
// keys that modify others rather than act, so their presses carry no modifiers of their own.
inline constexpr bool modifier_key(unsigned code) {
    return code == vk::shift || code == vk::control || code == vk::alt || code == vk::left_super ||
           code == vk::right_super || (code >= 0xA0 && code <= 0xA5);
}

// The plain keys: a key-down of `code` sets `flag`. The letter shortcuts (A, C, V, X, Y, Z)
// depend on the modifiers and are decided by `apply_key`.
struct KeyFlag {
    unsigned code;
    bool Input::*flag;
};

inline constexpr KeyFlag key_flags[] = {
    {vk::backspace, &Input::backspace},
    {vk::tab, &Input::tab},
    {vk::enter, &Input::enter},
    {vk::escape, &Input::escape},
    {vk::space, &Input::space},
    {vk::page_up, &Input::page_up},
    {vk::page_down, &Input::page_down},
    {vk::end, &Input::end},
    {vk::home, &Input::home},
    {vk::left, &Input::left},
    {vk::up, &Input::up},
    {vk::right, &Input::right},
    {vk::down, &Input::down},
    {vk::delete_key, &Input::delete_key},
};

// Records a key-down of `code` in `in`, with the modifiers already in `in.ctrl` and
// `in.shift`: the last key, its plain flag and the edit shortcuts. Every platform calls this
// so that a key means the same everywhere. Returns true for Ctrl+V; reading the clipboard is
// the caller's business, as only it knows whether text input is on.
VELMORA_API bool apply_key(Input& in, unsigned code);

// Whether an event fits the record beside what it already holds. Flags carry no order, and a
// frame takes the pointer's press first, then keys, then text; so a poll stops before an event
// that would be lost or taken out of order (a second command, a second press), leaves it
// queued, and the next frame follows at once. Every platform's poll asks these.
//
// A key-down of `code` with Ctrl as held at it: a command fits only a record without keys or
// text; a plain key (one that only types) also joins plain keys and text. Modifiers always fit.
bool fits_key(const Input& in, unsigned code, bool ctrl);
// A press of either button fits a record without a press, release, key or text.
bool fits_press(const Input& in);
// Motion fits until a button went down or up: a click keeps the position it was made at.
bool fits_motion(const Input& in);

// Starts the record of a new poll: everything is cleared but what lasts across polls (the
// pointer, the held button and an unfinished input-method composition).
VELMORA_API void begin_poll(Input& in);

} // namespace velmora::ui
