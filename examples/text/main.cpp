// Mixed Chinese and Latin text at several sizes and weights, over glass on the animated
// background, and a line of every script the installed fonts cover: joined and right-to-left
// scripts, Indic and Thai clusters, combining marks and colour emoji.
//
//     text_demo              renders one frame on a hidden window and writes text-demo.png
//     text_demo out.png      ... writes out.png
//     text_demo --show       opens the window until it is closed
#include "velmora/app/app.hpp"
#include "velmora/core/canvas.hpp"

#include <exception>
#include <iostream>
#include <string>

namespace {

using namespace velmora::ui;

constexpr float logical_w = 960;
constexpr float logical_h = 1000;

void paint(Canvas& canvas, const Theme& theme) {
    canvas.glass({40, 40, 880, 250}, theme, theme.panel_radius);
    canvas.text("玻璃上的文字 Text on glass", {72, 64}, 34, theme.text, 700);
    canvas.text("字号与字重 Sizes and weights", {72, 118}, 20, theme.muted, 600);

    // One line per size, regular beside bold, each followed by its measured width.
    float y = 160;
    for (float size : {11.0f, 14.0f, 18.0f}) {
        const std::string sample = "你好，世界 Hello " + std::to_string(static_cast<int>(size)) + "px";
        canvas.text(sample, {72, y}, size, theme.text, 400);
        canvas.text(sample, {480, y}, size, theme.text, 700);
        const float width = canvas.text_width(sample, size, 400);
        canvas.fill({72, y + size * 1.3f, width, 1}, theme.accent, 0);
        y += size + 22;
    }

    canvas.glass({40, 320, 420, 240}, theme, theme.radius * 2);
    canvas.text("多行文本\nMultiple lines\n第三行 line three", {68, 344}, 16, theme.text, 400);
    canvas.text("数字 0123456789\n符号 ()[]{}<>+-*/=%", {68, 460}, 14, theme.muted, 400);

    canvas.glass({500, 320, 420, 240}, theme, theme.radius * 2);
    canvas.push_clip({500, 320, 420, 240}, theme.radius * 2);
    canvas.text("大字", {524, 344}, 96, theme.text, 700);
    canvas.text("Ag 永", {524, 470}, 56, theme.accent, 400);
    canvas.pop_clip();

    // Each sample after its script's name; right-to-left lines are aligned to the right.
    canvas.glass({40, 590, 880, 380}, theme, theme.panel_radius);
    const struct {
        const char* name;
        const char* sample;
        bool rtl;
    } scripts[] = {
        {"Arabic", "مرحبا بالعالم 2026", true},
        {"Persian", "سلام دنیا", true},
        {"Hebrew in Latin", "abc שלום עולם def", false},
        {"Devanagari", "नमस्ते दुनिया", false},
        {"Thai", "สวัสดีชาวโลก", false},
        {"Greek, Cyrillic", "Καλημέρα κόσμε · Привет, мир", false},
        {"Combining marks", "Cafe\u0301 · n\u0303 · a\u0308\u0301", false},
        {"Emoji", "👍🏽 👨‍👩‍👧‍👦 🇩🇪 😀 ❤️", false},
    };
    float row = 612;
    for (const auto& script : scripts) {
        canvas.text(script.name, {72, row + 6}, 15, theme.muted, 600);
        const float x = script.rtl ? 888 - canvas.text_width(script.sample, 24, 400) : 300;
        canvas.text(script.sample, {x, row}, 24, theme.text, 400);
        row += 44;
    }
}

} // namespace

int main(int argc, char** argv) try {
    const std::string arg = argc > 1 ? argv[1] : "";
    const bool show = arg == "--show";
    const std::string png = show ? "" : (arg.empty() ? "text-demo.png" : arg);

    App app({.title = "VelmoraUI text",
             .width = static_cast<int>(logical_w),
             .height = static_cast<int>(logical_h),
             .logical = {logical_w, logical_h},
             .visible = show});
    const auto draw = [](Canvas& canvas, double) { paint(canvas, canvas.theme()); };
    if (show) {
        app.run(draw);
        return 0;
    }
    ScriptedFrame frame;
    frame.time = 1.5;
    frame.input.mouse = {600, 200};
    app.render_png(draw, png, {frame});
    std::cout << "wrote " << png << " (" << app.renderer().glyph_count() << " glyphs, "
              << app.renderer().device() << ")\n";
    return 0;
} catch (const std::exception& e) {
    std::cerr << e.what() << '\n';
    return 1;
}
