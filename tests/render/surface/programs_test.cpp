// The built-in shaders as programs: what their stages compute, with matrices and frames of every kind.

#include "formulas.h"
#include "rig.h"
#include "support/gl_context.h"

#include <bit>

namespace {

using namespace render;
using namespace test_support;
using enum stored_shader;

using floats = std::vector<float>;

// The floats of values that consist of nothing else, one after the other.
template <class... Value>
floats flat(const Value&... values) {
    floats all;
    const auto append = [&all](const auto& value) {
        const auto parts = std::bit_cast<std::array<float, sizeof value / sizeof(float)>>(value);
        all.insert(all.end(), parts.begin(), parts.end());
    };
    (append(values), ...);
    return all;
}

void expect_near(const floats& actual, const floats& expected, const char* what, float tolerance = 1e-5f) {
    ASSERT_EQ(actual.size(), expected.size()) << what;
    for (std::size_t i = 0; i < actual.size(); ++i)
        EXPECT_NEAR(actual[i], expected[i], tolerance * (1 + std::abs(expected[i]))) << what << ' ' << i;
}

const layout_ref colored_layout = make_layout({attribute::position, attribute::rgba});
const layout_ref textured_layout = make_layout({attribute::position, attribute::rgba, attribute::texcoord2});

layout_ref layout_of_two() {
    using enum attribute;
    return make_layout({position, rgba, texcoord2, position, position, position, position, rgba, texcoord2,
                        position, position, position});
}

class Programs : public gl_test {
protected:
    void look(rig& program) const {
        program.set("Globalview", view.globalview);
        program.set("Modelview", view.modelview);
        program.set("invModelview", view.inverse);
        program.set("Projection", view.projection);
        program.set("LightPosition", {view.light.x, view.light.y, view.light.z});
        program.set("Shininess", {view.shininess});
    }
    vec3w clip(const pos3& p) const { return view.projection * (view.modelview * vec3w{p.x, p.y, p.z, 1}); }
    static void wear(rig& program, int unit, const std::string& sampler, const test_texture& texture) {
        program.set(sampler.c_str(), unit);
        glActiveTexture(GL_TEXTURE0 + GLenum(unit));
        glBindTexture(texture.target, texture.name);
        glActiveTexture(GL_TEXTURE0);
    }

    const camera view;
    random_vertices random;
};

TEST_F(Programs, SurfaceVertexStage) {
    rig program({surface_vertex, surface_fragment},
                {"vertex_t.Position", "vertex_t.Color", "vertex_t.TexCoord", "vertex_t.ViewDir",
                 "vertex_t.LightDir", "vertex_t.ReflectDir", "vertex_t.RefractDir",
                 "vertex_t.ObjectToSurface", "gl_Position"});
    look(program);
    program.set("ColorFactor", {0.75f});
    for (const bool skybox : {false, true}) {
        program.set("SkyBox", skybox);
        const test_vertex v = random.next();
        const floats expected = flat(test_support::surface_vertex(v, view, skybox, 0.75f));
        expect_near(program.run(surface_layout(), flat(v), expected.size()), expected, "vertex");
    }
}

TEST_F(Programs, MorphingBlendsTwoSurfaces) {
    rig program({morphing_vertex, morphing_fragment});
    look(program);
    const dress first(10), second(20);
    int unit = 0;
    for (const auto& [dressing, number] : {std::pair{&first, ""}, {&second, "2"}})
        for (const auto& [name, picture] : {std::pair{"colorTex", &dressing->color},
                                            {"bumpTex", &dressing->bump},
                                            {"specTex", &dressing->gloss}})
            wear(program, unit++, std::string(name) + number, picture->texture());
    wear(program, 7, "cubeTex", direction_cube());
    program.set("bumpOfs", {0.3f, 0.55f});
    program.set("bumpOfs2", {0.6f, -0.2f});
    // The height is doubled around the middle before it wraps.
    const auto slope = [](float f) {
        const float twice = (f - 0.5f) * 2;
        return std::asin(twice - std::floor(twice)) / 1.57079633f * 0.5f + 0.5f;
    };
    int compared = 0;
    for (int round = 0; round < 24; ++round) {
        const float rate = random.any(0, 1), opposite = 1 - rate;
        const bool mercator = round % 2, mercator_2 = round % 3 == 0;
        const mirror around = {round % 4 == 0 ? 0.0f : 0.7f, round % 5 == 0 ? 0.0f : 0.4f, 0.8f,
                               round % 6 == 5};
        program.set("MorphingRate", {rate});
        program.set("MercatorSphere", mercator);
        program.set("MercatorSphere2", mercator_2);
        program.set("ReflectAlpha", {around.reflect});
        program.set("RefractAlpha", {around.refract});
        program.set("RefractFactor", {around.factor});
        program.set("SkyBox", around.skybox);

        const test_vertex a = random.next(), b = random.next();
        const auto mix = [&](const dir3& x, const dir3& y) { return x * opposite + y * rate; };
        const auto mix_colors = [&](const vec3w& x, const vec3w& y) { return x * opposite + y * rate; };
        const vec3w color = mix_colors(rgba(a.color), rgba(b.color));
        const pos3 zero = {};
        test_vertex blended = a;
        blended.position = zero + mix(a.position - zero, b.position - zero);
        blended.color = {color.x, color.y, color.z, color.w};
        for (const auto direction : {&test_vertex::tangent, &test_vertex::binormal, &test_vertex::normal})
            blended.*direction = mix(a.*direction, b.*direction);
        const lit_vertex lit = test_support::surface_vertex(blended, view, around.skybox, 1);
        const txc2 at = {a.texcoord.s, mercator ? slope(a.texcoord.t) : a.texcoord.t};
        const txc2 at_2 = {b.texcoord.s, mercator_2 ? slope(b.texcoord.t) : b.texcoord.t};
        bool sure = true;
        const dir3 norm = normalise(xyz(mix_colors(first.bump.at({at.s + 0.3f, at.t + 0.55f}, sure),
                                                   second.bump.at({at_2.s + 0.6f, at_2.t - 0.2f}, sure))));
        const vec3w expected =
            phong(mix_colors(first.color.at(at, sure), second.color.at(at_2, sure)) * color,
                  mix_colors(first.gloss.at(at, sure), second.gloss.at(at_2, sure)), norm, lit.view,
                  lit.light, view.shininess) +
            surrounding(lit, norm, around, view);
        if (!sure) continue;
        ++compared;
        expect_near(flat(program.pixel(layout_of_two(), flat(a, b))), flat(expected),
                    ("morphing " + std::to_string(round)).c_str(), 0.02f);
    }
    EXPECT_GT(compared, 10);
}

TEST_F(Programs, PlainIsTextureTimesColour) {
    rig program({plain_vertex, plain_fragment}, {"vertex_t.Position", "gl_Position"});
    look(program);
    const texels picture(30, 0, 1);
    wear(program, 0, "Texture", picture.texture());
    bool sure = true;
    const test_vertex v = random.next();
    const floats input = flat(v.position, v.color, v.texcoord);
    const lit_vertex lit = test_support::surface_vertex(v, view, false, 1);
    expect_near(flat(program.pixel(textured_layout, input)),
                flat(picture.at(v.texcoord, sure) * rgba(v.color)), "plain");
    ASSERT_TRUE(sure);
    expect_near(program.run(textured_layout, input, 7), flat(lit.position, lit.clip), "plain vertex");
}

TEST_F(Programs, ColouredOnesHandTheColourOn) {
    for (const auto vertex : {colored_vertex, clip_lines_vertex}) {
        rig program({vertex, points_fragment}, {"gl_Position"});
        look(program);
        const test_vertex v = random.next();
        const floats input = flat(v.position, v.color);
        expect_near(flat(program.pixel(colored_layout, input)), flat(v.color), "colour");
        expect_near(program.run(colored_layout, input, 4), flat(clip(v.position)), "place");
    }
}

TEST_F(Programs, PhongLightsTheAveragedFrame) {
    rig program({frames_vertex, phong_fragment});
    program.set("LightPosition", {view.light.x, view.light.y, view.light.z});
    program.set("Shininess", {view.shininess});
    const auto layout =
        make_layout({attribute::position, attribute::rgba, attribute::texcoord2, attribute::position,
                     attribute::position, attribute::position, attribute::position});
    for (int round = 0; round < 8; ++round) {
        const test_vertex v = random.next(), w = random.next();
        const dir3 normal = normalise(cross(v.tangent, v.binormal) + cross(w.tangent, w.binormal));
        const pos3 zero = {};
        vec3w expected = phong({v.color.r, v.color.g, v.color.b, 0}, {1, 1, 1, 1}, normal, zero - v.position,
                               view.light - v.position, view.shininess);
        expected.w += v.color.a * std::max(dot(normalise(view.light - v.position), normal), 0.0f);
        expect_near(flat(program.pixel(layout, flat(v.position, v.color, v.texcoord, v.tangent, v.binormal,
                                                    w.tangent, w.binormal))),
                    flat(expected), "Phong");
    }
}

TEST_F(Programs, SelectionQuartersTheAlphaOfMarkedTriangles) {
    rig program({surface_vertex, selection_geometry, surface_fragment},
                {"vertex_t.Color", "vertex_t.TexCoord", "vertex_t.ObjectToSurface"});
    look(program);
    program.set("ColorFactor", {1.0f});
    program.set("vertwidth", 2);
    // Six triangles in rows of two: only numbers 1 and 4 are marked, the latter by a single weak component.
    vec3w marks[6] = {};
    marks[1].x = 1, marks[4].w = 1 / 255.0f;
    const test_texture marked(GL_TEXTURE_2D, 2, 3, marks);
    wear(program, 5, "vertids", marked);
    floats input, expected;
    for (int i = 0; i < 18; ++i) {
        const test_vertex v = random.next();
        const floats in = flat(v), out = flat(v.color.r, v.color.g, v.color.b,
                                              v.color.a * (i / 3 == 1 || i / 3 == 4 ? 0.25f : 1.0f),
                                              v.texcoord, v.tangent, v.binormal, v.normal);
        input.insert(input.end(), in.begin(), in.end());
        expected.insert(expected.end(), out.begin(), out.end());
    }
    expect_near(program.run(surface_layout(), input, expected.size()), expected, "selection");
}

TEST_F(Programs, ClippedPointsKnowWhetherTheyAreInside) {
    rig program({clipped_points_vertex, points_fragment},
                {"VertexColor", "VertexID", "isInside", "gl_Position", "gl_PointSize"});
    const mtx3w unit = mtx3w::identity();
    program.set("Modelview", unit);
    program.set("Projection", unit);
    // 1 + x, 1 - x, 1 + y, 1 - y of the place in clip space: one plane in each component.
    program.set("ClipPlanes", mtx3w{{1, -1, 0, 0, 0, 0, 1, -1, 0, 0, 0, 0, 1, 1, 1, 1}});
    const std::pair<pos3, bool> cases[] = {// A point on a plane is inside.
                                           {{0, 0, 0}, true},        {{1, 0, 3}, true},
                                           {{-1, 1, 0}, true},       {{0, -1, 9}, true},
                                           {{1.0001f, 0, 0}, false}, {{-1.0001f, 0, 0}, false},
                                           {{0, 1.0001f, 0}, false}, {{0, -1.0001f, 0}, false}};
    floats input, expected;
    for (int i = 0; i < int(std::size(cases)); ++i) {
        const auto& [p, inside] = cases[i];
        const col3a color = {0.1f, 0.2f, 0.3f, 0.4f};
        const floats in = flat(p, color, 5.0f + float(i));
        const floats out = flat(color, i, int(inside), p, 1.0f, 5.0f + float(i));
        input.insert(input.end(), in.begin(), in.end());
        expected.insert(expected.end(), out.begin(), out.end());
    }
    const auto layout = make_layout({attribute::position, attribute::rgba, attribute::point_size});
    EXPECT_EQ(program.run(layout, input, expected.size()), expected);

    look(program);
    const floats captured = program.run(layout, flat(pos3{0.3f, 0.2f, 0.5f}, col3a{}, 1.0f), 11);
    expect_near({captured.begin() + 6, captured.begin() + 10}, flat(clip({0.3f, 0.2f, 0.5f})), "place");
}

TEST_F(Programs, ClipLinesEmitsTheTriangleAsItCame) {
    rig program({clip_lines_vertex, clip_lines_geometry, clip_lines_fragment},
                {"GeometryColor", "gl_Position"});
    look(program);
    program.set("ClipLines", {0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1}); // would cut everything away
    const pos3 corners[] = {{-9, -9, 0}, {9, -9, 0}, {0, 20, 0}};
    const col3a color = {0.25f, 0.5f, 0.75f, 0.5f};
    const floats input = flat(corners[0], color, corners[1], color, corners[2], color);
    expect_near(program.run(colored_layout, input, 24),
                flat(color, clip(corners[0]), color, clip(corners[1]), color, clip(corners[2])), "triangle");
    expect_near(flat(program.pixel(colored_layout, input)), flat(color), "colour");
}

} // namespace
