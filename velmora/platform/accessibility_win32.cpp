// AccessibilityBridge on Windows: none yet. Programs run as before; assistive technology
// finds no tree behind the window.
#include "velmora/platform/accessibility.hpp"

namespace velmora::ui {

std::unique_ptr<AccessibilityBridge> AccessibilityBridge::create(AccessibleHost&, std::string,
                                                                 std::function<void()>) {
    return nullptr;
}

} // namespace velmora::ui
