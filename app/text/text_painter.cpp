#include "app/text/text_painter.h"

#include "libutils/report.h"
#include "render/gl/shader.h"
#include "render/gl/step_check.h"

#include <GL/glew.h>

#include <cstddef>

namespace quenvarel {

namespace shaders {
// The files of shaders/, embedded by the build.
extern const std::string_view text_frag, text_vert;
} // namespace shaders

using vertex = lettering::vertex;

bool text_painter::make() {
    render::step_check("text", " (before)"); // an error of something else
    render::shader_t seen, colored;
    if (!seen.compile_text(render::shader_stage::vertex, shaders::text_vert) ||
        !colored.compile_text(render::shader_stage::fragment, shaders::text_frag) || !program_.create())
        return false;
    program_.attach(seen);
    program_.attach(colored);
    if (!program_.link()) return libutils::report("The program for text cannot be linked.");

    glGenTextures(1, &field_);
    glBindTexture(GL_TEXTURE_2D, field_);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_R8, font.width, font.height, 0, GL_RED, GL_UNSIGNED_BYTE, font.field);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glBindTexture(GL_TEXTURE_2D, 0);

    glGenBuffers(1, &vertices_);
    glGenVertexArrays(1, &layout_);
    glBindVertexArray(layout_);
    glBindBuffer(GL_ARRAY_BUFFER, vertices_);
    GLuint location = 0;
    const auto attribute = [&](GLint components, std::size_t offset) {
        glEnableVertexAttribArray(location);
        glVertexAttribPointer(location++, components, GL_FLOAT, GL_FALSE, sizeof(vertex),
                              reinterpret_cast<const void*>(offset));
    };
    attribute(4, offsetof(vertex, position));
    attribute(2, offsetof(vertex, texel));
    attribute(4, offsetof(vertex, ink));
    attribute(1, offsetof(vertex, halo));
    glBindVertexArray(0);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    return !render::step_check("text");
}

void text_painter::draw(std::span<const vertex> letters) {
    if (letters.empty() || failed_ || !render::has_context()) return;
    if (layout_ == 0 && !make()) {
        destroy();
        failed_ = true;
        return;
    }
    program_.use();
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, field_);
    glBindBuffer(GL_ARRAY_BUFFER, vertices_);
    glBufferData(GL_ARRAY_BUFFER, GLsizeiptr(letters.size_bytes()), letters.data(), GL_STREAM_DRAW);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glBindVertexArray(layout_);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    glDepthMask(GL_FALSE);
    glDrawArrays(GL_TRIANGLES, 0, GLsizei(letters.size()));
    glDepthMask(GL_TRUE);
    glDisable(GL_BLEND);
    glBindVertexArray(0);
    glBindTexture(GL_TEXTURE_2D, 0);
    render::program_t::unuse();
}

void text_painter::destroy() noexcept {
    if (layout_ != 0 && render::has_context()) {
        glDeleteVertexArrays(1, &layout_);
        glDeleteBuffers(1, &vertices_);
        glDeleteTextures(1, &field_);
    }
    field_ = vertices_ = layout_ = 0;
    program_.destroy();
}

} // namespace quenvarel
