#pragma once
// The way out of the C coders, which report a fatal error by never returning. Private to libgr/image.

#include <csetjmp>

namespace libgr {

class escape {
public:
    // Runs the work and returns true, or false when leave() ended it. What the work leaves behind by leave()
    // is not destroyed: it must hold nothing but plain data of its own across the calls that may leave.
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
