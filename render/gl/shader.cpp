#include "render/gl/shader.h"

#include "libutils/report.h"
#include "render/gl/info_log.h"
#include "render/gl/step_check.h"

#include <GL/glew.h>

namespace render {

static_assert(GLenum(shader_stage::vertex) == GL_VERTEX_SHADER);
static_assert(GLenum(shader_stage::fragment) == GL_FRAGMENT_SHADER);
static_assert(GLenum(shader_stage::geometry) == GL_GEOMETRY_SHADER);

bool shader_t::compile(shader_stage stage, int count, const char* const* sources, const gl_int* lengths) {
    if (!has_context()) return false;
    if (name_ == 0) name_ = glCreateShader(GLenum(stage));
    if (name_ == 0) return false;
    glShaderSource(name_, count, sources, lengths);
    glCompileShader(name_);

    log_ = info_log(name_, glGetShaderiv, glGetShaderInfoLog);
    GLint status = GL_FALSE;
    glGetShaderiv(name_, GL_COMPILE_STATUS, &status);
    return status == GL_TRUE || libutils::report("shader_t::allocate() compile status error.");
}

bool shader_t::compile_text(shader_stage stage, std::string_view text) {
    const char* const source = text.data();
    const gl_int length = gl_int(text.size());
    return compile(stage, 1, &source, &length);
}

bool shader_t::compile_file(shader_stage stage, const std::string& name, const std::string& directory) {
    std::string text;
    return load_shader_file(name, directory, text) && compile_text(stage, text);
}

void shader_t::destroy() noexcept {
    if (name_ != 0 && has_context()) glDeleteShader(name_);
    name_ = 0;
}

} // namespace render
