// pmt3d eval TEXT: evaluates a numeric field of a model file.

#include "libutils/expression.h"
#include "libutils/number.h"
#include "subcommand.h"

#include <cmath>
#include <iostream>

namespace tool {

namespace {

int run(const command_line& line) {
    if (line.operands.size() != 1) return usage_error(eval, "exactly one TEXT is needed.");
    const char* text = line.operands[0];
    const char* end = nullptr;
    const double value = libutils::evaluate(text, &end);
    if (std::isnan(value)) // whose sign says nothing
        std::cout << "nan";
    else
        std::cout << libutils::float_text(value, 9);
    std::cout << ' ' << end - text << '\n';
    return success;
}

} // namespace

const subcommand eval = {
    "eval",
    "TEXT",
    "evaluate an expression like a numeric field of a model file",
    {},
    R"(Prints the value with nine significant digits and the position in TEXT where the field ends, counted from 0.
Mistakes in the expression are reported on standard error; the value is then what was computed before them.

Example: pmt3d eval '2*(3+4), 5' prints 14 7
)",
    run,
};

} // namespace tool
