#include "pmt3d/surface/nurbs_basis.h"

#include <algorithm>

namespace pmt3d {

basis_values basis_t::evaluate(std::size_t count, std::size_t order, float t, const float* knots) {
    const auto inside = [&](std::size_t span) {
        return knots[span] != knots[span + 1] && knots[span] <= t && t <= knots[span + 1];
    };
    const std::size_t spans = count + order - 1;
    std::size_t low = 0;
    while (low < spans && !inside(low))
        ++low;
    if (low == spans) return {};
    std::size_t high = spans - 1;
    while (!inside(high))
        --high;

    // b[i - lowest] is B(i, k) for the order k reached so far; the last entry stays 0.
    const std::size_t lowest = low + 1 > order ? low + 1 - order : 0;
    work_.assign(high - lowest + 2, 0.0f);
    float* const b = work_.data();
    for (std::size_t span = low; span <= high; ++span)
        b[span - lowest] = inside(span) ? 1.0f : 0.0f;
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

basis_table_t::basis_table_t(std::size_t count, std::size_t order, const float* knots,
                             std::span<const float> parameters) {
    basis_t basis;
    entries_.reserve(parameters.size() + 1);
    for (const float t : parameters) {
        const basis_values at = basis.evaluate(count, order, t, knots);
        entries_.push_back({at.first, values_.size()});
        values_.insert(values_.end(), at.values.begin(), at.values.end());
    }
    entries_.push_back({0, values_.size()});
}

} // namespace pmt3d
