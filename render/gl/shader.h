#pragma once
// One GL shader object, compiled from text or from a file.

#include "render/gl/types.h"

#include <string>
#include <string_view>

namespace render {

enum class shader_stage : gl_enum { fragment = 0x8B30, vertex = 0x8B31, geometry = 0x8DD9 };

// Reads a whole shader file: first the name as it is; if no such file exists, the directory text directly
// followed by the name (the text must end with a separator; an empty one is not tried). False, silently, if
// neither is a readable file. False, after a line on standard error, for a file above 16 MiB: no shader.
bool load_shader_file(const std::string& name, const std::string& directory, std::string& text);

// Not copyable. Empty until compiled.
class shader_t {
public:
    shader_t() = default;
    ~shader_t() { destroy(); }
    shader_t(const shader_t&) = delete;
    shader_t& operator=(const shader_t&) = delete;

    // Compiles count source strings, joined, as one shader (glShaderSource, glCompileShader). Lengths are in
    // bytes, without a terminating zero; null lengths: the strings end in zero. Makes the shader object first
    // if there is none. False without a context or if the object cannot be made. False, after a line on
    // standard error, if the text does not compile; log() says why.
    bool compile(shader_stage stage, int count, const char* const* sources, const gl_int* lengths);
    bool compile_text(shader_stage stage, std::string_view text);
    // Compiles the file that load_shader_file() finds. False also if there is none.
    bool compile_file(shader_stage stage, const std::string& name, const std::string& directory);
    // Deletes the shader (glDeleteShader).
    void destroy() noexcept;

    // The log of the last compilation, successful or not.
    const std::string& log() const { return log_; }
    gl_uint id() const { return name_; } // 0: none

private:
    friend class program_t;
    std::string log_;
    gl_uint name_ = 0;
};

} // namespace render
