#include "tools/pmt3d_tool.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(pmt3d_tool, eval_help_and_wrong_usage) {
    const struct {
        std::vector<std::string> arguments;
        int exit_code;
        const char *out, *err; // which the streams contain, and are empty when these are
    } cases[] = {
        {{"eval", "2*(3+4), 5"}, 0, "14 7\n", ""},
        {{"eval", "0/0"}, 0, "nan 3\n", ""},
        {{"eval", "4/"}, 0, "4 2\n", "last '/' detect.\n"},
        {{"--help"}, 0, "  eval  ", ""},
        {{"eval", "--help"}, 0, "usage: pmt3d eval TEXT\n", ""},
        {{"eval", "-1+2"}, 0, "1 4\n", ""}, // no option: no letter follows
        {{"render", "-h"}, 0, "  --eye X,Y,Z", ""},
        {{"convert", "--text", "--version"}, 0, "pmt3d (Quenvarel) ", ""},
        {{"render", "--size"}, 2, "", "--size takes WxH."},
        {{"info", "--", "--help"}, 1, "", "pmt3d: --help: not loaded.\n"},
        {{"-x", "eval"},
         2,
         "",
         "pmt3d: there is no option -x; there are --vertices, --help and --version.\n"},
        {{"convert", "--text=yes"}, 2, "", "--text takes no value."},
        {{}, 2, "", "usage: pmt3d [OPTION...] SUBCOMMAND"},
        {{"nonsense"}, 2, "", "pmt3d: there is no subcommand \"nonsense\""},
        {{"eval"}, 2, "", "usage: pmt3d eval TEXT\n"},
    };
    const auto has = [](const std::string& text, const std::string& part) {
        return part.empty() ? text.empty() : text.find(part) != text.npos;
    };
    for (const auto& c : cases) {
        const auto result = pmt3d(c.arguments);
        EXPECT_EQ(result.exit_code, c.exit_code);
        EXPECT_TRUE(has(result.out, c.out)) << result.out;
        EXPECT_TRUE(has(result.err, c.err)) << result.err;
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
