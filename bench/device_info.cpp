// Prints the GL renderer that a hidden window draws with, so benchmark reports can name the
// device their GL timings come from. Not a benchmark itself.
#include "velmora/platform/window.hpp"
#include "velmora/renderer/renderer.hpp"

#include <exception>
#include <iostream>

int main() try {
    velmora::ui::Window window({"velmora-device", 64, 64, false});
    velmora::ui::Renderer renderer;
    std::cout << renderer.device() << '\n';
    return 0;
} catch (const std::exception& e) {
    std::cerr << e.what() << '\n';
    return 1;
}
