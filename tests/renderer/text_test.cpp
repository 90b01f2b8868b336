// Text through the Renderer: glyph commands, the caches and their limits, the fallback font, and
// shaped text: joining, marks, visual order, colour emoji, hostile input.
#include "../scene/frame_driver.hpp"
#include "renderer_fixture.hpp"
#include "velmora/core/utf8.hpp"
#include "velmora/gpu/vg.hpp"
#include "velmora/platform/input.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/text_field.hpp"

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

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
    EXPECT_NO_THROW(renderer->measure(distinct_cjk(0x3400, 24000), 0.25f, 400)); // none needs shaping
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

// ---- shaped text ----------------------------------------------------------------------------

// Glyph commands from drawing `text` alone.
std::vector<Command> glyphs_of(Renderer& renderer, Canvas& canvas, const std::string& text, float size = 20) {
    const std::size_t before = canvas.commands().size();
    renderer.draw_text(canvas, text, {10, 10}, size, 0xFFFFFFFF, 400);
    return {canvas.commands().begin() + static_cast<std::ptrdiff_t>(before), canvas.commands().end()};
}

bool same_cell(const Command& a, const Command& b) {
    return a.texture() == b.texture() && a.slot[13] == b.slot[13] && a.slot[14] == b.slot[14];
}

// GDI draws code points one by one: the order of runs is right there, joining and colour are not.
#ifdef _WIN32
#define SHAPED_ONLY() GTEST_SKIP() << "no shaping through GDI"
#else
#define SHAPED_ONLY() (void)0
#endif

TEST_F(TextTest, ArabicJoinsAndTakesItsRequiredLigatureAndAMarkSitsOnItsBase) {
    SHAPED_ONLY();
    // Five letters, five glyphs, none of them the isolated form that a letter-by-letter walk draws.
    const auto word = glyphs_of(*renderer, canvas, "مرحبا");
    EXPECT_EQ(word.size(), 5u);
    const Command isolated = glyphs_of(*renderer, canvas, "م").at(0);
    for (const Command& c : word) EXPECT_FALSE(same_cell(c, isolated));
    EXPECT_EQ(glyphs_of(*renderer, canvas, "لا").size(), 1u); // lam-alef is always one glyph

    // An acute is drawn over its letter and takes no room of its own; over an e it makes é.
    const auto accented = glyphs_of(*renderer, canvas, "x\u0301");
    ASSERT_EQ(accented.size(), 2u);
    EXPECT_LT(std::abs(accented[1].slot[1] - accented[0].slot[1]), accented[0].slot[3] / 2);
    EXPECT_LT(accented[1].slot[2], accented[0].slot[2]); // its cell starts higher: it sits above
    EXPECT_NEAR(renderer->measure("x\u0301", 20, 400), renderer->measure("x", 20, 400), 0.5f);
    EXPECT_NEAR(renderer->measure("Cafe\u0301", 20, 400), renderer->measure("Café", 20, 400), 0.5f);

    // A conjunct and a vowel sign: fewer glyphs than code points, from a font that has them.
    const auto hindi = glyphs_of(*renderer, canvas, "नमस्ते");
    EXPECT_GE(hindi.size(), 3u);
    EXPECT_LT(hindi.size(), 6u);
}

TEST_F(TextTest, MixedLinesReadInVisualOrderAndCaretEdgesFollowTheDirection) {
    const auto at = [&](const std::string& line, std::size_t from, std::size_t to) {
        return renderer->edges(line, from, to, 14, 400);
    };
    // Bytes: "abc " 0-3, ש 4, ל 6, ו 8, ם 10, " def" 12-15.
    const std::string hebrew = "abc שלום def";
    const TextEdges c = at(hebrew, 2, 3), shin = at(hebrew, 4, 6), mem = at(hebrew, 10, 12),
                    d = at(hebrew, 13, 14);
    EXPECT_LT(c.leading, c.trailing);
    EXPECT_GT(shin.leading, shin.trailing); // a caret before ש stands at its right
    EXPECT_LT(c.trailing, mem.trailing);    // abc, then the Hebrew word read from its right end
    EXPECT_GT(shin.leading, mem.leading);
    EXPECT_LT(shin.leading, d.leading);

    // Digits in Arabic keep their order; the paragraph reads right to left from its first letter.
    const std::string arabic = "عدد 123"; // ع 0, د 2, د 4, " " 6, digits 7-9
    const TextEdges one = at(arabic, 7, 8), three = at(arabic, 9, 10), ain = at(arabic, 0, 2);
    EXPECT_LT(one.leading, three.leading);
    EXPECT_LT(three.trailing, ain.trailing);
    EXPECT_NEAR(ain.leading, renderer->measure(arabic, 14, 400), 0.01f);
}

TEST_F(TextTest, EmojiSequencesAreOneColourGlyphEach) {
    SHAPED_ONLY();
    for (const char* emoji : {"👍🏽", "👨‍👩‍👧‍👦", "🇩🇪", "❤️"}) {
        const auto cells = glyphs_of(*renderer, canvas, emoji);
        ASSERT_EQ(cells.size(), 1u) << emoji;
        EXPECT_EQ(cells[0].slot[46], 1.0f) << emoji;
        EXPECT_NEAR(renderer->measure(emoji, 20, 400), 25, 6) << emoji; // about an em, at every size
    }
    EXPECT_EQ(glyphs_of(*renderer, canvas, "❤").at(0).slot[46], 0.0f); // text presentation stays text

    canvas.begin(size, size, theme);
    theme.background = theme.background_accent = 0xFF000000;
    renderer->background(size, size, 0, theme, false);
    canvas.text("👍🏽", {10, 10}, 60, 0xFFFFFFFF, 400);
    renderer->render(canvas, size, size, {-1, -1}, 0, vg_back_buffer);
    const Pixels shot = renderer->read_pixels(size, size);
    int coloured = 0; // white ink would be grey wherever it is drawn
    for (std::size_t i = 0; i + 3 < shot.data.size(); i += 4)
        coloured += std::abs(shot.data[i] - shot.data[i + 2]) > 60;
    EXPECT_GT(coloured, 200);
}

TEST_F(TextTest, HostileTextDrawsInBoundedCommands) {
    std::string marks = "a", nested, lone = "\u0301\u0301x\u0378";
    for (int i = 0; i < 1000; ++i) marks += "\u0301";
    for (int i = 0; i < 200; ++i) nested += i % 2 ? "\u202B" : "\u2067";
    nested += "שלום abc";
    std::string paragraph;
    while (paragraph.size() < 100000) paragraph += "مرحبا abc ";
    for (const std::string* text : {&marks, &nested, &lone, &paragraph}) {
        canvas.begin(size, size, theme);
        EXPECT_NO_THROW(canvas.text(*text, {0, 0}, 12, 0xFFFFFFFF, 400));
        EXPECT_LE(canvas.commands().size(), text->size());
    }
}

TEST_F(TextTest, ARightToLeftFieldAlignsRightAndItsArrowsAndClicksFollowTheScreen) {
    Scene scene;
    velmora::test::FrameDriver run{scene};
    run.step = 0; // the caret never blinks off
    run.canvas.renderer(&*renderer);
    auto field = scene.root()->emplace<TextField>("שלום"); // ש 0, ל 2, ו 4, ם 6
    field->bounds = {20, 20, 300, 36};
    run.frame();
    scene.focus(field);
    const auto caret = [&] { // where the caret is painted
        run.frame();
        for (const Command& c : run.canvas.commands())
            if (c.slot[3] == 1.5f) return c.slot[1];
        return -1.0f;
    };
    const float right = 20 + 300 - field->inset_right();
    const float left = right - renderer->measure("שלום", scene.theme.font_size, 400);
    EXPECT_NEAR(caret(), left, 0.5f); // after the last letter: its left
    field->move(0, false);
    EXPECT_NEAR(caret(), right, 0.5f);
    run.key(vk::left); // on screen, so onwards in the word
    EXPECT_EQ(field->caret, 2u);
    run.key(vk::right);
    run.key(vk::right); // nothing further right
    EXPECT_EQ(field->caret, 0u);
    run.key(vk::left, false, true);
    run.key(vk::left, false, true);
    EXPECT_EQ(field->selected_text(), "של");
    run.click({left + 1, 38}); // at the left end: the end of the text
    EXPECT_EQ(field->caret, field->value().size());
}

} // namespace
