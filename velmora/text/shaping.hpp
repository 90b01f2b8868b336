// Which text needs shaping: joining and reordering scripts, right-to-left scripts, combining
// marks, joiners, variation selectors, emoji and bidi controls. Text with none of them (Latin,
// Greek, Cyrillic, CJK, symbols) is drawn by looking up one glyph per code point, which is
// exact for it and keeps its cost where it has always been.
#pragma once

#include <string_view>

namespace velmora::ui {

bool needs_shaping(char32_t code_point);
// Bytes that are not valid UTF-8 count as needing none; the renderer rejects such text anyway.
bool needs_shaping(std::string_view text);

} // namespace velmora::ui
