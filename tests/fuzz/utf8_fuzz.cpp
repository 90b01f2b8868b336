// The UTF-8 decoder and the UTF-16 conversions against an independent reading of the encoding.
//
// For arbitrary bytes: every decoded code point is a scalar value whose shortest encoding is
// exactly the bytes it came from; valid_utf8 agrees with a walk of the decoder; wide throws
// exactly for invalid text and utf8(wide(t)) gives t back. For arbitrary UTF-16 units: utf8
// always yields valid UTF-8, pairs become one code point and lone surrogates U+FFFD.
#include "fuzz_input.hpp"
#include "velmora/core/utf8.hpp"

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace ui = velmora::ui;
using velmora::fuzz::require;

namespace {

bool scalar(char32_t cp) { return cp <= 0x10FFFF && (cp < 0xD800 || cp > 0xDFFF); }

std::size_t encoded_length(char32_t cp) { return cp < 0x80 ? 1 : cp < 0x800 ? 2 : cp < 0x10000 ? 3 : 4; }

void check_bytes(const std::string& text) {
    bool walk_ok = true;
    std::size_t points = 0, astral = 0;
    for (std::size_t at = 0; at <= text.size(); ++at) {
        char32_t cp = 0xFFFFFFFF;
        const std::size_t n = ui::decode_utf8(text, at, cp);
        require(n <= 4 && n <= text.size() - std::min(at, text.size()));
        if (n == 0) continue;
        require(scalar(cp) && n == encoded_length(cp));
        std::string again;
        ui::append_utf8(again, cp);
        require(again == text.substr(at, n)); // no overlong form is ever accepted
        // A continuation byte can never start a code point.
        require((static_cast<unsigned char>(text[at]) & 0xC0u) != 0x80u);
    }
    for (std::size_t at = 0; at < text.size();) {
        char32_t cp;
        const std::size_t n = ui::decode_utf8(text, at, cp);
        if (n == 0) {
            walk_ok = false;
            break;
        }
        ++points;
        astral += cp >= 0x10000;
        at += n;
    }
    require(ui::valid_utf8(text) == walk_ok);

    std::u16string wide;
    bool threw = false;
    try {
        wide = ui::wide(text);
    } catch (const std::invalid_argument&) {
        threw = true;
    }
    require(threw == !walk_ok);
    if (!threw) {
        require(wide.size() == points + astral);
        require(ui::utf8(wide) == text);
    }
}

void check_units(const std::u16string& units) {
    const std::string text = ui::utf8(units);
    require(ui::valid_utf8(text));
    // Rebuild the expected UTF-16: well-formed pairs kept, lone surrogates replaced.
    std::u16string expected;
    for (std::size_t i = 0; i < units.size(); ++i) {
        const char16_t u = units[i];
        const bool high = u >= 0xD800 && u <= 0xDBFF;
        const bool low_next = i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF;
        if (high && low_next) {
            expected += u;
            expected += units[++i];
        } else if (u >= 0xD800 && u <= 0xDFFF) {
            expected += u'\uFFFD';
        } else {
            expected += u;
        }
    }
    require(ui::wide(text) == expected);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    check_bytes(text);
    std::u16string units;
    for (std::size_t i = 0; i + 1 < size; i += 2) units += static_cast<char16_t>(data[i] | data[i + 1] << 8);
    check_units(units);
    // Every scalar value round-trips through append and decode.
    for (std::size_t i = 0; i + 2 < size; i += 3) {
        const char32_t cp = static_cast<char32_t>(data[i] | data[i + 1] << 8 | (data[i + 2] & 0x1F) << 16);
        if (!scalar(cp)) continue;
        std::string one;
        ui::append_utf8(one, cp);
        char32_t back = 0;
        require(ui::decode_utf8(one, 0, back) == one.size() && back == cp);
    }
    return 0;
}
