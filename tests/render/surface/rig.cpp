#include "rig.h"

#include <gtest/gtest.h>
#include <map>
#include <set>

namespace test_support {

using namespace render;

namespace {

std::string type_name(GLenum type) {
    static const std::map<GLenum, const char*> names = {{GL_FLOAT, "float"},
                                                        {GL_FLOAT_VEC2, "vec2"},
                                                        {GL_FLOAT_VEC3, "vec3"},
                                                        {GL_FLOAT_VEC4, "vec4"},
                                                        {GL_FLOAT_MAT3, "mat3"},
                                                        {GL_FLOAT_MAT4, "mat4"},
                                                        {GL_INT, "int"},
                                                        {GL_BOOL, "bool"},
                                                        {GL_SAMPLER_2D, "sampler2D"},
                                                        {GL_FLOAT_MAT4x3, "mat4x3"},
                                                        {GL_SAMPLER_CUBE, "samplerCube"}};
    const auto found = names.find(type);
    return found == names.end() ? std::to_string(type) : found->second;
}

} // namespace

rig::rig(std::initializer_list<int> shaders, std::vector<const char*> captured) {
    program_.create();
    for (const int index : shaders) {
        const builtin_shader& builtin = builtin_shaders()[std::size_t(index)];
        shader_t& shader = shaders_.emplace_back();
        EXPECT_TRUE(shader.compile_text(builtin.stage, builtin.text)) << builtin.role << '\n' << shader.log();
        program_.attach(shader);
        triangles_ = triangles_ || builtin.stage == shader_stage::geometry;
    }
    if (!captured.empty()) {
        glTransformFeedbackVaryings(id(), GLsizei(captured.size()), captured.data(), GL_INTERLEAVED_ATTRIBS);
    }
    linked_ = program_.link();
    if (!linked_) return;
    // Samplers of different kinds must not share a unit, or nothing is drawn.
    if (const GLint cube = glGetUniformLocation(id(), "cubeTex"); cube >= 0) {
        glUseProgram(id());
        glUniform1i(cube, 3);
        glUseProgram(0);
    }
}

std::string rig::interface() const {
    std::set<std::string> lines;
    char name[256];
    GLint count = 0, size = 0;
    GLenum type = 0;
    glGetProgramiv(id(), GL_ACTIVE_ATTRIBUTES, &count);
    for (int i = 0; i < count; ++i) {
        glGetActiveAttrib(id(), GLuint(i), sizeof name, nullptr, &size, &type, name);
        const GLint location = glGetAttribLocation(id(), name);
        if (location < 0) continue; // gl_VertexID and its like
        lines.insert("in " + std::to_string(location) + " " + name + " " + type_name(type) + "\n");
    }
    glGetProgramiv(id(), GL_ACTIVE_UNIFORMS, &count);
    for (int i = 0; i < count; ++i) {
        glGetActiveUniform(id(), GLuint(i), sizeof name, nullptr, &size, &type, name);
        lines.insert("uniform " + std::string(name) + " " + type_name(type) + "\n");
    }
    glGetProgramInterfaceiv(id(), GL_PROGRAM_OUTPUT, GL_ACTIVE_RESOURCES, &count);
    for (int i = 0; i < count; ++i) {
        const GLenum wanted = GL_TYPE;
        GLint value = 0;
        glGetProgramResourceName(id(), GL_PROGRAM_OUTPUT, GLuint(i), sizeof name, nullptr, name);
        glGetProgramResourceiv(id(), GL_PROGRAM_OUTPUT, GLuint(i), 1, &wanted, 1, nullptr, &value);
        lines.insert("out " + std::to_string(glGetFragDataLocation(id(), name)) + " " + name + " " +
                     type_name(GLenum(value)) + "\n");
    }
    std::string all;
    for (const std::string& line : lines)
        all += line;
    glGetProgramiv(id(), GL_TRANSFORM_FEEDBACK_VARYINGS, &count);
    for (int i = 0; i < count; ++i) {
        glGetTransformFeedbackVarying(id(), GLuint(i), sizeof name, nullptr, &size, &type, name);
        all += "captured " + std::string(name) + " " + type_name(type) + "\n";
    }
    return all;
}

void rig::set(const char* uniform, const mtx3w& value) {
    glUseProgram(id());
    glUniformMatrix4fv(glGetUniformLocation(id(), uniform), 1, GL_TRUE, value.m);
}

void rig::set(const char* uniform, std::initializer_list<float> value) {
    glUseProgram(id());
    const GLint location = glGetUniformLocation(id(), uniform);
    switch (value.size()) {
    case 1:
        glUniform1fv(location, 1, value.begin());
        break;
    case 2:
        glUniform2fv(location, 1, value.begin());
        break;
    case 3:
        glUniform3fv(location, 1, value.begin());
        break;
    case 12:
        glUniformMatrix4x3fv(location, 1, GL_FALSE, value.begin());
        break;
    default:
        FAIL() << "no uniform of " << value.size() << " floats";
    }
}

void rig::set(const char* uniform, int value) {
    glUseProgram(id());
    glUniform1i(glGetUniformLocation(id(), uniform), value);
}

std::vector<float> rig::run(const layout_ref& layout, const std::vector<float>& vertices,
                            int floats_captured) {
    array_buffer_t input, output;
    vertex_array_t array;
    const std::uint64_t count = vertices.size() / stride_of(*layout);
    input.allocate(count, layout, vertices.data());
    output.allocate(
        std::uint64_t(floats_captured), make_layout({attribute::point_size}),
        std::vector<float>(std::size_t(floats_captured), -77.0f).data()); // shows what was not written
    array.create();
    input.bind_layout_to(array, 0);
    glUseProgram(id());
    glEnable(GL_RASTERIZER_DISCARD);
    glBindBufferBase(GL_TRANSFORM_FEEDBACK_BUFFER, 0, output.id());
    glBeginTransformFeedback(triangles_ ? GL_TRIANGLES : GL_POINTS);
    array.draw_arrays(triangles_ ? primitive::triangles : primitive::points, count);
    glEndTransformFeedback();
    glBindBufferBase(GL_TRANSFORM_FEEDBACK_BUFFER, 0, 0);
    glDisable(GL_RASTERIZER_DISCARD);
    glUseProgram(0);
    const float* mapped = output.map();
    std::vector<float> captured(mapped, mapped + floats_captured);
    output.unmap();
    return captured;
}

} // namespace test_support
