#include "velmora/core/theme.hpp"

#include "velmora/core/geometry.hpp"

#include <stdexcept>

namespace velmora::ui {

Theme Theme::light() {
    Theme t;
    t.text = 0xFF202020;
    t.muted = 0xFF606060;
    t.accent = 0xFF222222;
    t.accent_text = 0xFFF4F4F4;
    t.surface = 0xFFFAFAFA;
    t.control = 0x28777777;
    t.hover = 0x16000000;
    t.border = 0x264B4B4B;
    t.selection = 0x99383838;
    t.background = 0xFFDDDDDD;
    t.background_accent = 0xFFFAFAFA;
    t.tint = 0.26f;
    t.dark = false;
    return t;
}

Theme Theme::liquid() {
    Theme t;
    t.blur = 0;
    t.sigma = 0;
    t.refraction = 30;
    t.shine = 1;
    t.dispersion = 1.2f;
    t.tint = 0;
    return t;
}

Theme Theme::normal() {
    Theme t;
    t.blur = 0;
    t.sigma = 0;
    t.refraction = 0;
    t.shine = 0;
    t.dispersion = 0;
    t.tint = 1;
    return t;
}

void Theme::validate() const {
    struct Range {
        float value, lo, hi;
        const char* name;
    };
    // Checked in this order; the first failure names itself.
    const Range ranges[] = {
        {blur, 0, 1, "blur"},
        {sigma, 0, 32, "sigma"},
        {refraction, 0, 30, "refraction"},
        {shine, 0, 1.5f, "shine"},
        {dispersion, 0, 2, "dispersion"},
        {tint, 0, 1, "tint"},
        {surface_opacity, 0, 1, "surface_opacity"},
        {text_contrast, 0.5f, 2, "text_contrast"},
        {corner_smoothing, 0, 1, "corner_smoothing"},
        {radius, 0, 4096, "radius"},
        {panel_radius, 0, 4096, "panel_radius"},
        {font_size, 1, 256, "font_size"},
    };
    for (const Range& r : ranges)
        if (!in_range(r.value, r.lo, r.hi)) throw std::invalid_argument(r.name);
    if (static_cast<unsigned>(antialiasing) > 2u) throw std::invalid_argument("antialiasing");
}

} // namespace velmora::ui
