// Grapheme clusters: the user-perceived characters that caret movement, deletion, selection and
// masking step over (an accented letter, an emoji with its modifiers, a flag, an Indic conjunct).
//
// Offsets are byte offsets into valid UTF-8, clamped to the text. The boundaries come from the
// platform's text services, one file per platform (graphemes_icu.cpp, graphemes_uniscribe.cpp);
// runs of plain ASCII are answered here without asking them.
#pragma once

#include <cstddef>
#include <string_view>

namespace velmora::ui {

// Start of the cluster after the one at `offset`; the text's size at its end.
std::size_t next_grapheme(std::string_view text, std::size_t offset);
// Start of the cluster before `offset`; 0 at the start.
std::size_t prev_grapheme(std::string_view text, std::size_t offset);
// `offset` moved back to the start of the cluster it falls in.
std::size_t grapheme_start(std::string_view text, std::size_t offset);
std::size_t grapheme_count(std::string_view text);

namespace detail {
// The platform's answers for offsets on code-point boundaries inside the text.
std::size_t following_grapheme(std::string_view text, std::size_t offset);
std::size_t preceding_grapheme(std::string_view text, std::size_t offset);
} // namespace detail

} // namespace velmora::ui
