#pragma once
// Computes the B-spline basis functions of a knot vector at a parameter.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace pmt3d {

// The knots of `count` functions of one order: count + order values, which the caller keeps. Order and count
// are at least 1. Any knots are allowed, even descending ones and NaN; ascending ones are searched faster.
struct knot_vector {
    knot_vector(std::size_t count, std::size_t order, const float* knots);

    std::size_t count, order;
    const float* knots;
    bool ascending;
};

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
// back, and t = 1 needs no special case.
class basis_t {
public:
    // The result is valid until the next call. The time grows with the logarithm of count + order (with
    // count + order itself unless the knots ascend), and with the order times the most functions that are not
    // 0 at any order up to it.
    basis_values evaluate(const knot_vector& vector, float t);

private:
    std::vector<float> work_; // kept from call to call, so that a run of calls allocates once
};

// Basis functions of several knot vectors or at several parameters, computed once.
class basis_table_t {
public:
    void clear() {
        entries_.clear();
        values_.clear();
    }
    void add(const basis_values& at) {
        entries_.push_back({at.first, values_.size(), at.values.size()});
        values_.insert(values_.end(), at.values.begin(), at.values.end());
    }
    std::size_t size() const { return entries_.size(); }
    basis_values operator[](std::size_t entry) const {
        const entry_t& e = entries_[entry];
        return {e.first, {values_.data() + e.offset, e.size}};
    }

private:
    struct entry_t {
        std::size_t first, offset, size;
    };
    std::vector<entry_t> entries_;
    std::vector<float> values_;
};

} // namespace pmt3d
