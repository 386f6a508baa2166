#include "triangle_mesh.h"

#include "render/math/operations.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <numbers>
#include <numeric>
#include <span>
#include <utility>

namespace tool {

using pmt3d::element_t;
using pmt3d::frame_t;
using pmt3d::triangle;
using pmt3d::vertex_t;
using render::dir3;
using render::pos3;

namespace {

// Lengths and products of single precision neither overflow nor vanish in it.
struct vector {
    double x = 0, y = 0, z = 0;

    vector() = default;
    vector(double x_, double y_, double z_) : x(x_), y(y_), z(z_) {}
    explicit vector(const dir3& d) : x(double(d.x)), y(double(d.y)), z(double(d.z)) {}
    vector(const pos3& from, const pos3& to)
        : x(double(to.x) - double(from.x)),
          y(double(to.y) - double(from.y)),
          z(double(to.z) - double(from.z)) {}

    vector operator+(const vector& o) const { return {x + o.x, y + o.y, z + o.z}; }
    vector operator-(const vector& o) const { return {x - o.x, y - o.y, z - o.z}; }
    vector operator*(double f) const { return {x * f, y * f, z * f}; }
    double length() const { return std::sqrt(x * x + y * y + z * z); }
    bool is_direction() const { // neither zero nor NaN
        const double l = length();
        return l > 0 && std::isfinite(l);
    }
    vector unit() const { return is_direction() ? *this * (1 / length()) : vector(); }
    dir3 rounded() const { return {float(x), float(y), float(z)}; }
};

double dot(const vector& a, const vector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
vector cross(const vector& a, const vector& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double angle(const vector& a, const vector& b) {
    return std::atan2(cross(a, b).length(), dot(a, b));
}

// Assigning an empty list would keep it.
template <class T>
void free_memory(std::vector<T>& list) {
    std::vector<T>().swap(list);
}

// Numbers equal records from 0 on, in the order in which they are first met. A record is floats; both zeros
// are equal.
template <std::size_t floats>
class numbering {
public:
    using record = std::array<std::uint32_t, floats>;

    static record record_of(const float* values) {
        record r;
        for (std::size_t i = 0; i < floats; ++i)
            r[i] = std::bit_cast<std::uint32_t>(values[i] + 0.0f);
        return r;
    }

    // `record_at` gives the record of a number that has been given.
    template <class RecordAt>
    std::uint32_t number(const record& r, RecordAt&& record_at) {
        if (2 * count_ >= table_.size()) grow(record_at);
        std::size_t at = slot(r);
        while (table_[at] != none) {
            if (record_at(table_[at]) == r) return table_[at];
            at = (at + 1) % table_.size();
        }
        return table_[at] = count_++;
    }

private:
    static constexpr std::uint32_t none = 0xFFFFFFFF;

    std::size_t slot(const record& r) const {
        std::uint64_t hash = 0;
        for (const std::uint32_t word : r)
            hash = (std::rotl(hash, 29) ^ word) * 0x9E3779B97F4A7C15u;
        return std::size_t((hash ^ (hash >> 32)) & (table_.size() - 1));
    }
    template <class RecordAt>
    void grow(RecordAt&& record_at) {
        table_.assign(std::max<std::size_t>(2 * table_.size(), 1024), none);
        for (std::uint32_t n = 0; n < count_; ++n) {
            std::size_t at = slot(record_at(n));
            while (table_[at] != none)
                at = (at + 1) % table_.size();
            table_[at] = n;
        }
    }

    std::vector<std::uint32_t> table_; // a power of two
    std::uint32_t count_ = 0;
};

// The vertices that are left when equal ones are one.
struct welding {
    std::vector<std::uint32_t> kind_of;  // a vertex's number among those that are left
    std::vector<std::uint32_t> first_of; // of those, the first vertex
    std::vector<std::uint32_t> place_of; // and the number of its position
    std::vector<std::uint32_t> first_at; // of a position, the first vertex

    explicit welding(std::span<const vertex_t> vertices) {
        constexpr std::size_t all = sizeof(vertex_t) / sizeof(float), coordinates = 3;
        const auto floats = [&](std::uint32_t v) { return &vertices[v].position.x; };
        kind_of.reserve(vertices.size());
        {
            numbering<all> kinds;
            for (std::uint32_t v = 0; v < vertices.size(); ++v) {
                const auto kind = kinds.number(numbering<all>::record_of(floats(v)), [&](std::uint32_t k) {
                    return numbering<all>::record_of(floats(first_of[k]));
                });
                if (kind == first_of.size()) first_of.push_back(v);
                kind_of.push_back(kind);
            }
        }
        numbering<coordinates> positions;
        place_of.reserve(first_of.size());
        for (const std::uint32_t v : first_of) {
            const auto place =
                positions.number(numbering<coordinates>::record_of(floats(v)), [&](std::uint32_t p) {
                    return numbering<coordinates>::record_of(floats(first_at[p]));
                });
            if (place == first_at.size()) first_at.push_back(v);
            place_of.push_back(place);
        }
    }
};

class smoother {
public:
    smoother(std::span<const vertex_t> vertices, std::vector<triangle> triangles, float degrees)
        : vertices_(vertices),
          welded_(vertices),
          triangles_(std::move(triangles)) {
        // The directions of two normals lie so far apart at that angle; some more for what rounding adds.
        constexpr double rounding = 0.001;
        const double half = (double(degrees) + rounding) / 2 * std::numbers::pi / 180;
        const double most = degrees >= 180 ? 3 : degrees <= 0 ? -1 : 2 * std::sin(half);
        most_chord_ = std::copysign(most * most, most);
    }

    // Calls `release` when the vertices that it was made from are no longer needed.
    template <class Release>
    triangle_mesh run(Release&& release, const pmt3d::progress_t& progress = {}) {
        name_kinds();
        find_normals();
        find_corners();
        for (std::size_t p = 0; p + 1 < first_corner_.size(); ++p) {
            finish(std::span(corners_).subspan(first_corner_[p], first_corner_[p + 1] - first_corner_[p]));
            if (progress && p % 65536 == 0) progress(p, first_corner_.size());
        }
        free_memory(first_corner_);
        free_memory(corners_);
        free_memory(place_);
        free_memory(normals_);

        triangle_mesh result;
        result.vertices.reserve(made_.size());
        for (const made_vertex& made : made_)
            result.vertices.push_back(vertices_[welded_.first_of[made.kind]]);
        release();
        result.frames.reserve(made_.size());
        for (const made_vertex& made : made_)
            result.frames.push_back({{}, {}, made.normal});
        result.triangles = std::move(triangles_);
        return result;
    }

private:
    // Corner 3 t + k is corner k of triangle t.
    using corner_t = std::uint32_t;

    std::uint32_t kind(corner_t c) const { return triangles_[c / 3][c % 3]; }
    static corner_t after(corner_t c) { return c % 3 == 2 ? c - 2 : c + 1; }
    static corner_t before(corner_t c) { return after(after(c)); }
    const pos3& position(corner_t c) const { return vertices_[welded_.first_at[place_[c]]].position; }

    // Triangles name kinds from here on until their corners are finished.
    void name_kinds() {
        for (triangle& t : triangles_)
            for (element_t& corner : t)
                corner = welded_.kind_of[corner];
        free_memory(welded_.kind_of);
        const auto place = [&](element_t k) { return welded_.place_of[k]; };
        std::erase_if(triangles_, [&](const triangle& t) {
            return place(t[0]) == place(t[1]) || place(t[1]) == place(t[2]) || place(t[2]) == place(t[0]);
        });
        place_.reserve(3 * triangles_.size());
        for (const triangle& t : triangles_)
            for (const element_t corner : t)
                place_.push_back(place(corner));
    }

    void find_normals() {
        normals_.reserve(triangles_.size());
        for (corner_t c = 0; c < place_.size(); c += 3) {
            const pos3& from = position(c);
            normals_.push_back(
                cross(vector(from, position(c + 1)), vector(from, position(c + 2))).unit().rounded());
        }
    }

    // The corners of the triangles by their places.
    void find_corners() {
        first_corner_.resize(welded_.first_at.size() + 1);
        for (const std::uint32_t p : place_)
            ++first_corner_[p];
        std::partial_sum(first_corner_.begin(), first_corner_.end(), first_corner_.begin());
        corners_.resize(place_.size());
        for (auto c = corner_t(place_.size()); c-- > 0;)
            corners_[--first_corner_[place_[c]]] = c;
    }

    // Makes the vertices of one place.
    void finish(std::span<const corner_t> here) {
        if (here.empty()) return;
        join_across_smooth_edges(here);
        order_.clear();
        for (std::uint32_t i = 0; i < here.size(); ++i)
            order_.push_back({root(i), kind(here[i]), i});
        std::sort(order_.begin(), order_.end());
        for (auto group = order_.begin(); group != order_.end();) {
            const auto group_end =
                std::find_if(group, order_.end(), [&](const member& m) { return m.group != group->group; });
            const dir3 normal = normal_of(std::span(group, group_end), here);
            for (auto m = group; m != group_end; ++m) {
                if (m == group || m->kind != std::prev(m)->kind) {
                    made_.push_back({m->kind, normal});
                }
                const corner_t c = here[m->index];
                triangles_[c / 3][c % 3] = element_t(made_.size() - 1);
            }
            group = group_end;
        }
    }

    void join_across_smooth_edges(std::span<const corner_t> here) {
        parent_.resize(here.size());
        std::iota(parent_.begin(), parent_.end(), 0u);
        // A corner without a normal goes with the others.
        if (const auto first =
                std::find_if(here.begin(), here.end(), [&](corner_t c) { return has_normal(c); });
            first != here.end())
            for (std::uint32_t i = 0; i < here.size(); ++i)
                if (!has_normal(here[i])) parent_[i] = std::uint32_t(first - here.begin());
        edges_.clear();
        for (std::uint32_t i = 0; i < here.size(); ++i) {
            edges_.push_back({place_[after(here[i])], false, i});
            edges_.push_back({place_[before(here[i])], true, i});
        }
        std::sort(edges_.begin(), edges_.end());
        for (auto edge = edges_.begin(); edge != edges_.end();) {
            const auto edge_end =
                std::find_if(edge, edges_.end(), [&](const half_edge& e) { return e.to != edge->to; });
            join_across(std::span(edge, edge_end), here);
            edge = edge_end;
        }
    }

    struct half_edge {
        std::uint32_t to; // a place
        bool back;        // it runs from there
        std::uint32_t index;
        auto operator<=>(const half_edge&) const = default;
    };

    // The half edges between two places. More of them than surfaces can be meant to have stay sharp.
    void join_across(std::span<const half_edge> edges, std::span<const corner_t> here) {
        constexpr std::size_t most = 16;
        if (edges.size() > most) return;
        const auto first_back =
            std::find_if(edges.begin(), edges.end(), [](const half_edge& e) { return e.back; });
        for (auto out = edges.begin(); out != first_back; ++out)
            for (auto back = first_back; back != edges.end(); ++back)
                if (is_smooth(here[out->index], here[back->index]))
                    parent_[root(out->index)] = root(back->index);
    }

    bool has_normal(corner_t c) const { return normals_[c / 3] != dir3{}; }
    bool is_smooth(corner_t a, corner_t b) const {
        const dir3 &n = normals_[a / 3], &o = normals_[b / 3];
        if (n == dir3{} || o == dir3{}) return false;
        const vector chord = vector(n) - vector(o);
        return dot(chord, chord) <= most_chord_;
    }

    std::uint32_t root(std::uint32_t i) {
        while (parent_[i] != i)
            i = parent_[i] = parent_[parent_[i]];
        return i;
    }

    struct member {
        std::uint32_t group, kind, index;
        auto operator<=>(const member&) const = default;
    };

    dir3 normal_of(std::span<const member> group, std::span<const corner_t> here) const {
        vector sum;
        dir3 any = {0, 0, 1};
        for (const member& m : group) {
            const corner_t c = here[m.index];
            if (!has_normal(c)) continue;
            any = normals_[c / 3];
            const pos3& from = position(c);
            sum = sum +
                  vector(any) * angle(vector(from, position(after(c))), vector(from, position(before(c))));
        }
        // Normals against one another leave nothing but rounding.
        return sum.length() > 1e-6 ? sum.unit().rounded() : any;
    }

    std::span<const vertex_t> vertices_;
    welding welded_;
    std::vector<triangle> triangles_;
    std::vector<std::uint32_t> place_; // of the corners
    double most_chord_;
    std::vector<dir3> normals_; // of the triangles; zero for those without an area
    std::vector<std::uint32_t> first_corner_;
    std::vector<corner_t> corners_;
    // Of the place at work:
    std::vector<std::uint32_t> parent_;
    std::vector<half_edge> edges_;
    std::vector<member> order_;
    struct made_vertex {
        std::uint32_t kind;
        dir3 normal;
    };
    std::vector<made_vertex> made_;
};

std::vector<triangle> triangle_list(const pmt3d::polygon_t& surface) {
    std::vector<triangle> triangles;
    const auto for_each = [&](auto&& visit) {
        pmt3d::for_each_triangle(surface.getelements(), surface.vertex_count(), visit);
    };
    std::size_t count = 0;
    for_each([&](std::uint64_t, bool, element_t, element_t, element_t) { ++count; });
    triangles.reserve(count);
    for_each([&](std::uint64_t, bool, element_t a, element_t b, element_t c) {
        triangles.push_back({a, b, c});
    });
    return triangles;
}

} // namespace

triangle_mesh triangles_of(const pmt3d::polygon_t& surface) {
    const auto vertices = surface.vertices();
    const auto frames = surface.normals();
    return {{vertices.begin(), vertices.end()}, {frames.begin(), frames.end()}, triangle_list(surface)};
}

bool smooth(pmt3d::polygon_t& surface, float degrees, const pmt3d::progress_t& progress) {
    const std::string name = surface.name();
    smoother work(surface.vertices(), triangle_list(surface), degrees);
    triangle_mesh mesh = work.run([&] { surface.clear(); }, progress);
    complete_frames(mesh);
    surface.set_name(name);
    return fill(surface, std::move(mesh));
}

void weld_and_smooth(triangle_mesh& mesh, float degrees) {
    const std::vector<vertex_t> vertices = std::move(mesh.vertices);
    free_memory(mesh.frames);
    mesh = smoother(vertices, std::move(mesh.triangles), degrees).run([] {});
}

// ---- Tangents

namespace {

// Across the normal, level where the normal leaves the choice.
vector any_tangent(const vector& normal) {
    const vector upright = std::abs(normal.y) < 0.9 ? vector(0, 1, 0) : vector(0, 0, -1);
    return cross(upright, normal).unit();
}

// Sums what the triangles at a vertex say of its tangent, those that show the texture as it is apart from
// those that mirror it.
class tangent_finder {
public:
    explicit tangent_finder(triangle_mesh& mesh) : mesh_(mesh) {
        open_.reserve(mesh.frames.size());
        for (const frame_t& frame : mesh.frames)
            open_.push_back(frame.normal != dir3{} && frame.tangent == dir3{});
    }

    void run() {
        // While they are summed, the plain tangents are where tangents go, the mirrored ones in the
        // binormals.
        for (frame_t& frame : mesh_.frames)
            if (open_[index(frame)]) frame.binormal = {};
        for (const triangle& t : mesh_.triangles)
            for (int k = 0; k < 3; ++k)
                if (open_[t[k]]) add(t, k);
        split();
        for (frame_t& frame : mesh_.frames)
            if (open_[index(frame)]) finish(frame);
    }

private:
    struct direction {
        vector tangent;
        bool mirrored = false;
    };

    std::size_t index(const frame_t& frame) const { return std::size_t(&frame - mesh_.frames.data()); }

    // Along s in the plane of the normal; zero where the texture has no extent.
    direction direction_of(const triangle& t, int k) const {
        const auto corner = [&](int i) -> const vertex_t& { return mesh_.vertices[t[(k + i) % 3]]; };
        const vector e1(corner(0).position, corner(1).position), e2(corner(0).position, corner(2).position);
        const auto along = [&](int i, float render::txc2::*axis) {
            return double(corner(i).texcoord.*axis) - double(corner(0).texcoord.*axis);
        };
        const double s1 = along(1, &render::txc2::s), t1 = along(1, &render::txc2::t),
                     s2 = along(2, &render::txc2::s), t2 = along(2, &render::txc2::t);
        const double area = s1 * t2 - s2 * t1;
        if (!(std::abs(area) > 0)) return {};
        const vector normal(mesh_.frames[t[k]].normal);
        const vector along_s = (e1 * t2 - e2 * t1) * std::copysign(1, area),
                     along_t = (e2 * s1 - e1 * s2) * std::copysign(1, area);
        const vector tangent = (along_s - normal * dot(normal, along_s)).unit();
        return {tangent * angle(e1, e2), dot(cross(normal, tangent), along_t) < 0};
    }

    void add(const triangle& t, int k) {
        const direction d = direction_of(t, k);
        frame_t& frame = mesh_.frames[t[k]];
        dir3& sum = d.mirrored ? frame.binormal : frame.tangent;
        sum = (vector(sum) + d.tangent).rounded();
    }

    // A vertex with both kinds becomes two.
    void split() {
        std::vector<element_t> mirror(mesh_.vertices.size(), pmt3d::strip_end);
        for (triangle& t : mesh_.triangles) {
            const triangle whole = t;
            for (int k = 0; k < 3; ++k) {
                const element_t v = whole[k];
                if (!open_[v] || mesh_.frames[v].tangent == dir3{} || mesh_.frames[v].binormal == dir3{} ||
                    !direction_of(whole, k).mirrored)
                    continue;
                if (mirror[v] == pmt3d::strip_end) {
                    mirror[v] = element_t(mesh_.vertices.size());
                    mesh_.vertices.push_back(vertex_t(mesh_.vertices[v]));
                    mesh_.frames.push_back({{}, mesh_.frames[v].binormal, mesh_.frames[v].normal});
                    open_.push_back(true);
                }
                t[k] = mirror[v];
            }
        }
    }

    static void finish(frame_t& frame) {
        const vector normal(frame.normal);
        const bool mirrored = frame.tangent == dir3{} && frame.binormal != dir3{};
        const vector sum(mirrored ? frame.binormal : frame.tangent);
        const vector flat = sum - normal * dot(normal, sum);
        // Directions against one another leave nothing but rounding.
        const vector tangent = flat.length() > 1e-6 ? flat.unit() : any_tangent(normal);
        frame.tangent = tangent.rounded();
        frame.binormal = (cross(normal, tangent) * (mirrored ? -1 : 1)).rounded();
    }

    triangle_mesh& mesh_;
    std::vector<bool> open_; // the frames to complete
};

} // namespace

void complete_frames(triangle_mesh& mesh) {
    tangent_finder(mesh).run();
}

bool fill(pmt3d::polygon_t& surface, triangle_mesh&& mesh) {
    std::vector<element_t> elements = pmt3d::make_strips(mesh.triangles, element_t(mesh.vertices.size()));
    free_memory(mesh.triangles);
    if (!surface.allocate(mesh.vertices.size(), elements.size())) return false;
    // The surface's memory is used only when it is written, and each list ends when it is.
    const auto hand_over = [](auto& from, auto to) {
        std::copy(from.begin(), from.end(), to.begin());
        free_memory(from);
    };
    hand_over(elements, surface.edit_elements());
    hand_over(mesh.vertices, surface.edit_vertices());
    hand_over(mesh.frames, surface.edit_normals());
    surface.rebuildpolyids();
    return true;
}

} // namespace tool
