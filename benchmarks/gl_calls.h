#pragma once
// Counts the GL calls of a picture.

#include <cstdint>

namespace benchmarks {

// Counts the GL calls that drawing uses while it lives: the loader's through its pointers, those of
// OpenGL 1.1 through functions of the same name that stand in front of the library's.
class gl_call_count {
public:
    gl_call_count();
    ~gl_call_count();
    gl_call_count(const gl_call_count&) = delete;
    gl_call_count& operator=(const gl_call_count&) = delete;

    static std::uint64_t calls();
};

} // namespace benchmarks
