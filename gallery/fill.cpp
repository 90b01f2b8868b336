// Gallery::fill: the demonstration content of every catalogued control.
//
// Each control gets realistic items and callbacks; what the user does is reported in a
// notification. Controls on one page that drive each other meet through Scene::find.
//
//   - helpers and sample data
//   - fill, by group: basic, input, numeric, choice, data, layout, navigation, overlays, feedback
#include "gallery/gallery.hpp"

#include "velmora/widgets/basic.hpp"
#include "velmora/widgets/dialogs.hpp"
#include "velmora/widgets/fields.hpp"
#include "velmora/widgets/file_browser.hpp"
#include "velmora/widgets/lists.hpp"
#include "velmora/widgets/menus.hpp"
#include "velmora/widgets/palette.hpp"
#include "velmora/widgets/pickers.hpp"
#include "velmora/widgets/range.hpp"
#include "velmora/widgets/table.hpp"

#include <filesystem>
#include <string>
#include <vector>

namespace gallery {

namespace {

using namespace velmora::ui;

// ---- helpers and sample data -----------------------------------------------------------------------------

template <class T> T& as(const std::shared_ptr<Widget>& w) { return dynamic_cast<T&>(*w); }

void replace_options(ButtonGroup& group, const std::vector<std::string>& options) {
    group.clear();
    for (const auto& o : options) group.option(o);
    group.select(0);
}

template <class T> std::shared_ptr<T> child(Widget& parent, const std::string& text, Rect at) {
    auto w = parent.emplace<T>(text);
    w->bounds = at;
    return w;
}

std::shared_ptr<TreeNode> node(const std::string& label,
                               std::initializer_list<std::shared_ptr<TreeNode>> kids = {}) {
    auto n = std::make_shared<TreeNode>(label);
    for (const auto& k : kids) n->node(k);
    return n;
}

} // namespace

// ---- fill -------------------------------------------------------------------------------------------------

void Gallery::fill(const std::shared_ptr<Widget>& control) {
    // Callbacks reach the gallery through `this`: controls never outlive the scene that owns them.
    const auto say = [this](std::string title) {
        return [this, title](std::string body) { report(title, body); };
    };
    switch (control->kind()) {
    // basic
    case ControlKind::Button: {
        auto& b = as<Button>(control);
        b.text = "保存更改";
        b.accent = true;
        b.on_activate = [this](Widget&) { report("Button", "已保存更改"); };
        break;
    }
    case ControlKind::Label: {
        auto& l = as<Label>(control);
        l.text = "玻璃上的文字 · Label 支持中文与 English";
        l.font_size = 16;
        l.bounds = {0, 0, 442, 30};
        break;
    }
    case ControlKind::CheckBox:
    case ControlKind::RadioButton:
    case ControlKind::Switch:
    case ControlKind::ToggleButton: {
        auto& t = as<ToggleButton>(control);
        const ControlKind k = control->kind();
        t.text = k == ControlKind::CheckBox      ? "启用自动保存"
                 : k == ControlKind::RadioButton ? "高质量渲染"
                 : k == ControlKind::Switch      ? "深色界面"
                                                 : "粗体 B";
        t.bounds.w = k == ControlKind::ToggleButton ? 120 : 260;
        t.selected(k != ControlKind::ToggleButton);
        t.on_change = [report_to = say(control->class_name())](Widget& w) {
            auto& toggle = static_cast<ToggleButton&>(w);
            report_to(toggle.text + (toggle.selected() ? " · 已开启" : " · 已关闭"));
        };
        break;
    }
    case ControlKind::IconButton: {
        auto count = std::make_shared<int>(0);
        control->tooltip = "新建";
        control->on_activate = [this, count](Widget&) {
            report("IconButton", "已新建 " + std::to_string(++*count) + " 项");
        };
        break;
    }
    case ControlKind::RadioGroup:
    case ControlKind::ButtonGroup: {
        auto& g = as<ButtonGroup>(control);
        if (control->kind() == ControlKind::ButtonGroup) replace_options(g, {"日", "周", "月", "年"});
        g.bounds.w = 320;
        g.on_change = [report_to = say(control->class_name())](Widget& w) {
            auto& group = static_cast<ButtonGroup&>(w);
            const int i = group.selected();
            if (i >= 0) report_to("选择了 " + group.children[static_cast<std::size_t>(i)]->text);
        };
        break;
    }
    // input
    case ControlKind::TextField: {
        auto& f = as<TextField>(control);
        f.placeholder = "输入你的名字，回车确认";
        f.bounds.w = 442;
        f.on_submit = [report_to = say("TextField")](const std::string& v) { report_to("你好，" + v); };
        break;
    }
    case ControlKind::TextArea: {
        auto& f = as<TextArea>(control);
        f.bounds.w = 442; // first: the field scrolls to its caret for the width it has
        f.value("多行文本编辑：\n回车换行，Page Up / Page Down 翻页。\nUndo 与 Redo 记录每次编辑。");
        break;
    }
    case ControlKind::PasswordField: {
        auto& f = as<PasswordField>(control);
        f.reveal_button = true;
        f.value("velmora-2026");
        f.bounds.w = 300;
        break;
    }
    case ControlKind::SearchField:
    case ControlKind::AutoComplete: {
        auto& f = as<SearchField>(control);
        f.bounds.w = 320;
        if (auto* ac = dynamic_cast<AutoComplete*>(&f)) {
            ac->suggestions = {"Velmora", "VelmoraUI", "Vector", "Vertex", "Viewport", "C++", "Java"};
            f.placeholder = "输入 V 试试…";
        }
        f.on_submit = [report_to = say(control->class_name())](const std::string& v) {
            report_to("搜索：" + v);
        };
        break;
    }
    case ControlKind::NumberField:
    case ControlKind::Spinner: {
        auto& f = as<NumberField>(control);
        const bool spinner = control->kind() == ControlKind::Spinner;
        f.range(0, spinner ? 10 : 100);
        f.number(spinner ? 3 : 42);
        f.bounds.w = 200;
        f.on_submit = [report_to = say(control->class_name())](const std::string& v) {
            report_to("数值 " + v);
        };
        break;
    }
    case ControlKind::KeyBindingField: {
        auto& f = as<KeyBindingField>(control);
        f.value("Ctrl+Shift+K");
        f.bounds.w = 260;
        f.on_change = [report_to = say("KeyBindingField")](Widget& w) {
            if (!w.text.empty()) report_to("快捷键 " + w.text);
        };
        break;
    }
    // numeric
    case ControlKind::Slider: {
        auto& s = as<Slider>(control);
        s.value(0.65);
        s.bounds.w = 442;
        // Drives the progress bar on the same page.
        s.on_change = [this](Widget& w) {
            if (auto bar = std::dynamic_pointer_cast<ProgressBar>(find("control.ProgressBar")))
                bar->value(static_cast<Slider&>(w).value());
        };
        break;
    }
    case ControlKind::ProgressBar:
        control->bounds.w = 442;
        break;
    case ControlKind::ScrollBar: {
        auto& s = as<ScrollBar>(control);
        s.page = 0.25f;
        s.value(0.3);
        s.bounds.w = 442;
        break;
    }
    case ControlKind::RangeSlider: {
        auto& s = as<RangeSlider>(control);
        s.values(0.2, 0.8);
        s.bounds.w = 442;
        break;
    }
    // choice
    case ControlKind::ComboSelect: {
        auto& c = as<ComboSelect>(control);
        c.options = {"北京", "上海", "深圳", "杭州", "成都"};
        c.select(1);
        c.on_change = [report_to = say("ComboSelect")](Widget& w) { report_to("城市：" + w.text); };
        break;
    }
    case ControlKind::ComboBox: {
        auto& c = as<ComboBox>(control);
        c.suggestions = {"Segoe UI", "Noto Sans CJK", "思源黑体", "JetBrains Mono", "Inter"};
        c.bounds.w = 300;
        c.on_submit = [report_to = say("ComboBox")](const std::string& v) { report_to("字体：" + v); };
        break;
    }
    case ControlKind::ColorPicker:
        control->on_change = [report_to = say("ColorPicker")](Widget& w) {
            report_to("颜色 " + ColorPicker::hex(static_cast<ColorPicker&>(w).value()));
        };
        break;
    case ControlKind::DatePicker:
        control->on_change = [report_to = say("DatePicker")](Widget& w) {
            report_to("日期 " + static_cast<DatePicker&>(w).value().iso());
        };
        break;
    case ControlKind::TimePicker: {
        auto& t = as<TimePicker>(control);
        t.value({9, 30, 0});
        t.on_change = [report_to = say("TimePicker")](Widget& w) {
            report_to("时间 " + static_cast<TimePicker&>(w).value().text(false));
        };
        break;
    }
    case ControlKind::FilePicker:
    case ControlKind::DirectoryPicker:
        // The caption shows the chosen name; the tooltip keeps the whole path. No notice: the
        // path is also set by code, and that isn't something the user did.
        as<FilePicker>(control).on_path = [picker = control.get()](const std::filesystem::path& p) {
            picker->tooltip = reinterpret_cast<const char*>(p.u8string().c_str());
        };
        break;
    // data
    case ControlKind::ListBox: {
        auto& l = as<ListBox>(control);
        l.items = {"收件箱", "已发送", "草稿", "归档", "垃圾邮件", "重要", "稍后处理", "订阅", "通知"};
        l.bounds = {0, 0, 442, 180};
        l.on_select = [this](int i) { report("ListBox", "选中第 " + std::to_string(i + 1) + " 项"); };
        break;
    }
    case ControlKind::Sidebar: {
        auto& l = as<Sidebar>(control);
        l.items = {"概览", "组件", "材质", "设置"};
        l.bounds = {0, 0, 240, 180};
        l.on_select = [this](int i) { report("Sidebar", "切换到第 " + std::to_string(i + 1) + " 栏"); };
        break;
    }
    case ControlKind::GridView: {
        auto& g = as<GridView>(control);
        g.items = {"红 Red", "橙 Orange", "黄 Yellow", "绿 Green", "青 Cyan", "蓝 Blue"};
        g.bounds = {0, 0, 442, 2 * 5 + 2 * 72};
        g.on_select = [this, &g](int i) {
            if (i >= 0) report("GridView", g.items[static_cast<std::size_t>(i)]);
        };
        break;
    }
    case ControlKind::TreeView: {
        auto& t = as<TreeView>(control);
        t.root(node("velmora", {node("core", {node("canvas.cpp"), node("theme.cpp")}),
                                node("widgets", {node("lists.cpp"), node("table.cpp")}), node("gpu")}));
        t.root(node("gallery", {node("main.cpp"), node("gallery.cpp")}));
        t.roots.front()->child_nodes[1]->expanded = false;
        t.bounds = {0, 0, 442, 220};
        t.on_change = [this](Widget& w) {
            if (const auto& n = static_cast<TreeView&>(w).selected()) report("TreeView", n->text);
        };
        break;
    }
    case ControlKind::TreeNode: {
        auto& n = as<TreeNode>(control);
        n.text = "src";
        n.node(node("main.cpp"));
        n.expanded = false;
        n.bounds.w = 260;
        break;
    }
    case ControlKind::Table: {
        auto& t = as<Table>(control);
        t.columns = {"文件", "大小 KB", "类型"};
        t.row({"canvas.cpp", "12", "源文件"});
        t.row({"theme.hpp", "3", "头文件"});
        t.row({"vg.cpp", "41", "源文件"});
        t.row({"gallery.cpp", "9", "源文件"});
        t.row({"README.md", "4", "文档"});
        t.row({"shaders.cpp", "19", "源文件"});
        t.bounds = {0, 0, 442, 220};
        t.on_edit = [this](int r, int c, const std::string& v) {
            report("Table", "第 " + std::to_string(r + 1) + " 行第 " + std::to_string(c + 1) + " 列：" + v);
        };
        break;
    }
    case ControlKind::PropertyGrid: {
        auto& g = as<PropertyGrid>(control);
        g.property("名称", std::string("玻璃卡片"));
        g.property("圆角", 18.0);
        g.property("透明度", 0.8);
        g.property("可见", true);
        g.property("阴影", false);
        g.bounds = {0, 0, 442, 240};
        g.on_property = [this](const std::string& name, const PropertyValue&) {
            report("PropertyGrid", name + " 已更新");
        };
        break;
    }
    case ControlKind::ListItem: {
        auto& i = as<ListItem>(control);
        i.text = "收件箱 · 12 封未读";
        i.bounds.w = 320;
        break;
    }
    case ControlKind::TableCell:
        as<TableCell>(control).value("可编辑单元格");
        control->bounds.w = 260;
        break;
    // layout
    case ControlKind::Tabs: {
        auto& t = as<Tabs>(control);
        const char* pages[][2] = {{"概览", "三个页签共享一块玻璃，点击标题切换。"},
                                  {"详情", "Tabs 只显示选中的页。"},
                                  {"设置", "键盘左右键也能切换页签。"}};
        for (const auto& [title, body] : pages) {
            auto page = t.emplace<TabPage>(title);
            child<Label>(*page, body, {16, 16, 380, 30});
        }
        t.bounds.w = 442;
        break;
    }
    case ControlKind::Panel:
    case ControlKind::GroupBox:
    case ControlKind::Card:
    case ControlKind::TabPage:
    case ControlKind::Accordion: {
        auto& p = as<Panel>(control);
        const ControlKind k = control->kind();
        if (k == ControlKind::GroupBox) p.text = "网络设置";
        if (k == ControlKind::Card) {
            p.text = "玻璃卡片";
            static_cast<Card&>(p).subtitle = "标题与副标题";
        }
        if (k == ControlKind::TabPage) p.text = "页签页";
        if (k == ControlKind::Accordion) p.text = "高级选项 · 点击标题折叠";
        p.layout_mode = layout_column;
        child<Label>(p, k == ControlKind::Panel ? "Panel：一块带圆角的玻璃" : "内容随容器一起裁剪",
                     {0, 0, 0, 24});
        auto toggle = child<Switch>(p, "启用代理", {0, 0, 0, 30});
        toggle->on_change = [this](Widget& w) {
            report("Switch", static_cast<Switch&>(w).selected() ? "代理已启用" : "代理已关闭");
        };
        p.bounds.w = 442;
        break;
    }
    case ControlKind::SplitPane: {
        auto& s = as<SplitPane>(control);
        for (const char* side : {"左侧 · 导航", "右侧 · 内容"}) {
            auto pane = s.emplace<Panel>();
            pane->layout_mode = layout_column;
            child<Label>(*pane, side, {0, 0, 0, 24});
        }
        s.ratio(0.4f);
        s.bounds.w = 442;
        break;
    }
    case ControlKind::ScrollPane: {
        auto& s = as<ScrollPane>(control);
        s.layout_mode = layout_column;
        s.gap = 6;
        for (int i = 1; i <= 12; ++i)
            child<Label>(s, "滚动内容第 " + std::to_string(i) + " 行", {0, 0, 0, 22});
        s.bounds.w = 442;
        break;
    }
    case ControlKind::DragBar:
        control->bounds.w = 300;
        break;
    // navigation
    case ControlKind::MenuBar:
    case ControlKind::ToolBar: {
        auto& bar = as<Panel>(control);
        if (control->kind() == ControlKind::MenuBar) {
            const auto act = [this](const std::string& what) {
                return [this, what] { report("MenuBar", what); };
            };
            auto file = std::make_shared<PopupMenu>();
            auto recent = std::make_shared<PopupMenu>();
            for (const char* name : {"canvas.cpp", "theme.hpp", "gallery.cpp"}) recent->item(name, act(name));
            file->item("新建", act("新建文件"));
            file->item("打开…", act("打开文件"));
            file->submenu("最近打开", recent);
            file->separator();
            file->disabled("导出 PDF");
            auto edit = std::make_shared<PopupMenu>();
            edit->item("撤销", act("撤销"));
            edit->item("重做", act("重做"));
            edit->separator();
            edit->checked("自动换行", true, act("切换自动换行"));
            auto view = std::make_shared<PopupMenu>();
            auto zoom = std::make_shared<PopupMenu>();
            for (const char* level : {"50%", "100%", "200%"})
                zoom->item(level, act(std::string("缩放 ") + level));
            view->checked("显示网格", true, act("切换网格"));
            view->checked("显示标尺", false, act("切换标尺"));
            view->submenu("缩放", zoom);
            for (const auto& [title, menu] :
                 {std::pair{"文件", file}, std::pair{"编辑", edit}, std::pair{"视图", view}})
                child<DropDownMenu>(bar, title, {0, 0, 80, 36})->menu = menu;
        } else {
            for (const char* tool : {"新建", "打开", "保存"}) {
                auto b = child<Button>(bar, tool, {0, 0, 72, 34});
                b->on_activate = [this, t = std::string(tool)](Widget&) { report("ToolBar", t); };
            }
            bar.emplace<Separator>(true)->bounds = {0, 0, 1, 34};
            child<IconButton>(bar, "+", {0, 0, 34, 34});
        }
        bar.bounds.w = 442;
        break;
    }
    case ControlKind::StatusBar: {
        auto& s = as<StatusBar>(control);
        s.text = "就绪 · 68 个控件";
        s.right_text = "UTF-8 · 0.2.0";
        s.bounds.w = 442;
        break;
    }
    case ControlKind::Paginator:
        control->on_change = [this](Widget& w) {
            auto& p = static_cast<Paginator&>(w);
            report("Paginator",
                   "第 " + std::to_string(p.page + 1) + " / " + std::to_string(p.pages()) + " 页");
        };
        break;
    case ControlKind::NavBar:
        as<NavBar>(control).option("About");
        control->bounds.w = 360;
        control->on_change = [this](Widget& w) {
            const int i = static_cast<NavBar&>(w).selected();
            if (i >= 0) report("NavBar", w.children[static_cast<std::size_t>(i)]->text);
        };
        break;
    case ControlKind::Breadcrumb: {
        auto& b = as<Breadcrumb>(control);
        b.items = {"Home", "Project", "velmora", "widgets"};
        b.bounds.w = 442;
        b.on_select = [this, &b](int i) { report("Breadcrumb", b.items[static_cast<std::size_t>(i)]); };
        break;
    }
    // overlays
    case ControlKind::DropDownMenu:
    case ControlKind::RightClickMenu:
    case ControlKind::PopupMenu:
    case ControlKind::ContextMenu: {
        std::shared_ptr<PopupMenu> menu;
        if (auto drop = std::dynamic_pointer_cast<DropDownMenu>(control)) {
            drop->text = "文件菜单 ⌄";
            drop->menu = menu = std::make_shared<PopupMenu>();
        } else {
            menu = std::static_pointer_cast<PopupMenu>(control);
        }
        const std::string name = control->class_name();
        auto recent = std::make_shared<PopupMenu>();
        for (const char* file : {"gallery.cpp", "theme.hpp", "README.md"})
            recent->item(file, [this, name, f = std::string(file)] { report(name, "打开 " + f); });
        menu->item("新建窗口", [this, name] { report(name, "新建窗口"); });
        menu->submenu("最近打开", recent);
        menu->separator();
        menu->checked("自动换行", true, [this, name] { report(name, "切换自动换行"); });
        menu->checked("显示行号", false, [this, name] { report(name, "切换行号"); });
        menu->disabled("打印（不可用）");
        menu->resize_menu();
        menu->bounds.w = 240;
        // A menu on show inline has no row under the pointer yet; opened ones start on the first.
        menu->active = -1;
        break;
    }
    case ControlKind::Dialog:
    case ControlKind::Modal: {
        auto& d = as<Dialog>(control);
        d.text = control->kind() == ControlKind::Modal ? "模态对话框" : "对话框";
        d.bounds = {0, 0, 420, 180};
        child<Label>(d, "拖动标题栏移动；点 × 关闭。", {16, 60, 380, 24});
        break;
    }
    case ControlKind::MessageBox: {
        auto& m = as<MessageBox>(control);
        m.text = "删除文件";
        m.message = "确定删除 gallery-renders 吗？";
        m.bounds.w = 442;
        m.on_close = [this](bool yes) { report("MessageBox", yes ? "已确认" : "已取消"); };
        break;
    }
    case ControlKind::CommandPalette: {
        auto& p = as<CommandPalette>(control);
        for (const char* title : {"打开文件", "切换主题", "显示网格", "复制类名", "关于 VelmoraUI"})
            p.command(title, [this, t = std::string(title)] { report("CommandPalette", t); });
        p.bounds.w = 442;
        break;
    }
    // feedback
    case ControlKind::Callout:
    case ControlKind::Notification: {
        auto& c = as<Callout>(control);
        c.body = control->kind() == ControlKind::Callout ? "保存后会自动同步到所有设备。"
                                                         : "构建完成：68 个控件全部通过。";
        c.bounds.w = 442;
        break;
    }
    case ControlKind::Tooltip:
        control->text = "悬停在控件上会出现提示";
        break;
    case ControlKind::Badge:
        control->text = "12";
        break;
    case ControlKind::Separator:
        control->bounds.w = 442;
        break;
    case ControlKind::SpinnerIndicator:
        as<SpinnerIndicator>(control).speed = 0.8f;
        break;
    default:
        break;
    }
}

} // namespace gallery
