// UTF-8 to and from the wide strings of the Windows API (internal, Windows only).
//
// The core converts to UTF-16 as std::u16string; wchar_t is a 16-bit UTF-16 unit on Windows,
// so the system calls take the same units through a cast instead of a second conversion.
#pragma once

#if defined(_WIN32)

#include "velmora/core/utf8.hpp"

#include <string>
#include <string_view>

namespace velmora::ui {

static_assert(sizeof(wchar_t) == sizeof(char16_t), "wchar_t holds one UTF-16 unit on Windows");

// Throws std::invalid_argument "Invalid UTF-8".
inline std::wstring wide_w(std::string_view text) {
    const std::u16string units = wide(text);
    return std::wstring(reinterpret_cast<const wchar_t*>(units.data()), units.size());
}

inline std::string utf8_w(std::wstring_view text) {
    return utf8(std::u16string_view(reinterpret_cast<const char16_t*>(text.data()), text.size()));
}

} // namespace velmora::ui

#endif
