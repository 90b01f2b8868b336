#include "velmora/text/shaping.hpp"

#include "velmora/core/utf8.hpp"

#include <algorithm>
#include <array>
#include <iterator>

namespace velmora::ui {

namespace {

struct Range {
    char32_t first;
    char32_t last;
};

// Sorted and disjoint. Blocks, not properties: a whole block of a shaping script goes to the
// shaper, which is right for its letters and harmless for the rest.
constexpr std::array<Range, 32> shaped{{
    {0x0300, 0x036F},   // combining diacritical marks
    {0x0483, 0x0489},   // Cyrillic combining marks
    {0x0591, 0x08FF},   // Hebrew, Arabic, Syriac, Thaana, NKo, Samaritan, Mandaic
    {0x0900, 0x0DFF},   // the Indic scripts, Sinhala
    {0x0E00, 0x0FFF},   // Thai, Lao, Tibetan
    {0x1000, 0x109F},   // Myanmar
    {0x1700, 0x18AF},   // Philippine scripts, Khmer, Mongolian
    {0x1900, 0x1AFF},   // Limbu to Tai Tham, combining marks extended
    {0x1B00, 0x1C4F},   // Balinese to Lepcha
    {0x1CD0, 0x1CFF},   // Vedic extensions
    {0x1DC0, 0x1DFF},   // combining marks supplement
    {0x200C, 0x200F},   // joiners, direction marks
    {0x202A, 0x202E},   // bidi embeddings and overrides
    {0x2066, 0x2069},   // bidi isolates
    {0x20D0, 0x20FF},   // combining marks for symbols
    {0x302A, 0x302F},   // ideographic tone marks
    {0x3099, 0x309A},   // combining kana sound marks
    {0xA800, 0xA95F},   // Syloti Nagri to Rejang
    {0xA980, 0xAAFF},   // Javanese to Meetei Mayek extensions
    {0xABC0, 0xABFF},   // Meetei Mayek
    {0xFB1D, 0xFDFF},   // Hebrew and Arabic presentation forms
    {0xFE00, 0xFE0F},   // variation selectors
    {0xFE20, 0xFE2F},   // combining half marks
    {0xFE70, 0xFEFE},   // Arabic presentation forms
    {0x10800, 0x10FFF}, // historic right-to-left scripts
    {0x11000, 0x11FFF}, // historic Indic scripts
    {0x1E800, 0x1EFFF}, // Adlam, Arabic mathematical symbols
    {0x1F000, 0x1F0FF}, // game symbols
    {0x1F100, 0x1F1FF}, // enclosed alphanumerics, regional indicators
    {0x1F200, 0x1F2FF}, // enclosed ideographic supplement
    {0x1F300, 0x1FAFF}, // emoji and pictographs
    {0xE0000, 0xE0FFF}, // tags, variation selectors supplement
}};

} // namespace

bool needs_shaping(char32_t cp) {
    // Latin and the CJK ideographs and syllables, answered without a search.
    if (cp < 0x0300 || (cp >= 0x3100 && cp < 0xA800) || (cp >= 0xAC00 && cp < 0xFB1D)) return false;
    const auto after = std::upper_bound(shaped.begin(), shaped.end(), cp,
                                        [](char32_t value, const Range& r) { return value < r.first; });
    return after != shaped.begin() && cp <= std::prev(after)->last;
}

bool needs_shaping(std::string_view text) {
    char32_t cp = 0;
    for (std::size_t i = 0, n = 0; i < text.size(); i += n) {
        if (static_cast<unsigned char>(text[i]) < 0xCC) { // below U+0300
            n = 1;
            continue;
        }
        n = decode_utf8(text, i, cp);
        if (n == 0) return false;
        if (needs_shaping(cp)) return true;
    }
    return false;
}

} // namespace velmora::ui
