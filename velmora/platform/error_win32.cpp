// The Windows form of a system failure: the step, then the thread's last Win32 error code.
#include "velmora/platform/error.hpp"

#include <windows.h>

#include <string>

namespace velmora::ui {

void platform_error(std::string_view step) {
    const DWORD code = GetLastError();
    system_error(step, "Win32=" + std::to_string(code));
}

} // namespace velmora::ui
