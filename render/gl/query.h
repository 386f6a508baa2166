#pragma once
// Queries: counters of the GL's work.

#include "render/gl/types.h"

#include <cstdint>

namespace render {

enum class query_target : gl_enum {
    samples_passed = 0x8914,
    time_elapsed = 0x88BF, // nanoseconds
    primitives_generated = 0x8C87,
    primitives_written = 0x8C88 // by transform feedback
};

// One query object. Not copyable.
class query_t {
public:
    query_t() = default;
    ~query_t() { destroy(); }
    query_t(const query_t&) = delete;
    query_t& operator=(const query_t&) = delete;

    // Generates the name once (glGenQueries).
    void create();
    void destroy() noexcept;
    // Counts until end() (glBeginQueryIndexed, OpenGL 4.0; before that there is only index 0). Creates the
    // object if needed.
    void begin(query_target target, gl_uint index = 0);
    void end();
    // Waits for the count and returns it (glGetQueryObjectui64v, OpenGL 3.3). 0 without a context.
    std::uint64_t GetQuery();

private:
    gl_int allocated_ = 0;
    gl_uint name_ = 0;
    gl_enum target_ = 0;
    gl_uint index_ = 0;
};

} // namespace render
