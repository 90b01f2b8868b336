// Text through the Renderer: glyph commands and their geometry, the caches, the limits, and
// what the atlas puts on screen.
#include "renderer_fixture.hpp"
#include "velmora/core/utf8.hpp"
#include "velmora/gpu/vg.hpp"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace {

using velmora::test::RendererTest;
using velmora::test::thrown;
using namespace velmora::ui;

class TextTest : public RendererTest {
protected:
    // White text drawn by `draw` on a black frame, read back top row first.
    template <class Draw> Pixels shot(Draw draw) {
        theme.background = theme.background_accent = 0xFF000000;
        renderer->begin(canvas, size, size, size, size, theme);
        renderer->background(size, size, 0, theme, false);
        draw();
        renderer->render(canvas, size, size, {-1, -1}, 0, vg_back_buffer);
        return renderer->read_pixels(size, size);
    }
};

std::string distinct_cjk(char32_t first, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) append_utf8(text, first + static_cast<char32_t>(i));
    return text;
}

TEST_F(TextTest, MixedScriptsGiveOneCommandPerVisibleCodePoint) {
    canvas.text("Hi 你好\n😀", {10, 20}, 14, 0xFFFFFFFF, 400);
    const auto& cmds = canvas.commands();
    ASSERT_EQ(cmds.size(), 5u); // the space has a glyph but no command; the emoji is one glyph
    EXPECT_EQ(renderer->glyph_count(), 6u);
    // The line break returns to the start, size + 5 lower.
    EXPECT_FLOAT_EQ(cmds[4].slot[1], cmds[0].slot[1]);
    EXPECT_FLOAT_EQ(cmds[4].slot[2], cmds[0].slot[2] + 19);
}

TEST_F(TextTest, WidthAgreesWithWherePenMovesAndIgnoresATrailingNewline) {
    const std::string line = "Width 宽度 W\U0001D400";
    const float width = canvas.text_width(line, 15, 600);
    canvas.text(line + "|", {7, 9}, 15, 0xFFFFFFFF, 600);
    const Command& bar = canvas.commands().back();
    const float pad = 4.0f / 2; // 2 raster pixels per unit at scale 1
    EXPECT_NEAR(bar.slot[1] + pad, 7 + width, 1e-3);

    EXPECT_FLOAT_EQ(renderer->measure(line + "\n", 15, 600), width);
    EXPECT_FLOAT_EQ(renderer->measure("ab\n" + line, 15, 600), width);
}

TEST_F(TextTest, BadTextAndGlyphsTallerThanACellLeaveNoEntryAndLargeGlyphsFillSixteenAtlases) {
    EXPECT_THROW(renderer->draw_text(canvas, "bad \xC3", {0, 0}, 12, 0xFFFFFFFF, 400), std::invalid_argument);
    EXPECT_THROW(renderer->measure("a", 0, 400), std::invalid_argument);
    renderer->begin(canvas, 16384, 16384, 1000, 1000, theme); // 16.4 pixels per unit
    EXPECT_EQ(thrown<std::length_error>([&] {
                  canvas.text("A", {0, 0}, 100, 0xFFFFFFFF, 400);
              }),
              "Glyph exceeds atlas");
    EXPECT_EQ(renderer->glyph_count(), 0u);
    EXPECT_EQ(renderer->atlas_count(), 0u);

    renderer->begin(canvas, 4000, 4000, 1000, 1000, theme); // raster 1000 at size 125
    const std::string many = distinct_cjk(0x4E00, 200);
    EXPECT_EQ(thrown<std::length_error>([&] {
                  canvas.text(many, {0, 0}, 125, 0xFFFFFFFF, 400);
              }),
              "16 font atlas limit");
    EXPECT_EQ(renderer->atlas_count(), 16u);
    const std::size_t glyphs = renderer->glyph_count();
    EXPECT_GE(glyphs, 16u);
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
    renderer->begin(canvas, size, size, size, size, theme);
    // At raster size 1 all of them share one atlas, so only the glyph limit can end this.
    EXPECT_NO_THROW(renderer->measure(distinct_cjk(0x4E00, 24000), 0.25f, 400));
    EXPECT_EQ(renderer->glyph_count(), 24000u);
    EXPECT_EQ(renderer->atlas_count(), 1u);
    EXPECT_EQ(thrown<std::length_error>([&] { renderer->measure("A", 0.25f, 400); }),
              "Glyph cache limit; recreate renderer after large font/size changes");
    EXPECT_NO_THROW(renderer->measure("一", 0.25f, 400)); // cached ones still measure
}

// Ink in the read-back for one glyph: its bounding box and the share of its cell it covers.
struct Ink {
    int left = 1 << 30, top = 1 << 30, right = -1, bottom = -1, count = 0;
};

bool inked(const Pixels& shot, int x, int y) {
    return shot.data[(static_cast<std::size_t>(y) * shot.width + x) * 4] > 128;
}

Ink ink_in(const Pixels& shot, int x0, int y0, int x1, int y1) {
    Ink ink;
    for (int y = std::max(0, y0); y < std::min(shot.height, y1); ++y)
        for (int x = std::max(0, x0); x < std::min(shot.width, x1); ++x)
            if (inked(shot, x, y)) {
                ink = {std::min(ink.left, x), std::min(ink.top, y), std::max(ink.right, x),
                       std::max(ink.bottom, y), ink.count + 1};
            }
    return ink;
}

TEST_F(TextTest, GlyphPixelsLandInsideTheirCells) {
    const Pixels shot = this->shot([&] {
        canvas.text("█", {10, 10}, 30, 0xFFFFFFFF, 400);
        canvas.text(".", {70, 10}, 30, 0xFFFFFFFF, 400);
    });
    ASSERT_EQ(canvas.commands().size(), 2u);
    const Command block = canvas.commands()[0];
    const Command dot = canvas.commands()[1];

    // Nothing outside the two cells.
    EXPECT_EQ(ink_in(shot, 0, 0, size, size).count,
              ink_in(shot, 0, 0, 64, size).count + ink_in(shot, 64, 0, size, size).count);
    const Ink b = ink_in(shot, 0, 0, 64, size);
    EXPECT_GE(b.left, static_cast<int>(block.slot[1]));
    EXPECT_LE(b.right, static_cast<int>(block.slot[1] + block.slot[3]));
    EXPECT_GE(b.top, static_cast<int>(block.slot[2]));
    EXPECT_LE(b.bottom, static_cast<int>(block.slot[2] + block.slot[4]));
    // The dot is small and sits low: the atlas rectangles did not mix the two up.
    const Ink d = ink_in(shot, 64, 0, size, size);
    EXPECT_GT(d.count, 4);
    EXPECT_LT(d.count, 60);
    EXPECT_GT(d.top, 10 + 15);
    EXPECT_LE(d.bottom, static_cast<int>(dot.slot[2] + dot.slot[4]));
}

TEST_F(TextTest, ChineseComesFromAFontThatHasItNotAsMissingGlyphBoxes) {
    const Pixels shot = this->shot([&] {
        canvas.text("你", {10, 10}, 30, 0xFFFFFFFF, 400);
        canvas.text("好", {70, 10}, 30, 0xFFFFFFFF, 400);
        canvas.text("x", {10, 70}, 30, 0xFFFFFFFF, 400);
    });
    // Two boxes would be the same picture; two glyphs differ in many pixels.
    int differing = 0;
    for (int y = 0; y < 60; ++y)
        for (int x = 0; x < 60; ++x) differing += inked(shot, x, y) != inked(shot, x + 60, y);
    EXPECT_GT(differing, 40);
    // They stand on the Latin baseline: their ink ends near where the x's does.
    const Ink ni = ink_in(shot, 0, 0, 64, 64);
    const Ink x = ink_in(shot, 0, 64, 64, size);
    EXPECT_NEAR(ni.bottom, x.bottom - 60, 5);
}

} // namespace
