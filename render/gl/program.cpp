#include "render/gl/program.h"

#include "libutils/report.h"
#include "render/gl/info_log.h"
#include "render/gl/shader.h"
#include "render/gl/step_check.h"

#include <GL/glew.h>

#include <iostream>

namespace render {

bool program_t::create() {
    if (name_ != 0 || !has_context()) return false;
    name_ = glCreateProgram();
    return name_ != 0;
}

void program_t::attach(const shader_t& shader) {
    if (name_ != 0 && has_context()) glAttachShader(name_, shader.id());
}

void program_t::detach(const shader_t& shader) {
    if (name_ != 0 && has_context()) glDetachShader(name_, shader.id());
}

bool program_t::link() {
    if (name_ == 0 || !has_context()) return false;
    glLinkProgram(name_);
    log_ = info_log(name_, glGetProgramiv, glGetProgramInfoLog);
    GLint status = GL_FALSE;
    glGetProgramiv(name_, GL_LINK_STATUS, &status);
    return status == GL_TRUE;
}

void program_t::use() const {
    if (name_ != 0 && has_context()) glUseProgram(name_);
}

void program_t::unuse() {
    if (has_context()) glUseProgram(0);
}

gl_int program_t::location(const char* name) const {
    if (!has_context()) return -1;
    const GLint location = name ? glGetUniformLocation(name_, name) : -1;
    if (location == -1 && name) libutils::report(name, ": can't determine the location.");
    if (!name) {
        libutils::error_report();
        std::cerr.setstate(std::ios::badbit);
    }
    return location;
}

void program_t::destroy() noexcept {
    if (name_ != 0 && has_context()) glDeleteProgram(name_);
    name_ = 0;
}

} // namespace render
