// What `pmt3d convert` makes of a model on its way from one file to another.
#include "pmt3d/format/dispatch.h"
#include "render/math/operations.h"
#include "support/temporary_directory.h"
#include "tools/run_pmt3d.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <numbers>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using pmt3d::element_t;
using pmt3d::frame_t;
using pmt3d::model_item_t;
using pmt3d::model_t;
using pmt3d::polygon_t;
using render::cross;
using render::dir3;
using render::dot;
using render::pos3;
using test_support::process_result;
using corners = std::array<element_t, 3>;
using way = std::function<pos3(pos3)>; // where a movement takes a point

constexpr int around = 24, across = 16; // quads of a ring

// A ring around the y axis, about (3, 1, -2), with a picture once around it, and exact frames.
void make_ring(polygon_t& ring) {
    ASSERT_TRUE(ring.allocate((around + 1) * (across + 1), 1));
    for (int j = 0; j <= across; ++j)
        for (int i = 0; i <= around; ++i) {
            const float s = float(i) / around, t = float(j) / across, full = 2 * std::numbers::pi_v<float>;
            const float sa = std::sin(full * s), ca = std::cos(full * s), sb = std::sin(full * t),
                        cb = std::cos(full * t), radius = 2 + cb;
            const int v = j * (around + 1) + i;
            ring.edit_vertices()[v] = {{3 + radius * ca, 1 + sb, -2 - radius * sa}, {1, 1, 1, 1}, {s, t}};
            ring.edit_normals()[v] = {{-sa, 0, -ca}, {-sb * ca, cb, sb * sa}, {cb * ca, sb, -cb * sa}};
        }
    // Strips of many lengths; the first vertex of each is on the far row of quads.
    std::vector<element_t> elements;
    for (element_t j = 0; j < across; ++j) {
        const auto zigzag = [&](element_t k) { return (k % 2 ? j : j + 1) * (around + 1) + k / 2; };
        element_t k = 0;
        for (const element_t triangles : {2, 1, 1, 4, 3, 1, 2, 6, 5, 1, 12, 10}) {
            if (k % 2) // the second of a quad
                elements.insert(elements.end(), {zigzag(k + 1), zigzag(k), zigzag(k + 2)});
            else
                for (element_t n = 0; n < triangles + 2; ++n)
                    elements.push_back(zigzag(k + n));
            k += triangles;
            elements.push_back(pmt3d::strip_end);
        }
        ASSERT_EQ(k, 2u * around);
    }
    ASSERT_TRUE(ring.extend(0, elements.size()));
    std::copy(elements.begin(), elements.end(), ring.edit_elements().begin());
}

// A bowl of 5 by 4 points, whose rows have other knots than its columns, and weights.
void make_bowl(model_item_t& item) {
    item.kind = model_item_t::kind_t::nurbs;
    pmt3d::nurbs_t& bowl = item.nurbs;
    ASSERT_TRUE(bowl.allocate(5, 3, 4, 4));
    const float row[] = {0, 0, 0, 0.25f, 0.5f, 1, 1, 1}, column[] = {0, 0, 0, 0, 1, 1, 1, 1};
    for (std::size_t i = 0; i < 20; ++i) {
        const float x = float(i % 5), z = float(i / 5);
        bowl.points()[i] = {{x, (x - 2) * (x - 1.5f) / 3 + z * z / 4, -z}, {0.5f, 0.5f, 0.5f, 1}};
        bowl.weights()[i] = 1 + 0.25f * float(i % 3);
    }
    for (std::size_t i = 0; i < 32; ++i)
        bowl.knots1()[i] = row[i % 8];
    for (std::size_t i = 0; i < 40; ++i)
        bowl.knots2()[i] = column[i % 8];
    bowl.set_resolution(9, 6);
}

std::multiset<corners> triangles_of(const polygon_t& polygon, bool turned_over = false) {
    std::multiset<corners> all;
    pmt3d::for_each_triangle(polygon.getelements(), polygon.vertex_count(),
                             [&](auto, bool, auto a, auto b, auto c) {
                                 corners t = {a, b, c};
                                 if (turned_over) std::swap(t[0], t[1]);
                                 std::rotate(t.begin(), std::min_element(t.begin(), t.end()), t.end());
                                 all.insert(t);
                             });
    return all;
}

dir3 face_of(const polygon_t& polygon, const corners& t) {
    const auto vertices = polygon.vertices();
    return render::unit_triangle_normal(vertices[t[0]].position, vertices[t[1]].position,
                                        vertices[t[2]].position);
}

double volume_of(const polygon_t& polygon) {
    double volume = 0;
    for (const corners& t : triangles_of(polygon))
        volume += double(render::signed_volume({}, polygon.vertices()[t[0]].position,
                                               polygon.vertices()[t[1]].position,
                                               polygon.vertices()[t[2]].position)) /
                  6;
    return volume;
}

float distance(const dir3& a, const dir3& b) {
    return render::length(a - b);
}

class convert : public testing::Test {
protected:
    std::string file(const std::string& name) { return directory_.file(name); }
    bool exists(const std::string& name) { return std::filesystem::exists(directory_.path() / name); }
    process_result call(const std::string& line) {
        std::istringstream in("convert " + line);
        std::vector<std::string> words;
        for (std::string word; in >> word;)
            words.push_back(word[0] == '@' ? file(word.substr(1)) : word);
        return run_pmt3d(words);
    }
    void quietly(const std::string& line) {
        const process_result r = call(line);
        EXPECT_TRUE(r.exit_code == 0 && r.out.empty() && r.err.empty()) << line << ": " << r.err;
    }
    model_t load(const std::string& name) {
        model_t model;
        std::ostringstream error;
        EXPECT_TRUE(pmt3d::load(model, file(name), {error}) && error.view().empty()) << name << error.view();
        return model;
    }
    // As it is once it has been saved.
    model_t make(const std::string& name, const std::vector<std::function<void(model_item_t&)>>& surfaces) {
        model_t model;
        for (const auto& surface : surfaces)
            surface(model.items.emplace_back());
        EXPECT_TRUE(pmt3d::save(model, file(name)));
        return load(name);
    }
    model_t converted(const std::string& line, const std::string& out = "out.pmt") {
        quietly(line + " @" + out);
        return load(out);
    }

    test_support::temporary_directory directory_;
};

const auto ring = [](model_item_t& item) { make_ring(item.polygon); };
const auto bowl = [](model_item_t& item) { make_bowl(item); };

// ---- Movements

dir3 moved(const dir3& d, const way& to) {
    return to({d.x, d.y, d.z}) - to({});
}

void expect_normal(const frame_t& before, const frame_t& after, const way& to, bool mirrored) {
    const dir3 n = before.normal;
    const dir3 s = cross(n, std::abs(n.x) < 0.7f ? dir3{1, 0, 0} : dir3{0, 1, 0});
    const dir3 normal = render::normalise(cross(moved(s, to), moved(cross(n, s), to)));
    EXPECT_LT(distance(after.normal, mirrored ? -normal : normal), 1e-3f);
}

void expect_tangents(const frame_t& before, const frame_t& after, const way& to) {
    EXPECT_LT(distance(after.tangent, render::normalise(moved(before.tangent, to))), 1e-3f);
    EXPECT_NEAR(dot(after.binormal, after.normal), 0, 1e-3);
    EXPECT_NEAR(dot(after.binormal, after.tangent), 0, 1e-3);
    EXPECT_NEAR(render::length(after.binormal), 1, 1e-3);
    EXPECT_GT(dot(after.binormal, moved(before.binormal, to)), 0) << "bumps inside out";
}

void expect_place(const pmt3d::vertex_t& before, const pmt3d::vertex_t& after, const way& to) {
    const dir3 there = to(before.position) - pos3{};
    EXPECT_LT(distance(after.position - pos3{}, there), 1e-4f * (1 + render::length(there)));
}

TEST_F(convert, moves_triangles_and_nurbs_surfaces_alike) {
    const model_t in = make("in.pmt", {ring, bowl});
    make("ring.pmt", {ring});
    const std::optional<render::box3> box = [&] {
        std::optional<render::box3> all;
        for (const model_item_t& item : in.items)
            render::enclose(all, item.polygon.bounds());
        return all;
    }();
    const dir3 middle = {(box->min.x + box->max.x) / 2, (box->min.y + box->max.y) / 2,
                         (box->min.z + box->max.z) / 2};
    const auto turn = [](float degrees, float& a, float& b) { // from axis a to axis b
        const float angle = degrees * std::numbers::pi_v<float> / 180, c = std::cos(angle),
                    s = std::sin(angle);
        std::tie(a, b) = std::pair(c * a - s * b, s * a + c * b);
    };
    struct row {
        std::string options;
        double volume; // the factor, negative where it mirrors
        way to;
    };
    const row rows[] = {
        {"--scale 2", 8,
         [](pos3 p) {
             return pos3{2 * p.x, 2 * p.y, 2 * p.z};
         }},
        {"--scale 1,4,0.5", 2,
         [](pos3 p) {
             return pos3{p.x, 4 * p.y, p.z / 2};
         }},
        {"--scale -1,1,1", -1,
         [](pos3 p) {
             return pos3{-p.x, p.y, p.z};
         }},
        {"--scale=1,-2,0.5", -1,
         [](pos3 p) {
             return pos3{p.x, -2 * p.y, p.z / 2};
         }},
        {"--scale -1,3,-1", 3,
         [](pos3 p) {
             return pos3{-p.x, 3 * p.y, -p.z};
         }},
        {"--rotate 90,0,0", 1,
         [](pos3 p) {
             return pos3{p.x, -p.z, p.y};
         }},
        {"--rotate 0,0,-450", 1,
         [](pos3 p) {
             return pos3{p.y, -p.x, p.z};
         }},
        {"--rotate 30,-40,70", 1,
         [&](pos3 p) {
             turn(30, p.y, p.z), turn(-40, p.z, p.x), turn(70, p.x, p.y);
             return p;
         }},
        {"--up z", 1,
         [](pos3 p) {
             return pos3{p.x, p.z, -p.y};
         }},
        {"--up y --translate 1,2,-3", 1,
         [](pos3 p) {
             return p + dir3{1, 2, -3};
         }},
        {"--translate 1,0,0 --rotate 0,90,0", 1,
         [](pos3 p) {
             return pos3{p.z, p.y, -p.x - 1};
         }},
        {"--rotate 0,90,0 --translate 1,0,0", 1,
         [](pos3 p) {
             return pos3{p.z + 1, p.y, -p.x};
         }},
        {"--scale 2 --scale 3,1,1 --rotate 45,0,0 --scale 1,2,1", 48,
         [&](pos3 p) {
             p = {6 * p.x, 2 * p.y, 2 * p.z};
             turn(45, p.y, p.z);
             return pos3{p.x, 2 * p.y, p.z};
         }},
        {"--translate 0,2,0 --up z --units cm", std::pow(10 / 23.5, 3),
         [](pos3 p) {
             return pos3{p.x * 10 / 23.5f, p.z * 10 / 23.5f + 2, -p.y * 10 / 23.5f};
         }},
        {"--units mm --scale 23.5", 1, [](pos3 p) { return p; }},
        {"--units in --scale 0.9251968503937", 1, [](pos3 p) { return p; }},
        {"--units m --scale 0.0235", 1, [](pos3 p) { return p; }},
        {"--center", 1, [&](pos3 p) { return p - middle; }},
        {"--translate 100,0,9 --scale 2 --center --translate 0,0,1", 8,
         [&](pos3 p) {
             p = p - middle;
             return pos3{2 * p.x, 2 * p.y, 2 * p.z + 1};
         }},
    };
    for (const auto& [options, volume, to] : rows) {
        SCOPED_TRACE(options);
        const bool mirrored = volume < 0;
        const model_t out = converted(options + " @in.pmt");
        const polygon_t &before = in.items.front().polygon, &after = out.items.front().polygon;
        ASSERT_EQ(after.vertex_count(), before.vertex_count());
        ASSERT_EQ(triangles_of(after), triangles_of(before, mirrored));
        EXPECT_NEAR(volume_of(after) / volume_of(before), std::abs(volume), 1e-4 * std::abs(volume));
        for (std::size_t v = 0; v < after.vertex_count(); ++v) {
            expect_place(before.vertices()[v], after.vertices()[v], to);
            EXPECT_EQ(after.vertices()[v].texcoord, before.vertices()[v].texcoord);
            expect_normal(before.normals()[v], after.normals()[v], to, mirrored);
            expect_tangents(before.normals()[v], after.normals()[v], to);
        }
        // The bowl is still a NURBS surface, mirrored with u and v exchanged.
        const model_item_t &net = in.items.back(), &moved_net = out.items.back();
        ASSERT_EQ(moved_net.kind, model_item_t::kind_t::nurbs);
        const std::uint32_t ru = net.nurbs.resolution_u(), rv = net.nurbs.resolution_v();
        ASSERT_EQ(moved_net.polygon.vertex_count(), ru * rv);
        for (std::uint32_t v = 0; v < ru * rv; ++v) {
            const std::uint32_t there = mirrored ? v % ru * rv + v / ru : v;
            expect_place(net.polygon.vertices()[v], moved_net.polygon.vertices()[there], to);
            expect_normal(net.polygon.normals()[v], moved_net.polygon.normals()[there], to, mirrored);
        }
        quietly(options + " @ring.pmt @out.stl");
        EXPECT_NEAR(volume_of(load("out.stl").items.front().polygon) / volume_of(after), 1, 1e-4);
    }
}

// ---- Surfaces

// With a picture of that name, and so small that the size tells which it is.
auto patch(float size, const std::string& picture = "") {
    return [=](model_item_t& item) {
        ASSERT_TRUE(item.polygon.allocate(4, 5));
        const float x[] = {0, size, 0, size};
        for (int i = 0; i < 4; ++i) {
            item.polygon.edit_vertices()[i].position = {x[i], 0, i < 2 ? size : 0};
            item.polygon.edit_normals()[i] = {{1, 0, 0}, {0, 0, -1}, {0, 1, 0}};
            item.polygon.edit_elements()[i] = element_t(i);
        }
        item.polygon.edit_elements()[4] = 77; // no vertex: it ends the strip
        item.texture.texture = picture;
    };
}

// The widths of the surfaces.
std::vector<float> sizes(const model_t& model) {
    std::vector<float> all;
    for (const model_item_t& item : model.items)
        if (const auto box = item.polygon.bounds()) all.push_back(box->max.x - box->min.x);
    return all;
}
using widths = std::vector<float>;

TEST_F(convert, merges_chooses_and_splits) {
    make("a.pmt", {patch(1), patch(2)});
    make("b.pmt", {patch(3)});
    const char* faces[] = {"posx", "negx", "posy", "negy", "posz", "negz"};
    for (const std::string name : {"sky", "sea"})
        for (const char* face : faces) // of one pixel
            directory_.write(name + "_" + face + ".tga",
                             {"\0\0\2\0\0\0\0\0\0\0\0\0\1\0\1\0\x18\0\1\2\3", 21});
    const auto with = [&](const std::string& sky, const std::string& name) {
        std::ifstream in(file("b.pmt"));
        directory_.write(name, "begin environment\ncubetex " + sky + ".tga\nend\n" +
                                   std::string(std::istreambuf_iterator<char>(in), {}));
    };
    with("sky", "c.pmt");
    with("sea", "d.pmt");
    const std::tuple<std::string, widths, std::string> rows[] = {
        {"@a.pmt @b.pmt", {1, 2, 3}, ""},
        {"@b.pmt @a.pmt @b.pmt", {3, 1, 2, 3}, ""},
        {"@a.pmt @c.pmt @d.pmt", {1, 2, 3, 3}, "sky.tga"},
        {"@d.pmt @c.pmt", {3, 3}, "sea.tga"},
        {"--only 2 @a.pmt @b.pmt", {2}, ""},
        {"--only 3 @a.pmt @b.pmt --only=1", {1, 3}, ""},
        {"--scale 2 @a.pmt @b.pmt --only 2", {4}, ""},
    };
    for (const auto& [line, expected, sky] : rows) {
        const model_t out = converted(line);
        EXPECT_EQ(sizes(out), expected) << line;
        EXPECT_EQ(out.environment.cubetex, sky) << line;
    }
    directory_.write("parts-2.pmt", "old");
    quietly("--split @a.pmt @c.pmt @parts.pmt");
    for (int i = 1; i <= 3; ++i) {
        const model_t part = load("parts-" + std::to_string(i) + ".pmt");
        EXPECT_EQ(sizes(part), widths{float(i)});
        EXPECT_EQ(part.environment.cubetex, "sky.tga");
    }
    EXPECT_FALSE(exists("parts.pmt") || exists("parts-4.pmt"));
    quietly("--split --text @a.pmt @b.pmt @p.stl");
    EXPECT_EQ(sizes(load("p-3.stl")), widths{3});
    std::filesystem::create_directory(file("v1.2"));
    quietly("--split @a.pmt @v1.2/part --to pmt");
    EXPECT_TRUE(exists("v1.2/part-1") && exists("v1.2/part-2"));
}

TEST_F(convert, nurbs_surfaces_become_triangles_as_fine_as_asked_for) {
    const model_t in = make("in.pmt", {bowl});
    const auto triangles = [](const model_t& model) {
        return triangles_of(model.items.front().polygon).size();
    };
    EXPECT_EQ(triangles(converted("@in.pmt", "out.stl")), 2u * 8 * 5);
    EXPECT_EQ(triangles(converted("--resolution 40 @in.pmt", "out.stl")), 2u * 39 * 39);
    const model_t finer = converted("--resolution 40 @in.pmt");
    EXPECT_EQ(finer.items.front().nurbs.resolution_u(), 40u);
    EXPECT_EQ(finer.items.front().nurbs.resolution_v(), 40u);
    const model_t made = converted("--resolution 40 --triangles @in.pmt");
    const polygon_t &net = finer.items.front().polygon, &polygon = made.items.front().polygon;
    ASSERT_EQ(made.items.front().kind, model_item_t::kind_t::polygon);
    EXPECT_EQ(triangles_of(polygon), triangles_of(net));
    for (std::size_t v = 0; v < 1600; ++v) {
        EXPECT_LT(distance(polygon.vertices()[v].position - net.vertices()[v].position, {}), 1e-4f);
        EXPECT_NEAR(polygon.vertices()[v].texcoord.s, net.vertices()[v].texcoord.s, 1e-5);
        EXPECT_LT(distance(polygon.normals()[v].normal, net.normals()[v].normal), 1e-4f);
    }
    // Mirrored with a picture, which would be turned with u and v.
    const auto pictured = [](model_item_t& item) {
        make_bowl(item);
        item.texture.texture = "bowl.png";
    };
    for (const auto& [surface, kind] : {std::pair<std::function<void(model_item_t&)>, model_item_t::kind_t>{
                                            pictured, model_item_t::kind_t::polygon},
                                        {bowl, model_item_t::kind_t::nurbs}}) {
        make("mirror.pmt", {surface});
        EXPECT_EQ(call("--scale 1,1,-1 @mirror.pmt @out.pmt").exit_code, 0);
        model_t out;
        std::ostringstream error;
        ASSERT_TRUE(pmt3d::load(out, file("out.pmt"), {error}));
        EXPECT_EQ(out.items.front().kind, kind);
    }
}

TEST_F(convert, smooths_what_has_only_triangles) {
    make("ring.pmt", {ring});
    quietly("@ring.pmt @ring.stl");
    const polygon_t flat = converted("@ring.stl").items.front().polygon;
    EXPECT_EQ(flat.vertex_count(), 3u * 2 * around * across);
    const model_t out = converted("--smooth 30 @ring.stl");
    const polygon_t& smooth = out.items.front().polygon;
    EXPECT_EQ(smooth.vertex_count(), std::uint64_t(around * across));
    EXPECT_LT(smooth.element_count(), 1.2 * 2 * around * across);
    EXPECT_NEAR(volume_of(smooth), volume_of(flat), 1e-3);
    for (std::size_t v = 0; v < smooth.vertex_count(); ++v) { // as on the ring itself
        const dir3 p = smooth.vertices()[v].position - pos3{3, 1, -2};
        const float r = std::hypot(p.x, p.z);
        EXPECT_LT(distance(smooth.normals()[v].normal, {p.x * (1 - 2 / r), p.y, p.z * (1 - 2 / r)}), 0.05f);
    }
    for (const std::string angle : {"0", "7"}) { // the ring is coarser than that
        const polygon_t sharp = converted("--smooth " + angle + " @ring.pmt").items.front().polygon;
        for (const corners& t : triangles_of(sharp))
            EXPECT_LT(distance(sharp.normals()[t[0]].normal, face_of(sharp, t)), angle == "0" ? 1e-3f : 0.1f);
    }
}

TEST_F(convert, a_model_becomes_a_key) {
    // Of a black key (61), and of a white one: its room between the gaps, its top.
    make("ring.pmt", {ring, bowl});
    make("long.pmt", {patch(1), patch(2)});
    quietly("@long.pmt --scale 1,1,20 @long.pmt");
    struct row {
        std::string line;
        float left, right, top, back, front;
    };
    // Note 60 is the 36th white key, from -37.5 + 35; black keys lie 0.583 wide between the tails.
    const float black = -37.5f + 35 + (3 - 2 * 0.583f) / 3, middle = black + 0.583f / 2;
    const row rows[] = {
        {"--fit-key 60 @ring.pmt", -2.5f + 0.0325f, -1.5f - 0.0325f, 0, NAN, 9.4f},
        {"--fit-key 127 @ring.pmt", 36.5f + 0.0325f, 37.5f - 0.0325f, 0, NAN, 9.4f},
        {"--translate 5,6,7 --fit-key 61 @ring.pmt", black + 0.025f, black + 0.583f - 0.025f, 0.5f, NAN,
         7.2f},
        {"--fit-key 62 @long.pmt", -1.16f, -0.84f, 0, 3, 9.4f},
        {"--fit-key=61 @long.pmt --scale 9", middle - 0.105f, middle + 0.105f, 0.5f, 3, 7.2f},
    };
    for (const auto& [line, left, right, top, back, front] : rows) {
        const model_t out = converted(line);
        ASSERT_EQ(out.items.size(), 1u) << line;
        ASSERT_EQ(out.items.front().kind, model_item_t::kind_t::polygon);
        const std::optional<render::box3> box = out.items.front().polygon.bounds();
        ASSERT_TRUE(box);
        EXPECT_NEAR(box->min.x, left, 2e-4f) << line;
        EXPECT_NEAR(box->max.x, right, 2e-4f) << line;
        EXPECT_NEAR(box->max.y, top, 2e-4f) << line;
        EXPECT_NEAR(box->max.z, front, 2e-4f) << line;
        if (!std::isnan(back)) {
            EXPECT_NEAR(box->min.z, back, 2e-4f) << line;
        }
    }
    // Two surfaces in one: each with its own triangles.
    EXPECT_EQ(triangles_of(load("out.pmt").items.front().polygon),
              (std::multiset<corners>{{0, 1, 2}, {1, 3, 2}, {4, 5, 6}, {5, 7, 6}}));
    make("wide.pmt", {patch(1)});
    quietly("--scale 1,1,6 @wide.pmt @wide.pmt");
    EXPECT_EQ(call("--fit-key 62 @wide.pmt @out.pmt").err,
              "pmt3d: warning: key 62 reaches into the room of the black keys beside it.\n");
    make("two.pmt", {patch(1), patch(1, "a.png")});
    const process_result r = call("--fit-key 62 @two.pmt @none.pmt");
    EXPECT_TRUE(
        r.exit_code == 1 &&
        r.err.ends_with(
            "a key is one surface, and surface 2 has other pictures than surface 1: --only chooses.\n"))
        << r.err;
    EXPECT_FALSE(exists("none.pmt"));
}

TEST_F(convert, bad_values_are_refused_in_one_line) {
    make("in.pmt", {patch(1), bowl});
    make("point.pmt", {[](model_item_t& item) { ASSERT_TRUE(item.polygon.allocate(3, 3)); }});
    make("far.pmt", {[](model_item_t& item) {
             patch(1)(item);
             for (auto& v : item.polygon.edit_vertices())
                 v.position.x = 3e38f * (v.position.x - 0.5f) * 2;
         }});
    const std::tuple<const char*, int, const char*> rows[] = {
        {"--scale 0", 2, "--scale takes no factor of 0"},
        {"--scale 1,0,1", 2, "--scale takes no factor of 0"},
        {"--scale -0", 2, "--scale takes no factor of 0"},
        {"--scale nan", 2, "--scale takes a factor S"},
        {"--scale 1,2", 2, "--scale takes a factor S"},
        {"--scale 1e39", 2, "--scale takes a factor S"},
        {"--scale 1,2,3,4", 2, "--scale takes a factor S"},
        {"--rotate 90", 2, "--rotate takes three angles"},
        {"--rotate 1,2,inf", 2, "--rotate takes three angles"},
        {"--translate 1,,2", 2, "--translate takes three distances"},
        {"--translate", 2, "--translate takes three distances"},
        {"--units ft", 2, "--units takes mm, cm, m or in"},
        {"--up x", 2, "--up takes y or z"},
        {"--fit-key 128", 2, "--fit-key takes a note"},
        {"--fit-key -1", 2, "--fit-key takes a note"},
        {"--fit-key C4", 2, "--fit-key takes a note"},
        {"--smooth 181", 2, "--smooth takes an angle"},
        {"--smooth -1", 2, "--smooth takes an angle"},
        {"--smooth x", 2, "--smooth takes an angle"},
        {"--resolution 1", 2, "--resolution takes a whole number, 2 to 8192."},
        {"--resolution 8193", 2, "--resolution takes a whole number, 2 to 8192."},
        {"--resolution 3000", 1, "1 with 9000000 vertices each are more than a file may have"},
        {"--resolution 1300 @in.pmt", 1, "2 with 1690000 vertices each are more than a file may have"},
        {"--only 3", 1, "there is no surface 3; there are 1 to 2."},
        {"--only 0", 1, "there is no surface 0"},
        {"--only 2 --only leg", 1, "there is no surface leg"},
        {"--scale 3e38", 1, "a coordinate leaves the range of numbers"},
        {"--translate 3e38,0,0 --translate 3e38,0,0", 1, "a coordinate leaves the range of numbers"},
        {"--scale 1e-38 --scale 1e-38 --scale 1e-38 --scale 1e-38 --scale 1e-38 --scale 1e-38 --scale 1e-38 "
         "--scale "
         "1e-38 --scale 1e-38",
         1, "a coordinate leaves the range of numbers"},
        {"--only 1 @far.pmt --scale 2", 1, "a coordinate leaves the range of numbers"},
        {"--fit-key 60 @point.pmt --only 1", 1, "the model has neither width nor length."},
    };
    for (const auto& [options, code, message] : rows) {
        const process_result r = call(std::string(options) + " @in.pmt @o.pmt");
        EXPECT_EQ(r.exit_code, code) << options;
        EXPECT_NE(r.err.find(message), std::string::npos) << options << ": " << r.err;
        EXPECT_FALSE(exists("o.pmt")) << options;
    }
    EXPECT_NE(call("--smooth 30 @in.pmt @o.stl").err.find("--smooth is for .pmt"), std::string::npos);
}

} // namespace
