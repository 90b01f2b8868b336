// Renderer: lifetime and checks, the frame calls over vg_, and text through the glyph atlases.
//
//   state        Impl, glyph keys, the one-renderer rule
//   lifetime     constructor, destructor, check, gpu_error
//   frame        begin, background, render, read_pixels, device
//   glyphs       Impl::font, Impl::glyph (rasterise, pack, upload)
//   text         draw_text, measure
#include "velmora/renderer/renderer.hpp"

#include "velmora/core/utf8.hpp"
#include "velmora/gpu/vg.hpp"
#include "velmora/platform/gl_context.hpp"
#include "velmora/renderer/atlas.hpp"
#include "velmora/renderer/rasterizer.hpp"

#include <algorithm>
#include <cmath>
#include <compare>
#include <cstdint>
#include <exception>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace velmora::ui {

// ---- state -------------------------------------------------------------------------------

namespace {

std::mutex renderer_mutex;
bool renderer_live = false; // guarded by renderer_mutex

struct FontKey {
    std::string name;
    int raster = 0;
    int weight = 0;
    auto operator<=>(const FontKey&) const = default;
};

struct GlyphKey {
    FontKey font;
    char32_t code_point = 0;
    auto operator<=>(const GlyphKey&) const = default;
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
    };

    void* context = nullptr;
    float scale = 1;
    std::string font_name = "Segoe UI";
    std::unique_ptr<Rasterizer> rasterizer; // declared before the fonts, which must die first
    std::map<FontKey, RasterFontPtr> fonts;
    std::map<GlyphKey, Glyph> glyphs;
    std::vector<unsigned> atlases;
    atlas::Shelf shelf;
    std::vector<std::uint8_t> coverage; // scratch, reused from glyph to glyph
    std::vector<std::uint8_t> texels;

    RasterFont& font(int raster, int weight);
    Glyph glyph(char32_t code_point, int raster, int weight);
    void add_atlas();
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

std::size_t Renderer::glyph_count() const { return impl_->glyphs.size(); }
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
    impl_->font_name = theme.font;
}

void Renderer::background(int width, int height, float time, const Theme& theme, bool grid) {
    check();
    theme.validate();
    if (width <= 0 || height <= 0 || !std::isfinite(time))
        throw std::invalid_argument("Background viewport/time");
    vg_clear_error();
    vg_background(width, height, time, grid ? 1 : 0, theme.dark ? 0 : 1, theme.background,
                  theme.background_accent);
    gpu_error();
}

void Renderer::render(Canvas& canvas, int width, int height, Vec2 pointer, unsigned framebuffer,
                      unsigned buffer) {
    check();
    if (canvas.renderer() != this) throw std::logic_error("Call Renderer::begin first");
    if (canvas.clip_depth() != 0) throw std::logic_error("Unbalanced shaped clip pushes");
    if (width <= 0 || height <= 0 || !std::isfinite(pointer.x) || !std::isfinite(pointer.y))
        throw std::invalid_argument("Render viewport/pointer");
    const auto& commands = canvas.commands();
    if (commands.empty()) return;
    vg_clear_error();
    vg_submit(commands.front().slot, commands.size() * 64, static_cast<int>(commands.size()), framebuffer,
              buffer, width, height, canvas.width(), canvas.height(), canvas.theme().sigma, pointer.x,
              pointer.y);
    gpu_error();
}

Pixels Renderer::read_pixels(int width, int height) {
    check();
    if (width < 1 || width > 16384 || height < 1 || height > 16384)
        throw std::invalid_argument("Screenshot dimensions");
    Pixels pixels{width, height, std::vector<std::uint8_t>(static_cast<std::size_t>(width) * height * 4)};
    vg_clear_error();
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

RasterFont& Renderer::Impl::font(int raster, int weight) {
    FontKey key{font_name, raster, weight};
    auto it = fonts.find(key);
    if (it == fonts.end())
        it = fonts.emplace(std::move(key), rasterizer->font(font_name, raster, weight)).first;
    return *it->second;
}

void Renderer::Impl::add_atlas() {
    vg_clear_error();
    const unsigned texture = vg_texture(atlas::size, atlas::size);
    gpu_error();
    atlases.push_back(texture);
}

Renderer::Impl::Glyph Renderer::Impl::glyph(char32_t code_point, int raster, int weight) {
    GlyphKey key{{font_name, raster, weight}, code_point};
    if (auto it = glyphs.find(key); it != glyphs.end()) return it->second;
    if (glyphs.size() >= atlas::max_glyphs)
        throw std::length_error("Glyph cache limit; recreate renderer after large font/size changes");

    RasterFont& face = font(raster, weight);
    const GlyphExtent extent = rasterizer->extent(face, code_point);
    if (extent.advance > atlas::largest || extent.line > atlas::largest)
        throw std::length_error("Glyph exceeds atlas");
    const int w = std::max(1, extent.advance) + 2 * atlas::border;
    const int h = std::max(1, extent.line) + 2 * atlas::border;

    const std::size_t area = static_cast<std::size_t>(w) * static_cast<std::size_t>(h);
    coverage.resize(area);
    rasterizer->draw(face, code_point, w, h, coverage.data());
    texels.resize(area * 4);
    for (std::size_t i = 0; i < area; ++i) {
        texels[i * 4 + 0] = texels[i * 4 + 1] = texels[i * 4 + 2] = 255;
        texels[i * 4 + 3] = coverage[i];
    }

    if (atlases.empty()) add_atlas();
    if (!shelf.fit(w, h)) {
        if (atlases.size() >= atlas::max_atlases) throw std::length_error("16 font atlas limit");
        add_atlas();
        shelf = {};
    }
    const Glyph glyph{atlases.back(), shelf.x, shelf.y, w, h, static_cast<float>(extent.advance)};
    vg_clear_error();
    vg_upload(glyph.texture, glyph.x, glyph.y, w, h, texels.data(), texels.size());
    gpu_error();
    shelf.take(w, h);
    glyphs.emplace(std::move(key), glyph);
    return glyph;
}

// ---- text --------------------------------------------------------------------------------

void Renderer::draw_text(Canvas& canvas, const std::string& text, Vec2 position, float size, unsigned color,
                         int weight) {
    check();
    check_text_size(size);
    const std::u16string units = wide(text);
    const int raster = atlas::raster_size(impl_->scale, size);
    // The rounded raster size, not 2 * scale, keeps positions in step with what was drawn.
    const float ratio = static_cast<float>(raster) / size;
    const float pad = static_cast<float>(atlas::border) / ratio;
    constexpr float texel = 1.0f / atlas::size;

    Vec2 pen = position;
    for (std::size_t i = 0; i < units.size();) {
        const char32_t code_point = atlas::next_code_point(units, i);
        if (code_point == U'\n') {
            pen = {position.x, pen.y + size + 5};
            continue;
        }
        const Impl::Glyph g = impl_->glyph(code_point, raster, weight);
        if (code_point != U' ') {
            const float w = static_cast<float>(g.width);
            const float h = static_cast<float>(g.height);
            Command& c = canvas.add(kind_glyph, {pen.x - pad, pen.y - pad, w / ratio, h / ratio}, color);
            c.slot[13] = static_cast<float>(g.x) * texel;
            c.slot[14] = static_cast<float>(g.y) * texel;
            c.slot[15] = w * texel;
            c.slot[16] = h * texel;
            c.texture(g.texture);
        }
        pen.x += g.advance / ratio;
    }
}

float Renderer::measure(const std::string& text, float size, int weight) const {
    check();
    check_text_size(size);
    const std::u16string units = wide(text);
    const int raster = atlas::raster_size(impl_->scale, size);
    const float ratio = static_cast<float>(raster) / size;

    float running = 0;
    float largest = 0;
    for (std::size_t i = 0; i < units.size();) {
        const char32_t code_point = atlas::next_code_point(units, i);
        if (code_point == U'\n') {
            largest = std::max(largest, running);
            running = 0;
        } else {
            running += impl_->glyph(code_point, raster, weight).advance / ratio;
        }
    }
    return std::max(largest, running);
}

} // namespace velmora::ui
