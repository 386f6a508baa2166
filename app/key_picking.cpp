#include "app/key_picking.h"

#include "pmt3d/surface/strips.h"
#include "render/math/matrix.h"

#include <algorithm>

namespace quenvarel {

using render::box3;
using render::mtx3w;
using render::pos3;
using render::surface;
using render::vec3w;

namespace {

float height_above(const surface& plane, const pos3& p) {
    return plane.a * p.x + plane.b * p.y + plane.c * p.z + plane.d;
}

surface to_plane(const vec3w& row) {
    return {row.x, row.y, row.z, row.w};
}

// The plane in the space from which the matrix leads.
surface before(const mtx3w& matrix, const surface& plane) {
    return to_plane(vec3w{plane.a, plane.b, plane.c, plane.d} * matrix);
}

// False only where the whole box lies on the negative side.
bool reaches(const box3& box, const surface& plane) {
    const pos3 farthest = {plane.a > 0 ? box.max.x : box.min.x, plane.b > 0 ? box.max.y : box.min.y,
                           plane.c > 0 ? box.max.z : box.min.z};
    return height_above(plane, farthest) >= 0;
}

} // namespace

side_planes planes_around_pixel(int x, int y, int width, int height, const mtx3w& projection) {
    const float half_width = static_cast<float>(width) / 2, half_height = static_cast<float>(height) / 2;
    const auto edge = [](int pixel, float offset, float half) {
        return (static_cast<float>(pixel) + offset - half) / half;
    };
    // In clip space: left w <= x <= right w, bottom w <= y <= top w.
    return {before(projection, {1, 0, 0, -edge(x, -0.5f, half_width)}),
            before(projection, {-1, 0, 0, edge(x, 0.5f, half_width)}),
            before(projection, {0, 1, 0, -edge(y, -0.5f, half_height)}),
            before(projection, {0, -1, 0, edge(y, 0.5f, half_height)})};
}

void clip(std::vector<pos3>& polygon, const surface& plane) {
    std::vector<pos3> rest;
    rest.reserve(polygon.size() + 1);
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const pos3 &p = polygon[i], &q = polygon[(i + 1) % polygon.size()];
        const float above_p = height_above(plane, p), above_q = height_above(plane, q);
        if (above_p >= 0) rest.push_back(p);
        if ((above_p > 0 && above_q < 0) || (above_p < 0 && above_q > 0)) {
            const float share = above_p / (above_p - above_q);
            rest.push_back({p.x + share * (q.x - p.x), p.y + share * (q.y - p.y), p.z + share * (q.z - p.z)});
        }
    }
    polygon = std::move(rest);
}

std::optional<float> nearest_between(const side_planes& planes, const pmt3d::polygon_t& shape,
                                     const box3& bounds, const mtx3w& model) {
    // In the surface's own space, so that no vertex needs to be transformed.
    side_planes sides;
    for (std::size_t i = 0; i < planes.size(); ++i) {
        sides[i] = before(model, planes[i]);
        if (!reaches(bounds, sides[i])) return std::nullopt;
    }
    const surface distance = before(model, {0, 0, -1, 0});

    std::optional<float> nearest;
    const auto vertices = shape.vertices();
    std::vector<pos3> polygon;
    pmt3d::for_each_triangle(
        shape.getelements(), vertices.size(),
        [&](std::uint64_t, bool, pmt3d::element_t a, pmt3d::element_t b, pmt3d::element_t c) {
            const std::array<pos3, 3> corners = {vertices[a].position, vertices[b].position,
                                                 vertices[c].position};
            for (const surface& side : sides)
                if (std::none_of(corners.begin(), corners.end(),
                                 [&](const pos3& p) { return height_above(side, p) >= 0; }))
                    return;
            polygon.assign(corners.begin(), corners.end());
            for (const surface& side : sides)
                clip(polygon, side);
            for (const pos3& p : polygon) {
                const float depth = height_above(distance, p);
                if (depth >= 0 && (!nearest || depth < *nearest)) nearest = depth;
            }
        });
    return nearest;
}

} // namespace quenvarel
