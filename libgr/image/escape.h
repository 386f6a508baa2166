#pragma once
// Jumps out of a C library from its error handler, which must not return. Private to libgr/image.

#include <csetjmp>

namespace libgr {

class escape {
public:
    // Runs the work. False when leave() ended it. Its local objects are then not destroyed: across calls that
    // may leave, it may only hold plain data.
    template <class Work>
    [[gnu::noinline]] bool run(const Work& work) {
        if (setjmp(here_) != 0) return false;
        work();
        return true;
    }

    [[noreturn]] void leave() { std::longjmp(here_, 1); }

private:
    std::jmp_buf here_;
};

} // namespace libgr
