// The renderer: building its programs, the frame pass, and what the two ways of drawing set, call and leave
// behind.

#include "render/surface/glpolygon.h"

#include "render/math/matrix.h"
#include "render/math/operations.h"
#include "support/gl_context.h"
#include "support/gl_faults.h"
#include "support/picture.h"
#include "support/temporary_directory.h"
#include "test_surface.h"

namespace {

using namespace render;
using namespace test_support;

const mtx3w unit = mtx3w::identity();

class Renderer : public gl_test {
protected:
    void SetUp() override {
        gl_test::SetUp();
        ASSERT_TRUE(renderer_.init(""));
        EXPECT_EQ(take_err(), "");
    }
    void draw(bool selection, surroundings* around, bool skybox, appearance& surface, drawable& shape) {
        if (selection) {
            renderer_.drawselect(around, skybox, surface, shape, unit, unit, unit, unit, {0, 0, 1}, 5.0f);
        } else {
            renderer_.drawsolid(around, skybox, surface, shape, unit, unit, unit, unit, {0, 0, 1}, 5.0f);
        }
    }
    // The value of a uniform of the surface program as floats.
    std::vector<float> uniform(const char* name, int count) const {
        std::vector<float> values(16, -1);
        glGetUniformfv(renderer_.surface_program(), glGetUniformLocation(renderer_.surface_program(), name),
                       values.data());
        values.resize(std::size_t(count));
        return values;
    }

    glpolygon_t renderer_;
};

TEST_F(Renderer, FindsAllUniforms) {
    const char* const expected[] = {
        "Globalview",    "Modelview", "invModelview", "Projection",   "LightPosition", "Shininess",
        "RefractFactor", "SkyBox",    "ReflectAlpha", "RefractAlpha", "cubeTex",       "colorTex",
        "bumpTex",       "specTex",   "bumpOfs",      "ColorFactor",  "MercatorSphere"};
    static_assert(std::size(expected) == glpolygon_t::uniform_count);
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        EXPECT_STREQ(glpolygon_t::uniform_names()[i], expected[i]);
        EXPECT_EQ(renderer_.uniforms()[i], glGetUniformLocation(renderer_.surface_program(), expected[i]));
        EXPECT_GE(renderer_.uniforms()[i], 0) << expected[i];
    }
}

TEST_F(Renderer, FilesReplaceBuiltinShaders) {
    const temporary_directory files;
    files.write(
        "player.shader.fsd",
        "#version 330\nlayout(location = 0) out vec4 c;\nvoid main() { c = vec4(0.2, 0.4, 0.6, 1.0); }\n");
    glpolygon_t replaced;
    ASSERT_TRUE(replaced.init(files.file("player.")));
    std::string missing; // what this shader does not use is reported once each
    for (const char* name : glpolygon_t::uniform_names()) {
        if (glGetUniformLocation(replaced.surface_program(), name) == -1) {
            missing += name + std::string(": can't determine the location.\n");
        }
    }
    EXPECT_NE(missing, "");
    EXPECT_EQ(take_err(), missing);
    const render_target target(4, 4);
    test_surface square(square_vertices({1, 0, 0, 1}), square_strip);
    test_appearance bare;
    replaced.drawsolid(nullptr, false, bare, square, unit, unit, unit, unit, {0, 0, 1}, 5.0f);
    EXPECT_EQ(target.read().at(1, 1), (std::array{51, 102, 153, 255}));
}

// ---- What ends the process. Every case runs in a process of its own, where standard error is not captured.

struct fatal_case {
    const char* file;
    const char* text;
    const char* message; // regular expression of standard error
};

class FatalShaders : public testing::TestWithParam<fatal_case> {};

TEST_P(FatalShaders, EndTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const temporary_directory files;
    files.write(GetParam().file, GetParam().text);
    EXPECT_EXIT(
        {
            make_context_current();
            glpolygon_t renderer;
            renderer.init(files.path().string() + "/");
        },
        testing::ExitedWithCode(1), GetParam().message);
}

constexpr const char* compile_failed = "#version 330\nvoid main() { nonsense = 1; }\n";
INSTANTIATE_TEST_SUITE_P(
    All, FatalShaders,
    testing::Values(
        fatal_case{"feedback.vsd", compile_failed,
                   "feedback.vsd: feedback vertex shader init failed.\n.*nonsense"},
        fatal_case{"feedback.fsd", compile_failed,
                   "feedback.fsd: feedback fragment shader init failed.\n.*nonsense"},
        fatal_case{"shader.vsd", compile_failed, "shader.vsd: vertex shader init failed.\n.*nonsense"},
        fatal_case{"shader.fsd", compile_failed, "shader.fsd: fragment shader init failed.\n.*nonsense"},
        fatal_case{"shader.fsd", "", " failed.\n"}, // the compiler's or the linker's choice
        fatal_case{"shader.fsd", "\x01\x02\xff binary", "shader.fsd: fragment shader init failed.\n"},
        // Nothing of what is to be captured exists.
        fatal_case{"feedback.vsd", "#version 330\nvoid main() { gl_Position = vec4(0.0); }\n",
                   "^feedback program link failed.\n.+"},
        fatal_case{"shader.fsd",
                   "#version 330\nin vertex_t { vec2 other; } Vertex;\nout vec4 c;\nvoid main() { c = "
                   "Vertex.other.xyxy; }\n",
                   "^program link failed.\n.+"}),
    [](const auto& one) { return "case" + std::to_string(one.index); });

// ---- Drawing

TEST_F(Renderer, SetsEverythingForTheDrawAndLeavesNothing) {
    const unsigned char faces[6 * 4] = {};
    const color_pixel color(white), bump(white), spec(white);
    const test_texture cube(GL_TEXTURE_CUBE_MAP, GL_RGBA8, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, faces);
    test_appearance dressed;
    dressed.textures = {&color, &bump, &spec};
    dressed.offset = {0.25f, -0.125f};
    test_surroundings around;
    around.cube = &cube;
    around.reflect = 0.5f, around.refract = 0.25f, around.factor = 0.75f;
    test_surface square(square_vertices({1, 0, 0, 1}), square_strip);
    const mtx3w matrices[] = {mtx3w::translation(1, 2, 3), mtx3w::translation(4, 5, 6),
                              mtx3w::translation(7, 8, 9), mtx3w::translation(10, 11, 12)};
    const auto transposed = [](const mtx3w& m) {
        const mtx3w t = transpose(m);
        return std::vector<float>(t.m, t.m + 16);
    };
    const auto bound_to = [](GLenum where, unsigned texture) {
        GLint active = 0, name = 0;
        glGetIntegerv(GL_ACTIVE_TEXTURE, &active);
        glActiveTexture(GL_TEXTURE0 + texture);
        glGetIntegerv(where, &name);
        glActiveTexture(GLenum(active));
        return GLuint(name);
    };
    const auto get = [](GLenum what) {
        GLint value = -1;
        glGetIntegerv(what, &value);
        return value;
    };

    for (const bool selection : {false, true}) {
        SCOPED_TRACE(selection);
        dressed.mercator = !selection;
        int draws = 0;
        square.selection = {0, 1, 2};
        square.while_drawing = [&] {
            ++draws;
            EXPECT_EQ(GLuint(get(GL_CURRENT_PROGRAM)), renderer_.surface_program());
            EXPECT_TRUE(glIsEnabled(GL_BLEND));
            EXPECT_EQ(get(GL_BLEND_SRC), selection ? GL_ONE : GL_SRC_ALPHA);
            EXPECT_EQ(get(GL_BLEND_DST), GL_ONE_MINUS_SRC_ALPHA);
            EXPECT_EQ(bound_to(GL_TEXTURE_BINDING_2D, 0), color.name);
            EXPECT_EQ(bound_to(GL_TEXTURE_BINDING_2D, 1), bump.name);
            EXPECT_EQ(bound_to(GL_TEXTURE_BINDING_2D, 2), spec.name);
            EXPECT_EQ(bound_to(GL_TEXTURE_BINDING_CUBE_MAP, 3), cube.name);
            EXPECT_EQ(uniform("Globalview", 16), transposed(matrices[0]));
            EXPECT_EQ(uniform("Modelview", 16), transposed(matrices[1]));
            EXPECT_EQ(uniform("invModelview", 16), transposed(matrices[2]));
            EXPECT_EQ(uniform("Projection", 16), transposed(matrices[3]));
            EXPECT_EQ(uniform("LightPosition", 3), (std::vector<float>{1, 2, 3}));
            const struct {
                const char* name;
                float value;
            } expected[] = {{"Shininess", 7},        {"RefractFactor", 0.75f},
                            {"SkyBox", 1},           {"ReflectAlpha", 0.5f},
                            {"RefractAlpha", 0.25f}, {"cubeTex", 3},
                            {"colorTex", 0},         {"bumpTex", 1},
                            {"specTex", 2},          {"ColorFactor", selection ? 0.25f : 1.0f},
                            {"MercatorSphere", 1}}; // a selection keeps what was set last
            for (const auto& one : expected)
                EXPECT_EQ(uniform(one.name, 1)[0], one.value) << one.name;
            EXPECT_EQ(uniform("bumpOfs", 2), (std::vector<float>{0.25f, -0.125f}));
        };
        if (selection) {
            renderer_.drawselect(&around, true, dressed, square, matrices[0], matrices[1], matrices[2],
                                 matrices[3], {1, 2, 3}, 7.0f);
        } else {
            renderer_.drawsolid(&around, true, dressed, square, matrices[0], matrices[1], matrices[2],
                                matrices[3], {1, 2, 3}, 7.0f);
        }
        EXPECT_EQ(draws, 1);
        EXPECT_EQ(get(GL_CURRENT_PROGRAM), 0);
        EXPECT_FALSE(glIsEnabled(GL_BLEND));
        EXPECT_EQ(get(GL_ACTIVE_TEXTURE), GL_TEXTURE0);
        for (const unsigned texture : {0u, 1u, 2u})
            EXPECT_EQ(bound_to(GL_TEXTURE_BINDING_2D, texture), 0u);
        EXPECT_EQ(bound_to(GL_TEXTURE_BINDING_CUBE_MAP, 3), 0u);
    }
}

TEST_F(Renderer, WithoutSurroundingsKeepsSkyBoxAndRefractFactor) {
    test_surface square(square_vertices({1, 0, 0, 1}), square_strip);
    test_appearance bare;
    test_surroundings around; // without a cube map
    around.reflect = 0.5f, around.refract = 0.25f, around.factor = 0.75f;
    draw(false, &around, true, bare, square);
    bare.mercator = true;
    draw(false, nullptr, false, bare, square);
    EXPECT_EQ(uniform("ReflectAlpha", 1)[0], 0.0f);
    EXPECT_EQ(uniform("RefractAlpha", 1)[0], 0.0f);
    EXPECT_EQ(uniform("SkyBox", 1)[0], 1.0f);
    EXPECT_EQ(uniform("RefractFactor", 1)[0], 0.75f);
    // What another program has drawn meanwhile is what a selection keeps.
    bare.mercator = false;
    draw(false, nullptr, false, bare, square);
    draw(true, nullptr, false, bare, square);
    EXPECT_EQ(uniform("MercatorSphere", 1)[0], 0.0f);
}

// Everything between two steps is made to fail, so that each step shows its label.
TEST_F(Renderer, StepsAreLabelledInOrder) {
    struct : test_appearance {
        bool has(texture_unit which) override { return which == texture_unit::color; }
        void bind(texture_unit) override { glEnable(0xFFFF); }
        void unbind(texture_unit) override {}
    } failing;
    struct : drawable {
        void draw() override { glEnable(0xFFFF); }
        void draw_selection() override { glEnable(0xFFFF); }
        void draw_feedback_points() override {}
        std::uint64_t feedback_vertex_count() override { return 0; }
        feedbackbuffer& feedback_buffer() override { return captured; }
        array_buffer_t& frame_array() override { return frames; }
        feedbackbuffer captured;
        array_buffer_t frames;
    } shape;
    for (const bool selection : {false, true}) {
        const watched<&__glewUniformMatrix4fv> matrices;
        const watched<&__glewActiveTexture> units;
        const watched<&__glewUniform1i> samplers;
        const watched<&__glewUseProgram> programs;
        draw(selection, nullptr, false, failing, shape);
        std::string expected;
        const std::string name = selection ? "glpolygon_t::drawselect" : "glpolygon_t::drawsolid";
        for (const char* step : {"(1)", "(1.1)", "(1.2)", "(2)", "(3)", "(4)", "(5)", "(7)", "(end)"}) {
            if (!selection && std::string_view(step).find('.') != std::string_view::npos) continue;
            expected += name + step + "\n";
        }
        EXPECT_EQ(step_labels(), expected);
    }
}

TEST_F(Renderer, InitStepsAreLabelled) {
    std::string expected;
    glpolygon_t another;
    {
        const watched<&__glewCompileShader> compiled;
        const watched<&__glewAttachShader> attached;
        const watched<&__glewTransformFeedbackVaryings> varyings;
        const watched<&__glewGetUniformLocation> located;
        ASSERT_TRUE(another.init("")) << "GL errors are no failures";
    }
    for (const char* step : {") feedback vertex shader inited.", ") feedback fragment shader inited.",
                             ") feedback program inited.", ") feedback varying setted.", "end)"}) {
        expected += "glpolygon_t::init(" + std::string(step) + "\n";
    }
    EXPECT_EQ(step_labels(), expected);
}

TEST_F(Renderer, SelectionHasAQuarterOfTheAlpha) {
    const color_pixel color(white), spec(black);
    const bump_pixel bump;
    test_appearance dressed;
    dressed.textures = {&color, &bump, &spec};
    test_surface square(square_vertices({1, 1, 1, 0.8f}), square_strip);
    square.selection = {0, 1, 2}; // the lower left half
    render_target target(8, 8);
    target.clear(0, 0, 0.5f, 0);
    // The light stands far in front: the diffuse term is 1, and the colour is not multiplied by the alpha.
    renderer_.drawselect(nullptr, false, dressed, square, unit, unit, unit, unit, {0, 0, 1000}, 5.0f);
    const picture drawn = target.read();
    EXPECT_EQ(drawn.at(1, 5), (std::array{255, 255, 255, 51}));
    EXPECT_EQ(drawn.at(6, 1), (std::array{0, 0, 128, 0})) << "not selected";
}

// ---- The frame pass

std::vector<std::array<dir3, 4>> some_directions(std::size_t count) {
    std::vector<std::array<dir3, 4>> all(count);
    for (std::size_t i = 0; i < count; ++i) {
        const float t = float(i % 97) * 0.01f;
        all[i] = {dir3{1, t, 0}, {-t, 1, 0.3f}, {1.5f, 0, t}, {0, 0.5f + t, -0.2f}};
    }
    return all;
}

TEST_F(Renderer, FramePassAveragesAndCopies) {
    for (const std::size_t count : {std::size_t(4), std::size_t(1) << 20}) {
        SCOPED_TRACE(count);
        std::vector<test_vertex> vertices(count, {{0, 0, 0.5f}, {1, 1, 1, 1}, {0, 0}, {}, {}, {}});
        test_surface surface(vertices, square_strip);
        const auto directions = some_directions(count);
        surface.set_directions(directions, count * frame_floats);
        const render_target target(8, 8);
        renderer_.update_frames(surface);
        EXPECT_EQ(take_err(), "");
        EXPECT_EQ(target.read().at(4, 4), (std::array{0, 0, 0, 0})) << "the points must not be seen";
        GLint program = -1;
        glGetIntegerv(GL_CURRENT_PROGRAM, &program);
        EXPECT_EQ(program, 0);
        EXPECT_FALSE(glIsEnabled(GL_RASTERIZER_DISCARD));

        const float* frames = surface.frame_array().map();
        ASSERT_NE(frames, nullptr);
        float worst = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const auto& [t1, b1, t2, b2] = directions[i];
            const dir3 normal = normalise(cross(t1, b1) + cross(t2, b2)), tangent = normalise(t1 + t2);
            const dir3 binormal = cross(normal, tangent);
            const float expected[] = {tangent.x,  tangent.y, tangent.z, binormal.x, binormal.y,
                                      binormal.z, normal.x,  normal.y,  normal.z};
            for (int k = 0; k < 9; ++k)
                worst = std::max(worst, std::abs(frames[i * 9 + k] - expected[k]));
        }
        surface.frame_array().unmap();
        EXPECT_LT(worst, 1e-5f);
    }
}

TEST_F(Renderer, FramePassReportsOtherCounts) {
    test_surface surface(square_vertices({1, 1, 1, 1}), square_strip);
    surface.set_directions(some_directions(4), 5 * frame_floats + 8);
    renderer_.update_frames(surface);
    EXPECT_EQ(take_err(), "glpolygon buf != gened: 5, 4\n");

    surface.set_directions(some_directions(4), 3 * frame_floats);
    renderer_.update_frames(surface);
    const std::string reported = take_err();
    EXPECT_TRUE(reported.starts_with("glpolygon wrted != gened: 3, 4\nglpolygon buf != gened: 3, 4\n"
                                     // The array is longer than the buffer, so the GL refuses the copy.
                                     "glpolygon_t::update_frames(end): Error 1281: "))
        << reported;

    test_surface empty({}, {});
    empty.set_directions({}, 0);
    renderer_.update_frames(empty);
}

TEST_F(Renderer, DoesNothingWithoutAContext) {
    test_surface square(square_vertices({1, 0, 0, 1}), square_strip);
    test_appearance bare;
    const without_context none;
    glpolygon_t another;
    EXPECT_FALSE(another.init(""));
    square.while_drawing = [] { ADD_FAILURE(); };
    draw(false, nullptr, false, bare, square);
    renderer_.update_frames(square);
    EXPECT_EQ(take_err(), "");
}

} // namespace
