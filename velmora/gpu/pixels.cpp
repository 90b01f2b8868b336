// The background, textures and read-back.
#include "velmora/gpu/backend.hpp"

using namespace velmora::gpu::backend;

// ---- textures and read-back ---------------------------------------------------------------

void vg_background(int width, int height, float time, int grid, int palette, unsigned color,
                   unsigned accent) {
    if (!opened) return;
    GlState host;
    save_state(host);
    prepare_state(host);
    glBindFramebuffer_(GL_DRAW_FRAMEBUFFER, 0);
    glDrawBuffer_(GL_BACK);
    glViewport_(0, 0, width, height);
    if (confining) {
        glEnable_(GL_SCISSOR_TEST);
        kept_area(height).scissor();
    }
    glUseProgram_(program_bg);
    glUniform2f_(bg_res, static_cast<float>(width), static_cast<float>(height));
    glUniform1f_(bg_time, time);
    glUniform1f_(bg_grid, grid != 0 ? 1.0f : 0.0f);
    glUniform1f_(bg_palette, palette != 0 ? 1.0f : 0.0f);
    // The packed alpha is ignored: the background is always opaque.
    auto channel = [](unsigned packed, int shift) {
        return static_cast<float>((packed >> shift) & 0xFFu) / 255.0f;
    };
    glUniform4f_(bg_color, channel(color, 16), channel(color, 8), channel(color, 0), 1);
    glUniform4f_(bg_accent, channel(accent, 16), channel(accent, 8), channel(accent, 0), 1);
    glDrawArrays_(GL_TRIANGLES, 0, 3);
    restore_state(host);
}

unsigned vg_texture(int width, int height) {
    if (width < 1 || height < 1 || !opened) {
        set_error("Invalid texture creation");
        return 0;
    }
    GLint active = 0, bound = 0, unpack = 0;
    glGetIntegerv_(GL_ACTIVE_TEXTURE, &active);
    glActiveTexture_(GL_TEXTURE0);
    glGetIntegerv_(GL_TEXTURE_BINDING_2D, &bound);
    glGetIntegerv_(GL_PIXEL_UNPACK_BUFFER_BINDING, &unpack);
    glBindBuffer_(GL_PIXEL_UNPACK_BUFFER, 0);
    GLuint texture = 0;
    glGenTextures_(1, &texture);
    define_texture(texture, width, height);
    glBindTexture_(GL_TEXTURE_2D, static_cast<GLuint>(bound));
    glBindBuffer_(GL_PIXEL_UNPACK_BUFFER, static_cast<GLuint>(unpack));
    glActiveTexture_(static_cast<GLenum>(active));
    return texture;
}

namespace {

// Pixel store settings of one direction (pack or unpack), saved, zeroed and put back.
struct PixelStore {
    GLenum names[4];
    GLint values[4];

    void save() {
        for (int i = 0; i < 4; ++i) glGetIntegerv_(names[i], &values[i]);
    }
    // Tightly packed rows: alignment 1, no row length, no skips.
    void tighten() const {
        glPixelStorei_(names[0], 1);
        for (int i = 1; i < 4; ++i) glPixelStorei_(names[i], 0);
    }
    void restore() const {
        for (int i = 0; i < 4; ++i) glPixelStorei_(names[i], values[i]);
    }
};

// The guard of the calls that move pixels between client memory and GL: a buffer that holds
// the rectangle (else `refusal`), and entry points into a loaded library. The open device is
// not required.
bool can_move_pixels(int width, int height, const void* pixels, std::size_t size, const char* refusal) {
    if (width < 1 || height < 1 || !pixels ||
        size < static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4) {
        set_error(refusal);
        return false;
    }
    if (!entry_points_live) {
        set_error("Renderer is not initialized");
        return false;
    }
    return true;
}

} // namespace

void vg_upload(unsigned texture, int x, int y, int width, int height, const void* pixels, std::size_t size) {
    if (!can_move_pixels(width, height, pixels, size, "Invalid texture upload buffer")) return;
    GLint active = 0, bound = 0, unpack = 0;
    PixelStore store{{GL_UNPACK_ALIGNMENT, GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_PIXELS, GL_UNPACK_SKIP_ROWS},
                     {}};
    glGetIntegerv_(GL_ACTIVE_TEXTURE, &active);
    glActiveTexture_(GL_TEXTURE0);
    glGetIntegerv_(GL_TEXTURE_BINDING_2D, &bound);
    glGetIntegerv_(GL_PIXEL_UNPACK_BUFFER_BINDING, &unpack);
    store.save();
    glBindBuffer_(GL_PIXEL_UNPACK_BUFFER, 0);
    store.tighten();
    glBindTexture_(GL_TEXTURE_2D, texture);
    glTexSubImage2D_(GL_TEXTURE_2D, 0, x, y, width, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels);
    store.restore();
    glBindBuffer_(GL_PIXEL_UNPACK_BUFFER, static_cast<GLuint>(unpack));
    glBindTexture_(GL_TEXTURE_2D, static_cast<GLuint>(bound));
    glActiveTexture_(static_cast<GLenum>(active));
}

void vg_delete_texture(unsigned texture) {
    if (entry_points_live) glDeleteTextures_(1, &texture);
}

void vg_read_pixels(int width, int height, void* pixels, std::size_t size) {
    if (!can_move_pixels(width, height, pixels, size, "Screenshot buffer is too small")) return;
    GLint read_framebuffer = 0, pack = 0, read_buffer = 0;
    PixelStore store{{GL_PACK_ALIGNMENT, GL_PACK_ROW_LENGTH, GL_PACK_SKIP_PIXELS, GL_PACK_SKIP_ROWS}, {}};
    glGetIntegerv_(GL_READ_FRAMEBUFFER_BINDING, &read_framebuffer);
    glGetIntegerv_(GL_PIXEL_PACK_BUFFER_BINDING, &pack);
    store.save();
    glBindFramebuffer_(GL_READ_FRAMEBUFFER, 0);
    glGetIntegerv_(GL_READ_BUFFER, &read_buffer);
    glReadBuffer_(GL_BACK);
    glBindBuffer_(GL_PIXEL_PACK_BUFFER, 0);
    store.tighten();
    glReadPixels_(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels);
    store.restore();
    glBindBuffer_(GL_PIXEL_PACK_BUFFER, static_cast<GLuint>(pack));
    glReadBuffer_(static_cast<GLenum>(read_buffer));
    glBindFramebuffer_(GL_READ_FRAMEBUFFER, static_cast<GLuint>(read_framebuffer));
}
