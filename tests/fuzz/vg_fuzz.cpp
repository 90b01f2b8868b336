// vg_submit's checking of command streams, against a 4x4 hidden window.
//
// Streams of random kinds (known ones, unknown ones and raw float bits), shaped clip pushes and
// pops and random geometry. A stream with a kind that has no integer, or whose clips don't
// balance or nest deeper than 32, must fail whole: an error, and not one pixel of the target
// changed. Every other stream must
// draw without an error. Either way no GL error is left behind and the host's program,
// framebuffer, viewport and scissor state are as they were.
#include "fuzz_input.hpp"
#include "gl_context.hpp"
#include "velmora/gpu/vg.hpp"

#include <GL/gl.h>
#include <GL/glext.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

using velmora::fuzz::require;

namespace {

constexpr int size_px = 4;

struct Host {
    GLint program = 0, framebuffer = 0, viewport[4] = {}, scissor[4] = {};
    GLboolean scissor_on = GL_FALSE, blend_on = GL_FALSE;
    bool operator==(const Host& o) const {
        return program == o.program && framebuffer == o.framebuffer &&
               std::memcmp(viewport, o.viewport, sizeof viewport) == 0 &&
               std::memcmp(scissor, o.scissor, sizeof scissor) == 0 && scissor_on == o.scissor_on &&
               blend_on == o.blend_on;
    }
};

Host host_state() {
    Host h;
    glGetIntegerv(GL_CURRENT_PROGRAM, &h.program);
    glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &h.framebuffer);
    glGetIntegerv(GL_VIEWPORT, h.viewport);
    glGetIntegerv(GL_SCISSOR_BOX, h.scissor);
    h.scissor_on = glIsEnabled(GL_SCISSOR_TEST);
    h.blend_on = glIsEnabled(GL_BLEND);
    return h;
}

std::array<std::uint8_t, size_px * size_px * 4> pixels() {
    std::array<std::uint8_t, size_px * size_px * 4> out{};
    vg_read_pixels(size_px, size_px, out.data(), out.size());
    return out;
}

// One context and one open device for the whole run, as a program would have; both are
// closed at exit, in the order the backend needs.
struct Device {
    velmora::test::GlTestContext context{size_px, size_px};
    bool opened = false;
    Device() {
        vg_clear_error();
        opened = vg_open(velmora_shaders) == 1;
    }
    ~Device() { vg_close(); }
};

bool open_device() {
    static Device device;
    return device.opened;
}

// Kinds are truncated; only a value that has no integer (NaN, beyond int) is refused.
bool known_kind(float kind) { return kind > -2147483648.0f && kind < 2147483648.0f; }

float kind(velmora::fuzz::Input& in) {
    const std::uint8_t k = in.byte();
    switch (k % 8) {
    case 0:
        return 10; // push
    case 1:
        return 11; // pop
    case 2:
        return 9; // backdrop
    case 7:
        return in.number(); // anything at all
    default:
        return static_cast<float>(k % 13);
    }
}

} // namespace

// Under libFuzzer the device opens before the first input, so that compiling the shaders on a
// busy machine never counts against the per-input timeout.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    open_device();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    require(open_device());
    velmora::fuzz::Input in(data, size);

    const int count = in.byte() % 48;
    // Never empty: an empty frame is still a frame, and data() of an empty vector may be null.
    std::vector<float> commands(static_cast<std::size_t>(count + 1) * 64, 0.0f);
    int depth = 0;
    bool balanced = true;
    bool known = true;
    for (int i = 0; i < count; ++i) {
        float* c = commands.data() + static_cast<std::size_t>(i) * 64;
        c[0] = kind(in);
        // A sane visible shape to start from, then random slots overwritten.
        const float sane[] = {0, 0, 0, 4, 4, 1, 1, 0.5f, 0.25f, 1};
        std::memcpy(c + 1, sane + 1, 9 * sizeof(float));
        c[18] = 0, c[19] = 0, c[20] = 4, c[21] = 4;
        // Slot 17 stays 0: a glyph's texture name is trusted, and a made-up one is a GL error
        // the host collects, not something the backend checks.
        for (int n = in.byte() % 4; n > 0; --n) {
            const int slot = in.byte() % 64;
            const float value = in.number();
            if (slot != 17) c[slot] = value;
        }
        // What the backend must conclude: a kind it doesn't know is a bad argument, and clips
        // must balance without nesting deeper than 32.
        known = known && known_kind(c[0]);
        const int truncated = known ? static_cast<int>(c[0]) : 0;
        if (truncated == 10) {
            if (depth == 32) balanced = false;
            ++depth;
        } else if (truncated == 11) {
            if (depth == 0) balanced = false;
            --depth;
        }
    }
    balanced = balanced && depth == 0;

    const std::uint8_t flags = in.byte();
    if (flags & 1) {
        glEnable(GL_SCISSOR_TEST);
        glScissor(flags >> 5, 1, 2, 3);
    } else {
        glDisable(GL_SCISSOR_TEST);
    }
    const float sigma = (flags & 2) ? in.number() : 2.0f;
    const float logical = (flags & 4) ? in.number() : 8.0f;
    const bool arguments_ok = sigma >= 0 && sigma <= 32 && logical > 0;

    glClearColor(0.2f, 0.4f, 0.6f, 1.0f);
    glDisable(GL_SCISSOR_TEST);
    glClear(GL_COLOR_BUFFER_BIT);
    if (flags & 1) glEnable(GL_SCISSOR_TEST);
    const auto before = pixels();
    const Host host = host_state();

    const float pointer_x = in.number(), pointer_y = in.number();
    vg_clear_error();
    vg_submit(commands.data(), static_cast<std::size_t>(count) * 64, count, 0, vg_back_buffer, size_px,
              size_px, logical, logical, sigma, pointer_x, pointer_y);
    const bool failed = *vg_error() != '\0';
    require(vg_gl_error() == 0);
    require(host_state() == host);
    require(failed == !(balanced && known && arguments_ok));
    if (failed) require(pixels() == before);
    glDisable(GL_SCISSOR_TEST);
    return 0;
}
