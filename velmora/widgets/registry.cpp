// The control catalogue as one constant table, copied once into the vector callers see.
#include "velmora/widgets/registry.hpp"

#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/containers.hpp"
#include "velmora/widgets/dialogs.hpp"
#include "velmora/widgets/fields.hpp"
#include "velmora/widgets/file_browser.hpp"
#include "velmora/widgets/lists.hpp"
#include "velmora/widgets/menus.hpp"
#include "velmora/widgets/palette.hpp"
#include "velmora/widgets/pickers.hpp"
#include "velmora/widgets/range.hpp"
#include "velmora/widgets/table.hpp"
#include "velmora/widgets/text_field.hpp"

#include <iterator>
#include <stdexcept>
#include <string>

namespace velmora::ui {

namespace {

using Items = std::vector<std::string>;

// Every factory is one instantiation of this: a single shared allocation, so the result can
// be added to a parent at once (enable_shared_from_this is wired by make_shared).
template <class T, class... Args> std::shared_ptr<Widget> create(Args... args) {
    return std::make_shared<T>(std::move(args)...);
}

constexpr const char* basic = "基础";
constexpr const char* input = "输入";
constexpr const char* numeric = "数值";
constexpr const char* choice = "选择";
constexpr const char* data = "数据";
constexpr const char* layout = "布局";
constexpr const char* navigation = "导航";
constexpr const char* overlays = "菜单与弹层";
constexpr const char* feedback = "反馈";

using Factory = std::shared_ptr<Widget> (*)();

constexpr ControlDescriptor row(ControlKind kind, const char* name, const char* group, Factory factory) {
    return {static_cast<std::int32_t>(kind), kind, name, group, factory};
}

constexpr ControlDescriptor table[] = {
    row(ControlKind::Button, "Button", basic, [] { return create<Button>("Button"); }),
    row(ControlKind::Label, "Label", basic, [] { return create<Label>(""); }),
    row(ControlKind::CheckBox, "CheckBox", basic, [] { return create<CheckBox>("CheckBox"); }),
    row(ControlKind::RadioButton, "RadioButton", basic, [] { return create<RadioButton>("RadioButton"); }),
    row(ControlKind::Switch, "Switch", basic, [] { return create<Switch>("Switch"); }),
    row(ControlKind::TextField, "TextField", input, [] { return create<TextField>(""); }),
    row(ControlKind::TextArea, "TextArea", input, [] { return create<TextArea>(""); }),
    row(ControlKind::PasswordField, "PasswordField", input, [] { return create<PasswordField>(); }),
    row(ControlKind::SearchField, "SearchField", input, [] { return create<SearchField>(); }),
    row(ControlKind::Slider, "Slider", numeric, [] { return create<Slider>(0.0); }),
    row(ControlKind::ProgressBar, "ProgressBar", numeric, [] { return create<ProgressBar>(0.65); }),
    row(ControlKind::ScrollBar, "ScrollBar", numeric, [] { return create<ScrollBar>(false); }),
    row(ControlKind::ComboSelect, "ComboSelect", choice,
        [] {
            return create<ComboSelect>(Items{"One", "Two", "Three"});
        }),
    row(ControlKind::ComboBox, "ComboBox", choice,
        [] {
            return create<ComboBox>(Items{"One", "Two", "Three"});
        }),
    row(ControlKind::ListBox, "ListBox", data,
        [] {
            return create<ListBox>(Items{"One", "Two", "Three"});
        }),
    row(ControlKind::Spinner, "Spinner", numeric, [] { return create<Spinner>(0.0); }),
    row(ControlKind::Tabs, "Tabs", layout, [] { return create<Tabs>(); }),
    row(ControlKind::MenuBar, "MenuBar", navigation, [] { return create<MenuBar>(); }),
    row(ControlKind::DropDownMenu, "DropDownMenu", overlays, [] { return create<DropDownMenu>("Menu"); }),
    row(ControlKind::RightClickMenu, "RightClickMenu", overlays, [] { return create<RightClickMenu>(); }),
    row(ControlKind::ToolBar, "ToolBar", navigation, [] { return create<ToolBar>(); }),
    row(ControlKind::StatusBar, "StatusBar", navigation, [] { return create<StatusBar>("Ready", ""); }),
    row(ControlKind::Callout, "Callout", feedback, [] { return create<Callout>("提示", "操作已完成"); }),
    row(ControlKind::Tooltip, "Tooltip", feedback, [] { return create<Tooltip>("Tooltip"); }),
    row(ControlKind::Notification, "Notification", feedback,
        [] { return create<Notification>("通知", "操作已完成"); }),
    row(ControlKind::Dialog, "Dialog", overlays, [] { return create<Dialog>("Dialog"); }),
    row(ControlKind::Modal, "Modal", overlays, [] { return create<Modal>("Modal"); }),
    row(ControlKind::MessageBox, "MessageBox", overlays,
        [] { return create<MessageBox>("消息", "操作已完成", std::function<void(bool)>{}); }),
    row(ControlKind::Panel, "Panel", layout, [] { return create<Panel>(""); }),
    row(ControlKind::GroupBox, "GroupBox", layout, [] { return create<GroupBox>("Group"); }),
    row(ControlKind::Accordion, "Accordion", layout, [] { return create<Accordion>("Accordion"); }),
    row(ControlKind::SplitPane, "SplitPane", layout, [] { return create<SplitPane>(); }),
    row(ControlKind::ScrollPane, "ScrollPane", layout, [] { return create<ScrollPane>(); }),
    row(ControlKind::TreeView, "TreeView", data, [] { return create<TreeView>(); }),
    row(ControlKind::Table, "Table", data, [] { return create<Table>(); }),
    row(ControlKind::GridView, "GridView", data,
        [] {
            return create<GridView>(Items{"A", "B", "C", "D", "E", "F"}, 3);
        }),
    row(ControlKind::PropertyGrid, "PropertyGrid", data, [] { return create<PropertyGrid>(); }),
    row(ControlKind::Paginator, "Paginator", navigation, [] { return create<Paginator>(8); }),
    row(ControlKind::Sidebar, "Sidebar", data,
        [] {
            return create<Sidebar>(Items{"Overview", "Components", "Settings"});
        }),
    row(ControlKind::NavBar, "NavBar", navigation,
        [] {
            return create<NavBar>(Items{"Overview", "Settings"});
        }),
    row(ControlKind::Breadcrumb, "Breadcrumb", navigation,
        [] {
            return create<Breadcrumb>(Items{"Home", "Project"});
        }),
    row(ControlKind::ColorPicker, "ColorPicker", choice, [] { return create<ColorPicker>(); }),
    row(ControlKind::DatePicker, "DatePicker", choice, [] { return create<DatePicker>(); }),
    row(ControlKind::TimePicker, "TimePicker", choice, [] { return create<TimePicker>(); }),
    row(ControlKind::FilePicker, "FilePicker", choice, [] { return create<FilePicker>(); }),
    row(ControlKind::DirectoryPicker, "DirectoryPicker", choice, [] { return create<DirectoryPicker>(); }),
    row(ControlKind::IconButton, "IconButton", basic, [] { return create<IconButton>("+"); }),
    row(ControlKind::ToggleButton, "ToggleButton", basic, [] { return create<ToggleButton>("Toggle"); }),
    row(ControlKind::RadioGroup, "RadioGroup", basic,
        [] {
            return create<RadioGroup>(Items{"Local", "Cloud"});
        }),
    row(ControlKind::ButtonGroup, "ButtonGroup", basic,
        [] {
            return create<ButtonGroup>(Items{"One", "Two", "Three"});
        }),
    row(ControlKind::ListItem, "ListItem", data, [] { return create<ListItem>("List item"); }),
    row(ControlKind::TreeNode, "TreeNode", data, [] { return create<TreeNode>("Node"); }),
    row(ControlKind::TableCell, "TableCell", data, [] { return create<TableCell>("Cell"); }),
    row(ControlKind::TabPage, "TabPage", layout, [] { return create<TabPage>("Page"); }),
    row(ControlKind::Card, "Card", layout, [] { return create<Card>("Card"); }),
    row(ControlKind::Avatar, "Avatar", feedback, [] { return create<Avatar>("VU"); }),
    row(ControlKind::Badge, "Badge", feedback, [] { return create<Badge>("3"); }),
    row(ControlKind::Separator, "Separator", feedback, [] { return create<Separator>(false); }),
    row(ControlKind::SpinnerIndicator, "SpinnerIndicator", feedback,
        [] { return create<SpinnerIndicator>(""); }),
    row(ControlKind::RingProgress, "RingProgress", feedback, [] { return create<RingProgress>(0.65); }),
    row(ControlKind::DragBar, "DragBar", layout, [] { return create<DragBar>("拖动此条"); }),
    row(ControlKind::RangeSlider, "RangeSlider", numeric, [] { return create<RangeSlider>(); }),
    row(ControlKind::NumberField, "NumberField", input, [] { return create<NumberField>(0.0); }),
    row(ControlKind::KeyBindingField, "KeyBindingField", input, [] { return create<KeyBindingField>(); }),
    row(ControlKind::AutoComplete, "AutoComplete", input,
        [] {
            return create<AutoComplete>(Items{"Velmora", "VelmoraUI", "C++", "Java"});
        }),
    row(ControlKind::PopupMenu, "PopupMenu", overlays, [] { return create<PopupMenu>(); }),
    row(ControlKind::ContextMenu, "ContextMenu", overlays, [] { return create<ContextMenu>(); }),
    row(ControlKind::CommandPalette, "CommandPalette", overlays, [] { return create<CommandPalette>(); }),
};

static_assert(std::size(table) == 68, "one row per control kind");

} // namespace

const std::vector<ControlDescriptor>& control_registry() {
    static const std::vector<ControlDescriptor> rows(std::begin(table), std::end(table));
    return rows;
}

const ControlDescriptor& describe(ControlKind kind) {
    const auto k = static_cast<std::int32_t>(kind);
    if (k < 1 || k > 68) throw std::invalid_argument("Unknown control kind");
    return control_registry()[static_cast<std::size_t>(k - 1)];
}

std::shared_ptr<Widget> make_control(ControlKind kind) { return describe(kind).factory(); }

} // namespace velmora::ui
