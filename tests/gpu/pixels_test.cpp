// What the shaders put on screen, probed at pixels whose value the geometry decides.
#include "gpu_fixture.hpp"

#include <cstdlib>
#include <initializer_list>
#include <utility>

namespace velmora::test {
namespace {

constexpr Rgba black{0, 0, 0, 255};
constexpr Rgba white{255, 255, 255, 255};
constexpr Rgba red{255, 0, 0, 255};
constexpr unsigned opaque_red = 0xFFFF0000u, opaque_white = 0xFFFFFFFFu;

// Colour channels within a tolerance; the shaders' coverage is analytic, not exact.
::testing::AssertionResult near(Rgba actual, Rgba expected, int tolerance = 2) {
    for (int i = 0; i < 4; ++i)
        if (std::abs(actual[i] - expected[i]) > tolerance)
            return ::testing::AssertionFailure()
                   << "got " << actual[0] << "," << actual[1] << "," << actual[2] << "," << actual[3]
                   << " expected " << expected[0] << "," << expected[1] << "," << expected[2] << ","
                   << expected[3];
    return ::testing::AssertionSuccess();
}

void expect_at(const Image& image, Rgba expected, std::initializer_list<std::pair<int, int>> points,
               int tolerance = 2) {
    for (auto [x, y] : points)
        EXPECT_TRUE(near(image.at(x, y), expected, tolerance)) << "at " << x << "," << y;
}

ui::Theme clear_glass(float refraction) {
    ui::Theme theme = ui::Theme::liquid();
    theme.antialiasing = 1;
    theme.refraction = refraction;
    theme.shine = 0;
    theme.dispersion = 0;
    return theme;
}

class PixelTest : public GpuTest {
protected:
    // One frame on a black back buffer: what `draw` records, submitted and read back.
    template <class Draw> Image frame(Draw draw, const ui::Theme& theme = analytic(), float sigma = 0) {
        restart(theme);
        draw();
        submit(sigma);
        return read();
    }
    // Stripes along x behind a glass box, so a displacement along the contour normal shows.
    void stripes() {
        for (int x = 0; x < size; x += 6) canvas.fill({float(x), 0, 3, size}, opaque_white, 0);
    }
};

TEST_F(PixelTest, FilledRoundedBoxCoversItsBodyButNotItsCorners) {
    auto box = [&] { canvas.fill({16, 16, 96, 96}, opaque_red, 24); };
    Image image = frame(box);
    // The first column and last row are in, the pixels just past them and the corners are out.
    expect_at(image, red, {{64, 64}, {16, 64}, {64, 111}, {30, 30}});
    expect_at(image, black, {{15, 64}, {112, 64}, {17, 17}, {109, 110}});

    // HIGH coverage spreads an edge over neighbouring pixels without losing any of it.
    image = frame(box, ui::Theme{});
    EXPECT_GT(image.at(15, 64)[0], 0);
    EXPECT_LT(image.at(16, 64)[0], 255);
    EXPECT_NEAR(image.at(15, 64)[0] + image.at(16, 64)[0], 255, 2);
}

// With the longest handle the cubic corner runs much closer to the box's corner than a
// circular arc of the same radius: at t = .5 it passes 3 units in from both sides.
TEST_F(PixelTest, CubicCornersFollowTheHandleCircularOnesDoNot) {
    auto corner = [&](bool cubic) {
        ui::Theme theme = analytic();
        theme.cubic_corners = cubic;
        theme.corner_smoothing = 1;
        return frame([&] { canvas.fill({16, 16, 96, 96}, opaque_red, 24); }, theme);
    };
    Image cubic = corner(true);
    Image circle = corner(false);
    expect_at(cubic, red, {{20, 20}});
    expect_at(cubic, black, {{17, 17}}); // the corner point itself stays cut
    expect_at(circle, black, {{20, 20}});
    expect_at(circle, red, {{24, 24}});
}

TEST_F(PixelTest, StrokeStaysInsideItsContourAndLinesHaveRoundCaps) {
    Image image = frame([&] { canvas.stroke({16, 16, 96, 96}, opaque_white, 4, 0); });
    expect_at(image, white, {{16, 64}, {19, 64}, {111, 64}});
    expect_at(image, black, {{15, 64}, {20, 64}, {112, 64}, {64, 64}});

    image = frame([&] { canvas.line({32, 64}, {96, 64}, opaque_white, 8); });
    // (98, 64) lies in the cap beyond the end point; a square cap would also cover (99, 60).
    expect_at(image, white, {{64, 64}, {64, 61}, {98, 64}});
    expect_at(image, black, {{64, 69}, {101, 64}, {99, 60}, {28, 67}});
}

TEST_F(PixelTest, ShapedClipsAndTheHostScissorHideWhatLiesOutsideThem) {
    const ui::Rect everything{0, 0, size, size};
    // The scissor is widened again after each push so that only the shaped clip can hide.
    auto clipped = [&](ui::Rect clip, float radius) {
        return frame([&] {
            canvas.push_clip(clip, radius);
            canvas.clip(everything);
            canvas.fill(everything, opaque_red, 0);
            canvas.pop_clip();
            canvas.fill({0, 0, 8, 8}, opaque_white, 0); // after the pop nothing clips
        });
    };
    expect_at(clipped({32, 32, 0, 64}, 0), black, {{32, 64}, {64, 64}});
    Image image = clipped({32, 32, 64, 64}, 32);
    expect_at(image, red, {{64, 64}, {34, 64}});
    expect_at(image, black, {{36, 36}, {20, 64}}); // (36, 36) is outside the round clip, inside its box
    expect_at(image, white, {{4, 4}});

    image = frame([&] {
        glEnable(GL_SCISSOR_TEST);
        glScissor(0, 0, size / 2, size); // the left half, in GL's bottom-up axes
        canvas.fill(everything, opaque_red, 0);
    });
    glDisable(GL_SCISSOR_TEST);
    expect_at(image, red, {{10, 10}});
    expect_at(image, black, {{100, 10}});
}

TEST_F(PixelTest, RefractionBendsTheRimAndLeavesTheBody) {
    auto glass = [&](float refraction) {
        return frame([&] {
            stripes();
            canvas.backdrop();
            canvas.glass({16, 16, 96, 96}, clear_glass(refraction), 18);
        });
    };
    Image flat = glass(0);
    Image bent = glass(30);
    int rim_differences = 0;
    for (int x = 16; x < 26; ++x) rim_differences += bent.at(x, 64) != flat.at(x, 64);
    EXPECT_GE(rim_differences, 3);
    for (int y = 40; y < 88; ++y)
        for (int x = 40; x < 88; ++x) ASSERT_TRUE(near(bent.at(x, y), flat.at(x, y), 1)) << x << "," << y;
    // Without refraction, clear glass shows the scene behind it as it was.
    expect_at(flat, white, {{20, 64}}, 1);
    expect_at(flat, black, {{23, 64}}, 1);
}

// Glass sees the scene frozen at the start of the frame or at the latest backdrop command,
// never what was drawn after it; blurred, it averages what it sees.
TEST_F(PixelTest, GlassSeesTheSceneAsOfTheLatestBackdropAndBlurAveragesIt) {
    for (bool backdrop : {false, true}) {
        Image image = frame([&] {
            canvas.fill({0, 0, size, size}, opaque_white, 0);
            if (backdrop) canvas.backdrop();
            canvas.glass({32, 32, 64, 64}, clear_glass(0), 12);
        });
        expect_at(image, backdrop ? white : black, {{64, 64}}, 1);
    }

    ui::Theme frosted = clear_glass(0);
    frosted.blur = 1;
    Image image = frame(
        [&] {
            stripes();
            canvas.backdrop();
            canvas.glass({16, 16, 96, 96}, frosted, 18);
        },
        analytic(), 8);
    expect_at(image, {128, 128, 128, 255}, {{64, 64}}, 12);
}

} // namespace
} // namespace velmora::test
