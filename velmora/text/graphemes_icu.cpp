// Grapheme boundaries from ICU's character break iterator, reading the UTF-8 in place, with
// the newer rule that keeps an Indic conjunct (consonant, virama, consonant) in one cluster.
#include "velmora/text/graphemes.hpp"

#include "velmora/core/utf8.hpp"

#include <unicode/ubrk.h>
#include <unicode/uchar.h>
#include <unicode/uscript.h>
#include <unicode/utext.h>

#include <cstdint>

namespace velmora::ui::detail {

namespace {

// One iterator per thread, kept: opening one loads its rules, and re-pointing the kept one at
// new text allocates nothing, which a frame that counts a masked field's bullets relies on.
struct Breaker {
    UText text = UTEXT_INITIALIZER;
    UBreakIterator* iterator = nullptr;

    ~Breaker() {
        if (iterator) ubrk_close(iterator);
        utext_close(&text);
    }

    UBreakIterator* over(std::string_view s) {
        UErrorCode status = U_ZERO_ERROR;
        utext_openUTF8(&text, s.data(), static_cast<std::int64_t>(s.size()), &status);
        if (!iterator && U_SUCCESS(status)) iterator = ubrk_open(UBRK_CHARACTER, "", nullptr, 0, &status);
        if (iterator && U_SUCCESS(status)) ubrk_setUText(iterator, &text, &status);
        return U_SUCCESS(status) ? iterator : nullptr;
    }
};

thread_local Breaker breaker;

// The scripts whose virama links two consonants into one conjunct.
bool linking_script(char32_t cp) {
    UErrorCode status = U_ZERO_ERROR;
    switch (uscript_getScript(static_cast<UChar32>(cp), &status)) {
    case USCRIPT_DEVANAGARI:
    case USCRIPT_BENGALI:
    case USCRIPT_GUJARATI:
    case USCRIPT_ORIYA:
    case USCRIPT_TELUGU:
    case USCRIPT_MALAYALAM:
        return true;
    default:
        return false;
    }
}

int syllabic(char32_t cp) {
    return u_getIntPropertyValue(static_cast<UChar32>(cp), UCHAR_INDIC_SYLLABIC_CATEGORY);
}

// True when ICU's boundary at `at` falls inside a conjunct: a consonant after a virama, with
// nothing but marks and joiners between them.
bool inside_conjunct(std::string_view text, std::size_t at) {
    char32_t cp = 0;
    if (at == 0 || at >= text.size() || !decode_utf8(text, at, cp)) return false;
    if (syllabic(cp) != U_INSC_CONSONANT || !linking_script(cp)) return false;
    bool linked = false;
    for (std::size_t i = at; i > 0;) {
        do --i;
        while (i > 0 && (static_cast<unsigned char>(text[i]) & 0xC0u) == 0x80u);
        if (!decode_utf8(text, i, cp)) return false;
        if (syllabic(cp) == U_INSC_VIRAMA && linking_script(cp)) {
            linked = true;
            continue;
        }
        const auto kind = u_getIntPropertyValue(static_cast<UChar32>(cp), UCHAR_GRAPHEME_CLUSTER_BREAK);
        if (kind == U_GCB_EXTEND || kind == U_GCB_ZWJ) continue;
        return linked && syllabic(cp) == U_INSC_CONSONANT;
    }
    return false;
}

} // namespace

// Without ICU's rules every code point is its own cluster.
std::size_t following_grapheme(std::string_view text, std::size_t offset) {
    UBreakIterator* it = text.size() < INT32_MAX ? breaker.over(text) : nullptr;
    std::int32_t at = it ? ubrk_following(it, static_cast<std::int32_t>(offset)) : UBRK_DONE;
    while (at != UBRK_DONE && inside_conjunct(text, static_cast<std::size_t>(at))) at = ubrk_next(it);
    if (at != UBRK_DONE) return static_cast<std::size_t>(at);
    std::size_t next = offset + 1;
    while (next < text.size() && (static_cast<unsigned char>(text[next]) & 0xC0u) == 0x80u) ++next;
    return next;
}

std::size_t preceding_grapheme(std::string_view text, std::size_t offset) {
    UBreakIterator* it = text.size() < INT32_MAX ? breaker.over(text) : nullptr;
    std::int32_t at = it ? ubrk_preceding(it, static_cast<std::int32_t>(offset)) : UBRK_DONE;
    while (at != UBRK_DONE && inside_conjunct(text, static_cast<std::size_t>(at))) at = ubrk_previous(it);
    if (at != UBRK_DONE) return static_cast<std::size_t>(at);
    std::size_t prev = offset - 1;
    while (prev > 0 && (static_cast<unsigned char>(text[prev]) & 0xC0u) == 0x80u) --prev;
    return prev;
}

} // namespace velmora::ui::detail
