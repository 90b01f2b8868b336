// Bidi levels and visual runs from ICU's ubidi, over a UTF-16 copy kept per thread.
#include "velmora/text/bidi.hpp"

#include "velmora/core/utf8.hpp"

#include <unicode/ubidi.h>
#include <unicode/uchar.h>

#include <cstdint>
#include <string>

namespace velmora::ui {

namespace {

struct Paragraph {
    UBiDi* bidi = nullptr;
    std::u16string units;
    std::vector<std::size_t> byte; // per UTF-16 unit its code point's first byte, and the end

    ~Paragraph() {
        if (bidi) ubidi_close(bidi);
    }

    // False when the text is not valid UTF-8 or ICU fails.
    bool set(std::string_view text) {
        if (!wide(text, units, byte)) return false;
        if (units.size() >= INT32_MAX) return false;
        UErrorCode status = U_ZERO_ERROR;
        if (!bidi) bidi = ubidi_open();
        if (!bidi) return false;
        const UBiDiLevel level = right_to_left(text) ? 1 : 0;
        ubidi_setPara(bidi, units.data(), static_cast<std::int32_t>(units.size()), level, nullptr, &status);
        return U_SUCCESS(status);
    }
};

thread_local Paragraph paragraph;

} // namespace

bool right_to_left(std::string_view text) {
    char32_t cp = 0;
    for (std::size_t i = 0, n = 0; i < text.size(); i += n) {
        n = decode_utf8(text, i, cp);
        if (n == 0) return false;
        switch (u_charDirection(static_cast<UChar32>(cp))) {
        case U_LEFT_TO_RIGHT:
            return false;
        case U_RIGHT_TO_LEFT:
        case U_RIGHT_TO_LEFT_ARABIC:
            return true;
        default:
            break;
        }
    }
    return false;
}

void visual_runs(std::string_view text, std::vector<DirectionRun>& runs) {
    runs.clear();
    if (text.empty()) return;
    if (!paragraph.set(text)) {
        runs.push_back({0, text.size(), false});
        return;
    }
    UErrorCode status = U_ZERO_ERROR;
    const std::int32_t count = ubidi_countRuns(paragraph.bidi, &status);
    for (std::int32_t i = 0; U_SUCCESS(status) && i < count; ++i) {
        std::int32_t start = 0, length = 0;
        const UBiDiDirection direction = ubidi_getVisualRun(paragraph.bidi, i, &start, &length);
        runs.push_back({paragraph.byte[static_cast<std::size_t>(start)],
                        paragraph.byte[static_cast<std::size_t>(start + length)], direction == UBIDI_RTL});
    }
}

} // namespace velmora::ui
