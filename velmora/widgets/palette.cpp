// CommandPalette: wiring of the query and the list, the filter, and running a command.
#include "velmora/widgets/palette.hpp"

#include "velmora/scene/scene.hpp"

#include <algorithm>
#include <cctype>

namespace velmora::ui {

namespace {

// ASCII-only case folding: bytes of multi-byte characters compare as they are.
std::string folded(std::string s) {
    for (char& c : s) {
        const auto b = static_cast<unsigned char>(c);
        if (b < 128) c = static_cast<char>(std::tolower(b));
    }
    return s;
}

} // namespace

void PaletteQuery::event(Event& e) {
    if (e.type == key_down && (e.key == vk::enter || e.key == vk::up || e.key == vk::down)) {
        e.handled = true;
        if (!on_key) return;
        auto callback = on_key; // running a command may destroy the palette and this field
        callback(e.key);
        return;
    }
    SearchField::event(e);
}

CommandPalette::CommandPalette() : Modal("命令面板 · Ctrl+K") {
    bounds = {0, 0, 520, 380};
    query = emplace<PaletteQuery>();
    list = emplace<ListBox>();
    list->frame = false;
    list->accessible_name = "命令";
    // The callbacks find the palette through the parent link, so a child taken out of the
    // palette drives nothing.
    query->on_change = [](Widget& w) {
        if (auto* palette = dynamic_cast<CommandPalette*>(w.parent)) palette->filter();
    };
    query->on_key = [field = query.get()](int code) {
        auto* palette = dynamic_cast<CommandPalette*>(field->parent);
        if (!palette) return;
        if (code == vk::enter) {
            palette->execute(-1);
            return;
        }
        const auto& items = palette->list;
        items->select(items->selected() + (code == vk::up ? -1 : 1));
    };
    list->on_item_activate = [rows = list.get()](int index) {
        if (auto* palette = dynamic_cast<CommandPalette*>(rows->parent)) palette->execute(index);
    };
}

void CommandPalette::command(std::string title, std::function<void()> action) {
    commands.push_back({std::move(title), std::move(action)});
    filter();
}

void CommandPalette::search(std::string needle) {
    query->value(std::move(needle));
    filter();
}

void CommandPalette::filter() {
    matches.clear();
    list->items.clear();
    const std::string needle = folded(query->value());
    for (std::size_t i = 0; i < commands.size(); ++i) {
        const std::string& title = commands[i].title;
        if (!needle.empty() && folded(title).find(needle) == std::string::npos) continue;
        matches.push_back(static_cast<std::int32_t>(i));
        list->items.push_back(title);
    }
    list->select(0);
}

void CommandPalette::execute(int index) {
    if (index < 0) index = list->selected();
    if (index < 0 || index >= static_cast<int>(matches.size())) return;
    auto action = commands[static_cast<std::size_t>(matches[static_cast<std::size_t>(index)])].action;
    if (scene) scene->close(this);
    if (action) action(); // last: it may destroy the palette
}

void CommandPalette::layout(Scene&) {
    const float w = bounds.w;
    const float h = bounds.h;
    query->bounds = {16, 56, std::max(w - 32, 0.0f), 38};
    list->bounds = {16, 104, std::max(w - 32, 0.0f), std::max(h - 120, 0.0f)};
}

void CommandPalette::tick(Scene& owner) {
    // Opening focuses the palette itself; typing belongs in the search field.
    if (owner.focus().get() == this) owner.focus(query);
}

} // namespace velmora::ui
