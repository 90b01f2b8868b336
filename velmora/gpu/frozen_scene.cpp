// The frozen scene glass reads: the internal targets, the copy at each backdrop and the blur.
#include "velmora/gpu/backend.hpp"

namespace velmora::gpu::backend {

// ---- frozen scene -------------------------------------------------------------------------

void define_texture(GLuint texture, int width, int height) {
    glBindTexture_(GL_TEXTURE_2D, texture);
    glTexParameteri_(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri_(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri_(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri_(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexImage2D_(GL_TEXTURE_2D, 0, GL_RGBA8, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
}

// Defines the storage of one colour target and attaches it; false when incomplete.
bool define_target(GLuint texture, GLuint framebuffer, int width, int height) {
    define_texture(texture, width, height);
    glBindFramebuffer_(GL_FRAMEBUFFER, framebuffer);
    glFramebufferTexture2D_(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    glDrawBuffer_(GL_COLOR_ATTACHMENT0);
    return glCheckFramebufferStatus_(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
}

bool resize_textures(int width, int height) {
    if (width == tex_w && height == tex_h) return true;
    GLint max_size = 0;
    glGetIntegerv_(GL_MAX_TEXTURE_SIZE, &max_size);
    if (width > max_size || height > max_size) {
        set_error("Framebuffer exceeds GL_MAX_TEXTURE_SIZE");
        return false;
    }
    glActiveTexture_(GL_TEXTURE0);
    // An odd size rounds the half size up.
    int half_w = (width + 1) / 2, half_h = (height + 1) / 2;
    if (!define_target(scene_tex, scene_fbo, width, height) ||
        !define_target(blur_a_tex, blur_a_fbo, half_w, half_h) ||
        !define_target(blur_b_tex, blur_b_fbo, half_w, half_h)) {
        set_error("Internal LiquidGlass framebuffer is incomplete.");
        return false;
    }
    tex_w = width;
    tex_h = height;
    blur_w = half_w;
    blur_h = half_h;
    return true;
}

void enable_premultiplied_blending() {
    glEnablei_(GL_BLEND, 0);
    if (blendFuncIndexed) {
        blendFuncIndexed(0, GL_ONE, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
        blendEquationIndexed(0, GL_FUNC_ADD, GL_FUNC_ADD);
    } else {
        glBlendFuncSeparate_(GL_ONE, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
        glBlendEquationSeparate_(GL_FUNC_ADD, GL_FUNC_ADD);
    }
}

// The half-size areas whose blurred values glass will read, as few rectangles as keeps the
// blurred surface small. Lives on the stack of each backdrop.
struct BlurAreas {
    static constexpr int capacity = 16;
    Area areas[capacity];
    int count = 0;

    // Adds `a`, merging rectangles whenever their bounding box (grown by the kernel) costs no
    // more than the two apart, and into the cheapest neighbour when full.
    void add(Area a, int gx, int gy) {
        for (;;) {
            int best = -1;
            long long best_cost = 0;
            const Area ga = a.grown(gx, gy, blur_w, blur_h);
            for (int i = 0; i < count; ++i) {
                const Area gi = areas[i].grown(gx, gy, blur_w, blur_h);
                const long long extra = ga.joined(gi).size() - ga.size() - gi.size();
                if (best < 0 || extra < best_cost) {
                    best = i;
                    best_cost = extra;
                }
            }
            if (best < 0 || (best_cost > 0 && count < capacity)) break;
            a = a.joined(areas[best]);
            areas[best] = areas[--count];
        }
        areas[count++] = a;
    }
};

// Collects what the glass commands up to the next backdrop read of the blurred scene, as
// V-pass areas in half-size texels. Glass with no blur weight reads none.
void collect_blur_areas(const Frame& f, const float* commands, int count, int gx, int gy, BlurAreas& out) {
    const float kx = static_cast<float>(blur_w) / f.fw, ky = static_cast<float>(blur_h) / f.fh;
    for (int i = 0; i < count; ++i) {
        const float* c = commands + static_cast<std::size_t>(i) * 64;
        if (kind_of(c) == 9) break;
        float left, top, right, bottom;
        if (kind_of(c) != 0 || !f.clip(c, left, top, right, bottom) || c[22] <= 0) continue;
        // Glass outside the kept frame's box is not drawn: its blur is not needed.
        if (f.confined &&
            (left >= static_cast<float>(f.confine.x1) || right <= static_cast<float>(f.confine.x0) ||
             f.fh - top <= static_cast<float>(f.confine.y0) ||
             f.fh - bottom >= static_cast<float>(f.confine.y1)))
            continue;
        // The quad overreaches the surface by 2 units; an odd size reads from anywhere.
        if (c[3] >= 0 && c[4] >= 0) {
            left = std::max(left, (c[1] - 2) * f.sx);
            right = std::min(right, (c[1] + c[3] + 2) * f.sx);
            top = std::max(top, (c[2] - 2) * f.sy);
            bottom = std::min(bottom, (c[2] + c[4] + 2) * f.sy);
            if (!(right > left) || !(bottom > top)) continue;
            const float rx = max_refraction * f.sx, ry = max_refraction * f.sy;
            left -= rx;
            right += rx;
            top -= ry;
            bottom += ry;
        } else {
            left = top = 0;
            right = f.fw;
            bottom = f.fh;
        }
        // One texel more on each side for the bilinear footprint.
        const Area a{pixel_floor(left * kx) - 1, pixel_floor((f.fh - bottom) * ky) - 1,
                     pixel_ceil(right * kx) + 1, pixel_ceil((f.fh - top) * ky) + 1};
        const Area inside = a.grown(0, 0, blur_w, blur_h);
        if (inside.x1 > inside.x0 && inside.y1 > inside.y0) out.add(inside, gx, gy);
    }
}

// The reach of one blur pass in texels: its last tap, and one more should the shader round
// 3 sigma up past it.
int kernel_reach(float texel_sigma) { return std::min(pixel_ceil(3.0f * texel_sigma), 64) + 1; }

void blur_pass(GLuint target, GLuint source, float step_x, float step_y, float texel_sigma, const Area* areas,
               int count, int gx, int gy) {
    glBindFramebuffer_(GL_DRAW_FRAMEBUFFER, target);
    glViewport_(0, 0, blur_w, blur_h);
    glActiveTexture_(GL_TEXTURE0);
    glBindTexture_(GL_TEXTURE_2D, source);
    glUseProgram_(program_blur);
    glUniform2f_(bl_step, step_x, step_y);
    glUniform1f_(bl_sigma, texel_sigma);
    for (int i = 0; i < count; ++i) {
        areas[i].grown(gx, gy, blur_w, blur_h).scissor();
        glDrawArrays_(GL_TRIANGLES, 0, 3);
    }
}

// Freezes the target into scene_tex and, with sigma on, blurs a half-size copy where the glass
// up to the next backdrop (`next`, `count` commands on) will read it; returns the texture glass
// reads as its blurred scene. Leaves the target bound for drawing with premultiplied blending.
GLuint snapshot(GLuint framebuffer, GLenum buffer, const Frame& f, const float* next, int count,
                float sigma) {
    glDisable_(GL_SCISSOR_TEST);
    glDisablei_(GL_BLEND, 0);
    glBindFramebuffer_(GL_READ_FRAMEBUFFER, framebuffer);
    glReadBuffer_(buffer);
    glBindFramebuffer_(GL_DRAW_FRAMEBUFFER, scene_fbo);
    // Glass drawn into a partial frame reads only inside its box.
    const Area frozen = f.confined ? f.confine : Area{0, 0, f.width, f.height};
    glBlitFramebuffer_(frozen.x0, frozen.y0, frozen.x1, frozen.y1, frozen.x0, frozen.y0, frozen.x1, frozen.y1,
                       GL_COLOR_BUFFER_BIT, GL_NEAREST);
    GLuint result = scene_tex;
    if (sigma > .01f) {
        const auto bw = static_cast<float>(blur_w), bh = static_cast<float>(blur_h);
        const float sigma_x = sigma * bw / f.fw, sigma_y = sigma * bh / f.fh;
        const int rx = kernel_reach(sigma_x), ry = kernel_reach(sigma_y);
        BlurAreas blur;
        collect_blur_areas(f, next, count, rx, ry, blur);
        // Downsample what the horizontal pass reads, which reads what the vertical pass reads.
        glEnable_(GL_SCISSOR_TEST);
        glBindFramebuffer_(GL_READ_FRAMEBUFFER, scene_fbo);
        glReadBuffer_(GL_COLOR_ATTACHMENT0);
        glBindFramebuffer_(GL_DRAW_FRAMEBUFFER, blur_a_fbo);
        for (int i = 0; i < blur.count; ++i) {
            blur.areas[i].grown(rx, ry, blur_w, blur_h).scissor();
            glBlitFramebuffer_(0, 0, f.width, f.height, 0, 0, blur_w, blur_h, GL_COLOR_BUFFER_BIT, GL_LINEAR);
        }
        blur_pass(blur_b_fbo, blur_a_tex, 1.0f / bw, 0.0f, sigma_x, blur.areas, blur.count, 0, ry);
        blur_pass(blur_a_fbo, blur_b_tex, 0.0f, 1.0f / bh, sigma_y, blur.areas, blur.count, 0, 0);
        result = blur_a_tex;
    }
    glBindFramebuffer_(GL_DRAW_FRAMEBUFFER, framebuffer);
    glDrawBuffer_(buffer);
    glViewport_(0, 0, f.width, f.height);
    enable_premultiplied_blending();
    return result;
}

// The kept frame's box in y-up pixels of a frame `height` high.
Area kept_area(int height) {
    return {kept_box[0], height - kept_box[1] - kept_box[3], kept_box[0] + kept_box[2], height - kept_box[1]};
}

Area intersection(const Area& a, const Area& b) {
    return {std::max(a.x0, b.x0), std::max(a.y0, b.y0), std::min(a.x1, b.x1), std::min(a.y1, b.y1)};
}

} // namespace velmora::gpu::backend
