// The smallest whole program: a window with a button and a label, until the window is closed.
#include "velmora/velmora.hpp"

#include <exception>
#include <iostream>

int main() try {
    using namespace velmora::ui;
    App app({.title = "Hello", .width = 480, .height = 200});
    Scene scene;
    auto label = scene.root()->emplace<Label>("Nobody has said hello yet.");
    label->bounds = {40, 40, 400, 30};
    auto button = scene.root()->emplace<Button>("Say hello");
    button->bounds = {40, 100, 160, 40};
    button->on_activate = [label](Widget&) { label->text = "Hello, world!"; };
    app.run(scene);
    return 0;
} catch (const std::exception& e) {
    std::cerr << e.what() << '\n'; // "No display (...)" where no window can be opened
    return 1;
}
