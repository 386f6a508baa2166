// The sixteen built-in shaders: what each offers, that they fit together, and that their stages before the
// fragment compute what they should.

#include "render/math/matrix.h"
#include "render/math/operations.h"
#include "rig.h"
#include "support/gl_context.h"

#include <bit>
#include <fstream>
#include <map>
#include <sstream>

namespace {

using namespace render;
using test_support::rig;

enum index {
    plain_f,
    plain_v,
    morph_f,
    morph_v,
    surface_f,
    select_g,
    surface_v,
    points_f,
    clipped_v,
    phong_f,
    frames_v,
    points2_f,
    colored_v,
    lines_f,
    lines_g,
    colored2_v
};

class Shaders : public test_support::gl_test {};

// "TYPE NAME " for every member of a block.
std::string members(std::string_view block) {
    std::istringstream lines{std::string(block)};
    std::string all, type, name, line;
    while (lines >> type >> name) {
        all += type + " " + name.substr(0, name.find(';')) + " ";
        std::getline(lines, line); // the comment behind it
    }
    return all;
}

TEST_F(Shaders, AreStoredInOrder) {
    using enum shader_stage;
    const std::string plain = "vec3 Position vec4 Color vec2 TexCoord ";
    const std::string lit =
        "vec3 ViewDir vec3 LightDir vec3 ReflectDir vec3 RefractDir mat3 ObjectToSurface ";
    const struct {
        const char* role;
        shader_stage stage;
        std::string block; // members of vertex_t as the stage hands them on or takes them; empty: no block
    } expected[] = {
        {"plain textured", fragment, plain},
        {"plain textured", vertex, plain},
        {"morphing surface", fragment, plain + "vec2 TexCoord2 " + lit},
        {"morphing surface", vertex, plain + "vec2 TexCoord2 " + lit},
        {"surface", fragment, plain + lit},
        {"selection highlight", geometry, plain + lit},
        {"surface", vertex, plain + lit},
        {"coloured points", fragment, ""},
        {"clipped coloured points", vertex, ""},
        {"Phong", fragment, ""},
        {"frame averaging", vertex, ""},
        {"coloured points", fragment, ""},
        {"coloured", vertex, ""},
        {"clip-lines", fragment, ""},
        {"clip-lines", geometry, ""},
        {"coloured", vertex, ""},
    };
    const auto all = builtin_shaders();
    ASSERT_EQ(all.size(), std::size(expected));
    for (std::size_t i = 0; i < all.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(all[i].role, expected[i].role);
        EXPECT_EQ(all[i].stage, expected[i].stage);
        EXPECT_TRUE(all[i].text.starts_with("#version 330\n"));
        shader_t shader;
        EXPECT_TRUE(shader.compile_text(all[i].stage, all[i].text)) << shader.log();
        EXPECT_EQ(shader.log(), "");
        int blocks = 0;
        const std::string_view text = all[i].text;
        for (std::size_t at = text.find("vertex_t {"); at != text.npos;
             at = text.find("vertex_t {", at + 1), ++blocks) {
            EXPECT_EQ(members(text.substr(at + 10, text.find('}', at) - at - 10)), expected[i].block);
        }
        EXPECT_EQ(blocks, expected[i].block.empty() ? 0 : all[i].stage == geometry ? 2 : 1);
    }
    EXPECT_EQ(all[points_f].text, all[points2_f].text);
    EXPECT_NE(all[colored_v].text, all[colored2_v].text);
    EXPECT_EQ(builtin_surface_fragment().text, all[surface_f].text);
    EXPECT_EQ(builtin_surface_vertex().text, all[surface_v].text);
    EXPECT_EQ(builtin_feedback_fragment().text, all[phong_f].text);
    EXPECT_EQ(builtin_feedback_vertex().text, all[frames_v].text);
}

// Uniforms that a shader declares without using them are not active, so the linked program does not list
// them.
TEST_F(Shaders, DeclareWhatTheyDoNotUse) {
    const struct {
        index shader;
        const char* declaration;
    } expected[] = {{surface_v, "uniform float RefractFactor;"},
                    {plain_f, "uniform mat4 Globalview;"},
                    {plain_f, "uniform mat4 invModelview;"},
                    {plain_v, "// uniform mat4 invModelview;"},
                    {frames_v, "uniform mat4 Modelview;"},
                    {frames_v, "uniform mat4 invModelview;"},
                    {frames_v, "uniform mat4 Projection;"},
                    {phong_f, "uniform vec4 specularColor;"},
                    {lines_g, "uniform mat4x3 ClipLines;"},
                    {lines_g, "max_vertices = 7"},
                    {select_g, "max_vertices = 7"},
                    {surface_f, "float sin_slope(float f)"}};
    for (const auto& one : expected) {
        EXPECT_NE(builtin_shaders()[one.shader].text.find(one.declaration), std::string_view::npos)
            << one.declaration;
    }
}

// "[name]" and the lines up to the next name.
std::map<std::string, std::string> sections(const char* file) {
    std::map<std::string, std::string> all;
    std::ifstream lines(file);
    for (std::string line, name; std::getline(lines, line);) {
        if (line.starts_with('[')) {
            name = line.substr(1, line.size() - 2);
        } else {
            all[name] += line + "\n";
        }
    }
    return all;
}

TEST_F(Shaders, ProgramsAndTheirInterfaces) {
    if (!glGetProgramInterfaceiv) GTEST_SKIP() << "needs OpenGL 4.3";
    const struct {
        const char* name;
        std::initializer_list<int> shaders;
        std::vector<const char*> captured;
    } cases[] = {
        {"plain textured", {plain_v, plain_f}, {}},
        {"surface", {surface_v, surface_f}, {}},
        {"surface with selection", {surface_v, select_g, surface_f}, {}},
        {"morphing", {morph_v, morph_f}, {}},
        {"frames", {frames_v, phong_f}, {"VertexTangent", "VertexBiNormal", "VertexNormal"}},
        {"clipped points", {clipped_v, points_f}, {"VertexColor", "VertexID", "isInside"}},
        {"coloured", {colored_v, points2_f}, {}},
        {"clip lines", {colored2_v, lines_g, lines_f}, {"GeometryColor"}},
    };
    const auto expected = sections(QUENVAREL_TEST_DATA "/render/program_interfaces.txt");
    ASSERT_EQ(expected.size(), std::size(cases));
    for (const auto& one : cases) {
        SCOPED_TRACE(one.name);
        const rig program(one.shaders, one.captured);
        EXPECT_TRUE(program.linked()) << program.log();
        std::string interface = program.interface();
        // Used for nothing that leaves the program: a driver may keep them or not.
        for (const std::string unused : {"in 2 TexCoord vec2\n", "uniform ClipLines mat4x3\n"}) {
            const auto at = interface.find(unused);
            if (at != interface.npos && expected.at(one.name).find(unused) == std::string::npos)
                interface.erase(at, unused.size());
        }
        EXPECT_EQ(interface, expected.at(one.name));
    }
}

// ---- What the stages compute. Expected values come from the matrix and vector operations of the CPU.

const mtx3w turned = mtx3w::translation(0.25f, -0.5f, -3.0f) * to_matrix(rot3{40.0f, {1.0f, 2.0f, 0.5f}});
const mtx3w squeezed = {{1.5f, 0, 0, 0, 0, 2.0f, 0, 0, 0, 0, -1.2f, -1, 0, 0, -0.7f, 0}};
const pos3 light = {2.0f, 3.0f, 4.0f};

struct vertex { // attributes 0 to 5
    pos3 position;
    col3a color;
    txc2 texcoord;
    dir3 tangent, binormal, normal;
};
const vertex some_vertex = {{0.5f, -0.25f, 1.5f}, {0.2f, 0.4f, 0.6f, 0.8f}, {0.3f, 0.7f},
                            {0.8f, 0.6f, 0.0f},   {-0.6f, 0.8f, 0.0f},      {0.0f, 0.0f, 1.0f}};
const vertex other_vertex = {{-0.5f, 0.75f, 0.5f}, {0.9f, 0.1f, 0.3f, 0.4f}, {0.6f, 0.1f},
                             {0.0f, 1.0f, 0.0f},   {0.0f, 0.0f, 1.0f},       {1.0f, 0.0f, 0.0f}};

dir3 direction(const vec3w& v) {
    return {v.x, v.y, v.z};
}
vec3w point(const pos3& p) {
    return {p.x, p.y, p.z, 1.0f};
}
dir3 in_frame(const dir3& v, const dir3& t, const dir3& b, const dir3& n) {
    return {dot(v, t), dot(v, b), dot(v, n)};
}

using floats = std::vector<float>;
void append(floats& list, std::initializer_list<float> values) {
    list.insert(list.end(), values);
}
void append(floats& list, const dir3& v) {
    append(list, {v.x, v.y, v.z});
}
void append(floats& list, const vertex& v) {
    append(list, {v.position.x, v.position.y, v.position.z, v.color.r, v.color.g, v.color.b, v.color.a,
                  v.texcoord.s, v.texcoord.t});
    for (const dir3& d : {v.tangent, v.binormal, v.normal})
        append(list, d);
}

void expect_near(const floats& actual, const floats& expected, const char* what) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i)
        EXPECT_NEAR(actual[i], expected[i], 2e-6f) << what << ", float " << i;
}

// What surface.vert hands on for a vertex, in the order of the block's members, then the clip position.
floats lit_vertex(const vertex& v) {
    const mtx3w inv = inverse(turned);
    const auto to_eye = [&](const dir3& d) { return direction(vec3w{d.x, d.y, d.z, 0.0f} * inv); };
    const dir3 t = to_eye(v.tangent), b = to_eye(v.binormal), n = to_eye(v.normal);
    const vec3w eye = turned * point(v.position);
    const dir3 to_light = normalise(light - pos3{eye.x, eye.y, eye.z});
    const dir3 to_viewer = normalise(dir3{-eye.x, -eye.y, -eye.z});
    floats all;
    append(all, direction(eye));
    append(all, {v.color.r, v.color.g, v.color.b, v.color.a, v.texcoord.s, v.texcoord.t});
    append(all, in_frame(to_viewer, t, b, n));
    append(all, in_frame(to_light, t, b, n));
    for (const dir3& d : {to_viewer, to_viewer, v.tangent, v.binormal, v.normal})
        append(all, d);
    const vec3w clip = squeezed * eye;
    append(all, {clip.x, clip.y, clip.z, clip.w});
    return all;
}

const std::vector<const char*> surface_members = {
    "vertex_t.Position",   "vertex_t.Color",           "vertex_t.TexCoord",
    "vertex_t.ViewDir",    "vertex_t.LightDir",        "vertex_t.ReflectDir",
    "vertex_t.RefractDir", "vertex_t.ObjectToSurface", "gl_Position"};
constexpr int surface_floats = 3 + 4 + 2 + 3 + 3 + 3 + 3 + 9 + 4;

const std::initializer_list<attribute> surface_attributes = {attribute::position,  attribute::rgba,
                                                             attribute::texcoord2, attribute::position,
                                                             attribute::position,  attribute::position};

void set_view(rig& program) {
    program.set("Modelview", turned);
    program.set("invModelview", inverse(turned));
    program.set("Projection", squeezed);
    program.set("LightPosition", {light.x, light.y, light.z});
}

TEST_F(Shaders, MorphingVertexStageBlendsTwoSurfaces) {
    std::vector<const char*> members = surface_members;
    members.insert(members.begin() + 3, "vertex_t.TexCoord2");
    rig program({morph_v, morph_f}, members);
    ASSERT_TRUE(program.linked()) << program.log();
    set_view(program);
    const float rate = 0.25f, opposite = 0.75f;
    program.set("MorphingRate", {rate});

    const vertex &a = some_vertex, &b = other_vertex;
    const auto mix = [&](const dir3& x, const dir3& y) { return x * opposite + y * rate; };
    const dir3 position =
        mix({a.position.x, a.position.y, a.position.z}, {b.position.x, b.position.y, b.position.z});
    const vertex blended = {{position.x, position.y, position.z},
                            {a.color.r * opposite + b.color.r * rate, a.color.g * opposite + b.color.g * rate,
                             a.color.b * opposite + b.color.b * rate,
                             a.color.a * opposite + b.color.a * rate},
                            a.texcoord,
                            mix(a.tangent, b.tangent),
                            mix(a.binormal, b.binormal),
                            mix(a.normal, b.normal)};
    floats expected = lit_vertex(blended);
    expected.insert(expected.begin() + 9, {b.texcoord.s, b.texcoord.t});
    floats input;
    append(input, a);
    append(input, b);
    expect_near(program.run(make_layout({attribute::position, attribute::rgba, attribute::texcoord2,
                                         attribute::position, attribute::position, attribute::position,
                                         attribute::position, attribute::rgba, attribute::texcoord2,
                                         attribute::position, attribute::position, attribute::position}),
                            input, surface_floats + 2),
                expected, "blended");
}

TEST_F(Shaders, SelectionStageQuartersTheAlphaOfMarkedTriangles) {
    rig program({surface_v, select_g, surface_f},
                {"vertex_t.Color", "vertex_t.TexCoord", "vertex_t.ObjectToSurface"});
    ASSERT_TRUE(program.linked()) << program.log();
    set_view(program);
    program.set("ColorFactor", {1.0f});
    program.set("vertids", 0);
    program.set("vertwidth", 2);
    // Six triangles in rows of two: only numbers 1 and 4 are marked, the latter by a single weak component.
    std::uint8_t marks[6 * 4] = {};
    marks[1 * 4] = 255;
    marks[4 * 4 + 3] = 1;
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 2, 3, 0, GL_RGBA, GL_UNSIGNED_BYTE, marks);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);

    floats input;
    for (int i = 0; i < 18; ++i)
        append(input, i % 3 == 0 ? some_vertex : other_vertex);
    const floats captured = program.run(make_layout(surface_attributes), input, 18 * 15);
    for (int i = 0; i < 18; ++i) {
        const vertex& v = i % 3 == 0 ? some_vertex : other_vertex;
        const float factor = i / 3 == 1 || i / 3 == 4 ? 0.25f : 1.0f;
        const float* got = &captured[std::size_t(i * 15)];
        EXPECT_FLOAT_EQ(got[0], v.color.r) << i;
        EXPECT_FLOAT_EQ(got[3], v.color.a * factor) << i;
        EXPECT_FLOAT_EQ(got[4], v.texcoord.s) << i;
        EXPECT_FLOAT_EQ(got[6], v.tangent.x) << i;
    }
    glDeleteTextures(1, &texture);
}

TEST_F(Shaders, ClippedPointsKnowWhetherTheyAreInside) {
    rig program({clipped_v, points_f},
                {"VertexColor", "VertexID", "isInside", "gl_Position", "gl_PointSize"});
    ASSERT_TRUE(program.linked()) << program.log();
    set_view(program);
    // w + x, w - x, w + y, w - y of the clip position: the sides of the view volume, one in each component.
    program.set("ClipPlanes", mtx3w{{1, -1, 0, 0, 0, 0, 1, -1, 0, 0, 0, 0, 1, 1, 1, 1}});
    const pos3 positions[] = {{0, 0, 0},  {30, 0, 0},  {-30, 0, 0},
                              {0, 30, 0}, {0, -30, 0}, {0.5f, 0.5f, 0.5f}};
    floats input;
    for (const pos3& p : positions)
        append(input, {p.x, p.y, p.z, 0.1f, 0.2f, 0.3f, 0.4f, 5.0f + p.x});
    constexpr int size = 4 + 1 + 1 + 4 + 1, count = int(std::size(positions));
    const floats captured = program.run(
        make_layout({attribute::position, attribute::rgba, attribute::point_size}), input, size * count);
    int inside_count = 0;
    for (int i = 0; i < count; ++i) {
        const float* got = &captured[std::size_t(i * size)];
        const vec3w clip = squeezed * (turned * point(positions[i]));
        const bool inside =
            clip.w + clip.x >= 0 && clip.w - clip.x >= 0 && clip.w + clip.y >= 0 && clip.w - clip.y >= 0;
        inside_count += inside;
        EXPECT_EQ(std::bit_cast<std::int32_t>(got[4]), i);
        EXPECT_EQ(std::bit_cast<std::int32_t>(got[5]), inside ? 1 : 0) << i;
        EXPECT_NEAR(got[6], clip.x, 1e-4f);
        EXPECT_NEAR(got[9], clip.w, 1e-4f);
        EXPECT_FLOAT_EQ(got[10], 5.0f + positions[i].x);
    }
    EXPECT_EQ(inside_count, 2);
}

TEST_F(Shaders, ClipLinesStageEmitsTheTriangleAsItCame) {
    rig program({colored2_v, lines_g, lines_f}, {"GeometryColor", "gl_Position"});
    ASSERT_TRUE(program.linked()) << program.log();
    set_view(program);
    program.set("ClipLines", {0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1}); // would cut everything away
    const floats input = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 0, 1, 0, 0.5f, 0, 1, 0, 0, 0, 1, 0.25f};
    floats expected;
    for (int i = 0; i < 3; ++i) {
        const float* v = &input[std::size_t(i * 7)];
        const vec3w clip = squeezed * (turned * point({v[0], v[1], v[2]}));
        append(expected, {v[3], v[4], v[5], v[6], clip.x, clip.y, clip.z, clip.w});
    }
    expect_near(program.run(make_layout({attribute::position, attribute::rgba}), input, 24), expected,
                "triangle");
}

} // namespace
