// System failures as exceptions: the step that failed, then the system's reason in
// parentheses, e.g. "Create GL context (SDL: Could not create EGL context)" or
// "PNG output (errno=2)". Every subsystem that calls the operating system or a system
// library reports its failures through these, so all such messages share one form.
#pragma once

#include "velmora/core/export.hpp"

#include <cerrno>
#include <string_view>

namespace velmora::ui {

// Throws std::runtime_error "<step> (<reason>)".
[[noreturn]] VELMORA_API void system_error(std::string_view step, std::string_view reason);

// Throws std::runtime_error "<step> (errno=<code>)"; by default the calling thread's errno.
[[noreturn]] VELMORA_API void errno_error(std::string_view step, int code = errno);

// Throws std::runtime_error with the step and the platform layer's last error: on SDL
// "<step> (SDL: <SDL_GetError>)".
[[noreturn]] VELMORA_API void platform_error(std::string_view step);

} // namespace velmora::ui
