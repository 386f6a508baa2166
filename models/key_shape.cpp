#include "models/key_shape.h"

#include "models/layout/key_layout.h"
#include "pmt3d/surface/stripping.h"
#include "render/math/operations.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>
#include <utility>

namespace models {
namespace {

using render::dir3;
using render::pos2;
using render::pos3;

// A key is made of profiles, running down from the rim of its top face, that stand side by side along its
// outline as seen from above. Each stands on a post of the outline; z counts from the far end of the key.
struct post {
    float x, z;
    float out_x, out_z; // the direction in which the key ends there, a unit vector
    float miter_x,
        miter_z; // where a point of the outline comes to lie when the outline shrinks by one unit, negated
    bool front = false; // belongs to the player's end
    bool again =
        false; // in the same place as the post before it, which ends one face where this begins another
    bool upright =
        false; // the picture stands upright on the face, where else it is rolled over the edge of the top
};

struct profile_point {
    float inset; // how far inside the outline
    float back;  // player's end only: how far nearer to the hinge
    float y;
    float shade; // share of the light that gets there
    enum edge_t {
        rounded,
        crease, // the surface is broken here
        hidden, // no light gets here, not even a highlight
    } edge = rounded;
};
constexpr auto crease = profile_point::crease, hidden = profile_point::hidden;

constexpr profile_point white_side[] = {
    {0.045f, 0, 0.000f, 1.00f},
    {0.000f, 0, -0.055f, 0.50f, hidden},
    {0.000f, 0, -0.800f, 0.50f, hidden},
};
// The top plate stands out over the wood: the lip.
constexpr profile_point white_front[] = {
    {0.045f, 0.035f, 0.000f, 1.00f},          {0.010f, 0.010f, -0.030f, 1.00f},
    {0.000f, 0.000f, -0.160f, 0.95f, crease}, {0.000f, 0.070f, -0.185f, 0.45f, crease},
    {0.000f, 0.070f, -0.360f, 0.90f},         {0.000f, 0.070f, -0.800f, 0.50f},
};
// The same places where they end the sides.
constexpr profile_point white_front_side[] = {
    {0.045f, 0.035f, 0.000f, 1.00f},          {0.010f, 0.010f, -0.030f, 0.70f},
    {0.000f, 0.000f, -0.160f, 0.50f, hidden}, {0.000f, 0.070f, -0.185f, 0.50f, hidden},
    {0.000f, 0.070f, -0.360f, 0.50f, hidden}, {0.000f, 0.070f, -0.800f, 0.50f, hidden},
};
constexpr profile_point black_side[] = {
    {0.110f, 0, black_height, 1.00f, crease},
    {0.050f, 0, 0.440f, 1.00f, crease},
    {0.000f, 0, -0.600f, 0.12f},
};
constexpr profile_point black_front[] = {
    {0.110f, 0.60f, black_height, 1.00f},
    {0.070f, 0.40f, 0.465f, 1.00f},
    {0.050f, 0.28f, 0.380f, 0.90f},
    {0.000f, 0.00f, -0.600f, 0.15f},
};
constexpr profile_point black_front_side[] = {
    {0.110f, 0.60f, black_height, 1.00f, crease},
    {0.070f, 0.40f, 0.465f, 1.00f},
    {0.050f, 0.28f, 0.380f, 0.90f, crease},
    {0.000f, 0.00f, -0.600f, 0.15f},
};

constexpr float white_corner = 0.08f; // radii at the player's end
constexpr float black_corner = 0.13f;

// Where the shadow of what is over the far end ends, and that of a black key on the white ones before it.
constexpr float lid_shadow = 1.1f;
constexpr float contact_shadow = 0.35f;

// The top of a black key is a crown: how far it leans toward the player at its front and to either side at
// its rims, in radians.
constexpr float white_forward = 0.20f;
constexpr float crown_forward = 0.45f;
constexpr float crown_sideways = 0.20f;

// The direction, outwards and up, of a normal that no light reaches.
constexpr pos2 turned_away = {0.5f, -0.87f};

// Units of keyboard per repetition of the pictures.
constexpr float texture_width = 2.0f;
constexpr float texture_length = 8.0f;

// Files carry six digits; what is rounded so is read back exactly, and is short.
float rounded(float value) {
    return std::round(value * 1e4f) / 1e4f + 0.0f; // without a negative zero
}
dir3 rounded(const dir3& d) {
    return {rounded(d.x), rounded(d.y), rounded(d.z)};
}

float blend(float from, float to, float share) {
    return from + (to - from) * std::clamp(share, 0.0f, 1.0f);
}

// The outline of a key, counter-clockwise seen from above (x to the right, z toward the viewer), and the rows
// of posts between which its top is spanned, from left to right and from the hinge to the player.
struct outline {
    std::vector<post> posts;
    struct band {
        std::vector<std::size_t> far, near;
    };
    std::vector<band> bands;

    std::size_t along_side(float x, float z, float out_x) { return add({x, z, out_x, 0, out_x, 0}); }
    // A corner between a side and an end of the key; the order is that of the walk around it.
    std::size_t side_to_end(float x, float z, float out_x, float out_z) {
        add({x, z, out_x, 0, out_x, out_z});
        return add({x, z, 0, out_z, out_x, out_z, false, true});
    }
    std::size_t end_to_side(float x, float z, float out_x, float out_z) {
        add({x, z, 0, out_z, out_x, out_z});
        return add({x, z, out_x, 0, out_x, out_z, false, true});
    }
    // A rounded corner at the player's end, one on each side; the result is its place on the side.
    std::size_t side_to_front(float x, float z, float radius) {
        const std::size_t side = add({x, z - radius, -1, 0, -1, 0, true});
        add({x, z - radius, -1, 0, -1, 0, true, true, true});
        add({x + radius, z, 0, 1, 0, 1, true, false, true});
        return side;
    }
    std::size_t front_to_side(float x, float z, float radius) {
        add({x - radius, z, 0, 1, 0, 1, true, false, true});
        add({x, z - radius, 1, 0, 1, 0, true, false, true});
        return add({x, z - radius, 1, 0, 1, 0, true, true});
    }

private:
    std::size_t add(const post& p) {
        posts.push_back(p);
        return posts.size() - 1;
    }
};

outline white_outline(const key_place& place) {
    constexpr float half_gap = white_gap / 2;
    const float left = place.left + half_gap, right = place.right - half_gap;
    const float tail_left = place.tail_left + half_gap, tail_right = place.tail_right - half_gap;
    const float shoulder = black_length + half_gap;
    outline o;
    const auto left_corner = o.side_to_front(left, white_length, white_corner);
    const auto left_front = left_corner + 2;
    const auto right_corner = o.front_to_side(right, white_length, white_corner);
    const auto right_front = right_corner - 2;

    const bool cut_right = tail_right<right, cut_left = tail_left> left;
    const auto head_right = o.along_side(right, shoulder + contact_shadow, 1);
    const auto shoulder_right = cut_right ? o.side_to_end(right, shoulder, 1, -1) : 0;
    const auto tail_front_right =
        cut_right ? o.end_to_side(tail_right, shoulder, 1, -1) : o.along_side(right, shoulder, 1);
    const auto shaded_right = o.along_side(tail_right, lid_shadow, 1);
    const auto back_right = o.side_to_end(tail_right, 0, 1, -1);
    const auto back_left = o.end_to_side(tail_left, 0, -1, -1);
    const auto shaded_left = o.along_side(tail_left, lid_shadow, -1);
    const auto tail_front_left =
        cut_left ? o.side_to_end(tail_left, shoulder, -1, -1) : o.along_side(left, shoulder, -1);
    const auto shoulder_left = cut_left ? o.end_to_side(left, shoulder, -1, -1) : 0;
    const auto head_left = o.along_side(left, shoulder + contact_shadow, -1);

    std::vector<std::size_t> shoulders{tail_front_left, tail_front_right};
    if (cut_left) shoulders.insert(shoulders.begin(), shoulder_left);
    if (cut_right) shoulders.push_back(shoulder_right);

    o.bands = {{{back_left, back_right}, {shaded_left, shaded_right}},
               {{shaded_left, shaded_right}, {tail_front_left, tail_front_right}},
               {shoulders, {head_left, head_right}},
               {{head_left, head_right}, {left_corner, right_corner}},
               {{left_corner, right_corner}, {left_front, right_front}}};
    return o;
}

outline black_outline(const key_place& place) {
    constexpr float half_gap = black_gap / 2;
    const float left = place.left + half_gap, right = place.right - half_gap;
    const float front = black_length - half_gap, middle = front / 2;
    outline o;
    const auto left_corner = o.side_to_front(left, front, black_corner);
    const auto left_front = left_corner + 2;
    const auto right_corner = o.front_to_side(right, front, black_corner);
    const auto right_front = right_corner - 2;
    const auto middle_right = o.along_side(right, middle, 1);
    const auto back_right = o.side_to_end(right, 0, 1, -1);
    const auto back_left = o.end_to_side(left, 0, -1, -1);
    const auto middle_left = o.along_side(left, middle, -1);
    o.bands = {{{back_left, back_right}, {middle_left, middle_right}},
               {{middle_left, middle_right}, {left_corner, right_corner}},
               {{left_corner, right_corner}, {left_front, right_front}}};
    return o;
}

// The frame that the level one (s along x, t away from the player) becomes when it is rolled over an edge
// until its normal is the given unit vector; defined for every normal but straight down.
void set_rolled_frame(key_vertex& vertex, const dir3& normal) {
    const float share = normal.x / (1 + normal.y);
    vertex.tangent = {1 - normal.x * share, -normal.x, -normal.z * share};
    vertex.binormal = {normal.z * share, normal.z, normal.z * normal.z / (1 + normal.y) - 1};
    vertex.normal = normal;
}

// The frame in which t points up as far as the normal, a unit vector that is not vertical, lets it.
void set_upright_frame(key_vertex& vertex, const dir3& normal) {
    vertex.tangent = render::normalise(dir3{normal.z, 0, -normal.x});
    vertex.binormal = render::cross(normal, vertex.tangent);
    vertex.normal = normal;
}

class key_builder {
public:
    explicit key_builder(int note) : place_(place_of(note)) {
        // Neighbours must not show the same piece of the pictures.
        const float golden = static_cast<float>(note) * std::numbers::phi_v<float>;
        offset_s_ = golden - std::floor(golden);
        offset_t_ = 3 * golden - std::floor(3 * golden);
    }

    key_mesh build() {
        const outline shape = place_.black ? black_outline(place_) : white_outline(place_);
        for (const post& p : shape.posts)
            add_column(p);
        // What is seen first comes first, so that it hides the rest from the renderer.
        for (const auto& band : shape.bands)
            span_band(band, true);
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            const std::size_t next = (i + 1) % columns_.size();
            if (!shape.posts[next].again) join(columns_[i], columns_[next]);
        }
        for (const auto& band : shape.bands)
            span_band(band, false);
        mesh_.elements = pmt3d::make_strips(triangles_);
        return std::move(mesh_);
    }

private:
    // The vertices of one post from the top down; at a crease there are two in the same place, one ending
    // what is above and one beginning what is below.
    struct column {
        std::vector<std::uint32_t> as_end, as_begin;
    };

    static pos3 position(const post& p, const profile_point& at) {
        return {rounded(p.x - p.miter_x * at.inset), rounded(at.y),
                rounded(key_back + p.z - p.miter_z * at.inset - (p.front ? at.back : 0))};
    }

    // What the surroundings leave of the light: black keys stand beside the tails of the white ones, which is
    // darker on the side turned away from the light, and the lid is over the hinge.
    float ambience(const post& p) const {
        const float light = blend(0.55f, 1, p.z / lid_shadow);
        if (place_.black || p.z > black_length + contact_shadow / 2) return light;
        const bool left = p.x < (place_.left + place_.right) / 2;
        const bool beside_black = left ? place_.tail_left > place_.left : place_.tail_right < place_.right;
        return beside_black ? light * (left ? 0.62f : 0.80f) : light;
    }

    std::span<const profile_point> profile_of(const post& p) const {
        if (!p.front) return place_.black ? black_side : std::span<const profile_point>(white_side);
        if (p.upright) return place_.black ? black_front : std::span<const profile_point>(white_front);
        return place_.black ? black_front_side : std::span<const profile_point>(white_front_side);
    }

    void add_column(const post& p) {
        const std::span<const profile_point> profile = profile_of(p);
        const std::size_t n = profile.size();
        // The direction in which each piece of the profile faces: outwards and up.
        std::vector<pos2> facing;
        std::vector<float> lengths;
        for (std::size_t i = 0; i + 1 < n; ++i) {
            const profile_point &a = profile[i], &b = profile[i + 1];
            const float outwards =
                a.inset - b.inset + (p.front ? (a.back - b.back) * std::max(p.out_z, 0.0f) : 0);
            const float down = a.y - b.y;
            lengths.push_back(std::hypot(outwards, down));
            facing.push_back({down / lengths.back(), outwards / lengths.back()});
        }
        column result;
        float path = 0; // along the profile, for the picture to go on around the edge
        for (std::size_t i = 0; i < n; ++i) {
            if (i > 0) path += lengths[i - 1];
            const auto facing_normal = [&](const pos2& toward) {
                const float forward = p.upright ? 0 : toward.y * lean(p);
                return dir3{p.out_x * toward.x, toward.y, p.out_z * toward.x + forward};
            };
            const auto add = [&](const dir3& normal) {
                return add_vertex(p, profile[0], profile[i], normal, path);
            };
            const pos2 above = facing[i > 0 ? i - 1 : 0], below = facing[std::min(i, n - 2)];
            const auto edge = profile[i].edge;
            result.as_end.push_back(add(i == 0           ? top_normal(p)
                                        : edge == hidden ? facing_normal(turned_away)
                                        : edge == crease
                                            ? facing_normal(above)
                                            : facing_normal({above.x + below.x, above.y + below.y})));
            result.as_begin.push_back(edge == crease ? add(facing_normal(below)) : result.as_end.back());
        }
        columns_.push_back(std::move(result));
    }

    // How steeply the surface leans toward the player at a post, where it is level by its shape.
    float lean(const post& p) const {
        return std::tan(place_.black ? crown_forward * p.z / black_length
                                     : white_forward * p.z / white_length);
    }

    // Tops are level, those of black keys crowned.
    dir3 top_normal(const post& p) const {
        const float side = p.x < (place_.left + place_.right) / 2 ? -1.0f : 1.0f;
        return {place_.black ? side * std::tan(crown_sideways) : 0, 1, lean(p)};
    }

    std::uint32_t add_vertex(const post& p, const profile_point& rim, const profile_point& at,
                             const dir3& normal, float path) {
        key_vertex vertex;
        vertex.position = position(p, at);
        const float light = rounded(at.shade * ambience(p));
        vertex.color = {light, light, light, 1};
        const pos3 edge = position(p, rim);
        vertex.texcoord = {rounded((edge.x + p.out_x * path) / texture_width + offset_s_),
                           rounded(-(edge.z + p.out_z * path) / texture_length + offset_t_)};
        if (p.upright && &at != &rim)
            set_upright_frame(vertex, render::normalise(normal));
        else
            set_rolled_frame(vertex, render::normalise(normal));
        for (dir3* const d : {&vertex.tangent, &vertex.binormal, &vertex.normal})
            *d = rounded(*d);
        mesh_.vertices.push_back(vertex);
        return static_cast<std::uint32_t>(mesh_.vertices.size() - 1);
    }

    const pos3& at(std::uint32_t vertex) const { return mesh_.vertices[vertex].position; }

    // Joins two neighbouring profiles, which may have different numbers of points, always going on with the
    // higher of the two points to come.
    void join(const column& a, const column& b) {
        // The vertex of the profile that stays behind while the other goes down to a lower point: where the
        // first has come as low itself, it ends the faces above.
        const auto waiting = [&](const column& c, std::size_t point, std::uint32_t lower) {
            return at(c.as_end[point]).y > at(lower).y ? c.as_begin[point] : c.as_end[point];
        };
        const std::size_t last_a = a.as_end.size() - 1, last_b = b.as_end.size() - 1;
        for (std::size_t i = 0, j = 0; i < last_a || j < last_b;) {
            if (j == last_b || (i < last_a && at(a.as_end[i + 1]).y >= at(b.as_end[j + 1]).y)) {
                const std::uint32_t next = a.as_end[i + 1];
                triangles_.push_back({a.as_begin[i], next, waiting(b, j, next)});
                ++i;
            } else {
                const std::uint32_t next = b.as_end[j + 1];
                triangles_.push_back({waiting(a, i, next), next, b.as_begin[j]});
                ++j;
            }
        }
    }

    // A piece of the top or the bottom face between two rows, going on from left to right.
    void span_band(const outline::band& band, bool top) {
        const auto vertex = [&](std::size_t post_index) {
            const column& c = columns_[post_index];
            return top ? c.as_end.front() : c.as_end.back();
        };
        const auto &far = band.far, &near = band.near;
        for (std::size_t i = 0, j = 0; i + 1 < far.size() || j + 1 < near.size();) {
            const bool step_far =
                j + 1 == near.size() ||
                (i + 1 < far.size() && at(vertex(far[i + 1])).x < at(vertex(near[j + 1])).x);
            pmt3d::triangle t{vertex(far[i]), vertex(near[j]),
                              step_far ? vertex(far[i + 1]) : vertex(near[j + 1])};
            if (!top) std::swap(t[1], t[2]);
            triangles_.push_back(t);
            ++(step_far ? i : j);
        }
    }

    key_place place_;
    float offset_s_, offset_t_;
    key_mesh mesh_;
    std::vector<column> columns_;
    std::vector<pmt3d::triangle> triangles_;
};

} // namespace

key_mesh make_key(int note) {
    return key_builder(note).build();
}

} // namespace models
