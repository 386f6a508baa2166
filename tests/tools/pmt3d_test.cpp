#include "tools/pmt3d_tool.h"

#include <gtest/gtest.h>

#include <regex>
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

// The words that bash offers at the end of a line, sorted.
std::string completed(const std::string& line) {
    const std::string script = "eval \"$($0 --completion)\"; COMP_WORDS=($1);"
                               "[[ $1 == *' ' ]] && COMP_WORDS+=(''); COMP_CWORD=$((${#COMP_WORDS[@]} - 1));"
                               "_pmt3d; printf '%s\\n' \"${COMPREPLY[@]}\" | sort | paste -sd ' '";
    return test_support::run({"bash", "-c", script, QUENVAREL_BIN "/pmt3d", "pmt3d " + line}).out;
}

TEST(pmt3d_tool, manual_and_completion_know_what_the_help_knows) {
    if (windows_player()) GTEST_SKIP() << "neither is used there";
    // Without what the language of the page puts between.
    const std::string page = std::regex_replace(pmt3d({"--man"}).out, std::regex("\\\\(f.|(?=-))"), "");
    const auto check = [&](std::vector<std::string> command) {
        std::string line;
        for (const std::string& word : command)
            line += word + ' ';
        command.push_back("--help");
        const std::string help = pmt3d(command).out, offered = completed(line + "--");
        static const std::regex row("\n  (?:-h, )?(--[a-z-]+)(?: (\\S+))?");
        int rows = 0;
        for (std::sregex_iterator at(help.begin(), help.end(), row), end; at != end; ++at, ++rows) {
            const std::string name = (*at)[1], value = (*at)[2];
            EXPECT_NE((' ' + offered).find(' ' + name), std::string::npos) << name << " after " << line;
            if (name == "--help" || name == "--version") continue;
            EXPECT_NE(page.find("\n.B " + name + (value.empty() ? "" : ' ' + value) + '\n'),
                      std::string::npos)
                << name;
        }
        EXPECT_GE(rows, 2) << help;
        return help;
    };
    const std::string help = check({});
    for (const std::string name : {"info", "dump", "check", "convert", "render", "image", "eval"}) {
        EXPECT_NE(help.find("\n  " + name + ' '), std::string::npos);
        EXPECT_NE(page.find("\n.SS " + name + ' '), std::string::npos);
        check({name});
    }
    EXPECT_EQ(completed(""), "check convert dump eval image info render\n");
    EXPECT_EQ(completed("--vertices 5 co"), "convert\n");
    EXPECT_EQ(completed("--vertices = 5 co"), "convert\n");
    EXPECT_EQ(completed("image "), "convert grey info normalmap scaledown turn\n");
    EXPECT_EQ(completed("image grey "), "\n") << "files";
    EXPECT_EQ(completed("convert x --units "), "cm in m mm\n");
    EXPECT_EQ(completed("convert --units = m"), "m mm\n");
    EXPECT_EQ(completed("convert --units ="), "cm in m mm\n");
}

TEST(pmt3d_tool, output_that_cannot_be_written_is_a_failure) {
    if (windows_player()) GTEST_SKIP() << "Wine knows no full device";
    const auto result =
        test_support::run({"sh", "-c", "exec \"$0\" eval 1 >/dev/full", QUENVAREL_BIN "/pmt3d"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.err, "pmt3d: writing to standard output failed.\n");
}

} // namespace
