#pragma once
// The B-spline basis functions of one knot vector at one parameter.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace pmt3d {

// A stretch of consecutive basis functions, neither the first nor the last of them 0; all the others are 0 at
// the same parameter.
struct basis_values {
    std::size_t first = 0; // index of the function that values[0] belongs to
    std::span<const float> values;
};

// Computes B(i, order, t) for i = 0 .. count - 1 by the Cox-de Boor recursion (C. de Boor, A Practical Guide
// to Splines, chapter X), from the lowest order up and only where it can be non-zero, in single precision:
//   B(i, 1) = 1 when T[i] != T[i+1] and T[i] <= t <= T[i+1], else 0
//   B(i, k) = (t - T[i]) / (T[i+k-1] - T[i]) B(i, k-1)  +  (T[i+k] - t) / (T[i+k] - T[i+1]) B(i+1, k-1)
// where a term whose lower function or knot difference is 0 counts as 0. Both ends of an interval belong to
// it: at an inner knot two pieces contribute and all values double, which division by the weight sum takes
// back, and t = 1 needs no special case. Any knots are taken as they are, also descending ones and NaN.
class basis_t {
public:
    // `knots` holds count + order values; order and count are at least 1. The result is valid until the next
    // call. The time grows with count + order, and with the order times the most functions that are not 0 at
    // any order up to it.
    basis_values evaluate(std::size_t count, std::size_t order, float t, const float* knots);

private:
    std::vector<float> work_; // kept from call to call, so that a run of calls allocates once
};

// The basis functions of one knot vector at many parameters, computed once.
class basis_table_t {
public:
    basis_table_t(std::size_t count, std::size_t order, const float* knots,
                  std::span<const float> parameters);

    basis_values operator[](std::size_t sample) const {
        const entry& e = entries_[sample];
        return {e.first, {values_.data() + e.offset, entries_[sample + 1].offset - e.offset}};
    }

private:
    struct entry {
        std::size_t first, offset;
    };
    std::vector<entry> entries_; // one more than there are samples
    std::vector<float> values_;
};

} // namespace pmt3d
