// Frame submission: the frame planned into runs of commands, then drawn in batches.
#include "velmora/gpu/backend.hpp"

namespace velmora::gpu::backend {

// The shaped clip stack of one frame, uploaded lazily per program as the shaders read it: the
// depth, then per clip 16 floats, its box, radii, handles and info (cubic, coverage mode).
struct ClipStack {
    float data[4 + max_clips * 16] = {};
    int depth = 0;
    int cubic = 0; // how many of them have cubic corners

    const float* clip(int i) const { return data + 4 + i * 16; }
    // Takes a push (kind 10) or a pop (kind 11), which commands_valid has balanced.
    void apply(const float* c, int kind) {
        if (kind == 11) {
            --depth;
            cubic -= clip(depth)[12] > .5f;
        } else {
            float* at = data + 4 + depth * 16;
            std::memcpy(at, c + 1, 4 * sizeof(float));
            std::memcpy(at + 4, c + 28, 4 * sizeof(float));
            std::memcpy(at + 8, c + 32, 4 * sizeof(float));
            at[12] = c[44];
            at[13] = c[27];
            at[14] = at[15] = 0;
            cubic += c[44] > .5f;
            ++depth;
        }
        data[0] = static_cast<float>(depth);
    }

    // What clip `i` asks of fragments that lie in `r` (logical x0, y0, x1, y1). It is exactly 1
    // over fragments at least `margin` inside its sides and outside its corner squares: nothing
    // (0). It is exactly 0 at least `margin` outside a side, unless a cubic corner search could
    // reach there: `hidden`. Else the loop, with the corner search where `r` reaches the corner
    // square of a cubic clip. `unknown` for values that are not plain numbers or an empty clip.
    static constexpr int hidden = -1, unknown = -2;
    int work(int i, const float* r, float margin) const {
        const float* b = clip(i);
        const float* radius = b + 4;
        if (!(b[2] > 0 && b[3] > 0)) return unknown; // an empty clip hides everything
        const float x0 = b[0], y0 = b[1], x1 = b[0] + b[2], y1 = b[1] + b[3];
        const float limit = std::min(b[2], b[3]) * .5f;
        bool corner = false;
        for (int k = 0; k < 4; ++k) {
            if (!std::isfinite(radius[k])) return unknown;
            const float rk = std::clamp(radius[k], 0.0f, limit);
            if (!(rk > 1e-5f)) continue;
            const float reach = rk + margin;
            const bool horizontal = k == 0 || k == 3 ? r[0] < x0 + reach : r[2] > x1 - reach;
            const bool vertical = k < 2 ? r[1] < y0 + reach : r[3] > y1 - reach;
            corner = corner || (horizontal && vertical);
        }
        const bool search = b[12] > .5f;
        if (r[2] <= x0 - margin || r[0] >= x1 + margin || r[3] <= y0 - margin || r[1] >= y1 + margin)
            return corner && search ? variant_clips | variant_cubic_clips : hidden;
        const bool inside =
            r[0] >= x0 + margin && r[2] <= x1 - margin && r[1] >= y0 + margin && r[3] <= y1 - margin;
        if (inside && !corner) return 0;
        return variant_clips | (corner && search ? variant_cubic_clips : 0);
    }

    // The clip work a draw whose fragments lie in `r` needs: the variant bits, or `hidden` when
    // some clip hides all of them.
    int variant_for(const float* r, float margin) const {
        if (depth == 0) return 0;
        const int all = variant_clips | (cubic ? variant_cubic_clips : 0);
        for (int i = 0; i < 4; ++i)
            if (!std::isfinite(r[i])) return all;
        int variant = 0;
        bool none = false;
        for (int i = 0; i < depth; ++i) {
            const int w = work(i, r, margin);
            if (w == unknown) return all;
            if (w == hidden)
                none = true;
            else
                variant |= w;
        }
        return none ? hidden : variant;
    }
};

// A draw's pixels cut along the shaped clips it crosses, so that only those near a clip's
// edge take the clip loop and only those near a cubic clip corner its search: the clip loop
// costs every fragment it is compiled into, and a scissor cut costs none. Cut only where a
// clip is exactly 0 or 1 over the whole piece, so the pixels are those of the loop.
struct ClipPieces {
    static constexpr int most_clips = 3;                 // that cut one draw
    static constexpr int most_cuts = 2 + 8 * most_clips; // per axis
    static constexpr int most = (most_cuts - 1) * (most_cuts - 1);
    Area at[most];
    int variant[most];
    int count = 0;
};

// Cuts `area` (y-up pixels of the frame's target) along the clips it crosses; pieces get `base`
// and the clip work they need, and pieces that a clip hides are left out. One piece, the whole
// area, where the cut would save too few clip-loop pixels to pay for the draws it adds. False
// when the clips cannot be judged: values that are not plain numbers, too many clips crossed.
bool split_clips(const ClipStack& clips, const Area& area, int base, const Frame& frame, float margin,
                 ClipPieces& out) {
    const float sx = frame.sx, sy = frame.sy;
    const int height = frame.height;
    auto logical = [&](const Area& a, float* r) {
        r[0] = static_cast<float>(a.x0) / sx;
        r[1] = static_cast<float>(height - a.y1) / sy;
        r[2] = static_cast<float>(a.x1) / sx;
        r[3] = static_cast<float>(height - a.y0) / sy;
    };
    if (area.x1 <= area.x0 || area.y1 <= area.y0) return false;
    float r[4];
    logical(area, r);
    int crossed[ClipPieces::most_clips], n = 0, whole = 0;
    for (int i = 0; i < clips.depth; ++i) {
        const int w = clips.work(i, r, margin);
        if (w == ClipStack::unknown || (w > 0 && n == ClipPieces::most_clips)) return false;
        if (w == ClipStack::hidden) {
            out.count = 0;
            return true;
        }
        if (w > 0) crossed[n++] = i;
        whole |= w;
    }
    out.count = 1;
    out.at[0] = area;
    out.variant[0] = base | whole;
    if (n == 0) return true;
    // The lines where a crossed clip's work may change: its sides, grown and shrunk by the
    // margin, and the inner sides of its corner squares. Each is rounded to the pixel edge past
    // it, away from the region that begins there (logical x and y grow right and down; pixel y
    // grows up), so that the region's cells lie wholly in it.
    int xs[ClipPieces::most_cuts], ys[ClipPieces::most_cuts], nx = 0, ny = 0;
    auto cut = [](int* at, int& count, int lo, int hi, float v, bool up) {
        if (!(v > static_cast<float>(lo) && v < static_cast<float>(hi))) return;
        at[count++] = up ? pixel_ceil(v) : pixel_floor(v);
    };
    xs[nx++] = area.x0;
    xs[nx++] = area.x1;
    ys[ny++] = area.y0;
    ys[ny++] = area.y1;
    const auto fh = static_cast<float>(height);
    for (int k = 0; k < n; ++k) {
        const float* b = clips.clip(crossed[k]);
        const float limit = std::min(b[2], b[3]) * .5f;
        const float x0 = b[0], y0 = b[1], x1 = b[0] + b[2], y1 = b[1] + b[3];
        float reach[4];
        for (int c = 0; c < 4; ++c) reach[c] = std::clamp(b[4 + c], 0.0f, limit) + margin;
        for (float v : {x0 + margin, x0 + reach[0], x0 + reach[3], x1 + margin})
            cut(xs, nx, area.x0, area.x1, v * sx, true);
        for (float v : {x0 - margin, x1 - reach[1], x1 - reach[2], x1 - margin})
            cut(xs, nx, area.x0, area.x1, v * sx, false);
        for (float v : {y0 + margin, y0 + reach[0], y0 + reach[1], y1 + margin})
            cut(ys, ny, area.y0, area.y1, fh - v * sy, false);
        for (float v : {y0 - margin, y1 - reach[3], y1 - reach[2], y1 - margin})
            cut(ys, ny, area.y0, area.y1, fh - v * sy, true);
    }
    std::sort(xs, xs + nx);
    std::sort(ys, ys + ny);
    nx = static_cast<int>(std::unique(xs, xs + nx) - xs);
    ny = static_cast<int>(std::unique(ys, ys + ny) - ys);
    // The work of each cell of the grid, then the cells merged greedily into rectangles of equal
    // work: along a row, then down while the rows below match.
    int work[ClipPieces::most];
    const int columns = nx - 1;
    long long looped = 0;
    for (int j = 0; j + 1 < ny; ++j)
        for (int i = 0; i < columns; ++i) {
            const Area cell{xs[i], ys[j], xs[i + 1], ys[j + 1]};
            logical(cell, r);
            int w = 0;
            for (int k = 0; k < n && w != ClipStack::hidden; ++k) {
                const int v = clips.work(crossed[k], r, margin);
                w = v == ClipStack::hidden ? v : w | v;
            }
            work[j * columns + i] = w;
            if (w > 0) looped += cell.size();
        }
    // Below this many pixels of the loop saved, the draws the cut adds cost more.
    constexpr long long worth = 4096;
    if (area.size() - looped < worth) return true;
    out.count = 0;
    bool taken[ClipPieces::most] = {};
    for (int j = 0; j + 1 < ny; ++j)
        for (int i = 0; i < columns; ++i) {
            const int w = work[j * columns + i];
            if (taken[j * columns + i]) continue;
            int i1 = i + 1;
            while (i1 < columns && !taken[j * columns + i1] && work[j * columns + i1] == w) ++i1;
            int j1 = j + 1;
            for (; j1 + 1 < ny; ++j1) {
                bool same = true;
                for (int c = i; c < i1 && same; ++c)
                    same = !taken[j1 * columns + c] && work[j1 * columns + c] == w;
                if (!same) break;
            }
            for (int row = j; row < j1; ++row)
                for (int c = i; c < i1; ++c) taken[row * columns + c] = true;
            if (w == ClipStack::hidden) continue;
            out.at[out.count] = {xs[i], ys[j], xs[i1], ys[j1]};
            out.variant[out.count++] = base | w;
        }
    return true;
}

// The logical box (x0, y0, x1, y1) that holds the quad the vertex stage makes for command `c`,
// padded as it pads it.
void quad_bounds(const float* c, float* r) {
    const int kind = kind_of(c);
    const float pad = kind == 2 || kind == 5 ? 0.0f : kind == 4 ? std::max(2.0f, c[10] * .5f + 2) : 2.0f;
    r[0] = std::min(c[1], c[1] + c[3]) - pad;
    r[1] = std::min(c[2], c[2] + c[4]) - pad;
    r[2] = std::max(c[1], c[1] + c[3]) + pad;
    r[3] = std::max(c[2], c[2] + c[4]) + pad;
}

// The texture units and the scissor as the run loop set them, so that consecutive runs with
// the same textures or box set them once. Forgotten at each backdrop, which sets its own.
struct Bindings {
    GLuint texture[2];
    int active; // the active unit, -1 when unknown
    bool scissor;
    Area box;

    void forget() {
        texture[0] = texture[1] = ~0u;
        active = -1;
        scissor = false;
        box = {};
    }
    void bind(int unit, GLuint name) {
        if (texture[unit] == name) return;
        if (active != unit) glActiveTexture_(GL_TEXTURE0 + static_cast<GLenum>(unit));
        active = unit;
        glBindTexture_(GL_TEXTURE_2D, name);
        texture[unit] = name;
    }
    void cut(const Area& a) {
        if (scissor && a == box) return;
        if (!scissor) glEnable_(GL_SCISSOR_TEST);
        scissor = true;
        box = a;
        a.scissor();
    }
};

// The pixels of a surface in pieces (y-up pixel boxes), each drawn as the quad cut to its box,
// each with the variant it needs: the corner squares, grown by a unit so that rounding never puts
// a fragment that needs the search outside them; for glass the inside past its rim; and the rest.
struct Pieces {
    Area at[9];
    int variant[9];
    int count = 0;
};

// How far inside its sides glass is past its rim, in units: beyond the widest bevel (10), where
// the rim light has decayed below what can change a colour (4 edge widths, an edge width being
// at most 0.85 * sqrt(2) pixels or 0.65 units), and outside the corner squares. 0 for none.
float glass_inside(const float* c, float sx, float sy) {
    const float edge_width = std::max(.65f, .85f * 1.4143f / std::min(sx, sy));
    float largest = 0;
    for (int i = 28; i < 32; ++i) largest = std::max(largest, c[i]);
    return std::max({10.0f, 4 * edge_width, largest + 1}) + 1;
}

// Splits the surface of `c` (pixels y-down, scaled by sx, sy) within `clip`, y-up pixels of a
// target `height` high. Corners get `base | corner`, the inside (when `inside` >
// 0) the common variant, the rest `base`. False when it is better drawn whole: sizes or radii that are not
// plain numbers, or corners so large that their squares would meet.
bool split_surface(const float* c, float sx, float sy, int height, const Area& clip, int base, int corner,
                   float inside, Pieces& out) {
    for (int i : {1, 2, 3, 4, 28, 29, 30, 31})
        if (!std::isfinite(c[i])) return false;
    if (c[3] < 0 || c[4] < 0) return false;
    // The quad as the vertex stage makes it, 2 units of pad, cut to the clip.
    const int qx0 = std::max(pixel_floor((c[1] - 2) * sx), clip.x0),
              qx1 = std::min(pixel_ceil((c[1] + c[3] + 2) * sx), clip.x1);
    const int qy0 = std::max(pixel_floor((c[2] - 2) * sy), height - clip.y1),
              qy1 = std::min(pixel_ceil((c[2] + c[4] + 2) * sy), height - clip.y0);
    if (qx1 <= qx0 || qy1 <= qy0) return false;
    const float limit = std::min(c[3], c[4]) * .5f, x0 = c[1], y0 = c[2], x1 = c[1] + c[3], y1 = c[2] + c[4];
    auto x = [&](float v, bool up) {
        return std::clamp(up ? pixel_ceil(v * sx) : pixel_floor(v * sx), qx0, qx1);
    };
    auto y = [&](float v, bool up) {
        return std::clamp(up ? pixel_ceil(v * sy) : pixel_floor(v * sy), qy0, qy1);
    };
    // How far in from the sides the square of corner i (0 top left, clockwise) reaches, in units.
    float reach[4];
    for (int i = 0; i < 4; ++i) {
        const float r = std::clamp(c[28 + i], 0.0f, limit);
        reach[i] = r > 1e-5f ? r + 1 : -1;
    }
    // Corner squares, y-down: left or right edge a, top or bottom edge b; empty without a radius.
    const int a0 = reach[0] < 0 ? qx0 : x(x0 + reach[0], true),
              b0 = reach[0] < 0 ? qy0 : y(y0 + reach[0], true);
    const int a1 = reach[1] < 0 ? qx1 : x(x1 - reach[1], false),
              b1 = reach[1] < 0 ? qy0 : y(y0 + reach[1], true);
    const int a2 = reach[2] < 0 ? qx1 : x(x1 - reach[2], false),
              b2 = reach[2] < 0 ? qy1 : y(y1 - reach[2], false);
    const int a3 = reach[3] < 0 ? qx0 : x(x0 + reach[3], true),
              b3 = reach[3] < 0 ? qy1 : y(y1 - reach[3], false);
    if (std::max(a0, a3) > std::min(a1, a2) || std::max(b0, b1) > std::min(b2, b3)) return false;
    // The inside, if any, between the top band (corners 0 and 1) and the bottom one (2 and 3).
    const int ix0 = x(x0 + inside, true), ix1 = x(x1 - inside, false);
    const int top = y(y0 + inside, true), bottom = y(y1 - inside, false);
    const bool has_inside = inside > 0 && ix0 < ix1 && top < bottom && top >= std::max(b0, b1) &&
                            bottom <= std::min(b2, b3) && ix0 >= std::max(a0, a3) && ix1 <= std::min(a1, a2);
    auto add = [&](int left, int upper, int right, int lower, int variant) {
        if (right <= left || lower <= upper) return;
        out.at[out.count] = {left, height - lower, right, height - upper};
        out.variant[out.count++] = variant;
    };
    // A 3 x 3 grid: the corner cells hold the corner squares and take the search, which is right
    // everywhere; the middle cell is the inside when there is one, else one band with its sides.
    const int xl = has_inside ? ix0 : std::max(a0, a3), xr = has_inside ? ix1 : std::min(a1, a2);
    const int yt = has_inside ? top : std::max(b0, b1), yb = has_inside ? bottom : std::min(b2, b3);
    add(qx0, qy0, xl, yt, base | corner);
    add(xr, qy0, qx1, yt, base | corner);
    add(xr, yb, qx1, qy1, base | corner);
    add(qx0, yb, xl, qy1, base | corner);
    add(xl, qy0, xr, yt, base);
    add(xl, yb, xr, qy1, base);
    if (!has_inside) {
        add(qx0, yt, qx1, yb, base);
        return true;
    }
    add(qx0, yt, xl, yb, base);
    add(xr, yt, qx1, yb, base);
    add(xl, yt, xr, yb, variant_common);
    return true;
}

// The kind is truncated to an integer; kinds beyond those a Canvas writes draw through the
// shape program. Only a kind the truncation is undefined for (NaN, beyond int) is refused.
bool kind_valid(float kind) { return kind > -2147483648.0f && kind < 2147483648.0f; }

bool commands_valid(const float* commands, int count) {
    int depth = 0;
    for (int i = 0; i < count; ++i) {
        const float slot = commands[static_cast<std::size_t>(i) * 64];
        if (!kind_valid(slot)) {
            set_error("Unknown command kind");
            return false;
        }
        const int kind = static_cast<int>(slot);
        if (kind == 11) {
            if (depth < 1) {
                set_error("Unbalanced shaped clip pop");
                return false;
            }
            --depth;
        } else if (kind == 10) {
            if (depth == max_clips) {
                set_error("Shaped clip depth exceeds 32");
                return false;
            }
            ++depth;
        }
    }
    if (depth != 0) {
        set_error("Unbalanced shaped clip pushes");
        return false;
    }
    return true;
}

// Turns the frame into command data and runs before anything is drawn: each drawing command
// joins the open run whenever it can share its draw, and a split surface or a draw cut along
// the shaped clips adds a run for each of its pieces; one that a clip hides whole is left out.
// A backdrop closes the run. False when the heap is exhausted.
bool plan(const Frame& frame, const float* commands, int count, float sigma) {
    command_data.size = 0;
    runs.size = 0;
    const Area whole{0, 0, frame.width, frame.height};
    // Two units and two pixels: past anti-aliasing and rounding at any scale.
    const float clip_margin = 2 + 2 / std::min(frame.sx, frame.sy);
    // A run fits in a window that starts at an aligned command at or before its first.
    const int run_capacity = std::max(window_commands - static_cast<int>(window_alignment) + 1, 1);
    ClipStack clips;
    unsigned clip_stamp = 0;
    bool open = false, reverse = false;
    // Whether `a` holds all of `e` (x0, y0, x1, y1, y-up pixels); false for NaN.
    auto holds = [](const Area& a, const float* e) {
        return e[0] >= static_cast<float>(a.x0) && e[1] >= static_cast<float>(a.y0) &&
               e[2] <= static_cast<float>(a.x1) && e[3] <= static_cast<float>(a.y1);
    };
    // Draws the last command of the data, whose quad reaches `extent`, under a scissor `box`
    // that it needs unless it lies `inside` it.
    auto draw = [&](int i, Material& m, int stage, GLuint texture, const float* extent, bool inside,
                    const Area& box) {
        const std::size_t at = command_data.size / command_floats - 1;
        Run* run = open ? runs.data + runs.size - 1 : nullptr;
        if (run && (run->material != &m || run->texture != texture || run->first + run->count != at ||
                    run->count == run_capacity || (m.u.clips >= 0 && run->clips != clip_stamp)))
            run = nullptr;
        if (run && inside && !holds(run->box, extent)) run = nullptr;
        if (run && !inside && !(run->box == box)) {
            if (run->box == whole && holds(box, run->bounds))
                run->box = box;
            else
                run = nullptr;
        }
        if (!run) {
            run = runs.grow(1);
            if (!run) return false;
            *run = {&m,
                    stage,
                    texture,
                    clip_stamp,
                    i,
                    inside ? whole : box,
                    {extent[0], extent[1], extent[2], extent[3]},
                    at,
                    0};
            open = true;
        }
        for (int k = 0; k < 2; ++k) {
            run->bounds[k] = std::min(run->bounds[k], extent[k]);
            run->bounds[k + 2] = std::max(run->bounds[k + 2], extent[k + 2]);
        }
        run->last = i;
        ++run->count;
        return true;
    };

    // Draws the last command within `a` alone, as a run of its own.
    auto draw_piece = [&](int i, int stage, GLuint texture, const Area& a, int variant) {
        const float extent[4] = {static_cast<float>(a.x0), static_cast<float>(a.y0), static_cast<float>(a.x1),
                                 static_cast<float>(a.y1)};
        open = false;
        return draw(i, material(stage, variant), stage, texture, extent, false, a);
    };
    ClipPieces cut;
    auto draw_cut = [&](int i, int stage, GLuint texture) {
        for (int n = 0; n < cut.count; ++n)
            if (!draw_piece(i, stage, texture, cut.at[n], cut.variant[n])) return false;
        return true;
    };

    for (int i = 0; i < count; ++i) {
        const float* c = commands + static_cast<std::size_t>(i) * 64;
        const int kind = kind_of(c);
        if (kind == 9) {
            open = false;
            continue;
        }
        if (kind == 10 || kind == 11) {
            clips.apply(c, kind);
            ++clip_stamp;
            continue;
        }
        float left, top, right, bottom;
        if (!frame.clip(c, left, top, right, bottom)) continue;
        float* data = command_data.grow(command_floats);
        if (!data) return false;
        std::memcpy(data, c, command_floats * sizeof(float));
        data[22] = sigma > .01f ? c[22] : 0.0f; // the blur weight, none without a blurred scene
        // Truncating the low edges and rounding up the high ones keeps every touched pixel.
        const Area box{pixel(left), pixel(frame.fh - bottom), pixel(right + .999f),
                       pixel((frame.fh - top) + .999f)};
        GLuint texture = 0;
        if (kind == 2) std::memcpy(&texture, c + 17, sizeof texture);
        const int stage = kind == 0 ? 0 : kind == 2 ? 2 : 1;
        float quad[4];
        quad_bounds(c, quad);
        const float bounds[4] = {std::max(quad[0], left / frame.sx), std::max(quad[1], top / frame.sy),
                                 std::min(quad[2], right / frame.sx), std::min(quad[3], bottom / frame.sy)};
        const int clip_variant = clips.variant_for(bounds, clip_margin);
        if (clip_variant == ClipStack::hidden) {
            command_data.size -= command_floats;
            continue;
        }
        const int corner = (kind == 0 || kind == 1) && c[44] > .5f ? variant_cubic : 0;
        const int common = kind == 1 || (kind == 2 && !(c[11] > .5f)) ? variant_common : 0;
        const float inside = kind == 0 ? glass_inside(c, frame.sx, frame.sy) : 0.0f;
        Pieces pieces;
        if ((corner == 0 && kind != 0) ||
            !split_surface(c, frame.sx, frame.sy, frame.height, box, common, corner, inside, pieces)) {
            const float extent[4] = {quad[0] * frame.sx, frame.fh - quad[3] * frame.sy, quad[2] * frame.sx,
                                     frame.fh - quad[1] * frame.sy};
            // The quad's pixels within the box; a NaN edge leaves the box's.
            const Area reach{pixel_floor(std::max(static_cast<float>(box.x0), extent[0])),
                             pixel_floor(std::max(static_cast<float>(box.y0), extent[1])),
                             pixel_ceil(std::min(static_cast<float>(box.x1), extent[2])),
                             pixel_ceil(std::min(static_cast<float>(box.y1), extent[3]))};
            // Uncut, the draw may join a run whatever the pieces' boxes.
            int variant = clip_variant | common | corner;
            if (clip_variant != 0 && split_clips(clips, reach, common | corner, frame, clip_margin, cut)) {
                if (cut.count != 1 || !(cut.at[0] == reach)) {
                    if (!draw_cut(i, stage, texture)) return false;
                    open = false;
                    continue;
                }
                variant = cut.variant[0];
            }
            if (!draw(i, material(stage, variant), stage, texture, extent, holds(box, extent), box))
                return false;
            continue;
        }
        // Every other surface takes its pieces backwards, so that one program serves the last
        // pieces of a surface and the first of the next.
        reverse = !reverse;
        for (int n = 0; n < pieces.count; ++n) {
            const int p = reverse ? pieces.count - 1 - n : n;
            const Area& a = pieces.at[p];
            const bool cut_up =
                clip_variant != 0 && split_clips(clips, a, pieces.variant[p], frame, clip_margin, cut);
            if (cut_up ? !draw_cut(i, stage, texture)
                       : !draw_piece(i, stage, texture, a, clip_variant | pieces.variant[p]))
                return false;
        }
        open = false;
    }
    return true;
}

// The host's uniform buffer bindings that the command block takes: the generic one and
// binding point 0.
struct UniformBinding {
    GLint generic, buffer;
    GLint64 start, size;

    void save() {
        glGetIntegerv_(GL_UNIFORM_BUFFER_BINDING, &generic);
        glGetIntegeri_v_(GL_UNIFORM_BUFFER_BINDING, 0, &buffer);
        glGetInteger64i_v_(GL_UNIFORM_BUFFER_START, 0, &start);
        glGetInteger64i_v_(GL_UNIFORM_BUFFER_SIZE, 0, &size);
    }
    void restore() const {
        const auto name = static_cast<GLuint>(buffer);
        if (name != 0 && size > 0)
            glBindBufferRange_(GL_UNIFORM_BUFFER, 0, name, static_cast<GLintptr>(start),
                               static_cast<GLsizeiptr>(size));
        else
            glBindBufferBase_(GL_UNIFORM_BUFFER, 0, name);
        glBindBuffer_(GL_UNIFORM_BUFFER, static_cast<GLuint>(generic));
    }
};

} // namespace velmora::gpu::backend

using namespace velmora::gpu::backend;

void vg_submit(const float* commands, std::size_t float_count, int command_count, unsigned framebuffer,
               unsigned buffer, int width, int height, float logical_width, float logical_height, float sigma,
               float pointer_x, float pointer_y) {
    if (!opened) {
        set_error("Renderer is not initialized");
        return;
    }
    // Written as negated ranges so that NaN fails too.
    if (!commands || command_count < 0 || float_count < static_cast<std::size_t>(command_count) * 64 ||
        width < 1 || height < 1 || !(logical_width > 0) || !(logical_height > 0) ||
        !(sigma >= 0 && sigma <= 32)) {
        set_error("Invalid draw buffer or framebuffer parameters");
        return;
    }
    if (!commands_valid(commands, command_count)) return;

    GlState host;
    save_state(host);
    glBindFramebuffer_(GL_DRAW_FRAMEBUFFER, framebuffer);
    GLint samples = 0;
    glGetIntegerv_(GL_SAMPLE_BUFFERS, &samples);
    if (samples > 0) {
        restore_state(host);
        set_error("Resolve MSAA to a single-sample framebuffer before drawing UI");
        return;
    }
    glBindFramebuffer_(GL_READ_FRAMEBUFFER, framebuffer);
    GLint read_buffer = 0, draw_buffer_count = 0;
    GLenum draw_buffers[32];
    glGetIntegerv_(GL_READ_BUFFER, &read_buffer);
    glGetIntegerv_(GL_MAX_DRAW_BUFFERS, &draw_buffer_count);
    if (draw_buffer_count > 32) {
        restore_state(host);
        set_error("More than 32 draw buffers is not supported");
        return;
    }
    for (GLint i = 0; i < draw_buffer_count; ++i) {
        GLint value = 0;
        glGetIntegerv_(GL_DRAW_BUFFER0 + static_cast<GLenum>(i), &value);
        draw_buffers[i] = static_cast<GLenum>(value);
    }
    prepare_state(host);
    if (!resize_textures(width, height)) {
        restore_state(host);
        return;
    }
    const float fw = static_cast<float>(width), fh = static_cast<float>(height);
    // The host's scissor box in y-down pixels, applied on top of each command's clip.
    Frame frame{width,
                height,
                fw,
                fh,
                fw / logical_width,
                fh / logical_height,
                host.enabled[scissor_flag] != 0,
                static_cast<float>(host.scissor[0]),
                static_cast<float>(host.scissor[0] + host.scissor[2]),
                fh - static_cast<float>(host.scissor[1] + host.scissor[3]),
                fh - static_cast<float>(host.scissor[1])};
    if (confining && framebuffer == 0 && buffer == GL_BACK) {
        frame.confined = true;
        frame.confine = kept_area(height);
    }
    if (!plan(frame, commands, command_count, sigma)) {
        set_error("Out of memory");
        restore_state(host);
        return;
    }
    GLuint blurred = snapshot(framebuffer, buffer, frame, commands, command_count, sigma);
    UniformBinding host_uniforms{};
    const auto window_bytes = static_cast<GLsizeiptr>(window_commands) * command_floats * 4;
    if (runs.size > 0) {
        host_uniforms.save();
        const auto bytes = static_cast<GLsizeiptr>(command_data.size * sizeof(float));
        glBindBuffer_(GL_UNIFORM_BUFFER, command_buffer);
        // A fresh store, which no draw still queued reads, with room for a whole window from
        // any command on.
        glBufferData_(GL_UNIFORM_BUFFER, bytes + window_bytes, nullptr, GL_STREAM_DRAW);
        glBufferSubData_(GL_UNIFORM_BUFFER, 0, bytes, command_data.data);
    }
    ClipStack clips;
    ++clip_serial;
    ++frame_serial;
    GLuint current = 0;
    Bindings bindings;
    bindings.forget();
    std::size_t window = 0; // the first command of the bound window
    bool window_bound = false;
    auto draw = [&](const Run& r) {
        const Area box = frame.confined ? intersection(r.box, frame.confine) : r.box;
        if (box.x1 <= box.x0 || box.y1 <= box.y0) return;
        Material& m = *r.material;
        const MaterialUniforms& u = m.u;
        if (m.program != current) {
            current = m.program;
            glUseProgram_(current);
        }
        if (m.frame_serial != frame_serial) {
            glUniform2f_(u.view, logical_width, logical_height);
            if (u.pointer >= 0) glUniform4f_(u.pointer, pointer_x, pointer_y, 1, 0);
            m.frame_serial = frame_serial;
        }
        if (u.clips >= 0 && m.clip_serial != clip_serial) { // a variant without clips has none
            glUniform4fv_(u.clips, 1 + clips.depth * 4, clips.data);
            m.clip_serial = clip_serial;
        }
        if (r.stage == 0) {
            bindings.bind(0, scene_tex);
            bindings.bind(1, blurred);
        } else if (r.stage == 2) {
            bindings.bind(0, r.texture);
        }
        bindings.cut(box);
        const auto end = r.first + static_cast<std::size_t>(r.count);
        if (!window_bound || r.first < window || end > window + static_cast<std::size_t>(window_commands)) {
            window = r.first / window_alignment * window_alignment;
            window_bound = true;
            glBindBufferRange_(GL_UNIFORM_BUFFER, 0, command_buffer,
                               static_cast<GLintptr>(window * command_floats * sizeof(float)), window_bytes);
        }
        glDrawArrays_(GL_TRIANGLES, static_cast<GLint>(r.first - window) * 6, r.count * 6);
    };

    // The commands again, for the clip stack and the backdrops; each run is drawn after its last
    // command.
    std::size_t next = 0;
    for (int i = 0; i < command_count && next < runs.size; ++i) {
        const float* c = commands + static_cast<std::size_t>(i) * 64;
        const int kind = kind_of(c);
        if (kind == 9) {
            blurred = snapshot(framebuffer, buffer, frame, c + 64, command_count - i - 1, sigma);
            current = 0;
            bindings.forget();
        } else if (kind == 10 || kind == 11) {
            clips.apply(c, kind);
            ++clip_serial;
        }
        for (; next < runs.size && runs.data[next].last == i; ++next) draw(runs.data[next]);
    }
    if (runs.size > 0) host_uniforms.restore();

    glBindFramebuffer_(GL_READ_FRAMEBUFFER, framebuffer);
    glReadBuffer_(static_cast<GLenum>(read_buffer));
    glBindFramebuffer_(GL_DRAW_FRAMEBUFFER, framebuffer);
    if (framebuffer == 0) {
        glDrawBuffer_(draw_buffers[0]);
    } else {
        glDrawBuffers_(draw_buffer_count, draw_buffers);
    }
    restore_state(host);
}
