// Shaders from texts and files, and programs.

#include "render/gl/program.h"
#include "render/gl/shader.h"
#include "support/gl_context.h"
#include "support/temporary_directory.h"

#include <GL/glew.h>

#include <filesystem>

namespace {

using namespace render;

class Programs : public test_support::gl_test {};

constexpr std::string_view vertex_text =
    "#version 330\nuniform vec4 offset;\nuniform vec4 forgotten;\nvoid main() { gl_Position = offset; }\n";
constexpr std::string_view fragment_text =
    "#version 330\nout vec4 color;\nvoid main() { color = vec4(1.0); }\n";
constexpr std::string_view broken_text = "#version 330\nvoid main() { nonsense = 1; }\n";
constexpr const char* compile_error = "shader_t::allocate() compile status error.\n";

TEST_F(Programs, CompileFromText) {
    shader_t shader;
    EXPECT_EQ(shader.id(), 0u);
    // The length counts: what follows the text is not read.
    const std::string longer = std::string(vertex_text) + "this is no GLSL";
    EXPECT_TRUE(
        shader.compile_text(shader_stage::vertex, std::string_view(longer).substr(0, vertex_text.size())));
    const gl_uint name = shader.id();
    EXPECT_NE(name, 0u);

    EXPECT_FALSE(shader.compile_text(shader_stage::vertex, broken_text));
    EXPECT_EQ(take_err(), compile_error);
    EXPECT_EQ(shader.id(), name) << "the object is made once";
    EXPECT_NE(shader.log().find("nonsense"), std::string::npos) << shader.log();
    EXPECT_EQ(shader.log().find('\0'), std::string::npos);

    const char* const pieces[] = {"#version 330\n", "void main() {", "}"};
    EXPECT_TRUE(shader.compile(shader_stage::vertex, 3, pieces, nullptr));
    shader.destroy();
    EXPECT_EQ(shader.id(), 0u);
    EXPECT_FALSE(glIsShader(name));
}

TEST_F(Programs, FilesAreFoundAsNamedThenInTheDirectory) {
    const test_support::temporary_directory files;
    const std::string plain = files.write("good.vsd", vertex_text);
    files.write("program.good.vsd", vertex_text);
    files.write("bad.vsd", broken_text);
    std::filesystem::create_directory(files.path() / "folder.vsd");
    const std::string prefix = files.file("program.");

    shader_t shader;
    EXPECT_TRUE(shader.compile_file(shader_stage::vertex, plain, ""));
    // No separator is put between directory and name.
    EXPECT_TRUE(shader.compile_file(shader_stage::vertex, "good.vsd", prefix));
    EXPECT_FALSE(shader.compile_file(shader_stage::vertex, "good.vsd", files.path().string()));
    EXPECT_FALSE(shader.compile_file(shader_stage::vertex, "good.vsd", ""));
    EXPECT_FALSE(shader.compile_file(shader_stage::vertex, files.file("folder.vsd"), ""));
    EXPECT_EQ(take_err(), "") << "a file that is not there is no error";
    EXPECT_FALSE(shader.compile_file(shader_stage::vertex, files.file("bad.vsd"), ""));
    EXPECT_EQ(take_err(), compile_error);
}

TEST_F(Programs, StrangeFiles) {
    const test_support::temporary_directory files;
    std::string text = "before";
    EXPECT_TRUE(load_shader_file(files.write("empty", ""), "", text));
    EXPECT_EQ(text, "");
    std::string binary(70000, '\0');
    for (std::size_t i = 0; i < binary.size(); ++i)
        binary[i] = char(i * 7);
    EXPECT_TRUE(load_shader_file(files.write("binary", binary), "", text));
    EXPECT_EQ(text, binary);
    shader_t shader;
    EXPECT_FALSE(shader.compile_text(shader_stage::fragment, text));
    EXPECT_EQ(take_err(), compile_error);

    const std::string huge = files.write("huge", "x");
    std::filesystem::resize_file(huge, (16 << 20) + 1);
    EXPECT_FALSE(load_shader_file(huge, "", text));
    EXPECT_EQ(take_err(), huge + ": shader file is too large.\n");
}

TEST_F(Programs, LinkAndLocate) {
    shader_t vertex, fragment;
    ASSERT_TRUE(vertex.compile_text(shader_stage::vertex, vertex_text));
    ASSERT_TRUE(fragment.compile_text(shader_stage::fragment, fragment_text));

    program_t program;
    EXPECT_FALSE(program.link());
    ASSERT_TRUE(program.create());
    const gl_uint name = program.id();
    EXPECT_FALSE(program.create());
    EXPECT_EQ(program.id(), name);
    program.attach(vertex);
    program.attach(fragment);
    ASSERT_TRUE(program.link()) << program.log();
    EXPECT_GE(program.location("offset"), 0);
    EXPECT_EQ(program.location("forgotten"), -1);
    EXPECT_EQ(take_err(), "forgotten: can't determine the location.\n");
    EXPECT_EQ(program.location(nullptr), -1);
    EXPECT_TRUE(std::cerr.bad());
    std::cerr.clear();

    GLint current = 0;
    program.use();
    glGetIntegerv(GL_CURRENT_PROGRAM, &current);
    EXPECT_EQ(gl_uint(current), name);
    program_t::unuse();
    glGetIntegerv(GL_CURRENT_PROGRAM, &current);
    EXPECT_EQ(current, 0);

    GLint attached = 0;
    program.detach(fragment);
    glGetProgramiv(name, GL_ATTACHED_SHADERS, &attached);
    EXPECT_EQ(attached, 1);
    program.destroy();
    EXPECT_FALSE(glIsProgram(name));
}

TEST_F(Programs, LinkFailureKeepsTheLog) {
    shader_t vertex, fragment;
    ASSERT_TRUE(vertex.compile_text(shader_stage::vertex,
                                    "#version 330\nout vec4 a;\nvoid main() { a = vec4(0.0); }"));
    ASSERT_TRUE(fragment.compile_text(shader_stage::fragment,
                                      "#version 330\nin vec3 a;\nout vec4 c;\nvoid main() { c = a.xyzz; }"));
    program_t program;
    program.create();
    program.attach(vertex);
    program.attach(fragment);
    EXPECT_FALSE(program.link());
    EXPECT_NE(program.log(), "");
}

} // namespace
