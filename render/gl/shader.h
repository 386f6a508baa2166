#pragma once
// One GL shader object, compiled from text or from a file.

#include "render/gl/types.h"

#include <string>
#include <string_view>

namespace render {

enum class shader_stage : gl_enum { fragment = 0x8B30, vertex = 0x8B31, geometry = 0x8DD9 };

// Reads a whole shader file: the name as it is, and when no such file exists, the directory text directly
// followed by the name (it must end with its own separator; empty: not tried). False, silently, when neither
// is a readable file; false after one line on standard error for a file above 16 MiB, which no shader is.
bool load_shader_file(const std::string& name, const std::string& directory, std::string& text);

// Not copyable. Empty until compiled.
class shader_t {
public:
    shader_t() = default;
    ~shader_t() { destroy(); }
    shader_t(const shader_t&) = delete;
    shader_t& operator=(const shader_t&) = delete;

    // Compiles count source strings one after the other as one shader (glShaderSource, glCompileShader);
    // lengths in bytes, so that no terminating zero is needed; null lengths: the strings end in zero. Makes
    // the shader object first when there is none. False without a context, or when the object cannot be made,
    // or with a line on standard error when the text does not compile; log() then tells why.
    bool compile(shader_stage stage, int count, const char* const* sources, const gl_int* lengths);
    bool compile_text(shader_stage stage, std::string_view text);
    // Compiles a file found as load_shader_file() finds it. False also when there is none.
    bool compile_file(shader_stage stage, const std::string& name, const std::string& directory);
    // Deletes the shader (glDeleteShader).
    void destroy() noexcept;

    // What the compiler said last, whether it succeeded or not.
    const std::string& log() const { return log_; }
    gl_uint id() const { return name_; } // 0: none

private:
    friend class program_t;
    std::string log_;
    gl_uint name_ = 0;
};

} // namespace render
