// The drawing model on its own, without widgets: the animated background, glass surfaces of
// three materials, rounded fills and strokes, rings, lines, a colour plane and nested shaped
// clips. The pointer steers the glass highlights.
//
//     glass_demo              opens a window and animates until it is closed
//     glass_demo --png F      renders one frame on a hidden window and writes F
#include "velmora/app/app.hpp"
#include "velmora/core/canvas.hpp"

#include <cmath>
#include <exception>
#include <iostream>
#include <string>

namespace {

using namespace velmora::ui;

constexpr float logical_w = 1280;
constexpr float logical_h = 800;

void paint(Canvas& c, const Theme& theme, float t) {
    // Three materials side by side: frosted (the default), clear liquid, and opaque.
    const Theme materials[] = {theme, Theme::liquid(), Theme::normal()};
    const char* names[] = {"Frosted", "Liquid", "Normal"};
    for (int i = 0; i < 3; ++i) {
        const Rect r{60.0f + float(i) * 400, 60, 360, 220};
        c.glass(r, materials[i], 28);
        c.text(names[i], {r.x + 28, r.y + 24}, 22, theme.text, 600);
        c.text("玻璃材质", {r.x + 28, r.y + 60}, 15, theme.muted, 400);
    }

    // Fills, strokes and a capsule, whose ends stay exactly circular.
    c.fill({60, 320, 240, 140}, 0xCC2F6FA8, 24);
    c.stroke({320, 320, 240, 140}, 0xFFE6E6E6, 3, 24);
    c.fill({60, 480, 500, 48}, 0xB0C3DCF2, 24);
    c.stroke({60, 480, 500, 48}, theme.border, 1, 24);

    // Rings: a closed one and a partial one that turns with time.
    c.ring({600, 320, 140, 140}, 0x55FFFFFF, 10, 1, 0);
    c.ring({600, 320, 140, 140}, 0xFFC3DCF2, 10, 0.65f, std::fmod(t * 0.25f, 1.0f));
    c.ring({770, 340, 100, 100}, 0xFFE0A040, 22, 0.4f, 0.1f);

    // Lines with round caps, in a fan.
    for (int i = 0; i < 7; ++i) {
        const float a = float(i) * 0.26f;
        c.line({960, 470}, {960 + 220 * std::cos(a), 470 - 150 * std::sin(a)}, 0xFFF0F0F0, 1.0f + float(i));
    }

    // The colour plane of a hue that drifts.
    c.color_plane({600, 490, 270, 240}, std::fmod(t * 0.05f, 1.0f));
    c.stroke({600, 490, 270, 240}, theme.border, 1, 0);

    // Nested shaped clips: glass, then a rounded clip, then a circle inside it.
    const Rect outer{60, 560, 500, 180};
    c.glass(outer, theme, 32);
    c.push_clip(outer, 32);
    for (int i = 0; i < 12; ++i)
        c.fill({40.0f + float(i) * 48, 540, 24, 220}, i % 2 ? 0x40FFFFFF : 0x30C3DCF2, 0);
    c.push_clip({220, 590, 120, 120}, 60);
    c.fill({200, 570, 160, 160}, 0xFF2F6FA8, 0);
    c.text("Clip", {252, 638}, 18, 0xFFFFFFFF, 600);
    c.pop_clip();
    c.pop_clip();

    // A second layer of glass after a backdrop sees the glass beneath it.
    c.backdrop();
    c.glass({900, 560, 320, 180}, Theme::liquid(), 40);
    c.text("Layered glass", {930, 590}, 18, theme.text, 600);
}

} // namespace

int main(int argc, char** argv) try {
    const bool headless = argc > 2 && std::string(argv[1]) == "--png";
    App app({.title = "VelmoraUI glass",
             .logical = {logical_w, logical_h},
             .visible = !headless,
             .grid = true,
             .animate_background = true}); // the ring and the colour plane move with it
    const auto draw = [](Canvas& canvas, double t) { paint(canvas, canvas.theme(), static_cast<float>(t)); };
    if (!headless) {
        app.run(draw);
        return 0;
    }
    ScriptedFrame frame;
    frame.time = 2.0;
    frame.input.mouse = {400, 120};
    app.render_png(draw, argv[2], {frame});
    return 0;
} catch (const std::exception& e) {
    std::cerr << e.what() << '\n';
    return 1;
}
