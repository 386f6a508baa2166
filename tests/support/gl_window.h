#pragma once
// A real GL context without a visible window.

namespace test_support {

// Makes the process's one context (a hidden window, as the program makes its visible one) current, making it
// first where there is none. False, after the reason on standard error, when it cannot be had.
bool make_context_current();

// No context is current while this lives.
class without_context {
public:
    without_context();
    ~without_context();
    without_context(const without_context&) = delete;
    without_context& operator=(const without_context&) = delete;

private:
    void* handles_[3] = {};
};

} // namespace test_support
