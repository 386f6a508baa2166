#pragma once
// Counts the calls into the GL that draw a picture.

#include <cstdint>

namespace benchmarks {

// While it lives, the GL calls that drawing consists of are counted: those of the loader through its
// pointers, those of OpenGL 1.1 through functions of the same name in front of the library's.
class gl_call_count {
public:
    gl_call_count();
    ~gl_call_count();
    gl_call_count(const gl_call_count&) = delete;
    gl_call_count& operator=(const gl_call_count&) = delete;

    static std::uint64_t calls();
};

} // namespace benchmarks
