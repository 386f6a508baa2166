#pragma once
// A real GL context without a visible window, for the tests of everything that draws.

#include "support/capture.h"

#include <gtest/gtest.h>
#include <string>

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

// A test with the context current. It fails when it leaves a GL error behind, or a line on standard error
// that it has not taken.
class gl_test : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    // Standard error since the start or the last call.
    std::string take_err() { return err_.take(); }

private:
    capture err_{std::cerr};
};

} // namespace test_support
