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

    // Makes the program object (glCreateProgram). False, without any change, if there already is one; false
    // without a context.
    bool create();
    // Do nothing before create().
    void attach(const shader_t& shader);
    void detach(const shader_t& shader);
    // Links the attached shaders, keeps the linker's log and returns the link status; false before create().
    bool link();
    // Makes it the current program, if it exists. unuse(): no program is current.
    void use() const;
    static void unuse();
    // The location of a uniform of the linked program. -1, after a line with the name on standard error, if
    // the program has no such uniform or does not use it. A null name sets the error stream's bad bit
    // instead.
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
