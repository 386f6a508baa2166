#pragma once
// What a compiler or linker of the GL had to say. Private to this floor: it knows the loader.

#include <GL/glew.h>

#include <string>

namespace render {

// get and read are glGetShaderiv and glGetShaderInfoLog, or the same for programs.
inline std::string info_log(GLuint name, void(GLAPIENTRY* get)(GLuint, GLenum, GLint*),
                            void(GLAPIENTRY* read)(GLuint, GLsizei, GLsizei*, GLchar*)) {
    GLint length = 0; // counts a terminating zero, which is no part of the text
    get(name, GL_INFO_LOG_LENGTH, &length);
    std::string log(std::size_t(length), '\0');
    GLsizei written = 0;
    if (length > 0) read(name, length, &written, log.data());
    log.resize(std::size_t(written));
    return log;
}

} // namespace render
