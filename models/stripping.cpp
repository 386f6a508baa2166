#include "models/stripping.h"

#include <algorithm>
#include <map>
#include <utility>

namespace models {

using pmt3d::element_t;

std::vector<element_t> make_strips(std::span<const triangle> triangles) {
    // Each directed edge belongs to one triangle at most.
    std::map<std::pair<element_t, element_t>, std::size_t> owner;
    for (std::size_t t = 0; t < triangles.size(); ++t)
        for (int k = 0; k < 3; ++k)
            owner[{triangles[t][k], triangles[t][(k + 1) % 3]}] = t;

    std::vector<bool> used(triangles.size());
    // The strip that begins with triangle t turned so that its corner k comes first, as far as it goes.
    const auto grow = [&](std::size_t t, int k, std::vector<std::size_t>& members) {
        std::vector<element_t> strip{triangles[t][k], triangles[t][(k + 1) % 3], triangles[t][(k + 2) % 3]};
        members = {t};
        for (;;) {
            const element_t a = strip[strip.size() - 2], b = strip.back();
            const bool turned =
                strip.size() % 2 != 0; // the triangle to come is (b, a, next), else (a, b, next)
            const auto next = owner.find(turned ? std::pair{b, a} : std::pair{a, b});
            if (next == owner.end() || used[next->second] ||
                std::find(members.begin(), members.end(), next->second) != members.end())
                return strip;
            const triangle& candidate = triangles[next->second];
            strip.push_back(*std::find_if(candidate.begin(), candidate.end(),
                                          [&](element_t corner) { return corner != a && corner != b; }));
            members.push_back(next->second);
        }
    };

    std::vector<element_t> elements;
    for (std::size_t t = 0; t < triangles.size(); ++t) {
        if (used[t]) continue;
        std::vector<element_t> longest;
        std::vector<std::size_t> longest_members, members;
        for (int k = 0; k < 3; ++k) {
            const std::vector<element_t> strip = grow(t, k, members);
            if (strip.size() > longest.size()) {
                longest = strip;
                longest_members = members;
            }
        }
        for (const std::size_t member : longest_members)
            used[member] = true;
        if (!elements.empty()) elements.push_back(pmt3d::strip_end);
        elements.insert(elements.end(), longest.begin(), longest.end());
    }
    return elements;
}

} // namespace models
