#include "libutils/expression.h"

#include "support/capture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

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
    EXPECT_TRUE(value == e.value || (std::isnan(value) && std::isnan(e.value)))
        << '"' << e.text << "\" is " << value << ", not " << e.value;
    EXPECT_EQ(std::size_t(end - e.text), e.end) << e.text;
    EXPECT_EQ(messages.text(), e.messages) << e.text;
}

TEST(evaluate, values_and_ends) {
    const expectation cases[] = {
        {"", 0, 0},
        {",1", 0, 0},
        {"\r\n", 0, 0},
        {" \t", 0, 2},
        {"1, 2", 1, 1},
        {"  12 \t\r\n", 12, 6},
        {"1.5e1", 15, 5},
        {"1e-2e", 0.01f, 4, "101 \ne: warning: invalid char detect.\n"},
        {"0x1F,", 31, 4},
        {"0.1", 0.1f, 3},
        {"16777217", 16777216, 8},
        {"1 2 3", 6, 5},
        {"1+2*3", 7, 5},
        {"2*(3+4)", 14, 7},
        {"8/2*2", 8, 5},
        {"8-2-3", 3, 5},
        {"2*-3", -6, 4},
        {"2*-(1+2)", -6, 8},
        {"-5", -5, 2},
        {"-(1+2)", -3, 6},
        {"(-(2))*((3))", -6, 12},
        {"2+-3", 5, 4},
        {"2-+3", 5, 4},
        {"2--3", 5, 4},
        {"-2*3", -6, 4},
        {"7)8", 7, 3},
        {"7)8,9", 7, 3},
        {"(1+2", 3, 4},
        {"()", 0, 2},
        {"()5", 5, 3},
        {"1/0", inf, 3},
        {"-1/0", -inf, 4},
        {"0/0", std::nan(""), 3},
        {"1e39", inf, 4},
        {"1/3", 1.0f / 3.0f, 3},
        {"0.1+0.2", 0.1f + 0.2f, 7},
        {"16777216+1+1", 16777216, 12}, // single precision after every operation
    };
    for (const expectation& e : cases)
        expect(e);
}

TEST(evaluate, mistakes) {
    const expectation cases[] = {
        {"*3", 0, 2, "beginning '*' detect.\n"},
        {"/3", 0, 2, "beginning '/' detect.\n"},
        {"*", 0, 1, "beginning '*' detect.\n"},
        {"4*", 4, 2, "last '*' detect.\n"},
        {"4/", 4, 2, "last '/' detect.\n"},
        {"4/,", 4, 2, "last '/' detect.\n"},
        {"4*-", 4, 3, "last '-' detect.\n"},
        {"4/-*2", 4, 5, "-: right operand is not a value.\n"},
        {"2*+3", 2, 4, "*: right operand is not a value.\n"},
        {"2/+3", 2, 4, "*: right operand is not a value.\n"},
        {"2*/3", 2, 4, "*: right operand is not a value.\n"},
        {"1+2*)9", 3, 6, "*: right operand is not a value.\n"},
        {"3+", 3, 2, "last '+' detect.\n"},
        {"3-", 3, 2, "last '-' detect.\n"},
        {"-", 0, 1, "last '-' detect.\n"},
        {"1+(2-)", 3, 6, "last '-' detect.\n"},
        {"2+*3", 2, 4, "last '+' detect.\n"},        // the sign itself is multiplied
        {"2*(*3)", 3, 6, "beginning '*' detect.\n"}, // the outer level goes on behind the inner mistake
        {"(2*)+5", 7, 6, "*: right operand is not a value.\n"},
        {".5", 0, 0, "46 \n.: warning: invalid char detect.\n"},
        {"1+2x3", 3, 3, "120 \nx: warning: invalid char detect.\n"},
        {"2*x", 2, 2, "120 \nx: warning: invalid char detect.\nlast '*' detect.\n"},
        {"3\n", 3, 1, "10 \n\n: warning: invalid char detect.\n"},
        {"1\xE4", 1, 1, "-28 \n\xE4: warning: invalid char detect.\n"},
    };
    for (const expectation& e : cases)
        expect(e);
}

TEST(evaluate, nesting_is_bounded) {
    const auto nested = [](int levels) {
        return std::string(levels, '(') + "5" + std::string(levels, ')') + "+1";
    };
    const std::string deepest = nested(1000), too_deep = nested(1001);
    expect({deepest.c_str(), 6, deepest.size()});
    expect({too_deep.c_str(), 0, too_deep.size(), "parentheses are nested too deeply.\n"});
    const std::string product = "7+2*" + std::string(1000000, '(');
    expect({product.c_str(), 7, product.size(), "parentheses are nested too deeply.\n"});
}

TEST(evaluate, a_million_characters) {
    std::string sum = "1";
    while (sum.size() < 1000000)
        sum += "+1*(2-1)";
    expect({sum.c_str(), 1 + (sum.size() - 1) / 8.0, sum.size()});
    const std::string pairs = [] {
        std::string s;
        for (int i = 0; i < 500000; ++i)
            s += "()";
        return s;
    }();
    expect({pairs.c_str(), 0, pairs.size()});
    const std::string signs(1000000, '-');
    expect({signs.c_str(), 0, signs.size()});
    const std::string digits(1000000, '9');
    expect({digits.c_str(), inf, digits.size()});
    const std::string closing(1000000, ')');
    expect({closing.c_str(), 0, closing.size()});
}

TEST(evaluate, the_end_need_not_be_asked_for) {
    EXPECT_EQ(evaluate("6*7"), 42);
    EXPECT_EQ(evaluate("42"), 42);
}

} // namespace
