#pragma once
// One GL program object.

#include "render/gl/types.h"

#include <string>

namespace render {

class shader_t;

// Not copyable. Empty until create().
class program_t {
public:
    program_t() = default;
    ~program_t() { destroy(); }
    program_t(const program_t&) = delete;
    program_t& operator=(const program_t&) = delete;

    // Makes the program object (glCreateProgram). False, and nothing is changed, when there already is one;
    // false without a context.
    bool create();
    // Only when the program exists.
    void attach(const shader_t& shader);
    void detach(const shader_t& shader);
    // Links what is attached and keeps the linker's log. The link status; false before create().
    bool link();
    // Makes it the current program, only when it exists; unuse() makes none current.
    void use() const;
    static void unuse();
    // The location of a uniform of the linked program. -1, after one line on standard error with the name,
    // when the program has no such uniform or does not use it. A null name sets the error stream's bad bit in
    // place of it.
    gl_int location(const char* name) const;
    // Deletes the program (glDeleteProgram).
    void destroy() noexcept;

    const std::string& log() const { return log_; }
    gl_uint id() const { return name_; } // 0: none

private:
    std::string log_;
    gl_uint name_ = 0;
};

} // namespace render
