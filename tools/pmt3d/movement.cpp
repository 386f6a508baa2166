#include "movement.h"

#include "pmt3d/surface/strips.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <utility>
#include <vector>

namespace tool {

using pmt3d::element_t;
using render::dir3;
using render::pos3;
using numbers_t = movement::numbers;

namespace {

double dot(const numbers_t& a, const numbers_t& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
numbers_t cross(const numbers_t& a, const numbers_t& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
numbers_t times(const numbers_t& v, double f) {
    return {v[0] * f, v[1] * f, v[2] * f};
}
numbers_t unit(const numbers_t& v) {
    const double length = std::sqrt(dot(v, v));
    return length > 0 ? times(v, 1 / length) : v;
}
numbers_t wide(const dir3& d) {
    return {double(d.x), double(d.y), double(d.z)};
}
dir3 rounded(const numbers_t& v) {
    return {float(v[0]), float(v[1]), float(v[2])};
}

using rows_t = std::array<numbers_t, 3>;

numbers_t product(const rows_t& rows, const numbers_t& v) {
    return {dot(rows[0], v), dot(rows[1], v), dot(rows[2], v)};
}
double determinant(const rows_t& rows) {
    return dot(cross(rows[0], rows[1]), rows[2]);
}

// Sine and cosine of degrees, exact at quarter turns.
std::pair<double, double> sine_and_cosine(double degrees) {
    degrees = std::fmod(degrees, 360);
    if (std::fmod(degrees, 90) == 0) {
        constexpr double sines[] = {0, 1, 0, -1};
        const int quarters = (int(degrees / 90) + 4) % 4;
        return {sines[quarters], sines[(quarters + 1) % 4]};
    }
    const double radians = degrees * std::numbers::pi / 180;
    return {std::sin(radians), std::cos(radians)};
}

// The same map without its size: its greatest number is 1.
rows_t without_size(const rows_t& rows) {
    double most = 0;
    for (const numbers_t& row : rows)
        for (const double number : row)
            most = std::max(most, std::abs(number));
    return {times(rows[0], 1 / most), times(rows[1], 1 / most), times(rows[2], 1 / most)};
}

// Moves the frames of vertices.
class frame_mover {
public:
    explicit frame_mover(const movement& by) : rows_(without_size(by.rows)) {
        // The inverse's transpose, but for its size.
        normals_ =
            without_size({cross(rows_[1], rows_[2]), cross(rows_[2], rows_[0]), cross(rows_[0], rows_[1])});
        if (by.mirrors())
            for (numbers_t& row : normals_)
                row = times(row, -1);
        // A map that keeps angles moves all directions alike.
        const double size = dot(rows_[0], rows_[0]);
        keeps_angles_ = true;
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                keeps_angles_ =
                    keeps_angles_ && std::abs(dot(rows_[i], rows_[j]) - (i == j ? size : 0)) < 1e-9 * size;
        if (keeps_angles_)
            for (numbers_t& row : rows_)
                row = times(row, 1 / std::sqrt(size));
    }

    void move(pmt3d::frame_t& frame) const {
        if (keeps_angles_) {
            for (dir3* const d : {&frame.tangent, &frame.binormal, &frame.normal})
                *d = rounded(product(rows_, wide(*d)));
            return;
        }
        const numbers_t normal = unit(product(normals_, wide(frame.normal)));
        numbers_t tangent = product(rows_, wide(frame.tangent));
        tangent = unit(minus(tangent, times(normal, dot(normal, tangent))));
        const numbers_t along_t = product(rows_, wide(frame.binormal)), across = cross(normal, tangent);
        if (dot(along_t, along_t) > 0)
            frame.binormal = rounded(times(across, dot(across, along_t) < 0 ? -1 : 1));
        frame.tangent = rounded(tangent);
        frame.normal = rounded(normal);
    }

private:
    static numbers_t minus(const numbers_t& a, const numbers_t& b) {
        return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
    }

    rows_t rows_, normals_;
    bool keeps_angles_;
};

bool is_finite(const pos3& p) {
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

// False when a number has left its range by it.
bool move_position(pos3& p, const movement& by) {
    const numbers_t to = by(p);
    const bool was_finite = is_finite(p);
    p = {float(to[0]), float(to[1]), float(to[2])};
    return !was_finite || is_finite(p);
}

// The strips with their triangles turned over. One with an odd number of vertices runs backwards; of an even
// number, it begins one vertex later, and its first triangle becomes a strip of its own.
std::vector<element_t> turned_over(std::span<const element_t> elements, std::uint64_t vertex_count) {
    std::vector<element_t> result;
    result.reserve(elements.size());
    for (std::size_t at = 0; at < elements.size();) {
        if (elements[at] >= vertex_count) {
            result.push_back(elements[at++]);
            continue;
        }
        std::size_t end = at;
        while (end < elements.size() && elements[end] < vertex_count)
            ++end;
        const auto strip = elements.subspan(at, end - at);
        at = end;
        if (strip.size() % 2 != 0 || strip.size() < 4)
            result.insert(result.end(), strip.rbegin(), strip.rend());
        else if (strip.size() == 4)
            result.insert(result.end(), {strip[0], strip[2], strip[1], strip[3]});
        else {
            result.insert(result.end(), {strip[2], strip[1], strip[0], pmt3d::strip_end});
            result.insert(result.end(), strip.begin() + 1, strip.end());
        }
    }
    return result;
}

bool turn_over(pmt3d::polygon_t& polygon) {
    const std::vector<element_t> elements = turned_over(polygon.getelements(), polygon.vertex_count());
    if (elements.size() > polygon.element_count() && !polygon.extend(polygon.vertex_count(), elements.size()))
        return false;
    std::copy(elements.begin(), elements.end(), polygon.edit_elements().begin());
    return true;
}

bool move_polygon(pmt3d::polygon_t& polygon, const movement& by) {
    if (polygon.vertex_count() == 0) return true;
    bool in_range = true;
    for (pmt3d::vertex_t& vertex : polygon.edit_vertices())
        in_range &= move_position(vertex.position, by);
    const frame_mover frames(by);
    for (pmt3d::frame_t& frame : polygon.edit_normals())
        frames.move(frame);
    if (by.mirrors() && !turn_over(polygon)) return false;
    polygon.rebuildpolyids();
    return in_range;
}

// Row after row becomes column after column.
template <class T>
void transpose(std::span<const T> from, std::uint64_t columns, std::span<T> to) {
    const std::uint64_t rows = from.size() / columns;
    for (std::uint64_t row = 0; row < rows; ++row)
        for (std::uint64_t column = 0; column < columns; ++column)
            to[column * rows + row] = from[row * columns + column];
}

// The same surface seen from its other side: u and v exchanged. What the rows have of knots, the columns have
// then.
bool turn_over(pmt3d::nurbs_t& nurbs) {
    const pmt3d::nurbs_t before = nurbs;
    if (before.m() == 0) return true;
    if (!nurbs.allocate(before.n(), before.k2(), before.m(), before.k1())) return false;
    std::copy(before.knots2().begin(), before.knots2().end(), nurbs.knots1().begin());
    std::copy(before.knots1().begin(), before.knots1().end(), nurbs.knots2().begin());
    transpose(before.weights(), before.m(), nurbs.weights());
    transpose(before.points(), before.m(), nurbs.points());
    nurbs.set_resolution(before.resolution_v(), before.resolution_u());
    return true;
}

} // namespace

movement movement::scaling(const numbers& factors) {
    movement m;
    for (std::size_t i = 0; i < 3; ++i)
        m.rows[i][i] = factors[i];
    return m;
}

movement movement::turning(const numbers& degrees) {
    movement all;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const auto [sine, cosine] = sine_and_cosine(degrees[axis]);
        const std::size_t a = (axis + 1) % 3, b = (axis + 2) % 3;
        movement one;
        one.rows[a][a] = one.rows[b][b] = cosine;
        one.rows[a][b] = -sine;
        one.rows[b][a] = sine;
        all = all.then(one);
    }
    return all;
}

movement movement::shifting(const numbers& by) {
    movement m;
    m.shift = by;
    return m;
}

movement movement::then(const movement& next) const {
    movement both;
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j)
            both.rows[i][j] = dot(next.rows[i], {rows[0][j], rows[1][j], rows[2][j]});
        both.shift[i] = dot(next.rows[i], shift) + next.shift[i];
    }
    return both;
}

numbers_t movement::operator()(const pos3& p) const {
    const numbers_t turned = product(rows, {double(p.x), double(p.y), double(p.z)});
    return {turned[0] + shift[0], turned[1] + shift[1], turned[2] + shift[2]};
}

bool movement::keeps_shapes() const {
    const double volume = determinant(without_size(rows)); // NaN for what is no number
    return std::abs(volume) > 0 && std::isfinite(volume) && std::isfinite(dot(shift, shift));
}

bool movement::mirrors() const {
    return determinant(without_size(rows)) < 0;
}

std::optional<extent> extent_of(const pmt3d::model_t& model, const movement& by) {
    std::optional<extent> box;
    for (const pmt3d::model_item_t& item : model.items) {
        const auto vertices = item.polygon.vertices();
        for (const element_t element : item.polygon.getelements()) {
            if (element >= vertices.size()) continue;
            const numbers_t p = by(vertices[element].position);
            if (!box) box = {p, p};
            for (std::size_t axis = 0; axis < 3; ++axis) {
                // Once NaN, always NaN.
                if (!(p[axis] >= box->min[axis]) && !std::isnan(box->min[axis])) box->min[axis] = p[axis];
                if (!(p[axis] <= box->max[axis]) && !std::isnan(box->max[axis])) box->max[axis] = p[axis];
            }
        }
    }
    return box;
}

bool move(pmt3d::model_t& model, const movement& by) {
    if (!by.keeps_shapes()) return false;
    bool in_range = true;
    for (pmt3d::model_item_t& item : model.items) {
        in_range &= move_polygon(item.polygon, by);
        if (item.kind != pmt3d::model_item_t::kind_t::nurbs) continue;
        for (pmt3d::control_point_t& point : item.nurbs.points())
            in_range &= move_position(point.position, by);
        if (by.mirrors()) in_range &= turn_over(item.nurbs);
    }
    return in_range;
}

} // namespace tool
