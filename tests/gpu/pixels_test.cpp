// What the shaders put on screen, probed at pixels whose value the geometry decides.
#include "gpu_fixture.hpp"

#include <cstdlib>

namespace velmora::test {
namespace {

constexpr Rgba black{0, 0, 0, 255};
constexpr Rgba white{255, 255, 255, 255};
constexpr Rgba red{255, 0, 0, 255};

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

class PixelTest : public GpuTest {
protected:
    // Stripes along x behind a glass box, so a displacement along the contour normal shows.
    void stripes() {
        for (int x = 0; x < size; x += 6) canvas.fill({float(x), 0, 3, size}, 0xFFFFFFFFu, 0);
    }
};

TEST_F(PixelTest, FilledRoundedBoxCoversItsBodyButNotItsCorners) {
    canvas.fill({16, 16, 96, 96}, 0xFFFF0000u, 24);
    submit();
    Image image = read();
    EXPECT_TRUE(near(image.at(64, 64), red));
    EXPECT_TRUE(near(image.at(16, 64), red));   // first column of the straight side
    EXPECT_TRUE(near(image.at(64, 111), red));  // last row
    EXPECT_TRUE(near(image.at(15, 64), black)); // just outside
    EXPECT_TRUE(near(image.at(112, 64), black));
    EXPECT_TRUE(near(image.at(17, 17), black)); // cut away by the corner
    EXPECT_TRUE(near(image.at(109, 110), black));
    EXPECT_TRUE(near(image.at(30, 30), red)); // inside the corner's curve

    // HIGH coverage spreads an edge over neighbouring pixels without losing any of it.
    restart(ui::Theme{});
    canvas.fill({16, 16, 96, 96}, 0xFFFF0000u, 24);
    submit();
    image = read();
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
        restart(theme);
        canvas.fill({16, 16, 96, 96}, 0xFFFF0000u, 24);
        submit();
        return read();
    };
    Image cubic = corner(true);
    Image circle = corner(false);
    EXPECT_TRUE(near(cubic.at(20, 20), red));
    EXPECT_TRUE(near(circle.at(20, 20), black));
    EXPECT_TRUE(near(circle.at(24, 24), red));
    EXPECT_TRUE(near(cubic.at(17, 17), black)); // the corner point itself stays cut
}

TEST_F(PixelTest, ScaleMapsLogicalUnitsOntoPixels) {
    canvas.begin(64, 64, analytic());
    canvas.fill({16, 0, 16, 64}, 0xFFFF0000u, 0);
    submit(0, size);
    Image image = read();
    EXPECT_TRUE(near(image.at(31, 64), black));
    EXPECT_TRUE(near(image.at(32, 64), red));
    EXPECT_TRUE(near(image.at(63, 64), red));
    EXPECT_TRUE(near(image.at(64, 64), black));
}

TEST_F(PixelTest, StrokeStaysInsideItsContour) {
    canvas.stroke({16, 16, 96, 96}, 0xFFFFFFFFu, 4, 0);
    submit();
    Image image = read();
    EXPECT_TRUE(near(image.at(15, 64), black));
    EXPECT_TRUE(near(image.at(16, 64), white));
    EXPECT_TRUE(near(image.at(19, 64), white));
    EXPECT_TRUE(near(image.at(20, 64), black));
    EXPECT_TRUE(near(image.at(111, 64), white));
    EXPECT_TRUE(near(image.at(112, 64), black));
    EXPECT_TRUE(near(image.at(64, 64), black));
}

TEST_F(PixelTest, ShapedClipsHideWhatLiesOutsideThem) {
    const ui::Rect everything{0, 0, size, size};
    // The scissor is widened again after each push so that only the shaped clip can hide.
    canvas.push_clip({32, 32, 0, 64}, 0);
    canvas.clip(everything);
    canvas.fill(everything, 0xFFFF0000u, 0);
    canvas.pop_clip();
    submit();
    Image image = read();
    EXPECT_TRUE(near(image.at(32, 64), black));
    EXPECT_TRUE(near(image.at(64, 64), black));

    restart();
    canvas.push_clip({32, 32, 64, 64}, 32);
    canvas.clip(everything);
    canvas.fill(everything, 0xFFFF0000u, 0);
    canvas.pop_clip();
    canvas.fill({0, 0, 8, 8}, 0xFFFFFFFFu, 0); // after the pop nothing clips
    submit();
    image = read();
    EXPECT_TRUE(near(image.at(64, 64), red));
    EXPECT_TRUE(near(image.at(34, 64), red));
    EXPECT_TRUE(near(image.at(36, 36), black)); // outside the round clip, inside its box
    EXPECT_TRUE(near(image.at(20, 64), black));
    EXPECT_TRUE(near(image.at(4, 4), white));
}

TEST_F(PixelTest, HostScissorLimitsTheFrame) {
    glEnable(GL_SCISSOR_TEST);
    glScissor(0, 0, size / 2, size); // the left half, in GL's bottom-up axes
    canvas.fill({0, 0, size, size}, 0xFFFF0000u, 0);
    submit();
    glDisable(GL_SCISSOR_TEST);
    Image image = read();
    EXPECT_TRUE(near(image.at(10, 10), red));
    EXPECT_TRUE(near(image.at(100, 10), black));
}

TEST_F(PixelTest, ClosedAndPartialRings) {
    // Thickness 6 on a 64 box: the ring's centre line has radius 32 - 3 - 1 = 28.
    canvas.ring({32, 32, 64, 64}, 0xFFFFFFFFu, 6, 1, 0);
    submit();
    Image image = read();
    for (auto [x, y] : {std::pair{64, 36}, {92, 64}, {64, 92}, {36, 64}})
        EXPECT_TRUE(near(image.at(x, y), white));
    EXPECT_TRUE(near(image.at(64, 64), black));
    EXPECT_TRUE(near(image.at(64, 43), black));

    // A quarter turn clockwise from the top, with round ends.
    restart();
    canvas.ring({32, 32, 64, 64}, 0xFFFFFFFFu, 6, 0.25f, 0);
    submit();
    image = read();
    EXPECT_TRUE(near(image.at(83, 44), white)); // 45 degrees into the sweep
    EXPECT_TRUE(near(image.at(64, 92), black)); // opposite side
    EXPECT_TRUE(near(image.at(36, 64), black));
    EXPECT_TRUE(near(image.at(62, 36), white)); // the round cap reaches back past the start
    EXPECT_TRUE(near(image.at(58, 36), black));

    restart();
    canvas.ring({32, 32, 64, 64}, 0xFFFFFFFFu, 6, 0, 0);
    submit();
    EXPECT_TRUE(near(read().at(64, 36), black)); // progress 0 draws nothing
}

TEST_F(PixelTest, LineHasRoundCaps) {
    canvas.line({32, 64}, {96, 64}, 0xFFFFFFFFu, 8);
    submit();
    Image image = read();
    EXPECT_TRUE(near(image.at(64, 64), white));
    EXPECT_TRUE(near(image.at(64, 61), white));
    EXPECT_TRUE(near(image.at(64, 69), black));
    EXPECT_TRUE(near(image.at(98, 64), white)); // cap beyond the end point
    EXPECT_TRUE(near(image.at(101, 64), black));
    EXPECT_TRUE(near(image.at(99, 60), black)); // a square cap would cover this corner
    EXPECT_TRUE(near(image.at(28, 67), black));
}

TEST_F(PixelTest, ColourPlaneRunsSaturationRightAndValueUp) {
    canvas.color_plane({0, 0, size, size}, 0); // red hue
    submit();
    Image image = read();
    EXPECT_TRUE(near(image.at(0, 0), white, 4));
    EXPECT_TRUE(near(image.at(size - 1, 0), red, 4));
    EXPECT_TRUE(near(image.at(0, size - 1), black, 4));
    EXPECT_TRUE(near(image.at(size - 1, size - 1), black, 4));
    Rgba middle = image.at(size / 2, size / 2);
    EXPECT_GT(middle[0], middle[1]);
    EXPECT_TRUE(near({middle[1], middle[2], 0, 255}, {middle[1], middle[1], 0, 255}, 1));
}

TEST_F(PixelTest, BackgroundPalettesGridAndOpaqueColours) {
    auto background = [](int grid, int palette, unsigned alpha) {
        vg_background(size, size, 1, grid, palette, alpha | 0x000000u, alpha | 0xFFFFFFu);
        return read();
    };
    Image dark = background(0, 0, 0xFF000000u);
    Image light = background(0, 1, 0xFF000000u);
    EXPECT_NE(dark.bytes, light.bytes);
    EXPECT_EQ(dark.at(64, 64)[3], 255);

    // Each palette with its theme's colours lands in its own range of brightness.
    for (const ui::Theme& theme : {ui::Theme{}, ui::Theme::light()}) {
        vg_background(size, size, 1, 1, theme.dark ? 0 : 1, theme.background, theme.background_accent);
        Image image = read();
        for (auto [x, y] : {std::pair{5, 5}, {64, 64}, {120, 100}}) {
            if (theme.dark)
                EXPECT_LT(image.at(x, y)[0], 0x50);
            else
                EXPECT_GT(image.at(x, y)[0], 0xD0);
        }
    }

    // The packed alpha is ignored.
    EXPECT_EQ(background(0, 0, 0u).bytes, dark.bytes);

    // Grid lines every 34 pixels; the columns between them are untouched.
    Image grid = background(1, 0, 0xFF000000u);
    EXPECT_NE(grid.at(33, 64), dark.at(33, 64));
    EXPECT_EQ(grid.at(17, 64), dark.at(17, 64));
    EXPECT_STREQ(vg_error(), "");
}

ui::Theme clear_glass(float refraction) {
    ui::Theme theme = ui::Theme::liquid();
    theme.antialiasing = 1;
    theme.refraction = refraction;
    theme.shine = 0;
    theme.dispersion = 0;
    return theme;
}

TEST_F(PixelTest, RefractionBendsTheRimAndLeavesTheBody) {
    auto frame = [&](float refraction) {
        restart();
        stripes();
        canvas.backdrop();
        canvas.glass({16, 16, 96, 96}, clear_glass(refraction), 18);
        submit();
        return read();
    };
    Image flat = frame(0);
    Image bent = frame(30);

    int rim_differences = 0;
    for (int x = 16; x < 26; ++x) rim_differences += bent.at(x, 64) != flat.at(x, 64);
    EXPECT_GE(rim_differences, 3);
    for (int y = 40; y < 88; ++y)
        for (int x = 40; x < 88; ++x) ASSERT_TRUE(near(bent.at(x, y), flat.at(x, y), 1)) << x << "," << y;
    // Without refraction, clear glass shows the scene behind it as it was.
    EXPECT_TRUE(near(flat.at(20, 64), Rgba{255, 255, 255, 255}, 1));
    EXPECT_TRUE(near(flat.at(23, 64), black, 1));
}

// Glass sees the scene frozen at the start of the frame or at the latest backdrop command,
// never what was drawn after it.
TEST_F(PixelTest, GlassSeesTheSceneAsOfTheLatestBackdrop) {
    auto body = [&](bool backdrop) {
        restart();
        canvas.fill({0, 0, size, size}, 0xFFFFFFFFu, 0);
        if (backdrop) canvas.backdrop();
        canvas.glass({32, 32, 64, 64}, clear_glass(0), 12);
        submit();
        return read().at(64, 64);
    };
    EXPECT_TRUE(near(body(false), black, 1));
    EXPECT_TRUE(near(body(true), white, 1));
}

TEST_F(PixelTest, BlurredGlassAveragesTheStripes) {
    stripes();
    canvas.backdrop();
    ui::Theme frosted = clear_glass(0);
    frosted.blur = 1;
    canvas.glass({16, 16, 96, 96}, frosted, 18);
    submit(8);
    Rgba body = read().at(64, 64);
    EXPECT_TRUE(near(body, {128, 128, 128, 255}, 12));
}

TEST_F(PixelTest, ReadPixelsDeliversRowsBottomFirst) {
    canvas.fill({0, 0, size, 1}, 0xFFFF0000u, 0);        // top row of the frame
    canvas.fill({0, size - 1, size, 1}, 0xFF0000FFu, 0); // bottom row
    submit();
    std::vector<std::uint8_t> pixels(size * size * 4);
    vg_read_pixels(size, size, pixels.data(), pixels.size());
    EXPECT_EQ(pixels[0], 0); // first row delivered: the bottom one, blue
    EXPECT_EQ(pixels[2], 255);
    EXPECT_EQ(pixels[(size - 1) * size * 4], 255);
}

} // namespace
} // namespace velmora::test
