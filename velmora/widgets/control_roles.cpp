// The role and actions of every kind of control, after the W3C Core-AAM mapping.
#include "velmora/widgets/control_kind.hpp"

namespace velmora::ui {

AccessibleDefaults accessible_defaults(ControlKind kind) {
    using R = AccessibleRole;
    namespace a = accessible_action;
    switch (kind) {
    case ControlKind::Button:
    case ControlKind::IconButton:
    case ControlKind::FilePicker:
    case ControlKind::DirectoryPicker:
        return {R::push_button, a::press};
    case ControlKind::DropDownMenu:
        return {R::push_button, a::press | a::expand};
    case ControlKind::ToggleButton:
    case ControlKind::Switch:
        return {R::toggle_button, a::toggle};
    case ControlKind::CheckBox:
        return {R::check_box, a::toggle};
    case ControlKind::RadioButton:
        return {R::radio_button, a::press};
    case ControlKind::ListItem:
        return {R::list_item, a::select};
    case ControlKind::Label:
    case ControlKind::Badge:
        return {R::label, 0};
    case ControlKind::Avatar:
        return {R::image, 0};
    case ControlKind::Separator:
        return {R::separator, 0};
    case ControlKind::TextField:
    case ControlKind::SearchField:
    case ControlKind::KeyBindingField:
    case ControlKind::AutoComplete:
        return {R::entry, a::activate};
    case ControlKind::TableCell:
        return {R::table_cell, a::activate};
    case ControlKind::TextArea:
        return {R::text, 0};
    case ControlKind::PasswordField:
        return {R::password_text, a::activate};
    case ControlKind::NumberField:
    case ControlKind::Spinner:
        return {R::spin_button, a::activate};
    case ControlKind::Slider:
    case ControlKind::RangeSlider:
        return {R::slider, 0};
    case ControlKind::ScrollBar:
        return {R::scroll_bar, 0};
    case ControlKind::ProgressBar:
    case ControlKind::RingProgress:
        return {R::progress_bar, 0};
    case ControlKind::SpinnerIndicator:
        return {R::animation, 0};
    case ControlKind::ComboSelect:
    case ControlKind::ComboBox:
        return {R::combo_box, a::expand};
    case ControlKind::ListBox:
    case ControlKind::GridView:
    case ControlKind::Sidebar:
        return {R::list_box, 0};
    case ControlKind::TreeView:
        return {R::tree, 0};
    case ControlKind::TreeNode:
        return {R::tree_item, a::select | a::expand};
    case ControlKind::Table:
        return {R::table, 0};
    case ControlKind::Tabs:
        return {R::page_tab_list, 0};
    case ControlKind::TabPage:
        return {R::page_tab, a::select};
    case ControlKind::MenuBar:
        return {R::menu_bar, 0};
    case ControlKind::RightClickMenu:
    case ControlKind::PopupMenu:
    case ControlKind::ContextMenu:
        return {R::menu, 0};
    case ControlKind::ToolBar:
    case ControlKind::NavBar:
    case ControlKind::Breadcrumb:
        return {R::tool_bar, 0};
    case ControlKind::StatusBar:
        return {R::status_bar, 0};
    case ControlKind::Callout:
        return {R::info_bar, 0};
    case ControlKind::Tooltip:
        return {R::tool_tip, 0};
    case ControlKind::Notification:
        return {R::notification, 0};
    case ControlKind::Dialog:
    case ControlKind::Modal:
    case ControlKind::CommandPalette:
        return {R::dialog, 0};
    case ControlKind::MessageBox:
        return {R::alert, 0};
    case ControlKind::Accordion:
        return {R::panel, a::expand};
    case ControlKind::SplitPane:
        return {R::split_pane, 0};
    case ControlKind::ScrollPane:
    case ControlKind::PropertyGrid:
        return {R::scroll_pane, 0};
    case ControlKind::Paginator:
        return {R::spin_button, 0};
    case ControlKind::ColorPicker:
        return {R::color_chooser, a::press};
    case ControlKind::DatePicker:
        return {R::date_editor, a::press};
    case ControlKind::TimePicker:
        return {R::date_editor, 0};
    case ControlKind::DragBar:
        return {R::separator, 0};
    case ControlKind::Panel:
    case ControlKind::GroupBox:
    case ControlKind::Card:
    case ControlKind::RadioGroup:
    case ControlKind::ButtonGroup:
        return {R::panel, 0};
    }
    return {};
}

} // namespace velmora::ui
