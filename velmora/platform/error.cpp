#include "velmora/platform/error.hpp"

#include <stdexcept>
#include <string>

namespace velmora::ui {

void system_error(std::string_view step, std::string_view reason) {
    std::string message(step);
    message += " (";
    message += reason;
    message += ')';
    throw std::runtime_error(message);
}

void errno_error(std::string_view step, int code) { system_error(step, "errno=" + std::to_string(code)); }

} // namespace velmora::ui
