#include "models/case_shape.h"

#include "models/layout/key_layout.h"
#include "render/math/operations.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <vector>

namespace models {
namespace {

using render::col3a;
using render::dir3;
using render::pos3;

struct material {
    col3a color;
    float refractfactor; // refractive index, outside over inside
    std::string case_pictures::*highlight;
    std::string case_pictures::*picture = &case_pictures::plain;
};
constexpr float brass_factor = 1 / 2.6f;
const material wood = {{0.115f, 0.085f, 0.065f, 1}, 0, &case_pictures::no_highlight};
const material brass = {{0.80f, 0.58f, 0.24f, 1}, brass_factor, &case_pictures::brass_highlight};

col3a opaque(const render::col3& color) {
    return {color.r, color.g, color.b, 1};
}

// A point of a cross-section and the share of the light that gets there.
struct section_point {
    float a, b;
    float light = 1;
};
using section = std::vector<section_point>;

// The corners of a cross-section with the way that the rounding of each takes along its edges, twice as long
// as its parabola. Begins in the middle of the edge from the last corner to the first.
struct corner {
    float a, b, rounding;
    float light = 1;
};
section rounded(const std::vector<corner>& corners) {
    constexpr float reach = 0.625f; // of the outer control points; see corner_knots
    const auto between = [](const corner& from, const corner& to, float way) {
        const float length = std::hypot(to.a - from.a, to.b - from.b);
        const float share = std::min(way / length, 0.5f);
        return section_point{from.a + (to.a - from.a) * share, from.b + (to.b - from.b) * share,
                             from.light + (to.light - from.light) * share};
    };
    section result;
    const corner &first = corners.front(), &last = corners.back();
    const auto middle = between(last, first, 1e9f);
    result.push_back(middle);
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const corner &c = corners[i], &before = corners[(i + corners.size() - 1) % corners.size()],
                     &after = corners[(i + 1) % corners.size()];
        result.push_back(between(c, before, reach * c.rounding));
        result.push_back({c.a, c.b, c.light});
        result.push_back(between(c, after, reach * c.rounding));
    }
    result.push_back(middle);
    return result;
}

// For a rounded cross-section of m points, with as few steps as do: the points that are computed, which lie
// equally far apart in the parameter, are the ends of each parabola and one in between; a straight edge is
// one step.
constexpr std::size_t order_around = 3;
constexpr float step = 0.5f; // of a parabola, whose length is 1
std::size_t corner_steps(std::size_t m) {
    const std::size_t corners = (m - 2) / 3;
    return 2 * corners + corners + 1;
}
std::vector<float> corner_knots(std::size_t m) {
    std::vector<float> knots(order_around, 0.0f);
    float at = 0;
    for (std::size_t span = 0; span < m - 2; ++span) {
        const bool parabola = span % 3 == 1, end = span == 0 || span == m - 3;
        at += parabola ? 1 : end ? step : step / 2;
        knots.push_back(at);
    }
    knots.resize(m + order_around, at);
    for (float& knot : knots)
        knot /= at;
    return knots;
}

// To a 64th: the corners that meet there are then the same for whoever rounds them.
section_point middle_of(const section& around) {
    section_point sum{0, 0};
    for (const section_point& p : around)
        sum = {sum.a + p.a, sum.b + p.b};
    const auto rounded_to = [&](float value) { return std::round(value / float(around.size()) * 64) / 64; };
    return {rounded_to(sum.a), rounded_to(sum.b)};
}

std::vector<float> clamped_knots(std::size_t count, std::size_t order) {
    std::vector<float> knots;
    for (std::size_t i = 0; i < count + order; ++i)
        knots.push_back(std::clamp((float(i) - float(order - 1)) / float(count - order + 1), 0.0f, 1.0f));
    return knots;
}

class case_builder {
public:
    case_builder(pmt3d::model_t& model, const case_pictures& pictures, const case_style& style)
        : body{opaque(style.body), style.body_factor, &case_pictures::lacquer_highlight,
               &case_pictures::body},
          front{opaque(style.front), style.mirror_factor, &case_pictures::lacquer_highlight},
          felt{opaque(style.felt), 0, &case_pictures::no_highlight},
          model_(model),
          pictures_(pictures) {}

    const material body, front, felt;

    // A solid between its cross-sections, all of as many points; the ends are closed. place(section, point)
    // puts a point into space.
    template <class Place>
    void loft(const material& of, const std::vector<section>& sections, Place place) {
        const std::size_t m = sections.front().size(), n = sections.size() + 2;
        constexpr std::size_t along = order_around, across = 2; // orders
        pmt3d::model_item_t& item = add(of, pmt3d::model_item_t::kind_t::nurbs);
        pmt3d::nurbs_t& net = item.nurbs;
        if (!net.allocate(m, along, n, across)) {
            good_ = false;
            return;
        }
        const auto write = [](std::span<float> to, const std::vector<float>& row) {
            for (std::size_t i = 0; i < to.size(); ++i)
                to[i] = row[i % row.size()];
        };
        write(net.knots1(), corner_knots(m));
        write(net.knots2(), clamped_knots(n, across));
        write(net.weights(), {1});
        for (std::size_t j = 0; j < n; ++j) {
            const std::size_t from = std::clamp<std::size_t>(j, 1, n - 2) - 1;
            const section_point middle = middle_of(sections[from]);
            for (std::size_t i = 0; i < m; ++i) {
                const section_point p = j == from + 1 ? sections[from][i] : middle;
                net.points()[j * m + i] = {place(from, p), shaded(of, p.light)};
            }
        }
        net.set_resolution(std::uint32_t(corner_steps(m)) + 1, std::uint32_t(n));
    }

    // A bar along x with rounded ends; its cross-section has a for y and b for z.
    void bar(const material& of, const std::vector<corner>& corners, float left, float right,
             float end_rounding = 0.06f) {
        const section whole = rounded(corners);
        const section_point middle = middle_of(whole);
        section smaller = whole;
        for (section_point& p : smaller) {
            p.a -= std::clamp(p.a - middle.a, -end_rounding, end_rounding);
            p.b -= std::clamp(p.b - middle.b, -end_rounding, end_rounding);
        }
        const float x[] = {left, left + end_rounding, right - end_rounding, right};
        loft(of, {smaller, whole, whole, smaller}, [&](std::size_t at, const section_point& p) {
            return pos3{x[at], p.a, p.b};
        });
    }

    // A flat rectangle, its corner `from`, spanned to the right and upwards, in so many columns.
    pmt3d::model_item_t& plate(const material& of, const pos3& from, const dir3& right, const dir3& up,
                               unsigned columns) {
        pmt3d::model_item_t& item = add(of, pmt3d::model_item_t::kind_t::polygon);
        const std::size_t vertices = 2 * (columns + 1);
        if (!item.polygon.allocate(vertices, vertices)) {
            good_ = false;
            return item;
        }
        const dir3 s = normalise(right), t = normalise(up), n = cross(s, t);
        for (std::size_t i = 0; i < vertices; ++i) {
            const float share = float(i / 2) / float(columns), height = i % 2 == 0 ? 1.0f : 0.0f;
            item.polygon.edit_vertices()[i] = {from + right * share + up * height, of.color, {share, height}};
            item.polygon.edit_normals()[i] = {s, t, n};
            item.polygon.edit_elements()[i] = pmt3d::element_t(i);
        }
        return item;
    }

    bool good() const { return good_; }

private:
    static col3a shaded(const material& of, float light) {
        return {of.color.r * light, of.color.g * light, of.color.b * light, 1};
    }
    pmt3d::model_item_t& add(const material& of, pmt3d::model_item_t::kind_t kind) {
        pmt3d::model_item_t& item = model_.items.emplace_back(kind);
        item.texture.refractfactor = of.refractfactor;
        item.texture.texture = pictures_.*of.picture;
        item.texture.specular = pictures_.*of.highlight;
        item.texture.mipmap = false;
        item.texture.nearlinear = item.texture.maglinear = item.texture.texture != pictures_.plain;
        return item;
    }

    pmt3d::model_t& model_;
    const case_pictures& pictures_;
    bool good_ = true;
};

// Half the room between the arms, and half the case's whole width.
constexpr float inside = 41.0f, outside = 45.0f;
// The front of the fallboard leans back from its foot to where it bends over into the shelf.
constexpr float foot_y = 1.05f, foot_z = 2.98f, brow_y = 7.6f, brow_z = 2.0f;
constexpr float shelf = brow_y + 0.05f;
// How far the mirror, and the name on it, stand out.
constexpr float film = 0.012f;

void add_fallboard(case_builder& made, const case_pictures& pictures) {
    const dir3 up = normalise(dir3{0, brow_y - foot_y, brow_z - foot_z}), out = cross(dir3{1, 0, 0}, up);
    constexpr float foot_rounding = 0.30f, brow_rounding = 1.7f;
    // Rounded corners reach half their way along an edge.
    const float height = std::hypot(brow_y - foot_y, brow_z - foot_z);
    const pos3 foot = {-inside, foot_y, foot_z};
    made.plate(made.front, foot + up * (foot_rounding / 2) + out * film, {2 * inside, 0, 0},
               up * (height - foot_rounding / 2 - brow_rounding / 2), 24);
    // Below and above it.
    const auto on_front = [&](float way) { return pos3{0, foot_y, foot_z} + up * way; };
    const pos3 low = on_front(foot_rounding / 2 + 0.05f), high = on_front(height - brow_rounding);
    made.bar(
        made.body,
        {{foot_y, 2.4f, 0.1f}, {low.y, 2.4f, 0.1f}, {low.y, low.z, 0.02f}, {foot_y, foot_z, foot_rounding}},
        -inside, inside);
    made.bar(made.body,
             {{high.y, 0.2f, 0.1f},
              {brow_y, 0.2f, 0.1f},
              {brow_y, brow_z, brow_rounding},
              {high.y, high.z, 0.02f}},
             -inside, inside);
    if (!pictures.name.empty()) {
        constexpr float tall = 3.3f, wide = tall * name_aspect;
        const pos3 corner = pos3{-wide / 2, foot_y, foot_z} + up * (height * 0.49f) + out * (2 * film);
        pmt3d::model_item_t& name =
            made.plate({{1, 1, 1, 1}, 0, &case_pictures::no_highlight}, corner, {wide, 0, 0}, up * tall, 1);
        name.texture.texture = pictures.name;
        name.texture.nearlinear = name.texture.maglinear = true; // making smaller copies takes long
    }
    // The hinge.
    made.bar(brass,
             {{shelf - 0.1f, 0.2f, 0.1f},
              {shelf + 0.09f, 0.2f, 0.16f},
              {shelf + 0.09f, 0.55f, 0.16f},
              {shelf - 0.1f, 0.55f, 0.1f}},
             -inside, inside);
}

void add_music_desk(case_builder& made) {
    constexpr float half = 21, foot = -6.4f, thickness = 0.55f, lean = 0.30f, high = 9.5f;
    std::vector<section> sections;
    std::vector<float> places;
    constexpr int steps = 24;
    for (int i = 0; i <= steps; ++i) {
        const float share =
            std::cos(std::numbers::pi_v<float> * (1 - float(i) / steps)); // closer together at the ends
        places.push_back(share * half);
        // Shoulders.
        const float edge = std::abs(share);
        const float top = high * (0.86f + 0.14f * std::cos(edge * 1.45f)) *
                          (edge < 0.9f ? 1 : std::sqrt(1 - std::pow((edge - 0.9f) / 0.1f, 2.0f) * 0.30f));
        const float y = shelf + top, z = foot - lean * top;
        sections.push_back(rounded({{shelf - 0.1f, foot - thickness, 0.05f},
                                    {y, z - thickness, 0.25f},
                                    {y, z, 0.35f},
                                    {shelf - 0.1f, foot, 0.05f}}));
    }
    made.loft(made.body, sections, [&](std::size_t at, const section_point& p) {
        return pos3{places[at], p.a, p.b};
    });
    // The ledge for the music.
    made.bar(made.body,
             {{shelf - 0.1f, foot - 0.2f, 0.1f},
              {shelf + 0.55f, foot - 0.2f, 0.1f},
              {shelf + 0.55f, foot + 1.5f, 0.35f},
              {shelf - 0.1f, foot + 1.5f, 0.1f}},
             -half + 0.4f, half - 0.4f, 0.3f);
}

// The lid, from the left straight to the tail and back along the bent side.
void add_lid(case_builder& made) {
    constexpr float front = -10.5f, tail = -78;
    std::vector<section> sections;
    std::vector<float> places;
    constexpr int steps = 24;
    for (int i = 0; i <= steps; ++i) {
        const float share = float(i) / steps;
        places.push_back(front + (tail - front) * share);
        const float bent = share < 0.12f ? 0 : std::pow((share - 0.12f) / 0.88f, 1.25f);
        const float right = outside - 42 * bent, left = -outside + 6 * std::pow(share, 6.0f);
        sections.push_back(rounded({{left, shelf + 0.55f, 0.45f},
                                    {right, shelf + 0.55f, 0.45f},
                                    {right, shelf - 0.1f, 0.1f},
                                    {left, shelf - 0.1f, 0.1f}}));
    }
    made.loft(made.body, sections, [&](std::size_t at, const section_point& p) {
        return pos3{p.a, p.b, places[at]};
    });
}

} // namespace

bool make_case(pmt3d::model_t& model, const case_pictures& pictures, const case_style& style) {
    model.environment.cubetex = pictures.studio;
    model.environment.reflectalpha = 1;
    case_builder made(model, pictures, style);
    constexpr float front = key_back + white_length;
    // What hides the rest from the player comes first.
    add_fallboard(made, pictures);
    // The shelf behind the hinge.
    made.bar(made.body,
             {{shelf - 0.8f, -13, 0.1f}, {shelf, -13, 0.1f}, {shelf, 0.2f, 0.1f}, {shelf - 0.8f, 0.2f, 0.1f}},
             -inside - 0.2f, inside + 0.2f);
    // The key slip.
    made.bar(made.body,
             {{-3.2f, front + 0.22f, 0.1f},
              {-0.80f, front + 0.22f, 0.22f},
              {-0.80f, front + 1.25f, 0.42f},
              {-3.2f, front + 1.25f, 0.3f}},
             -inside, inside);
    for (const float side : {-1.0f, 1.0f}) {
        const float from = side * (white_key_count / 2.0f + 0.10f), to = side * inside;
        made.bar(made.body,
                 {{-3.2f, 2.2f, 0.1f},
                  {0.75f, 2.2f, 0.1f},
                  {0.75f, front - 0.6f, 1.2f},
                  {-0.70f, front + 1.25f, 1.3f},
                  {-3.2f, front + 1.25f, 0.3f}},
                 std::min(from, to), std::max(from, to), 0.16f);
        const float near = side * inside, far = side * outside;
        made.bar(made.body,
                 {{-6.0f, -12, 0.3f},
                  {shelf + 0.5f, -12, 0.3f},
                  {shelf + 0.5f, 1.4f, 3.0f},
                  {1.9f, 6.6f, 3.2f},
                  {1.5f, front + 1.8f, 1.2f},
                  {-6.0f, front + 1.8f, 0.6f}},
                 std::min(near, far), std::max(near, far), 0.5f);
    }
    add_music_desk(made);
    // Felt where the keys go under the fallboard.
    made.bar(made.felt,
             {{-1.2f, key_back - 0.4f, 0.05f, 0.5f},
              {foot_y + 0.1f, key_back - 0.4f, 0.05f, 1.0f},
              {foot_y + 0.1f, key_back - 0.06f, 0.25f, 1.0f},
              {-1.2f, key_back - 0.06f, 0.05f, 1.0f}},
             -inside, inside);
    // What is seen between the keys.
    made.bar(wood,
             {{-2.2f, 1.6f, 0.05f, 0.5f},
              {-1.05f, 1.6f, 0.05f, 0.35f},
              {-1.05f, front + 0.4f, 0.05f, 0.8f},
              {-2.2f, front + 0.4f, 0.05f, 0.5f}},
             -inside, inside);
    add_lid(made);
    // Below the key slip.
    made.bar(made.body,
             {{-6.0f, 8, 0.3f}, {-3.3f, 8, 0.3f}, {-3.3f, front + 0.9f, 0.5f}, {-6.0f, front + 0.9f, 0.8f}},
             -outside, outside);
    return made.good();
}

} // namespace models
