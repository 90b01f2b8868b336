// Rasterizer over FreeType, with fonts found through fontconfig.
//
//   faces       one FT_Face per (file, index) and one FT_Size per pixel size on it, shared by
//               every font that uses them
//   matching    the requested family and weight go through fontconfig's substitution
//   fallback    per code point, the first font of the family's sorted fallback list whose
//               character set has it; the list is made once per (family, weight)
//   glyphs      light hinting, grey-level anti-aliasing, synthetic bold where fontconfig asks
//   shaping     HarfBuzz over the face, per run of one script and one face; a face is chosen
//               per grapheme cluster (the first that has all of it) and neighbours that agree
//               share a run, so a word stays in one font
//   colour      colour bitmaps (emoji) load with FT_LOAD_COLOR; a face of fixed bitmap sizes
//               is scaled to the font's size when its glyphs are drawn
#include "velmora/renderer/rasterizer.hpp"

#include "velmora/core/utf8.hpp"
#include "velmora/platform/error.hpp"
#include "velmora/text/graphemes.hpp"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_SIZES_H
#include FT_SYNTHESIS_H

#include <hb-ft.h>
#include <hb.h>
#include <unicode/uchar.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

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

// A bitmap's texel as premultiplied RGBA; grey and mono bitmaps give white at their coverage.
std::array<unsigned, 4> texel(const FT_Bitmap& bitmap, int row, int col) {
    const unsigned char* src = bitmap.buffer + static_cast<std::ptrdiff_t>(row) * bitmap.pitch;
    unsigned value = 0;
    switch (bitmap.pixel_mode) {
    case FT_PIXEL_MODE_GRAY:
        value = src[col] * 255u / std::max(1u, bitmap.num_grays - 1u);
        break;
    case FT_PIXEL_MODE_MONO:
        value = (src[col >> 3] >> (7 - (col & 7))) & 1u ? 255u : 0u;
        break;
    case FT_PIXEL_MODE_BGRA:
        return {src[col * 4 + 2], src[col * 4 + 1], src[col * 4], src[col * 4 + 3]};
    default:
        break;
    }
    return {value, value, value, value};
}

// Characters that select or join but are not drawn themselves: a face need not have them.
bool invisible(char32_t cp) {
    return (cp >= 0x200B && cp <= 0x200F) || (cp >= 0x202A && cp <= 0x202E) ||
           (cp >= 0x2060 && cp <= 0x206F) || (cp >= 0xFE00 && cp <= 0xFE0F) || cp == 0xFEFF || cp >= 0xE0000;
}

// Common and inherited characters (spaces, digits, marks, emoji) take the script around them.
bool neutral(hb_script_t script) {
    return script == HB_SCRIPT_COMMON || script == HB_SCRIPT_INHERITED || script == HB_SCRIPT_UNKNOWN;
}

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
        for (auto& face : shape_faces) hb_font_destroy(face.font);
        if (buffer) hb_buffer_destroy(buffer);
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

    // The first of the font's face and its fallbacks that has every one of `code_points` (at
    // least one), a colour face first where `colour` asks for one; the index is that of the
    // first code point. The font's missing-glyph box when none has them.
    Pick pick(RasterFont& font, const char32_t* code_points, std::size_t count, bool colour = false) {
        if (colour)
            if (const Pick coloured = find(font, code_points, count, true); coloured.index) return coloured;
        return find(font, code_points, count, false);
    }

    Pick pick(RasterFont& font, char32_t code_point) { return find(font, &code_point, 1, false); }

    Pick find(RasterFont& font, const char32_t* code_points, std::size_t count, bool colour_only) {
        const auto has_all = [&](FT_Face face) {
            return (!colour_only || FT_HAS_COLOR(face)) &&
                   std::all_of(code_points, code_points + count,
                               [face](char32_t cp) { return FT_Get_Char_Index(face, cp) != 0; });
        };
        if (has_all(font.size->face))
            return {font.size, FT_Get_Char_Index(font.size->face, code_points[0]), font.embolden};
        if (!font.fallbacks) font.fallbacks = &fallback_list(font.family, font.weight);
        Fallbacks& list = *font.fallbacks;
        for (int i = 0; list.fonts && i < list.fonts->nfont; ++i) {
            FcCharSet* charset = nullptr;
            if (FcPatternGetCharSet(list.fonts->fonts[i], FC_CHARSET, 0, &charset) != FcResultMatch ||
                !std::all_of(code_points, code_points + count,
                             [charset](char32_t cp) { return FcCharSetHasChar(charset, cp); }))
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
            if (has_all(size->face))
                return {size, FT_Get_Char_Index(size->face, code_points[0]), known->second.embolden};
        }
        return {font.size, 0, font.embolden}; // the missing-glyph box
    }

    // ---- shaping ----

    // A face at one size as HarfBuzz shapes with it.
    struct ShapeFace {
        FT_Size size = nullptr;
        bool embolden = false;
        hb_font_t* font = nullptr;
        FT_Int32 flags = load_flags;
        float scale = 1; // from the face's pixels to the font's, for faces of fixed bitmap sizes
    };
    // A run of one face and one script, in logical order.
    struct Run {
        std::size_t start = 0;
        std::size_t end = 0;
        std::uint32_t face = 0;
        hb_script_t script = HB_SCRIPT_COMMON;
    };

    std::vector<ShapeFace> shape_faces;
    std::map<std::pair<FT_Size, bool>, std::uint32_t> shape_face_ids;
    hb_buffer_t* buffer = nullptr;
    std::vector<Run> runs; // scratch
    std::u32string needed; // scratch: the code points of a cluster that need a glyph

    std::uint32_t shape_face(const Pick& pick, int pixels) {
        const auto [at, fresh] = shape_face_ids.try_emplace({pick.size, pick.embolden},
                                                            static_cast<std::uint32_t>(shape_faces.size()));
        if (!fresh) return at->second;
        ShapeFace face{pick.size, pick.embolden, nullptr, load_flags, 1};
        FT_Activate_Size(pick.size); // HarfBuzz takes its scale from the active size
        face.font = hb_ft_font_create_referenced(pick.size->face);
        if (!FT_IS_SCALABLE(pick.size->face)) {
            face.flags = FT_LOAD_COLOR;
            face.scale = static_cast<float>(pixels) / std::max<float>(1, pick.size->metrics.y_ppem);
        }
        hb_ft_font_set_load_flags(face.font, face.flags);
        shape_faces.push_back(face);
        return at->second;
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
        std::uint8_t* dst = coverage + static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
        for (int col = 0; col < static_cast<int>(bitmap.width); ++col) {
            const int x = left + col;
            if (x < 0 || x >= width) continue;
            const unsigned value = texel(bitmap, row, col)[3];
            dst[x] = static_cast<std::uint8_t>(std::max<unsigned>(dst[x], value));
        }
    }
}

} // namespace velmora::ui

namespace velmora::ui {

float Rasterizer::shape(RasterFont& font, std::string_view paragraph, std::size_t start, std::size_t end,
                        bool rtl, std::vector<ShapedGlyph>& out) {
    Impl& m = *impl_;
    hb_unicode_funcs_t* unicode = hb_unicode_funcs_get_default();
    m.runs.clear();
    for (std::size_t at = start; at < end;) {
        const std::size_t next = std::min(next_grapheme(paragraph, at), end);
        m.needed.clear();
        hb_script_t script = HB_SCRIPT_COMMON;
        char32_t cp = 0;
        bool emoji = false, text = false; // asked for by presentation selectors, or by default
        for (std::size_t i = at, n = 0; i < next; i += n) {
            n = std::max<std::size_t>(decode_utf8(paragraph, i, cp), 1);
            if (neutral(script)) script = hb_unicode_script(unicode, cp);
            emoji = emoji || cp == 0xFE0F ||
                    u_hasBinaryProperty(static_cast<UChar32>(cp), UCHAR_EMOJI_PRESENTATION);
            text = text || cp == 0xFE0E;
            if (!invisible(cp)) m.needed.push_back(cp);
        }
        Pick pick = m.needed.empty() ? Pick{font.size, 0, font.embolden}
                                     : m.pick(font, m.needed.data(), m.needed.size(), emoji && !text);
        if (pick.index == 0 && m.needed.size() > 1) pick = m.pick(font, m.needed[0]); // then by its base
        const std::uint32_t face = m.shape_face(pick, font.pixels);
        Impl::Run* last = m.runs.empty() ? nullptr : &m.runs.back();
        if (last && last->face == face &&
            (neutral(script) || neutral(last->script) || script == last->script)) {
            last->end = next;
            if (neutral(last->script)) last->script = script;
        } else {
            m.runs.push_back({at, next, face, script});
        }
        at = next;
    }

    if (!m.buffer) m.buffer = hb_buffer_create();
    float pen = 0;
    for (std::size_t k = 0; k < m.runs.size(); ++k) {
        // A right-to-left run's pieces are seen last first.
        const Impl::Run& run = m.runs[rtl ? m.runs.size() - 1 - k : k];
        const Impl::ShapeFace& face = m.shape_faces[run.face];
        hb_buffer_clear_contents(m.buffer);
        hb_buffer_add_utf8(m.buffer, paragraph.data(), static_cast<int>(paragraph.size()),
                           static_cast<unsigned>(run.start), static_cast<int>(run.end - run.start));
        hb_buffer_set_direction(m.buffer, rtl ? HB_DIRECTION_RTL : HB_DIRECTION_LTR);
        if (!neutral(run.script)) hb_buffer_set_script(m.buffer, run.script);
        hb_buffer_guess_segment_properties(m.buffer);
        FT_Activate_Size(face.size);
        hb_shape(face.font, m.buffer, nullptr, 0);
        unsigned count = 0;
        const hb_glyph_info_t* info = hb_buffer_get_glyph_infos(m.buffer, &count);
        const hb_glyph_position_t* position = hb_buffer_get_glyph_positions(m.buffer, nullptr);
        const float unit = face.scale / 64;
        for (unsigned i = 0; i < count; ++i) {
            const float advance = static_cast<float>(position[i].x_advance) * unit;
            out.push_back({run.face, info[i].codepoint, info[i].cluster,
                           pen + static_cast<float>(position[i].x_offset) * unit,
                           -static_cast<float>(position[i].y_offset) * unit, advance, rtl});
            pen += advance;
        }
    }
    return pen;
}

GlyphImage Rasterizer::draw(RasterFont& font, std::uint32_t id, std::uint32_t index,
                            std::vector<std::uint8_t>& texels) {
    const Impl::ShapeFace& face = impl_->shape_faces.at(id);
    FT_Activate_Size(face.size);
    FT_Face ft = face.size->face;
    if (FT_Error e = FT_Load_Glyph(ft, index, face.flags)) freetype_fail("Create glyph bitmap", e);
    if (face.embolden) FT_GlyphSlot_Embolden(ft->glyph);
    FT_GlyphSlot slot = ft->glyph;
    if (slot->format != FT_GLYPH_FORMAT_BITMAP)
        if (FT_Error e = FT_Render_Glyph(slot, FT_RENDER_MODE_NORMAL))
            freetype_fail("Create glyph bitmap", e);

    // Scaled by averaging every source texel that falls in a target texel: fixed-size colour
    // bitmaps are several times the size they are shown at.
    const FT_Bitmap& bitmap = slot->bitmap;
    const float s = face.scale;
    const int w = std::max(1, static_cast<int>(std::lround(static_cast<float>(bitmap.width) * s)));
    const int h = std::max(1, static_cast<int>(std::lround(static_cast<float>(bitmap.rows) * s)));
    const GlyphImage image{
        static_cast<int>(std::lround(static_cast<float>(slot->bitmap_left) * s)) - border,
        font.ascent - static_cast<int>(std::lround(static_cast<float>(slot->bitmap_top) * s)) - border,
        w + 2 * border, h + 2 * border, bitmap.pixel_mode == FT_PIXEL_MODE_BGRA};
    texels.assign(static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height) * 4, 0);
    if (bitmap.width == 0 || bitmap.rows == 0) return image;
    const auto source = [s](int i, int limit) {
        return std::min(static_cast<int>(static_cast<float>(i) / s), limit - 1);
    };
    for (int y = 0; y < h; ++y) {
        const int r0 = source(y, static_cast<int>(bitmap.rows));
        const int r1 = std::max(r0 + 1, source(y + 1, static_cast<int>(bitmap.rows)));
        for (int x = 0; x < w; ++x) {
            const int c0 = source(x, static_cast<int>(bitmap.width));
            const int c1 = std::max(c0 + 1, source(x + 1, static_cast<int>(bitmap.width)));
            std::array<unsigned, 4> sum{};
            for (int r = r0; r < r1; ++r)
                for (int c = c0; c < c1; ++c) {
                    const auto t = texel(bitmap, r, c);
                    for (int k = 0; k < 4; ++k) sum[k] += t[k];
                }
            const auto n = static_cast<unsigned>((r1 - r0) * (c1 - c0));
            std::uint8_t* dst =
                texels.data() + (static_cast<std::size_t>(y + border) * image.width + x + border) * 4;
            for (int k = 0; k < 4; ++k) dst[k] = static_cast<std::uint8_t>(sum[k] / n);
        }
    }
    return image;
}

} // namespace velmora::ui
