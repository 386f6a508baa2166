#pragma once
// The base of every test that draws.

#include "support/capture.h"
#include "support/gl_window.h"

#include <gtest/gtest.h>
#include <string>

namespace test_support {

// A test with the context current. It fails when it leaves a GL error behind, or a line on standard error
// that it has not taken.
class gl_test : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    // Standard error since the start or the last call.
    std::string take_err() { return err_.take(); }
    // The labels of the step checks that reported since, one in a line; other lines are left out.
    std::string step_labels();
    // An integer of the GL's state (glGetIntegerv).
    static int state(unsigned name);
    // Forgets errors that are pending.
    static void clear_errors();

private:
    capture err_{std::cerr};
};

} // namespace test_support
