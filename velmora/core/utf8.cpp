#include "velmora/core/utf8.hpp"

#include <stdexcept>

namespace velmora::ui {

std::size_t decode_utf8(std::string_view text, std::size_t at, char32_t& cp) {
    if (at >= text.size()) return 0;
    auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    unsigned char lead = byte(at);
    if (lead < 0x80) {
        cp = lead;
        return 1;
    }
    std::size_t length;
    char32_t value, least;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2, value = lead & 0x1Fu, least = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3, value = lead & 0x0Fu, least = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4, value = lead & 0x07u, least = 0x10000;
    } else {
        return 0;
    }
    if (text.size() - at < length) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        unsigned char c = byte(at + i);
        if ((c & 0xC0u) != 0x80u) return 0;
        value = (value << 6) | (c & 0x3Fu);
    }
    if (value < least || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) return 0;
    cp = value;
    return length;
}

void append_utf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

bool valid_utf8(std::string_view text) {
    char32_t cp;
    for (std::size_t i = 0; i < text.size();) {
        std::size_t n = decode_utf8(text, i, cp);
        if (n == 0) return false;
        i += n;
    }
    return true;
}

namespace {

void append_utf16(std::u16string& out, char32_t cp) {
    if (cp >= 0x10000) {
        cp -= 0x10000;
        out += static_cast<char16_t>(0xD800 + (cp >> 10));
        out += static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
    } else {
        out += static_cast<char16_t>(cp);
    }
}

} // namespace

std::u16string wide(std::string_view text) {
    std::u16string out;
    out.reserve(text.size());
    char32_t cp;
    for (std::size_t i = 0; i < text.size();) {
        std::size_t n = decode_utf8(text, i, cp);
        if (n == 0) throw std::invalid_argument("Invalid UTF-8");
        i += n;
        append_utf16(out, cp);
    }
    return out;
}

bool wide(std::string_view text, std::u16string& out, std::vector<std::size_t>& bytes) {
    out.clear();
    bytes.clear();
    char32_t cp;
    for (std::size_t i = 0; i < text.size();) {
        std::size_t n = decode_utf8(text, i, cp);
        if (n == 0) return false;
        append_utf16(out, cp);
        bytes.resize(out.size(), i);
        i += n;
    }
    bytes.push_back(text.size());
    return true;
}

std::string utf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t u = text[i];
        if (u >= 0xD800 && u <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
            text[i + 1] <= 0xDFFF) {
            u = 0x10000 + ((u - 0xD800) << 10) + (text[i + 1] - 0xDC00);
            ++i;
        } else if (u >= 0xD800 && u <= 0xDFFF) {
            u = 0xFFFD;
        }
        append_utf8(out, u);
    }
    return out;
}

} // namespace velmora::ui
