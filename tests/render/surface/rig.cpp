#include "rig.h"

#include "render/gl/array_buffer.h"
#include "support/picture.h"

#include <gtest/gtest.h>

namespace test_support {

using namespace render;

vec3w pixel_drawn(const std::function<void()>& draw, const vec3w& before) {
    GLuint color = 0, framebuffer = 0;
    glGenRenderbuffers(1, &color);
    glBindRenderbuffer(GL_RENDERBUFFER, color);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA32F, 1, 1);
    glGenFramebuffers(1, &framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, color);
    glViewport(0, 0, 1, 1);
    glClearColor(before.x, before.y, before.z, before.w);
    glClear(GL_COLOR_BUFFER_BIT);
    draw();
    vec3w drawn = {};
    glReadPixels(0, 0, 1, 1, GL_RGBA, GL_FLOAT, &drawn);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glDeleteFramebuffers(1, &framebuffer);
    glDeleteRenderbuffers(1, &color);
    return drawn;
}

rig::rig(std::initializer_list<stored_shader> shaders, std::vector<const char*> captured) {
    program_.create();
    for (const stored_shader which : shaders) {
        const builtin_shader& stored = builtin(which);
        shader_t& shader = shaders_.emplace_back();
        EXPECT_TRUE(shader.compile_text(stored.stage, stored.text)) << stored.role << '\n' << shader.log();
        program_.attach(shader);
        if (stored.stage == shader_stage::geometry) shape_ = primitive::triangles;
    }
    if (!captured.empty())
        glTransformFeedbackVaryings(program_.id(), GLsizei(captured.size()), captured.data(),
                                    GL_INTERLEAVED_ATTRIBS);
    EXPECT_TRUE(program_.link()) << program_.log();
    // Samplers of different kinds must not share a unit, or nothing is drawn.
    if (glGetUniformLocation(program_.id(), "cubeTex") >= 0) set("cubeTex", 7);
}

void rig::set(const char* uniform, const mtx3w& value) {
    glUseProgram(program_.id());
    glUniformMatrix4fv(glGetUniformLocation(program_.id(), uniform), 1, GL_TRUE, value.m);
}

void rig::set(const char* uniform, std::initializer_list<float> value) {
    glUseProgram(program_.id());
    const GLint location = glGetUniformLocation(program_.id(), uniform);
    if (value.size() == 1) glUniform1fv(location, 1, value.begin());
    if (value.size() == 2) glUniform2fv(location, 1, value.begin());
    if (value.size() == 3) glUniform3fv(location, 1, value.begin());
    if (value.size() == 12) glUniformMatrix4x3fv(location, 1, GL_FALSE, value.begin());
}

void rig::set(const char* uniform, int value) {
    glUseProgram(program_.id());
    glUniform1i(glGetUniformLocation(program_.id(), uniform), value);
}

void rig::draw(const layout_ref& layout, const std::vector<float>& vertices) {
    const std::uint64_t count = vertices.size() / stride_of(*layout);
    array_buffer_t input;
    vertex_array_t array;
    input.allocate(count, layout, vertices.data());
    array.create();
    input.bind_layout_to(array, 0);
    array.draw_arrays(shape_, count);
}

std::vector<float> rig::run(const layout_ref& layout, const std::vector<float>& vertices,
                            std::size_t floats_captured) {
    array_buffer_t output;
    std::vector<float> captured(floats_captured, -77.0f); // shows what was not written
    output.allocate(floats_captured, make_layout({attribute::point_size}), captured.data());
    program_.use();
    glEnable(GL_RASTERIZER_DISCARD);
    glBindBufferBase(GL_TRANSFORM_FEEDBACK_BUFFER, 0, output.id());
    glBeginTransformFeedback(GLenum(shape_));
    draw(layout, vertices);
    glEndTransformFeedback();
    glBindBufferBase(GL_TRANSFORM_FEEDBACK_BUFFER, 0, 0);
    glDisable(GL_RASTERIZER_DISCARD);
    program_t::unuse();
    const float* mapped = output.map();
    captured.assign(mapped, mapped + floats_captured);
    output.unmap();
    return captured;
}

vec3w rig::pixel(const layout_ref& layout, const std::vector<float>& vertices) {
    return pixel_drawn([&] {
        program_.use();
        draw(layout, vertices);
        program_t::unuse();
    });
}

} // namespace test_support
