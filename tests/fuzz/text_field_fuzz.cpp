// Random edit sequences and random bytes against a TextField, or a NumberField with its veto.
//
// After every step the editor's invariants must hold: the value is valid UTF-8, caret and
// anchor lie on code-point boundaries within the text, the value fits max_length (an initial
// text excepted), and a single-line value holds no filtered control byte unless `value` put
// it there. At the end, undoing everything must give back the value the history started
// from, and redoing everything the newest value.
#include "velmora/core/utf8.hpp"
#include "velmora/widgets/fields.hpp"
#include "velmora/widgets/text_field.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>

namespace ui = velmora::ui;

namespace {

class Reader {
public:
    Reader(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    bool empty() const { return at_ == size_; }
    std::uint8_t byte() { return empty() ? 0 : data_[at_++]; }
    std::string bytes(std::size_t n) {
        n = std::min(n, size_ - at_);
        std::string out(reinterpret_cast<const char*>(data_ + at_), n);
        at_ += n;
        return out;
    }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t at_ = 0;
};

void require(bool ok) {
    if (!ok) __builtin_trap();
}

bool has_filtered_byte(const std::string& text) {
    return std::any_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 32; });
}

constexpr int keys[] = {8, 13, 33, 34, 35, 36, 37, 38, 39, 40, 46, 65, 67, 88, 89, 90, 75, 0};

void check(const ui::TextField& field, const std::string& initial, bool unfiltered) {
    const auto& text = field.value();
    require(ui::valid_utf8(text));
    require(field.caret <= text.size() && field.anchor <= text.size());
    require(field.boundary(field.caret) == field.caret && field.boundary(field.anchor) == field.anchor);
    require(text.size() <= field.max_length || text == initial);
    require(field.multi_line || unfiltered || !has_filtered_byte(text));
    require(field.undo_stack.size() <= ui::TextField::history_limit);
    require(field.accepts(text)); // the veto binds history and programmatic values alike
    const auto& composition = field.composition();
    require(ui::valid_utf8(composition.text) && composition.cursor <= composition.text.size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Reader in(data, size);
    const std::uint8_t flags = in.byte();
    std::string initial = in.bytes(in.byte() % 24);
    if (!ui::valid_utf8(initial)) initial.clear();
    // A NumberField adds a veto on every candidate value.
    std::shared_ptr<ui::TextField> made;
    if (flags & 4) {
        made = std::make_shared<ui::NumberField>();
        initial = made->value();
    } else {
        made = std::make_shared<ui::TextField>(initial);
    }
    ui::TextField& field = *made;
    field.multi_line = flags & 1;
    field.masked = flags & 2;
    field.max_length = in.byte() % 48;
    field.bounds = {0, 0, 20.0f + in.byte(), 10.0f + in.byte() / 2.0f};
    field.screen_bounds = field.bounds;

    bool unfiltered = has_filtered_byte(initial);
    std::string base = field.value(); // what undoing everything must come back to
    // Fewer steps than the history holds, so no state falls off the bottom of the undo stack.
    for (int step = 0; step < 90 && !in.empty(); ++step) {
        switch (in.byte() % 10) {
        case 0:
            field.replace_selection(in.bytes(in.byte() % 12));
            break;
        case 1:
            field.select(in.byte(), in.byte());
            break;
        case 2:
            field.move(in.byte(), in.byte() & 1);
            break;
        case 3:
            field.undo();
            break;
        case 4:
            field.redo();
            break;
        case 5: {
            ui::Event e;
            e.type = ui::key_down;
            e.key = keys[in.byte() % std::size(keys)];
            const std::uint8_t mods = in.byte();
            e.input.ctrl = mods & 1;
            e.input.shift = mods & 2;
            e.input.undo = mods & 4;
            e.input.redo = mods & 8;
            e.input.cut = mods & 16;
            e.input.select_all = mods & 32;
            field.event(e);
            break;
        }
        case 6: {
            ui::Event e;
            e.type = in.byte() % 3; // pointer down, move or up
            e.clicks = 1 + in.byte() % 2;
            e.position = {in.byte() - 20.0f, in.byte() - 20.0f};
            e.input.shift = in.byte() & 1;
            field.event(e);
            break;
        }
        case 7: {
            const auto before = field.value();
            try {
                field.value(in.bytes(in.byte() % 12));
                if (field.value() != before) {
                    base = field.value();
                    unfiltered = unfiltered || has_filtered_byte(base);
                }
            } catch (const std::invalid_argument&) {
                require(field.value() == before);
            }
            break;
        }
        case 8:
            field.compose(in.bytes(in.byte() % 8), in.byte());
            break;
        default: {
            ui::Event e;
            e.type = ui::text_entered;
            e.text = in.bytes(in.byte() % 12);
            field.event(e);
            break;
        }
        }
        check(field, initial, unfiltered);
    }

    // The newest state is the value now, or, after trailing undos, the bottom of the redo stack.
    const std::string newest = field.redo_stack.empty() ? field.value() : field.redo_stack.front().text;
    while (!field.undo_stack.empty()) field.undo();
    require(field.value() == base);
    while (!field.redo_stack.empty()) field.redo();
    require(field.value() == newest);
    check(field, initial, unfiltered);
    return 0;
}
