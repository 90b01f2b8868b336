// Grapheme boundaries from Uniscribe: the character stops of ScriptBreak over the items that
// ScriptItemize finds. Uniscribe works on whole UTF-16 strings, so the stops of the last text
// asked about are kept for the next question, which is nearly always about the same text.
#include "velmora/text/graphemes.hpp"

#include "velmora/core/utf8.hpp"

#include <usp10.h>
#include <windows.h>

#include <string>
#include <vector>

namespace velmora::ui::detail {

namespace {

struct Stops {
    std::string text;
    std::vector<bool> stop; // per byte: a cluster starts here (and at the end)
    std::u16string units;
    std::vector<std::size_t> byte; // per UTF-16 unit, its code point's first byte
    std::vector<SCRIPT_ITEM> items;
    std::vector<SCRIPT_LOGATTR> attributes;

    // Every code point stays its own cluster where Uniscribe fails.
    void compute(std::string_view s) {
        text.assign(s);
        stop.assign(s.size() + 1, false);
        stop[s.size()] = true;
        for (std::size_t i = 0; i < s.size(); ++i)
            stop[i] = (static_cast<unsigned char>(s[i]) & 0xC0u) != 0x80u;
        if (!wide(s, units, byte)) return;
        const int length = static_cast<int>(units.size());
        if (length == 0) return;
        items.resize(static_cast<std::size_t>(length) + 1);
        int count = 0;
        const auto* chars = reinterpret_cast<const WCHAR*>(units.data());
        if (FAILED(ScriptItemize(chars, length, length, nullptr, nullptr, items.data(), &count))) return;
        attributes.resize(static_cast<std::size_t>(length));
        for (int i = 0; i < count; ++i) {
            const int from = items[static_cast<std::size_t>(i)].iCharPos;
            const int to = items[static_cast<std::size_t>(i) + 1].iCharPos;
            if (FAILED(ScriptBreak(chars + from, to - from, &items[static_cast<std::size_t>(i)].a,
                                   attributes.data() + from)))
                return;
        }
        for (int i = 0; i < length; ++i)
            if (i == 0 || byte[static_cast<std::size_t>(i)] != byte[static_cast<std::size_t>(i) - 1])
                stop[byte[static_cast<std::size_t>(i)]] =
                    attributes[static_cast<std::size_t>(i)].fCharStop != 0;
        stop[0] = true;
    }

    const std::vector<bool>& of(std::string_view s) {
        if (text.size() != s.size() || text != s || stop.empty()) compute(s);
        return stop;
    }
};

thread_local Stops stops;

} // namespace

std::size_t following_grapheme(std::string_view text, std::size_t offset) {
    const auto& stop = stops.of(text);
    std::size_t at = offset + 1;
    while (at < text.size() && !stop[at]) ++at;
    return at;
}

std::size_t preceding_grapheme(std::string_view text, std::size_t offset) {
    const auto& stop = stops.of(text);
    std::size_t at = offset - 1;
    while (at > 0 && !stop[at]) --at;
    return at;
}

} // namespace velmora::ui::detail
