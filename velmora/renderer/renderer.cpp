// Renderer: lifetime and checks, the frame calls over vg_, and text through the glyph atlases.
//
//   state        Impl, glyph keys, the one-renderer rule
//   lifetime     constructor, destructor, check, gpu_error
//   frame        begin, background, render, read_pixels, device
//   glyphs       Impl::use_font, Impl::font, Impl::glyph (rasterise, pack, upload), Impl::decode
//   shaped text  Impl::line (bidi, shaping, the cache of shaped lines), Impl::shaped_glyph
//   text         draw_text, measure, edges
#include "velmora/renderer/renderer.hpp"

#include "velmora/core/utf8.hpp"
#include "velmora/gpu/vg.hpp"
#include "velmora/platform/gl_context.hpp"
#include "velmora/renderer/atlas.hpp"
#include "velmora/renderer/rasterizer.hpp"
#include "velmora/text/bidi.hpp"
#include "velmora/text/graphemes.hpp"
#include "velmora/text/shaping.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <exception>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace velmora::ui {

// ---- state -------------------------------------------------------------------------------

namespace {

std::mutex renderer_mutex;
bool renderer_live = false; // guarded by renderer_mutex

// A font request: the family's index in Impl::names, the raster size and the weight.
struct FontKey {
    std::uint32_t name = 0;
    int raster = 0;
    int weight = 0;
    bool operator==(const FontKey&) const = default;
};

struct FontKeyHash {
    std::size_t operator()(const FontKey& k) const {
        // Collisions only cost time: ids and weights are small, rasters below 65536.
        const auto raster = static_cast<std::uint32_t>(k.raster),
                   weight = static_cast<std::uint32_t>(k.weight);
        return std::hash<std::uint64_t>{}(std::uint64_t{k.name} << 48 ^ std::uint64_t{raster} << 32 ^ weight);
    }
};

// A shaped glyph of one font request: the request, the rasteriser's face and the glyph in it.
struct ShapedKey {
    std::uint32_t font = 0;
    std::uint32_t face = 0;
    std::uint32_t index = 0;
    bool operator==(const ShapedKey&) const = default;
};

struct ShapedKeyHash {
    std::size_t operator()(const ShapedKey& k) const {
        return std::hash<std::uint64_t>{}(std::uint64_t{k.font} << 48 ^ std::uint64_t{k.face} << 32 ^
                                          k.index);
    }
};

// Lets the cache of shaped lines be searched with a string_view, allocating nothing.
struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
};

void check_text_size(float size) {
    if (!std::isfinite(size) || size <= 0) throw std::invalid_argument("text size");
}

} // namespace

struct Renderer::Impl {
    struct Glyph {
        unsigned texture = 0;
        int x = 0;
        int y = 0;
        int width = 0; // the whole cell, border included
        int height = 0;
        float advance = 0; // raster pixels
        // Shaped glyphs only: the cell's top left from the pen and the line's top, raster pixels.
        int left = 0;
        int top = 0;
        bool colour = false;
        bool blank = false; // no ink: a space, a joiner
    };

    // A line of shaped text: its glyphs left to right, raster pixels from its start.
    struct Line {
        std::vector<ShapedGlyph> glyphs;
        float advance = 0;
    };
    static constexpr std::size_t line_limit = 4096; // shaped lines kept; the cache starts over past it

    // A font request made once; its face is made when its first glyph is.
    struct Font {
        FontKey key;
        RasterFontPtr face;
    };

    void* context = nullptr;
    float scale = 1;
    // Family names by id, each once, and the id of the theme's font this frame: a look-up per
    // code point must not compare names.
    std::vector<std::string> names{"Segoe UI"};
    std::uint32_t name = 0;
    std::unique_ptr<Rasterizer> rasterizer; // declared before the fonts, which must die first
    std::vector<Font> fonts;                // by font id
    std::unordered_map<FontKey, std::uint32_t, FontKeyHash> font_ids;
    std::unordered_map<std::uint64_t, Glyph> glyphs; // font id in the high half, code point in the low
    std::vector<unsigned> atlases;
    atlas::Shelf shelf;
    std::u32string code_points;         // scratch, reused from text to text
    bool shaping = false;               // some code point of the last decoded text needs shaping
    std::vector<std::uint8_t> coverage; // scratch, reused from glyph to glyph
    std::vector<std::uint8_t> texels;
    std::unordered_map<ShapedKey, Glyph, ShapedKeyHash> shaped_glyphs;
    std::unordered_map<std::string, Line, TextHash, std::equal_to<>> lines; // by font id bytes + text
    std::string line_key;                                                   // scratch
    std::vector<DirectionRun> runs;                                         // scratch

    // Partial redraw: the background asked for this frame, and what the kept frame shows.
    struct Background {
        int width = 0, height = 0;
        float time = 0;
        int grid = 0, palette = 0;
        unsigned color = 0, accent = 0;
        bool operator==(const Background&) const = default;
    };
    struct Shown {
        std::vector<Command> commands;
        Background background;
        int width = 0, height = 0;
        float logical_width = 0, logical_height = 0, sigma = 0;
        Vec2 pointer;
        bool any = false;
    };
    bool partial = false;
    Background background;
    bool background_due = false;
    Shown shown;

    void use_font(const std::string& family);
    std::uint32_t font(int raster, int weight);
    const Glyph& glyph(std::uint32_t font, char32_t code_point);
    const Glyph& add_glyph(std::uint32_t font, char32_t code_point);
    RasterFont& face(std::uint32_t font);
    Glyph place(int w, int h);
    void add_atlas();
    const Line& line(std::uint32_t font, std::string_view text);
    const Glyph& shaped_glyph(std::uint32_t font, const ShapedGlyph& glyph);

    // Calls f(line, its code points) for each line of the text decode() was last given.
    template <class F> void each_line(std::string_view text, F f) const {
        std::size_t point = 0;
        for (std::size_t start = 0; start <= text.size();) {
            const std::size_t end = std::min(text.find('\n', start), text.size());
            const std::string_view line = text.substr(start, end - start);
            const auto count = static_cast<std::size_t>(std::count_if(line.begin(), line.end(), [](char b) {
                return (static_cast<unsigned char>(b) & 0xC0u) != 0x80u;
            }));
            f(line, std::u32string_view(code_points).substr(point, count));
            point += count + 1;
            start = end + 1;
        }
    }
    const std::u32string& decode(const std::string& text);
    bool redraw(const Canvas& canvas, int width, int height, Vec2 pointer);
};

// ---- lifetime ----------------------------------------------------------------------------

Renderer::Renderer() : impl_(std::make_unique<Impl>()), thread_(std::this_thread::get_id()) {
    std::lock_guard lock(renderer_mutex);
    if (renderer_live) throw std::logic_error("One renderer per process");
    impl_->context = current_gl_context();
    if (!impl_->context)
        throw std::logic_error("Make an OpenGL context current before Renderer construction");
    vg_clear_error();
    if (!vg_open(velmora_shaders)) throw std::runtime_error(vg_error());
    try {
        impl_->rasterizer = std::make_unique<Rasterizer>();
        gpu_error();
    } catch (...) {
        vg_close();
        throw;
    }
    renderer_live = true;
}

Renderer::~Renderer() {
    // GL objects can only be released in their own context and thread; going on without
    // them would leak them silently into whatever is current, so this is fatal instead.
    if (std::this_thread::get_id() != thread_ || current_gl_context() != impl_->context) std::terminate();
    for (unsigned texture : impl_->atlases) vg_delete_texture(texture);
    vg_close();
    {
        std::lock_guard lock(renderer_mutex);
        renderer_live = false;
    }
    impl_.reset();
}

void Renderer::check() const {
    if (std::this_thread::get_id() != thread_) throw std::logic_error("Renderer thread violation");
    if (current_gl_context() != impl_->context)
        throw std::logic_error("Renderer context is no longer current");
}

void gpu_error() {
    if (const char* text = vg_error(); *text) throw std::runtime_error(text);
    if (unsigned code = vg_gl_error()) throw std::runtime_error("OpenGL error " + std::to_string(code));
}

std::size_t Renderer::glyph_count() const { return impl_->glyphs.size() + impl_->shaped_glyphs.size(); }
std::size_t Renderer::atlas_count() const { return impl_->atlases.size(); }

// ---- frame -------------------------------------------------------------------------------

void Renderer::begin(Canvas& canvas, int pixel_width, int pixel_height, float logical_width,
                     float logical_height, const Theme& theme) {
    check();
    if (pixel_width < 1 || pixel_width > 16384 || pixel_height < 1 || pixel_height > 16384)
        throw std::invalid_argument("Pixel viewport");
    canvas.begin(logical_width, logical_height, theme);
    canvas.renderer(this);
    // Text is sized by the vertical scale alone; a stretched frame keeps its glyphs upright.
    impl_->scale = static_cast<float>(pixel_height) / logical_height;
    impl_->use_font(theme.font);
}

void Renderer::background(int width, int height, float time, const Theme& theme, bool grid) {
    check();
    theme.validate();
    if (width <= 0 || height <= 0 || !std::isfinite(time))
        throw std::invalid_argument("Background viewport/time");
    const Impl::Background b{
        width, height, time, grid ? 1 : 0, theme.dark ? 0 : 1, theme.background, theme.background_accent};
    if (impl_->partial) {
        impl_->background = b; // drawn by render, where the frame changed
        impl_->background_due = true;
        return;
    }
    vg_clear_error();
    vg_background(b.width, b.height, b.time, b.grid, b.palette, b.color, b.accent);
    gpu_error();
}

bool Renderer::render(Canvas& canvas, int width, int height, Vec2 pointer, unsigned framebuffer,
                      unsigned buffer) {
    check();
    if (canvas.renderer() != this) throw std::logic_error("Call Renderer::begin first");
    if (canvas.clip_depth() != 0) throw std::logic_error("Unbalanced shaped clip pushes");
    if (width <= 0 || height <= 0 || !std::isfinite(pointer.x) || !std::isfinite(pointer.y))
        throw std::invalid_argument("Render viewport/pointer");
    const auto& commands = canvas.commands();
    if (impl_->partial) {
        if (framebuffer != 0 || buffer != vg_back_buffer)
            throw std::logic_error("Partial redraw presents to the back buffer");
        return impl_->redraw(canvas, width, height, pointer);
    }
    if (commands.empty()) return true;
    vg_clear_error();
    vg_submit(commands.front().slot, commands.size() * 64, static_cast<int>(commands.size()), framebuffer,
              buffer, width, height, canvas.width(), canvas.height(), canvas.theme().sigma, pointer.x,
              pointer.y);
    gpu_error();
    return true;
}

void Renderer::partial(bool on) {
    check();
    impl_->partial = on;
}

bool Renderer::partial() const { return impl_->partial; }

// Only what differs from the kept frame is drawn, over a copy of it in the back buffer; a frame
// without a background of its own keeps the last one.
bool Renderer::Impl::redraw(const Canvas& canvas, int width, int height, Vec2 pointer) {
    const auto& commands = canvas.commands();
    const float sigma = canvas.theme().sigma;
    if (!background_due) background = shown.background;
    background_due = false;
    const bool whole = !shown.any || width != shown.width || height != shown.height ||
                       canvas.width() != shown.logical_width || canvas.height() != shown.logical_height ||
                       sigma != shown.sigma || !(background == shown.background);
    int box[4] = {0, 0, width, height};
    vg_clear_error();
    if (!whole) {
        const Command* previous = shown.commands.empty() ? nullptr : shown.commands.data();
        const Command* current = commands.empty() ? nullptr : commands.data();
        const Command none{};
        const int changed =
            vg_damage(previous ? previous->slot : none.slot, static_cast<int>(shown.commands.size()),
                      current ? current->slot : none.slot, static_cast<int>(commands.size()), width, height,
                      canvas.width(), canvas.height(), sigma,
                      pointer.x != shown.pointer.x || pointer.y != shown.pointer.y, box);
        gpu_error();
        if (changed == 0) return false;
    }
    vg_partial_begin(width, height, box[0], box[1], box[2], box[3]);
    gpu_error();
    if (background.width > 0)
        vg_background(background.width, background.height, background.time, background.grid,
                      background.palette, background.color, background.accent);
    if (!commands.empty())
        vg_submit(commands.front().slot, commands.size() * 64, static_cast<int>(commands.size()), 0,
                  vg_back_buffer, width, height, canvas.width(), canvas.height(), sigma, pointer.x,
                  pointer.y);
    vg_partial_end();
    gpu_error();
    shown.commands.assign(commands.begin(), commands.end());
    shown.background = background;
    shown.width = width;
    shown.height = height;
    shown.logical_width = canvas.width();
    shown.logical_height = canvas.height();
    shown.sigma = sigma;
    shown.pointer = pointer;
    shown.any = true;
    return true;
}

Pixels Renderer::read_pixels(int width, int height) {
    check();
    if (width < 1 || width > 16384 || height < 1 || height > 16384)
        throw std::invalid_argument("Screenshot dimensions");
    Pixels pixels{width, height, std::vector<std::uint8_t>(static_cast<std::size_t>(width) * height * 4)};
    vg_clear_error();
    if (impl_->partial && impl_->shown.any) { // the back buffer holds nothing certain after a present
        vg_partial_begin(impl_->shown.width, impl_->shown.height, 0, 0, 0, 0);
        vg_partial_end();
    }
    vg_read_pixels(width, height, pixels.data.data(), pixels.data.size());
    gpu_error();
    // GL delivers the bottom row first.
    const std::size_t stride = static_cast<std::size_t>(width) * 4;
    for (int i = 0; i < height / 2; ++i) {
        auto top = pixels.data.begin() + static_cast<std::ptrdiff_t>(stride * i);
        auto bottom = pixels.data.begin() + static_cast<std::ptrdiff_t>(stride * (height - 1 - i));
        std::swap_ranges(top, top + static_cast<std::ptrdiff_t>(stride), bottom);
    }
    return pixels;
}

std::string Renderer::device() const {
    check();
    return vg_device();
}

// ---- glyphs ------------------------------------------------------------------------------

void Renderer::Impl::use_font(const std::string& family) {
    if (names[name] == family) return;
    const auto at = std::find(names.begin(), names.end(), family);
    name = static_cast<std::uint32_t>(at - names.begin());
    if (at == names.end()) names.push_back(family);
}

std::uint32_t Renderer::Impl::font(int raster, int weight) {
    const FontKey key{name, raster, weight};
    const auto [at, added] = font_ids.try_emplace(key, static_cast<std::uint32_t>(fonts.size()));
    if (added) fonts.push_back({key, nullptr});
    return at->second;
}

void Renderer::Impl::add_atlas() {
    vg_clear_error();
    const unsigned texture = vg_texture(atlas::size, atlas::size);
    gpu_error();
    atlases.push_back(texture);
}

const Renderer::Impl::Glyph& Renderer::Impl::glyph(std::uint32_t font, char32_t code_point) {
    const auto at = glyphs.find(std::uint64_t{font} << 32 | code_point);
    return at != glyphs.end() ? at->second : add_glyph(font, code_point);
}

RasterFont& Renderer::Impl::face(std::uint32_t font) {
    Font& request = fonts[font];
    if (!request.face)
        request.face = rasterizer->font(names[request.key.name], request.key.raster, request.key.weight);
    return *request.face;
}

const Renderer::Impl::Glyph& Renderer::Impl::add_glyph(std::uint32_t font, char32_t code_point) {
    if (glyphs.size() + shaped_glyphs.size() >= atlas::max_glyphs)
        throw std::length_error("Glyph cache limit; recreate renderer after large font/size changes");

    RasterFont& raster = face(font);
    const GlyphExtent extent = rasterizer->extent(raster, code_point);
    if (extent.advance > atlas::largest || extent.line > atlas::largest)
        throw std::length_error("Glyph exceeds atlas");
    const int w = std::max(1, extent.advance) + 2 * atlas::border;
    const int h = std::max(1, extent.line) + 2 * atlas::border;

    const std::size_t area = static_cast<std::size_t>(w) * static_cast<std::size_t>(h);
    coverage.resize(area);
    rasterizer->draw(raster, code_point, w, h, coverage.data());
    texels.resize(area * 4);
    for (std::size_t i = 0; i < area; ++i) {
        texels[i * 4 + 0] = texels[i * 4 + 1] = texels[i * 4 + 2] = 255;
        texels[i * 4 + 3] = coverage[i];
    }
    Glyph glyph = place(w, h);
    glyph.advance = static_cast<float>(extent.advance);
    return glyphs.emplace(std::uint64_t{font} << 32 | code_point, glyph).first->second;
}

// Packs and uploads `texels`, w x h, into the atlases.
Renderer::Impl::Glyph Renderer::Impl::place(int w, int h) {
    if (atlases.empty()) add_atlas();
    if (!shelf.fit(w, h)) {
        if (atlases.size() >= atlas::max_atlases) throw std::length_error("16 font atlas limit");
        add_atlas();
        shelf = {};
    }
    const Glyph glyph{atlases.back(), shelf.x, shelf.y, w, h};
    vg_clear_error();
    vg_upload(glyph.texture, glyph.x, glyph.y, w, h, texels.data(), texels.size());
    gpu_error();
    shelf.take(w, h);
    return glyph;
}

// Decoded whole before any glyph is looked up, so that text which is not valid UTF-8 draws and
// rasterises nothing.
const std::u32string& Renderer::Impl::decode(const std::string& text) {
    code_points.clear();
    shaping = false;
    for (std::size_t i = 0; i < text.size();) {
        char32_t code_point = 0;
        const std::size_t n = decode_utf8(text, i, code_point);
        if (n == 0) throw std::invalid_argument("Invalid UTF-8");
        code_points.push_back(code_point);
        shaping = shaping || (code_point >= 0x300 && needs_shaping(code_point));
        i += n;
    }
    return code_points;
}

// ---- shaped text ---------------------------------------------------------------------------

// One line in visual order, each run of one direction shaped on its own with the rest of the
// line as context. Kept until the cache starts over, so an unchanged label is shaped once.
const Renderer::Impl::Line& Renderer::Impl::line(std::uint32_t font, std::string_view text) {
    line_key.assign(reinterpret_cast<const char*>(&font), sizeof font);
    line_key.append(text);
    if (const auto at = lines.find(std::string_view(line_key)); at != lines.end()) return at->second;
    if (lines.size() >= line_limit) lines.clear();
    Line made;
    RasterFont& raster = face(font);
    visual_runs(text, runs);
    for (const DirectionRun& run : runs) {
        const std::size_t first = made.glyphs.size();
        const float advance = rasterizer->shape(raster, text, run.start, run.end, run.rtl, made.glyphs);
        for (std::size_t i = first; i < made.glyphs.size(); ++i) made.glyphs[i].x += made.advance;
        made.advance += advance;
    }
    return lines.emplace(line_key, std::move(made)).first->second;
}

const Renderer::Impl::Glyph& Renderer::Impl::shaped_glyph(std::uint32_t font, const ShapedGlyph& shaped) {
    const ShapedKey key{font, shaped.face, shaped.index};
    if (const auto at = shaped_glyphs.find(key); at != shaped_glyphs.end()) return at->second;
    if (glyphs.size() + shaped_glyphs.size() >= atlas::max_glyphs)
        throw std::length_error("Glyph cache limit; recreate renderer after large font/size changes");
    const GlyphImage image = rasterizer->draw(face(font), shaped.face, shaped.index, texels);
    if (image.width > atlas::size || image.height > atlas::size)
        throw std::length_error("Glyph exceeds atlas");
    Glyph glyph = place(image.width, image.height);
    glyph.left = image.left;
    glyph.top = image.top;
    glyph.colour = image.colour;
    glyph.blank = true;
    for (std::size_t i = 3; i < texels.size() && glyph.blank; i += 4) glyph.blank = texels[i] == 0;
    return shaped_glyphs.emplace(key, glyph).first->second;
}

// ---- text --------------------------------------------------------------------------------

void Renderer::draw_text(Canvas& canvas, const std::string& text, Vec2 position, float size, unsigned color,
                         int weight) {
    check();
    check_text_size(size);
    const std::u32string& code_points = impl_->decode(text);
    const int raster = atlas::raster_size(impl_->scale, size);
    const std::uint32_t font = impl_->font(raster, weight);
    // The rounded raster size, not 2 * scale, keeps positions in step with what was drawn.
    const float ratio = static_cast<float>(raster) / size;
    const float pad = static_cast<float>(atlas::border) / ratio;
    constexpr float texel = 1.0f / atlas::size;
    const auto cell = [&](const Impl::Glyph& g, Rect r) -> Command& {
        Command& c = canvas.add(kind_glyph, r, color);
        c.slot[13] = static_cast<float>(g.x) * texel;
        c.slot[14] = static_cast<float>(g.y) * texel;
        c.slot[15] = static_cast<float>(g.width) * texel;
        c.slot[16] = static_cast<float>(g.height) * texel;
        c.texture(g.texture);
        return c;
    };

    Vec2 pen = position;
    const auto walk = [&](std::u32string_view points) {
        for (const char32_t code_point : points) {
            if (code_point == U'\n') {
                pen = {position.x, pen.y + size + 5};
                continue;
            }
            const Impl::Glyph& g = impl_->glyph(font, code_point);
            if (code_point != U' ') {
                const float w = static_cast<float>(g.width);
                const float h = static_cast<float>(g.height);
                cell(g, {pen.x - pad, pen.y - pad, w / ratio, h / ratio});
            }
            pen.x += g.advance / ratio;
        }
    };
    if (!impl_->shaping) return walk(code_points);

    // Lines that need shaping are shaped whole; the others are walked as above.
    impl_->each_line(text, [&](std::string_view line, std::u32string_view points) {
        if (!needs_shaping(line))
            walk(points);
        else
            for (const ShapedGlyph& shaped : impl_->line(font, line).glyphs) {
                const Impl::Glyph& g = impl_->shaped_glyph(font, shaped);
                if (g.blank) continue;
                Command& c =
                    cell(g, {pen.x + (shaped.x + static_cast<float>(g.left)) / ratio,
                             pen.y + (shaped.y + static_cast<float>(g.top)) / ratio,
                             static_cast<float>(g.width) / ratio, static_cast<float>(g.height) / ratio});
                if (g.colour) c.slot[46] = 1; // the shader takes the texels' own colour
            }
        pen = {position.x, pen.y + size + 5};
    });
}

float Renderer::measure(const std::string& text, float size, int weight) const {
    check();
    check_text_size(size);
    const std::u32string& code_points = impl_->decode(text);
    const int raster = atlas::raster_size(impl_->scale, size);
    const std::uint32_t font = impl_->font(raster, weight);
    const float ratio = static_cast<float>(raster) / size;

    const auto width = [&](std::u32string_view points) {
        float running = 0;
        float largest = 0;
        for (const char32_t code_point : points) {
            if (code_point == U'\n') {
                largest = std::max(largest, running);
                running = 0;
            } else {
                running += impl_->glyph(font, code_point).advance / ratio;
            }
        }
        return std::max(largest, running);
    };
    if (!impl_->shaping) return width(code_points);

    float largest = 0;
    impl_->each_line(text, [&](std::string_view line, std::u32string_view points) {
        largest =
            std::max(largest, needs_shaping(line) ? impl_->line(font, line).advance / ratio : width(points));
    });
    return largest;
}

TextEdges Renderer::edges(const std::string& line, std::size_t from, std::size_t to, float size,
                          int weight) const {
    check();
    check_text_size(size);
    if (!needs_shaping(line)) return TextEngine::edges(line, from, to, size, weight);
    impl_->decode(line); // rejects invalid UTF-8
    const int raster = atlas::raster_size(impl_->scale, size);
    const float ratio = static_cast<float>(raster) / size;
    const Impl::Line& shaped = impl_->line(impl_->font(raster, weight), line);
    float left = shaped.advance, right = 0;
    bool rtl = false;
    for (const ShapedGlyph& g : shaped.glyphs)
        if (g.cluster >= from && g.cluster < to) {
            left = std::min(left, g.x);
            right = std::max(right, g.x + g.advance);
            rtl = g.rtl;
        }
    if (left > right) return {}; // nothing drawn for these bytes
    return rtl ? TextEdges{right / ratio, left / ratio} : TextEdges{left / ratio, right / ratio};
}

} // namespace velmora::ui
