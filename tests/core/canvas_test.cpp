// Canvas: argument checks and their messages, the limits, text without and with an engine, and
// that a repeated frame allocates nothing. What the records draw is the pixel tests'.
#include "velmora/core/canvas.hpp"

#include "../thrown.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>

using namespace velmora::ui;
using velmora::test::thrown;

// Counts heap allocations so a test can prove that a repeated frame allocates nothing.
static std::atomic<long> allocations{0};
void* operator new(std::size_t n) {
    ++allocations;
    if (void* p = std::malloc(n ? n : 1)) return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }

TEST(Canvas, BeginAndTheLimitsRefuseWithTheirMessages) {
    Canvas c;
    EXPECT_EQ(thrown<std::invalid_argument>([&] { c.begin(0.5f, 100, {}); }), "width");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { c.begin(32769, 100, {}); }), "width");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { c.begin(100, NAN, {}); }), "height");
    Theme bad;
    bad.sigma = 40;
    EXPECT_EQ(thrown<std::invalid_argument>([&] { c.begin(100, 100, bad); }), "sigma");
    c.begin(1, 32768, {});

    EXPECT_EQ(thrown<std::logic_error>([&] { c.pop_clip(); }), "Clip stack underflow");
    for (int i = 0; i < 32; ++i) c.push_clip({0, 0, 1, 1}, 0);
    EXPECT_EQ(thrown<std::length_error>([&] { c.push_clip({0, 0, 1, 1}, 0); }), "32 shaped clip limit");
    c.begin(10, 10, {});
    for (int i = 0; i < 65536; ++i) c.add(kind_shape, {}, 0);
    EXPECT_EQ(thrown<std::length_error>([&] { c.add(kind_shape, {}, 0); }), "65536 command limit");
    EXPECT_EQ(thrown<std::length_error>([&] { c.push_clip({0, 0, 1, 1}, 0); }), "65536 command limit");
    EXPECT_EQ(c.clip_depth(), 0u); // no pop record could ever balance a push without its record
    c.begin(10, 10, {});
    EXPECT_TRUE(c.commands().empty());
}

TEST(Canvas, ArgumentsAreCheckedInOrderWithTheirMessages) {
    Canvas c;
    c.begin(200, 100, {});
    const std::function<void(Rect)> takes_a_rect[] = {[&](Rect r) { c.fill(r, 0, 0); },
                                                      [&](Rect r) { c.glass(r, {}, 0); },
                                                      [&](Rect r) { c.clip(r); },
                                                      [&](Rect r) { c.color_plane(r, 0); },
                                                      [&](Rect r) { c.ring(r, 0, 1, 1, 0); },
                                                      [&](Rect r) { c.push_clip(r, 0); }};
    for (Rect r : {Rect{NAN, 0, 1, 1}, Rect{0, 0, 1, -0.5f}})
        for (const auto& call : takes_a_rect)
            EXPECT_EQ(thrown<std::invalid_argument>([&] { call(r); }), "Invalid rectangle");
    Theme tinted;
    tinted.tint = 2;
    auto refused = [](const char* message, auto call) {
        EXPECT_EQ(thrown<std::invalid_argument>(call), message);
    };
    refused("stroke thickness", [&] { c.stroke({0, 0, -1, 4}, 0, NAN, 2); }); // before the rectangle
    refused("tint", [&] { c.glass({0, 0, 1, 1}, tinted, 0); });
    refused("Line endpoints", [&] { c.line({0, NAN}, {1, 1}, 0, 1); });
    refused("ring progress", [&] { c.ring({0, 0, 1, 1}, 0, 1, 1.01f, 0); });
    refused("hue", [&] { c.color_plane({0, 0, 1, 1}, 1.5f); });
    refused("text size", [&] { (void)c.text_width("x", 257, 400); });
    refused("corner radius", [&] { c.fill({0, 0, 4, 4}, 0, 4097); });
    refused("corner radius", [&] { c.push_clip({0, 0, 4, 4}, -1); });
    c.fill({-50, -50, 0, 0}, 0, 0); // negative positions and empty sizes are fine
}

TEST(Canvas, TextMeasuresByEstimateUntilAnEngineIsBound) {
    struct FakeText : TextEngine {
        int drawn = 0;
        void draw_text(Canvas&, const std::string&, Vec2, float, unsigned, int) override { ++drawn; }
        float measure(const std::string& s, float, int) const override { return float(s.size()); }
    };
    Canvas c;
    c.begin(200, 100, {});
    c.text("通知", {0, 0}, 10, 0xFFFFFFFF, 400);
    EXPECT_TRUE(c.commands().empty());
    EXPECT_EQ(c.text_width("通知", 10, 400), 12);
    EXPECT_FLOAT_EQ(c.text_width("a\nb", 10, 400), 18); // line feeds count as code points

    FakeText engine;
    c.renderer(&engine);
    c.text("abc", {3, 4}, 12, 0xFFFFFFFF, 600);
    EXPECT_EQ(engine.drawn, 1);
    EXPECT_EQ(c.text_width("abcd", 12, 400), 4);
    c.begin(10, 10, {}); // the binding outlives the frame
    EXPECT_EQ(c.renderer(), &engine);
}

TEST(Canvas, RepeatedFrameAllocatesNothing) {
    Canvas c;
    auto frame = [&] {
        c.begin(1280, 800, {});
        for (int i = 0; i < 500; ++i) {
            c.push_clip({0, 0, 100, 100}, 8);
            c.glass({float(i), 0, 40, 40}, c.theme(), 9);
            c.fill({0, 0, 10, 10}, 0xFF00FF00, 4);
            c.pop_clip();
        }
    };
    frame();
    frame();
    long before = allocations.load();
    frame();
    EXPECT_EQ(allocations.load(), before);
}
