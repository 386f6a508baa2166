#include "app/closed_surface.h"

#include "libgr/texture/texture_table.h"
#include "pmt3d/surface/strips.h"

#include <algorithm>
#include <bit>
#include <cstdint>

namespace quenvarel {

using render::pos3;

namespace {

std::uint64_t mix(std::uint64_t value) {
    value = (value ^ value >> 32) * 0x9E3779B97F4A7C15u;
    value = (value ^ value >> 29) * 0xBF58476D1CE4E5B9u;
    return value ^ value >> 32;
}

std::uint64_t hash(const pos3& p) {
    std::uint64_t result = 0;
    for (const float c : {p.x, p.y, p.z})
        result = mix(result + std::bit_cast<std::uint32_t>(c + 0.0f) + 1); // -0 is 0
    return result;
}

} // namespace

bool is_opaque(const pmt3d::polygon_t& surface, const libgr::texture_t& texture) {
    const libgr::texture_record* const color = texture.record(render::texture_unit::color);
    if (!texture.texture.empty() && color) {
        const auto format = color->image().descriptor.format;
        if (format != libgr::pixel_format::rgb && format != libgr::pixel_format::bgr &&
            format != libgr::pixel_format::luminance)
            return false;
    }
    const auto vertices = surface.vertices();
    return std::all_of(vertices.begin(), vertices.end(),
                       [](const pmt3d::vertex_t& vertex) { return vertex.color.a >= 1; });
}

bool is_closed(const pmt3d::polygon_t& surface) {
    const auto vertices = surface.vertices();
    std::uint64_t edges = 0; // each edge adds its checksum in one direction and takes it away in the other
    double volume = 0;
    pmt3d::for_each_triangle(
        surface.getelements(), vertices.size(), [&](std::uint64_t, bool, auto a, auto b, auto c) {
            const pos3* const corners[] = {&vertices[a].position, &vertices[b].position,
                                           &vertices[c].position};
            const std::uint64_t hashes[] = {hash(*corners[0]), hash(*corners[1]), hash(*corners[2])};
            for (int i = 0; i < 3; ++i) {
                const std::uint64_t from = hashes[i], to = hashes[(i + 1) % 3];
                if (from < to) edges += mix(mix(from) + to);
                if (from > to) edges -= mix(mix(to) + from);
            }
            const auto& [p, q, r] = corners;
            volume += p->x * (double(q->y) * r->z - double(q->z) * r->y) +
                      p->y * (double(q->z) * r->x - double(q->x) * r->z) +
                      p->z * (double(q->x) * r->y - double(q->y) * r->x);
        });
    return edges == 0 && volume > 0;
}

} // namespace quenvarel
