// The control catalogue: a kind outside it fails by name (every factory is built by the gallery).
#include "velmora/widgets/registry.hpp"

#include "../thrown.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>

namespace {

namespace ui = velmora::ui;

ui::ControlKind kind(std::int32_t k) { return static_cast<ui::ControlKind>(k); }

TEST(Registry, KindsOutsideTheCatalogueFail) {
    for (std::int32_t bad : {0, 69, -1})
        EXPECT_EQ(velmora::test::thrown<std::invalid_argument>([&] { ui::make_control(kind(bad)); }),
                  "Unknown control kind")
            << bad;
    EXPECT_NO_THROW(ui::describe(kind(1)));
    EXPECT_NO_THROW(ui::describe(kind(68)));
}

} // namespace
