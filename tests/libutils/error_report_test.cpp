#include "libutils/error_report.h"
#include "libutils/out_of_memory.h"
#include "libutils/system_error.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace {

// Prints what the box would show, so that nobody has to press its button.
void print(const char* text, const char* caption) {
    std::fprintf(stderr, "[%s] %s|\n", caption, text);
}

// 2 is the missing file on every system. The whole of the system's text fits, however long the name.
TEST(error_exit, shows_the_text_and_ends_with_the_number) {
    const std::string name(5000, 'n'), line = libutils::system_error::text(2);
    const std::string text = line.substr(0, line.find_last_not_of("\r\n") + 1);
    EXPECT_EXIT((libutils::set_fatal_presenter(print), libutils::error_exit(name.c_str(), 2)),
                testing::ExitedWithCode(2), "\\[Error\\] n+ failed with error 2: " + text);
    const auto with_last_error = [] {
        libutils::set_fatal_presenter(print);
        if (std::fopen("no such directory/no such file", "rb")) return;
        libutils::error_exit("fopen()");
    };
    EXPECT_EXIT(
        with_last_error(), [](int status) { return !testing::ExitedWithCode(0)(status); },
        "fopen.. failed with error .+: .+");
}

TEST(out_of_memory, is_one_line_and_a_normal_exit) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer's operator new has its own end";
#endif
    const auto fail = [] {
        std::atexit([] { std::fputs("at-exit functions run\n", stderr); });
        libutils::end_when_out_of_memory();
        volatile std::size_t too_much = SIZE_MAX / 4;
        ::operator delete(::operator new(too_much));
    };
    EXPECT_EXIT(fail(), testing::ExitedWithCode(1), "^out of memory\\.\r?\nat-exit functions run\r?\n$");
}

} // namespace
