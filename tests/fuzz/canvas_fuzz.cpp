// A Canvas driven by random operations with random arguments.
//
// Every call either returns or throws the exception type its contract names for the failure
// (bad values invalid_argument, exhausted limits length_error, a pop without a push
// logic_error). After every call the record stays well-formed: every kind is one the backend
// knows, push and pop records balance to the clip depth, the scissor clip of every command
// lies inside the canvas, and no command holds a NaN outside the raw texture slot.
#include "fuzz_input.hpp"
#include "velmora/core/canvas.hpp"
#include "velmora/core/theme.hpp"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace ui = velmora::ui;
using velmora::fuzz::require;

namespace {

enum class Failure { none, value, limit, misuse };

bool known_kind(float kind) {
    switch (static_cast<int>(kind)) {
    case ui::kind_glass:
    case ui::kind_shape:
    case ui::kind_glyph:
    case ui::kind_ring:
    case ui::kind_line:
    case ui::kind_color_plane:
    case ui::kind_backdrop:
    case ui::kind_push_clip:
    case ui::kind_pop_clip:
        return static_cast<float>(static_cast<int>(kind)) == kind;
    default:
        return false;
    }
}

// Checks the records added since the last call; earlier ones never change until `begin`.
class Checker {
public:
    void operator()(const ui::Canvas& canvas) {
        const auto& commands = canvas.commands();
        require(commands.size() <= ui::Canvas::command_limit && commands.size() >= seen_);
        require(canvas.clip_depth() <= ui::Canvas::clip_limit);
        for (; seen_ < commands.size(); ++seen_) {
            const auto& c = commands[seen_];
            require(known_kind(c.slot[0]));
            if (c.slot[0] == float{ui::kind_push_clip}) ++depth_;
            if (c.slot[0] == float{ui::kind_pop_clip}) {
                require(depth_ > 0);
                --depth_;
            }
            for (int i = 0; i < 64; ++i)
                if (i != 17) require(!std::isnan(c.slot[i]));
            for (int i = 46; i < 64; ++i) require(c.slot[i] == 0);
            // The scissor clip is always cut to the canvas; an empty one may sit anywhere.
            const float x = c.slot[18], y = c.slot[19], w = c.slot[20], h = c.slot[21];
            require(std::isfinite(x) && std::isfinite(y) && x >= 0 && y >= 0 && w >= 0 && h >= 0);
            if (w > 0 && h > 0)
                require(x + w <= canvas.width() * (1 + 1e-6f) && y + h <= canvas.height() * (1 + 1e-6f));
        }
        require(depth_ == canvas.clip_depth());
        const ui::Rect clip = canvas.clip();
        require(clip.w >= 0 && clip.h >= 0 && std::isfinite(clip.x) && std::isfinite(clip.y));
    }

private:
    std::size_t seen_ = 0;
    std::size_t depth_ = 0;
};

// Arguments are read into locals first: the order in which a call's arguments are evaluated
// differs between compilers, and a corpus file must mean the same calls under each of them.
ui::Rect rect(velmora::fuzz::Input& in) {
    const float x = in.number(), y = in.number(), w = in.number(), h = in.number();
    return {x, y, w, h};
}

ui::Vec2 point(velmora::fuzz::Input& in) {
    const float x = in.number(), y = in.number();
    return {x, y};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    velmora::fuzz::Input in(data, size);
    ui::Canvas canvas;
    const std::uint8_t preset = in.byte();
    ui::Theme theme = preset % 3 == 0   ? ui::Theme{}
                      : preset % 3 == 1 ? ui::Theme::liquid()
                                        : ui::Theme::normal();
    theme.cubic_corners = preset & 8;
    const float width = in.number(), height = in.number();
    try {
        canvas.begin(width, height, theme);
    } catch (const std::invalid_argument&) {
        canvas.begin(1280, 800, theme);
    }
    Checker check;
    check(canvas);

    for (int step = 0; step < 400 && !in.empty(); ++step) {
        const std::size_t before = canvas.commands().size();
        Failure failure = Failure::none;
        try {
            switch (in.byte() % 14) {
            case 0: {
                const ui::Rect r = rect(in);
                const unsigned color = in.u32();
                const float radius = in.number();
                canvas.fill(r, color, radius);
                break;
            }
            case 1: {
                const ui::Rect r = rect(in);
                const unsigned color = in.u32();
                const float thickness = in.number(), radius = in.number();
                canvas.stroke(r, color, thickness, radius);
                break;
            }
            case 2: {
                ui::Theme glass = theme;
                if (in.byte() & 1) glass.blur = in.number();
                const ui::Rect r = rect(in);
                const float radius = in.number();
                canvas.glass(r, glass, radius);
                break;
            }
            case 3: {
                const ui::Vec2 from = point(in), to = point(in);
                const unsigned color = in.u32();
                const float thickness = in.number();
                canvas.line(from, to, color, thickness);
                break;
            }
            case 4: {
                const ui::Rect r = rect(in);
                const unsigned color = in.u32();
                const float thickness = in.number(), progress = in.number(), start = in.number();
                canvas.ring(r, color, thickness, progress, start);
                break;
            }
            case 5: {
                const ui::Rect r = rect(in);
                const float hue = in.number();
                canvas.color_plane(r, hue);
                break;
            }
            case 6:
            case 7: {
                const ui::Rect r = rect(in);
                const float radius = in.number();
                canvas.push_clip(r, radius);
                break;
            }
            case 8:
            case 9:
                canvas.pop_clip();
                break;
            case 10:
                canvas.backdrop();
                break;
            case 11:
                canvas.clip(rect(in));
                break;
            case 12: {
                // Text records nothing without a renderer, but its size is still checked.
                const float size_pt = in.number();
                const std::string text = in.bytes(in.byte() % 16);
                const ui::Vec2 at = point(in);
                const unsigned color = in.u32();
                const int weight = in.byte();
                canvas.text(text, at, size_pt, color, weight);
                const float measured = canvas.text_width(text, size_pt, 400);
                require(std::isfinite(measured) && measured >= 0);
                break;
            }
            default: {
                // Runs up to the command limit quickly, to reach the length checks.
                const int count = 1 + in.u16();
                for (int i = 0; i < count && canvas.commands().size() < ui::Canvas::command_limit; ++i)
                    canvas.fill({1, 1, 10, 10}, 0xFF000000u, 2);
                break;
            }
            }
        } catch (const std::invalid_argument&) {
            failure = Failure::value;
        } catch (const std::length_error&) {
            failure = Failure::limit;
        } catch (const std::logic_error&) {
            failure = Failure::misuse;
        }
        // A refused call adds at most the one record it was building.
        if (failure != Failure::none) require(canvas.commands().size() <= before + 1);
        if (failure == Failure::limit)
            require(canvas.commands().size() == ui::Canvas::command_limit ||
                    canvas.clip_depth() == ui::Canvas::clip_limit);
        if (failure == Failure::misuse)
            require(canvas.clip_depth() == 0 && canvas.commands().size() == before);
        check(canvas);
    }
    return 0;
}
