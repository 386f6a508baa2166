#include "pmt3d/format/line_check.h"

#include "libutils/expression.h"
#include "libutils/number.h"

#include <algorithm>
#include <sstream>

namespace pmt3d {

namespace {

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view space(" \t\r\n\v\f\0", 7);
    const std::size_t begin = text.find_first_not_of(space);
    if (begin == text.npos) return {};
    return text.substr(begin, text.find_last_not_of(space) + 1 - begin);
}

// Signs and parentheses that the evaluator passes over in silence.
std::string silent_mistake(std::string_view text) {
    int open = 0;
    char before = '(';
    for (const char c : text) {
        if (c == ' ' || c == '\t') continue;
        const auto is_sign = [](char s) { return s == '+' || s == '-'; };
        if (is_sign(c) && is_sign(before)) return "of two signs in a row the second is taken for a 0";
        if (c == '(') ++open;
        if (c == ')' && --open < 0) return "it ends early, at a parenthesis that was not opened";
        before = c;
    }
    return open > 0 ? "a parenthesis is not closed" : "";
}

// What is wrong with an expression; empty: nothing.
std::string check_expression(const std::string& text) {
    std::ostringstream said;
    const char* end = nullptr;
    libutils::evaluate(text.c_str(), &end, &said);
    if (*end != '\0') return std::string("it ends early, at '") + *end + '\'';
    std::string words = said.str();
    words = words.substr(0, words.find('\n'));
    if (words.ends_with('.')) words.pop_back();
    return words.empty() ? silent_mistake(text) : words;
}

std::string check_value(const std::string& text, char kind) {
    switch (kind) {
    case 'e':
        return check_expression(text);
    case 'd': {
        float value = 0.0f;
        const char* const end = libutils::read_float(text.c_str(), value);
        if (end != text.c_str() && *end == '\0') return {};
        const bool sum = text.find_first_not_of("0123456789.eE+-*/() ") == text.npos;
        return sum ? "no plain number, and sums are not computed here" : "no number";
    }
    case 'i': {
        const char* end = nullptr;
        libutils::read_unsigned(text.c_str(), &end);
        return end != text.c_str() && *end == '\0' ? "" : "no whole number";
    }
    default: {
        const char* end = nullptr;
        libutils::read_unsigned(text.c_str(), &end);
        const bool number = end != text.c_str() && *end == '\0';
        return number || text == "true" || text == "false" ? "" : "neither true nor false";
    }
    }
}

} // namespace

void check_values(std::string_view values, std::string_view kinds,
                  const std::function<void(const std::string&)>& tell) {
    if (kinds == "p") {
        if (trimmed(values).empty()) tell("the path is missing");
        return;
    }
    constexpr std::size_t longest = 10000; // to be looked at closely
    if (values.size() > longest) return tell("the line is too long to be what it should be");
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        const std::size_t comma = std::min(values.find(','), values.size());
        const std::string value(trimmed(values.substr(0, comma)));
        values.remove_prefix(std::min(comma + 1, values.size()));
        const std::string wrong = value.empty() ? "missing" : check_value(value, kinds[i]);
        if (wrong.empty()) continue;
        if (kinds.size() == 1)
            tell("value: " + wrong);
        else
            tell("value " + std::to_string(i + 1) + " of " + std::to_string(kinds.size()) + ": " + wrong);
    }
    if (!trimmed(values).empty()) tell("there is more behind the last value");
}

} // namespace pmt3d
