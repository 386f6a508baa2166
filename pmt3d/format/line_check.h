#pragma once
// Finds out what is wrong with the values of a line, in words. Slow: for lines that look odd.

#include <functional>
#include <string>
#include <string_view>

namespace pmt3d {

// values: what stands behind the key's blank. kinds: a letter for each value that the key has: e expression,
// d plain decimal number, i whole number, b flag; or "p" for a path. Calls `tell` with a sentence for each
// value that is missing, is not such a value up to its comma, or is one too many.
void check_values(std::string_view values, std::string_view kinds,
                  const std::function<void(const std::string&)>& tell);

} // namespace pmt3d
