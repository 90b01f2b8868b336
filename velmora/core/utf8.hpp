// UTF-8: the one decoder of the toolkit, and the conversions to and from UTF-16.
//
// Every place that walks text (canvas measuring, glyph lookup, text editing, the
// platform's wide-string calls) goes through `decode_utf8`, so all of them agree on
// what is valid: no overlong forms, no surrogate code points, nothing above U+10FFFF.
#pragma once

#include "velmora/core/export.hpp"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::ui {

// Decodes the code point starting at byte `at`. On success stores it in `cp`, returns the
// number of bytes it took (1 to 4). Returns 0 for an invalid or truncated sequence.
VELMORA_API std::size_t decode_utf8(std::string_view text, std::size_t at, char32_t& cp);

// Appends the UTF-8 form of a code point (which must be a valid scalar value).
VELMORA_API void append_utf8(std::string& out, char32_t cp);

// True when the whole text is valid UTF-8.
VELMORA_API bool valid_utf8(std::string_view text);

// Strict UTF-8 to UTF-16; throws std::invalid_argument "Invalid UTF-8".
VELMORA_API std::u16string wide(std::string_view text);

// UTF-16 of UTF-8 into buffers kept by the caller, with the byte offset each UTF-16 unit came
// from (the first byte of its code point) and then the text's size in `bytes`. False, with the
// buffers in an unspecified state, for invalid UTF-8.
bool wide(std::string_view text, std::u16string& out, std::vector<std::size_t>& bytes);

// UTF-16 to UTF-8. A lone surrogate becomes U+FFFD.
VELMORA_API std::string utf8(std::u16string_view text);

} // namespace velmora::ui
