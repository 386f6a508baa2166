#include "render/gl/texture_copier.h"

#include "libutils/report.h"
#include "render/gl/shader.h"

#include <GL/glew.h>

#include <string>

namespace render {

namespace {

constexpr char vertex_text[] = R"(#version 330
layout(location = 0) in vec3 Position;

out vec2 TexCoord;

void main() {
    gl_Position = vec4(Position, 1.0);
    TexCoord = Position.xy * 0.5 + 0.5;
}
)";

// After the number of SAMPLES, 0 for a texture without.
constexpr char fragment_text[] = R"(
in vec2 TexCoord;

layout(location = 0) out vec4 FragmentColor;

#if SAMPLES == 0
uniform sampler2D Picture;

void main() {
    FragmentColor = texture(Picture, TexCoord);
}
#else
uniform sampler2DMS Picture;

void main() {
    ivec2 at = ivec2(gl_FragCoord.xy);
    vec4 sum = vec4(0.0);
    for (int i = 0; i < SAMPLES; ++i)
        sum += texelFetch(Picture, at, i);
    FragmentColor = sum / float(SAMPLES);
}
#endif
)";

} // namespace

bool texture_copier_t::make(int samples) {
    if (samples == samples_) return true;
    destroy();
    const std::string fragment =
        "#version 330\n#define SAMPLES " + std::to_string(samples) + '\n' + fragment_text;
    shader_t vertices, fragments;
    if (!vertices.compile_text(shader_stage::vertex, vertex_text) ||
        !fragments.compile_text(shader_stage::fragment, fragment) || !program_.create())
        return false;
    program_.attach(vertices);
    program_.attach(fragments);
    constexpr float corners[] = {-1, -1, 0, 3, -1, 0, -1, 3, 0}; // of a triangle around the whole picture
    if (!program_.link()) {
        destroy();
        return libutils::report("The program that copies textures cannot be linked.");
    }
    corners_.allocate(3, make_layout({attribute::position}), corners);
    layout_.create();
    corners_.bind_layout_to(layout_, 0);
    samples_ = samples;
    return true;
}

void texture_copier_t::destroy() noexcept {
    samples_ = none;
    layout_.destroy();
    corners_.release();
    program_.destroy();
}

void texture_copier_t::draw(gl_uint texture, const pixel_rect& area, int width, int height) const {
    glPushAttrib(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_ENABLE_BIT | GL_POLYGON_BIT | GL_SCISSOR_BIT |
                 GL_STENCIL_BUFFER_BIT | GL_TEXTURE_BIT | GL_VIEWPORT_BIT);
    glViewport(0, 0, width, height);
    glEnable(GL_SCISSOR_TEST);
    glScissor(area.left, area.bottom, area.width(), area.height());
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    for (const GLenum test : {GL_DEPTH_TEST, GL_STENCIL_TEST, GL_ALPHA_TEST, GL_BLEND, GL_CULL_FACE})
        glDisable(test);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    glActiveTexture(GL_TEXTURE0); // which is where a program looks that was told nothing else
    const GLenum target = samples_ == 0 ? GL_TEXTURE_2D : GL_TEXTURE_2D_MULTISAMPLE;
    glBindTexture(target, texture);
    program_.use();
    layout_.draw_arrays(primitive::triangles, corners_.count());
    program_t::unuse();
    glBindTexture(target, 0);
    glPopAttrib();
}

} // namespace render
