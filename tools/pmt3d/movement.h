#pragma once
// Moves, turns, scales and mirrors models.

#include "pmt3d/format/model.h"

#include <array>
#include <optional>

namespace tool {

// An affine map, in double precision so that several in a row round only once. Starts as the one that moves
// nothing.
struct movement {
    using numbers = std::array<double, 3>;

    std::array<numbers, 3> rows = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    numbers shift = {};

    static movement scaling(const numbers& factors);
    // About the x axis, then y, then z, in degrees, counter-clockwise seen from the axis's positive end.
    // Quarter turns are exact.
    static movement turning(const numbers& degrees);
    static movement shifting(const numbers& by);

    movement then(const movement& next) const;
    numbers operator()(const render::pos3& p) const;
    // False when it moves everything onto a plane, or its numbers have left their range.
    bool keeps_shapes() const;
    bool mirrors() const;
    friend bool operator==(const movement&, const movement&) = default;
};

// The bounds of a model once it has been moved.
struct extent {
    movement::numbers min, max; // NaN where a coordinate is no number

    double size(std::size_t axis) const { return max[axis] - min[axis]; }
    double middle(std::size_t axis) const { return min[axis] + size(axis) / 2; }
};
// Of all that is drawn; nothing when nothing is.
std::optional<extent> extent_of(const pmt3d::model_t& model, const movement& by);

// Moves positions and control points, keeps frames at right angles and on their side, so that bumps stay
// bumps, and turns the triangles over where it mirrors. A mirrored NURBS surface exchanges u and v. False
// when a coordinate leaves the range of its numbers, or when there is no room (which is reported).
bool move(pmt3d::model_t& model, const movement& by);

} // namespace tool
