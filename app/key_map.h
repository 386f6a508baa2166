#pragma once
// What each typed character does.

#include <array>

namespace quenvarel {

// Values of the key map below 0; 0 and above are note offsets from the note base.
enum key_command : signed char {
    no_function = -1,
    escape = -2,
    space = -3,
    delete_key = -4,
    star = -5,
    plus = -6,
    return_key = -7,
    tab = -8,
};

// Two manuals as they lie on a Japanese keyboard, the upper line of each being the black keys. Characters
// count, not places: other layouts have some of them elsewhere.
//
//        2   3       5   6   7       9   0       ^           25  27      30  32  34      37  39      42
//      q   w   e   r   t   y   u   i   o   p   @   [       24  26  28  29  31  33  35  36  38  40  41  43
//
//      a   s       f   g       j   k   l       :   ]        8  10      13  15      18  20  22      25  27
//        z   x   c   v   b   n   m   ,   .   /   \             9  11  12  14  16  17  19  21  23  24  26
struct key_assignment {
    unsigned char character;
    signed char value;
};

// clang-format off
inline constexpr key_assignment key_assignments[] = {
    // Lower manual
    {'a', 8}, {'z', 9}, {'s', 10}, {'x', 11}, {'c', 12}, {'f', 13}, {'v', 14}, {'g', 15}, {'b', 16}, {'n', 17},
    {'j', 18}, {'m', 19}, {'k', 20}, {',', 21}, {'l', 22}, {'.', 23}, {'/', 24}, {':', 25}, {'\\', 26}, {']', 27},
    // Upper manual
    {'q', 24}, {'2', 25}, {'w', 26}, {'3', 27}, {'e', 28}, {'r', 29}, {'5', 30}, {'t', 31}, {'6', 32}, {'y', 33},
    {'7', 34}, {'u', 35}, {'i', 36}, {'9', 37}, {'o', 38}, {'0', 39}, {'p', 40}, {'@', 41}, {'^', 42}, {'[', 43},
    // Commands
    {27, escape}, {' ', space}, {127, delete_key}, {'*', star}, {'+', plus}, {'\r', return_key}, {'\t', tab},
};
// clang-format on

// The value of every character; those without an entry have no_function.
inline constexpr std::array<signed char, 256> key_map = [] {
    std::array<signed char, 256> map{};
    map.fill(no_function);
    for (const key_assignment& key : key_assignments)
        map[key.character] = key.value;
    return map;
}();

} // namespace quenvarel
