#pragma once
// The log of a GL compiler or linker. Private to this folder, because it includes the loader.

#include <GL/glew.h>

#include <string>

namespace render {

// get and read are glGetShaderiv and glGetShaderInfoLog, or their counterparts for programs.
inline std::string info_log(GLuint name, void(GLAPIENTRY* get)(GLuint, GLenum, GLint*),
                            void(GLAPIENTRY* read)(GLuint, GLsizei, GLsizei*, GLchar*)) {
    GLint length = 0; // with a terminating zero
    get(name, GL_INFO_LOG_LENGTH, &length);
    std::string log(std::size_t(length), '\0');
    GLsizei written = 0;
    if (length > 0) read(name, length, &written, log.data());
    log.resize(std::size_t(written));
    return log;
}

} // namespace render
