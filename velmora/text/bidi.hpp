// Bidirectional text: which way a paragraph runs and the order its pieces are seen in, by the
// Unicode bidi algorithm of the platform's text services (bidi_icu.cpp, bidi_uniscribe.cpp).
//
// A paragraph here is one line of valid UTF-8 without line feeds; offsets are byte offsets.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace velmora::ui {

// Bytes [start, end) of a paragraph, all at one direction.
struct DirectionRun {
    std::size_t start = 0;
    std::size_t end = 0;
    bool rtl = false;
};

// True when the paragraph's first strong character reads right to left.
bool right_to_left(std::string_view paragraph);

// The paragraph's runs in visual order, left to right, its direction taken from its first
// strong character. Replaces what `runs` held; reuses its storage.
void visual_runs(std::string_view paragraph, std::vector<DirectionRun>& runs);

} // namespace velmora::ui
