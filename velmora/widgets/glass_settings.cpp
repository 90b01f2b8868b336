// GlassSettingsPanel: construction, layout, and the two directions between theme and controls.
#include "velmora/widgets/glass_settings.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <utility>

namespace velmora::ui {

namespace {

constexpr float row_height = 28;
constexpr float label_width = 150;

std::string caption(const GlassSettingsPanel::Setting& s, float v) {
    char number[32];
    std::snprintf(number, sizeof number, s.step >= 1 ? "%.0f" : "%.2f", static_cast<double>(v));
    return std::string(s.label) + "  " + number;
}

} // namespace

const std::vector<GlassSettingsPanel::Setting>& GlassSettingsPanel::settings() {
    // The radii and the font size accept far more than is useful; the sliders offer the
    // sensible part of the range.
    static const std::vector<Setting> rows = {
        {"Blur", &Theme::blur, 0, 1, 0.01f},
        {"Sigma", &Theme::sigma, 0, 32, 0.5f},
        {"Refraction", &Theme::refraction, 0, 30, 0.5f},
        {"Shine", &Theme::shine, 0, 1.5f, 0.01f},
        {"Dispersion", &Theme::dispersion, 0, 2, 0.01f},
        {"Tint", &Theme::tint, 0, 1, 0.01f},
        {"Surface opacity", &Theme::surface_opacity, 0, 1, 0.01f},
        {"Text contrast", &Theme::text_contrast, 0.5f, 2, 0.01f},
        {"Corner smoothing", &Theme::corner_smoothing, 0, 1, 0.01f},
        {"Radius", &Theme::radius, 0, 24, 1},
        {"Panel radius", &Theme::panel_radius, 0, 40, 1},
        {"Font size", &Theme::font_size, 10, 24, 1},
    };
    return rows;
}

GlassSettingsPanel::GlassSettingsPanel(Theme& edited) : GroupBox("材质 · Glass"), theme_(&edited) {
    bounds = {0, 0, 426, 530};
    for (std::size_t i = 0; i < settings().size(); ++i) {
        const Setting& s = settings()[i];
        auto value_label = emplace<Label>(s.label);
        value_label->font_size = 12;
        values.push_back(value_label);
        auto slider = emplace<Slider>();
        slider->labelled_by = value_label;
        slider->range(s.minimum, s.maximum);
        slider->step(s.step);
        slider->on_change = [this, i](Widget& w) {
            const Setting& setting = settings()[i];
            const auto v = static_cast<float>(static_cast<Slider&>(w).value());
            values[i]->text = caption(setting, v);
            apply([&](Theme& t) { t.*setting.field = v; });
        };
        sliders.push_back(slider);
    }
    dark = emplace<Switch>("深色 Dark");
    dark->on_change = [this](Widget& w) {
        const bool on = static_cast<Switch&>(w).selected();
        apply([on](Theme& t) { t.dark = on; });
    };
    cubic_corners = emplace<Switch>("Cubic corners");
    cubic_corners->on_change = [this](Widget& w) {
        const bool on = static_cast<Switch&>(w).selected();
        apply([on](Theme& t) { t.cubic_corners = on; });
    };
    antialiasing_label_ = emplace<Label>("抗锯齿 AA");
    antialiasing_label_->font_size = 12;
    antialiasing = emplace<ButtonGroup>(std::vector<std::string>{"Off", "Analytic", "High"});
    antialiasing->on_change = [this](Widget& w) {
        const int mode = static_cast<ButtonGroup&>(w).selected();
        if (mode >= 0) apply([mode](Theme& t) { t.antialiasing = mode; });
    };
    const std::pair<const char*, Theme (*)()> choices[] = {
        {"Default", [] { return Theme{}; }},
        {"Light", &Theme::light},
        {"Liquid", &Theme::liquid},
        {"Normal", &Theme::normal},
    };
    for (const auto& [label, make] : choices) {
        auto button = emplace<Button>(label);
        button->on_activate = [this, make = make](Widget&) { preset(make()); };
        presets.push_back(button);
    }
    sync();
}

template <class Edit> void GlassSettingsPanel::apply(Edit edit) {
    if (syncing_) return;
    Theme next = *theme_;
    edit(next);
    try {
        next.validate();
    } catch (const std::invalid_argument&) {
        sync(); // refused: the controls go back to what the theme holds
        return;
    }
    *theme_ = std::move(next);
    changed();
}

void GlassSettingsPanel::sync() {
    syncing_ = true;
    for (std::size_t i = 0; i < settings().size(); ++i) {
        const Setting& s = settings()[i];
        const float v = theme_->*s.field;
        // A value the slider can't show (outside its range, or not finite) stays in the
        // theme untouched; the slider shows the nearest end.
        if (std::isfinite(v)) sliders[i]->value(v);
        values[i]->text = caption(s, v);
    }
    dark->selected(theme_->dark);
    cubic_corners->selected(theme_->cubic_corners);
    antialiasing->select(theme_->antialiasing);
    syncing_ = false;
}

void GlassSettingsPanel::preset(const Theme& preset_theme) {
    apply([&](Theme& t) {
        std::string font = std::move(t.font);
        t = preset_theme;
        t.font = std::move(font);
    });
    sync();
}

void GlassSettingsPanel::layout(Scene&) {
    const float left = padding;
    const float inner = std::max(bounds.w - 2 * padding, 0.0f);
    const float slider_width = std::max(inner - label_width, 0.0f);
    float y = content_top();
    for (std::size_t i = 0; i < sliders.size(); ++i) {
        values[i]->bounds = {left, y, label_width, row_height};
        sliders[i]->bounds = {left + label_width, y + 2, slider_width, row_height - 4};
        y += row_height;
    }
    y += 6;
    const float half = std::max((inner - 10) * 0.5f, 0.0f);
    dark->bounds = {left, y, half, 30};
    cubic_corners->bounds = {left + half + 10, y, half, 30};
    y += 38;
    antialiasing_label_->bounds = {left, y, 90, 30};
    antialiasing->bounds = {left + 90, y, std::max(inner - 90, 0.0f), 30};
    y += 40;
    const float n = static_cast<float>(presets.size());
    const float width = std::max((inner - 8 * (n - 1)) / n, 0.0f);
    for (std::size_t i = 0; i < presets.size(); ++i)
        presets[i]->bounds = {left + static_cast<float>(i) * (width + 8), y, width, 34};
}

} // namespace velmora::ui
