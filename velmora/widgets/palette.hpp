// CommandPalette: a modal list of named commands, narrowed as the user types.
//
//     auto palette = std::make_shared<CommandPalette>();
//     palette->command("Open file", [] { ... });
//     scene.command_palette(palette); // Ctrl+K opens it
//
// The filter is a plain case-insensitive substring test (ASCII folding only, other bytes
// compare as they are); survivors keep their registration order. Enter runs the selected
// command after the palette has closed. The query, the matches and the selection survive a
// close, so reopening shows the last search.
#pragma once

#include "velmora/core/export.hpp"
#include "velmora/scene/widget.hpp"
#include "velmora/widgets/control_kind.hpp"
#include "velmora/widgets/dialogs.hpp"
#include "velmora/widgets/fields.hpp"
#include "velmora/widgets/lists.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmora::ui {

class Scene;

// The palette's search field. It hands Enter, Up and Down to on_key and never acts on them
// itself, so the caret stays put while the list moves; it reports itself as a SearchField.
class VELMORA_API PaletteQuery : public SearchField {
public:
    std::function<void(int)> on_key; // the key code

    void event(Event& e) override;
};

class VELMORA_API CommandPalette : public Modal {
public:
    struct Command {
        std::string title;
        std::function<void()> action;
    };

    CommandPalette();

    std::vector<Command> commands;     // registration order
    std::vector<std::int32_t> matches; // indices into commands, in list order
    std::shared_ptr<PaletteQuery> query;
    std::shared_ptr<ListBox> list;

    // Registers a command and filters again, which selects the first match.
    void command(std::string title, std::function<void()> action);
    // Sets the query's text; throws as TextField::value does.
    void search(std::string needle);
    void filter();
    // Runs match `index`, or the selected one when it is negative, after closing the palette.
    // An index out of range does nothing.
    void execute(int index);

    ControlKind kind() const override { return ControlKind::CommandPalette; }
    const char* class_name() const override { return "CommandPalette"; }
    void layout(Scene& owner) override;
    void tick(Scene& owner) override;
};

} // namespace velmora::ui
