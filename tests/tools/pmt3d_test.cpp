#include "tools/pmt3d_tool.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(pmt3d_tool, eval) {
    const struct {
        const char *text, *out, *err;
    } cases[] = {
        {"2*(3+4), 5", "14 7\n", ""},
        {"1/3", "0.333333343 3\n", ""},
        {"-5", "-5 2\n", ""},
        {"1e10", "1e+10 4\n", ""},
        {"0/0", "nan 3\n", ""},
        {"", "0 0\n", ""},
        {"4/", "4 2\n", "last '/' detect.\n"},
        {".5", "0 0\n", "46 \n.: warning: invalid char detect.\n"},
    };
    for (const auto& c : cases) {
        const auto result = pmt3d({"eval", c.text});
        EXPECT_EQ(result.exit_code, 0) << c.text;
        EXPECT_EQ(result.out, c.out) << c.text;
        EXPECT_EQ(result.err, c.err) << c.text;
    }
}

TEST(pmt3d_tool, help_is_no_mistake_and_wrong_usage_is_one) {
    const struct {
        std::vector<std::string> arguments;
        int exit_code;
        const char *out, *err; // which the streams have to contain
    } cases[] = {
        {{"--help"}, 0, "  eval  ", ""},
        {{"eval", "--help"}, 0, "usage: pmt3d eval TEXT\n", ""},
        {{}, 2, "", "usage: pmt3d SUBCOMMAND"},
        {{"nonsense"}, 2, "", "pmt3d: there is no subcommand \"nonsense\""},
        {{"eval"}, 2, "", "usage: pmt3d eval TEXT\n"},
        {{"eval", "1", "2"}, 2, "", "usage: pmt3d eval TEXT\n"},
    };
    for (const auto& c : cases) {
        const auto result = pmt3d(c.arguments);
        EXPECT_EQ(result.exit_code, c.exit_code);
        EXPECT_NE(result.out.find(c.out), std::string::npos) << result.out;
        EXPECT_NE(result.err.find(c.err), std::string::npos) << result.err;
        EXPECT_EQ(result.out.empty(), c.exit_code != 0);
        EXPECT_EQ(result.err.empty(), c.exit_code == 0);
    }
}

TEST(pmt3d_tool, output_that_cannot_be_written_is_a_failure) {
    if (windows_player()) GTEST_SKIP() << "Wine knows no full device";
    const auto result =
        test_support::run({"sh", "-c", "exec \"$0\" eval 1 >/dev/full", QUENVAREL_BIN "/pmt3d"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.err, "pmt3d: writing to standard output failed.\n");
}

} // namespace
