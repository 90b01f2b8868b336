// The smallest whole program: a window with a button and a label, until the window is closed.
#include "velmora/velmora.hpp"

int main() {
    using namespace velmora::ui;
    App app({.title = "Hello", .width = 480, .height = 200});
    Scene scene;
    auto label = scene.root()->emplace<Label>("Nobody has said hello yet.");
    label->bounds = {40, 40, 400, 30};
    auto button = scene.root()->emplace<Button>("Say hello");
    button->bounds = {40, 100, 160, 40};
    button->on_activate = [label](Widget&) { label->text = "Hello, world!"; };
    app.run(scene);
}
