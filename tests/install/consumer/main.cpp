#include <velmora/velmora.hpp>

int main() {
    velmora::ui::Canvas canvas;
    canvas.begin(320, 200, velmora::ui::Theme::liquid());
    canvas.fill({10, 10, 100, 40}, 0xFF336699, 9);
    return canvas.commands().size() == 1 && VELMORA_VERSION_MAJOR == 0 ? 0 : 1;
}
