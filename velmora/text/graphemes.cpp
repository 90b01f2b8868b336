#include "velmora/text/graphemes.hpp"

#include <algorithm>

namespace velmora::ui {

namespace {

bool ascii(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

bool continuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0u) == 0x80u; }

// Two ASCII characters always have a cluster boundary between them, but for CR LF: whatever
// joins (marks, joiners, prepended signs) lies outside ASCII.
bool ascii_break(std::string_view text, std::size_t at) {
    const char before = text[at - 1], after = text[at];
    return ascii(before) && ascii(after) && !(before == '\r' && after == '\n');
}

} // namespace

std::size_t next_grapheme(std::string_view text, std::size_t offset) {
    if (offset >= text.size()) return text.size();
    while (offset > 0 && continuation(text[offset])) --offset;
    if (offset + 1 == text.size() && ascii(text[offset])) return text.size();
    if (offset + 1 < text.size() && ascii_break(text, offset + 1)) return offset + 1;
    return std::clamp(detail::following_grapheme(text, offset), offset + 1, text.size());
}

std::size_t prev_grapheme(std::string_view text, std::size_t offset) {
    offset = std::min(offset, text.size());
    if (offset == 0) return 0;
    while (offset < text.size() && continuation(text[offset])) --offset;
    if (offset == 1 && ascii(text[0])) return 0;
    if (offset >= 2 && (offset == text.size() || ascii(text[offset])) && ascii_break(text, offset - 1))
        return offset - 1;
    return std::min(detail::preceding_grapheme(text, offset), offset - 1);
}

std::size_t grapheme_start(std::string_view text, std::size_t offset) {
    offset = std::min(offset, text.size());
    while (offset > 0 && offset < text.size() && continuation(text[offset])) --offset;
    if (offset == 0 || offset == text.size()) return offset;
    if (ascii(text[offset]) && ascii(text[offset - 1]) && !(text[offset - 1] == '\r' && text[offset] == '\n'))
        return offset;
    const std::size_t start = prev_grapheme(text, offset), end = next_grapheme(text, start);
    return end <= offset ? end : start;
}

std::size_t grapheme_count(std::string_view text) {
    std::size_t n = 0;
    for (std::size_t i = 0; i < text.size(); i = next_grapheme(text, i)) ++n;
    return n;
}

} // namespace velmora::ui
