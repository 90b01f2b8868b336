// Rasterizer over FreeType, with fonts found through fontconfig.
//
//   faces       one FT_Face per (file, index) and one FT_Size per pixel size on it, shared by
//               every font that uses them
//   matching    the requested family and weight go through fontconfig's substitution
//   fallback    per code point, the first font of the family's sorted fallback list whose
//               character set has it; the list is made once per (family, weight)
//   glyphs      light hinting, grey-level anti-aliasing, synthetic bold where fontconfig asks
#include "velmora/renderer/rasterizer.hpp"

#include "velmora/platform/error.hpp"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_SIZES_H
#include FT_SYNTHESIS_H

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <string>
#include <utility>

namespace velmora::ui {

namespace {

[[noreturn]] void freetype_fail(const char* what, FT_Error error) {
    system_error(what, "FreeType=" + std::to_string(error));
}

// Light hinting keeps shapes and advances close to the design while making horizontal stems
// crisp; embedded bitmaps are skipped so that every size is anti-aliased alike.
constexpr FT_Int32 load_flags = FT_LOAD_TARGET_LIGHT | FT_LOAD_NO_BITMAP;

int fc_weight(int weight) {
    if (weight <= 0) weight = 400;
    return FcWeightFromOpenType(std::clamp(weight, 1, 1000));
}

// A pattern for the family and weight, with the configuration's substitutions applied.
FcPattern* request(const std::string& family, int weight) {
    FcPattern* pattern = FcPatternCreate();
    FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(family.c_str()));
    FcPatternAddInteger(pattern, FC_WEIGHT, fc_weight(weight));
    FcConfigSubstitute(nullptr, pattern, FcMatchPattern);
    FcDefaultSubstitute(pattern);
    return pattern;
}

struct Source {
    std::string file;
    int index = 0;
    bool embolden = false;
};

// Reads where a rendered pattern's font lives. False when it names no file.
bool source_of(FcPattern* font, Source& out) {
    FcChar8* file = nullptr;
    if (FcPatternGetString(font, FC_FILE, 0, &file) != FcResultMatch || !file) return false;
    out.file = reinterpret_cast<const char*>(file);
    out.index = 0;
    FcPatternGetInteger(font, FC_INDEX, 0, &out.index);
    FcBool embolden = FcFalse;
    FcPatternGetBool(font, FC_EMBOLDEN, 0, &embolden);
    out.embolden = embolden == FcTrue;
    return true;
}

// The fonts that can stand in for one family and weight, best first.
struct Fallbacks {
    FcPattern* pattern = nullptr;
    FcFontSet* fonts = nullptr;
    // Sources already rendered from `fonts`, by position in the set.
    std::map<int, Source> sources;
};

struct Pick {
    FT_Size size = nullptr; // and with it the face
    FT_UInt index = 0;
    bool embolden = false;
};

} // namespace

struct RasterFont {
    std::string family;
    int pixels = 0; // the requested pixel size, for fallback faces
    int weight = 0;
    FT_Size size = nullptr; // owned by the Rasterizer's face cache
    bool embolden = false;
    int ascent = 0;
    int line = 0;
    Fallbacks* fallbacks = nullptr; // made on the first code point the face lacks
};

void RasterFontFree::operator()(RasterFont* font) const { delete font; }

struct Rasterizer::Impl {
    FT_Library library = nullptr;
    std::map<std::pair<std::string, int>, FT_Face> faces;
    std::map<std::pair<FT_Face, int>, FT_Size> sizes; // freed with their faces
    std::map<std::pair<std::string, int>, Fallbacks> fallbacks;

    ~Impl() {
        for (auto& [key, f] : fallbacks) {
            if (f.fonts) FcFontSetDestroy(f.fonts);
            FcPatternDestroy(f.pattern);
        }
        for (auto& [key, face] : faces) FT_Done_Face(face);
        if (library) FT_Done_FreeType(library);
    }

    // The face of a file at a pixel size; returns the FreeType error, 0 on success. A file is
    // opened once whatever its sizes: each face maps the file and reads its tables, which for a
    // CJK font is megabytes touched and milliseconds spent.
    FT_Error sized(const Source& source, int size, FT_Size& out) {
        auto file = faces.find({source.file, source.index});
        if (file == faces.end()) {
            FT_Face made = nullptr;
            if (FT_Error e = FT_New_Face(library, source.file.c_str(), source.index, &made)) return e;
            file = faces.emplace(std::make_pair(source.file, source.index), made).first;
        }
        FT_Face face = file->second;
        if (auto it = sizes.find({face, size}); it != sizes.end()) {
            out = it->second;
            return 0;
        }
        FT_Size made = nullptr;
        if (FT_Error e = FT_New_Size(face, &made)) return e;
        FT_Activate_Size(made);
        FT_Error e = FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(size));
        if (e && face->num_fixed_sizes > 0) e = FT_Select_Size(face, 0); // a bitmap-only face
        if (e) {
            FT_Done_Size(made);
            return e;
        }
        sizes.emplace(std::make_pair(face, size), made);
        out = made;
        return 0;
    }

    Fallbacks& fallback_list(const std::string& family, int weight) {
        auto [it, fresh] = fallbacks.try_emplace({family, weight});
        if (fresh) {
            it->second.pattern = request(family, weight);
            FcResult result;
            it->second.fonts = FcFontSort(nullptr, it->second.pattern, FcTrue, nullptr, &result);
        }
        return it->second;
    }

    Pick pick(RasterFont& font, char32_t code_point) {
        if (FT_UInt index = FT_Get_Char_Index(font.size->face, code_point))
            return {font.size, index, font.embolden};
        if (!font.fallbacks) font.fallbacks = &fallback_list(font.family, font.weight);
        Fallbacks& list = *font.fallbacks;
        for (int i = 0; list.fonts && i < list.fonts->nfont; ++i) {
            FcCharSet* charset = nullptr;
            if (FcPatternGetCharSet(list.fonts->fonts[i], FC_CHARSET, 0, &charset) != FcResultMatch ||
                !FcCharSetHasChar(charset, code_point))
                continue;
            auto known = list.sources.find(i);
            if (known == list.sources.end()) {
                Source source;
                FcPattern* rendered = FcFontRenderPrepare(nullptr, list.pattern, list.fonts->fonts[i]);
                const bool named = rendered && source_of(rendered, source);
                if (rendered) FcPatternDestroy(rendered);
                if (!named) continue;
                known = list.sources.emplace(i, std::move(source)).first;
            }
            FT_Size size = nullptr;
            if (sized(known->second, font.pixels, size) != 0) continue; // unusable: try the next
            if (FT_UInt index = FT_Get_Char_Index(size->face, code_point))
                return {size, index, known->second.embolden};
        }
        return {font.size, 0, font.embolden}; // the missing-glyph box
    }

    // Loads the glyph into its face's slot, synthetic bold applied.
    static FT_GlyphSlot load(const Pick& pick) {
        FT_Face face = pick.size->face;
        FT_Activate_Size(pick.size);
        FT_Error e = FT_Load_Glyph(face, pick.index, load_flags);
        if (e) e = FT_Load_Glyph(face, pick.index, FT_LOAD_TARGET_LIGHT | FT_LOAD_COLOR);
        if (e) freetype_fail("Create glyph bitmap", e);
        if (pick.embolden) FT_GlyphSlot_Embolden(face->glyph);
        return face->glyph;
    }
};

Rasterizer::Rasterizer() : impl_(std::make_unique<Impl>()) {
    errno = 0;
    if (!FcInit()) errno_error("Font DC");
    if (FT_Error e = FT_Init_FreeType(&impl_->library)) freetype_fail("Font DC", e);
}

Rasterizer::~Rasterizer() = default;

RasterFontPtr Rasterizer::font(const std::string& family, int size, int weight) {
    FcPattern* pattern = request(family, weight);
    FcResult result;
    FcPattern* match = FcFontMatch(nullptr, pattern, &result);
    FcPatternDestroy(pattern);
    Source source;
    const bool named = match && source_of(match, source);
    if (match) FcPatternDestroy(match);
    if (!named) freetype_fail("CreateFont", FT_Err_Cannot_Open_Resource);

    RasterFontPtr font(new RasterFont);
    font->family = family;
    font->pixels = size;
    font->weight = weight;
    font->embolden = source.embolden;
    if (FT_Error e = impl_->sized(source, size, font->size)) freetype_fail("CreateFont", e);
    const FT_Size_Metrics& metrics = font->size->metrics;
    font->ascent = static_cast<int>((metrics.ascender + 63) >> 6);
    font->line = font->ascent + static_cast<int>((-metrics.descender + 63) >> 6);
    return font;
}

GlyphExtent Rasterizer::extent(RasterFont& font, char32_t code_point) {
    FT_GlyphSlot slot = Impl::load(impl_->pick(font, code_point));
    return {static_cast<int>((slot->advance.x + 32) >> 6), font.line};
}

void Rasterizer::draw(RasterFont& font, char32_t code_point, int width, int height, std::uint8_t* coverage) {
    std::memset(coverage, 0, static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    FT_GlyphSlot slot = Impl::load(impl_->pick(font, code_point));
    if (slot->format != FT_GLYPH_FORMAT_BITMAP)
        if (FT_Error e = FT_Render_Glyph(slot, FT_RENDER_MODE_NORMAL))
            freetype_fail("Create glyph bitmap", e);

    // Every face sits on the requested font's baseline, so mixed scripts share one line.
    const FT_Bitmap& bitmap = slot->bitmap;
    const int left = border + slot->bitmap_left;
    const int top = border + font.ascent - slot->bitmap_top;
    for (int row = 0; row < static_cast<int>(bitmap.rows); ++row) {
        const int y = top + row;
        if (y < 0 || y >= height) continue;
        const unsigned char* src = bitmap.buffer + static_cast<std::ptrdiff_t>(row) * bitmap.pitch;
        std::uint8_t* dst = coverage + static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
        for (int col = 0; col < static_cast<int>(bitmap.width); ++col) {
            const int x = left + col;
            if (x < 0 || x >= width) continue;
            unsigned value = 0;
            switch (bitmap.pixel_mode) {
            case FT_PIXEL_MODE_GRAY:
                value = src[col] * 255u / std::max(1u, bitmap.num_grays - 1u);
                break;
            case FT_PIXEL_MODE_MONO:
                value = (src[col >> 3] >> (7 - (col & 7))) & 1u ? 255u : 0u;
                break;
            case FT_PIXEL_MODE_BGRA:
                value = src[col * 4 + 3];
                break;
            default:
                break;
            }
            dst[x] = static_cast<std::uint8_t>(std::max<unsigned>(dst[x], value));
        }
    }
}

} // namespace velmora::ui
