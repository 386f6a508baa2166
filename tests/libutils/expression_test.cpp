#include "libutils/expression.h"

#include "support/capture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <tuple>

namespace {

using libutils::evaluate;

constexpr double inf = std::numeric_limits<double>::infinity();

struct expectation {
    const char* text;
    double value;
    std::size_t end;
    const char* messages = "";
};

void expect(const expectation& e) {
    const char* end = nullptr;
    test_support::capture messages(std::cerr);
    const double value = evaluate(e.text, &end);
    EXPECT_TRUE(value == e.value || (std::isnan(value) && std::isnan(e.value))) << e.text << ": " << value;
    EXPECT_EQ(std::size_t(end - e.text), e.end) << e.text;
    EXPECT_EQ(messages.text(), e.messages) << e.text;
}

// Rows "TEXT=VALUE" that are used up to their end.
void each_row(const char* table, const char* message) {
    std::istringstream rows(table);
    for (std::string row; std::getline(rows, row, '|');) {
        const std::string text = row.substr(0, row.find('='));
        expect({text.c_str(), std::strtof(row.c_str() + text.size() + 1, nullptr), text.size(), message});
    }
}

TEST(evaluate, values) {
    each_row("1.5e1=15|0.1=0.1|16777217=16777216|1 2 3=6|1+2*3=7|2*(3+4)=14|8/2*2=8|"
             "8-2-3=3|2*-3=-6|8/-2=-4|2*-(1+2)=-6|-5=-5|-(1+2)=-3|(-(2))*((3))=-6|2+-3=5|"
             "2-+3=5|2--3=5|-2*3=-6|7)8=7|(1+2=3|()=0|()5=5|1/0=inf|-1/0=-inf|0/0=nan|"
             "1e39=inf|1/3=0.333333343|0.1+0.2=0.300000012|16777216+1+1=16777216| \t=0|=0",
             "");
}

TEST(evaluate, ends_and_characters_that_do_not_belong_to_it) {
    const expectation cases[] = {{",1", 0, 0},
                                 {"\r\n", 0, 0},
                                 {"1, 2", 1, 1},
                                 {"  12 \t\r\n", 12, 6},
                                 {"0x1F,", 31, 4},
                                 {"7)8,9", 7, 3},
                                 {"4/,", 4, 2, "last '/' detect.\n"},
                                 {"1e-2e", 0.01f, 4, "101 \ne: warning: invalid char detect.\n"},
                                 {"2*x", 2, 2, "120 \nx: warning: invalid char detect.\nlast '*' detect.\n"},
                                 {"3\n", 3, 1, "10 \n\n: warning: invalid char detect.\n"},
                                 {"1\xE4", 1, 1, "-28 \n\xE4: warning: invalid char detect.\n"}};
    for (const expectation& e : cases)
        expect(e);
}

TEST(evaluate, mistakes) {
    const std::pair<const char*, const char*> messages[] = {
        {"beginning '*' detect.\n", "*3=0|2*(*3)=3"},
        {"beginning '/' detect.\n", "/3=0"},
        {"last '*' detect.\n", "4*=4"},
        {"last '-' detect.\n", "4*-=4|3-=3|1+(2-)=3"},
        {"last '+' detect.\n", "3+=3|2+*3=2"},
        {"-: right operand is not a value.\n", "4/-*2=4"},
        {"*: right operand is not a value.\n", "2*+3=2|2/+3=2|1+2*)9=3|(2*)+5=7"}};
    for (const auto& [message, table] : messages)
        each_row(table, message);
}

TEST(evaluate, long_texts_and_deep_nesting) {
    const auto times = [](int count, const char* piece) {
        std::string text;
        while (count-- > 0)
            text += piece;
        return text;
    };
    const auto nested = [&](int levels) { return times(levels, "(") + "5" + times(levels, ")") + "+1"; };
    const char* const too_deep = "parentheses are nested too deeply.\n";
    const std::tuple<std::string, double, const char*> cases[] = {
        {nested(1000), 6, ""},
        {nested(1001), 0, too_deep},
        {"7+2*" + times(1000000, "("), 7, too_deep},
        {times(125000, "1*(2-1)+") + '1', 125001, ""},
        {times(500000, "()"), 0, ""},
        {times(1000000, "-"), 0, ""},
        {times(1000000, "9"), inf, ""},
        {times(1000000, ")"), 0, ""}};
    for (const auto& [text, value, messages] : cases)
        expect({text.c_str(), value, text.size(), messages});
    EXPECT_EQ(evaluate("6*7"), 42) << "without asking for the end";
}

} // namespace
