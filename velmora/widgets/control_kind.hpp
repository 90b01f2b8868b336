// ControlKind: the catalogue number of every control class, reported through Widget::kind().
//
// The values are part of the catalogue and never change; 0 is the plain Widget, which is no
// catalogued kind. Kinds 1 to 46 were numbered first and 47 to 68 later, so a group's members
// are not contiguous.
#pragma once

#include "velmora/platform/accessibility.hpp"

#include <cstdint>

namespace velmora::ui {

enum class ControlKind : std::int32_t {
    Button = 1,
    Label = 2,
    CheckBox = 3,
    RadioButton = 4,
    Switch = 5,
    TextField = 6,
    TextArea = 7,
    PasswordField = 8,
    SearchField = 9,
    Slider = 10,
    ProgressBar = 11,
    ScrollBar = 12,
    ComboSelect = 13,
    ComboBox = 14,
    ListBox = 15,
    Spinner = 16,
    Tabs = 17,
    MenuBar = 18,
    DropDownMenu = 19,
    RightClickMenu = 20,
    ToolBar = 21,
    StatusBar = 22,
    Callout = 23,
    Tooltip = 24,
    Notification = 25,
    Dialog = 26,
    Modal = 27,
    MessageBox = 28,
    Panel = 29,
    GroupBox = 30,
    Accordion = 31,
    SplitPane = 32,
    ScrollPane = 33,
    TreeView = 34,
    Table = 35,
    GridView = 36,
    PropertyGrid = 37,
    Paginator = 38,
    Sidebar = 39,
    NavBar = 40,
    Breadcrumb = 41,
    ColorPicker = 42,
    DatePicker = 43,
    TimePicker = 44,
    FilePicker = 45,
    DirectoryPicker = 46,
    IconButton = 47,
    ToggleButton = 48,
    RadioGroup = 49,
    ButtonGroup = 50,
    ListItem = 51,
    TreeNode = 52,
    TableCell = 53,
    TabPage = 54,
    Card = 55,
    Avatar = 56,
    Badge = 57,
    Separator = 58,
    SpinnerIndicator = 59,
    RingProgress = 60,
    DragBar = 61,
    RangeSlider = 62,
    NumberField = 63,
    KeyBindingField = 64,
    AutoComplete = 65,
    PopupMenu = 66,
    ContextMenu = 67,
    CommandPalette = 68,
};

// What assistive technology is told a control of each kind is, before the control adds its state.
struct AccessibleDefaults {
    AccessibleRole role = AccessibleRole::panel;
    std::uint32_t actions = 0; // accessible_action bits
};
// The plain Widget (kind 0) is a panel without actions.
AccessibleDefaults accessible_defaults(ControlKind kind);

} // namespace velmora::ui
