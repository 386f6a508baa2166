// Every pixel of a lit triangle against the same formulas computed here: what the surface shaders add up.

#include "render/math/matrix.h"
#include "render/math/operations.h"
#include "render/surface/glpolygon.h"
#include "support/gl_context.h"
#include "support/picture.h"
#include "test_surface.h"

#include <algorithm>
#include <cmath>

namespace {

using namespace render;
using namespace test_support;

constexpr int size = 24;

struct color {
    double r, g, b, a;
};
color operator+(const color& x, const color& y) {
    return {x.r + y.r, x.g + y.g, x.b + y.b, x.a + y.a};
}
color operator*(const color& x, const color& y) {
    return {x.r * y.r, x.g * y.g, x.b * y.b, x.a * y.a};
}
color operator*(const color& x, double f) {
    return {x.r * f, x.g * f, x.b * f, x.a * f};
}

struct scene {
    const char* name;
    bool selection = false, skybox = false, mercator = false;
    float shininess = 10;
    std::array<signed char, 3> bump = {0, 0, 127}; // of the whole surface
    float reflect = 0, refract = 0, factor = 0;
    float alpha = 1;
    std::array<float, 2> offset = {0, 0};
    bool surrounded = true;
};

const mtx3w modelview = mtx3w::translation(0.1f, -0.2f, -2.0f) * to_matrix(rot3{30, {0, 0, 1}});
// One unit at distance 2 is half the picture: the depth does not matter here and stays in the middle.
const mtx3w flat_projection = {{1.6f, 0, 0, 0, 0, 1.6f, 0, 0, 0, 0, 0.1f, 0, 0, 0, 0, 2}};
const mtx3w globalview = to_matrix(rot3{25, {0.3f, 1, 0.2f}});
const pos3 light = {1.5f, 1.0f, 0.5f};
const color clear_color = {0.25, 0.5, 0.125, 0.75};
const unsigned char faces[6][4] = {{200, 0, 0, 100},  {0, 200, 0, 100},  {0, 0, 200, 100},
                                   {200, 200, 0, 50}, {0, 200, 200, 50}, {200, 0, 200, 50}};
const std::array<unsigned char, 4> gloss = {255, 128, 64, 32};
// Rows of a colour picture from bottom to top, as Mercator maps them.
const unsigned char rows[8][4] = {{255, 0, 0, 255},     {0, 255, 0, 255},    {0, 0, 255, 255},
                                  {255, 255, 0, 255},   {0, 255, 255, 255},  {255, 0, 255, 255},
                                  {128, 128, 128, 255}, {255, 255, 255, 255}};

color bytes(const unsigned char* p) {
    return {p[0] / 255.0, p[1] / 255.0, p[2] / 255.0, p[3] / 255.0};
}
dir3 reflect(const dir3& i, const dir3& n) {
    return i - n * (2 * dot(n, i));
}
dir3 refract(const dir3& i, const dir3& n, float eta) {
    const float d = dot(n, i), k = 1 - eta * eta * (1 - d * d);
    return k < 0 ? dir3{} : i * eta - n * (eta * d + std::sqrt(k));
}
dir3 direction(const vec3w& v) {
    return {v.x, v.y, v.z};
}
// Directions as the shaders turn them: by the inverse's transpose.
dir3 turned(const mtx3w& inverse_matrix, const dir3& d) {
    return direction(vec3w{d.x, d.y, d.z, 0} * inverse_matrix);
}

// The face that a direction looks at, and whether it is clear which.
int face_of(const dir3& d, bool& clear) {
    const float x = std::abs(d.x), y = std::abs(d.y), z = std::abs(d.z);
    float sorted[] = {x, y, z};
    std::sort(sorted, sorted + 3);
    clear = clear && sorted[2] - sorted[1] > 0.01f * sorted[2];
    if (x >= y && x >= z) return d.x > 0 ? 0 : 1;
    if (y >= z) return d.y > 0 ? 2 : 3;
    return d.z > 0 ? 4 : 5;
}

struct corner { // what the vertex stage hands on
    dir3 view, light, look_up;
    color tint;
    double v;
    double x, y; // of the picture, in pixels
};

corner vertex_stage(const test_vertex& vertex, const scene& s, const mtx3w& inv) {
    const dir3 t = turned(inv, vertex.tangent), b = turned(inv, vertex.binormal),
               n = turned(inv, vertex.normal);
    const auto in_frame = [&](const dir3& d) { return dir3{dot(d, t), dot(d, b), dot(d, n)}; };
    const vec3w eye = modelview * vec3w{vertex.position.x, vertex.position.y, vertex.position.z, 1};
    const pos3 place = {eye.x, eye.y, eye.z};
    const dir3 view = normalise(pos3{-place.x, -place.y, -place.z});
    const vec3w clip = flat_projection * eye;
    return {in_frame(view),
            in_frame(normalise(light - place)),
            s.skybox ? normalise(vertex.position) : view,
            {vertex.color.r, vertex.color.g, vertex.color.b, vertex.color.a * (s.selection ? 0.25 : 1.0)},
            vertex.texcoord.t,
            (clip.x / clip.w * 0.5 + 0.5) * size,
            (clip.y / clip.w * 0.5 + 0.5) * size};
}

// The colour of a pixel of the triangle, blended over the clear colour. False where rounding decides the face
// or row.
bool fragment_stage(const std::array<corner, 3>& c, const std::array<double, 3>& w, const scene& s,
                    const mtx3w& inv, color& result) {
    const auto mix3 = [&](auto member) {
        return c[0].*member * float(w[0]) + c[1].*member * float(w[1]) + c[2].*member * float(w[2]);
    };
    const double v_coordinate = c[0].v * w[0] + c[1].v * w[1] + c[2].v * w[2];
    double t = v_coordinate;
    if (s.mercator) {
        const double wrapped = t - std::floor(t);
        t = std::asin(wrapped * 2 - 1) / (std::acos(-1.0) / 2) * 0.5 + 0.5;
    }
    const double row = t * 8;
    bool clear = std::abs(row - std::round(row)) > 0.02;
    const color texel = bytes(rows[(int(std::floor(row)) % 8 + 8) % 8]);
    const color tint = c[0].tint * w[0] + c[1].tint * w[1] + c[2].tint * w[2];
    const color surface = texel * tint;
    const dir3 norm = {s.bump[0] / 127.0f, s.bump[1] / 127.0f, s.bump[2] / 127.0f};

    dir3 reflected = mix3(&corner::look_up), refracted = reflected;
    if (!s.skybox) {
        // The surface's own frame is that of the axes.
        const dir3 n = turned(inv, norm);
        refracted = refract(-reflected, n, s.factor);
        reflected = reflect(-reflected, n);
    }
    color around = {0, 0, 0, 0};
    if (s.surrounded) {
        const auto seen = [&](const dir3& d, float rate) {
            if (rate == 0) return color{0, 0, 0, 0};
            return bytes(faces[face_of(direction(vec3w{d.x, d.y, d.z, 0} * globalview), clear)]) * rate;
        };
        around = seen(reflected, s.reflect) + seen(refracted, s.refract);
    }
    const dir3 v = normalise(mix3(&corner::view)), l = normalise(mix3(&corner::light)), r = reflect(-l, norm);
    const double lambert = std::max(dot(l, norm), 0.0f);
    const color diffuse = {surface.r * lambert, surface.g * lambert, surface.b * lambert, surface.a};
    const color specular = bytes(gloss.data()) * std::pow(std::max(dot(r, v), 0.0f), s.shininess);
    color f = diffuse + specular + around;
    for (double* channel : {&f.r, &f.g, &f.b, &f.a})
        *channel = std::clamp(*channel, 0.0, 1.0);
    result = f * (s.selection ? 1.0 : f.a) + clear_color * (1 - f.a);
    for (double* channel : {&result.r, &result.g, &result.b, &result.a})
        *channel = std::min(*channel, 1.0);
    return clear;
}

class Pixels : public gl_test, public testing::WithParamInterface<scene> {};

TEST_P(Pixels, AreWhatTheFormulasGive) {
    const scene& s = GetParam();
    glpolygon_t renderer;
    ASSERT_TRUE(renderer.init(""));
    const dir3 x = {1, 0, 0}, y = {0, 1, 0}, z = {0, 0, 1};
    const std::vector<test_vertex> triangle = {
        {{-0.9f, -0.8f, 0}, {1, 0.8f, 0.6f, s.alpha}, {0, 0.1f}, x, y, z},
        {{0.9f, -0.7f, 0}, {0.7f, 1, 0.5f, s.alpha}, {1, 0.9f}, x, y, z},
        {{0.1f, 0.9f, 0}, {0.5f, 0.6f, 1, s.alpha}, {0.5f, 0.3f}, x, y, z}};
    test_surface surface(triangle, {0, 1, 2});
    surface.selection = {0, 1, 2};
    const test_texture color_texture(GL_TEXTURE_2D, GL_RGBA8, 1, 8, GL_RGBA, GL_UNSIGNED_BYTE, rows);
    const bump_pixel bump(s.bump);
    const color_pixel spec(gloss);
    const test_texture cube(GL_TEXTURE_CUBE_MAP, GL_RGBA8, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, faces);
    test_appearance dressed;
    dressed.textures = {&color_texture, &bump, &spec};
    dressed.mercator = s.mercator;
    dressed.offset = s.offset;
    test_surroundings around;
    around.cube = &cube;
    around.reflect = s.reflect, around.refract = s.refract, around.factor = s.factor;

    render_target target(size, size);
    target.clear(float(clear_color.r), float(clear_color.g), float(clear_color.b), float(clear_color.a));
    const mtx3w inv = inverse(modelview);
    if (s.selection) {
        dressed.mercator = false;
        renderer.drawselect(s.surrounded ? &around : nullptr, s.skybox, dressed, surface, globalview,
                            modelview, inv, flat_projection, light, s.shininess);
    } else {
        renderer.drawsolid(s.surrounded ? &around : nullptr, s.skybox, dressed, surface, globalview,
                           modelview, inv, flat_projection, light, s.shininess);
    }
    const picture drawn = target.read();

    std::array<corner, 3> corners;
    for (int i = 0; i < 3; ++i)
        corners[std::size_t(i)] = vertex_stage(triangle[std::size_t(i)], s, inv);
    const auto cross2 = [](const corner& a, const corner& b, double px, double py) {
        return (b.x - a.x) * (py - a.y) - (b.y - a.y) * (px - a.x);
    };
    const double area = cross2(corners[0], corners[1], corners[2].x, corners[2].y);
    int compared = 0;
    for (int py = 0; py < size; ++py) {
        for (int px = 0; px < size; ++px) {
            const double cx = px + 0.5, cy = py + 0.5;
            const std::array<double, 3> w = {cross2(corners[1], corners[2], cx, cy) / area,
                                             cross2(corners[2], corners[0], cx, cy) / area,
                                             cross2(corners[0], corners[1], cx, cy) / area};
            const double nearest_edge = std::min({w[0], w[1], w[2]});
            if (std::abs(nearest_edge) < 0.01) continue; // the edge itself is the rasteriser's business
            color expected = clear_color;
            if (nearest_edge > 0 && !fragment_stage(corners, w, s, inv, expected)) continue;
            ++compared;
            const auto got = drawn.at(px, py);
            // Two units: one for rounding to bytes, one for single precision and the blending unit's own
            // rounding.
            ASSERT_NEAR(got[0], expected.r * 255, 2) << "red at " << px << ", " << py;
            ASSERT_NEAR(got[1], expected.g * 255, 2) << "green at " << px << ", " << py;
            ASSERT_NEAR(got[2], expected.b * 255, 2) << "blue at " << px << ", " << py;
            ASSERT_NEAR(got[3], expected.a * 255, 2) << "alpha at " << px << ", " << py;
        }
    }
    EXPECT_GT(compared, size * size * 3 / 4);
}

INSTANTIATE_TEST_SUITE_P(
    Scenes, Pixels,
    testing::Values(
        scene{.name = "lit"}, scene{.name = "shiny", .shininess = 40}, scene{.name = "matt", .shininess = 0},
        scene{.name = "translucent", .alpha = 0.4f}, scene{.name = "bump", .bump = {-60, 40, 100}},
        scene{.name = "facing_away", .bump = {0, 0, -127}}, scene{.name = "mercator", .mercator = true},
        scene{.name = "reflecting", .bump = {30, -20, 120}, .reflect = 0.8f},
        scene{.name = "refracting", .bump = {30, -20, 120}, .refract = 0.6f, .factor = 0.7f},
        scene{.name = "both", .bump = {50, 50, 100}, .reflect = 0.3f, .refract = 0.5f, .factor = 0.9f},
        scene{.name = "sky_box", .skybox = true, .reflect = 0.5f, .refract = 0.25f, .factor = 0.7f},
        scene{.name = "nothing_around", .reflect = 1, .refract = 1, .surrounded = false},
        scene{.name = "selected", .selection = true, .alpha = 0.8f},
        scene{.name = "selected_reflecting", .selection = true, .reflect = 0.5f}),
    [](const auto& one) { return one.param.name; });

// The bump picture is looked up at the texture coordinate plus the offset, the others are not.
class BumpOffset : public gl_test {};

TEST_F(BumpOffset, MovesOnlyTheBumpPicture) {
    glpolygon_t renderer;
    ASSERT_TRUE(renderer.init(""));
    const unsigned char stripes[2 * 4] = {255, 255, 255, 255, 255, 255, 255, 255};
    const signed char normals[2 * 3] = {0, 0, 127, 0, 0, 0}; // left half lit, right half dark
    const test_texture color_texture(GL_TEXTURE_2D, GL_RGBA8, 2, 1, GL_RGBA, GL_UNSIGNED_BYTE, stripes);
    const test_texture bump(GL_TEXTURE_2D, GL_RGB8_SNORM, 2, 1, GL_RGB, GL_BYTE, normals);
    const color_pixel spec(black);
    test_appearance dressed;
    dressed.textures = {&color_texture, &bump, &spec};
    test_surface square(square_vertices({1, 1, 1, 1}), square_strip);
    const mtx3w one = mtx3w::identity();
    for (const float offset : {0.0f, 0.25f, 0.5f}) {
        dressed.offset = {offset, 0};
        const render_target target(8, 2);
        renderer.drawsolid(nullptr, false, dressed, square, one, one, one, one, {0, 0, 1000}, 1);
        const picture drawn = target.read();
        for (int x = 0; x < 8; ++x) {
            const float u = (float(x) + 0.5f) / 8 + offset;
            EXPECT_EQ(drawn.at(x, 0)[0], u - std::floor(u) < 0.5f ? 255 : 0)
                << "x " << x << ", offset " << offset;
        }
    }
}

} // namespace
