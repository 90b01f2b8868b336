// Text through the Renderer: glyph commands, the caches and their limits, and the fallback font.
#include "renderer_fixture.hpp"
#include "velmora/core/utf8.hpp"
#include "velmora/gpu/vg.hpp"

#include <stdexcept>
#include <string>

namespace {

using velmora::test::RendererTest;
using velmora::test::thrown;
using namespace velmora::ui;

using TextTest = RendererTest;

std::string distinct_cjk(char32_t first, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) append_utf8(text, first + static_cast<char32_t>(i));
    return text;
}

TEST_F(TextTest, MixedScriptsGiveOneCommandPerVisibleCodePoint) {
    canvas.text("Hi 你好\n😀", {10, 20}, 14, 0xFFFFFFFF, 400);
    const auto& cmds = canvas.commands();
    EXPECT_EQ(cmds.size(), 5u); // the space has a glyph but no command; the emoji is one glyph
    EXPECT_EQ(renderer->glyph_count(), 6u);
    // Another family has glyphs of its own; going back finds the first family's again.
    const std::string first = theme.font;
    for (const char* family : {"DejaVu Serif", first.c_str()}) {
        theme.font = family;
        renderer->begin(canvas, size, size, size, size, theme);
        canvas.text("Hi", {10, 20}, 14, 0xFFFFFFFF, 400);
    }
    EXPECT_EQ(renderer->glyph_count(), 8u);
}

TEST_F(TextTest, WidthAgreesWithWherePenMovesAtEachSizeAndIgnoresATrailingNewline) {
    const std::string line = "Width 宽度 W\U0001D400";
    const float width = canvas.text_width(line, 15, 600);
    canvas.text(line + "|", {7, 9}, 15, 0xFFFFFFFF, 600);
    const float pad = 4.0f / 2; // 2 raster pixels per unit at scale 1
    EXPECT_NEAR(canvas.commands().back().slot[1] + pad, 7 + width, 1e-3);

    EXPECT_FLOAT_EQ(renderer->measure(line + "\n", 15, 600), width);
    EXPECT_FLOAT_EQ(renderer->measure("ab\n" + line, 15, 600), width);

    // Sizes of one font file take turns; each new glyph is measured at its own size.
    renderer->measure("x", 28, 400);
    renderer->measure("y", 14, 400);
    EXPECT_GT(renderer->measure("M", 28, 400), 1.8f * renderer->measure("M", 14, 400));
}

TEST_F(TextTest, BadTextAndGlyphsTallerThanACellLeaveNoEntryAndLargeGlyphsFillSixteenAtlases) {
    EXPECT_THROW(renderer->draw_text(canvas, "bad \xC3", {0, 0}, 12, 0xFFFFFFFF, 400), std::invalid_argument);
    EXPECT_THROW(renderer->measure("a", 0, 400), std::invalid_argument);
    renderer->begin(canvas, 16384, 16384, 1000, 1000, theme); // 16.4 pixels per unit
    EXPECT_EQ(thrown<std::length_error>([&] {
                  canvas.text("A", {0, 0}, 100, 0xFFFFFFFF, 400);
              }),
              "Glyph exceeds atlas");
    EXPECT_EQ(renderer->glyph_count() + renderer->atlas_count(), 0u);

    renderer->begin(canvas, 4000, 4000, 1000, 1000, theme); // raster 1000 at size 125
    const std::string many = distinct_cjk(0x4E00, 200);
    EXPECT_EQ(thrown<std::length_error>([&] {
                  canvas.text(many, {0, 0}, 125, 0xFFFFFFFF, 400);
              }),
              "16 font atlas limit");
    EXPECT_EQ(renderer->atlas_count(), 16u);
    EXPECT_GE(renderer->glyph_count(), 16u);
    // Every atlas texture is in use, and the cursor never went back to an older one.
    unsigned previous = 0;
    for (const Command& c : canvas.commands()) {
        EXPECT_GE(c.texture(), previous);
        previous = c.texture();
    }
    // What is cached still draws; only new glyphs fail.
    EXPECT_NO_THROW(canvas.text(many.substr(0, 3), {0, 0}, 125, 0xFFFFFFFF, 400));
}

TEST_F(TextTest, TheGlyphCacheStopsAt24000) {
    // At raster size 1 all of them share one atlas, so only the glyph limit can end this.
    EXPECT_NO_THROW(renderer->measure(distinct_cjk(0x4E00, 24000), 0.25f, 400));
    EXPECT_EQ(renderer->glyph_count(), 24000u);
    EXPECT_EQ(renderer->atlas_count(), 1u);
    EXPECT_EQ(thrown<std::length_error>([&] { renderer->measure("A", 0.25f, 400); }),
              "Glyph cache limit; recreate renderer after large font/size changes");
    EXPECT_NO_THROW(renderer->measure("一", 0.25f, 400)); // cached ones still measure
}

TEST_F(TextTest, ChineseComesFromAFontThatHasItNotAsMissingGlyphBoxes) {
    theme.background = theme.background_accent = 0xFF000000;
    renderer->background(size, size, 0, theme, false);
    canvas.text("你", {10, 10}, 30, 0xFFFFFFFF, 400);
    canvas.text("好", {70, 10}, 30, 0xFFFFFFFF, 400);
    renderer->render(canvas, size, size, {-1, -1}, 0, vg_back_buffer);
    const Pixels shot = renderer->read_pixels(size, size);
    auto inked = [&](int x, int y) { return shot.data[(static_cast<std::size_t>(y) * size + x) * 4] > 128; };
    // Two boxes would be the same picture; two glyphs differ in many pixels.
    int differing = 0;
    for (int y = 0; y < 60; ++y)
        for (int x = 0; x < 60; ++x) differing += inked(x, y) != inked(x + 60, y);
    EXPECT_GT(differing, 40);
}

} // namespace
