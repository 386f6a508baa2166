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

constexpr std::string_view vertex_text = "#version 330\nuniform vec4 offset;\nuniform vec4 forgotten;\nout "
                                         "vec4 a;\nvoid main() { a = gl_Position = offset; }\n";
constexpr std::string_view broken_text = "#version 330\nvoid main() { nonsense = 1; }\n";
constexpr const char* compile_error = "shader_t::allocate() compile status error.\n";

TEST_F(Programs, CompileFromText) {
    shader_t shader;
    // The length counts: what follows the text is not read.
    const std::string longer = std::string(vertex_text) + "this is no GLSL";
    EXPECT_TRUE(
        shader.compile_text(shader_stage::vertex, std::string_view(longer).substr(0, vertex_text.size())));
    const gl_uint name = shader.id();
    EXPECT_FALSE(shader.compile_text(shader_stage::vertex, broken_text));
    EXPECT_EQ(take_err(), compile_error);
    EXPECT_NE(shader.log().find("nonsense"), std::string::npos) << shader.log();
    EXPECT_EQ(shader.log().find('\0'), std::string::npos);
    shader.destroy();
    EXPECT_FALSE(glIsShader(name));
}

TEST_F(Programs, FilesAreFoundAsNamedThenInTheDirectory) {
    const test_support::temporary_directory files;
    files.write("named", "as named");
    files.write("in.named", "in the directory");
    files.write("in.elsewhere", vertex_text);
    files.write("in.bad", broken_text);
    std::filesystem::create_directory(files.path() / "folder");
    const std::string huge = files.write("huge", "x");
    std::filesystem::resize_file(huge, (16 << 20) + 1);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(files.path());
    const struct {
        const char *name, *directory;
        bool found;
        std::string_view text;
    } cases[] = {{"named", "in.", true, "as named"},
                 {"elsewhere", "in.", true, vertex_text},
                 {"elsewhere", "in", false, ""}, // no separator is put between directory and name
                 {"folder", "in.", false, ""}};
    for (const auto& one : cases) {
        std::string text;
        EXPECT_EQ(load_shader_file(one.name, one.directory, text), one.found) << one.name;
        EXPECT_EQ(text, one.text);
    }
    shader_t shader;
    EXPECT_TRUE(shader.compile_file(shader_stage::vertex, "elsewhere", "in."));
    EXPECT_FALSE(shader.compile_file(shader_stage::vertex, "nowhere", "in."));
    EXPECT_EQ(take_err(), "") << "a file that is not there is no error";
    EXPECT_FALSE(shader.compile_file(shader_stage::vertex, "bad", "in."));
    EXPECT_FALSE(shader.compile_file(shader_stage::vertex, "huge", "in."));
    EXPECT_EQ(take_err(), compile_error + std::string("huge: shader file is too large.\n"));
    std::filesystem::current_path(before);
}

TEST_F(Programs, LinkAndLocate) {
    shader_t vertex, fragment;
    ASSERT_TRUE(vertex.compile_text(shader_stage::vertex, vertex_text));
    ASSERT_TRUE(fragment.compile_text(shader_stage::fragment,
                                      "#version 330\nout vec4 c;\nin vec3 a;\nvoid main() { c = a.xyzz; }"));
    program_t program;
    ASSERT_TRUE(program.create());
    const gl_uint name = program.id();
    EXPECT_FALSE(program.create());
    program.attach(vertex);
    program.attach(fragment);
    EXPECT_FALSE(program.link());
    EXPECT_NE(program.log(), "");
    program.detach(fragment);
    ASSERT_TRUE(program.link()) << program.log();
    EXPECT_GE(program.location("offset"), 0);
    EXPECT_EQ(program.location("forgotten"), -1);
    EXPECT_EQ(take_err(), "forgotten: can't determine the location.\n");
    program.destroy();
    EXPECT_FALSE(glIsProgram(name));
}

} // namespace
