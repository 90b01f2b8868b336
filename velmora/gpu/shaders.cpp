// The seven GLSL texts of the backend, compiled by vg_open into five programs.
//
// Index: text assembly | full-screen vertex | background | blur | rect vertex | contour block |
//        glass | shape | glyph | the table
//
// The contour block (cubic corner, box field, coverage, shaped clips) exists once below and is
// spliced into the glass, shape and glyph texts at compile time, so the visible surface and
// the clip of its content always come from the same distance function.
#include "velmora/gpu/vg.hpp"

#include <array>
#include <cstddef>

namespace {

// ---- text assembly ------------------------------------------------------------------------

// Joins string literals into one NUL-terminated array at compile time.
template <std::size_t... N> constexpr auto join(const char (&... parts)[N]) {
    std::array<char, (N + ...) - sizeof...(N) + 1> out{};
    std::size_t at = 0;
    auto append = [&](const char* part, std::size_t size) {
        for (std::size_t i = 0; i + 1 < size; ++i) out[at++] = part[i];
    };
    (append(parts, N), ...);
    out[at] = '\0';
    return out;
}

constexpr char version[] = "#version 330 core\n";

// ---- full-screen vertex -------------------------------------------------------------------

// One triangle over the whole target: ids 0, 1, 2 give (0,0), (2,0), (0,2).
constexpr char fullscreen_vertex_body[] = R"(
out vec2 uv;
void main() {
    vec2 p = vec2(float((gl_VertexID << 1) & 2), float(gl_VertexID & 2));
    uv = p;
    gl_Position = vec4(p * 2.0 - 1.0, 0.0, 1.0);
}
)";

// ---- background ---------------------------------------------------------------------------

constexpr char background_body[] = R"(
in vec2 uv;
out vec4 color;
uniform vec2 res;
uniform float time;
uniform float grid;
uniform float palette;
uniform vec4 backgroundColor;
uniform vec4 backgroundAccent;
float square(float x) { return x * x; }
void main() {
    vec2 p = uv;
    bool light = palette > .5;
    float wave = sin(p.x * 3.8 + p.y * 2.1 + time * .065) * .16 + .48;
    float fold = exp(-square((p.y - wave) * 9.0));
    float roll = exp(-square((p.y - (.27 + .21 * sin(p.x * 3.2 - time * .045))) * 16.0));
    float base = .095 + .11 * p.y + .045 * p.x + fold * .14 - roll * .045;
    if (light) base = .91 - .095 * p.y - .055 * fold + .035 * roll;
    if (grid > .5) {
        vec2 q = abs(fract(p * res / 34.0 - .5) - .5) * 34.0;
        float line = 1.0 - smoothstep(.45, 1.25, min(q.x, q.y));
        base = mix(base, light ? .27 : .55, line * .40);
    }
    float shade = light ? clamp((base - .76) / .18, 0.0, 1.0) : clamp((base - .07) / .34, 0.0, 1.0);
    color = vec4(mix(backgroundColor.rgb, backgroundAccent.rgb, shade), 1.0);
}
)";

// ---- blur ---------------------------------------------------------------------------------

// One axis of a separable Gaussian; weights are computed per tap and normalised by what was
// actually summed, so the hard 64-tap bound never darkens the result. Taps read single texels
// (clamped to the edge) rather than filtering: a bilinear fetch reads four texels, and the one
// that merges two taps would round differently.
constexpr char blur_body[] = R"(
out vec4 color;
uniform sampler2D src;
uniform vec2 stepv;
uniform float sigma;
void main() {
    ivec2 at = ivec2(gl_FragCoord.xy);
    if (sigma < .01) {
        color = texelFetch(src, at, 0);
        return;
    }
    float r = ceil(3.0 * sigma);
    float inv = .5 / (sigma * sigma);
    ivec2 last = textureSize(src, 0) - 1;
    ivec2 axis = stepv.x > 0.0 ? ivec2(1, 0) : ivec2(0, 1);
    vec4 sum = texelFetch(src, at, 0);
    float total = 1.0;
    for (int i = 1; i <= 64; ++i) {
        float fi = float(i);
        if (fi > r) break;
        float w = exp(-fi * fi * inv);
        ivec2 d = axis * i;
        sum += (texelFetch(src, clamp(at + d, ivec2(0), last), 0) + texelFetch(src, clamp(at - d, ivec2(0), last), 0)) * w;
        total += 2.0 * w;
    }
    color = sum / total;
}
)";

// ---- rect vertex --------------------------------------------------------------------------

// Six vertices without attributes per command: vertex 6 i + k is corner k of command i of the
// uniform block's window, whose 16 vec4 are the command's 64 floats (slot 22 holding the blur
// weight the frame gives glass). The quad overreaches the shape by a pad so anti-aliased edges
// are never cut; glyph cells and the colour plane map exactly. The command's values reach the
// fragment stage as flat varyings. The y flip lives here only.
constexpr char rect_vertex_body[] = R"(
#ifndef COMMAND_SLOTS
#define COMMAND_SLOTS 4096
#endif
layout(std140) uniform Commands {
    vec4 slots[COMMAND_SLOTS];
};
uniform vec2 view;
flat out int kind;
flat out vec4 rect;
flat out vec4 ink;
flat out vec4 extra;
flat out vec4 texRect;
flat out vec4 optics;
flat out vec4 material;
flat out vec4 cornerRadii;
flat out vec4 cornerHandles;
flat out vec4 quality;
flat out vec4 highlightColor;
flat out vec4 shadowColor;
out vec2 pui;
out vec2 uv;
const vec2 P[6] = vec2[6](vec2(0.0, 0.0), vec2(1.0, 0.0), vec2(0.0, 1.0),
                          vec2(0.0, 1.0), vec2(1.0, 0.0), vec2(1.0, 1.0));
int base;
float at(int i) { return slots[base + i / 4][i % 4]; }
vec4 at4(int i) { return slots[base + i / 4]; }
void main() {
    base = gl_VertexID / 6 * 16;
    kind = int(at(0));
    rect = vec4(at(1), at(2), at(3), at(4));
    ink = vec4(at(6), at(7), at(8), at(9));
    extra = vec4(at(10), at(11), at(12), at(46));
    texRect = vec4(at(13), at(14), at(15), at(16));
    optics = vec4(at(23), at(26), at(22), 0.0);
    material = vec4(at(25), at(24), 0.0, 0.0);
    quality = vec4(at(27), at(44), at(45), 0.0);
    cornerRadii = at4(28);
    cornerHandles = at4(32);
    highlightColor = at4(36);
    shadowColor = at4(40);

    uv = P[gl_VertexID % 6];
    vec2 pos = rect.xy;
    vec2 sz = rect.zw;
    float pad = 2.0;
    if (kind == 4) {
        pos = min(rect.xy, rect.xy + rect.zw);
        sz = abs(rect.zw);
        pad = max(2.0, extra.x * .5 + 2.0);
    }
    pui = pos - pad + uv * (sz + 2.0 * pad);
    if (kind == 2 || kind == 5) pui = rect.xy + uv * rect.zw;
    vec2 n = pui / view * 2.0 - 1.0;
    gl_Position = vec4(n.x, -n.y, 0.0, 1.0);
}
)";

// ---- contour block ------------------------------------------------------------------------

// A corner is a cubic from (0, r) to (r, 0) in inward coordinates (distance in from the two
// sides). Its distance is found numerically: a coarse bracket of 9 samples, then 14 golden-
// section steps, all bounded at compile time.
//
// The corner search and the clip loop cost every fragment they are compiled into, taken or
// not, so the backend builds variants with some of them switched off; all are on by default.
// With CUBIC_CORNERS off a cubic surface is right only outside its corner squares.
constexpr char contour_block[] = R"(
#ifndef CUBIC_CORNERS
#define CUBIC_CORNERS 1
#endif
#ifndef SHAPED_CLIPS
#define SHAPED_CLIPS 1
#endif
#ifndef CUBIC_CLIPS
#define CUBIC_CLIPS 1
#endif
flat in vec4 cornerRadii;
flat in vec4 cornerHandles;
flat in vec4 quality;

// The shaped clips: the count in [0].x, then per clip its box, radii, handles and info
// (cubic, coverage mode).
uniform vec4 shapeClips[129];

vec2 cubicPoint(float t, float r, float k) {
    float u = 1.0 - t;
    return vec2(3.0 * u * t * t * (1.0 - k) + t * t * t, u * u * u + 3.0 * u * u * t * (1.0 - k)) * r;
}

vec2 cubicDerivative(float t, float r, float k) {
    float u = 1.0 - t;
    return 3.0 * r * vec2(2.0 * u * t * (1.0 - k) + t * t * k, -u * u * k - 2.0 * u * t * (1.0 - k));
}

float cubicDistance2(vec2 q, float t, float r, float k) {
    vec2 d = q - cubicPoint(t, r, k);
    return dot(d, d);
}

vec3 cubicCorner(vec2 q, float r, float k) {
    float bestT = 0.0;
    float bestD = cubicDistance2(q, 0.0, r, k);
    for (int i = 1; i <= 8; ++i) {
        float t = float(i) * 0.125;
        float d = cubicDistance2(q, t, r, k);
        if (d < bestD) {
            bestD = d;
            bestT = t;
        }
    }
    float lo = max(0.0, bestT - .125);
    float hi = min(1.0, bestT + .125);
    float a = mix(lo, hi, .38196601125);
    float b = mix(lo, hi, .61803398875);
    float fa = cubicDistance2(q, a, r, k);
    float fb = cubicDistance2(q, b, r, k);
    for (int i = 0; i < 14; ++i) {
        if (fa < fb) {
            hi = b;
            b = a;
            fb = fa;
            a = mix(lo, hi, .38196601125);
            fa = cubicDistance2(q, a, r, k);
        } else {
            lo = a;
            a = b;
            fa = fb;
            b = mix(lo, hi, .61803398875);
            fb = cubicDistance2(q, b, r, k);
        }
    }
    float t = (lo + hi) * .5;
    float d = cubicDistance2(q, t, r, k);
    if (d > bestD) {
        t = bestT;
        d = bestD;
    }
    vec2 point = cubicPoint(t, r, k);
    vec2 tangent = cubicDerivative(t, r, k);
    vec2 outward = normalize(vec2(tangent.y, -tangent.x));
    vec2 delta = q - point;
    float side = dot(delta, outward) >= 0.0 ? 1.0 : -1.0;
    float dist = sqrt(max(d, 0.0));
    vec2 normal = dist > 1e-5 ? side * delta / dist : outward;
    return vec3(normal, side * dist);
}

vec3 boxFieldProfile(vec2 point, vec4 box, vec4 radii, vec4 handles, float cubic, bool search) {
    vec2 halfSize = box.zw * .5;
    vec2 local = point - box.xy - halfSize;
    bool right = local.x >= 0.0;
    bool bottom = local.y >= 0.0;
    int index = bottom ? (right ? 2 : 3) : (right ? 1 : 0);
    float radius = clamp(radii[index], 0.0, min(halfSize.x, halfSize.y));
    vec2 inward = halfSize - abs(local);
    vec2 orientation = vec2(right ? -1.0 : 1.0, bottom ? -1.0 : 1.0);
    if (search && cubic > .5 && radius > 1e-5 && inward.x < radius && inward.y < radius) {
        vec3 field = cubicCorner(inward, radius, clamp(handles[index], .55228475, 1.0));
        return vec3(field.xy * orientation, field.z);
    }
    float rr = cubic > .5 ? 0.0 : radius;
    vec2 q = abs(local) - halfSize + rr;
    vec2 o = max(q, 0.0);
    float d = length(o) + min(max(q.x, q.y), 0.0) - rr;
    vec2 n = dot(o, o) > 1e-9 ? normalize(o) : (q.x > q.y ? vec2(1.0, 0.0) : vec2(0.0, 1.0));
    n *= vec2(local.x < 0.0 ? -1.0 : 1.0, local.y < 0.0 ? -1.0 : 1.0);
    return vec3(n, d);
}

vec3 boxField(vec2 point, vec4 box) {
    return boxFieldProfile(point, box, cornerRadii, cornerHandles, quality.y, CUBIC_CORNERS != 0);
}

float coverageMode(float d, vec2 gradient, float mode) {
    if (mode < .5) return d <= 0.0 ? 1.0 : 0.0;
    if (mode < 1.5) {
        float width = max(abs(gradient.x) + abs(gradient.y), 1e-5);
        return clamp(.5 - d / width, 0.0, 1.0);
    }
    float width = max(length(gradient) * .80, 1e-5);
    vec2 o = gradient * .25;
    return .25 * (clamp(.5 - (d + o.x + o.y) / width, 0.0, 1.0) + clamp(.5 - (d + o.x - o.y) / width, 0.0, 1.0) +
                  clamp(.5 - (d - o.x + o.y) / width, 0.0, 1.0) + clamp(.5 - (d - o.x - o.y) / width, 0.0, 1.0));
}

float coverageAt(float d, vec2 gradient) {
    return coverageMode(d, gradient, quality.x);
}

float contentCoverage(vec2 point) {
#if SHAPED_CLIPS
    vec2 dx = dFdx(point);
    vec2 dy = dFdy(point);
    float result = 1.0;
    int count = int(shapeClips[0].x);
    for (int i = 0; i < 32; ++i) {
        if (i >= count) break;
        vec4 box = shapeClips[1 + 4 * i];
        if (box.z <= 0.0 || box.w <= 0.0) return 0.0;
        vec4 info = shapeClips[4 + 4 * i];
        vec3 f = boxFieldProfile(point, box, shapeClips[2 + 4 * i], shapeClips[3 + 4 * i], info.x, CUBIC_CLIPS != 0);
        vec2 gradient = vec2(dot(f.xy, dx), dot(f.xy, dy));
        result = min(result, coverageMode(f.z, gradient, info.y));
    }
    return result;
#else
    return 1.0;
#endif
}
)";

// ---- glass --------------------------------------------------------------------------------

// Refraction pulls the sample point inward along the contour normal and saturates at four
// fifths of the bevel. GLASS_INSIDE compiles what is left of it all far enough inside the
// surface, where the bend, the dispersion and the rim terms are exactly zero. Chromatic splitting reads the
// sharp scene so it survives any blur, and only its luminance-free difference is added.
constexpr char glass_body[] = R"(
#ifndef GLASS_INSIDE
#define GLASS_INSIDE 0
#endif
in vec2 pui;
in vec2 uv;
out vec4 color;
uniform sampler2D sharpTex;
uniform sampler2D blurTex;
uniform vec2 view;
uniform vec4 pointerv;
flat in vec4 rect;
flat in vec4 optics;
flat in vec4 material;
flat in vec4 ink;
flat in vec4 highlightColor;
flat in vec4 shadowColor;
const vec3 LUMA = vec3(.2126, .7152, .0722);

vec2 tuv(vec2 p) {
    vec2 u = p / view;
    return vec2(u.x, 1.0 - u.y);
}

vec3 sampleBg(vec2 p) {
    return mix(texture(sharpTex, tuv(p)), texture(blurTex, tuv(p)), clamp(optics.z, 0.0, 1.0)).rgb;
}

vec3 addChromatic(vec3 base, vec3 delta) {
    float limit = 1.0;
    for (int i = 0; i < 3; ++i) {
        if (delta[i] > .00001) limit = min(limit, (1.0 - base[i]) / delta[i]);
        else if (delta[i] < -.00001) limit = min(limit, -base[i] / delta[i]);
    }
    return base + delta * clamp(limit, 0.0, 1.0);
}

void main() {
    vec2 h = rect.zw * .5;
    vec2 c = rect.xy + h;
#if GLASS_INSIDE
    // Past the rim: no bend, no dispersion, no rim light or shadow, the surface fully covered.
    float cov = contentCoverage(pui);
    if (cov <= 0.0) discard;
    vec3 g = mix(sampleBg(pui), ink.rgb, clamp(material.x, 0.0, 1.0));
    float strength = clamp(material.y, 0.0, 1.5);
#else
    vec3 field = boxField(pui, rect);
    float d = field.z;
    vec2 n = field.xy;
    vec2 dx = dFdx(pui);
    vec2 dy = dFdy(pui);
    vec2 gradient = vec2(dot(n, dx), dot(n, dy));
    float aa = max(abs(gradient.x) + abs(gradient.y), .001);
    float cov = min(coverageAt(d, gradient), contentCoverage(pui));
    if (cov <= 0.0) discard;

    float rr = max(max(cornerRadii.x, cornerRadii.y), max(cornerRadii.z, cornerRadii.w));
    float bevel = min(clamp(rr * .45 + 2.0, 3.0, 10.0), min(h.x, h.y) * .46);
    float edge = 1.0 - clamp(-d / max(bevel, .001), 0.0, 1.0);
    float bend = edge * edge;
    float refraction = (1.0 - exp(-max(optics.x, 0.0) / 12.0)) * bevel * .80;
    vec2 rp = pui - n * bend * refraction;

    float tint = clamp(material.x, 0.0, 1.0);
    vec3 g = mix(sampleBg(rp), ink.rgb, tint);

    float ch = clamp(optics.y, 0.0, 2.0) * bend;
    if (ch > .0001) {
        vec3 source = texture(sharpTex, tuv(rp)).rgb;
        vec3 split = vec3(texture(sharpTex, tuv(rp + n * ch)).r, source.g, texture(sharpTex, tuv(rp - n * ch)).b);
        vec3 delta = split - source;
        delta -= dot(delta, LUMA);
        g = addChromatic(g, delta * (.90 * edge) * (1.0 - tint));
    }

    vec2 mouse = clamp((pointerv.xy - c) / max(view, vec2(1.0)), -1.0, 1.0);
    vec3 light = normalize(vec3(-.42 + mouse.x * .42, -.70 + mouse.y * .42, 1.0));
    float facing = dot(n, light.xy);
    float front = max(facing, 0.0);
    float back = max(-facing, 0.0);
    float edgeWidth = max(aa * .85, .65);
    float rimX = d / edgeWidth;
    float rim = exp2(-2.0 * rimX * rimX);
    float strength = clamp(material.y, 0.0, 1.5);
    float edge2 = edge * edge;
    float reflected = (.085 + .78 * front * front) * rim + .060 * edge2 * edge2 * front;
    float reflection = 1.0 - exp(-reflected * strength);
    float luminance = dot(g, LUMA);
    float occlusion = ((.040 * luminance + .24 * back * back + .045 * back) * rim + .022 * edge2 * edge * back) * strength;
    g = mix(g, shadowColor.rgb, (1.0 - exp(-occlusion)) * shadowColor.a);
    g = mix(g, highlightColor.rgb, reflection * highlightColor.a);

#endif
    vec2 q = (pui - pointerv.xy) / max(vec2(110.0), h);
    g = mix(g, highlightColor.rgb, exp(-dot(q, q) * 2.0) * .008 * strength * highlightColor.a);

    float a = cov * ink.a;
    color = vec4(clamp(g, 0.0, 1.0) * a, a);
}
)";

// ---- shape --------------------------------------------------------------------------------

// Boxes take their gradient from the analytic normal; rings and lines differentiate the
// distance itself. Boxes are most of what is drawn: BOXES_ONLY compiles them alone.
constexpr char shape_body[] = R"(
#ifndef BOXES_ONLY
#define BOXES_ONLY 0
#endif
in vec2 pui;
in vec2 uv;
out vec4 color;
flat in vec4 rect;
flat in vec4 ink;
flat in int kind;
flat in vec4 extra;

vec3 hsv(float h, float s, float v) {
    vec3 rgb = clamp(abs(mod(h * 6.0 + vec3(0.0, 4.0, 2.0), 6.0) - 3.0) - 1.0, 0.0, 1.0);
    return v * mix(vec3(1.0), rgb, s);
}

// Rings, lines and the colour plane.
void otherShape(float clipAlpha) {
    if (kind == 5) {
        float a = ink.a * clipAlpha;
        color = vec4(hsv(extra.y, uv.x, 1.0 - uv.y) * a, a);
        return;
    }
    vec2 p = pui - (rect.xy + rect.zw * .5);
    float d;
    if (kind == 4) {
        vec2 a = pui - rect.xy;
        vec2 b = rect.zw;
        d = length(a - b * clamp(dot(a, b) / max(dot(b, b), .00001), 0.0, 1.0)) - extra.x * .5;
    } else {
        float r = min(rect.z, rect.w) * .5 - extra.x * .5 - 1.0;
        d = abs(length(p) - r) - extra.x * .5;
        if (extra.y < .9999) {
            float angle = mod(atan(p.x, -p.y) / 6.2831853 - extra.z + 2.0, 1.0);
            if (angle > extra.y) {
                vec2 a = vec2(sin(extra.z * 6.2831853), -cos(extra.z * 6.2831853)) * r;
                float e = extra.z + extra.y;
                vec2 b = vec2(sin(e * 6.2831853), -cos(e * 6.2831853)) * r;
                d = min(length(p - a), length(p - b)) - extra.x * .5;
            }
        }
        if (extra.y <= 0.0) discard;
    }
    vec2 gradient = vec2(dFdx(d), dFdy(d));
    float alpha = min(coverageAt(d, gradient), clipAlpha) * ink.a;
    color = vec4(ink.rgb * alpha, alpha);
}

void main() {
    float clipAlpha = contentCoverage(pui);
    if (BOXES_ONLY == 0 && kind != 1) {
        otherShape(clipAlpha);
        return;
    }
    vec3 field = boxField(pui, rect);
    float d = field.z;
    if (extra.x > 0.0) d = abs(d + extra.x * .5) - extra.x * .5;
    vec2 gradient = vec2(dot(field.xy, dFdx(pui)), dot(field.xy, dFdy(pui)));
    float alpha = min(coverageAt(d, gradient), clipAlpha) * ink.a;
    color = vec4(ink.rgb * alpha, alpha);
}
)";

// ---- glyph --------------------------------------------------------------------------------

// The clip multiplies glyph coverage, where the other stages take a minimum. BITMAP_GLYPHS
// compiles the bitmap path alone.
constexpr char glyph_body[] = R"(
#ifndef BITMAP_GLYPHS
#define BITMAP_GLYPHS 0
#endif
in vec2 pui;
in vec2 uv;
out vec4 color;
uniform sampler2D atlas;
flat in vec4 texRect;
flat in vec4 ink;
flat in vec4 extra;

float sdfCoverage(vec2 coord, float screenRange) {
    float d = texture(atlas, coord).r - .5;
    if (quality.x < .5) return step(0.0, d);
    return clamp(.5 + d * screenRange * quality.z, 0.0, 1.0);
}

void main() {
    vec2 coord = texRect.xy + uv * texRect.zw;
    if (extra.w > .5) { // a colour glyph: premultiplied texels, only faded by the ink's alpha
        color = texture(atlas, coord) * (contentCoverage(pui) * ink.a);
        return;
    }
    float coverage;
    if (BITMAP_GLYPHS == 0 && extra.y > .5) {
        vec2 unitRange = vec2(2.0 * extra.z) / vec2(textureSize(atlas, 0));
        vec2 footprint = max(fwidth(coord), vec2(1e-8));
        float screenRange = max(.5 * dot(unitRange, 1.0 / footprint), 1.0);
        if (quality.x > 1.5) {
            vec2 dx = dFdx(coord) * .25;
            vec2 dy = dFdy(coord) * .25;
            coverage = .25 * (sdfCoverage(coord + dx + dy, screenRange) + sdfCoverage(coord + dx - dy, screenRange) +
                              sdfCoverage(coord - dx + dy, screenRange) + sdfCoverage(coord - dx - dy, screenRange));
        } else {
            coverage = sdfCoverage(coord, screenRange);
        }
    } else {
        coverage = texture(atlas, coord).a;
        if (quality.x < .5) coverage = step(.5, coverage);
        else coverage = clamp((coverage - .5) * quality.z + .5, 0.0, 1.0);
    }
    float a = coverage * contentCoverage(pui) * ink.a;
    color = vec4(ink.rgb * a, a);
}
)";

// ---- the table ----------------------------------------------------------------------------

constexpr auto fullscreen_vertex = join(version, fullscreen_vertex_body);
constexpr auto background = join(version, background_body);
constexpr auto blur = join(version, blur_body);
constexpr auto rect_vertex = join(version, rect_vertex_body);
constexpr auto glass = join(version, contour_block, glass_body);
constexpr auto shape = join(version, contour_block, shape_body);
constexpr auto glyph = join(version, contour_block, glyph_body);

} // namespace

const char* const velmora_shaders[vg_shader_count] = {
    fullscreen_vertex.data(),
    background.data(),
    blur.data(),
    rect_vertex.data(),
    glass.data(),
    shape.data(),
    glyph.data(),
};
