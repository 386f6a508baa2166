#pragma once
// Lighting, surroundings and lookups as the built-in shaders compute them, for any matrices and frames.

#include "render/math/cube_map.h"
#include "render/math/matrix.h"
#include "render/math/operations.h"
#include "render/math/projection.h"
#include "test_surface.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <random>

namespace test_support {

inline render::vec3w operator+(const render::vec3w& a, const render::vec3w& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z, a.w + b.w};
}
inline render::vec3w operator*(const render::vec3w& a, const render::vec3w& b) {
    return {a.x * b.x, a.y * b.y, a.z * b.z, a.w * b.w};
}
inline render::vec3w operator*(const render::vec3w& a, float f) {
    return a * render::vec3w{f, f, f, f};
}
inline render::dir3 xyz(const render::vec3w& v) {
    return {v.x, v.y, v.z};
}
inline render::vec3w rgba(const render::col3a& c) {
    return {c.r, c.g, c.b, c.a};
}
inline render::dir3 reflect(const render::dir3& i, const render::dir3& n) {
    return i - n * (2 * dot(n, i));
}
inline render::dir3 refract(const render::dir3& i, const render::dir3& n, float eta) {
    const float d = dot(n, i), k = 1 - eta * eta * (1 - d * d);
    return k < 0 ? render::dir3{} : i * eta - n * (eta * d + std::sqrt(k));
}
// A direction times a matrix: with the inverse, the way in which normals are turned.
inline render::dir3 turned(const render::mtx3w& m, const render::dir3& d) {
    return xyz(render::vec3w{d.x, d.y, d.z, 0} * m);
}

// A camera whose matrices shear and stretch, so that no product can be mistaken for another.
struct camera {
    render::mtx3w modelview = {
        {0.9f, 0.2f, -0.1f, 0, -0.3f, 1.1f, 0.2f, 0, 0.15f, -0.25f, 0.8f, 0, 0.1f, -0.2f, -4, 1}};
    render::mtx3w inverse = render::inverse(modelview);
    render::mtx3w projection = render::perspective_matrix({-1, 1.2, -0.9, 1.1, 1, 20});
    render::mtx3w globalview = {
        {0.8f, 0.3f, -0.2f, 2, -0.1f, 0.9f, 0.4f, 3, 0.3f, -0.3f, 0.7f, 4, 5, 6, 7, 1}};
    render::pos3 light = {2, 3, 1};
    float shininess = 6;
};

// Vertices with everything different and frames that are neither orthogonal nor of unit length.
class random_vertices {
public:
    test_vertex next() {
        return {{any(-1, 1), any(-1, 1), any(-1, 1)},
                {any(0, 1), any(0, 1), any(0, 1), any(0, 1)},
                {any(-1, 2), any(-1, 2)},
                {1 + any(-0.3f, 0.3f), any(-0.3f, 0.3f), any(-0.3f, 0.3f)},
                {any(-0.3f, 0.3f), 1 + any(-0.3f, 0.3f), any(-0.3f, 0.3f)},
                {any(-0.3f, 0.3f), any(-0.3f, 0.3f), 1 + any(-0.3f, 0.3f)}};
    }
    float any(float least, float most) { return std::uniform_real_distribution(least, most)(random_); }

private:
    std::mt19937 random_{1};
};

// A picture of 4 by 4 texels that all differ, not filtered, repeated.
class texels {
public:
    texels(unsigned seed, float least, float most) {
        std::mt19937 random(seed);
        for (render::vec3w& t : all_)
            for (float* c : {&t.x, &t.y, &t.z, &t.w})
                *c = std::uniform_real_distribution(least, most)(random);
        texture_.emplace(GL_TEXTURE_2D, 4, 4, all_.data());
    }
    const test_texture& texture() const { return *texture_; }
    // Clears `sure` where rounding decides between two texels.
    render::vec3w at(const render::txc2& c, bool& sure) const {
        const auto index = [&sure](float f) {
            const float place = (f - std::floor(f)) * 4;
            sure = sure && std::abs(place - std::round(place)) > 0.01f;
            return std::size_t(place) % 4;
        };
        return all_[index(c.t) * 4 + index(c.s)];
    }

private:
    std::array<render::vec3w, 16> all_;
    std::optional<test_texture> texture_;
};

// The colour, bump and gloss pictures of a surface. Normals of bump pictures are used as they are.
struct dress {
    explicit dress(unsigned seed) : color(seed, 0, 1), bump(seed + 1, 0.2f, 0.9f), gloss(seed + 2, 0, 1) {}
    texels color, bump, gloss;
    render::txc2 offset = {};
    bool mercator = false;
};

// Cube map whose picture is the direction itself, as the point of the cube that it meets.
inline constexpr float cube_alpha = 0.25f;
inline render::vec3w seen(const render::dir3& d) {
    const float longest = std::max({std::abs(d.x), std::abs(d.y), std::abs(d.z)});
    return {d.x / longest, d.y / longest, d.z / longest, cube_alpha};
}
inline const test_texture& direction_cube() {
    constexpr int side = 64;
    static const test_texture* const made = [] {
        std::vector<render::vec3w> all;
        for (std::size_t face = 0; face < 6; ++face)
            for (int j = 0; j < side; ++j)
                for (int i = 0; i < side; ++i) {
                    const float s = (float(i) + 0.5f) * 2 / side - 1, t = (float(j) + 0.5f) * 2 / side - 1;
                    all.push_back(seen(render::cube_direction(face, s, t)));
                }
        return new test_texture(GL_TEXTURE_CUBE_MAP, side, side, all.data(), true);
    }();
    return *made;
}

// What surface.vert hands on, in the order of its block, and the place in clip space.
struct lit_vertex {
    render::dir3 position;
    render::col3a color;
    render::txc2 texcoord;
    render::dir3 view, light, look_1, look_2, tangent, binormal, normal;
    render::vec3w clip;
};
inline lit_vertex surface_vertex(const test_vertex& v, const camera& c, bool skybox, float color_factor) {
    const render::dir3 t = turned(c.inverse, v.tangent), b = turned(c.inverse, v.binormal),
                       n = turned(c.inverse, v.normal);
    const auto in_frame = [&](const render::dir3& d) {
        return render::dir3{dot(d, t), dot(d, b), dot(d, n)};
    };
    const render::vec3w eye = c.modelview * render::vec3w{v.position.x, v.position.y, v.position.z, 1};
    const render::dir3 to_light = normalise(c.light - render::pos3{eye.x, eye.y, eye.z});
    const render::dir3 to_viewer = normalise(-xyz(eye));
    const render::dir3 look = skybox ? normalise(v.position) : to_viewer;
    const render::col3a color = {v.color.r, v.color.g, v.color.b, v.color.a * color_factor};
    return {xyz(eye),  color,      v.texcoord, in_frame(to_viewer), in_frame(to_light), look, look,
            v.tangent, v.binormal, v.normal,   c.projection * eye};
}

inline render::vec3w phong(const render::vec3w& color, const render::vec3w& gloss, const render::dir3& n,
                           const render::dir3& view, const render::dir3& light, float shininess) {
    const render::dir3 v = normalise(view), l = normalise(light);
    const float lambert = std::max(dot(l, n), 0.0f);
    const float highlight = std::pow(std::max(dot(reflect(-l, n), v), 0.0f), shininess);
    return color * render::vec3w{lambert, lambert, lambert, 1} + gloss * highlight;
}

// What surface.frag adds for the surroundings.
struct mirror {
    float reflect = 0, refract = 0, factor = 0;
    bool skybox = false;
};
inline render::vec3w surrounding(const lit_vertex& v, const render::dir3& norm, const mirror& m,
                                 const camera& c) {
    render::dir3 reflected = v.look_1, refracted = v.look_2;
    if (!m.skybox) {
        const render::dir3 n =
            turned(c.inverse, v.tangent * norm.x + v.binormal * norm.y + v.normal * norm.z);
        reflected = reflect(-v.look_1, n);
        refracted = refract(-v.look_2, n, m.factor);
    }
    render::vec3w sum = {};
    if (m.reflect != 0) sum = sum + seen(turned(c.globalview, reflected)) * m.reflect;
    if (m.refract != 0) sum = sum + seen(turned(c.globalview, refracted)) * m.refract;
    return sum;
}

inline float asin_slope(float f) {
    return std::asin((f - std::floor(f)) * 2 - 1) / 1.57079633f * 0.5f + 0.5f;
}

inline render::vec3w surface_fragment(const lit_vertex& v, const dress& d, const mirror& m, const camera& c,
                                      bool& sure) {
    const render::txc2 at = {v.texcoord.s, d.mercator ? asin_slope(v.texcoord.t) : v.texcoord.t};
    const render::dir3 norm = xyz(d.bump.at({at.s + d.offset.s, at.t + d.offset.t}, sure));
    return phong(d.color.at(at, sure) * rgba(v.color), d.gloss.at(at, sure), norm, v.view, v.light,
                 c.shininess) +
           surrounding(v, norm, m, c);
}

} // namespace test_support
