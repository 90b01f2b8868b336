// Theme: the colours of the interface and every setting of the glass material.
//
// Plain data, copied freely. `validate` is called wherever a theme enters the drawing
// path; nothing in it is derived or cached.
#pragma once

#include "velmora/core/export.hpp"

#include <string>

namespace velmora::ui {

struct VELMORA_API Theme {
    unsigned text = 0xFFF0F0F0;
    unsigned muted = 0xFFBCBCBC;
    unsigned accent = 0xFFE6E6E6;
    unsigned accent_text = 0xFF171717;
    unsigned surface = 0xFF171717; // only RGB is used; alpha comes from surface_opacity
    unsigned control = 0x38777777;
    unsigned hover = 0x24FFFFFF;
    unsigned border = 0x247C7C7C;
    unsigned selection = 0x8AE0E0E0;
    unsigned background = 0xFF151515;
    unsigned background_accent = 0xFF434343;
    unsigned highlight = 0xFFFFFFFF;
    unsigned shadow = 0xFF000000;
    float radius = 9;
    float panel_radius = 18;
    float font_size = 14;
    float blur = 0.98f;
    float sigma = 18;
    float refraction = 10;
    float shine = 0.82f;
    float dispersion = 0.85f;
    float tint = 0.2f;
    float surface_opacity = 1;
    float text_contrast = 1.05f;
    float corner_smoothing = 0.55f;
    bool dark = true;
    bool cubic_corners = true;
    int antialiasing = 2; // 0 off, 1 analytic, 2 high
    std::string font = "Segoe UI";

    static Theme light();
    static Theme liquid(); // clear refracting glass
    static Theme normal(); // optics off, opaque surface

    // Throws std::invalid_argument naming the first field out of range.
    void validate() const;
};

} // namespace velmora::ui
