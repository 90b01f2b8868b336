// The control catalogue: row order, lookup bounds and what each factory builds.
#include "velmora/widgets/registry.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <stdexcept>
#include <string>

namespace {

namespace ui = velmora::ui;

ui::ControlKind kind(std::int32_t k) { return static_cast<ui::ControlKind>(k); }

TEST(Registry, RowsStandInKindOrderUnderTheNineGroups) {
    const auto& rows = ui::control_registry();
    ASSERT_EQ(rows.size(), 68u);
    EXPECT_EQ(&rows, &ui::control_registry());
    std::set<std::string> names;
    std::set<std::string> groups;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i].catalogue_number, static_cast<std::int32_t>(i + 1));
        EXPECT_EQ(static_cast<std::int32_t>(rows[i].kind), rows[i].catalogue_number);
        EXPECT_EQ(&ui::describe(rows[i].kind), &rows[i]);
        names.insert(rows[i].name);
        groups.insert(rows[i].group);
    }
    EXPECT_EQ(names.size(), 68u);
    EXPECT_EQ(groups, (std::set<std::string>{"基础", "输入", "数值", "选择", "数据", "布局", "导航",
                                             "菜单与弹层", "反馈"}));
    // The groups that don't follow the numbering.
    EXPECT_STREQ(ui::describe(ui::ControlKind::ListBox).group, "数据");
    EXPECT_STREQ(ui::describe(ui::ControlKind::Sidebar).group, "数据");
    EXPECT_STREQ(ui::describe(ui::ControlKind::DragBar).group, "布局");
    EXPECT_STREQ(ui::describe(ui::ControlKind::Badge).group, "反馈");
}

TEST(Registry, KindsOutsideTheCatalogueFail) {
    for (std::int32_t bad : {0, 69, -1}) {
        try {
            ui::make_control(kind(bad));
            ADD_FAILURE() << bad;
        } catch (const std::invalid_argument& e) {
            EXPECT_STREQ(e.what(), "Unknown control kind");
        }
    }
    EXPECT_NO_THROW(ui::describe(kind(1)));
    EXPECT_NO_THROW(ui::describe(kind(68)));
}

TEST(Registry, EveryFactoryBuildsItsOwnKindReadyToAdopt) {
    ui::Widget parent;
    for (const auto& row : ui::control_registry()) {
        ASSERT_NE(row.factory, nullptr) << row.name;
        const auto control = ui::make_control(row.kind);
        ASSERT_NE(control, nullptr) << row.name;
        EXPECT_EQ(control->kind(), row.kind) << row.name;
        EXPECT_STREQ(control->class_name(), row.name);
        EXPECT_EQ(control->parent, nullptr) << row.name;
        EXPECT_NE(make_control(row.kind), control) << "a fresh instance each time: " << row.name;
    }
}

TEST(Registry, FactoriesGiveVisibleDefaultContent) {
    EXPECT_EQ(ui::make_control(ui::ControlKind::Button)->text, "Button");
    EXPECT_EQ(ui::make_control(ui::ControlKind::ToggleButton)->text, "Toggle");
    EXPECT_EQ(ui::make_control(ui::ControlKind::DragBar)->text, "拖动此条");
    const auto icon = ui::make_control(ui::ControlKind::IconButton);
    EXPECT_EQ(icon->bounds.w, 36);
    EXPECT_EQ(icon->bounds.h, 36);
    EXPECT_EQ(ui::make_control(ui::ControlKind::RadioGroup)->children.size(), 2u);
    EXPECT_EQ(ui::make_control(ui::ControlKind::ButtonGroup)->children.size(), 3u);
}

} // namespace
