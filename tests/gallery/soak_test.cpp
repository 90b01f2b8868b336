// Soak: the real gallery, rendered through the real backend at a small size, under seeded
// random input for many frames. After every frame the scene must be consistent; between the
// settled states at frame 1,000 and at the end, neither the C++ heap nor the GL objects may grow.
//
//     VELMORA_SOAK_SEED=N    replays a run (every run prints its seed)
//     VELMORA_SOAK_FRAMES=N  frames of random input, 10,000 by default
#include "gallery/gallery.hpp"

#include "gl_context.hpp"
#include "velmora/core/canvas.hpp"
#include "velmora/renderer/renderer.hpp"
#include "velmora/widgets/containers.hpp"

#include <GL/gl.h>
#include <GL/glext.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <new>
#include <random>
#include <sstream>
#include <string>
#include <tuple>

// ---- heap accounting -----------------------------------------------------------------------
// Every plain operator new of this program goes through here, so the live byte count covers the
// toolkit's own allocations on every thread. Each block carries its size in a header.

namespace {
std::atomic<long long> live_bytes{0};
constexpr std::size_t header = alignof(std::max_align_t);

void* allocate(std::size_t size, bool nothrow = false) {
    auto* block = static_cast<unsigned char*>(std::malloc(size + header));
    if (!block && nothrow) return nullptr;
    if (!block) throw std::bad_alloc();
    *reinterpret_cast<std::size_t*>(block) = size;
    live_bytes += static_cast<long long>(size);
    return block + header;
}

void release(void* p) noexcept {
    if (!p) return;
    auto* block = static_cast<unsigned char*>(p) - header;
    live_bytes -= static_cast<long long>(*reinterpret_cast<std::size_t*>(block));
    std::free(block);
}
} // namespace

// The nothrow forms too, since libraries (the JIT of the software GL driver) mix them with the
// plain delete. The aligned forms stay the library's: they pair only among themselves.
void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size, true); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size, true); }
void operator delete(void* p) noexcept { release(p); }
void operator delete[](void* p) noexcept { release(p); }
void operator delete(void* p, std::size_t) noexcept { release(p); }
void operator delete[](void* p, std::size_t) noexcept { release(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { release(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { release(p); }

namespace {

namespace ui = velmora::ui;
using velmora::test::GlTestContext;

constexpr int width = 160; // an eighth of the logical canvas on each axis keeps llvmpipe quick
constexpr int height = 100;
constexpr double step = 1.0 / 60;

// ---- GL object census ----------------------------------------------------------------------

// Textures, buffers, framebuffers, renderbuffers, vertex arrays, programs, shaders, samplers.
using GlObjects = std::array<int, 8>;

// Names are small integers handed out from the bottom; a name past this bound would mean the
// objects churn so hard that the count itself is the finding.
GlObjects census() {
    GlObjects g{};
    for (GLuint n = 1; n <= 4096; ++n) {
        const GLboolean is[] = {glIsTexture(n),     glIsBuffer(n),  glIsFramebuffer(n), glIsRenderbuffer(n),
                                glIsVertexArray(n), glIsProgram(n), glIsShader(n),      glIsSampler(n)};
        for (std::size_t i = 0; i < g.size(); ++i) g[i] += is[i] == GL_TRUE;
    }
    return g;
}

// ---- scene consistency ---------------------------------------------------------------------

// Walks the tree checking parent and scene links; returns whether `w` is reachable.
bool linked(const ui::Widget& w, const ui::Scene& scene, std::string& fault) {
    // A widget that has not been placed yet has no scene.
    if (w.scene && w.scene != &scene)
        fault = std::string(w.class_name()) + " in the tree has a foreign scene";
    for (const auto& child : w.children) {
        if (!child || child->parent != &w) {
            fault = std::string(w.class_name()) + " has a child whose parent is another widget";
            return false;
        }
        if (!linked(*child, scene, fault)) return false;
    }
    return fault.empty();
}

// Whether `w` hangs under the root or under an overlay.
bool attached(const ui::Scene& scene, const ui::Widget* w) {
    const ui::Widget* top = w;
    while (top->parent) top = top->parent;
    if (top == const_cast<ui::Scene&>(scene).root().get()) return true;
    for (const auto& o : scene.overlays())
        if (o.widget.get() == top) return true;
    return false;
}

std::string consistency(gallery::Gallery& scene) {
    std::string fault;
    if (!linked(*scene.root(), scene, fault)) return fault;
    for (const auto& o : scene.overlays()) {
        if (!o.widget) return "null overlay";
        if (o.widget->parent) return std::string("overlay ") + o.widget->class_name() + " has a parent";
        if (!linked(*o.widget, scene, fault)) return fault;
    }
    const std::pair<const char*, const ui::Widget*> refs[] = {{"focus", scene.focus().get()},
                                                              {"hovered", scene.hovered().get()},
                                                              {"pressed", scene.pressed().get()}};
    for (const auto& [name, w] : refs)
        if (w && !attached(scene, w))
            return std::string(name) + " widget " + w->class_name() + " is detached";
    return {};
}

// ---- random input --------------------------------------------------------------------------

// Produces one frame's input the way the platform would: persistent pointer, held button and
// composition, key-downs through apply_key.
class Monkey {
public:
    explicit Monkey(unsigned seed) : rng(seed) {}

    std::mt19937 rng;
    ui::Input state; // what lasts across polls
    std::string clipboard = "剪贴板 clip";
    std::string last; // what the last frame did, for failure messages

    ui::Input next() {
        ui::Input in = state;
        ui::begin_poll(in);
        // Weights in thousandths of the frames; what is left over is an idle frame.
        using Act = void (Monkey::*)(ui::Input&);
        static constexpr std::tuple<int, const char*, Act> actions[] = {
            {300, "move", &Monkey::move},        {80, "button", &Monkey::button},
            {70, "click", &Monkey::click},       {20, "right click", &Monkey::right_click},
            {60, "wheel", &Monkey::wheel},       {120, "key", &Monkey::key},
            {50, "tab", &Monkey::tab},           {60, "type", &Monkey::type_ascii},
            {40, "type", &Monkey::type_chinese}, {30, "compose", &Monkey::compose},
            {40, "shortcut", &Monkey::shortcut}, {10, "ctrl K", &Monkey::palette},
            {10, "escape", &Monkey::escape},     {3, "focus lost", &Monkey::lose_focus}};
        int roll = pick(1000);
        last = "idle";
        for (const auto& [weight, name, act] : actions) {
            if (roll < weight) {
                last = name; // the action may say more
                (this->*act)(in);
                if (!in.text.empty()) last += " " + in.text;
                break;
            }
            roll -= weight;
        }
        state = in; // the next poll keeps what a poll keeps
        return in;
    }

    // The pointer leaves, the button and any composition end: the state every checkpoint starts from.
    ui::Input settle() {
        ui::Input in = state;
        ui::begin_poll(in);
        in.mouse_released = in.mouse_down;
        in.mouse_down = false;
        in.mouse = {-1, -1};
        in.composition.clear();
        in.composition_cursor = 0;
        state = in;
        return in;
    }

private:
    static constexpr const char* ascii[] = {"a", "Z", "42", "hello ", "-3.5", "x@y.z", " ", "0"};
    static constexpr const char* chinese[] = {"中", "玻璃", "控件库", "你好，世界", "滑块"};

    int pick(std::size_t n) { return static_cast<int>(rng() % n); }
    float uniform(float lo, float hi) { return std::uniform_real_distribution<float>(lo, hi)(rng); }

    void move(ui::Input& in) {
        // Mostly small steps, which drag what is held; now and then a jump anywhere.
        if (pick(4) == 0 || in.mouse.x < 0)
            in.mouse = {uniform(0, 1280), uniform(0, 800)};
        else
            in.mouse = {in.mouse.x + uniform(-40, 40), in.mouse.y + uniform(-40, 40)};
    }
    void button(ui::Input& in) {
        if (in.mouse_down)
            in.mouse_released = true;
        else
            in.mouse_pressed = true;
        in.mouse_down = !in.mouse_down;
        last = in.mouse_down ? "press" : "release";
    }
    void click(ui::Input& in) {
        in.mouse = {uniform(0, 1280), uniform(0, 800)};
        in.mouse_pressed = !in.mouse_down;
        in.mouse_released = true;
        in.mouse_down = false;
    }
    void right_click(ui::Input& in) { in.right_pressed = in.right_released = true; }
    void wheel(ui::Input& in) { in.wheel = static_cast<float>(pick(7)) - 3; }
    void key(ui::Input& in) {
        static constexpr unsigned keys[] = {
            ui::vk::left,      ui::vk::right,      ui::vk::up,        ui::vk::down,       ui::vk::home,
            ui::vk::end,       ui::vk::page_up,    ui::vk::page_down, ui::vk::enter,      ui::vk::space,
            ui::vk::backspace, ui::vk::delete_key, ui::vk::f1 + 1,    ui::vk::digit_0 + 7};
        in.shift = pick(4) == 0;
        ui::apply_key(in, keys[pick(std::size(keys))]);
        last = "key " + std::to_string(in.key);
    }
    void tab(ui::Input& in) {
        in.shift = pick(3) == 0;
        ui::apply_key(in, ui::vk::tab);
    }
    void type_ascii(ui::Input& in) { in.text = ascii[pick(std::size(ascii))]; }
    void type_chinese(ui::Input& in) { in.text = chinese[pick(std::size(chinese))]; }
    // An input method: a preedit that grows, then is committed or cancelled.
    void compose(ui::Input& in) {
        if (in.composition.empty() || in.composition.size() < 6) {
            in.composition += "zh";
            in.composition_cursor = in.composition.size();
            last = "compose";
            return;
        }
        if (pick(3) == 0) {
            last = "cancel composition";
        } else {
            in.text = chinese[pick(std::size(chinese))];
            last = "commit";
        }
        in.composition.clear();
        in.composition_cursor = 0;
    }
    void shortcut(ui::Input& in) {
        static constexpr unsigned letters[] = {ui::vk::a, ui::vk::c, ui::vk::v,
                                               ui::vk::x, ui::vk::y, ui::vk::z};
        in.ctrl = true;
        in.shift = pick(5) == 0;
        if (ui::apply_key(in, letters[pick(std::size(letters))])) in.paste = clipboard;
        last = "ctrl " + std::to_string(in.key);
    }
    void palette(ui::Input& in) {
        in.ctrl = true;
        ui::apply_key(in, 'K');
    }
    void escape(ui::Input& in) { ui::apply_key(in, ui::vk::escape); }
    void lose_focus(ui::Input& in) {
        in.focus_lost = true;
        in.mouse_released = in.mouse_down;
        in.mouse_down = false;
        in.composition.clear();
        in.composition_cursor = 0;
    }
};

long from_environment(const char* name, long fallback) {
    const char* value = std::getenv(name);
    return value ? std::atol(value) : fallback;
}

// ---- the run -------------------------------------------------------------------------------

class Soak {
public:
    explicit Soak(unsigned seed) : monkey(seed) {
        scene.clipboard([this](const std::string& text) { monkey.clipboard = text; });
    }

    GlTestContext context{width, height};
    ui::Renderer renderer;
    ui::Canvas canvas;
    gallery::Gallery scene;
    Monkey monkey;
    double now = 1;

    void frame(const ui::Input& in) {
        now += step;
        renderer.background(width, height, static_cast<float>(now), scene.theme, true);
        renderer.begin(canvas, width, height, gallery::logical_width, gallery::logical_height, scene.theme);
        scene.frame(canvas, in, now);
        renderer.render(canvas, width, height, in.mouse, 0, GL_BACK);
        ui::gpu_error();
    }

    // Every page shown and scrolled through once, so that caches hold what the pages draw.
    void warm_up() {
        for (int i = 0; i < static_cast<int>(scene.sections().size()); ++i) {
            scene.select(i);
            for (float s = 0; s <= scene.content()->max_scroll() + 540; s += 540) {
                scene.content()->scroll(s);
                frame(monkey.settle());
            }
        }
    }

    // Back to the first page with nothing open, held for long enough that notices expire.
    void settle() {
        frame(monkey.settle());
        scene.select(0);
        for (int i = 0; i < 240; ++i) frame(monkey.settle());
        context.finish();
    }
};

TEST(Soak, RandomInputOverEveryPageKeepsTheSceneConsistentAndTheResourcesFlat) {
    const auto seed = static_cast<unsigned>(from_environment("VELMORA_SOAK_SEED", std::random_device{}()));
    const int frames = static_cast<int>(std::max(1100L, from_environment("VELMORA_SOAK_FRAMES", 10000)));
    std::cout << "soak seed " << seed << ", " << frames << " frames (replay with VELMORA_SOAK_SEED=" << seed
              << ")\n";
    SCOPED_TRACE("soak seed " + std::to_string(seed));

    Soak soak(seed);
    soak.warm_up();
    long long heap_at_1000 = 0;
    GlObjects gl_at_1000{};
    const int per_page = frames / static_cast<int>(soak.scene.sections().size()) + 1;
    // What the input reached, so that a run that stopped exercising anything shows.
    int with_overlay = 0, with_text_focus = 0, page_changes = 0, page = 0;
    for (int f = 0; f < frames; ++f) {
        // Every page gets its share of the run; the input may still wander elsewhere.
        if (f % per_page == 0) soak.scene.select(f / per_page);
        try {
            soak.frame(soak.monkey.next());
        } catch (const std::exception& e) {
            FAIL() << "frame " << f << " (" << soak.monkey.last << ") threw: " << e.what();
        }
        const std::string fault = consistency(soak.scene);
        ASSERT_EQ(fault, "") << "after frame " << f << " (" << soak.monkey.last << ")";
        with_overlay += !soak.scene.overlays().empty();
        with_text_focus += soak.scene.wants_text_input();
        page_changes += soak.scene.page() != page;
        page = soak.scene.page();
        if (f == 1000) {
            soak.settle();
            heap_at_1000 = live_bytes;
            gl_at_1000 = census();
        }
    }
    soak.settle();
    const long long heap_end = live_bytes;
    const GlObjects gl_end = census();
    std::cout << "heap at frame 1000: " << heap_at_1000 << " bytes, at the end: " << heap_end << " bytes\n"
              << "GL objects: " << ::testing::PrintToString(gl_end) << '\n'
              << "glyphs cached: " << soak.renderer.glyph_count() << " on " << soak.renderer.atlas_count()
              << " atlas pages\n"
              << "frames with an overlay open: " << with_overlay
              << ", with a text field focused: " << with_text_focus << "; page changes: " << page_changes
              << '\n';
    EXPECT_GT(with_overlay, 0);
    EXPECT_GT(with_text_focus, 0);
    EXPECT_EQ(gl_end, gl_at_1000) << "GL objects at frame 1000: " << ::testing::PrintToString(gl_at_1000);
    // Slack for glyphs of text first drawn after frame 1000 (numbers a control reports, say).
    EXPECT_LE(heap_end - heap_at_1000, 64 * 1024) << "heap grew from " << heap_at_1000 << " to " << heap_end;
}

} // namespace
