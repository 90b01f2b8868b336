// The control catalogue: one row per ControlKind, in kind order, saying how the control is
// named, which group it is shown under and how to build a default instance.
//
//     for (const ControlDescriptor& row : control_registry())
//         if (std::string_view(row.group) == "基础") page->add(row.factory());
//
// Factories give every control literal default content so that it is visible and meaningful
// without further set-up; they neither size the control nor add it to a tree.
#pragma once

#include "velmora/core/export.hpp"
#include "velmora/scene/widget.hpp"
#include "velmora/widgets/control_kind.hpp"

#include <cstdint>
#include <memory>
#include <vector>

namespace velmora::ui {

struct ControlDescriptor {
    std::int32_t catalogue_number; // equal to the value of `kind`
    ControlKind kind;
    const char* name;  // the enumerator's and the class's name
    const char* group; // the gallery section that shows it
    std::shared_ptr<Widget> (*factory)();
};

// The 68 rows in kind order: the row of kind k stands at index k - 1.
VELMORA_API const std::vector<ControlDescriptor>& control_registry();
// Throws std::invalid_argument "Unknown control kind" outside 1..68.
VELMORA_API const ControlDescriptor& describe(ControlKind kind);
// The row's factory; fails as describe does.
VELMORA_API std::shared_ptr<Widget> make_control(ControlKind kind);

} // namespace velmora::ui
