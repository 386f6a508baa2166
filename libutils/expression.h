#pragma once
// Evaluates the numeric fields of model files: numbers, + - * / and parentheses.

#include <iosfwd>

namespace libutils {

// The value of the expression at the beginning of zero-terminated text; single precision after every
// operation. The expression ends at the end of the text, a carriage return or a comma; `end`, when given,
// receives that place. Blanks and tabs separate nothing: 1 2 are two numbers, and numbers without an operator
// between them are added.
//
// Numbers begin with a digit and are what the standard string-to-float conversion takes (exponents, 0x). *
// and / bind tighter than + and -, their right operand may have a minus sign; what follows a + or - is used
// as a value whatever it is, so that -5 is -5 but 2+-3 is 5. Division by zero gives infinity or NaN.
//
// A mistake never stops the caller: it is reported on `error` (null: standard error) and the value is what
// was computed so far. Any other character is reported and ends the expression where it stands. Parentheses
// nest up to 1000 levels; a deeper one is reported and ends the expression like missing closing parentheses.
// Time grows with the length of the text, memory does not, and nothing is allocated.
double evaluate(const char* text, const char** end = nullptr, std::ostream* error = nullptr);

} // namespace libutils
