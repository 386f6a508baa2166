// The renderer: building its programs, the frame pass, and what drawing sends, binds and leaves behind.

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

// A square with every picture in a room that it mirrors.
struct dressed_square {
    const std::array<vec3w, 6> pixels = {};
    const test_texture color{GL_TEXTURE_2D, 1, 1, pixels.data()}, bump{GL_TEXTURE_2D, 1, 1, pixels.data()},
        spec{GL_TEXTURE_2D, 1, 1, pixels.data()}, cube{GL_TEXTURE_CUBE_MAP, 1, 1, pixels.data()};
    test_appearance look;
    test_surroundings around;
    test_surface shape{square_vertices({1, 0, 0, 1}), square_strip};

    dressed_square() {
        look.textures = {&color, &bump, &spec};
        around.cube = &cube;
        around.reflect = 0.5f, around.refract = 0.25f, around.factor = 0.75f;
    }
};

class Renderer : public gl_test {
protected:
    void SetUp() override {
        gl_test::SetUp();
        ASSERT_TRUE(renderer_.init(""));
        EXPECT_EQ(take_err(), "");
    }
    void draw(dressed_square& square, bool selection, surroundings* around, bool skybox = false,
              const std::array<mtx3w, 4>& m = {unit, unit, unit, unit}) {
        const auto how = selection ? &glpolygon_t::drawselect : &glpolygon_t::drawsolid;
        (renderer_.*how)(around, skybox, square.look, square.shape, m[0], m[1], m[2], m[3], {0, 0, 1}, 5.0f);
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

TEST_F(Renderer, FilesReplaceBuiltinShaders) {
    const temporary_directory files;
    files.write(
        "player.shader.fsd",
        "#version 330\nlayout(location = 0) out vec4 c;\nvoid main() { c = vec4(0.2, 0.4, 0.6, 1.0); }\n");
    glpolygon_t replaced;
    ASSERT_TRUE(replaced.init(files.file("player.")));
    // What this shader does not use is reported.
    EXPECT_NE(take_err().find("Shininess: can't determine the location.\n"), std::string::npos);
    const render_target target(4, 4);
    dressed_square square;
    replaced.drawsolid(nullptr, false, square.look, square.shape, unit, unit, unit, unit, {0, 0, 1}, 5.0f);
    EXPECT_EQ(target.read().at(1, 1), (std::array{51, 102, 153, 255}));
}

// Every case runs in a process of its own, where standard error is not captured.
TEST(FatalShaders, EndTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    constexpr const char* broken = "#version 330\nvoid main() { nonsense = 1; }\n";
    const struct {
        const char *file, *text, *message; // regular expression of standard error
    } cases[] = {{"feedback.vsd", broken, "feedback.vsd: feedback vertex shader init failed.\n.*nonsense"},
                 {"feedback.fsd", broken, "feedback.fsd: feedback fragment shader init failed.\n.*nonsense"},
                 {"shader.vsd", broken, "shader.vsd: vertex shader init failed.\n.*nonsense"},
                 {"shader.fsd", broken, "shader.fsd: fragment shader init failed.\n.*nonsense"},
                 // Nothing of what is to be captured exists.
                 {"feedback.vsd", "#version 330\nvoid main() { gl_Position = vec4(0.0); }\n",
                  "feedback program link failed.\n.+"},
                 {"shader.fsd",
                  "#version 330\nin vertex_t { vec2 other; } Vertex;\nout vec4 c;\nvoid main() { c = "
                  "Vertex.other.xyxy; }\n",
                  "program link failed.\n.+"}};
    static const temporary_directory files; // static: std::exit removes that of the other process too
    int number = 0;
    for (const auto& one : cases) {
        const std::string prefix = std::to_string(number++) + '.';
        files.write(prefix + one.file, one.text);
        const auto run = [&] {
            make_context_current();
            glpolygon_t().init(files.file(prefix));
        };
        EXPECT_EXIT(run(), testing::ExitedWithCode(1), one.message);
    }
}

TEST_F(Renderer, BindsForTheDrawAndLeavesNothing) {
    dressed_square square;
    const auto bound_to = [](GLenum where, unsigned texture) {
        const int active = state(GL_ACTIVE_TEXTURE);
        glActiveTexture(GL_TEXTURE0 + texture);
        const int name = state(where);
        glActiveTexture(GLenum(active));
        return GLuint(name);
    };
    const GLuint pictures[] = {square.color.name, square.bump.name, square.spec.name};
    for (const bool selection : {false, true}) {
        SCOPED_TRACE(selection);
        int draws = 0;
        square.shape.while_drawing = [&] {
            ++draws;
            EXPECT_EQ(GLuint(state(GL_CURRENT_PROGRAM)), renderer_.surface_program());
            EXPECT_TRUE(glIsEnabled(GL_BLEND));
            EXPECT_EQ(state(GL_BLEND_SRC), selection ? GL_ONE : GL_SRC_ALPHA);
            EXPECT_EQ(state(GL_BLEND_DST), GL_ONE_MINUS_SRC_ALPHA);
            for (const unsigned texture : {0u, 1u, 2u})
                EXPECT_EQ(bound_to(GL_TEXTURE_BINDING_2D, texture), pictures[texture]);
            EXPECT_EQ(bound_to(GL_TEXTURE_BINDING_CUBE_MAP, 3), square.cube.name);
        };
        draw(square, selection, &square.around);
        EXPECT_EQ(draws, 1);
        EXPECT_EQ(state(GL_CURRENT_PROGRAM), 0);
        EXPECT_FALSE(glIsEnabled(GL_BLEND));
        EXPECT_EQ(state(GL_ACTIVE_TEXTURE), GL_TEXTURE0);
        EXPECT_EQ(state(GL_VERTEX_ARRAY_BINDING), 0);
        for (const unsigned texture : {0u, 1u, 2u})
            EXPECT_EQ(bound_to(GL_TEXTURE_BINDING_2D, texture), 0u);
        EXPECT_EQ(bound_to(GL_TEXTURE_BINDING_CUBE_MAP, 3), 0u);
    }
    // Surroundings that cannot be seen are not bound.
    square.around.reflect = square.around.refract = 0;
    square.shape.while_drawing = [&] { EXPECT_EQ(bound_to(GL_TEXTURE_BINDING_CUBE_MAP, 3), 0u); };
    draw(square, false, &square.around);
}

TEST_F(Renderer, SendsWhatHasChangedAndNothingElse) {
    dressed_square square;
    const char* const names[] = {"Globalview", "Modelview", "invModelview", "Projection"};
    std::array<mtx3w, 4> m = {unit, unit, unit, unit};
    for (std::size_t element = 0; element < 16; ++element) {
        for (std::size_t i = 0; i < 4; ++i)
            m[i][element] += float(i + 1);
        draw(square, false, &square.around, false, m);
        for (std::size_t i = 0; i < 4; ++i) {
            const mtx3w t = transpose(m[i]);
            EXPECT_EQ(uniform(names[i], 16), std::vector<float>(t.m, t.m + 16)) << names[i] << ' ' << element;
        }
    }
    const watched<&__glewUniformMatrix4fv> matrices(false);
    const watched<&__glewUniform1i> integers(false);
    const watched<&__glewUniform1f> numbers(false);
    draw(square, false, &square.around, false, m);
    EXPECT_EQ(matrices.calls() + integers.calls() + numbers.calls(), 0);
}

TEST_F(Renderer, WithoutSurroundingsKeepsSkyBoxAndRefractFactor) {
    dressed_square square;
    square.around.cube = nullptr;
    draw(square, false, &square.around, true);
    square.look.mercator = true;
    draw(square, false, nullptr);
    EXPECT_EQ(uniform("ReflectAlpha", 1)[0], 0.0f);
    EXPECT_EQ(uniform("RefractAlpha", 1)[0], 0.0f);
    EXPECT_EQ(uniform("SkyBox", 1)[0], 1.0f);
    EXPECT_EQ(uniform("RefractFactor", 1)[0], 0.75f);
    // What another program has drawn meanwhile is what a selection keeps.
    square.look.mercator = false;
    draw(square, false, nullptr);
    draw(square, true, nullptr);
    EXPECT_EQ(uniform("MercatorSphere", 1)[0], 0.0f);
}

std::vector<std::array<dir3, 4>> some_directions(std::size_t count) {
    std::vector<std::array<dir3, 4>> all(count);
    for (std::size_t i = 0; i < count; ++i) {
        const float t = float(i % 97) * 0.01f;
        all[i] = {dir3{1, t, 0}, {-t, 1, 0.3f}, {1.5f, 0, t}, {0, 0.5f + t, -0.2f}};
    }
    return all;
}

TEST_F(Renderer, FramePassAveragesAndCopies) {
    const std::size_t count = 1 << 12;
    test_surface surface(std::vector<test_vertex>(count, {{0, 0, 0.5f}, {1, 1, 1, 1}, {0, 0}, {}, {}, {}}),
                         square_strip);
    const auto directions = some_directions(count);
    surface.set_directions(directions, count * frame_floats);
    const render_target target(8, 8);
    {
        const watched<&__glewDeleteQueries> queries(false);
        renderer_.update_frames(surface);
        EXPECT_EQ(queries.calls(), 2);
    }
    EXPECT_TRUE(!GLEW_VERSION_4_0 || state(GL_TRANSFORM_FEEDBACK_BINDING) == 0);
    GLint captured = -1;
    glGetIntegeri_v(GL_TRANSFORM_FEEDBACK_BUFFER_BINDING, 0, &captured);
    EXPECT_EQ(captured, 0);
    EXPECT_EQ(take_err(), "");
    EXPECT_EQ(target.read().at(4, 4), (std::array{0, 0, 0, 0})) << "the points must not be seen";
    EXPECT_EQ(state(GL_CURRENT_PROGRAM), 0);
    EXPECT_FALSE(glIsEnabled(GL_RASTERIZER_DISCARD));

    const float* frames = surface.frame_array().map();
    ASSERT_NE(frames, nullptr);
    float worst = 0;
    for (const auto& [t1, b1, t2, b2] : directions) {
        const dir3 normal = normalise(cross(t1, b1) + cross(t2, b2)), tangent = normalise(t1 + t2);
        for (const dir3& d : {tangent, cross(normal, tangent), normal})
            for (const float f : {d.x, d.y, d.z})
                worst = std::max(worst, std::abs(*frames++ - f));
    }
    surface.frame_array().unmap();
    EXPECT_LT(worst, 1e-5f);
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
    dressed_square square;
    const without_context none;
    glpolygon_t another;
    EXPECT_FALSE(another.init(""));
    square.shape.while_drawing = [] { ADD_FAILURE(); };
    draw(square, false, nullptr);
    renderer_.update_frames(square.shape);
    EXPECT_EQ(take_err(), "");
}

} // namespace
