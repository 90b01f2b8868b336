// Shaping, bidi and grapheme clusters over text built from the pieces that stress them: joining
// and right-to-left letters, marks (many on one base), joiners, presentation selectors, emoji
// modifiers and flags, bidi controls nested deep, digits, Latin, unassigned code points.
//
// Clusters: every boundary is on a code point, next and prev step strictly and undo each other,
// grapheme_start is idempotent, and the count agrees with the walk. Bidi: the visual runs cover
// every byte exactly once. Shaping: every glyph's cluster lies in its run, positions are finite,
// the advance is their sum, and every glyph draws into texels of the size it reports.
#include "fuzz_input.hpp"
#include "velmora/renderer/rasterizer.hpp"
#include "velmora/text/bidi.hpp"
#include "velmora/text/graphemes.hpp"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ui = velmora::ui;
using velmora::fuzz::require;

namespace {

constexpr const char* pieces[] = {
    "a",          "Z",      " ",          "1",          "2026",   "ش",      "ل",      "ا",      "م",
    "ب",          "ע",      "ו",          "ם",          "न",      "स",      "\u094D", "\u093F", "त",
    "\u0E01",     "\u0E49", "\u0301",     "\u0308",     "\u200D", "\u200C", "\uFE0F", "\uFE0E", "👍",
    "\U0001F3FD", "👨",      "\U0001F1E9", "\U0001F1EA", "\u202B", "\u202E", "\u202C", "\u2067", "\u2069",
    "\u200F",     "\u0378", "你",         "\U000E0067", "\r",     "😀",
};
constexpr std::size_t piece_count = sizeof pieces / sizeof pieces[0];

bool continuation(char b) { return (static_cast<unsigned char>(b) & 0xC0u) == 0x80u; }

void check_clusters(const std::string& text) {
    std::size_t count = 0, at = 0;
    while (at < text.size()) {
        const std::size_t next = ui::next_grapheme(text, at);
        require(next > at && next <= text.size() && (next == text.size() || !continuation(text[next])));
        require(ui::prev_grapheme(text, next) == at);
        require(ui::grapheme_start(text, next) == next);
        for (std::size_t inside = at + 1; inside < next; ++inside)
            require(ui::grapheme_start(text, inside) == at);
        at = next;
        ++count;
    }
    require(ui::grapheme_count(text) == count);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto rasterizer = std::make_unique<ui::Rasterizer>();
    static const auto font = rasterizer->font("DejaVu Sans", 20, 400);
    velmora::fuzz::Input in(data, size);
    std::string text;
    while (!in.empty() && text.size() < 4096) {
        const std::uint8_t b = in.byte();
        const std::size_t repeat = b & 0x80 ? 1 + in.byte() : 1; // long runs: marks on one base, deep nesting
        for (std::size_t i = 0; i < repeat; ++i) text += pieces[(b & 0x7F) % piece_count];
    }
    check_clusters(text);

    std::vector<ui::DirectionRun> runs;
    ui::visual_runs(text, runs);
    std::vector<bool> seen(text.size(), false);
    for (const auto& run : runs) {
        require(run.start < run.end && run.end <= text.size());
        for (std::size_t i = run.start; i < run.end; ++i) {
            require(!seen[i]);
            seen[i] = true;
        }
    }
    for (const bool byte : seen) require(byte);

    std::vector<ui::ShapedGlyph> glyphs;
    std::vector<std::uint8_t> texels;
    for (const auto& run : runs) {
        glyphs.clear();
        const float advance = rasterizer->shape(*font, text, run.start, run.end, run.rtl, glyphs);
        float sum = 0;
        for (const auto& g : glyphs) {
            require(g.cluster >= run.start && g.cluster < run.end && g.rtl == run.rtl);
            require(std::isfinite(g.x) && std::isfinite(g.y) && std::abs(g.x - sum) < 1e4f);
            sum += g.advance;
        }
        require(std::abs(sum - advance) <= 1e-3f * (1 + std::abs(sum)));
        for (std::size_t i = 0; i < glyphs.size() && i < 64; ++i) {
            const ui::GlyphImage image = rasterizer->draw(*font, glyphs[i].face, glyphs[i].index, texels);
            require(image.width > 0 && image.height > 0);
            require(texels.size() ==
                    static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height) * 4);
        }
    }
    return 0;
}
