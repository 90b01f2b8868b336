// Gallery: the demonstration's one scene. A fixed shell on the 1280 x 800 logical canvas, a
// sidebar of ten sections, and a content pane rebuilt each time a section is chosen: the
// catalogued controls of that section as live instances on cards, or, on the last section,
// the material settings beside a refraction preview.
#pragma once

#include "velmora/scene/scene.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/registry.hpp"

#include <memory>
#include <string>
#include <vector>

namespace velmora::ui {
class Label;
class Sidebar;
} // namespace velmora::ui

namespace gallery {

namespace ui = velmora::ui;

inline constexpr const char* version = "0.2.0";
inline constexpr float logical_width = 1280;
inline constexpr float logical_height = 800;
inline constexpr int material_page = 9;

class Gallery : public ui::Scene {
public:
    Gallery();

    // Shows a section, clamped into range. Going through the sidebar is the one road to a
    // rebuild, so the sidebar's selection and the page never disagree; a rebuild closes every
    // overlay and clears the focus, unless the sidebar has it.
    void select(int index);
    // Gives a freshly made control its demonstration content and callbacks.
    void fill(const std::shared_ptr<ui::Widget>& control);

    int page() const { return page_; }
    const std::vector<std::string>& sections() const { return sections_; }
    const std::shared_ptr<ui::Sidebar>& sidebar() const { return sidebar_; }
    const std::shared_ptr<ui::ScrollPane>& content() const { return content_; }

    // Zeroes tint, blur and sigma so the background is seen through clear, bending glass.
    void zero_material();

private:
    void build_shell();
    // Places the n-th card of a section; `row_top` and `row_height` carry the row being filled.
    void build_card(const ui::ControlDescriptor& row, int n, float& row_top, float& row_height);
    void build_material_page();
    // Re-reads the theme into the settings panel, when the material page is on show.
    void sync_panel();
    // Reports what the user did in a short-lived notification.
    void report(const std::string& title, const std::string& body);

    std::shared_ptr<ui::Sidebar> sidebar_;
    std::shared_ptr<ui::ScrollPane> content_;
    std::shared_ptr<ui::Label> title_;
    std::shared_ptr<ui::Label> subtitle_;
    std::vector<std::string> sections_;
    int page_ = 0;
};

} // namespace gallery
