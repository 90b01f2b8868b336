// Partial redraw: what changed between two frames, and the kept frame.
#include "velmora/gpu/backend.hpp"

using namespace velmora::gpu::backend;

// ---- partial redraw -----------------------------------------------------------------------

namespace {

// A y-down pixel box [x0, x1) x [y0, y1); empty unless both spans are positive (NaN included).
struct Box {
    float x0 = 0, y0 = 0, x1 = 0, y1 = 0;

    bool empty() const { return !(x1 > x0 && y1 > y0); }
    bool meets(const Box& o) const {
        return !empty() && !o.empty() && o.x0 < x1 && x0 < o.x1 && o.y0 < y1 && y0 < o.y1;
    }
    bool holds(const Box& o) const { return o.x0 >= x0 && o.y0 >= y0 && o.x1 <= x1 && o.y1 <= y1; }
    void add(const Box& o) {
        if (o.empty()) return;
        if (empty()) {
            *this = o;
            return;
        }
        x0 = std::min(x0, o.x0);
        y0 = std::min(y0, o.y0);
        x1 = std::max(x1, o.x1);
        y1 = std::max(y1, o.y1);
    }
};

// The pixels a drawing command can change: its quad cut to its clip.
Box reach(const Frame& f, const float* c) {
    Box b;
    if (!f.clip(c, b.x0, b.y0, b.x1, b.y1)) return {};
    float q[4];
    quad_bounds(c, q);
    return {std::max(b.x0, q[0] * f.sx), std::max(b.y0, q[1] * f.sy), std::min(b.x1, q[2] * f.sx),
            std::min(b.y1, q[3] * f.sy)};
}

// The pixels a glass command reads of the frozen scene: its quad, grown by the refraction, the
// bilinear footprint and, with a blur weight, the downsampled kernel's reach and its footprint.
Box glass_reads(const Frame& f, const float* c, float sigma) {
    if (!(c[3] >= 0 && c[4] >= 0)) return {0, 0, f.fw, f.fh}; // an odd size reads from anywhere
    float q[4];
    quad_bounds(c, q);
    float mx = max_refraction * f.sx + 2, my = max_refraction * f.sy + 2;
    if (sigma > .01f && c[22] > 0) {
        const auto bw = static_cast<float>((f.width + 1) / 2), bh = static_cast<float>((f.height + 1) / 2);
        mx += static_cast<float>(kernel_reach(sigma * bw / f.fw) + 3) * f.fw / bw;
        my += static_cast<float>(kernel_reach(sigma * bh / f.fh) + 3) * f.fh / bh;
    }
    return {q[0] * f.sx - mx, q[1] * f.sy - my, q[2] * f.sx + mx, q[3] * f.sy + my};
}

bool same(const float* a, const float* b) { return std::memcmp(a, b, command_floats * sizeof(float)) == 0; }

// Adds what an unmatched command of one frame changes: a drawing command its reach; a backdrop
// every glass after it, which then reads another frozen scene; a shaped clip every command it
// encloses.
void unmatched(const Frame& f, const float* list, int count, int k, Box& out) {
    const float* c = list + static_cast<std::size_t>(k) * command_floats;
    const int kind = kind_of(c);
    if (kind == 9) {
        for (int i = k + 1; i < count; ++i) {
            const float* e = list + static_cast<std::size_t>(i) * command_floats;
            if (kind_of(e) == 0) out.add(reach(f, e));
        }
    } else if (kind == 10 || kind == 11) {
        const int step = kind == 10 ? 1 : -1;
        for (int i = k + step, depth = 0; i >= 0 && i < count; i += step) {
            const float* e = list + static_cast<std::size_t>(i) * command_floats;
            const int inner = kind_of(e);
            if (inner == 10 || inner == 11) {
                if (depth == 0 && inner != kind) break;
                depth += inner == kind ? 1 : -1;
            } else if (inner != 9) {
                out.add(reach(f, e));
            }
        }
    } else {
        out.add(reach(f, c));
    }
}

} // namespace

int vg_damage(const float* previous, int previous_count, const float* commands, int command_count, int width,
              int height, float logical_width, float logical_height, float sigma, int pointer_moved,
              int* box) {
    if (!previous || !commands || !box || previous_count < 0 || command_count < 0 || width < 1 ||
        height < 1 || !(logical_width > 0) || !(logical_height > 0) || !(sigma >= 0 && sigma <= 32)) {
        set_error("Invalid damage parameters");
        return -1;
    }
    if (!commands_valid(previous, previous_count) || !commands_valid(commands, command_count)) return -1;
    const float fw = static_cast<float>(width), fh = static_cast<float>(height);
    const Frame f{width, height, fw, fh, fw / logical_width, fh / logical_height, false, 0, 0, 0, 0};
    auto* matched = static_cast<unsigned char*>(
        std::calloc(static_cast<std::size_t>(previous_count) + command_count + 1, 1));
    if (!matched) {
        set_error("Out of memory");
        return -1;
    }
    unsigned char* matched_new = matched + previous_count;
    auto old_at = [&](int i) { return previous + static_cast<std::size_t>(i) * command_floats; };
    auto new_at = [&](int j) { return commands + static_cast<std::size_t>(j) * command_floats; };
    // Commands paired in order, looking a little ahead on either side past what was inserted or
    // removed. Any pairing in order will do: a pixel that no unpaired command reaches sees the
    // same commands in the same order in both frames.
    constexpr int look_ahead = 48;
    for (int i = 0, j = 0; i < previous_count && j < command_count;) {
        if (same(old_at(i), new_at(j))) {
            matched[i++] = matched_new[j++] = 1;
            continue;
        }
        int skip_old = 0, skip_new = 0;
        for (int d = 1; d <= look_ahead && !skip_old && i + d < previous_count; ++d)
            if (same(old_at(i + d), new_at(j))) skip_old = d;
        for (int d = 1; d <= look_ahead && !skip_new && j + d < command_count; ++d)
            if (same(old_at(i), new_at(j + d))) skip_new = d;
        if (skip_new && (!skip_old || skip_new <= skip_old))
            j += skip_new;
        else if (skip_old)
            i += skip_old;
        else {
            ++i;
            ++j;
        }
    }
    Box damage;
    for (int i = 0; i < previous_count; ++i)
        if (!matched[i]) unmatched(f, previous, previous_count, i, damage);
    for (int j = 0; j < command_count; ++j) {
        const bool glass = kind_of(new_at(j)) == 0;
        if (!matched_new[j] || (pointer_moved && glass)) unmatched(f, commands, command_count, j, damage);
    }
    std::free(matched);
    // Glass redrawn in part reads around itself: the box takes in all it reads, until no glass
    // that reads the box is left outside it.
    for (bool grew = !damage.empty(); grew;) {
        grew = false;
        for (int j = 0; j < command_count; ++j) {
            if (kind_of(new_at(j)) != 0) continue;
            const Box reads = glass_reads(f, new_at(j), sigma);
            if (damage.meets(reads) && !damage.holds(reads)) {
                damage.add(reads);
                grew = true;
            }
        }
    }
    if (damage.empty()) return 0;
    // Whole pixels, one more on each side for rasterisation's rounding.
    const int x0 = std::max(static_cast<int>(std::floor(damage.x0)) - 1, 0);
    const int y0 = std::max(static_cast<int>(std::floor(damage.y0)) - 1, 0);
    const int x1 = std::min(static_cast<int>(std::ceil(std::min(damage.x1, fw))) + 1, width);
    const int y1 = std::min(static_cast<int>(std::ceil(std::min(damage.y1, fh))) + 1, height);
    if (x1 <= x0 || y1 <= y0) return 0;
    box[0] = x0;
    box[1] = y0;
    box[2] = x1 - x0;
    box[3] = y1 - y0;
    return 1;
}

namespace {

// Copies `box` (y-up pixels) between the back buffer and the kept frame.
void copy_kept(bool to_back_buffer, const Area& box) {
    glBindFramebuffer_(GL_READ_FRAMEBUFFER, to_back_buffer ? kept_fbo : 0);
    glReadBuffer_(to_back_buffer ? GL_COLOR_ATTACHMENT0 : GL_BACK);
    glBindFramebuffer_(GL_DRAW_FRAMEBUFFER, to_back_buffer ? 0 : kept_fbo);
    glDrawBuffer_(to_back_buffer ? GL_BACK : GL_COLOR_ATTACHMENT0);
    glBlitFramebuffer_(box.x0, box.y0, box.x1, box.y1, box.x0, box.y0, box.x1, box.y1, GL_COLOR_BUFFER_BIT,
                       GL_NEAREST);
}

// Runs `work` between save_state and restore_state, the read buffer of the default framebuffer
// put back too.
template <typename Work> void guest(Work work) {
    GlState host;
    save_state(host);
    prepare_state(host);
    GLint read_buffer = 0;
    glBindFramebuffer_(GL_READ_FRAMEBUFFER, 0);
    glGetIntegerv_(GL_READ_BUFFER, &read_buffer);
    work();
    glBindFramebuffer_(GL_READ_FRAMEBUFFER, 0);
    glReadBuffer_(static_cast<GLenum>(read_buffer));
    restore_state(host);
}

} // namespace

int vg_partial_begin(int width, int height, int x, int y, int box_width, int box_height) {
    if (!opened || width < 1 || height < 1 || box_width < 0 || box_height < 0) {
        set_error("Invalid partial frame");
        return 0;
    }
    if (width != kept_w || height != kept_h) {
        GLint max_size = 0;
        glGetIntegerv_(GL_MAX_TEXTURE_SIZE, &max_size);
        if (width > max_size || height > max_size) {
            set_error("Framebuffer exceeds GL_MAX_TEXTURE_SIZE");
            return 0;
        }
        bool complete = false;
        guest([&] {
            if (!kept_fbo) {
                glGenTextures_(1, &kept_tex);
                glGenFramebuffers_(1, &kept_fbo);
            }
            glActiveTexture_(GL_TEXTURE0);
            complete = define_target(kept_tex, kept_fbo, width, height);
        });
        kept_w = complete ? width : 0;
        kept_h = complete ? height : 0;
        if (!complete) {
            set_error("Internal LiquidGlass framebuffer is incomplete.");
            return 0;
        }
    }
    kept_box[0] = std::clamp(x, 0, width);
    kept_box[1] = std::clamp(y, 0, height);
    kept_box[2] = std::min(box_width, width - kept_box[0]);
    kept_box[3] = std::min(box_height, height - kept_box[1]);
    // The back buffer holds nothing certain after a present: what is not redrawn comes from the
    // kept frame.
    if (kept_box[2] < width || kept_box[3] < height) guest([&] { copy_kept(true, {0, 0, width, height}); });
    confining = true;
    return 1;
}

void vg_partial_end() {
    if (!confining) return;
    confining = false;
    if (kept_box[2] > 0 && kept_box[3] > 0) guest([] { copy_kept(false, kept_area(kept_h)); });
}
