#include "mesh_figures.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <utility>
#include <vector>

namespace tool {

namespace {

using render::pos3;
using index = std::uint32_t;

std::uint64_t mixed(std::uint64_t bits) {
    bits *= 0x9E3779B97F4A7C15u;
    return bits ^ bits >> 29;
}

// Numbers different keys from 0 up, by open addressing.
template <class Key, class Hash>
class numbering {
public:
    numbering(std::uint64_t expected, Hash hash) : hash_(hash) {
        slots_.assign(std::bit_ceil(2 * expected + 2), none);
        keys_.reserve(expected);
    }
    index number(const Key& key) {
        const std::uint64_t mask = slots_.size() - 1;
        for (std::uint64_t at = hash_(key) & mask;; at = (at + 1) & mask) {
            index& slot = slots_[at];
            if (slot == none) {
                slot = index(keys_.size());
                keys_.push_back(key);
                if (2 * keys_.size() > slots_.size()) grow();
                return index(keys_.size() - 1);
            }
            if (keys_[slot] == key) return slot;
        }
    }

private:
    static constexpr index none = 0xFFFFFFFF;
    void grow() {
        slots_.assign(2 * slots_.size(), none);
        const std::uint64_t mask = slots_.size() - 1;
        for (index i = 0; i < keys_.size(); ++i) {
            std::uint64_t at = hash_(keys_[i]) & mask;
            while (slots_[at] != none)
                at = (at + 1) & mask;
            slots_[at] = i;
        }
    }

    Hash hash_;
    std::vector<index> slots_;
    std::vector<Key> keys_;
};

// Triangles that hang together, each turned like the first of its set or against it.
class orientation {
public:
    explicit orientation(std::uint64_t triangles) : parent_(triangles), against_(triangles, 0) {
        for (index i = 0; i < triangles; ++i)
            parent_[i] = i;
    }
    // The first of the set, and whether the triangle is turned against it.
    std::pair<index, bool> find(index t) {
        index root = t;
        bool turned = false;
        for (; parent_[root] != root; root = parent_[root])
            turned ^= against_[root] != 0;
        for (bool left = turned; t != root;) { // straight to the root from now on
            const index next = std::exchange(parent_[t], root);
            left ^= std::exchange(against_[t], left) != 0;
            t = next;
        }
        return {root, turned};
    }
    void join(index a, index b, bool against) {
        const auto [root_a, turned_a] = find(a);
        const auto [root_b, turned_b] = find(b);
        if (root_a == root_b) return; // also on a band with one side, where no answer is right
        // The earlier triangle stays the root, so that paths stay short where files are in order.
        const auto [low, high] = std::minmax(root_a, root_b);
        parent_[high] = low;
        against_[high] = turned_a ^ turned_b ^ against;
    }
    std::uint64_t fewest_to_turn() {
        std::vector<std::array<index, 2>> counts(parent_.size());
        for (index t = 0; t < parent_.size(); ++t) {
            const auto [root, turned] = find(t);
            ++counts[root][turned];
        }
        std::uint64_t fewest = 0;
        for (const auto& [with, against] : counts)
            fewest += std::min(with, against);
        return fewest;
    }

private:
    std::vector<index> parent_;
    std::vector<char> against_; // the parent
};

bool is_finite(const pos3& p) {
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

struct vector {
    double x, y, z;
};
vector between(const pos3& from, const pos3& to) {
    return {double(to.x) - from.x, double(to.y) - from.y, double(to.z) - from.z};
}
vector cross(const vector& a, const vector& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double dot(const vector& a, const vector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

template <class Visit>
void for_each_corners(std::span<const pmt3d::polygon_t* const> surfaces, Visit&& visit) {
    for (const pmt3d::polygon_t* surface : surfaces) {
        const auto vertices = surface->vertices();
        pmt3d::for_each_triangle(surface->getelements(), vertices.size(),
                                 [&](std::uint64_t, bool, auto a, auto b, auto c) {
                                     visit(vertices[a].position, vertices[b].position, vertices[c].position);
                                 });
    }
}

struct edge_use {
    index triangle; // the first one
    index uses;
    bool forwards; // how the first one runs along it
};

} // namespace

mesh_figures measure(std::span<const pmt3d::polygon_t* const> surfaces) {
    mesh_figures f;
    for_each_corners(surfaces, [&](const pos3&, const pos3&, const pos3&) { ++f.triangles; });

    const auto hash_place = [](const pos3& p) {
        const auto bits = [](float x) { return std::uint64_t(std::bit_cast<std::uint32_t>(x)); };
        return mixed(mixed(bits(p.x) | bits(p.y) << 32) + bits(p.z));
    };
    numbering<pos3, decltype(hash_place)> places(f.triangles / 2, hash_place);
    const auto hash_edge = [](std::uint64_t edge) { return mixed(mixed(edge)); };
    numbering<std::uint64_t, decltype(hash_edge)> edges(3 * f.triangles / 2, hash_edge);
    std::vector<edge_use> uses;
    uses.reserve(3 * f.triangles / 2);
    orientation turns(f.triangles);

    const pos3* origin = nullptr;
    index triangle = 0;
    for_each_corners(surfaces, [&](const pos3& a, const pos3& b, const pos3& c) {
        const index t = triangle++;
        if (!is_finite(a) || !is_finite(b) || !is_finite(c)) {
            ++f.not_finite;
            return;
        }
        if (!origin) origin = &a;
        const vector normal = cross(between(a, b), between(a, c));
        f.area += std::sqrt(dot(normal, normal)) / 2.0;
        f.volume += dot(between(*origin, a), cross(between(*origin, b), between(*origin, c))) / 6.0;

        index corners[3];
        const pos3* const points[] = {&a, &b, &c};
        for (int i = 0; i < 3; ++i) // the sum turns -0 into 0
            corners[i] = places.number({points[i]->x + 0.0f, points[i]->y + 0.0f, points[i]->z + 0.0f});
        if (corners[0] == corners[1] || corners[1] == corners[2] || corners[2] == corners[0]) {
            ++f.degenerate;
            return;
        }
        for (int i = 0; i < 3; ++i) {
            const auto [low, high] = std::minmax(corners[i], corners[(i + 1) % 3]);
            const bool forwards = low == corners[i];
            const index edge = edges.number(std::uint64_t(low) << 32 | high);
            if (edge == uses.size()) uses.push_back({t, 0, forwards});
            edge_use& use = uses[edge];
            if (++use.uses == 2) turns.join(use.triangle, t, use.forwards == forwards);
        }
    });
    for (const edge_use& use : uses) {
        f.open_edges += use.uses == 1;
        f.crowded_edges += use.uses > 2;
    }
    f.flipped = turns.fewest_to_turn();
    return f;
}

} // namespace tool
