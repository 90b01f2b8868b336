// Canvas: records one frame of drawing as a flat array of fixed-size Command records.
//
// Usage:
//     canvas.begin(1280, 800, theme);          // or Renderer::begin, which also binds text
//     canvas.glass({20, 20, 300, 200}, theme, 18);
//     canvas.push_clip({20, 20, 300, 200}, 18);
//     canvas.text("你好", {40, 40}, 14, theme.text, 400);
//     canvas.pop_clip();
//     renderer.render(canvas, ...);             // hands commands() to vg_submit
//
// A Canvas draws nothing. It checks every argument, converts colours and corner settings
// into the floats the GPU wants, and keeps its storage from frame to frame, so after the
// first frames recording allocates nothing.
//
// Command layout (64 floats, 256 bytes; the wire format read by vg_submit):
//   0 kind | 1-4 x, y, w, h | 5 radius | 6-9 colour r, g, b, a (0..1) | 10 thickness
//   11 ring progress or plane hue | 12 ring start | 13-16 atlas rect (0..1)
//   17 atlas texture name (unsigned bits) | 18-21 scissor clip | 22 blur | 23 refraction
//   24 shine | 25 tint | 26 dispersion | 27 antialiasing | 28-31 corner radii (TL TR BR BL)
//   32-35 corner handles | 36-39 highlight | 40-43 shadow | 44 cubic flag | 45 text contrast
//   46 colour glyph (texels drawn in their own colour) | 47-63 reserved, zero
#pragma once

#include "velmora/core/export.hpp"
#include "velmora/core/geometry.hpp"
#include "velmora/core/theme.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace velmora::ui {

enum CommandKind : int {
    kind_glass = 0,
    kind_shape = 1,
    kind_glyph = 2,
    kind_ring = 3,
    kind_line = 4,
    kind_color_plane = 5,
    kind_backdrop = 9,
    kind_push_clip = 10,
    kind_pop_clip = 11,
};

struct VELMORA_API Command {
    float slot[64] = {};

    // Slot 17 carries a texture name as raw bits, not as a float value.
    void texture(unsigned name);
    unsigned texture() const;
};
static_assert(sizeof(Command) == 256, "Command is the 256-byte wire format of vg_submit");

class Canvas;

// Where the glyphs of a grapheme cluster sit along a line: the caret before the cluster stands
// at `leading`, its glyphs reach to `trailing`; in right-to-left text leading is the larger.
struct TextEdges {
    float leading = 0;
    float trailing = 0;
};

// What a canvas needs to draw and measure text. The Renderer that begins a frame binds
// itself here; without one, text records nothing and measures by a fixed estimate.
class VELMORA_API TextEngine {
public:
    virtual ~TextEngine() = default;
    virtual void draw_text(Canvas& canvas, const std::string& text, Vec2 position, float size, unsigned color,
                           int weight) = 0;
    virtual float measure(const std::string& text, float size, int weight) const = 0;
    // The edges of bytes [from, to) of one line of text, from its left edge. By default the width
    // of the text before them and theirs: right for text that reads left to right alone.
    virtual TextEdges edges(const std::string& line, std::size_t from, std::size_t to, float size,
                            int weight) const;
};

class VELMORA_API Canvas {
public:
    static constexpr std::size_t command_limit = 65536;
    static constexpr std::size_t clip_limit = 32;

    void begin(float width, float height, const Theme& theme);

    // Replaces the scissor clip wholesale (no intersection), cut to the canvas.
    void clip(Rect r);
    Rect clip() const { return clip_; }

    Command& add(int kind, Rect r, unsigned color);
    void rounding(Command& c, float radius, const Theme& theme);

    void push_clip(Rect r, float radius);
    void pop_clip();
    void backdrop();

    void fill(Rect r, unsigned color, float radius);
    void stroke(Rect r, unsigned color, float thickness, float radius);
    void glass(Rect r, const Theme& theme, float radius);
    void line(Vec2 from, Vec2 to, unsigned color, float thickness);
    void ring(Rect r, unsigned color, float thickness, float progress, float start);
    void color_plane(Rect r, float hue);
    void text(const std::string& text, Vec2 position, float size, unsigned color, int weight);
    float text_width(const std::string& text, float size, int weight) const;
    TextEdges text_edges(const std::string& line, std::size_t from, std::size_t to, float size,
                         int weight) const;

    const std::vector<Command>& commands() const { return commands_; }
    std::size_t clip_depth() const { return clip_stack_.size(); }
    const Theme& theme() const { return theme_; }
    float width() const { return width_; }
    float height() const { return height_; }

    // The text engine of this frame; set by Renderer::begin, stays set afterwards.
    TextEngine* renderer() const { return renderer_; }
    void renderer(TextEngine* engine) { renderer_ = engine; }

private:
    std::vector<Command> commands_;
    std::vector<Rect> clip_stack_;
    Rect clip_;
    Theme theme_;
    float width_ = 0;
    float height_ = 0;
    TextEngine* renderer_ = nullptr;
};

} // namespace velmora::ui
