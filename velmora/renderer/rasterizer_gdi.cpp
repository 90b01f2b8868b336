// Rasterizer over GDI: fonts from CreateFontW, glyphs drawn white on black with TextOutW into
// a 32-bit DIB section, coverage read back from its colour bytes.
//
// GDI substitutes a font for a face name that is not installed, and font linking supplies
// code points the face lacks, so the Renderer never has to choose fallbacks itself.
#include "velmora/renderer/rasterizer.hpp"

#include "velmora/platform/error.hpp"
#include "velmora/platform/wstring_win32.hpp"

#include <windows.h>

#include <algorithm>
#include <cstring>

namespace velmora::ui {

struct RasterFont {
    HFONT handle = nullptr;
    int line = 0;
    ~RasterFont() {
        if (handle) DeleteObject(handle);
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
    ~Impl() {
        if (dc) DeleteDC(dc);
    }
};

Rasterizer::Rasterizer() : impl_(std::make_unique<Impl>()) {
    impl_->dc = CreateCompatibleDC(nullptr);
    if (!impl_->dc) platform_error("Font DC");
}

Rasterizer::~Rasterizer() = default;

RasterFontPtr Rasterizer::font(const std::string& family, int size, int weight) {
    const std::wstring face = wide_w(family);
    RasterFontPtr font(new RasterFont);
    // A negative height asks for the character height (the em), not the cell height.
    font->handle = CreateFontW(-size, 0, 0, 0, weight <= 0 ? FW_NORMAL : std::clamp(weight, 1, 1000), FALSE,
                               FALSE, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS,
                               ANTIALIASED_QUALITY, DEFAULT_PITCH, face.c_str());
    if (!font->handle) platform_error("CreateFont");
    Selected selected(impl_->dc, font->handle);
    TEXTMETRICW metrics{};
    if (!GetTextMetricsW(impl_->dc, &metrics)) platform_error("CreateFont");
    font->line = static_cast<int>(metrics.tmHeight);
    return font;
}

GlyphExtent Rasterizer::extent(RasterFont& font, char32_t code_point) {
    const Units units(code_point);
    Selected selected(impl_->dc, font.handle);
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
        Selected with_font(impl_->dc, font.handle);
        std::memset(bits, 0, pixels * 4);
        SetTextColor(impl_->dc, RGB(255, 255, 255));
        SetBkMode(impl_->dc, TRANSPARENT);
        const Units units(code_point);
        TextOutW(impl_->dc, border, border, units.text, units.count);
        GdiFlush(); // the bits are read directly below
        // Anti-aliased white on black: each colour byte is a coverage; the largest keeps
        // ClearType-style fringes from thinning the stem.
        const auto* src = static_cast<const std::uint8_t*>(bits);
        for (std::size_t i = 0; i < pixels; ++i)
            coverage[i] = std::max({src[i * 4], src[i * 4 + 1], src[i * 4 + 2]});
    }
    DeleteObject(bitmap);
}

} // namespace velmora::ui
