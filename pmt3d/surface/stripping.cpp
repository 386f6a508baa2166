#include "pmt3d/surface/stripping.h"

#include <algorithm>
#include <cstdint>

namespace pmt3d {

namespace {

constexpr std::uint32_t none = 0xFFFFFFFF;

// Edge 3 t + k runs from corner k of triangle t to the corner after it. For every edge the one that runs back
// along it, or none. Where several do, each is the neighbour of one other.
std::vector<std::uint32_t> opposite_edges(std::span<const triangle> triangles, element_t vertex_count) {
    struct entry {
        element_t other; // the greater of the edge's two vertices
        std::uint32_t edge;
    };
    const auto corner = [&](std::size_t edge) { return triangles[edge / 3][edge % 3]; };
    const auto end = [&](std::size_t edge) { return triangles[edge / 3][(edge + 1) % 3]; };
    const auto ends = [&](std::size_t t, int k) {
        return std::minmax(triangles[t][k], triangles[t][(k + 1) % 3]);
    };
    const auto for_each_edge = [&](auto&& visit) {
        for (std::size_t t = 0; t < triangles.size(); ++t)
            for (int k = 0; k < 3; ++k)
                visit(t, k);
    };
    // The edges by their lesser vertex.
    std::vector<std::uint32_t> first(std::size_t(vertex_count) + 1);
    for_each_edge([&](std::size_t t, int k) { ++first[ends(t, k).first]; });
    std::uint32_t sum = 0;
    for (std::uint32_t& count : first)
        count = sum += count;
    std::vector<entry> entries(sum);
    for_each_edge([&](std::size_t t, int k) {
        const auto [lesser, greater] = ends(t, k);
        entries[--first[lesser]] = {greater, std::uint32_t(3 * t + k)};
    });

    std::vector<std::uint32_t> opposite(3 * triangles.size(), none);
    for (std::size_t vertex = 0; vertex < vertex_count; ++vertex) {
        const auto begin = entries.begin() + first[vertex], stop = entries.begin() + first[vertex + 1];
        std::sort(begin, stop, [](const entry& a, const entry& b) {
            return a.other != b.other ? a.other < b.other : a.edge < b.edge;
        });
        // Edges in the two directions that wait for one another.
        for (auto run = begin; run != stop;) {
            const auto run_end =
                std::find_if(run, stop, [&](const entry& e) { return e.other != run->other; });
            auto up = run, down = run;
            for (;; ++up, ++down) {
                while (up != run_end && corner(up->edge) != vertex)
                    ++up;
                while (down != run_end && end(down->edge) != vertex)
                    ++down;
                if (up == run_end || down == run_end) break;
                opposite[up->edge] = down->edge;
                opposite[down->edge] = up->edge;
            }
            run = run_end;
        }
    }
    return opposite;
}

} // namespace

std::vector<element_t> make_strips(std::span<const triangle> triangles, element_t vertex_count) {
    const std::vector<std::uint32_t> opposite = opposite_edges(triangles, vertex_count);
    std::vector<std::uint32_t> taken(triangles.size()); // by which attempt; the last number: for good
    std::uint32_t attempt = 0;
    struct strip {
        std::vector<element_t> vertices;
        std::vector<std::uint32_t> members;
    } longest, current;

    // The strip that begins with triangle t turned so that its corner k comes first, as far as it goes.
    const auto grow = [&](std::uint32_t t, std::uint32_t k) {
        ++attempt;
        const triangle& start = triangles[t];
        current.vertices.assign({start[k], start[(k + 1) % 3], start[(k + 2) % 3]});
        current.members.assign({t});
        taken[t] = attempt;
        for (std::uint32_t edge = 3 * t + k;;) {
            // By its second edge it goes on from a triangle as it is, by its third from a swapped one.
            const std::uint32_t step = current.vertices.size() % 2 != 0 ? 1 : 2;
            edge = opposite[edge / 3 * 3 + (edge + step) % 3];
            if (edge == none || taken[edge / 3] == none || taken[edge / 3] == attempt) return;
            taken[edge / 3] = attempt;
            current.vertices.push_back(triangles[edge / 3][(edge + 2) % 3]);
            current.members.push_back(edge / 3);
        }
    };

    std::vector<element_t> elements;
    elements.reserve(2 * triangles.size());
    for (std::uint32_t t = 0; t < triangles.size(); ++t) {
        if (taken[t] == none) continue;
        longest.vertices.clear();
        for (std::uint32_t k = 0; k < 3; ++k) {
            grow(t, k);
            if (current.vertices.size() > longest.vertices.size()) std::swap(current, longest);
        }
        for (const std::uint32_t member : longest.members)
            taken[member] = none;
        if (!elements.empty()) elements.push_back(strip_end);
        elements.insert(elements.end(), longest.vertices.begin(), longest.vertices.end());
    }
    return elements;
}

std::vector<element_t> make_strips(std::span<const triangle> triangles) {
    element_t count = 0;
    for (const triangle& t : triangles)
        count = std::max({count, t[0] + 1, t[1] + 1, t[2] + 1});
    return make_strips(triangles, count);
}

} // namespace pmt3d
