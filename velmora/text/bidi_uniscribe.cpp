// Bidi levels and visual order from Uniscribe: ScriptItemize with bidi analysis on, then
// ScriptLayout over the items' levels.
#include "velmora/text/bidi.hpp"

#include "velmora/core/utf8.hpp"

#include <usp10.h>
#include <windows.h>

#include <string>

namespace velmora::ui {

namespace {

struct Paragraph {
    std::u16string units;
    std::vector<std::size_t> byte;
    std::vector<WORD> types;
    std::vector<SCRIPT_ITEM> items;
    std::vector<BYTE> levels;
    std::vector<int> order;
};

thread_local Paragraph paragraph;

} // namespace

namespace {

// The direction of the first strong character of the paragraph's UTF-16 units.
bool first_strong_rtl(Paragraph& p) {
    if (p.units.empty()) return false;
    p.types.assign(p.units.size(), 0);
    if (!GetStringTypeW(CT_CTYPE2, reinterpret_cast<const WCHAR*>(p.units.data()),
                        static_cast<int>(p.units.size()), p.types.data()))
        return false;
    for (const WORD type : p.types) {
        if (type == C2_LEFTTORIGHT) return false;
        if (type == C2_RIGHTTOLEFT) return true;
    }
    return false;
}

} // namespace

bool right_to_left(std::string_view text) {
    return wide(text, paragraph.units, paragraph.byte) && first_strong_rtl(paragraph);
}

void visual_runs(std::string_view text, std::vector<DirectionRun>& runs) {
    runs.clear();
    if (text.empty()) return;
    Paragraph& p = paragraph;
    if (!wide(text, p.units, p.byte)) {
        runs.push_back({0, text.size(), false});
        return;
    }
    const int length = static_cast<int>(p.units.size());
    SCRIPT_CONTROL control{};
    SCRIPT_STATE state{};
    state.uBidiLevel = first_strong_rtl(p) ? 1 : 0;
    p.items.resize(static_cast<std::size_t>(length) + 1);
    int count = 0;
    if (FAILED(ScriptItemize(reinterpret_cast<const WCHAR*>(p.units.data()), length, length, &control, &state,
                             p.items.data(), &count))) {
        runs.push_back({0, text.size(), false});
        return;
    }
    p.levels.resize(static_cast<std::size_t>(count));
    p.order.resize(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        p.levels[static_cast<std::size_t>(i)] =
            static_cast<BYTE>(p.items[static_cast<std::size_t>(i)].a.s.uBidiLevel);
    ScriptLayout(count, p.levels.data(), p.order.data(), nullptr);
    for (int v = 0; v < count; ++v) {
        const auto i = static_cast<std::size_t>(p.order[static_cast<std::size_t>(v)]);
        const std::size_t start = p.byte[static_cast<std::size_t>(p.items[i].iCharPos)];
        const std::size_t end = p.byte[static_cast<std::size_t>(p.items[i + 1].iCharPos)];
        const bool odd = (p.levels[i] & 1) != 0;
        // Neighbouring items of one direction (Uniscribe splits by script too) make one run.
        if (!runs.empty() && runs.back().rtl == odd &&
            (odd ? runs.back().start == end : runs.back().end == start)) {
            if (odd)
                runs.back().start = start;
            else
                runs.back().end = end;
        } else {
            runs.push_back({start, end, odd});
        }
    }
}

} // namespace velmora::ui
