// GlassSettingsPanel: a group box that edits a Theme live, usually the scene's own.
//
//     auto panel = page->emplace<GlassSettingsPanel>(scene.theme);
//     scene.theme.refraction = 30;   // changed elsewhere...
//     panel->sync();                 // ...so the controls read it again
//
// Every slider's range lies inside what Theme::validate accepts, and each edit is checked on
// a copy before it is stored, so the panel never leaves the theme in a state that fails.
// The theme must outlive the panel.
#pragma once

#include "velmora/core/export.hpp"
#include "velmora/core/theme.hpp"
#include "velmora/scene/widget.hpp"
#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/control_kind.hpp"
#include "velmora/widgets/range.hpp"

#include <memory>
#include <vector>

namespace velmora::ui {

class Scene;

class VELMORA_API GlassSettingsPanel : public GroupBox {
public:
    // One slider's binding to a material value of the theme.
    struct Setting {
        const char* label;
        float Theme::*field;
        float minimum;
        float maximum;
        float step;
    };
    static const std::vector<Setting>& settings();

    explicit GlassSettingsPanel(Theme& edited);

    // One slider and one value label per setting, in the order of settings().
    std::vector<std::shared_ptr<Slider>> sliders;
    std::vector<std::shared_ptr<Label>> values;
    std::shared_ptr<Switch> dark;
    std::shared_ptr<Switch> cubic_corners;
    std::shared_ptr<ButtonGroup> antialiasing;
    std::vector<std::shared_ptr<Button>> presets; // default, light, liquid, normal

    Theme& theme() const { return *theme_; }
    // Re-reads the theme into the controls without writing anything back.
    void sync();
    // Replaces the theme with a preset, keeping the font, then syncs.
    void preset(const Theme& preset_theme);

    ControlKind kind() const override { return ControlKind::GroupBox; }
    const char* class_name() const override { return "GlassSettingsPanel"; }
    void layout(Scene& owner) override;

private:
    // Applies `edit` to a copy and stores it only if the copy validates; runs on_change then.
    template <class Edit> void apply(Edit edit);

    Theme* theme_;
    std::shared_ptr<Label> antialiasing_label_;
    bool syncing_ = false;
};

} // namespace velmora::ui
