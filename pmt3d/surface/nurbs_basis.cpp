#include "pmt3d/surface/nurbs_basis.h"

#include <algorithm>

namespace pmt3d {

knot_vector::knot_vector(std::size_t function_count, std::size_t function_order, const float* values)
    : count(function_count),
      order(function_order),
      knots(values) {
    const auto descends = [](float a, float b) { return !(a <= b); }; // NaN as well
    ascending = std::adjacent_find(knots, knots + count + order, descends) == knots + count + order;
}

namespace {

// The first and the last span [T[i], T[i+1]] that holds t and is not empty; false when there is none.
bool find_spans(const knot_vector& vector, float t, std::size_t& low, std::size_t& high) {
    const float* const knots = vector.knots;
    const std::size_t spans = vector.count + vector.order - 1;
    if (vector.ascending) {
        const auto [from, behind] = std::equal_range(knots, knots + spans + 1, t);
        const auto first_not_below = std::size_t(from - knots), first_above = std::size_t(behind - knots);
        const bool ends_here = first_not_below > 0 && first_not_below <= spans;
        const bool begins_here = from != behind && first_above <= spans;
        low = ends_here ? first_not_below - 1 : first_above - 1;
        high = begins_here ? first_above - 1 : low;
        return ends_here || begins_here;
    }
    const auto inside = [&](std::size_t span) {
        return knots[span] != knots[span + 1] && knots[span] <= t && t <= knots[span + 1];
    };
    low = 0;
    while (low < spans && !inside(low))
        ++low;
    if (low == spans) return false;
    high = spans - 1;
    while (!inside(high))
        --high;
    return true;
}

} // namespace

basis_values basis_t::evaluate(const knot_vector& vector, float t) {
    const std::size_t count = vector.count, order = vector.order;
    const float* const knots = vector.knots;
    std::size_t low = 0, high = 0;
    if (!find_spans(vector, t, low, high)) return {};

    // b[i - lowest] is B(i, k) for the order k reached so far; the last entry stays 0.
    const std::size_t lowest = low + 1 > order ? low + 1 - order : 0;
    work_.assign(high - lowest + 2, 0.0f);
    float* const b = work_.data();
    for (std::size_t span = low; span <= high; ++span)
        if (knots[span] != knots[span + 1] && knots[span] <= t && t <= knots[span + 1])
            b[span - lowest] = 1.0f;
    // Those from first up to end are not 0 at their borders. All others are 0, and a 0 gives nothing to the
    // next order: of a high order most functions are out of reach, or too small for a float.
    std::size_t first = low, end = std::min(high + 1, count + order - 1);
    for (std::size_t k = 2; k <= order && first < end; ++k) {
        if (first > 0) --first;
        end = std::min(end, count + order - k);
        for (std::size_t i = first; i < end; ++i) {
            float sum = 0.0f;
            if (const float lower = b[i - lowest]; lower != 0.0f && knots[i + k - 1] != knots[i])
                sum += (t - knots[i]) / (knots[i + k - 1] - knots[i]) * lower;
            if (const float lower = b[i + 1 - lowest]; lower != 0.0f && knots[i + k] != knots[i + 1])
                sum += (knots[i + k] - t) / (knots[i + k] - knots[i + 1]) * lower;
            b[i - lowest] = sum;
        }
        while (first < end && b[first - lowest] == 0.0f)
            ++first;
        while (first < end && b[end - 1 - lowest] == 0.0f)
            --end;
    }
    if (first == end) return {};
    return {first, {b + (first - lowest), end - first}};
}

} // namespace pmt3d
