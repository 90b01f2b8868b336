#include "velmora/platform/window_state.hpp"

#include <exception>
#include <stdexcept>

namespace velmora::ui {

void WindowState::check() const {
    if (std::this_thread::get_id() != thread) throw std::logic_error("Window used from another thread");
}

void WindowState::check_size(const WindowOptions& options) {
    if (options.width < 64 || options.width > 16384 || options.height < 64 || options.height > 16384)
        throw std::invalid_argument("Window size");
}

void WindowState::check_destroy() const {
    if (std::this_thread::get_id() != thread) std::terminate();
}

} // namespace velmora::ui
