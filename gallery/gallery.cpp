// Gallery: the shell, section selection, the cards of a section and the material page.
//
//   - theme and shell
//   - select
//   - cards
//   - material page
#include "gallery/gallery.hpp"

#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/dialogs.hpp"
#include "velmora/widgets/glass_settings.hpp"
#include "velmora/widgets/lists.hpp"
#include "velmora/widgets/menus.hpp"
#include "velmora/widgets/palette.hpp"
#include "velmora/widgets/range.hpp"

#include <algorithm>
#include <cstdio>
#include <string>

namespace gallery {

namespace {

using namespace velmora::ui;

constexpr float card_width = 474;
constexpr float column_step = 490;
constexpr float card_gap = 16;
constexpr float control_width = 442;
constexpr float opener_height = 44;

const char* const section_names[] = {"基础", "输入", "数值", "选择",       "布局",
                                     "导航", "数据", "反馈", "菜单与弹层", "材质配置"};

// A label in the theme's muted colour, whichever theme is in force when it paints.
class MutedLabel : public Label {
public:
    using Label::Label;
    void paint(PaintContext& context) override {
        color = context.theme.muted;
        Label::paint(context);
    }
};

template <class T = Label>
std::shared_ptr<T> label(Panel& parent, const std::string& text, Rect at, float size, int weight) {
    auto l = parent.emplace<T>(text);
    l->bounds = at;
    l->font_size = size;
    l->weight = weight;
    return l;
}

// Preview height of the kinds whose own height says too little about their content.
float preview_height(const Widget& control) {
    switch (control.kind()) {
    case ControlKind::Tabs:
    case ControlKind::Panel:
    case ControlKind::GroupBox:
    case ControlKind::Accordion:
    case ControlKind::SplitPane:
    case ControlKind::ScrollPane:
    case ControlKind::TabPage:
    case ControlKind::Card:
        return 150;
    case ControlKind::Dialog:
    case ControlKind::Modal:
        return 130;
    case ControlKind::MessageBox:
        return 190;
    case ControlKind::CommandPalette:
        return 250;
    default:
        return control.bounds.h;
    }
}

bool overlay_kind(const Widget& control) {
    return dynamic_cast<const Dialog*>(&control) != nullptr ||
           dynamic_cast<const PopupMenu*>(&control) != nullptr;
}

} // namespace

// ---- theme and shell -------------------------------------------------------------------------------------

Gallery::Gallery() : sections_(std::begin(section_names), std::end(section_names)) {
    theme.font = "Segoe UI";
    theme.accent = 0xFFC3DCF2;
    theme.selection = 0xB8BBD4E9;
    theme.background = 0xFF162028;
    theme.background_accent = 0xFF35434D;
    theme.blur = 0.95f;
    theme.tint = 0.35f;
    build_shell();

    auto palette = std::make_shared<CommandPalette>();
    for (int i = 0; i < static_cast<int>(sections_.size()); ++i)
        palette->command("切换到 / " + sections_[static_cast<std::size_t>(i)], [this, i] { select(i); });
    palette->command("真实折射 / Tint、Blur 归零", [this] {
        select(material_page);
        zero_material();
    });
    command_palette(palette);

    select(0);
}

void Gallery::build_shell() {
    Panel& shell = *root();
    label(shell, "VelmoraUI", {28, 18, 330, 50}, 36, 600);
    label<MutedLabel>(shell, "C++ COMPONENT LAB / 0.2.0", {28, 69, 400, 22}, 11, 400);

    sidebar_ = shell.emplace<Sidebar>(sections_);
    sidebar_->accessible_name = "分区";
    sidebar_->bounds = {24, 116, 204, 440};
    sidebar_->item_height = 42;
    sidebar_->on_select = [this](int index) { select(index); };

    label<MutedLabel>(shell, "非商业 · 应用完整源码公开", {28, 690, 214, 30}, 11, 400);
    label(shell, "Tab 切换焦点 / Ctrl+K 命令", {28, 724, 216, 30}, 11, 400);
    title_ = label(shell, "", {266, 24, 980, 42}, 25, 600);
    subtitle_ = label<MutedLabel>(shell, "", {266, 70, 980, 26}, 12, 400);

    content_ = shell.emplace<ScrollPane>();
    content_->bounds = {256, 116, 996, 656};
    content_->glass = false;
    content_->padding = 0;
}

// ---- select --------------------------------------------------------------------------------------------

void Gallery::select(int index) {
    index = std::clamp(index, 0, static_cast<int>(sections_.size()) - 1);
    if (sidebar_->selected() != index) {
        sidebar_->select(index); // its on_select comes back here, with the sidebar in agreement
        return;
    }
    page_ = index;
    // A keyboard user stepping through the sections with the arrows keeps the sidebar's focus.
    if (focus() != sidebar_) focus(nullptr);
    while (!overlays().empty()) close_top();
    content_->clear();
    content_->scroll(0);

    const std::string& name = sections_[static_cast<std::size_t>(index)];
    title_->text = name;
    subtitle_->text = index == material_page
                          ? "把 Tint、Blur 拉到 0：观察真实背景折射，Refraction 控制扭曲强度。"
                          : "控件是可交互的原生实例 · 下滚查看更多 · 类名与 Java 目录逐项对应";
    if (index == material_page) {
        build_material_page();
        return;
    }
    float row_top = 0;
    float row_height = 0;
    int n = 0;
    for (const ControlDescriptor& row : control_registry())
        if (name == row.group) build_card(row, n++, row_top, row_height);
}

// ---- cards ------------------------------------------------------------------------------------------------

void Gallery::build_card(const ControlDescriptor& row, int n, float& row_top, float& row_height) {
    auto control = row.factory();
    fill(control);
    const float preview = preview_height(*control);
    const bool opener = overlay_kind(*control);
    const float height = std::max(preview + 70 + (opener ? opener_height : 0), 112.0f);

    if (n % 2 == 0 && n > 0) {
        row_top += row_height + card_gap;
        row_height = 0;
    }
    row_height = std::max(row_height, height);

    char number[8];
    std::snprintf(number, sizeof number, "%02d", row.catalogue_number);
    auto card = content_->emplace<Card>(std::string(number) + "  " + row.name);
    card->padding = 16;
    card->bounds = {static_cast<float>(n % 2) * column_step, row_top, card_width, height};

    control->id = std::string("control.") + row.name;
    control->bounds = {16, 54, std::min(control->bounds.w, control_width), preview};
    if (opener) {
        // Shown in place as a still preview; the button below opens a live one on the overlay stack.
        control->hit_through = true;
        const ControlKind kind = row.kind;
        auto open = card->emplace<Button>(std::string("打开 ") + row.name);
        open->bounds = {16, 54 + preview + 8, 200, 36};
        open->on_activate = [this, kind](Widget& button) {
            auto live = describe(kind).factory();
            fill(live);
            if (auto dialog = std::dynamic_pointer_cast<Dialog>(live)) {
                dialog->open(*this);
            } else if (auto menu = std::dynamic_pointer_cast<PopupMenu>(live)) {
                const Rect& at = button.screen_bounds;
                menu->open(*this, {at.x, at.y + at.h + 4}, false);
            }
        };
    }
    // Every control is named for assistive technology; one without its own name takes its row's.
    AccessibleNode said;
    control->describe(said);
    if (said.name.empty()) control->accessible_name = row.name;
    card->add(control);
    if (row.kind == ControlKind::RightClickMenu || row.kind == ControlKind::ContextMenu) {
        // A right click anywhere on the card opens a live one too.
        auto menu = std::static_pointer_cast<PopupMenu>(row.factory());
        fill(menu);
        card->context_menu = menu;
    }

    if (row.kind == ControlKind::RingProgress) {
        // The ring is driven by a slider beside it.
        auto ring = std::static_pointer_cast<RingProgress>(control);
        auto drive = card->emplace<Slider>(ring->value());
        drive->accessible_name = "RingProgress";
        drive->bounds = {16 + control->bounds.w + 24, 54 + (preview - 24) * 0.5f, 300, 24};
        drive->on_change = [ring](Widget& w) { ring->value(static_cast<Slider&>(w).value()); };
    }
}

// ---- material page --------------------------------------------------------------------------------------

void Gallery::build_material_page() {
    auto panel = content_->emplace<GlassSettingsPanel>(theme);
    panel->bounds = {0, 0, 426, 530};

    auto card = content_->emplace<Card>("真实折射");
    card->bounds = {450, 0, 520, 530};
    label(*card, "VELMORA / REFRACTION", {18, 78, 474, 70}, 34, 700);
    auto probe = card->emplace<Button>("背景采样 · 折射预览");
    probe->bounds = {22, 194, 360, 68};
    probe->on_activate = [this](Widget&) {
        report("折射预览",
               "Refraction " + std::to_string(static_cast<int>(theme.refraction)) + " · 玻璃边缘弯折背景");
    };
    label<MutedLabel>(*card, "Tint 与 Blur 归零后，玻璃只剩折射：拖动 Refraction 观察网格在边缘弯曲。",
                      {22, 290, 476, 60}, 12, 400);
    auto zero = card->emplace<Button>("归零 Tint、Blur、Sigma");
    zero->bounds = {22, 380, 300, 38};
    zero->on_activate = [this](Widget&) { zero_material(); };
    auto liquid = card->emplace<Button>("恢复 Liquid");
    liquid->bounds = {22, 430, 300, 38};
    liquid->on_activate = [this](Widget&) {
        // The liquid material, keeping the gallery's colours.
        const Theme l = Theme::liquid();
        theme.blur = l.blur;
        theme.sigma = l.sigma;
        theme.refraction = l.refraction;
        theme.shine = l.shine;
        theme.dispersion = l.dispersion;
        theme.tint = l.tint;
        sync_panel();
    };
}

void Gallery::zero_material() {
    theme.tint = 0;
    theme.blur = 0;
    theme.sigma = 0;
    sync_panel();
}

void Gallery::sync_panel() {
    if (page_ != material_page || content_->children.empty()) return;
    if (auto* panel = dynamic_cast<GlassSettingsPanel*>(content_->children.front().get())) panel->sync();
}

void Gallery::report(const std::string& title, const std::string& body) {
    // A burst of actions shouldn't bury the page under notices.
    if (notices().size() >= 3) return;
    std::make_shared<Notification>(title, body)->show(*this, 2.5);
}

} // namespace gallery
