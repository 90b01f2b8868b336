// The control catalogue: row order, lookup bounds and what each factory builds.
#include "velmora/widgets/registry.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>

namespace {

namespace ui = velmora::ui;

ui::ControlKind kind(std::int32_t k) { return static_cast<ui::ControlKind>(k); }

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

} // namespace
