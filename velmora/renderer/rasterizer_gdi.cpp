// Rasterizer over GDI: fonts from CreateFontW, glyphs drawn white on black with TextOutW into
// a 32-bit DIB section, coverage read back from its colour bytes.
//
// GDI substitutes a font for a face name that is not installed. Font linking, which would
// supply the code points a face lacks, is a setting of the system that not every system has
// (Wine has none for the usual UI faces), so a code point the font lacks is looked up here:
// the installed faces are tried in turn, the CJK UI faces first and then the one that served
// last, and the answer is kept per code point. Glyphs of all faces share the primary font's
// baseline and line height.
//
// The CJK faces are named, not left to the alphabet: a package that brings another CJK font
// (Droid Sans Fallback, say) would otherwise take over every CJK glyph from the next run on.
#include "velmora/renderer/rasterizer.hpp"

#include "velmora/core/utf8.hpp"
#include "velmora/platform/error.hpp"
#include "velmora/platform/wstring_win32.hpp"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace velmora::ui {

namespace {

void delete_font(HFONT font) {
    if (font) DeleteObject(font);
}

HFONT create_font(const wchar_t* face, int size, int weight) {
    // A negative height asks for the character height (the em), not the cell height.
    return CreateFontW(-size, 0, 0, 0, weight, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                       CLIP_DEFAULT_PRECIS, ANTIALIASED_QUALITY, DEFAULT_PITCH, face);
}

} // namespace

struct RasterFont {
    HFONT handle = nullptr;
    int size = 0;
    int weight = FW_NORMAL;
    int line = 0;
    int ascent = 0;
    std::map<int, HFONT> fallbacks; // by face index, made on first use
    ~RasterFont() {
        delete_font(handle);
        for (const auto& [face, font] : fallbacks) delete_font(font);
    }
};

void RasterFontFree::operator()(RasterFont* font) const { delete font; }

namespace {

// A code point as the one or two UTF-16 units that GDI takes.
struct Units {
    wchar_t text[2]{};
    int count = 1;

    explicit Units(char32_t cp) {
        if (cp > 0xFFFF) {
            const char32_t v = cp - 0x10000;
            text[0] = static_cast<wchar_t>(0xD800 + (v >> 10));
            text[1] = static_cast<wchar_t>(0xDC00 + (v & 0x3FF));
            count = 2;
        } else {
            text[0] = static_cast<wchar_t>(cp);
        }
    }
};

// Selects an object into the device context for the life of the scope.
class Selected {
public:
    Selected(HDC dc, HGDIOBJ object) : dc_(dc), old_(SelectObject(dc, object)) {}
    ~Selected() { SelectObject(dc_, old_); }
    Selected(const Selected&) = delete;
    Selected& operator=(const Selected&) = delete;

private:
    HDC dc_;
    HGDIOBJ old_;
};

} // namespace

struct Rasterizer::Impl {
    HDC dc = nullptr;
    std::vector<std::wstring> faces;          // every installed family, searched in this order
    std::vector<HFONT> probes;                // one small font per face, made on first use
    std::unordered_map<char32_t, int> chosen; // a face that has the code point, -1 for none
    int last_served = -1;                     // the face found last

    ~Impl() {
        for (HFONT font : probes) delete_font(font);
        if (dc) DeleteDC(dc);
    }

    bool has_glyph(HFONT font, const Units& units) {
        // GDI reports glyph indices for the basic plane only; beyond it the font is trusted.
        if (units.count != 1) return true;
        Selected selected(dc, font);
        WORD index = 0;
        return GetGlyphIndicesW(dc, units.text, 1, &index, GGI_MARK_NONEXISTING_GLYPHS) == 1 &&
               index != 0xFFFF;
    }

    // The index of a face that has the code point, or -1.
    int find_face(const Units& units) {
        auto serves = [&](int i) {
            auto& probe = probes[static_cast<std::size_t>(i)];
            if (!probe) probe = create_font(faces[static_cast<std::size_t>(i)].c_str(), 16, FW_NORMAL);
            return probe && has_glyph(probe, units);
        };
        if (last_served >= 0 && serves(last_served)) return last_served;
        for (int i = 0; i < static_cast<int>(faces.size()); ++i)
            if (i != last_served && serves(i)) return last_served = i;
        return -1;
    }

    // The font that draws the code point: the font itself when it has it, else the font's
    // fallback in the face found for the code point.
    HFONT face_for(RasterFont& font, char32_t code_point) {
        const Units units(code_point);
        if (has_glyph(font.handle, units)) return font.handle;
        auto known = chosen.find(code_point);
        if (known == chosen.end()) known = chosen.emplace(code_point, find_face(units)).first;
        if (known->second < 0) return font.handle;
        HFONT& fallback = font.fallbacks[known->second];
        if (!fallback)
            fallback =
                create_font(faces[static_cast<std::size_t>(known->second)].c_str(), font.size, font.weight);
        return fallback ? fallback : font.handle;
    }
};

namespace {

int CALLBACK collect_face(const LOGFONTW* logical, const TEXTMETRICW*, DWORD, LPARAM out) {
    // Faces named with '@' are the vertical variants of CJK fonts.
    if (logical->lfFaceName[0] != L'@')
        reinterpret_cast<std::vector<std::wstring>*>(out)->push_back(logical->lfFaceName);
    return 1;
}

// The installed families: the usual CJK and symbol UI faces of Windows first, then the CJK
// face the Linux build falls back to, which is what Wine has.
std::vector<std::wstring> installed_faces(HDC dc) {
    std::vector<std::wstring> found;
    LOGFONTW query{};
    query.lfCharSet = DEFAULT_CHARSET;
    EnumFontFamiliesExW(dc, &query, collect_face, reinterpret_cast<LPARAM>(&found), 0);
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    std::vector<std::wstring> ordered;
    for (const wchar_t* preferred :
         {L"Microsoft YaHei UI", L"Microsoft YaHei", L"Microsoft JhengHei UI", L"SimSun", L"Yu Gothic UI",
          L"Malgun Gothic", L"Segoe UI Symbol", L"Segoe UI Emoji", L"WenQuanYi Micro Hei"}) {
        auto at = std::find(found.begin(), found.end(), preferred);
        if (at == found.end()) continue;
        ordered.push_back(*at);
        found.erase(at);
    }
    ordered.insert(ordered.end(), found.begin(), found.end());
    return ordered;
}

} // namespace

Rasterizer::Rasterizer() : impl_(std::make_unique<Impl>()) {
    impl_->dc = CreateCompatibleDC(nullptr);
    if (!impl_->dc) platform_error("Font DC");
    impl_->faces = installed_faces(impl_->dc);
    impl_->probes.assign(impl_->faces.size(), nullptr);
}

Rasterizer::~Rasterizer() = default;

RasterFontPtr Rasterizer::font(const std::string& family, int size, int weight) {
    const std::wstring face = wide_w(family);
    RasterFontPtr font(new RasterFont);
    font->size = size;
    font->weight = weight <= 0 ? FW_NORMAL : std::clamp(weight, 1, 1000);
    font->handle = create_font(face.c_str(), size, font->weight);
    if (!font->handle) platform_error("CreateFont");
    Selected selected(impl_->dc, font->handle);
    TEXTMETRICW metrics{};
    if (!GetTextMetricsW(impl_->dc, &metrics)) platform_error("CreateFont");
    font->line = static_cast<int>(metrics.tmHeight);
    font->ascent = static_cast<int>(metrics.tmAscent);
    return font;
}

GlyphExtent Rasterizer::extent(RasterFont& font, char32_t code_point) {
    const Units units(code_point);
    Selected selected(impl_->dc, impl_->face_for(font, code_point));
    SIZE size{};
    if (!GetTextExtentPoint32W(impl_->dc, units.text, units.count, &size))
        platform_error("Create glyph bitmap");
    return {static_cast<int>(size.cx), font.line};
}

void Rasterizer::draw(RasterFont& font, char32_t code_point, int width, int height, std::uint8_t* coverage) {
    const std::size_t pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    std::memset(coverage, 0, pixels);

    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height; // top-down rows, like the coverage buffer
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    void* bits = nullptr;
    HBITMAP bitmap = CreateDIBSection(impl_->dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    if (!bitmap || !bits) {
        if (bitmap) DeleteObject(bitmap);
        platform_error("Create glyph bitmap");
    }
    {
        Selected with_bitmap(impl_->dc, bitmap);
        Selected with_font(impl_->dc, impl_->face_for(font, code_point));
        std::memset(bits, 0, pixels * 4);
        SetTextColor(impl_->dc, RGB(255, 255, 255));
        SetBkMode(impl_->dc, TRANSPARENT);
        // On the primary font's baseline, whichever face draws.
        SetTextAlign(impl_->dc, TA_LEFT | TA_BASELINE | TA_NOUPDATECP);
        const Units units(code_point);
        TextOutW(impl_->dc, border, border + font.ascent, units.text, units.count);
        GdiFlush(); // the bits are read directly below
        // Anti-aliased white on black: each colour byte is a coverage; the largest keeps
        // ClearType-style fringes from thinning the stem.
        const auto* src = static_cast<const std::uint8_t*>(bits);
        for (std::size_t i = 0; i < pixels; ++i)
            coverage[i] = std::max({src[i * 4], src[i * 4 + 1], src[i * 4 + 2]});
    }
    DeleteObject(bitmap);
}

// GDI shapes nothing: a run is its code points, in reverse when it reads right to left, each
// drawn alone by the face that has it. Bidi order is right; joining and mark placement are not.
float Rasterizer::shape(RasterFont& font, std::string_view paragraph, std::size_t start, std::size_t end,
                        bool rtl, std::vector<ShapedGlyph>& out) {
    const std::size_t first = out.size();
    float pen = 0;
    char32_t cp = 0;
    for (std::size_t i = start, n = 0; i < end; i += n) {
        n = std::max<std::size_t>(decode_utf8(paragraph, i, cp), 1);
        const auto advance = static_cast<float>(extent(font, cp).advance);
        out.push_back({0, static_cast<std::uint32_t>(cp), static_cast<std::uint32_t>(i), 0, 0, advance, rtl});
    }
    if (rtl) std::reverse(out.begin() + static_cast<std::ptrdiff_t>(first), out.end());
    for (std::size_t i = first; i < out.size(); ++i) {
        out[i].x = pen;
        pen += out[i].advance;
    }
    return pen;
}

GlyphImage Rasterizer::draw(RasterFont& font, std::uint32_t, std::uint32_t index,
                            std::vector<std::uint8_t>& texels) {
    const auto cp = static_cast<char32_t>(index);
    const GlyphExtent size = extent(font, cp);
    const GlyphImage image{-border, -border, std::max(1, size.advance) + 2 * border, size.line + 2 * border,
                           false};
    const std::size_t area = static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height);
    texels.resize(area * 4);
    draw(font, cp, image.width, image.height, texels.data() + area * 3); // coverage in the last quarter
    for (std::size_t i = 0; i < area; ++i) {
        const std::uint8_t value = texels[area * 3 + i];
        texels[i * 4] = texels[i * 4 + 1] = texels[i * 4 + 2] = 255;
        texels[i * 4 + 3] = value;
    }
    return image;
}

} // namespace velmora::ui
