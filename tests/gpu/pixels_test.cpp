// What the shaders put on screen, probed at pixels whose value the geometry decides.
#include "gpu_fixture.hpp"

#include <cstdlib>
#include <initializer_list>
#include <utility>
#include <vector>

namespace velmora::test {
namespace {

constexpr Rgba black{0, 0, 0, 255};
constexpr Rgba white{255, 255, 255, 255};
constexpr Rgba red{255, 0, 0, 255};
constexpr unsigned opaque_red = 0xFFFF0000u, opaque_white = 0xFFFFFFFFu;

// Colour channels within a tolerance; the shaders' coverage is analytic, not exact.
void expect_at(const Image& image, Rgba expected, std::initializer_list<std::pair<int, int>> points,
               int tolerance = 2) {
    for (auto [x, y] : points)
        for (int i = 0; i < 4; ++i)
            EXPECT_NEAR(image.at(x, y)[i], expected[i], tolerance)
                << "channel " << i << " at " << x << "," << y;
}

// Glass that shows what lies behind it unchanged, but for the blur.
ui::Theme clear_glass() {
    ui::Theme theme = ui::Theme::liquid();
    theme.antialiasing = 1;
    theme.refraction = theme.shine = theme.dispersion = 0;
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

    // A shaped clip ends exactly where a box of its shape does, edges and cubic corners alike,
    // at every coverage quality; the clip is large enough for the draw to be cut along it.
    const ui::Rect r{4.3f, 6.7f, 118, 112};
    for (int quality : {0, 1, 2})
        for (float radius : {24.0f, 6.0f, 0.0f}) {
            ui::Theme theme = analytic();
            theme.antialiasing = quality;
            const Image shaped = frame(
                [&] {
                    canvas.push_clip(r, radius);
                    canvas.fill(everything, opaque_red, 0);
                    canvas.pop_clip();
                },
                theme);
            const Image box = frame([&] { canvas.fill(r, opaque_red, radius); }, theme);
            EXPECT_EQ(shaped.bytes, box.bytes) << "quality " << quality << ", radius " << radius;
        }

    image = frame([&] {
        glEnable(GL_SCISSOR_TEST);
        glScissor(0, 0, size / 2, size); // the left half, in GL's bottom-up axes
        canvas.fill(everything, opaque_red, 0);
    });
    glDisable(GL_SCISSOR_TEST);
    expect_at(image, red, {{10, 10}});
    expect_at(image, black, {{100, 10}});
}

// Glass sees the scene frozen at the start of the frame or at the latest backdrop command,
// never what was drawn after it; blurred, it averages what it sees.
TEST_F(PixelTest, GlassSeesTheSceneAsOfTheLatestBackdropAndBlurAveragesIt) {
    for (bool backdrop : {false, true}) {
        Image image = frame([&] {
            canvas.fill({0, 0, size, size}, opaque_white, 0);
            if (backdrop) canvas.backdrop();
            canvas.glass({32, 32, 64, 64}, clear_glass(), 12);
        });
        expect_at(image, backdrop ? white : black, {{64, 64}}, 1);
    }

    ui::Theme frosted = clear_glass();
    frosted.blur = 1;
    Image image = frame(
        [&] {
            for (int x = 0; x < size; x += 6) canvas.fill({float(x), 0, 3, size}, opaque_white, 0);
            canvas.backdrop();
            canvas.glass({16, 16, 96, 96}, frosted, 18);
        },
        analytic(), 8);
    expect_at(image, {128, 128, 128, 255}, {{64, 64}}, 12);
}

// A widget scrolled far away leaves surfaces beyond any pixel index; a kind between whole
// numbers reads as its truncation everywhere, blur included.
TEST_F(PixelTest, FarSurfacesAndFractionalKindsDrawAsTheirPlainForms) {
    Image image = frame([&] {
        canvas.fill({0, 0, size, size}, opaque_white, 0);
        canvas.glass({-1e24f, 16, 1e20f, 32}, clear_glass(), 12);
        canvas.fill({16, 3e24f, 32, 32}, opaque_red, 12);
    });
    expect_at(image, white, {{0, 0}, {20, 20}, {127, 127}}, 0);

    ui::Theme frosted = clear_glass();
    frosted.blur = 1;
    auto scene = [&](unsigned color) {
        restart();
        canvas.fill({0, 0, size, size}, color, 0);
        canvas.backdrop();
        canvas.glass({16, 16, 96, 96}, frosted, 18);
    };
    scene(opaque_white);
    std::vector<float> commands(canvas.commands().front().slot, canvas.commands().back().slot + 64);
    for (std::size_t i = 0; i < commands.size(); i += 64)
        if (commands[i] == 0) commands[i] = 0.5f;
    scene(opaque_red); // leaves red in the blurred copy
    submit(8);
    vg_submit(commands.data(), commands.size(), static_cast<int>(commands.size() / 64), 0, vg_back_buffer,
              size, size, canvas.width(), canvas.height(), 8, -1, -1);
    const Image fractional = read();
    scene(opaque_white);
    submit(8);
    EXPECT_TRUE(fractional.bytes == read().bytes) << "a kind of 0.5 drew other pixels than glass";
}

} // namespace
} // namespace velmora::test
