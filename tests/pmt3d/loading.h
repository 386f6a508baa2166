#pragma once
// A folder for model files, and all that is said while they are loaded and saved.

#include "support/capture.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>
#include <iostream>
#include <string>

class loading : public testing::Test {
protected:
    // What was said since the last call, at the end of work that was done, or refused.
    std::string done(bool it_was) {
        EXPECT_TRUE(it_was);
        return err_.take();
    }
    std::string refused(bool it_was_done) {
        EXPECT_FALSE(it_was_done);
        return err_.take();
    }
    test_support::temporary_directory directory_;
    test_support::capture err_{std::cerr};
};
